// The constraint and the logarithmic mean as functions of a trial multiplier.
#include "engine/optimisers/TrialMultiplier.h"

#include <cmath>

#include "engine/MEMData.h"
#include "engine/blocks/ForEachBlock.h"
#include "engine/blocks/ThreadData.h"
#include "engine/optimisers/ZSPA.h"
#include "util/IO.h"

double CalcC2(void* data, double lambda) {
    MEMData& mem = *static_cast<MEMData*>(data);
    double Zp = 0.0, Zm = 0.0;
    ZSPA_ExpStep(mem, lambda, Zp, Zm);
    ZSPA_Scale(mem, mem.targetMoment[0] / Zp, mem.targetMoment[1] / Zm);
    mem.CalcFcalc(0);
    mem.Calc_Constraint(1);
    IO::Printf("      C = %15.7E   lambda = %15.7E\n", mem.constr - 1.0, lambda);
    return mem.constr - 1.0;
}

double CalcLambda(void* data, double lambda) {
    MEMData& mem = *static_cast<MEMData*>(data);
    double sums[2];
    SumOverBlocks(mem.threads, mem.nThreads, mem.blockSums, 2, sums,
                  [&](int, ThreadData& block, double* s) { block.Calc_mu2(lambda, s[0], s[1]); });
    double a = sums[0], b = sums[1];
    if (mem.targetMoment[0] != 0.0) a = std::log(std::fabs(a));
    if (mem.targetMoment[1] != 0.0) b = std::log(std::fabs(b));
    return a + b - mem.mu1Mean - mem.mu2Mean;
}
