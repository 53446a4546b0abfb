// Stages of the analysis that are not written yet; each stub goes when its stage lands.
#include "mem/MEMData3D.h"

void MEMData::Cambridge() {}
