// The Cambridge algorithm: a damped Newton-like ascent of S - lambda (C - 1), with the
// multiplier adapted towards CONSTR = 1 as the gradient shrinks.
#include "engine/optimisers/Cambridge.h"

#include <cmath>

#include "util/IO.h"
#include "engine/optimisers/lbfgs/LineSearch.h"
#include "engine/optimisers/TrialMultiplier.h"
#include "engine/MEMData.h"
#include "engine/blocks/ThreadData.h"

namespace {

// The run has converged when CONSTR is this close to 1 and the gradient this small.
constexpr double kConstrDone = 0.0001;
constexpr double kGradientDone = 0.001;
// The damping doubles on a failed trial up to this, which gives the run up.
constexpr double kLargestStep = 1e25;
constexpr int kCheckpointEvery = 500;

bool Done(const MEMData& d) { return kConstrDone > std::fabs(d.constr - 1.0) && kGradientDone > d.gradNorm; }

// Calls f(block, s1, s2) on every block and returns the two sums, added in block order.
template <class F>
void TwoSums(MEMData& d, double& s1, double& s2, F f) {
    double s[2];
    SumOverBlocks(d.threads, d.nThreads, d.blockSums, 2, s,
                  [&](int, ThreadData& block, double* row) { f(block, row[0], row[1]); });
    s1 = s[0];
    s2 = s[1];
}

// The logarithmic means of the exponential densities for the multiplier,
// averaged into the running ones; then the gradient of Q and its norm.
void UpdateMeansAndGradient(MEMData& d) {
    const double L = d.lambda;
    double s1 = 0.0, s2 = 0.0;
    TwoSums(d, s1, s2, [&](ThreadData& b, double& x, double& y) { b.Calc_mu2(L, x, y); });
    if (d.targetMoment[0] != 0.0) s1 = std::log(std::fabs(s1));
    if (d.targetMoment[1] != 0.0) s2 = std::log(std::fabs(s2));
    d.mu1Mean = (s1 + d.mu1Mean) * 0.5;
    d.mu2Mean = (s2 + d.mu2Mean) * 0.5;
    double d1 = 0.0, d2 = 0.0;
    TwoSums(d, d1, d2, [&](ThreadData& b, double& x, double& y) {
        b.Calc_dQdL(L, d.meanWeight, d.mu1Mean, d.mu2Mean, x, y);
    });
    d.gradNorm = std::sqrt((d1 + d2) / d.nVoxelCell);
}

// The present density holds both target totals; an overflowed exponential
// step normalises to zero or not-a-number instead.
bool HoldsTotals(const MEMData& d) {
    const double mismatch =
        std::fabs(d.calcMoment[0] - d.targetMoment[0]) + std::fabs(d.calcMoment[1] - d.targetMoment[1]);
    return mismatch <= 1e-6 * (std::fabs(d.targetMoment[0]) + std::fabs(d.targetMoment[1]));
}

double Objective(const MEMData& d) { return d.entropyPlus + d.entropyMinus - (d.wConstr - 1.0) * d.lambda; }

// One trial density for the damping `step`, normalised to the totals, with
// its entropy, structure factors, constraint and derivatives.
void Trial(MEMData& d, double step) {
    double s[4];
    SumOverBlocks(d.threads, d.nThreads, d.blockSums, 4, s, [&](int, ThreadData& block, double* r) {
        block.Calc_Next_Rho3(step, r[0], r[1], r[2], r[3]);
    });
    const double p = (d.targetMoment[0] - s[0]) / s[2];
    const double q = (d.targetMoment[1] - s[1]) / s[3];
    double e1 = 0.0, e2 = 0.0;
    TwoSums(d, e1, e2, [&](ThreadData& block, double& x, double& y) {
        double ip = p, iq = q;
        block.Normalize3(ip, iq);
        block.Calc_Partial_Entropy(x, y);
    });
    d.CalcFcalc(0);
    d.Calc_Constraint(1);
    d.DFT_Derivatives();
    d.entropyPlus = e1;
    d.entropyMinus = e2;
    d.objective = Objective(d);
}

// Start-up: the multiplier that brings CONSTR to 1 in one exponential update,
// its density as the start, the mean logarithms, and the multiplier of the
// normalisation; the larger of the two multipliers is taken.
void StartUp(MEMData& d) {
    d.lambda = 1.0;
    d.gradNorm = 1.0;
    d.cycle = 1;
    double startStep = (d.constr - 1.0) / std::fabs(d.constr - 1.0) * 0.0001;
    startStep = LineSearch(CalcC2, &d, startStep, 1e-9, 4.0);
    // A search whose exponential steps overflowed leaves no usable density:
    // the run then starts from the density it was given.
    if (!std::isfinite(d.constr) || !HoldsTotals(d)) {
        ForEachBlock(d.threads, d.nThreads, [](int, ThreadData& block) {
            block.SwapRho();
            block.Add_Rho12();
        });
        d.CalcFcalc(0);
        d.Calc_Constraint(1);
    }
    d.DFT_Derivatives();
    double a = 0.0, b = 0.0;
    TwoSums(d, a, b, [](ThreadData& block, double& x, double& y) {
        block.CopyRho();
        block.Calc_mu1(x, y);
    });
    d.mu1Mean = a / d.nVoxelCell;
    d.mu2Mean = b / d.nVoxelCell;
    d.lambda = LineSearch(CalcLambda, &d, d.lambda, 1e-9, 4.0);
    if (std::fabs(startStep) > std::fabs(d.lambda)) d.lambda = startStep;
    d.CalcFcalc(0);
    d.Calc_Constraint(1);
    d.DFT_Derivatives();
    UpdateMeansAndGradient(d);
    double e1 = 0.0, e2 = 0.0;
    TwoSums(d, e1, e2, [](ThreadData& block, double& x, double& y) { block.Calc_Partial_Entropy(x, y); });
    d.entropyPlus = e1;
    d.entropyMinus = e2;
    d.objective = Objective(d);
}

// Ends a run whose last trial is not finite with the last accepted density,
// evaluated, rather than with the trial: the report then describes a density
// that exists.
void KeepAccepted(MEMData& d) {
    double e1 = 0.0, e2 = 0.0;
    TwoSums(d, e1, e2, [](ThreadData& block, double& x, double& y) {
        block.SwapRho();
        block.Add_Rho12();
        block.Calc_Partial_Entropy(x, y);
    });
    d.entropyPlus = e1;
    d.entropyMinus = e2;
    d.CalcFcalc(0);
    d.Calc_Constraint(1);
    d.objective = Objective(d);
}

// Lambda grows while the fit is too poor (CONSTR above 1) and shrinks while it is too good.
void AdaptMultiplier(MEMData& d) {
    const double x = d.constr - 1.0;
    if (std::fabs(x) > 0.1)
        d.lambda *= 1.0 + 0.05 * (x > 0.0 ? 1.0 : -1.0);
    else
        d.lambda *= 0.2 * d.constr + 0.8;
}

}  // namespace

void Cambridge(MEMData& d) {
    d.stalled = false;
    // A density that is not finite gives nothing to search or improve: every
    // evaluation would be not-a-number, and the searches would only walk.
    if (!std::isfinite(d.constr)) {
        d.CalcFcalc(1);
        return;
    }
    double step = 1.0;
    StartUp(d);
    double prevQ = d.objective;
    while (d.cycle < d.param.maxCycles) {
        // A failed trial damps the step harder; a Q that no damping improves ends the run.
        for (;;) {
            Trial(d, step);
            if (std::isfinite(d.objective) && prevQ <= d.objective) break;
            if (kLargestStep > step) {
                step *= 2.0;
                continue;
            }
            d.cycle = d.param.maxCycles;
            break;
        }
        if (!std::isfinite(d.objective)) {
            KeepAccepted(d);
            break;
        }
        if (d.cycle % 10 == 0 || Done(d)) {
            IO::Printf(" CYCLE %d: Lambda=%13.6E  <dQ/dR> = %13.6E\n", d.cycle, d.lambda, d.gradNorm);
            IO::Printf(" CONSTR = %13.6E  CONF = %13.6E  CONG = %13.6E\n", d.constr, d.CONF, d.CONG);
            IO::Printf("  DELTA = %13.6E    RF =  %-12.6f   wRF =  %-12.6f\n\n", prevQ - d.objective, d.RF,
                       d.wRF);
        }
        if (step > 1e-5) step *= 0.95;
        if (d.cycle > d.param.maxCycles || Done(d)) break;
        if (d.cycle % kCheckpointEvery == 0) {
            d.CalcFcalc(1);
            d.PostCalculation();
        }
        if (0.1 > d.gradNorm && d.cycle >= 2) AdaptMultiplier(d);
        ForEachBlock(d.threads, d.nThreads, [](int, ThreadData& block) { block.SwapRho(); });
        UpdateMeansAndGradient(d);
        ++d.cycle;
        // A changed lambda must not count as a loss in the next comparison.
        d.objective = Objective(d);
        prevQ = d.objective;
    }
    d.stalled = !Done(d);
    d.CalcFcalc(1);
}
