// Per-block density arithmetic of the optimisers, as plain loops over the block's arrays.
#include <algorithm>
#include <cmath>
#include <utility>

#include "engine/blocks/ThreadData.h"
#include "engine/blocks/VectorMath.h"

// Every loop works on restrict-qualified local pointers so that the compiler
// can vectorise it; none allocates. The positive side is touched only when
// F+ is non-zero and the negative side only when F- is, and a skipped side
// leaves its accumulator as the caller passed it.

namespace {

double Sign(double a) { return a / std::fabs(a); }

// The prior of one side as the loops read it: a file's values, or the one
// value of a flat prior, which needs no array of its own.
struct FilePrior {
    const double* __restrict p;
    double operator[](int v) const { return p[v]; }
};
struct FlatPrior {
    double p;
    double operator[](int) const { return p; }
};

// Calls loop(prior) with the accessor that suits the side's prior.
template <class Loop>
inline auto WithPrior(const double* prior, double flat, Loop loop) {
    return prior ? loop(FilePrior{prior}) : loop(FlatPrior{flat});
}

// The loops of one side of the density, shared by the positive side (rho1,
// prior1, ...) and the negative side (rho2, prior2, ...). Each returns its sum
// so that the caller decides which accumulator it goes to.

// r = exp(c D) * o; the multiplicity-weighted total of r.
inline double ExpStep(int n, double c, const double* __restrict D, const double* __restrict o,
                      const int* __restrict m, double* __restrict r) {
    double z = 0.0;
#pragma omp simd reduction(+ : z)
    for (int v = 0; v < n; ++v) {
        r[v] = std::exp(c * D[v]) * o[v];
        z += m[v] * r[v];
    }
    return z;
}

// Sum of -ln(r / p) * m.
template <class Prior>
inline double SumLogRatio(int n, const double* __restrict r, Prior p, const int* __restrict m) {
    double s = 0.0;
    for (int v = 0; v < n; ++v) s += -std::log(r[v] / p[v]) * m[v];
    return s;
}

// Sum of exp(c D) * (p / F000) * m: the normalisation of the exponential density.
template <class Prior>
inline double SumExpPrior(int n, double c, double F000, const double* __restrict D, Prior p,
                          const int* __restrict m) {
    double s = 0.0;
    for (int v = 0; v < n; ++v) s += std::exp(c * D[v]) * (p[v] / F000) * m[v];
    return s;
}

// Sum of -ln(r / p) * r * m, the entropy before its sign.
template <class Prior>
inline double SumEntropy(int n, const double* __restrict r, Prior p, const int* __restrict m) {
    double s = 0.0;
    for (int v = 0; v < n; ++v) s += -std::log(r[v] / p[v]) * r[v] * m[v];
    return s;
}

// Gradient q of Q and the curvature 1 / o +- L a (minus for the negative side);
// returns the multiplicity-weighted sum of q^2.
template <bool Negative, class Prior>
double GradientAndCurvature(int n, double sL, double La, double mu, const double* __restrict D,
                            const double* __restrict o, Prior p, const int* __restrict m,
                            double* __restrict q, double* __restrict curv) {
    double s = 0.0;
    for (int v = 0; v < n; ++v) {
        q[v] = -(std::log(o[v] / p[v]) + mu) - D[v] * sL;
        s += q[v] * q[v] * m[v];
        curv[v] = Negative ? 1.0 / o[v] - La : 1.0 / o[v] + La;
    }
    return s;
}

// The Newton-like step for correction t: step and new density; total and
// step total weighted by multiplicity into sr and ss.
inline void NewtonStep(int n, double t, const double* __restrict o, const double* __restrict q,
                       const double* __restrict curv, const int* __restrict m, double* __restrict step,
                       double* __restrict r, double& sr, double& ss) {
    double sa = 0.0, sc = 0.0;
#pragma omp simd reduction(+ : sa, sc)
    for (int v = 0; v < n; ++v) {
        const double s = 1.0 / (t / o[v] + curv[v]);
        step[v] = s;
        r[v] = o[v] + q[v] * s;
        sc += s * m[v];
        sa += r[v] * m[v];
    }
    sr = sa;
    ss = sc;
}

// Multiplicity-weighted sum of r.
double WeightedSum(int n, const double* __restrict r, const int* __restrict m) {
    double s = 0.0;
    for (int v = 0; v < n; ++v) s += m[v] * r[v];
    return s;
}

// The density of one side from the minimiser's x (negated on the negative
// side), its entropy sum (subtracted on the negative side) and gradient; returns
// its total. With FormSum the density also goes to sum, which is rho12 when
// there is no negative side to add.
template <bool Negative, bool FormSum, class Prior>
double BfgsSide(int n, const double* __restrict x, Prior p, const int* __restrict m, double* __restrict r,
                double* __restrict sum, double* __restrict grad, double& S) {
    double q = 0.0, s = 0.0;
#pragma omp simd reduction(+ : q, s)
    for (int v = 0; v < n; ++v) {
        const double mr = Negative ? -(x[v] * x[v]) : x[v] * x[v];
        q += mr;
        r[v] = mr / m[v];
        if (FormSum) sum[v] = r[v];
        const double l = std::log(r[v] / p[v]);
        // p (p / p - 1) is p ln(p / p): zero, or not a number for a prior of zero.
        const double e = (r[v] * l + p[v] * (p[v] / p[v] - 1.0)) * m[v];
        if (Negative)
            s -= e;
        else
            s += e;
        grad[v] = l + (1.0 - 0.0 / p[v]);
    }
    S += s;
    return q;
}

}  // namespace

void ThreadData::ZSPA_Calc_Next_Rho1(double L, double& Zp, double& Zm) {
    Zp = 0.0;
    Zm = 0.0;
    const double total = std::fabs(F000Plus) + std::fabs(F000Minus);
    if (HasPlus()) Zp = ExpStep(nVoxel, -(F000Plus / total) * L, dCdR.p_, rho1Old.p_, multiplicity, rho1.p_);
    if (HasMinus())
        Zm = ExpStep(nVoxel, -(F000Minus / total) * L, dCdR.p_, rho2Old.p_, multiplicity, rho2.p_);
}

// One pass for the scaling and rho12; a side not in use is multiplied by 1,
// which leaves it as it is.
void ThreadData::ZSPA_Normalize(double a, double b) {
    const double sa = HasPlus() ? a : 1.0;
    const double sb = HasMinus() ? b : 1.0;
    double* __restrict r1 = rho1.p_;
    double* __restrict out = rho12.p_;
    if (!StoresMinus()) {
#pragma omp simd
        for (int v = 0; v < nVoxel; ++v) out[v] = r1[v] = r1[v] * sa;
        return;
    }
    double* __restrict r2 = rho2.p_;
#pragma omp simd
    for (int v = 0; v < nVoxel; ++v) {
        r1[v] *= sa;
        r2[v] *= sb;
        out[v] = r1[v] + r2[v];
    }
}

void ThreadData::Calc_mu1(double& a, double& b) {
    if (HasPlus())
        a += WithPrior(prior1, flatPrior1,
                       [&](auto p) { return SumLogRatio(nVoxel, rho1.p_, p, multiplicity); });
    if (HasMinus())
        b += WithPrior(prior2, flatPrior2,
                       [&](auto p) { return SumLogRatio(nVoxel, rho2.p_, p, multiplicity); });
}

void ThreadData::Calc_mu2(double L, double& a, double& b) {
    if (HasPlus())
        a += WithPrior(prior1, flatPrior1, [&](auto p) {
            return SumExpPrior(nVoxel, -Sign(F000Plus) * L, F000Plus, dCdR.p_, p, multiplicity);
        });
    if (HasMinus())
        b += WithPrior(prior2, flatPrior2, [&](auto p) {
            return SumExpPrior(nVoxel, -Sign(F000Minus) * L, F000Minus, dCdR.p_, p, multiplicity);
        });
}

void ThreadData::Calc_Partial_Entropy(double& Sp, double& Sm) {
    if (HasPlus())
        Sp = Sign(F000Plus) * WithPrior(prior1, flatPrior1,
                                        [&](auto p) { return SumEntropy(nVoxel, rho1.p_, p, multiplicity); });
    if (HasMinus())
        Sm = Sign(F000Minus) * WithPrior(prior2, flatPrior2, [&](auto p) {
                 return SumEntropy(nVoxel, rho2.p_, p, multiplicity);
             });
}

// partial[i] = sum over the block of rho12[v] * table[v][i], one row at a time
// so that both the table and the result are walked with unit stride.
static void AccumulateRows(const double* __restrict table, const double* __restrict rho, int nVoxel,
                           int rowLength, int columns, double* __restrict partial) {
#pragma omp simd
    for (int i = 0; i < columns; ++i) partial[i] = 0.0;
    for (int v = 0; v < nVoxel; ++v) {
        const double* __restrict row = table + static_cast<std::size_t>(v) * rowLength;
        const double r = rho[v];
#pragma omp simd
        for (int i = 0; i < columns; ++i) partial[i] += r * row[i];
    }
}

void ThreadData::Calc_Partial_Fcalc(int withE) {
    const int columns = withE ? nRefl : nRefl - nReflE;
    AccumulateRows(cosTable, rho12.p_, nVoxel, nRefl, columns, partialA);
    if (sinTable) AccumulateRows(sinTable, rho12.p_, nVoxel, nRefl, columns, partialB);
}

void ThreadData::Calc_dCdR_FFT() {
    double* __restrict D = dCdR.p_;
    const int* __restrict at = gridIndex;
    for (int v = 0; v < nVoxel; ++v) D[v] = realGrid[at[v]];
}

// A table entry is the multiplicity times an orbit mean, so the division by
// the multiplicity leaves the derivative per grid point, as the FFT path gives.
void ThreadData::Calc_dCdR_DFT(const double* dA, const double* dB) {
    double* __restrict D = dCdR.p_;
    const int* __restrict m = multiplicity;
    for (int v = 0; v < nVoxel; ++v) {
        const double* __restrict c = cosTable + static_cast<std::size_t>(v) * nRefl;
        double s = 0.0;
#pragma omp simd reduction(+ : s)
        for (int i = 0; i < nReflFG; ++i) s += dA[i] * c[i];
        if (sinTable) {
            const double* __restrict sn = sinTable + static_cast<std::size_t>(v) * nRefl;
#pragma omp simd reduction(+ : s)
            for (int i = 0; i < nReflFG; ++i) s += dB[i] * sn[i];
        }
        D[v] = s / m[v];
    }
}

// With both sides present the negative side's logarithm replaces the positive
// one: the report's coefficients of the logarithmic density are defined so.
void ThreadData::CalcLnRho() {
    double* __restrict out = rho12.p_;
#pragma omp simd
    for (int v = 0; v < nVoxel; ++v) out[v] = 0.0;
    if (HasPlus()) {
        const double* __restrict r = rho1.p_;
        WithPrior(prior1, flatPrior1, [&](auto p) {
            for (int v = 0; v < nVoxel; ++v) out[v] -= std::log(r[v] / p[v]);
        });
    }
    if (HasMinus()) {
        const double* __restrict r = rho2.p_;
        WithPrior(prior2, flatPrior2, [&](auto p) {
            for (int v = 0; v < nVoxel; ++v) out[v] = std::log(r[v] / p[v]);
        });
    }
}

// Without a stored negative side rho12 is rho1 itself (x + 0 = x).
void ThreadData::Add_Rho12() {
    const double* __restrict r1 = rho1.p_;
    double* __restrict out = rho12.p_;
    if (!StoresMinus()) {
        std::copy(r1, r1 + nVoxel, out);
        return;
    }
    const double* __restrict r2 = rho2.p_;
#pragma omp simd
    for (int v = 0; v < nVoxel; ++v) out[v] = r1[v] + r2[v];
}

void ThreadData::SumTotals() {
    totalPlus = WeightedSum(nVoxel, rho1.p_, multiplicity);
    totalMinus = StoresMinus() ? WeightedSum(nVoxel, rho2.p_, multiplicity) : 0.0;
}

// Exchanges storage, not values: the vectors stay the same objects, so lists
// that share them see the exchange.
static void SwapStorage(VectorXD& a, VectorXD& b) {
    std::swap(a.p_, b.p_);
    std::swap(a.dim_, b.dim_);
}

void ThreadData::SwapRho() {
    if (HasPlus()) SwapStorage(rho1Old, rho1);
    if (HasMinus()) SwapStorage(rho2Old, rho2);
}

void ThreadData::CopyRho() {
    if (HasPlus()) rho1Old.Init(rho1);
    if (HasMinus()) rho2Old.Init(rho2);
}

void ThreadData::Calc_dQdL(double L, double a, double mu1, double mu2, double& d1, double& d2) {
    ReserveNewtonVectors();
    if (HasPlus())
        d1 += WithPrior(prior1, flatPrior1, [&](auto p) {
            return GradientAndCurvature<false>(nVoxel, Sign(F000Plus) * L, L * a, mu1, dCdR.p_, rho1Old.p_, p,
                                               multiplicity, dQdRho1.p_, curv1.p_);
        });
    if (HasMinus())
        d2 += WithPrior(prior2, flatPrior2, [&](auto p) {
            return GradientAndCurvature<true>(nVoxel, Sign(F000Minus) * L, L * a, mu2, dCdR.p_, rho2Old.p_, p,
                                              multiplicity, dQdRho2.p_, curv2.p_);
        });
}

void ThreadData::Calc_Next_Rho3(double t, double& a, double& b, double& c, double& d) {
    ReserveNewtonVectors();
    a = b = c = d = 0.0;
    if (HasPlus())
        NewtonStep(nVoxel, t, rho1Old.p_, dQdRho1.p_, curv1.p_, multiplicity, step1.p_, rho1.p_, a, c);
    if (HasMinus())
        NewtonStep(nVoxel, t, rho2Old.p_, dQdRho2.p_, curv2.p_, multiplicity, step2.p_, rho2.p_, b, d);
}

void ThreadData::Normalize3(double& a, double& b) {
    ReserveNewtonVectors();
    if (HasPlus()) rho1.Add(step1, a);
    if (HasMinus()) rho2.Add(step2, b);
    Add_Rho12();
}

// rho1Old holds x with m * rho1 = x^2, which keeps the density positive
// without bounds. ln(p / p) and 0 / p are 0 and 1 for a usable prior; they
// stay in the sums so that a prior of zero shows as not-a-number.
// The totals are those of x^2, which the report's totals then use; a side
// not in use keeps the total of what it holds.
void ThreadData::BFGS_calc_pRho(VectorXD* g, double& S, double& Q) {
    if (!HasPlus()) {
        totalPlus = WeightedSum(nVoxel, rho1.p_, multiplicity);
        return;
    }
    totalPlus = WithPrior(prior1, flatPrior1, [&](auto p) {
        return StoresMinus()
                   ? BfgsSide<false, false>(nVoxel, rho1Old.p_, p, multiplicity, rho1.p_, nullptr, g->p_, S)
                   : BfgsSide<false, true>(nVoxel, rho1Old.p_, p, multiplicity, rho1.p_, rho12.p_, g->p_, S);
    });
    Q += totalPlus;
}

void ThreadData::BFGS_calc_mRho(VectorXD* g, double& S, double& Q) {
    if (!HasMinus()) {
        totalMinus = StoresMinus() ? WeightedSum(nVoxel, rho2.p_, multiplicity) : 0.0;
        return;
    }
    totalMinus = WithPrior(prior2, flatPrior2, [&](auto p) {
        return BfgsSide<true, false>(nVoxel, rho2Old.p_, p, multiplicity, rho2.p_, nullptr, g->p_, S);
    });
    Q += totalMinus;
}

// The result is one eighth of the exact derivative by x; the minimiser's step
// sizes and tests were tuned to this scale.
void ThreadData::BFGS_Calc_dCdR(int side, VectorXD& g, double lam, double mu, double c0) {
    const double* __restrict D = dCdR.p_;
    double* __restrict grad = g.p_;
    if (side == 0) {
        const double* __restrict x = rho1Old.p_;
        const double shift = lam * c0 - mu;
#pragma omp simd
        for (int v = 0; v < nVoxel; ++v) {
            grad[v] += lam * D[v];
            grad[v] = (grad[v] + shift) * (x[v] * 0.25);
        }
    } else {
        const double* __restrict x = rho2Old.p_;
        const double shift = lam * c0 + mu;
#pragma omp simd
        for (int v = 0; v < nVoxel; ++v) {
            grad[v] -= lam * D[v];
            grad[v] = (grad[v] - shift) * (x[v] * 0.25);
        }
    }
}

double ThreadData::Dot(const VectorD& a, const VectorD& b) const {
    const double* __restrict pa = a.p_;
    const double* __restrict pb = b.p_;
    const int* __restrict m = multiplicity;
    double s = 0.0;
#pragma omp simd reduction(+ : s)
    for (int v = 0; v < nVoxel; ++v) s += pa[v] * pb[v] * m[v];
    return s;
}
