// Double-precision vectors: the view VectorD and the heap vector VectorXD.
#pragma once

#include <cblas.h>
#include <cstdint>

#include "util/Assert.h"
#include "numeric/Object.h"

// A vector over storage it does not own: a pointer and a length. The heirs
// differ only in where the elements live (VectorXD on the heap, Vector3D inline
// in core/VectorF.h). The density arithmetic runs these operations on the
// per-thread voxel blocks inside parallel regions, so none of them allocates or
// synchronises; each block is touched by one thread. Element reads are not
// bounds-checked, and hot loops use p_ directly.
class VectorD : public Object {
public:
    VectorD() = default;
    VectorD(double* p, int dim) : p_(p), dim_(dim) {}
    VectorD(const VectorD&) = delete;
    VectorD& operator=(const VectorD&) = delete;
    ~VectorD() override {}

    double& operator[](int i) { return p_[i]; }
    const double& operator[](int i) const { return p_[i]; }
    int Dim() const { return dim_; }

    void Init(const double* src, int dim);
    void Init(const VectorD& V) { Init(V.p_, V.dim_); }
    void nInit(const VectorD& V);
    void Diff(const VectorD& A, const VectorD& B);
    void Add(const VectorD& V, double a);
    VectorD& operator*=(double a);
    double Dot(const VectorD& V) const;
    void Div(const VectorD& V);
    double Norm2() const;

    // Equality of coordinates and indices: each of the n pairs within
    // 1.1920928955078125e-07. True for n < 1.
    static bool IsEqual(const double* a, const double* b, int n);

    // Reduces fractional coordinates to [0, 1). Values within
    // 1.1920928955078125e-07 of an integer become exactly 0, so that a value
    // just below 1 falls to 0 and operators that differ only by rounding of
    // their translations compare equal under the same tolerance.
    static void Fractionalize(double* x, int n);

    double* p_ = nullptr;
    std::int32_t dim_ = 0;
};

// A vector that owns its heap array. The array comes from new[], which on this
// platform is 16-byte aligned, as the vectorised density loops expect.
class VectorXD : public VectorD {
public:
    VectorXD() = default;
    explicit VectorXD(int n) { Resize(n); }
    VectorXD(const VectorXD& src) : VectorXD(src.dim_) { Init(src); }
    ~VectorXD() override { delete[] p_; }

    // Replaces the array by one of n elements, values unset.
    void Resize(int n);
};

// this = src, the lengths being equal.
inline void VectorD::Init(const double* src, int dim) {
    HV_ASSERT(dim_ == dim);
    cblas_dcopy(dim_, src, 1, p_, 1);
}

// this *= a, in place.
inline VectorD& VectorD::operator*=(double a) {
    cblas_dscal(dim_, a, p_, 1);
    return *this;
}

// this = -V.
inline void VectorD::nInit(const VectorD& V) {
    HV_ASSERT(dim_ == V.dim_);
    const double* v = V.p_;
    double* p = p_;
    for (int i = 0; i < dim_; ++i) p[i] = -v[i];
}

// this = A - B: the differences of unknowns and of gradients that the
// minimiser keeps as its correction pairs.
inline void VectorD::Diff(const VectorD& A, const VectorD& B) {
    HV_ASSERT(dim_ == A.dim_ && dim_ == B.dim_);
    const double* a = A.p_;
    const double* b = B.p_;
    double* p = p_;
    for (int i = 0; i < dim_; ++i) p[i] = a[i] - b[i];
}

// this += a V.
inline void VectorD::Add(const VectorD& V, double a) {
    HV_ASSERT(dim_ == V.dim_);
    cblas_daxpy(dim_, a, V.p_, 1, p_, 1);
}

// The plain inner product of the two blocks. Sums over blocks, and so over
// threads, are the caller's, which is why this returns the value instead of
// adding it anywhere.
inline double VectorD::Dot(const VectorD& V) const {
    HV_ASSERT(dim_ == V.dim_);
    return cblas_ddot(dim_, p_, 1, V.p_, 1);
}

// Element by element, this[i] /= V[i].
inline void VectorD::Div(const VectorD& V) {
    HV_ASSERT(dim_ == V.dim_);
    const double* v = V.p_;
    double* p = p_;
    for (int i = 0; i < dim_; ++i) p[i] /= v[i];
}

// The Euclidean length.
inline double VectorD::Norm2() const { return cblas_dnrm2(dim_, p_, 1); }
