// Generalised constraint terms: value, derivatives by A and B, and the report moments.
#include "engine/constraints/Constraint.h"

#include <algorithm>
#include <cmath>
#include <memory>

#include "engine/blocks/AlignedArray.h"

namespace {

// (n - 1)!! = 1 * 3 * ... * (n - 1), the n-th moment of a unit normal distribution.
int OddDoubleFactorial(int n) {
    int f = 1;
    for (int k = 3; k < n; k += 2) f *= k;
    return f;
}

// Number of equivalents of the record at list position `at`.
double Equivalents(ObjVector<StructureFactor>& refl, int at) {
    return static_cast<double>(refl[at]->hkl.nItems());
}

// t^k; the first two powers, which order 2 uses, without a call.
double Power(double t, int k) { return k == 0 ? 1.0 : k == 1 ? t : std::pow(t, k); }

}  // namespace

Constraint::~Constraint() {
    FreeAligned(derivA);
    FreeAligned(derivB);
}

Constraint* Constraint::Create(int nRef0, int nRef1, int nRef2, int nGroup, int order, int nVoxelCell) {
    std::unique_ptr<Constraint> c(new Constraint);
    c->order = order;
    c->nRef0 = nRef0;
    c->nRef1 = nRef1;
    c->nRef2 = nRef2;
    c->nGroup = nGroup;
    c->nVoxelCell = nVoxelCell;
    c->doubleFactorial = OddDoubleFactorial(order);
    const std::size_t n = static_cast<std::size_t>(nRef1 + nRef2);
    c->derivA = AllocateZeroed<double>(n);
    c->derivB = AllocateZeroed<double>(n);
    return c.release();
}

double Constraint::CalcDerivative(int /*mode*/, ObjVector<StructureFactor>& refl, double* dA, double* dB,
                                  double* wF, double* Gc, std::vector<int>& groupSize,
                                  std::vector<int>& groupMult, double* wN, double weight, int linearG) {
    const int n = order;
    const int k = n / 2;
    const double D = static_cast<double>(nRef1 + nGroup) * doubleFactorial;
    const double W = weight;

    CF = 0.0;
    for (int i = 0; i < nRef1; ++i) {
        const double a = dA[i], b = dB[i];
        const double t = a * a + b * b;
        CF += Power(t, k) * wN[i] / D * W;
        const double e = -(Power(t, k - 1) * n * std::sqrt(wF[i]) / D * W * wN[i]);
        derivA[i] = e * a;
        derivB[i] = e * b;
    }

    CG = 0.0;
    const int end = nRef1 + nRef2;
    int p = nRef1;
    for (int g = 0; g < nGroup && g < static_cast<int>(groupSize.size()); ++g) {
        double u = 0.0;
        for (int j = 0; j < groupSize[g] && p < end; ++j, ++p) {
            const double r = dA[p];
            const double M = Equivalents(refl, p + nRef0);
            if (linearG) {
                u += Power(r * r, k) / D * W * wN[p];
                derivA[p] =
                    Power(r * r, k - 1) * n * std::sqrt(wF[p]) / D * W * wN[p] * M / (-groupMult[g]) * r;
                // The mean real part does not depend on B: derivB keeps what it
                // holds, zero from Create, or the order-2 term of an unobserved
                // reflection at the same position.
            } else {
                u += W * wN[p] * (Power(r * r, k) / D);
                const double e =
                    wN[p] * M * (Power(r, n - 1) * std::sqrt(wF[p]) * n / D) / (groupMult[g] * Gc[g]) * W;
                // A group whose calculated magnitude is 0 has no derivative by its members.
                if (std::isfinite(e)) {
                    derivA[p] = -e * refl[p + nRef0]->A;
                    derivB[p] = -e * refl[p + nRef0]->B;
                }
            }
        }
        CG += u / groupSize[g];
    }
    return CF + CG;
}

void Constraint::MergeDerivative(double* re, double* im) const {
    const int n = nRef1 + nRef2;
    for (int i = 0; i < n; ++i) {
        re[i] += derivA[i];
        im[i] += derivB[i];
    }
}

void Constraint::Calc_CFn(double* out, int* orders, int count, double* dA, double* dB,
                          std::vector<int>& groupSize) {
    const double D = static_cast<double>(nRef1 + nGroup);
    const int end = nRef1 + nRef2;
    for (int c = 0; c < count; ++c) {
        const int k = orders[c] / 2;
        const double dd = OddDoubleFactorial(orders[c]);
        double sum = 0.0;
        for (int i = 0; i < nRef1; ++i) sum += std::pow(dA[i] * dA[i] + dB[i] * dB[i], k) / (D * dd);
        int first = nRef1;
        for (int g = 0; g < nGroup && g < static_cast<int>(groupSize.size()) && first < end; ++g) {
            sum += std::pow(dA[first] * dA[first], k) / (dd * D);
            first += std::max(groupSize[g], 0);
        }
        out[c] = sum;
    }
}
