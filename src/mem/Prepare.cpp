// Preparation of a calculation: blocks, constraints, sums and the evaluation of cycle 0.
#include <cmath>

#include "app/IO.h"
#include "mem/Constraint.h"
#include "mem/MEMData.h"

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

void MEMData::PrepareCalculation(ProgressFunction timer, void* stamp) {
    progressFn = timer;
    progressArg = stamp;
    lambda = param.lambda;
    MakeThreadData();

    if (param.entropyOrder > 1) {
        for (int k = 1; k <= 3 && targetMoment[0] != 0.0; ++k)
            gridPowerA[k] = AllocateComplexGrid(nComplex);
        for (int k = 1; k <= 5 && targetMoment[1] != 0.0; ++k)
            gridPowerB[k] = AllocateComplexGrid(nComplex);
    }
    FillMomentPairs(targetMoment);

    for (int c = 0; c < kConstraintOrders; ++c)
        constraints.add(Constraint::Create(nRefUnobs, nRefF, nRefG, nGroups, 2 * (c + 1), nVoxelCell));

    // The divisor leaves out the grouped reflections that the sum includes.
    double weightSum = 0.0;
    for (int i = 0; i < nRefF + nRefG; ++i)
        weightSum += refWeight[i] * weightF[i];
    meanWeight = weightSum / nRefF;

    sumFobs = sumWFobs2 = sumGobs = sumWGobs2 = 0.0;
    for (int i = 0; i < nRefF; ++i) {
        const double f2 = FobsRe[i] * FobsRe[i] + FobsIm[i] * FobsIm[i];
        sumFobs += std::sqrt(f2);
        sumWFobs2 += f2 * weightF[i];
    }
    for (int g = 0; g < nGroups; ++g) {
        sumGobs += std::sqrt(Gobs[g] * Gobs[g]);
        sumWGobs2 += Gobs[g] * Gobs[g] * weightG[g];
    }

    CalcFcalc(0);
    Calc_Constraint(0);
    DFT_Derivatives();

    CONG0 = CONG;
    constr0 = constr;
    CONF0 = CONF;
    RF0 = RF;
    wRF0 = wRF;
    IO::Printf(" CYCLE %d:\n", 0);
    IO::Printf(" CONSTR = %15.7E CONF = %15.7E CONG = %15.7E\n", constr, CONF, CONG);
    IO::Printf("  DELTA = %15.7E   RF = %15.6f  wRF = %15.6f\n\n", 0.0, RF, wRF);
    if (progressFn)
        progressFn(progressArg, timePrep);
}
