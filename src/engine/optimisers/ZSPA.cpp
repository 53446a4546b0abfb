// The zeroth-order single-pixel approximation: a fixed-point iteration of the density with one adaptive multiplier.
#include "engine/optimisers/ZSPA.h"

#include <cmath>

#include "util/IO.h"
#include "engine/blocks/ForEachBlock.h"
#include "engine/MEMData.h"
#include "engine/blocks/ThreadData.h"
#include "engine/optimisers/Cambridge.h"

namespace {

// The loop goes on while CONSTR - 1 exceeds this after a swapped step...
constexpr double kGoOnAbove = 1e-5;
// ...and an accepted step below this is the result at once, without a swap.
constexpr double kDoneBelow = 1e-6;
// Failed attempts in a row before the fall-back to a fresh count and the Cambridge algorithm.
constexpr int kMaxFailures = 20;

bool GoOn(const MEMData& d) { return d.constr - 1.0 > kGoOnAbove || std::isnan(d.wConstr); }

// The exponential update of every voxel from the accepted density, scaled to
// the target totals, with its structure factors and constraint. False, with
// the densities untouched, when the new totals are not finite.
bool MakeCandidate(MEMData& d) {
    double sum1 = 0.0, sum2 = 0.0;
    ZSPA_ExpStep(d, d.lambda, sum1, sum2);
    if (!std::isfinite(sum1) || !std::isfinite(sum2)) return false;

    // Without a negative density sum2 is 0 and b is not finite; the blocks skip that side.
    ZSPA_Scale(d, d.targetMoment[0] / sum1, d.targetMoment[1] / sum2);
    d.CalcFcalc(0);
    d.Calc_Constraint(d.cycle);
    return true;
}

void SwapDensities(MEMData& d) {
    ForEachBlock(d.threads, d.nThreads, [](int, ThreadData& block) { block.SwapRho(); });
}

void PrintCycle(const MEMData& d, double dC) {
    IO::Printf(" CYCLE %d: Lambda=%E\n", d.cycle, d.lambda);
    IO::Printf(" CONSTR = %13.6E  CONF = %13.6E  CONG = %13.6E\n", d.constr, d.CONF, d.CONG);
    IO::Printf("  DELTA = %13.6E    RF =  %-12.6f   wRF =  %-12.6f\n\n", dC, d.RF, d.wRF);
}

}  // namespace

void ZSPA_ExpStep(MEMData& d, double lambda, double& Zp, double& Zm) {
    double sums[2];
    SumOverBlocks(d.threads, d.nThreads, d.blockSums, 2, sums,
                  [&](int, ThreadData& block, double* z) { block.ZSPA_Calc_Next_Rho1(lambda, z[0], z[1]); });
    Zp = sums[0];
    Zm = sums[1];
}

void ZSPA_Scale(MEMData& d, double a, double b) {
    ForEachBlock(d.threads, d.nThreads, [=](int, ThreadData& block) { block.ZSPA_Normalize(a, b); });
}

void ZSPA(MEMData& d, int maxCycles) {
    d.cycle = 1;
    double prevQ = d.wConstr;  // wConstr of the last accepted cycle
    double prevC = d.constr;   // constr of the last accepted cycle
    double dQ = 0.0, dC = 0.0;
    // The multiplier never grows back to the value at which the last run of failures began.
    double lambdaCeiling = 1e16;
    int failures = 0;

    while (maxCycles > d.cycle && GoOn(d)) {
        const bool bad = !MakeCandidate(d);
        if (!bad) {
            dQ = d.wConstr - prevQ;
            dC = d.constr - prevC;
        }

        // Rejected only when both measures got worse, or the attempt was not finite.
        if ((dQ > 0.0 && dC > 0.0) || std::isnan(d.wConstr) || bad) {
            if (failures == 0) lambdaCeiling = d.lambda;
            d.lambda *= 0.5;
            IO::Printf("A new value of lambda has been determined. (lambda=%E)\n", d.lambda);
            if (++failures <= kMaxFailures) continue;
            // A multiplier that halving no longer changes (0, infinite, NaN)
            // would send the fall-back into itself without end.
            if (d.lambda != 0.0 && std::isfinite(d.lambda)) {
                ZSPA(d, d.param.maxCycles);
                // The report of the fall-back gives the multiplier that ZSPA ended with.
                const double zspaLambda = d.lambda;
                d.PostCalculation();
                Cambridge(d);
                d.lambda = zspaLambda;
            }
            break;
        }

        failures = 0;
        const bool done = kDoneBelow > d.constr - 1.0;
        if (d.cycle % 10 == 0 || done) PrintCycle(d, dC);
        if (done) break;  // the candidate itself is the result

        SwapDensities(d);
        d.DFT_Derivatives();
        prevQ = d.wConstr;
        prevC = d.constr;
        const double t = d.param.coefT;
        if (lambdaCeiling > (1.0 + t) * d.lambda) d.lambda += t * d.lambda;
        ++d.cycle;
    }

    d.CalcFcalc(1);
}
