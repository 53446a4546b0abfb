// The full maximum-entropy problem by the limited-memory minimiser: the Lagrangian, its
// gradient, the progress rules and the outer updates of the multipliers.

#include <cfloat>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <algorithm>

#include "util/IO.h"
#include "engine/optimisers/lbfgs/LineSearch.h"
#include "engine/optimisers/lbfgs/lbfgs.h"
#include "engine/optimisers/TrialMultiplier.h"
#include "engine/MEMData.h"
#include "engine/blocks/ThreadData.h"
#include "engine/optimisers/LBFGS.h"

namespace {

// The cycle numbers at which a long run leaves its results behind.
constexpr int kCheckpointEvery = 500;
// Runs of the minimiser in a row that end before their first cycle: the
// multiplier updates have stopped rescuing the run, and it ends rather than hangs.
constexpr int kMaxIdleRuns = 100;
// Relative mismatch of the totals below which they count as met.
constexpr double kTotalsMet = 1e-5;
// The objective counts as converged when it has changed by less than this per
// electron over the last kStallCycles cycles of a run.
constexpr int kStallCycles = 10;
constexpr double kStallPerElectron = 1e-7;

bool HasPlus(const MEMData& d) { return d.targetMoment[0] != 0.0; }
bool HasMinus(const MEMData& d) { return d.targetMoment[1] != 0.0; }

// Index in `solution` of the negative part of block t: the negative parts
// follow the positive ones when there are any.
int MinusPart(const MEMData& d, int t) { return (HasPlus(d) ? d.threads.size() : 0) + t; }

// Makes the blocks' old densities the minimiser's unknowns, x^2 = m |rho|,
// without copying: the parts of `solution` are those very vectors. The
// gradient and the direction are the blocks' dQdRho and step vectors.
void ShareUnknowns(MEMData& d) {
    lbfgs_workspace& ws = d.lbfgsState.work;
    VectorXDMP* shared[] = {&d.solution, &ws.g, &ws.d};
    for (VectorXDMP* v : shared) {
        v->parts.clear();
        v->offsets.clear();
    }
    // Each block's own thread touches its new vectors first.
    ForEachBlock(d.threads, d.nThreads, [](int, ThreadData& b) { b.ReserveMinimiserVectors(); });
    for (int side = 0; side < 2; ++side) {
        if (side == 0 ? !HasPlus(d) : !HasMinus(d)) continue;
        for (ThreadData* block : d.threads) {
            d.solution.AddPart(side == 0 ? &block->rho1Old : &block->rho2Old);
            ws.g.AddPart(side == 0 ? &block->dQdRho1 : &block->dQdRho2);
            ws.d.AddPart(side == 0 ? &block->step1 : &block->step2);
        }
    }
    d.lbfgsState.sums.Resize(d.threads.size(), 4);
    ForEachBlock(d.threads, d.nThreads, [&](int, ThreadData& b) {
        for (VectorXD* x : {&b.rho1Old, &b.rho2Old}) {
            if (x == &b.rho1Old ? !HasPlus(d) : !HasMinus(d)) continue;
            for (int v = 0; v < b.nVoxel; ++v) (*x)[v] = std::sqrt(std::fabs(b.multiplicity[v] * (*x)[v]));
        }
    });
}

// A restarted run: the multiplier that makes an exponential density of the
// present derivative match the file's logarithmic mean.
void StartFromFile(MEMData& d) {
    d.lambda = 1.0;
    double ab[2];
    SumOverBlocks(d.threads, d.nThreads, d.lbfgsState.sums, 2, ab, [](int, ThreadData& b, double* s) {
        s[0] = s[1] = 0.0;
        b.Calc_mu1(s[0], s[1]);
    });
    d.mu1Mean = ab[0] / d.nVoxelCell;
    d.mu2Mean = ab[1] / d.nVoxelCell;
    d.multipliers[1] = -d.mu1Mean;
    d.multipliers[2] = -d.mu2Mean;
    double lambda1 = d.lambda;
    d.lambda = LineSearch(CalcLambda, &d, lambda1, 0.0001, 4.0);
    d.multipliers[0] = 1.0 / d.lambda;
}

// Between runs of the minimiser: 1 / lambda from a power law C(L) through the
// last two passes, its exponent kept to [-1, -0.25], and falling by at most
// a factor 1.5 per pass. (Cp, Lp) is the previous pass, DBL_MAX while unset.
void UpdateConstraintMultiplier(MEMData& d, double& Cp, double& Lp) {
    const double C = d.constr;
    const double L = d.multipliers[0];
    double x = L / std::sqrt(C);
    if (Lp != DBL_MAX && (Cp - C) * (Lp - L) > 0.0) {
        const double e = std::log(L / Lp) / -std::log(C / Cp);
        x = std::pow(C, e > -0.25 ? -0.25 : std::max(-1.0, e)) * L;
    }
    if (L / x > 1.5) x = L / 1.5;
    Cp = C;
    Lp = L;
    d.multipliers[0] = x;
}

// The multipliers of the totals: logarithmic after a run that stopped for
// other reasons, proportional to the mismatch after one that stopped to let
// the multipliers move (status -1 or 1).
void UpdateTotalsMultipliers(MEMData& d, int status) {
    const double dPlus = d.targetMoment[0] - d.calcMoment[0];
    const double dMinus = d.targetMoment[1] - d.calcMoment[1];
    if (status != -1 && status != 1) {
        if (HasPlus(d)) d.multipliers[1] += std::log(d.targetMoment[0] / d.calcMoment[0]);
        if (HasMinus(d)) d.multipliers[2] += std::log(d.targetMoment[1] / d.calcMoment[1]);
    } else {
        if (HasPlus(d)) d.multipliers[1] += dPlus / d.multipliers[0] * d.meanWeight;
        if (HasMinus(d)) d.multipliers[2] += -dMinus / d.multipliers[0] * d.meanWeight;
    }
}

bool Converged(const MEMData& d) {
    const double mismatch =
        std::fabs(d.targetMoment[0] - d.calcMoment[0]) + std::fabs(d.targetMoment[1] - d.calcMoment[1]);
    return std::fabs(d.constr - 1.0) <= d.param.convergenceLimit &&
           mismatch / (d.targetMoment[0] - d.targetMoment[1]) <= kTotalsMet;
}

// The constraint and the totals are met and the objective, with the entropy
// in it, no longer moves: what is left to gain is below the printed digits.
// Without this the run waits for the gradient test, which the ratio |g| / |x|
// can take hundreds of cycles to pass while C drifts in and out of its limit.
bool Settled(MEMData& d, double Q, int k) {
    double& before = d.lbfgsState.recentObjective[k % kStallCycles];
    const double electrons = std::fabs(d.calcMoment[0]) + std::fabs(d.calcMoment[1]);
    const bool settled =
        k > kStallCycles && Converged(d) && std::fabs(Q - before) <= kStallPerElectron * electrons;
    before = Q;
    return settled;
}

// Results of the present density written as at the end, so that a long run leaves them behind.
void Checkpoint(MEMData& d) {
    d.lambda = 1.0 / d.multipliers[0];
    d.CalcFcalc(1);
    d.PostCalculation();
}

}  // namespace

void MEMData::Calc_dSdR(VectorXDMP& g) {
    // Sums: S+, Q+, S-, Q-.
    double s[4];
    SumOverBlocks(threads, nThreads, lbfgsState.sums, 4, s, [&](int t, ThreadData& b, double* r) {
        std::fill(r, r + 4, 0.0);
        b.BFGS_calc_pRho(HasPlus(*this) ? g.parts[t] : nullptr, r[0], r[1]);
        b.BFGS_calc_mRho(HasMinus(*this) ? g.parts[MinusPart(*this, t)] : nullptr, r[2], r[3]);
        if (useFFT && b.StoresMinus()) b.Add_Rho12();  // else formed with the positive side
    });
    entropyPlus = s[0];
    entropyMinus = s[2];
    calcMoment[0] = s[1];
    calcMoment[1] = s[3];
    totalsCurrent = true;
    CalcFcalc(0);
}

void MEMData::Calc_dCdR(VectorXDMP& g) {
    DFT_Derivatives();
    const double lam = 1.0 / multipliers[0];
    const double c0Plus = -2.0 * meanWeight * (targetMoment[0] - calcMoment[0]);
    const double c0Minus = -2.0 * meanWeight * (targetMoment[1] - calcMoment[1]);
    ForEachBlock(threads, nThreads, [&](int t, ThreadData& b) {
        if (HasPlus(*this)) b.BFGS_Calc_dCdR(0, *g.parts[t], lam, multipliers[1], c0Plus);
        if (HasMinus(*this)) b.BFGS_Calc_dCdR(1, *g.parts[MinusPart(*this, t)], lam, multipliers[2], c0Minus);
    });
}

// Q = S+ + S- + lambda (constrF0 - 1 + wConstr) + mu1 (F+ - Q+) - mu2 (F- - Q-);
// the order-2 term of wConstr stands for C. x is not read: its parts are the blocks'.
double MEMData::evaluate(const VectorXDMP&, VectorXDMP& g, int, double) {
    ++lbfgsState.evaluations;
    Calc_dSdR(g);
    Calc_Constraint(cycle);
    Calc_dCdR(g);
    double Q = entropyPlus + entropyMinus;
    Q += (constrF0 - 1.0 + wConstr) / multipliers[0];
    Q += (targetMoment[0] - calcMoment[0]) * multipliers[1];
    Q -= (targetMoment[1] - calcMoment[1]) * multipliers[2];
    objective = Q;
    return Q;
}

int MEMData::progress(const VectorXDMP&, const VectorXDMP&, double fx, double xnorm, double gnorm,
                      double step, int, int k, int) {
    const double ratio = gnorm / xnorm;
    const double dC = std::fabs(constr - 1.0);
    const double limit = param.convergenceLimit;
    ++cycle;
    gradNorm = ratio;

    const bool done = (dC <= limit && ratio < limit) || Settled(*this, fx, k);
    if (cycle % 10 == 0 || done || param.printEveryCycle) {
        const double total = calcMoment[0] - calcMoment[1];
        IO::Printf(" CYCLE %d: step = %13.6E  <dQ/dR> = %13.6E\n", cycle, step, ratio);
        IO::Printf("    mu1 = %13.6E  dq+ = %13.6E  mu2 = %13.6E  dq- = %13.6E\n", multipliers[1],
                   targetMoment[0] - calcMoment[0], multipliers[2], targetMoment[1] - calcMoment[1]);
        IO::Printf(" CONSTR = %13.6E    Q = %13.6E    S = %13.6E; %13.6E\n", constr, -fx / total,
                   -entropyPlus / total, -entropyMinus / total);
        IO::Printf(" Lambda = %13.6E   RF =  %-12.6f  wRF =  %-12.6f\n\n", 1.0 / multipliers[0], RF, wRF);
    }
    if (done) return -1;

    // The gradient has become small for how far C still is from 1: the
    // multiplier must change before more cycles pay off.
    if (ratio < 0.2) {
        double M = 1.0;
        const double T = std::fabs(calcMoment[0]) + std::fabs(calcMoment[1]);
        for (double candidate : {std::sqrt(T / (entropyPlus + entropyMinus)), std::sqrt(multipliers[0])})
            if (candidate > M) M = candidate;
        if (ratio < 0.0441686413 * std::pow(std::log(dC / M + 1.0), 0.7)) return -1;
    }
    if (k > 100 && constr < 0.96) return -1;  // the run has gone past the fit
    if (cycle >= param.maxCycles) return LBFGSERR_MAXIMUMITERATION;
    if (cycle % kCheckpointEvery == 0) Checkpoint(*this);
    return 0;
}

double MEMData::_evaluate(void* instance, const VectorXDMP& x, VectorXDMP& g, int n, double step) {
    return static_cast<MEMData*>(instance)->evaluate(x, g, n, step);
}

int MEMData::_progress(void* instance, const VectorXDMP& x, const VectorXDMP& g, double fx, double xnorm,
                       double gnorm, double step, int n, int k, int ls) {
    return static_cast<MEMData*>(instance)->progress(x, g, fx, xnorm, gnorm, step, n, k, ls);
}

void MEMData::L_BFGS() {
    double Cp = DBL_MAX, Lp = DBL_MAX;
    ShareUnknowns(*this);
    std::printf("start lbfgs optimization\n");
    multipliers[0] = std::sqrt(wConstr - 1.0) * 100.0 / (nRefF + nGroups);
    multipliers[1] = multipliers[2] = 0.0;
    if (param.startType) StartFromFile(*this);

    lbfgs_parameter_t p;
    lbfgs_parameter_init(&p);
    p.m = 6;
    p.linesearch = LBFGS_LINESEARCH_BACKTRACKING_ARMIJO;

    lbfgs_workspace& ws = lbfgsState.work;
    ws.scale = 0.0;
    lbfgsState.evaluations = 0;
    int idleRuns = 0;
    for (;;) {
        const int before = cycle;
        const int status = lbfgs(NASYM, solution, &objective, _evaluate, _progress, this, &p, &ws);
        idleRuns = cycle == before ? idleRuns + 1 : 0;
        if (Converged(*this)) break;
        if (param.printEveryCycle)
            std::printf("L-BFGS optimization terminated with status code = %d\n", status);
        if (status > -2) UpdateConstraintMultiplier(*this, Cp, Lp);
        UpdateTotalsMultipliers(*this, status);
        if (cycle >= param.maxCycles || idleRuns >= kMaxIdleRuns) break;
    }
    lambda = 1.0 / multipliers[0];
    CalcFcalc(1);
    IO::Printf("L-BFGS: %d cycles, %d evaluations of the objective\n", cycle, lbfgsState.evaluations);
}
