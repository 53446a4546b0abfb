#include "numeric/VectorF.h"

Vector3D& Vector3D::operator=(const Vector3D& src) {
    for (int i = 0; i < 3; ++i) m[i] = src.m[i];
    return *this;
}

VectorF* VectorF::Clone(unsigned int) const { return new VectorF(p_, dim_); }

Vector3F& Vector3F::operator=(const Vector3F& src) {
    for (int i = 0; i < 3; ++i) m[i] = src.m[i];
    return *this;
}
