// The grid rule: grid numbers that carry every special position of the setting on a voxel.

#include <cmath>
#include <cstdint>

#include "numeric/VectorD.h"
#include "crystal/SpaceGroup.h"
#include "crystal/UnitCell.h"

namespace {

// Fractions closer than this to a whole number count as whole.
const double kFractionTolerance = 0.0001;

// A cap on the base numbers. Fixed coordinates of real tables need a few
// dozen voxels at most; a hand-edited coordinate such as 0.123456 would keep
// multiplying the number, and the cap stops that short of overflow.
const std::int64_t kMaxBase = 1 << 20;
// Grid numbers far beyond any cell a machine can hold; the cap keeps the
// integer arithmetic defined for absurd cells or steps.
const double kMaxGrid = 1 << 29;

// x minus x truncated toward zero.
double fractionalPart(double x) { return x - std::trunc(x); }

// floor(x + 0.5) as an integer, kept within the caps (a not-a-number gives 0).
int roundHalfUp(double x) {
    const double r = std::floor(x + 0.5);
    if (!(r > -kMaxGrid)) return r < 0 ? static_cast<int>(-kMaxGrid) : 0;
    return static_cast<int>(r < kMaxGrid ? r : kMaxGrid);
}

// A fixed coordinate t in [0, 1) is replaced by a simpler fraction with the
// same denominator: 2/3 by 1/3, 3/4 by 1/4, so that only the denominator
// counts.
double reduceNumerator(double t) {
    if (std::fabs(fractionalPart(t)) > kFractionTolerance) {
        const double r = 1.0 / t;
        if (std::fabs(fractionalPart(r)) > kFractionTolerance) t *= fractionalPart(r);
    }
    return t;
}

// The factor by which the grid number must grow so that u, the coordinate in
// voxels reduced to [0, 1), becomes whole: 1/u, after 2/3 has become 1/3.
std::int64_t growthFactor(double u) {
    if (!(std::fabs(u) > kFractionTolerance)) return 1;
    double x = 1.0 / u;
    if (std::fabs(fractionalPart(x)) > kFractionTolerance) {
        u *= fractionalPart(x);
        x = 1.0 / u;
    }
    const double factor = std::floor(x + 0.5);
    return factor >= 1.0 && factor < kMaxBase ? static_cast<std::int64_t>(factor) : kMaxBase;
}

// The least grid of the setting: starting from 2 on each axis, grown until the
// fixed coordinates of every Wyckoff position, under every operator, fall on
// grid points.
void baseNumbers(const _SpaceGroup& sg, const UnitCell& uc, int* base) {
    std::int64_t n[3] = {2, 2, 2};
    Matrix4D transformed, T;
    for (Wyckoff* W : sg.wyckoff)
        for (MatrixD* S : uc.symOp) {
            transformed.GeMM(uc.cellTransform, *S);
            T.GeMM(W->matrix, transformed);
            double t[3] = {T.m[12], T.m[13], T.m[14]};
            VectorD::Fractionalize(t, 3);
            double u[3];
            for (int i = 0; i < 3; ++i) u[i] = static_cast<double>(n[i]) * reduceNumerator(t[i]);
            VectorD::Fractionalize(u, 3);
            for (int i = 0; i < 3; ++i) {
                n[i] *= growthFactor(u[i]);
                if (n[i] > kMaxBase) n[i] = kMaxBase;
            }
        }
    for (int i = 0; i < 3; ++i) base[i] = static_cast<int>(n[i]);
}

// The multiple of the base number nearest to length / step, or twice the
// nearest whole number of steps when that multiple overshoots twice the
// length.
int gridNumber(int base, float length, float step) {
    int m = roundHalfUp(length / static_cast<float>(base) / step);
    if (m < 2) m = 1;
    // base >= 2 and m >= 1, so g >= 2.
    const std::int64_t g = static_cast<std::int64_t>(base) * m;
    if (g > roundHalfUp(2.0f * length / step)) {
        const int h = roundHalfUp(length / step);
        if (h > 0) return 2 * h;
    }
    return static_cast<int>(g < kMaxGrid ? g : kMaxGrid);
}

}  // namespace

void UnitCell::CalcGridNo(int* n, float step) const {
    int base[3] = {2, 2, 2};
    const _SpaceGroup* sg = chosenEntry();
    if (sg && !sg->wyckoff.empty()) baseNumbers(*sg, *this, base);
    for (int i = 0; i < 3; ++i) n[i] = gridNumber(base[i], cell[i], step);
}
