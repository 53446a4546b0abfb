// Wilson statistic of the observed amplitudes, printed by the route that estimates unobserved reflections.
#include "engine/readers/Wilson.h"

#include <cblas.h>

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <vector>

#include "crystal/Element.h"
#include "engine/MEMData.h"

namespace {

// x rounded down and kept within [lo, hi]; not-a-number gives lo.
int FloorWithin(double x, int lo, int hi) {
    const double f = std::floor(x);
    return f >= hi ? hi : (f >= lo ? static_cast<int>(f) : lo);
}

// Shells beyond this number would mean a 1/d range no diffraction experiment has.
constexpr int kMaxShells = 100000;

}  // namespace

// A side statistic of the observed amplitudes in shells of 0.1 in 1/d. The
// closed form below is the one the program has always printed (the number of
// bins is absent and the roles of X and Y are exchanged against the textbook
// regression); it steers nothing.
void Wilson(MEMData& mem, double& scale, double& Biso) {
    Element::GetFormFactor(mem.elements);
    const int first = mem.nRefUnobs;
    const int nRefF = mem.nRefF;
    const ObjVector<StructureFactor>& reflections = mem.reflections;
    double dmin = FLT_MAX, dmax = 0.0;
    for (int i = 0; i < nRefF; ++i) {
        const double di = reflections[first + i]->di;
        dmin = std::fmin(dmin, di);
        dmax = std::fmax(dmax, di);
    }
    // The largest 1/d falls one past the last bin when the range is a whole
    // number of shells: it goes into the last bin.
    const int nBin = nRefF > 0 ? FloorWithin(std::ceil((dmax - dmin) / 0.1), 1, kMaxShells) : 0;
    std::vector<double> Y(nBin, 0.0), X(nBin, 0.0);
    std::vector<int> count(nBin, 0);
    for (int i = 0; i < nRefF; ++i) {
        const double di = reflections[first + i]->di;
        const int bin = FloorWithin((di - dmin) / 0.1, 0, nBin - 1);
        Y[bin] += std::fabs(mem.FobsRe[i]);
        X[bin] += 0.25 * di * di;
        count[bin] += 1;
    }
    for (int b = 0; b < nBin; ++b) {
        if (count[b] > 0) {
            Y[b] = std::log(Y[b] / count[b]);
            X[b] = X[b] / count[b];
        }
    }
    const double Syy = cblas_ddot(nBin, Y.data(), 1, Y.data(), 1);
    const double Sxy = cblas_ddot(nBin, Y.data(), 1, X.data(), 1);
    double Sy = 0.0, Sx = 0.0;
    for (int b = 0; b < nBin; ++b) {
        Sy += Y[b];
        Sx += X[b];
    }
    const double D = 1.0 / (Syy - Sy * Sy);
    scale = (Sxy - Sy * Sx) * D;
    Biso = (Sx * Syy - Sy * Sxy) * D;
}
