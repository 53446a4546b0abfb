#include "core/OperatorList.h"

#include <cmath>

bool IsSymmetryOperator(const Matrix4D& op) {
  for (int k = 0; k < 12; ++k) {
    const double v = op.m[k];
    if (!std::isfinite(v) || (k < 9 && v != std::floor(v)))
      return false;
  }
  const double* r = op.m;  // column-major: r[i + 4 j] is row i, column j
  const double det = r[0] * (r[5] * r[10] - r[9] * r[6]) - r[4] * (r[1] * r[10] - r[9] * r[2]) +
                     r[8] * (r[1] * r[6] - r[5] * r[2]);
  return det == 1.0 || det == -1.0;
}

void PutIdentityFirst(ObjVector<MatrixD>& ops) {
  ObjVector<MatrixD> ordered;
  ordered.add(new Matrix4D);
  for (MatrixD* op : ops)
    if (static_cast<const Matrix4D*>(op)->Compare(Matrix4D::E) != 0)
      ordered.add(op);
  ops = ordered;
}
