#include "numeric/Matrix4D.h"

#include <cmath>

namespace {

// Elements of two operators closer than this are the same element.
const double kCompareTolerance = 0.000001;

// c = a b for 4 x 4 column-major arrays; c must be neither a nor b.
void product4(const double* a, const double* b, double* c) {
    for (int j = 0; j < 4; ++j)
        for (int i = 0; i < 4; ++i) {
            double sum = 0.0;
            for (int k = 0; k < 4; ++k) sum += a[4 * k + i] * b[4 * j + k];
            c[4 * j + i] = sum;
        }
}

}  // namespace

Matrix3D::Matrix3D() : MatrixD(m, 3, 3, 3) { MatrixD::Initialize(); }

Matrix3D::Matrix3D(const Matrix3D& src) : MatrixD(m, 3, 3, 3) { *this = src; }

Matrix3D& Matrix3D::operator=(const Matrix3D& src) {
    for (int i = 0; i < 9; ++i) m[i] = src.m[i];
    return *this;
}

Matrix3D* Matrix3D::Clone(unsigned int) const { return new Matrix3D(*this); }

void Matrix3D::SetC2Ortho(const float* cell) {
    const double a = cell[0], b = cell[1], c = cell[2];
    const double alpha = cell[3] * 3.141592653589793 / 180.0;
    const double beta = cell[4] * 3.141592653589793 / 180.0;
    const double gamma = cell[5] * 3.141592653589793 / 180.0;
    const double ca = std::cos(alpha), cb = std::cos(beta), cg = std::cos(gamma);
    const double sb = std::sin(beta), sg = std::sin(gamma);
    MatrixD& M = *this;
    M(0, 0) = a;
    M(0, 1) = b * cg;
    M(0, 2) = c * cb;
    M(1, 0) = 0.0;
    M(1, 1) = b * sg;
    M(1, 2) = -(c * sb) * (cb * cg - ca) / (sb * sg);
    M(2, 0) = 0.0;
    M(2, 1) = 0.0;
    M(2, 2) = c * std::sqrt(1.0 - ca * ca - cb * cb - cg * cg + 2.0 * ca * cb * cg) / sg;
}

const double Matrix4D::E[16] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};

Matrix4D::Matrix4D() : Matrix4D(E) {}

Matrix4D::Matrix4D(const double* elements) : MatrixD(m, 4, 4, 4) {
    for (int i = 0; i < 16; ++i) m[i] = elements[i];
}

Matrix4D& Matrix4D::operator=(const Matrix4D& src) {
    for (int i = 0; i < 16; ++i) m[i] = src.m[i];
    return *this;
}

Matrix4D* Matrix4D::Clone(unsigned int) const { return new Matrix4D(*this); }

void Matrix4D::Initialize(const double (*r)[3]) {
    MatrixD::Initialize();
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j) m[4 * j + i] = r[i][j];
}

int Matrix4D::Compare(const double* other) const {
    for (int i = 0; i < 12; ++i)
        if (!(std::fabs(m[i] - other[i]) < kCompareTolerance)) return 2;
    for (int i = 12; i < 16; ++i)
        if (!(std::fabs(m[i] - other[i]) < kCompareTolerance)) return 1;
    return 0;
}

void Matrix4D::Mult(const double* B) {
    double result[16];
    product4(B, m, result);
    for (int i = 0; i < 16; ++i) m[i] = result[i];
}

void Matrix4D::MultR(const double* B) {
    double result[16];
    product4(m, B, result);
    for (int i = 0; i < 16; ++i) m[i] = result[i];
}
