#include "numeric/MatrixD.h"

#include <cblas.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "numeric/Lapack.h"
#include "numeric/Vector.h"

namespace {

// The tolerance for equal doubles in operators: single-precision epsilon.
const double kEqualTolerance = 1.1920928955078125e-07;

CBLAS_TRANSPOSE cblasTranspose(char trans) { return trans == 'T' ? CblasTrans : CblasNoTrans; }

// BLAS rejects a leading dimension of 0 even when a matrix has no rows to read.
int validLd(int ld) { return std::max(1, ld); }

}  // namespace

MatrixD* MatrixD::Clone(unsigned int) const { return new MatrixDD(*this, 'N'); }

void MatrixD::Initialize() {
    for (int i = 0; i < dim_[0]; ++i)
        for (int j = 0; j < dim_[1]; ++j) p_[ld * j + i] = (i == j) ? 1.0 : 0.0;
}

void MatrixD::Initialize(const double* src, int rows, int cols, int srcLd, char mode, double factor) {
    switch (mode) {
    case 'T': copyTransposed(src, rows, cols, srcLd, factor); return;
    case 'N': copy(src, rows, cols, srcLd, factor); return;
    case 'I':
        copy(src, rows, cols, srcLd, factor);
        Inverse();
        return;
    default: HV_ASSERT(0);
    }
}

void MatrixD::copy(const double* src, int rows, int cols, int srcLd, double factor) {
    const int iEnd = std::min(rows, dim_[0]);
    const int jEnd = std::min(cols, dim_[1]);
    for (int j = 0; j < jEnd; ++j)
        for (int i = 0; i < iEnd; ++i) p_[ld * j + i] = factor * src[srcLd * j + i];
}

void MatrixD::copyTransposed(const double* src, int rows, int cols, int srcLd, double factor) {
    // A matrix transposed into itself needs its old values while they are overwritten.
    std::vector<double> own;
    if (src == p_) {
        own.assign(src, src + static_cast<std::size_t>(srcLd) * cols);
        src = own.data();
    }
    const int iEnd = std::min(cols, dim_[0]);
    const int jEnd = std::min(rows, dim_[1]);
    for (int j = 0; j < jEnd; ++j)
        for (int i = 0; i < iEnd; ++i) p_[ld * j + i] = factor * src[srcLd * i + j];
}

void MatrixD::Inverse() {
    HV_ASSERT(dim_[0] == dim_[1]);
    int n = dim_[0];
    if (n == 0) return;
    // An even work length, which some LAPACK builds prefer for paired loads.
    int lwork = n + n % 2;
    std::vector<int> ipiv(lwork);
    std::vector<double> work(lwork);
    int info = 0;
    dgetrf_(&n, &n, p_, &ld, ipiv.data(), &info);
    dgetri_(&n, p_, &ld, ipiv.data(), work.data(), &lwork, &info);
}

bool MatrixD::IsEqualTo(const MatrixD& B) const {
    if (dim_[0] != B.dim_[0] || dim_[1] != B.dim_[1]) return false;
    for (int j = 0; j < dim_[1]; ++j)
        for (int i = 0; i < dim_[0]; ++i)
            if (!(std::fabs(p_[ld * j + i] - B.p_[B.ld * j + i]) < kEqualTolerance)) return false;
    return true;
}

double MatrixD::Determinant() const {
    int m = dim_[0];
    int n = dim_[1];
    if (m == 0 || n == 0) return 1.0;
    int lda = ld;
    std::vector<double> lu(p_, p_ + static_cast<std::size_t>(ld) * n);
    std::vector<int> ipiv(std::min(m, n));
    int info = 0;
    dgetrf_(&m, &n, lu.data(), &lda, ipiv.data(), &info);
    double det = 1.0;
    for (int k = 0; k < std::min(m, n); ++k) {
        det *= lu[static_cast<std::size_t>(ld) * k + k];
        if (ipiv[k] != k + 1) det = -det;
    }
    return det;
}

void MatrixD::GeMM(const MatrixD& A, const MatrixD& B, char transA, char transB, double alpha, double beta) {
    const int M = transA == 'T' ? A.dim_[1] : A.dim_[0];
    const int K = transA == 'T' ? A.dim_[0] : A.dim_[1];
    const int N = transB == 'T' ? B.dim_[0] : B.dim_[1];
    const int rowsOfOpB = transB == 'T' ? B.dim_[1] : B.dim_[0];
    HV_ASSERT(M <= dim_[0] && N <= dim_[1] && K <= rowsOfOpB);
    if (M == 0 || N == 0) return;
    // BLAS must not write to an operand it reads, so a product into one of its
    // own factors goes through a copy.
    if (p_ == A.p_ || p_ == B.p_) {
        MatrixDD product(*this, 'N');
        product.GeMM(A, B, transA, transB, alpha, beta);
        Initialize(product);
        return;
    }
    cblas_dgemm(CblasColMajor, cblasTranspose(transA), cblasTranspose(transB), M, N, K, alpha, A.p_,
                validLd(A.ld), B.p_, validLd(B.ld), beta, p_, validLd(ld));
}

double& MatrixD::corner() {
    HV_ASSERT(dim_[0] > 0 && dim_[1] > 0);
    return p_[ld * (dim_[1] - 1) + dim_[0] - 1];
}

void MatrixD::MgMM(MatrixD& A, MatrixD& B, char transA, char transB, double alpha, double beta) {
    // Both corners are read before either is set, since A and B may be one matrix.
    const double a = A.corner();
    const double b = B.corner();
    A.corner() = 1.0;
    B.corner() = 1.0;
    GeMM(A, B, transA, transB, alpha, beta);
    A.corner() = a;
    B.corner() = b;
    (*this)(A.dim_[0] - 1, A.dim_[1] - 1) = a * b;
}

void MatrixD::MgTiWT(const MatrixD& Ti, MatrixD& W, const MatrixD& T) {
    MatrixDD TiW(Ti.dim_[0], W.dim_[1]);
    const double s = W.corner();
    W.corner() = 1.0;
    TiW.GeMM(Ti, W);
    GeMM(TiW, T);
    W.corner() = s;
    (*this)(W.dim_[0] - 1, dim_[1] - 1) = s;
}

int MatrixD::GeTRS(MatrixD& B, SolverData& work, char trans) {
    HV_ASSERT(dim_[0] == dim_[1]);
    HV_ASSERT(static_cast<int>(work.ipiv.size()) >= dim_[0]);
    int n = dim_[0];
    int lda = validLd(ld);
    int nrhs = B.dim_[1];
    int ldb = validLd(B.ld);
    int info = 0;
    dgetrf_(&n, &n, p_, &lda, work.ipiv.data(), &info);
    dgetrs_(&trans, &n, &nrhs, p_, &lda, work.ipiv.data(), B.p_, &ldb, &info, 1);
    return info;
}

void SolverData::CreateForGeTRS(const MatrixD& A) { ipiv.resize(std::min(A.Dim(0), A.Dim(1))); }

void MatrixD::RemoveDuplicates(ObjVector<MatrixD>& list) {
    for (int k = list.size() - 1; k >= 1; --k)
        for (int j = 0; j < k; ++j)
            if (list[k]->IsEqualTo(*list[j])) {
                list.remove(k);
                break;
            }
}

MatrixDD::MatrixDD(int rows, int cols) {
    HV_ASSERT(rows >= 0 && cols >= 0);
    p_ = new double[static_cast<std::size_t>(rows) * cols];
    dim_[0] = rows;
    dim_[1] = cols;
    ld = rows;
}

MatrixDD::MatrixDD(const MatrixD& src, char mode)
    : MatrixDD(mode == 'T' ? src.dim_[1] : src.dim_[0], mode == 'T' ? src.dim_[0] : src.dim_[1]) {
    Initialize(src, mode);
}

MatrixDD::~MatrixDD() { delete[] p_; }
