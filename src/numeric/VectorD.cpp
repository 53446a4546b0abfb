#include "numeric/VectorD.h"

#include <cmath>

namespace {

// Single-precision epsilon held as a double: the one tolerance for equal
// coordinates, indices and operator elements throughout the program.
const double kEqualTolerance = 1.1920928955078125e-07;

}  // namespace

bool VectorD::IsEqual(const double* a, const double* b, int n) {
    for (int i = 0; i < n; ++i)
        if (!(std::fabs(a[i] - b[i]) < kEqualTolerance)) return false;
    return true;
}

void VectorD::Fractionalize(double* x, int n) {
    for (int i = 0; i < n; ++i) {
        const double f = x[i] - std::floor(x[i]);
        x[i] = (std::fabs(f) < kEqualTolerance || std::fabs(f - 1.0) < kEqualTolerance) ? 0.0 : f;
    }
}

void VectorXD::Resize(int n) {
    HV_ASSERT(n >= 0);
    delete[] p_;
    p_ = nullptr;  // the vector stays valid, and empty, should the allocation throw
    dim_ = 0;
    p_ = new double[n];
    dim_ = n;
}
