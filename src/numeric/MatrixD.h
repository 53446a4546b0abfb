// Dense column-major matrices on CBLAS and LAPACK: the view MatrixD and the heap matrix MatrixDD.
#pragma once

#include <cstdint>

#include "util/Assert.h"
#include "numeric/Object.h"
#include "numeric/SolverData.h"

template <class T>
class ObjVector;

// A matrix over storage it does not own. Element (i, j) lies at p_[ld*j + i],
// so every product, factorisation and solve is one library call. The heirs
// differ only in where the storage is: MatrixDD on the heap, Matrix3D and
// Matrix4D inline (core/Matrix4D.h).
//
// Affine operators are 4 x 4 matrices whose lower-right corner is a label
// (1, or -1 for time reversal) and not part of the map; MgMM and MgTiWT multiply
// them with that in mind.
//
// Matrices are assigned through Initialize, never by copying the object, since
// the inline heirs point into themselves.
class MatrixD : public CloneableObj {
public:
    MatrixD() = default;
    // A view of rows x cols elements at p with leading dimension ld.
    MatrixD(double* p, int rows, int cols, int ld) : p_(p), dim_{rows, cols}, ld(ld) {}
    MatrixD(const MatrixD&) = delete;
    MatrixD& operator=(const MatrixD&) = delete;
    ~MatrixD() override {}

    // A compact MatrixDD with this matrix's values.
    MatrixD* Clone(unsigned int flags) const override;

    // Checked access, for setup code; hot loops read p_ directly.
    double& operator()(int i, int j) {
        HV_ASSERT(i < dim_[0] && i >= 0 && j < dim_[1] && j >= 0);
        return p_[ld * j + i];
    }
    const double& operator()(int i, int j) const {
        HV_ASSERT(i < dim_[0] && i >= 0 && j < dim_[1] && j >= 0);
        return p_[ld * j + i];
    }
    int Dim(int k) const { return dim_[k]; }

    // The identity (ones on the diagonal of a rectangular matrix).
    void Initialize();
    // this = factor * op(src), src being rows x cols, column-major, leading
    // dimension srcLd. mode 'N' copies, 'T' transposes, 'I' copies and inverts.
    // A block larger than this matrix is cut to it; a smaller one leaves the
    // rest of this matrix as it was.
    void Initialize(const double* src, int rows, int cols, int srcLd, char mode, double factor);
    void Initialize(const MatrixD& src, char mode = 'N', double factor = 1.0) {
        Initialize(src.p_, src.dim_[0], src.dim_[1], src.ld, mode, factor);
    }
    // Inverts a square matrix in place by LU factorisation; a singular matrix
    // is left as LAPACK leaves it.
    void Inverse();

    // Same shape and every element within 1.1920928955078125e-07 of B's.
    bool IsEqualTo(const MatrixD& B) const;
    // By LU factorisation of a copy; 1 for a matrix with no rows or columns.
    double Determinant() const;

    // this = alpha op(A) op(B) + beta this; 'T' transposes an operand.
    void GeMM(const MatrixD& A, const MatrixD& B, char transA = 'N', char transB = 'N', double alpha = 1.0,
              double beta = 0.0);
    // GeMM for affine operators: the corners of A and B are taken as 1 during the
    // product, and the corner of the result is their product. A and B are
    // touched during the call and restored.
    void MgMM(MatrixD& A, MatrixD& B, char transA = 'N', char transB = 'N', double alpha = 1.0,
              double beta = 0.0);
    // this = Ti W T, the change of basis of operator W, with W's corner taken
    // as 1 during the products and copied to the result's corner.
    void MgTiWT(const MatrixD& Ti, MatrixD& W, const MatrixD& T);
    // Solves this X = B (or this^T X = B for trans 'T') for B's columns; the
    // solutions replace B and this matrix is left holding its LU factors.
    // work must have been sized by work.CreateForGeTRS(*this). Returns the info
    // of the solve, negative for a bad argument; a singular matrix is not
    // reported and gives non-finite solutions.
    int GeTRS(MatrixD& B, SolverData& work, char trans = 'N');

    // Reads rows of an operator from text such as "x+1/2,-y,z"; see MatrixText.cpp.
    // names gives the variable of each column of the linear part.
    void SetFromString(char* text, const char** names, int rows, bool keepCase);

    // Removes later duplicates (IsEqualTo) from list; first occurrences keep their order.
    static void RemoveDuplicates(ObjVector<MatrixD>& list);

    double* p_ = nullptr;
    std::int32_t dim_[2] = {0, 0};
    std::int32_t ld = 0;

private:
    // The element of the last row and column: an operator's label.
    double& corner();
    // The overlap of src (rows x cols) with this matrix, scaled, as it stands or transposed.
    void copy(const double* src, int rows, int cols, int srcLd, double factor);
    void copyTransposed(const double* src, int rows, int cols, int srcLd, double factor);
};

// A matrix that owns a compact heap array (ld = rows) for its whole life.
class MatrixDD : public MatrixD {
public:
    MatrixDD() = default;
    // Elements are left unset.
    MatrixDD(int rows, int cols);
    MatrixDD(const MatrixDD& src) : MatrixDD(src, 'N') {}
    // op(src) by Initialize with factor 1: 'N' copies, 'T' transposes (so the
    // dimensions are swapped), 'I' inverts.
    MatrixDD(const MatrixD& src, char mode);
    MatrixDD& operator=(const MatrixDD&) = delete;
    ~MatrixDD() override;
};
