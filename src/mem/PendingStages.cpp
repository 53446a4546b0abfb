// Stages of the analysis that are not written yet; each stub goes when its stage lands.
#include "mem/MEMData3D.h"


bool MEMData3D::ReadFOS(const std::string&) { return false; }
bool MEMData3D::ReadFCF(const std::string&) { return false; }
bool MEMData3D::ReadBayMEM(const std::string&) { return false; }
bool MEMData3D::ReadFFO(const std::string&) { return false; }
bool MEMData3D::ReadAlb3D(const std::string&, float*) { return true; }
void MEMData3D::CreateHKL0() {}
