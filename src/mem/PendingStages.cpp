// Stages of the analysis that are not written yet; each stub goes when its stage lands.
#include "mem/MEMData3D.h"

void MEMData::Cambridge() {}
void MEMData::L_BFGS() {}
void MEMData::Calc_dSdR(VectorXDMP&) {}
void MEMData::Calc_dCdR(VectorXDMP&) {}
double MEMData::evaluate(const VectorXDMP&, VectorXDMP&, int, double) { return 0.0; }
int MEMData::progress(const VectorXDMP&, const VectorXDMP&, double, double, double, double, int, int, int) { return 0; }
double MEMData::_evaluate(void*, const VectorXDMP&, VectorXDMP&, int, double) { return 0.0; }
int MEMData::_progress(void*, const VectorXDMP&, const VectorXDMP&, double, double, double, double, int, int, int) { return 0; }

bool MEMData3D::ReadFCF(const std::string&) { return false; }
