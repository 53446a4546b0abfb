// Workspace kept between the factorisation and the solve of MatrixD::GeTRS.
#pragma once

#include <vector>

class MatrixD;

struct SolverData {
    // Sizes the pivot array for a factorisation of A: the smaller of A's dimensions.
    void CreateForGeTRS(const MatrixD& A);

    std::vector<int> ipiv;  // pivot indices as LAPACK returns them, 1-based
};
