#include "crystal/OperatorList.h"

#include <cmath>

// The entries of a lattice rotation are a few units in any basis in use;
// larger ones are typing errors, and would overflow the integer operators of
// the voxel grid.
const double kLargestRotationEntry = 16.0;

bool IsSymmetryOperator(const Matrix4D& op) {
    const double* r = op.m;  // column-major: r[i + 4 j] is row i, column j
    for (int i = 0; i < 3; ++i) {
        if (!std::isfinite(op.Translation()[i])) return false;
        for (int j = 0; j < 3; ++j) {
            const double v = r[i + 4 * j];
            if (!(std::fabs(v) <= kLargestRotationEntry) || v != std::floor(v)) return false;
        }
    }
    const double det = r[0] * (r[5] * r[10] - r[9] * r[6]) - r[4] * (r[1] * r[10] - r[9] * r[2]) +
                       r[8] * (r[1] * r[6] - r[5] * r[2]);
    return det == 1.0 || det == -1.0;
}

void PutIdentityFirst(ObjVector<MatrixD>& ops) {
    ObjVector<MatrixD> ordered;
    ordered.add(new Matrix4D);
    for (MatrixD* op : ops)
        if (static_cast<const Matrix4D*>(op)->Compare(Matrix4D::E) != 0) ordered.add(op);
    ops = ordered;
}
