// Algorithm 4: the exact maximum-entropy density, by Newton-CG on the Lagrange dual of the
// order-2 constraint, with a continuation of the target CONSTR down to 1.
//
// Design note.
//
// The problem. For a multiplier lambda the density minimises
//     S(rho) + lambda wC(rho),   S = sum m rho ln(rho / p) over both channels,
// with the totals F+ and F- held exactly; wC is the weighted order-2
// constraint (1/N) sum u |Fobs - F(rho)|^2, u = l_2 x refWeight x E / sigma^2,
// N = NREF1. It is convex and its Lagrange dual is smooth and unconstrained,
// with one unknown per reflection component (real and imaginary part):
//     f(theta) = F+ ln Z+(a) + |F-| ln Z-(a) - theta . Fobs + sum N theta^2 / (4 lambda u),
//     a = A^T theta (the backward map of the engine), Z+ = sum m (p+ / F+) e^a,
//     Z- = sum m (p- / F-) e^-a,  rho+ = F+ (p+ / F+) e^a / Z+, rho- likewise.
// Its gradient is F(rho) - Fobs + N theta / (2 lambda u): one forward map of
// the density. Its Hessian times s is A(m w) + N s / (2 lambda u) with
// w = rho+ (b - <b>+) + |rho-| (b - <b>-), b = A^T s: one backward and one
// forward map, the price of one cycle of the other algorithms. The unknowns
// are reflection-sized; the density-sized work is a handful of passes over
// the asymmetric unit and one transform pair.
//
// Newton-CG. The Newton system is solved by conjugate gradients, truncated
// at a relative residual eta = min(0.5, max(sqrt(gamma), 0.3 tol / gamma)),
// gamma the relative gradient and tol the one wanted: superlinear outer
// convergence, few products far from the optimum, and no solve tighter than
// the step needs; at most 150 products a step. The preconditioner is the
// diagonal of the Hessian at a flat density: F/(2M) per component of an
// acentric reflection with M equivalents (F/M for the real part in a
// centrosymmetric group, whose imaginary parts are not unknowns at all),
// plus the exact N / (2 lambda u). It balances the reflections whose
// sigma differ by orders of magnitude, which is what makes plain CG slow.
// While CG runs, the map A^T d of its iterate d is accumulated from the
// products' own backward maps, so the line search needs no transform.
//
// Globalisation. f is convex and smooth, and a truncated CG iterate of a
// positive definite system is a descent direction, so a backtracking
// (Armijo) line search on f cannot diverge; f decreases monotonically. The
// exponentials are shifted by the extreme of a, so no trial overflows.
//
// Continuation. From the flat start the target C falls by factors of four
// to 1, and each target's lambda is predicted on a log-log line: the first
// from the linear response of the flat density, later ones by the secant
// through the last two solved stages (slope -1.25 until there are two), and
// lambda moves by at most a factor 16 a stage. Intermediate stages stop at a
// relative gradient ||g|| / ||Fobs|| of 1e-3; at the target 1 lambda moves as
// soon as the gradient is a tenth of |C - 1|, by the same secant.
//
// Stop test. A run is satisfied at |C - 1| <= 1e-4; it goes on to
// |C - 1| <= 2e-9 and ||g|| / ||Fobs|| <= 1e-9, where the optimum is pinned
// down to the printed digits, so that thread counts (whose reductions and
// transform plans differ in the last bits) give the same report. The gradient
// must be that small for C to be known to 2e-9: at 1e-8 the secant on lambda
// misses the band again and again, and the 192^3 bench set took more cycles.
// It also ends at |C - 1| <= 1e-4 when no step decreases f beyond its
// rounding, and at the cycle limit, which every Newton step and every lambda
// update consumes.
// A restart from a density file fits lambda and theta to ln(rho / p) and
// starts at the target 1 directly.
//
// Cycles count transform pairs: each gradient and each Hessian product.
#include "engine/optimisers/DualNewton.h"

#include <omp.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <vector>

#include "util/IO.h"
#include "engine/blocks/ForEachBlock.h"
#include "engine/MEMData.h"
#include "engine/blocks/ThreadData.h"

namespace {

constexpr double kConstrDone = 1e-4;  // |C - 1| of a satisfied run
// The end: |C - 1| and the relative dual gradient ||g|| / ||Fobs|| this small
// leave one optimum, whatever the thread count did to the last bits on the way.
constexpr double kConstrEnd = 2e-9;
constexpr double kFinalGradient = 1e-9;
constexpr double kStageGradient = 1e-3;            // the relative gradient of an intermediate stage
constexpr double kStageFactor = 4.0;               // the target C falls by this per stage
constexpr double kMaxLogStep = 2.772588722239781;  // ln 16: lambda moves at most so far per stage
constexpr double kSlope = -1.25;                   // d ln C / d ln lambda until two stages measure it
constexpr double kArmijo = 1e-4;
constexpr double kRounding = 1e-13;  // relative rounding of f that the line search forgives
constexpr int kMaxProducts = 150;    // Hessian products of one Newton step
constexpr double kSmallestStep = 1e-12;
constexpr int kCheckpointEvery = 500;
constexpr int kSums = 5;  // partial sums per block

// The prior of one side at voxel v: a file's values or the flat one.
struct Prior {
    const double* p;
    double flat;
    double operator[](int v) const { return p ? p[v] : flat; }
};

// The voxel field of the accumulated CG direction: a Newton vector of the
// side in use, which no other algorithm holds during this one.
double* DirectionField(ThreadData& b) { return b.HasPlus() ? b.step1.p_ : b.step2.p_; }

class DualSolver {
public:
    explicit DualSolver(MEMData& d);
    void Run();

private:
    // Voxel passes; block sums go through `sums` and are added in block order.
    void Extremes(double t, double& hi, double& lo);
    void LogPartition(double t, double& lnZp, double& lnZm);
    void FormDensity();
    void StepField(double t);
    void CurvatureField();
    void AddToDirection(double alpha);
    // The maps between reflections and voxels.
    void Forward(double* out);
    void Backward(const double* s);
    // f, its gradient, C and the density at theta.
    void Evaluate();
    void SetGradient();
    double Objective(double lnZp, double lnZm, double t, double* scale = nullptr) const;
    void SetLambda(double value);
    double LinearModelC(double L) const;
    double LinearModelLambda(double target) const;
    bool StartFromDensity();
    void RefuseUnusablePrior();
    int NewtonDirection(double eta);
    double LineSearch();
    bool NewtonStep(double tolerance);
    bool CyclesLeft(int needed) const { return d.cycle + needed <= d.param.maxCycles; }
    void Checkpoint();
    double Dot(const std::vector<double>& x, const std::vector<double>& y) const;

    MEMData& d;
    const int K;          // individual reflections; unknowns 2K
    const double N;       // NREF1 + groups, the divisor of C
    const double Fp, Fm;  // target totals, Fm <= 0
    const bool plus, minus, centric;
    double lambda = 1.0;
    double lnZp = 0.0, lnZm = 0.0, f = 0.0, gamma = 0.0, fobsNorm = 1.0;
    double fScale = 0.0;  // the size of f's terms, against which its rounding is judged
    int steps = 0;
    int nextCheckpoint = kCheckpointEvery;
    std::vector<double> fobs, r0, u, mask, flatDiag, diag, theta, Fc, grad;
    std::vector<double> dir, res, z, p, Hp;
    BlockSums sums;  // kSums sums per block, added in block order
};

DualSolver::DualSolver(MEMData& data)
    : d(data),
      K(data.nRefF),
      N(data.nRefF + data.nGroups),
      Fp(data.targetMoment[0]),
      Fm(data.targetMoment[1]),
      plus(Fp != 0.0),
      minus(Fm != 0.0),
      centric(data.centroFactor == 2) {
    const std::size_t n = 2 * static_cast<std::size_t>(K);
    for (std::vector<double>* v :
         {&fobs, &r0, &u, &mask, &flatDiag, &diag, &theta, &Fc, &grad, &dir, &res, &z, &p, &Hp})
        v->assign(n, 0.0);
    sums.Resize(d.threads.size(), kSums);
    const double W = d.param.lambdaFraction[0];
    const double total = std::fabs(Fp) + std::fabs(Fm);
    for (int k = 0; k < K; ++k) {
        fobs[2 * k] = d.FobsRe[k];
        fobs[2 * k + 1] = d.FobsIm[k];
        const double uk = W * d.refWeight[k] * d.weightF[k];
        const bool usable = uk > 0.0 && std::isfinite(uk);
        const double M = std::max<double>(1.0, d.reflections[k]->hkl.nItems());
        u[2 * k] = u[2 * k + 1] = usable ? uk : 1.0;
        mask[2 * k] = usable ? 1.0 : 0.0;
        mask[2 * k + 1] = usable && !centric ? 1.0 : 0.0;
        flatDiag[2 * k] = centric ? total / M : total / (2.0 * M);
        flatDiag[2 * k + 1] = centric ? 0.0 : total / (2.0 * M);
    }
    fobsNorm = std::sqrt(Dot(fobs, fobs));
    if (!(fobsNorm > 0.0)) fobsNorm = 1.0;
    ForEachBlock(d.threads, d.nThreads, [](int, ThreadData& block) { block.ReserveMinimiserVectors(); });
}

double DualSolver::Dot(const std::vector<double>& x, const std::vector<double>& y) const {
    double s = 0.0;
    for (std::size_t i = 0; i < x.size(); ++i) s += x[i] * y[i] * mask[i];
    return s;
}

// Largest and smallest value of a + t A^T d over the asymmetric unit.
void DualSolver::Extremes(double t, double& hi, double& lo) {
    ForEachBlock(d.threads, d.nThreads, [&](int b, ThreadData& block) {
        const double* __restrict a = block.rho1Old.p_;
        const double* __restrict s = DirectionField(block);
        double h = -HUGE_VAL, l = HUGE_VAL;
        for (int v = 0; v < block.nVoxel; ++v) {
            const double x = t == 0.0 ? a[v] : a[v] + t * s[v];
            h = std::max(h, x);
            l = std::min(l, x);
        }
        sums.Row(b)[0] = h;
        sums.Row(b)[1] = l;
    });
    hi = -HUGE_VAL;
    lo = HUGE_VAL;
    for (int b = 0; b < d.threads.size(); ++b) {
        hi = std::max(hi, sums.Row(b)[0]);
        lo = std::min(lo, sums.Row(b)[1]);
    }
}

// ln Z+ and ln Z- at a + t A^T d, each shifted by its extreme.
void DualSolver::LogPartition(double t, double& outP, double& outM) {
    double hi, lo;
    Extremes(t, hi, lo);
    ForEachBlock(d.threads, d.nThreads, [&](int b, ThreadData& block) {
        const double* __restrict a = block.rho1Old.p_;
        const double* __restrict s = DirectionField(block);
        const int* __restrict m = block.multiplicity;
        const Prior pp{block.prior1, block.flatPrior1}, pm{block.prior2, block.flatPrior2};
        double zp = 0.0, zm = 0.0;
        for (int v = 0; v < block.nVoxel; ++v) {
            const double x = t == 0.0 ? a[v] : a[v] + t * s[v];
            if (plus) zp += m[v] * (pp[v] / Fp) * std::exp(x - hi);
            if (minus) zm += m[v] * (pm[v] / Fm) * std::exp(lo - x);
        }
        sums.Row(b)[0] = zp;
        sums.Row(b)[1] = zm;
    });
    double z[2];
    sums.Total(2, z);
    outP = plus ? hi + std::log(z[0]) : 0.0;
    outM = minus ? std::log(z[1]) - lo : 0.0;
}

// The densities of both sides from a, their sum in rho12 and the block totals.
void DualSolver::FormDensity() {
    LogPartition(0.0, lnZp, lnZm);
    ForEachBlock(d.threads, d.nThreads, [&](int, ThreadData& block) {
        const double* __restrict a = block.rho1Old.p_;
        const int* __restrict m = block.multiplicity;
        double* __restrict r1 = block.rho1.p_;
        double* __restrict r2 = minus ? block.rho2.p_ : nullptr;
        double* __restrict sum = block.rho12.p_;
        const Prior pp{block.prior1, block.flatPrior1}, pm{block.prior2, block.flatPrior2};
        double qp = 0.0, qm = 0.0;
        for (int v = 0; v < block.nVoxel; ++v) {
            double s = 0.0;
            if (plus) {
                r1[v] = pp[v] * std::exp(a[v] - lnZp);
                qp += m[v] * r1[v];
                s += r1[v];
            }
            if (minus) {
                r2[v] = pm[v] * std::exp(-a[v] - lnZm);
                qm += m[v] * r2[v];
                s += r2[v];
            }
            sum[v] = s;
        }
        block.totalPlus = plus ? qp : 0.0;
        block.totalMinus = minus ? qm : 0.0;
    });
}

void DualSolver::StepField(double t) {
    ForEachBlock(d.threads, d.nThreads, [&](int, ThreadData& block) {
        double* __restrict a = block.rho1Old.p_;
        const double* __restrict s = DirectionField(block);
#pragma omp simd
        for (int v = 0; v < block.nVoxel; ++v) a[v] += t * s[v];
    });
}

// rho12 = rho+ (b - <b>+) + |rho-| (b - <b>-) with b = dCdR, the means taken
// with the densities as weights: the density part of a Hessian product.
void DualSolver::CurvatureField() {
    ForEachBlock(d.threads, d.nThreads, [&](int t, ThreadData& block) {
        const double* __restrict b = block.dCdR.p_;
        const int* __restrict m = block.multiplicity;
        double sp = 0.0, sm = 0.0;
        for (int v = 0; v < block.nVoxel; ++v) {
            if (plus) sp += m[v] * block.rho1[v] * b[v];
            if (minus) sm += m[v] * block.rho2[v] * b[v];
        }
        sums.Row(t)[0] = sp;
        sums.Row(t)[1] = sm;
    });
    double total[2];
    sums.Total(2, total);
    const double meanP = plus ? total[0] / Fp : 0.0, meanM = minus ? total[1] / Fm : 0.0;
    ForEachBlock(d.threads, d.nThreads, [&](int, ThreadData& block) {
        const double* __restrict b = block.dCdR.p_;
        const double* __restrict r1 = block.rho1.p_;
        const double* __restrict r2 = minus ? block.rho2.p_ : nullptr;
        double* __restrict out = block.rho12.p_;
        for (int v = 0; v < block.nVoxel; ++v) {
            double w = 0.0;
            if (plus) w += r1[v] * (b[v] - meanP);
            if (minus) w -= r2[v] * (b[v] - meanM);
            out[v] = w;
        }
    });
}

void DualSolver::AddToDirection(double alpha) {
    ForEachBlock(d.threads, d.nThreads, [&](int, ThreadData& block) {
        double* __restrict s = DirectionField(block);
        const double* __restrict b = block.dCdR.p_;
#pragma omp simd
        for (int v = 0; v < block.nVoxel; ++v) s[v] += alpha * b[v];
    });
}

// The structure factors of whatever rho12 holds, without forming rho12 from
// the densities; one cycle. The block totals are left as FormDensity set them.
void DualSolver::Forward(double* out) {
    d.totalsCurrent = true;
    if (d.useFFT) {
        d.CalcFcalc(0);
    } else {
        ForEachBlock(d.threads, d.nThreads, [&](int, ThreadData& block) { block.Calc_Partial_Fcalc(0); });
        d.CalcFcalc_impl(0);
    }
    for (int k = 0; k < K; ++k) {
        out[2 * k] = d.reflections[k]->A;
        out[2 * k + 1] = d.reflections[k]->B;
    }
    ++d.cycle;
}

// dCdR = A^T s at every voxel, per grid point.
void DualSolver::Backward(const double* s) {
    for (int k = 0; k < K; ++k) {
        d.mergedDerivRe[k] = s[2 * k] * mask[2 * k];
        d.mergedDerivIm[k] = s[2 * k + 1] * mask[2 * k + 1];
    }
    d.DFT_Derivatives();
}

double DualSolver::Objective(double zp, double zm, double t, double* scale) const {
    double s = (plus ? Fp * zp : 0.0) + (minus ? -Fm * zm : 0.0);
    double size = std::fabs(s);
    for (std::size_t i = 0; i < theta.size(); ++i) {
        if (mask[i] == 0.0) continue;
        const double x = theta[i] + t * dir[i];
        const double linear = x * fobs[i], quadratic = N * x * x / (4.0 * lambda * u[i]);
        s += quadratic - linear;
        size += std::fabs(linear) + quadratic;
    }
    if (scale) *scale = size;
    return s;
}

void DualSolver::SetGradient() {
    for (std::size_t i = 0; i < grad.size(); ++i)
        grad[i] = mask[i] * (Fc[i] - fobs[i] + N * theta[i] / (2.0 * lambda * u[i]));
    gamma = std::sqrt(Dot(grad, grad)) / fobsNorm;
    f = Objective(lnZp, lnZm, 0.0, &fScale);
}

void DualSolver::Evaluate() {
    FormDensity();
    Forward(Fc.data());
    d.Calc_Constraint(d.cycle);
    SetGradient();
}

void DualSolver::SetLambda(double value) {
    lambda = std::min(value, 1e280);
    for (std::size_t i = 0; i < diag.size(); ++i)
        diag[i] = mask[i] == 0.0 ? 1.0 : flatDiag[i] + N / (2.0 * lambda * u[i]);
    SetGradient();
}

// C of the linear response of the starting density, with the flat
// curvature, at multiplier L: each residual shrinks by 1 / (1 + 2 L u c / N).
double DualSolver::LinearModelC(double L) const {
    double s = 0.0;
    for (int k = 0; k < K; ++k)
        for (int j = 0; j < 2; ++j) {
            const int i = 2 * k + j;
            const double shrink = mask[i] == 0.0 ? 1.0 : 1.0 + 2.0 * L * u[i] * flatDiag[i] / N;
            s += d.weightF[k] * r0[i] * r0[i] / (shrink * shrink);
        }
    return s / N;
}

// The model's lambda for a target C, by bisection in ln lambda.
double DualSolver::LinearModelLambda(double target) const {
    double lo = std::log(1e-30), hi = std::log(1e30);
    for (int i = 0; i < 200; ++i) {
        const double mid = 0.5 * (lo + hi);
        (LinearModelC(std::exp(mid)) > target ? lo : hi) = mid;
    }
    return std::exp(0.5 * (lo + hi));
}

// A restart: at the optimum ln(rho / p) = c + A^T theta with
// theta = 2 lambda u (Fobs - F) / N, so lambda is the slope of ln(rho+ / p+)
// (or -ln(rho- / p-)) against A^T (2 u (Fobs - F) / N), fitted with the
// density as weight. False when the file's density shows no such slope.
bool DualSolver::StartFromDensity() {
    for (int k = 0; k < K; ++k) {
        Fc[2 * k] = d.reflections[k]->A;
        Fc[2 * k + 1] = d.reflections[k]->B;
    }
    for (std::size_t i = 0; i < z.size(); ++i) z[i] = mask[i] * 2.0 * u[i] * (fobs[i] - Fc[i]) / N;
    Backward(z.data());
    ++d.cycle;  // counted as a whole pair
    ForEachBlock(d.threads, d.nThreads, [&](int t, ThreadData& block) {
        const Prior pp{block.prior1, block.flatPrior1}, pm{block.prior2, block.flatPrior2};
        double s[5] = {};
        for (int v = 0; v < block.nVoxel; ++v) {
            const double r = plus ? block.rho1[v] / pp[v] : block.rho2[v] / pm[v];
            if (!(r > 0.0) || !std::isfinite(r)) continue;
            const double w = block.multiplicity[v] * r, x = block.dCdR[v];
            const double y = plus ? std::log(r) : -std::log(r);
            s[0] += w;
            s[1] += w * x;
            s[2] += w * y;
            s[3] += w * x * x;
            s[4] += w * x * y;
        }
        std::copy(s, s + 5, sums.Row(t));
    });
    double s[5];
    sums.Total(5, s);
    const double varX = s[3] / s[0] - (s[1] / s[0]) * (s[1] / s[0]);
    const double cov = s[4] / s[0] - (s[1] / s[0]) * (s[2] / s[0]);
    const double L = cov / varX;
    if (!(L > 0.0) || !std::isfinite(L)) return false;
    for (std::size_t i = 0; i < theta.size(); ++i) theta[i] = L * z[i];
    ForEachBlock(d.threads, d.nThreads, [&](int, ThreadData& block) {
        for (int v = 0; v < block.nVoxel; ++v) block.rho1Old[v] = L * block.dCdR[v];
    });
    lambda = L;
    return true;
}

// Preconditioned CG on H dir = -grad, truncated at eta; the voxel field of
// dir is accumulated from the products' backward maps. Returns the products.
int DualSolver::NewtonDirection(double eta) {
    ForEachBlock(d.threads, d.nThreads, [&](int, ThreadData& block) {
        double* s = DirectionField(block);
        std::fill(s, s + block.nVoxel, 0.0);
    });
    std::fill(dir.begin(), dir.end(), 0.0);
    for (std::size_t i = 0; i < res.size(); ++i) {
        res[i] = -grad[i];
        z[i] = res[i] / diag[i];
        p[i] = z[i];
    }
    double rz = Dot(res, z);
    const double stop = eta * std::sqrt(Dot(grad, grad));
    int products = 0;
    while (CyclesLeft(2) && products < kMaxProducts) {
        Backward(p.data());
        CurvatureField();
        Forward(Hp.data());
        ++products;
        for (std::size_t i = 0; i < Hp.size(); ++i)
            Hp[i] = mask[i] * (Hp[i] + N * p[i] / (2.0 * lambda * u[i]));
        const double pHp = Dot(p, Hp);
        if (!(pHp > 0.0) || !std::isfinite(pHp)) {
            // No curvature left to trust: the preconditioned gradient, if nothing better.
            if (products == 1) {
                dir = p;
                AddToDirection(1.0);
            }
            break;
        }
        const double alpha = rz / pHp;
        for (std::size_t i = 0; i < dir.size(); ++i) {
            dir[i] += alpha * p[i];
            res[i] -= alpha * Hp[i];
        }
        AddToDirection(alpha);
        if (std::sqrt(Dot(res, res)) <= stop) break;
        for (std::size_t i = 0; i < z.size(); ++i) z[i] = res[i] / diag[i];
        const double rzNext = Dot(res, z);
        const double beta = rzNext / rz;
        rz = rzNext;
        for (std::size_t i = 0; i < p.size(); ++i) p[i] = z[i] + beta * p[i];
    }
    return products;
}

// Backtracking on f along dir, halving from the full step; 0 when no step
// decreases f enough.
double DualSolver::LineSearch() {
    const double slope = Dot(grad, dir);
    if (!(slope < 0.0)) return 0.0;
    for (double t = 1.0; t >= kSmallestStep; t *= 0.5) {
        double zp, zm;
        LogPartition(t, zp, zm);
        const double ft = Objective(zp, zm, t);
        if (std::isfinite(ft) && ft <= f + kArmijo * t * slope + kRounding * fScale) return t;
    }
    return 0.0;
}

// One Newton step with its console line; false when it could not move.
bool DualSolver::NewtonStep(double tolerance) {
    const double eta = std::min(0.5, std::max(std::sqrt(gamma), 0.3 * tolerance / gamma));
    const int products = NewtonDirection(eta);
    const double t = products > 0 ? LineSearch() : 0.0;
    if (t > 0.0) {
        for (std::size_t i = 0; i < theta.size(); ++i) theta[i] += t * dir[i];
        StepField(t);
        Evaluate();
    } else {
        // Hessian products overwrote rho12 and the structure factors.
        Evaluate();
    }
    ++steps;
    IO::Printf(
        " NEWTON %3d: CONSTR = %13.6E  |g| = %10.3E  CG = %3d  step = %10.3E  lambda = %13.6E  cycles = %d\n",
        steps, d.constr, gamma, products, t, lambda, d.cycle);
    if (d.cycle >= nextCheckpoint) {
        while (nextCheckpoint <= d.cycle) nextCheckpoint += kCheckpointEvery;
        Checkpoint();
    }
    return t > 0.0;
}

// Results of the present density written as at the end.
void DualSolver::Checkpoint() {
    d.lambda = lambda;
    d.gradNorm = gamma;
    d.CalcFcalc(1);
    d.PostCalculation();
}

// ln(rho / p) needs a prior of the channel's sign at every voxel; a file
// with zeros (or values of the wrong sign) is not used.
void DualSolver::RefuseUnusablePrior() {
    ForEachBlock(d.threads, d.nThreads, [&](int t, ThreadData& block) {
        double bad = 0.0;
        for (int v = 0; v < block.nVoxel; ++v) {
            if (plus && block.prior1 && !(block.prior1[v] / Fp > 0.0 && std::isfinite(block.prior1[v])))
                bad = 1.0;
            if (minus && block.prior2 && !(block.prior2[v] / Fm > 0.0 && std::isfinite(block.prior2[v])))
                bad = 1.0;
        }
        sums.Row(t)[0] = bad;
    });
    bool bad = false;
    for (int t = 0; t < d.threads.size(); ++t) bad = bad || sums.Row(t)[0] != 0.0;
    if (!bad) return;
    IO::PrintError("The prior density is not of one sign everywhere. Flat prior will be used.\n");
    d.param.priorType = 0;
    ForEachBlock(d.threads, d.nThreads, [&](int, ThreadData& block) {
        if (block.prior1) std::fill(block.prior1, block.prior1 + block.nVoxel, block.flatPrior1);
        if (block.prior2) std::fill(block.prior2, block.prior2 + block.nVoxel, block.flatPrior2);
    });
}

void DualSolver::Run() {
    std::printf("start dual Newton optimization\n");
    RefuseUnusablePrior();
    double target = 1.0;
    if (!(d.param.startType && StartFromDensity())) {
        // The flat start: theta = 0, so a = 0 and the density is the prior.
        std::fill(theta.begin(), theta.end(), 0.0);
        ForEachBlock(d.threads, d.nThreads, [&](int, ThreadData& block) {
            std::fill(block.rho1Old.p_, block.rho1Old.p_ + block.nVoxel, 0.0);
        });
        target = -1.0;
    }
    Evaluate();
    for (std::size_t i = 0; i < r0.size(); ++i) r0[i] = fobs[i] - Fc[i];
    if (target < 0.0) {
        target = std::max(1.0, d.constr / kStageFactor);
        SetLambda(LinearModelLambda(target));
    } else {
        SetLambda(lambda);
    }
    bool havePrevious = false;
    double lnLPrev = 0.0, lnCPrev = 0.0;
    while (CyclesLeft(3)) {
        // At the target 1, lambda moves as soon as C is known well enough for
        // the next secant step, and the last solve is the tight one.
        const bool last = target <= 1.0;
        auto tolerance = [&] {
            if (!last) return kStageGradient;
            return std::max(kFinalGradient, std::min(kStageGradient, 0.1 * std::fabs(d.constr - 1.0)));
        };
        // At least one step after every change of lambda, so that each pass costs cycles.
        bool moved = NewtonStep(tolerance());
        while (moved && gamma > tolerance() && CyclesLeft(3)) moved = NewtonStep(tolerance());
        const double C = d.constr;
        if (last && std::fabs(C - 1.0) <= kConstrEnd && gamma <= kFinalGradient) break;
        // The line search finds no decrease: f is as low as its rounding lets it be.
        if (last && std::fabs(C - 1.0) <= kConstrDone && !moved) break;
        // The next target and its lambda on the log-log line through the last two stages.
        const double nextTarget = std::max(1.0, C / kStageFactor);
        const double lnL = std::log(lambda), lnC = std::log(C);
        double slope = havePrevious && lnL != lnLPrev ? (lnC - lnCPrev) / (lnL - lnLPrev) : kSlope;
        if (!(slope < -0.05) || !std::isfinite(slope)) slope = kSlope;
        const double step =
            std::max(-kMaxLogStep, std::min(kMaxLogStep, (std::log(nextTarget) - lnC) / slope));
        if (!std::isfinite(step)) break;
        havePrevious = true;
        lnLPrev = lnL;
        lnCPrev = lnC;
        target = nextTarget;
        SetLambda(std::exp(lnL + step));
    }
    d.lambda = lambda;
    d.gradNorm = gamma;
    d.CalcFcalc(1);
}

}  // namespace

const char* DualNewtonUnfit(const MEMData& d) {
    if (d.nGroups > 0) return "overlap groups constrain magnitudes, which the dual does not take";
    for (int n = 1; n < 8; ++n)
        if (d.param.lambdaFraction[n] != 0.0) return "generalised constraints above order 2 are set";
    if (!(d.param.lambdaFraction[0] > 0.0)) return "the order-2 constraint has no weight";
    if (d.nRefUnobs > 0) return "unobserved reflections are estimated";
    if (d.nRefF == 0) return "there are no individual reflections";
    if (d.targetMoment[0] == 0.0 && d.targetMoment[1] == 0.0) return "the totals F(000) are zero";
    return nullptr;
}

void DualNewton(MEMData& d) {
    d.cycle = 0;
    DualSolver solver(d);
    solver.Run();
}
