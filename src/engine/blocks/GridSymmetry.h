// Symmetry on the voxel grid: integer operators and the asymmetric unit of grid points.
#pragma once

#include <vector>

#include "numeric/MatrixD.h"
#include "numeric/Vector.h"

// Each operator as 16 integers in the column order of its 4 x 4 matrix, with
// the translation in voxels. A point (x, y, z) goes to
//   x' = op[0] x + op[4] y + op[8] z + op[12], and so on for y' and z'.
// A translation that is not a whole number of voxels is rounded to one.
std::vector<int> MakeGridOperators(const ObjVector<MatrixD>& ops, const int* gridSize);

// One representative point of every orbit of the grid, in the scan order
// z outermost, then y, then x.
struct AsymmetricUnit {
    std::vector<int> point;         // cell point x + nx (y + ny z) of each representative
    std::vector<int> multiplicity;  // number of grid points of its orbit
    std::vector<int> owner;         // for every cell point, the number of its representative

    int size() const { return static_cast<int>(multiplicity.size()); }
};

// The operator list must begin with the identity: it is what marks a
// representative as seen and makes it its own owner.
AsymmetricUnit FindAsymmetricUnit(const int* gridSize, const std::vector<int>& ops);

// The lattice translations of an operator list in table order: nCenter blocks
// of equal length, block k being block 0 with every translation shifted by
// the same vector c_k (in voxels, c_0 = 0), three values per block. A list
// that is not so built gives the single shift 0, with block 0 the whole list. The direct sums then visit
// only block 0 and fold the shifts in as the factor mean_k exp(2 pi i h.c_k).
std::vector<int> LatticeShifts(const int* ops, int nOps, int nCenter, const int* gridSize);

// Whether operator 2j + 1 is the inverse image -W of operator 2j, for the first
// nOps operators: the pairing that lets centrosymmetric sums take every second one.
bool InversionPairs(const int* ops, int nOps, const int* gridSize);

// a mod n in [0, n), also for negative a.
inline int WrapIndex(long long a, int n) {
    const long long r = a % n;
    return static_cast<int>(r < 0 ? r + n : r);
}
