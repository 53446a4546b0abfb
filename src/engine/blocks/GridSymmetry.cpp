// Integer operators on the voxel grid and the scan for the asymmetric unit.
#include "engine/blocks/GridSymmetry.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

std::vector<int> MakeGridOperators(const ObjVector<MatrixD>& ops, const int* gridSize) {
    std::vector<int> out(16 * static_cast<std::size_t>(ops.size()));
    for (int o = 0; o < ops.size(); ++o) {
        const MatrixD& m = *ops[o];
        int* op = &out[16 * o];
        for (int k = 0; k < 12; ++k) op[k] = static_cast<int>(std::floor(m(k % 4, k / 4) + 0.5));
        for (int i = 0; i < 3; ++i) op[12 + i] = static_cast<int>(std::floor(m(i, 3) * gridSize[i] + 0.5));
        op[15] = 1;
    }
    return out;
}

// Every point not yet reached by an earlier orbit starts a new one; each
// operator image still unmarked adds one point to that orbit and records the
// new representative as its owner. The counter is 16 bits wide, so that even
// an operator list read from a hand-made file cannot make it wrap.
AsymmetricUnit FindAsymmetricUnit(const int* gridSize, const std::vector<int>& ops) {
    const int nx = gridSize[0], ny = gridSize[1], nz = gridSize[2];
    const std::size_t cell = static_cast<std::size_t>(nx) * ny * nz;
    const int nOps = static_cast<int>(ops.size() / 16);
    std::vector<std::uint16_t> flag(cell, 0);
    AsymmetricUnit asu;
    asu.owner.assign(cell, 0);
    // At least one representative per nOps points; the lists are trimmed at the
    // end, since the analysis keeps copies of them beside its largest arrays.
    asu.point.reserve(cell / std::max(nOps, 1) + 1);
    asu.multiplicity.reserve(cell / std::max(nOps, 1) + 1);

    for (int z = 0; z < nz; ++z)
        for (int y = 0; y < ny; ++y)
            for (int x = 0; x < nx; ++x) {
                const std::size_t here = x + nx * (y + static_cast<std::size_t>(ny) * z);
                if (flag[here] != 0) continue;
                const int number = asu.size();
                for (int o = 0; o < nOps; ++o) {
                    const int* op = &ops[16 * o];
                    const int xi =
                        WrapIndex(static_cast<long long>(op[0]) * x + static_cast<long long>(op[4]) * y +
                                      static_cast<long long>(op[8]) * z + op[12],
                                  nx);
                    const int yi =
                        WrapIndex(static_cast<long long>(op[1]) * x + static_cast<long long>(op[5]) * y +
                                      static_cast<long long>(op[9]) * z + op[13],
                                  ny);
                    const int zi =
                        WrapIndex(static_cast<long long>(op[2]) * x + static_cast<long long>(op[6]) * y +
                                      static_cast<long long>(op[10]) * z + op[14],
                                  nz);
                    const std::size_t image = xi + nx * (yi + static_cast<std::size_t>(ny) * zi);
                    if (flag[image] == 0) {
                        ++flag[here];
                        flag[image] = 1;
                        asu.owner[image] = number;
                    }
                }
                asu.point.push_back(static_cast<int>(here));
                asu.multiplicity.push_back(flag[here]);
            }
    asu.point.shrink_to_fit();
    asu.multiplicity.shrink_to_fit();
    return asu;
}

namespace {

bool SameRotation(const int* a, const int* b, int sign) {
    for (int k = 0; k < 11; ++k)
        if (k % 4 != 3 && a[k] != sign * b[k]) return false;
    return true;
}

}  // namespace

std::vector<int> LatticeShifts(const int* ops, int nOps, int nCenter, const int* n) {
    const std::vector<int> none = {0, 0, 0};
    if (nCenter < 2 || nOps % nCenter != 0) return none;
    const int block = nOps / nCenter;
    std::vector<int> shifts;
    for (int k = 0; k < nCenter; ++k) {
        const int* first = &ops[16 * k * block];
        const int c[3] = {WrapIndex(first[12] - ops[12], n[0]), WrapIndex(first[13] - ops[13], n[1]),
                          WrapIndex(first[14] - ops[14], n[2])};
        for (int j = 0; j < block; ++j) {
            const int* a = &ops[16 * (k * block + j)];
            const int* b = &ops[16 * j];
            if (!SameRotation(a, b, 1)) return none;
            for (int r = 0; r < 3; ++r)
                if (WrapIndex(a[12 + r] - b[12 + r], n[r]) != c[r]) return none;
        }
        shifts.insert(shifts.end(), c, c + 3);
    }
    return shifts;
}

bool InversionPairs(const int* ops, int nOps, const int* n) {
    if (nOps % 2 != 0) return false;
    for (int j = 0; j < nOps; j += 2) {
        const int* a = &ops[16 * j];
        const int* b = &ops[16 * (j + 1)];
        if (!SameRotation(a, b, -1)) return false;
        for (int r = 0; r < 3; ++r)
            if (WrapIndex(a[12 + r] + b[12 + r], n[r]) != 0) return false;
    }
    return true;
}
