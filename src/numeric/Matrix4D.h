// Fixed-size matrices with inline storage: Matrix3D (cell matrices) and Matrix4D (affine operators).
#pragma once

#include "numeric/MatrixD.h"

// A 3 x 3 matrix; as a cell matrix its columns are the cell axes in angstrom.
class Matrix3D : public MatrixD {
public:
    // The identity.
    Matrix3D();
    Matrix3D(const Matrix3D& src);
    Matrix3D& operator=(const Matrix3D& src);
    using MatrixD::Initialize;

    Matrix3D* Clone(unsigned int flags) const override;

    // The orthogonalisation matrix of the cell a, b, c, alpha, beta, gamma
    // (angles in degrees): a along x, b in the xy plane, upper triangular, so
    // that fractional coordinates times it give angstrom and its determinant is
    // the cell volume. Impossible angles give a not-a-number in element (2, 2).
    void SetC2Ortho(const float* cell);

    double m[9];
};

// A symmetry operator: rotation in rows and columns 0 to 2, translation in
// column 3 (rows 0 to 2), and in element (3, 3) the label 1, or -1 for time
// reversal. Storage is column-major, so the translation is m[12..14].
class Matrix4D : public MatrixD {
public:
    // The identity.
    Matrix4D();
    // The 16 values in storage (column-major) order.
    explicit Matrix4D(const double* elements);
    Matrix4D(const Matrix4D& src) : Matrix4D(src.m) {}
    Matrix4D& operator=(const Matrix4D& src);
    using MatrixD::Initialize;

    Matrix4D* Clone(unsigned int flags) const override;

    // The identity with the rotation r, given row by row.
    void Initialize(const double (*r)[3]);

    // 2 if the linear part (first 12 stored values) differs from other's by
    // 0.000001 or more anywhere, else 1 if the translation column does, else 0.
    int Compare(const double* other) const;

    // this = B this, B being 16 values in storage order. A full 4 x 4 product:
    // the corner is not treated as a label here.
    void Mult(const double* B);
    // this = this B, likewise.
    void MultR(const double* B);

    // The translation column, rows 0 to 2.
    double* Translation() { return m + 12; }
    const double* Translation() const { return m + 12; }

    static const double E[16];  // the identity

    double m[16];
};
