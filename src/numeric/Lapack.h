// The LAPACK routines the matrices use, declared here since Debian's LAPACK ships no C header we rely on.
#pragma once

#include <cstddef>

// Fortran calling convention: every argument by pointer, and a hidden length
// for each character argument, passed after all the others.
extern "C" {
void dgetrf_(const int* m, const int* n, double* a, const int* lda, int* ipiv, int* info);
void dgetri_(const int* n, double* a, const int* lda, const int* ipiv, double* work, const int* lwork,
             int* info);
void dgetrs_(const char* trans, const int* n, const int* nrhs, const double* a, const int* lda,
             const int* ipiv, double* b, const int* ldb, int* info, std::size_t transLength);
}
