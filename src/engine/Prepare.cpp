// Preparation of a calculation: blocks, constraints, sums and the evaluation of cycle 0.
#include "engine/Prepare.h"

#include <cmath>

#include "util/IO.h"
#include "engine/constraints/Constraint.h"
#include "engine/MEMData.h"

namespace {

constexpr int kConstraintOrders = 8;

// Even and odd parts of (a + b)^n for n = 2 .. 8, from the pair of n = 1:
// the targets of the higher constraints on powers of the density.
void FillMomentPairs(double* moment) {
    const double a = moment[0], b = moment[1];
    for (int k = 2; k < 16; k += 2) {
        moment[k] = a * moment[k - 2] + b * moment[k - 1];
        moment[k + 1] = b * moment[k - 2] + a * moment[k - 1];
    }
}

fftw_complex* AllocateComplexGrid(long n) {
    return static_cast<fftw_complex*>(fftw_malloc(sizeof(fftw_complex) * n));
}

}  // namespace

void PrepareCalculation(MEMData& d, ProgressFunction timer, void* stamp) {
    d.progressFn = timer;
    d.progressArg = stamp;
    d.lambda = d.param.lambda;
    d.MakeThreadData();

    if (d.param.entropyOrder > 1) {
        for (int k = 1; k <= 3 && d.targetMoment[0] != 0.0; ++k)
            d.gridPowerA[k] = AllocateComplexGrid(d.nComplex);
        for (int k = 1; k <= 5 && d.targetMoment[1] != 0.0; ++k)
            d.gridPowerB[k] = AllocateComplexGrid(d.nComplex);
    }
    FillMomentPairs(d.targetMoment);

    for (int c = 0; c < kConstraintOrders; ++c)
        d.constraints.add(
            Constraint::Create(d.nRefUnobs, d.nRefF, d.nRefG, d.nGroups, 2 * (c + 1), d.nVoxelCell));

    // The divisor leaves out the grouped reflections that the sum includes.
    double weightSum = 0.0;
    for (int i = 0; i < d.nRefF + d.nRefG; ++i) weightSum += d.refWeight[i] * d.weightF[i];
    d.meanWeight = weightSum / d.nRefF;

    d.sumFobs = d.sumWFobs2 = d.sumGobs = d.sumWGobs2 = 0.0;
    for (int i = 0; i < d.nRefF; ++i) {
        const double f2 = d.FobsRe[i] * d.FobsRe[i] + d.FobsIm[i] * d.FobsIm[i];
        d.sumFobs += std::sqrt(f2);
        d.sumWFobs2 += f2 * d.weightF[i];
    }
    for (int g = 0; g < d.nGroups; ++g) {
        d.sumGobs += std::sqrt(d.Gobs[g] * d.Gobs[g]);
        d.sumWGobs2 += d.Gobs[g] * d.Gobs[g] * d.weightG[g];
    }

    d.CalcFcalc(0);
    d.Calc_Constraint(0);
    d.DFT_Derivatives();

    d.CONG0 = d.CONG;
    d.constr0 = d.constr;
    d.CONF0 = d.CONF;
    d.RF0 = d.RF;
    d.wRF0 = d.wRF;
    IO::Printf(" CYCLE %d:\n", 0);
    IO::Printf(" CONSTR = %15.7E CONF = %15.7E CONG = %15.7E\n", d.constr, d.CONF, d.CONG);
    IO::Printf("  DELTA = %15.7E   RF = %15.6f  wRF = %15.6f\n\n", 0.0, d.RF, d.wRF);
    if (d.progressFn) d.progressFn(d.progressArg, d.timePrep);
}
