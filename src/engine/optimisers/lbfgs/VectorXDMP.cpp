#include "engine/optimisers/lbfgs/VectorXDMP.h"

#include <omp.h>

#include <cmath>

#include "util/Assert.h"

namespace {

// The parts of the calling thread: t, t + T, t + 2 T, ...
template <class F>
inline void ForOwnParts(int nParts, F f) {
    const int step = omp_get_num_threads();
    for (int p = omp_get_thread_num(); p < nParts; p += step) f(p);
}

// Adds the per-part sums to *result in part order, by one thread, so that a
// run gives the same digits each time; `finish` then maps the total. The
// implied barrier at the end of single publishes the value to every thread.
template <class Finish>
void SumInPartOrder(double* result, const std::vector<double>& partSums, Finish finish) {
#pragma omp barrier
#pragma omp single
    {
        for (double s : partSums) *result += s;
        *result = finish(*result);
    }
}

// The per-part arithmetic, in plain loops rather than BLAS calls: a threaded
// BLAS starts threads of its own for every long vector, inside a team that
// already holds every core, and on two threads those waited on each other
// (sched_yield) for more time than the evaluations took: 600 cycles of a
// 134,400-voxel set took 51 s instead of about 3.
void Copy(VectorXD& to, const VectorXD& from) {
    HV_ASSERT(to.dim_ == from.dim_);
    double* __restrict t = to.p_;
    const double* __restrict f = from.p_;
#pragma omp simd
    for (int i = 0; i < to.dim_; ++i) t[i] = f[i];
}

void Axpy(VectorXD& to, const VectorXD& v, double a) {
    HV_ASSERT(to.dim_ == v.dim_);
    double* __restrict t = to.p_;
    const double* __restrict f = v.p_;
#pragma omp simd
    for (int i = 0; i < to.dim_; ++i) t[i] += a * f[i];
}

double InnerProduct(const VectorXD& a, const VectorXD& b) {
    HV_ASSERT(a.dim_ == b.dim_);
    const double* __restrict x = a.p_;
    const double* __restrict y = b.p_;
    double s = 0.0;
#pragma omp simd reduction(+ : s)
    for (int i = 0; i < a.dim_; ++i) s += x[i] * y[i];
    return s;
}

}  // namespace

VectorXDMP::VectorXDMP(VectorXDMP& V) : Object() {
    Resize(V);
    for (int p = 0; p < parts.size(); ++p) parts[p]->Init(*V.parts[p]);
}

void VectorXDMP::AddPart(VectorXD* part) {
    offsets.push_back(Length());
    parts.add(part);
    partSums.push_back(0.0);
}

void VectorXDMP::Resize(const VectorXDMP& V) {
    parts.clear();
    offsets.clear();
    partSums.clear();
    for (int p = 0; p < V.parts.size(); ++p) AddPart(new VectorXD(V.parts[p]->Dim()));
}

int VectorXDMP::Length() const {
    const int n = parts.size();
    return n == 0 ? 0 : offsets[n - 1] + parts[n - 1]->Dim();
}

void VectorXDMP::Init(const VectorXDMP& V) {
    ForOwnParts(parts.size(), [&](int p) { Copy(*parts[p], *V.parts[p]); });
}

void VectorXDMP::nInit(const VectorXDMP& V) {
    ForOwnParts(parts.size(), [&](int p) { parts[p]->nInit(*V.parts[p]); });
}

void VectorXDMP::Diff(const VectorXDMP& A, const VectorXDMP& B) {
    ForOwnParts(parts.size(), [&](int p) { parts[p]->Diff(*A.parts[p], *B.parts[p]); });
}

void VectorXDMP::Add(const VectorXDMP& V, double a) {
    ForOwnParts(parts.size(), [&](int p) { Axpy(*parts[p], *V.parts[p], a); });
}

VectorXDMP& VectorXDMP::operator*=(double a) {
    ForOwnParts(parts.size(), [&](int p) {
        double* __restrict v = parts[p]->p_;
#pragma omp simd
        for (int i = 0; i < parts[p]->dim_; ++i) v[i] *= a;
    });
    return *this;
}

void VectorXDMP::Dot(double* result, const VectorXDMP& V) const {
    ForOwnParts(parts.size(), [&](int p) { partSums[p] = InnerProduct(*parts[p], *V.parts[p]); });
    SumInPartOrder(result, partSums, [](double x) { return x; });
}

void VectorXDMP::Norm2(double* result) const {
    ForOwnParts(parts.size(), [&](int p) { partSums[p] = InnerProduct(*parts[p], *parts[p]); });
    SumInPartOrder(result, partSums, [](double x) { return std::sqrt(x); });
}

void VectorXDMP::Norm2inv(double* result) const {
    ForOwnParts(parts.size(), [&](int p) { partSums[p] = InnerProduct(*parts[p], *parts[p]); });
    SumInPartOrder(result, partSums, [](double x) { return 1.0 / std::sqrt(x); });
}
