// Small vectors: Vector3D of doubles, the float view VectorF and Vector3F.
#pragma once

#include <cstdint>

#include "numeric/Object.h"
#include "numeric/VectorD.h"

// Three inline doubles, such as a coordinate triple or a set of indices.
class Vector3D : public VectorD {
public:
    Vector3D() : Vector3D(0.0, 0.0, 0.0) {}
    Vector3D(double x, double y, double z) : VectorD(m, 3), m{x, y, z} {}
    Vector3D(const Vector3D& src) : Vector3D(src.m[0], src.m[1], src.m[2]) {}
    Vector3D& operator=(const Vector3D& src);

    double m[3];
};

// A float vector over storage it does not own.
class VectorF : public CloneableObj {
public:
    VectorF() = default;
    VectorF(float* p, int dim) : p_(p), dim_(dim) {}
    VectorF(const VectorF&) = delete;
    VectorF& operator=(const VectorF&) = delete;

    // A plain VectorF over the same elements, owning nothing: it must not
    // outlive this vector.
    VectorF* Clone(unsigned int flags) const override;

    float& operator[](int i) { return p_[i]; }
    const float& operator[](int i) const { return p_[i]; }
    int Dim() const { return dim_; }

    float* p_ = nullptr;
    std::int32_t dim_ = 0;
};

// Three inline floats.
class Vector3F : public VectorF {
public:
    Vector3F() : Vector3F(0.0f, 0.0f, 0.0f) {}
    Vector3F(float x, float y, float z) : VectorF(m, 3), m{x, y, z} {}
    Vector3F(const Vector3F& src) : Vector3F(src.m[0], src.m[1], src.m[2]) {}
    Vector3F& operator=(const Vector3F& src);

    float m[3];
};
