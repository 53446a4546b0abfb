// Per-block density arithmetic of the optimisers, as plain loops over the block's arrays.
#include <cmath>
#include <utility>

#include "mem/ThreadData.h"

// Every loop works on restrict-qualified local pointers so that the compiler
// can vectorise it; none allocates. The positive side is touched only when
// F+ is non-zero and the negative side only when F- is, and a skipped side
// leaves its accumulator as the caller passed it.

namespace {

double Sign(double a) { return a / std::fabs(a); }

}  // namespace

void ThreadData::ZSPA_Calc_Next_Rho1(double L, double& Zp, double& Zm) {
    Zp = 0.0;
    Zm = 0.0;
    const double total = std::fabs(F000Plus) + std::fabs(F000Minus);
    const double* __restrict D = dCdR.p_;
    const int* __restrict m = multiplicity;
    if (HasPlus()) {
        const double c = -(F000Plus / total) * L;
        const double* __restrict o = rho1Old.p_;
        double* __restrict r = rho1.p_;
        double z = 0.0;
        for (int v = 0; v < nVoxel; ++v) {
            r[v] = std::exp(c * D[v]) * o[v];
            z += m[v] * r[v];
        }
        Zp = z;
    }
    if (HasMinus()) {
        const double c = -(F000Minus / total) * L;
        const double* __restrict o = rho2Old.p_;
        double* __restrict r = rho2.p_;
        double z = 0.0;
        for (int v = 0; v < nVoxel; ++v) {
            r[v] = std::exp(c * D[v]) * o[v];
            z += m[v] * r[v];
        }
        Zm = z;
    }
}

void ThreadData::ZSPA_Normalize(double a, double b) {
    if (HasPlus())
        rho1 *= a;
    if (HasMinus())
        rho2 *= b;
    Add_Rho12();
}

void ThreadData::Calc_mu1(double& a, double& b) {
    const int* __restrict m = multiplicity;
    if (HasPlus()) {
        const double* __restrict r = rho1.p_;
        const double* __restrict p = prior1;
        double s = 0.0;
        for (int v = 0; v < nVoxel; ++v)
            s += -std::log(r[v] / p[v]) * m[v];
        a += s;
    }
    if (HasMinus()) {
        const double* __restrict r = rho2.p_;
        const double* __restrict p = prior2;
        double s = 0.0;
        for (int v = 0; v < nVoxel; ++v)
            s += -std::log(r[v] / p[v]) * m[v];
        b += s;
    }
}

void ThreadData::Calc_mu2(double L, double& a, double& b) {
    const double* __restrict D = dCdR.p_;
    const int* __restrict m = multiplicity;
    if (HasPlus()) {
        const double c = -Sign(F000Plus) * L;
        const double* __restrict p = prior1;
        double s = 0.0;
        for (int v = 0; v < nVoxel; ++v)
            s += std::exp(c * D[v]) * (p[v] / F000Plus) * m[v];
        a += s;
    }
    if (HasMinus()) {
        const double c = -Sign(F000Minus) * L;
        const double* __restrict p = prior2;
        double s = 0.0;
        for (int v = 0; v < nVoxel; ++v)
            s += std::exp(c * D[v]) * (p[v] / F000Minus) * m[v];
        b += s;
    }
}

void ThreadData::Calc_Partial_Entropy(double& Sp, double& Sm) {
    const int* __restrict m = multiplicity;
    if (HasPlus()) {
        const double* __restrict r = rho1.p_;
        const double* __restrict p = prior1;
        double s = 0.0;
        for (int v = 0; v < nVoxel; ++v)
            s += -std::log(r[v] / p[v]) * r[v] * m[v];
        Sp = Sign(F000Plus) * s;
    }
    if (HasMinus()) {
        const double* __restrict r = rho2.p_;
        const double* __restrict p = prior2;
        double s = 0.0;
        for (int v = 0; v < nVoxel; ++v)
            s += -std::log(r[v] / p[v]) * r[v] * m[v];
        Sm = Sign(F000Minus) * s;
    }
}

// partial[i] = sum over the block of rho12[v] * table[v][i], one row at a time
// so that both the table and the result are walked with unit stride.
static void AccumulateRows(const double* __restrict table, const double* __restrict rho,
                           int nVoxel, int rowLength, int columns, double* __restrict partial) {
#pragma omp simd
    for (int i = 0; i < columns; ++i)
        partial[i] = 0.0;
    for (int v = 0; v < nVoxel; ++v) {
        const double* __restrict row = table + static_cast<std::size_t>(v) * rowLength;
        const double r = rho[v];
#pragma omp simd
        for (int i = 0; i < columns; ++i)
            partial[i] += r * row[i];
    }
}

void ThreadData::Calc_Partial_Fcalc(int withE) {
    const int columns = withE ? nRefl : nRefl - nReflE;
    AccumulateRows(cosTable, rho12.p_, nVoxel, nRefl, columns, partialA);
    if (sinTable)
        AccumulateRows(sinTable, rho12.p_, nVoxel, nRefl, columns, partialB);
}

void ThreadData::Calc_dCdR_FFT() {
    double* __restrict D = dCdR.p_;
    for (int v = 0; v < nVoxel; ++v)
        D[v] = *rhoPointer[v];
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
        for (int i = 0; i < nReflFG; ++i)
            s += dA[i] * c[i];
        if (sinTable) {
            const double* __restrict sn = sinTable + static_cast<std::size_t>(v) * nRefl;
#pragma omp simd reduction(+ : s)
            for (int i = 0; i < nReflFG; ++i)
                s += dB[i] * sn[i];
        }
        D[v] = s / m[v];
    }
}

// With both sides present the negative side's logarithm replaces the positive
// one: the report's coefficients of the logarithmic density are defined so.
void ThreadData::CalcLnRho() {
    double* __restrict out = rho12.p_;
#pragma omp simd
    for (int v = 0; v < nVoxel; ++v)
        out[v] = 0.0;
    if (HasPlus()) {
        const double* __restrict r = rho1.p_;
        const double* __restrict p = prior1;
        for (int v = 0; v < nVoxel; ++v)
            out[v] -= std::log(r[v] / p[v]);
    }
    if (HasMinus()) {
        const double* __restrict r = rho2.p_;
        const double* __restrict p = prior2;
        for (int v = 0; v < nVoxel; ++v)
            out[v] = std::log(r[v] / p[v]);
    }
}

void ThreadData::Add_Rho12() {
    const double* __restrict r1 = rho1.p_;
    const double* __restrict r2 = rho2.p_;
    double* __restrict out = rho12.p_;
#pragma omp simd
    for (int v = 0; v < nVoxel; ++v)
        out[v] = r1[v] + r2[v];
}

// Exchanges storage, not values: the vectors stay the same objects, so lists
// that share them see the exchange.
static void SwapStorage(VectorXD& a, VectorXD& b) {
    std::swap(a.p_, b.p_);
    std::swap(a.dim_, b.dim_);
}

void ThreadData::SwapRho() {
    if (HasPlus())
        SwapStorage(rho1Old, rho1);
    if (HasMinus())
        SwapStorage(rho2Old, rho2);
}

void ThreadData::CopyRho() {
    if (HasPlus())
        rho1Old.Init(rho1);
    if (HasMinus())
        rho2Old.Init(rho2);
}

void ThreadData::Calc_dQdL(double L, double a, double mu1, double mu2, double& d1, double& d2) {
    const double* __restrict D = dCdR.p_;
    const int* __restrict m = multiplicity;
    if (HasPlus()) {
        const double sL = Sign(F000Plus) * L;
        const double* __restrict o = rho1Old.p_;
        const double* __restrict p = prior1;
        double* __restrict q = dQdRho1.p_;
        double* __restrict curv = curv1.p_;
        double s = 0.0;
        for (int v = 0; v < nVoxel; ++v) {
            q[v] = -(std::log(o[v] / p[v]) + mu1) - D[v] * sL;
            s += q[v] * q[v] * m[v];
            curv[v] = 1.0 / o[v] + L * a;
        }
        d1 += s;
    }
    if (HasMinus()) {
        const double sL = Sign(F000Minus) * L;
        const double* __restrict o = rho2Old.p_;
        const double* __restrict p = prior2;
        double* __restrict q = dQdRho2.p_;
        double* __restrict curv = curv2.p_;
        double s = 0.0;
        for (int v = 0; v < nVoxel; ++v) {
            q[v] = -(std::log(o[v] / p[v]) + mu2) - D[v] * sL;
            s += q[v] * q[v] * m[v];
            curv[v] = 1.0 / o[v] - L * a;
        }
        d2 += s;
    }
}

void ThreadData::Calc_Next_Rho3(double t, double& a, double& b, double& c, double& d) {
    a = b = c = d = 0.0;
    const int* __restrict m = multiplicity;
    if (HasPlus()) {
        const double* __restrict o = rho1Old.p_;
        const double* __restrict q = dQdRho1.p_;
        const double* __restrict curv = curv1.p_;
        double* __restrict step = step1.p_;
        double* __restrict r = rho1.p_;
        double sa = 0.0, sc = 0.0;
#pragma omp simd reduction(+ : sa, sc)
        for (int v = 0; v < nVoxel; ++v) {
            const double s = 1.0 / (t / o[v] + curv[v]);
            step[v] = s;
            r[v] = o[v] + q[v] * s;
            sc += s * m[v];
            sa += r[v] * m[v];
        }
        a = sa;
        c = sc;
    }
    if (HasMinus()) {
        const double* __restrict o = rho2Old.p_;
        const double* __restrict q = dQdRho2.p_;
        const double* __restrict curv = curv2.p_;
        double* __restrict step = step2.p_;
        double* __restrict r = rho2.p_;
        double sb = 0.0, sd = 0.0;
#pragma omp simd reduction(+ : sb, sd)
        for (int v = 0; v < nVoxel; ++v) {
            const double s = 1.0 / (t / o[v] + curv[v]);
            step[v] = s;
            r[v] = o[v] + q[v] * s;
            sd += s * m[v];
            sb += r[v] * m[v];
        }
        b = sb;
        d = sd;
    }
}

void ThreadData::Normalize3(double& a, double& b) {
    if (HasPlus())
        rho1.Add(step1, a);
    if (HasMinus())
        rho2.Add(step2, b);
    Add_Rho12();
}

// rho1Old holds x with m * rho1 = x^2, which keeps the density positive
// without bounds. ln(p / p) and 0 / p are 0 and 1 for a usable prior; they
// stay in the sums so that a prior of zero shows as not-a-number.
void ThreadData::BFGS_calc_pRho(VectorXD& g, double& S, double& Q) {
    if (!HasPlus())
        return;
    const double* __restrict x = rho1Old.p_;
    const double* __restrict p = prior1;
    const int* __restrict m = multiplicity;
    double* __restrict r = rho1.p_;
    double* __restrict grad = g.p_;
    double q = 0.0, s = 0.0;
#pragma omp simd reduction(+ : q)
    for (int v = 0; v < nVoxel; ++v) {
        r[v] = x[v] * x[v];
        q += r[v];
    }
    for (int v = 0; v < nVoxel; ++v) {
        r[v] /= m[v];
        const double l = std::log(r[v] / p[v]);
        s += (r[v] * l + p[v] * std::log(p[v] / p[v])) * m[v];
        grad[v] = l + (1.0 - 0.0 / p[v]);
    }
    Q += q;
    S += s;
}

void ThreadData::BFGS_calc_mRho(VectorXD& g, double& S, double& Q) {
    if (!HasMinus())
        return;
    const double* __restrict x = rho2Old.p_;
    const double* __restrict p = prior2;
    const int* __restrict m = multiplicity;
    double* __restrict r = rho2.p_;
    double* __restrict grad = g.p_;
    double q = 0.0, s = 0.0;
#pragma omp simd reduction(+ : q)
    for (int v = 0; v < nVoxel; ++v) {
        r[v] = -(x[v] * x[v]);
        q += r[v];
    }
    for (int v = 0; v < nVoxel; ++v) {
        r[v] /= m[v];
        const double l = std::log(r[v] / p[v]);
        s -= (r[v] * l + p[v] * std::log(p[v] / p[v])) * m[v];
        grad[v] = l + (1.0 - 0.0 / p[v]);
    }
    Q += q;
    S += s;
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
    for (int v = 0; v < nVoxel; ++v)
        s += pa[v] * pb[v] * m[v];
    return s;
}

void ThreadData::Calc_dQdL2(double L, double mu1, double mu2, double& d1, double& d2) {
    const double* __restrict D = dCdR.p_;
    const int* __restrict m = multiplicity;
    if (HasPlus()) {
        const double sL = L * Sign(F000Plus);
        const double* __restrict r = rho1.p_;
        const double* __restrict p = prior1;
        double s = 0.0;
        for (int v = 0; v < nVoxel; ++v) {
            const double q = -std::log(r[v] / p[v]) - mu1 - D[v] * sL;
            s += m[v] * q * q;
        }
        d1 += s;
    }
    if (HasMinus()) {
        const double sL = L * Sign(F000Minus);
        const double* __restrict r = rho2.p_;
        const double* __restrict p = prior2;
        double s = 0.0;
        for (int v = 0; v < nVoxel; ++v) {
            const double q = -std::log(r[v] / p[v]) - mu2 - D[v] * sL;
            s += m[v] * q * q;
        }
        d2 += s;
    }
}

void ThreadData::setRhoAsym(double* out, double scale) {
    for (int v = 0; v < nVoxel; ++v)
        out[v] = scale * *rhoPointer[v];
}
