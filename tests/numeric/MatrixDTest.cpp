// Dense matrices: inverse and determinant.
#include <gtest/gtest.h>

#include "base/MatrixD.h"
#include "base/Vector.h"

namespace {

// A row-by-row literal into a compact column-major MatrixDD.
MatrixDD fromRows(int rows, int cols, std::initializer_list<double> values) {
  MatrixDD M(rows, cols);
  auto it = values.begin();
  for (int i = 0; i < rows; ++i)
    for (int j = 0; j < cols; ++j)
      M(i, j) = *it++;
  return M;
}

void expectNear(const MatrixD& A, const MatrixD& B, double tolerance) {
  ASSERT_EQ(A.Dim(0), B.Dim(0));
  ASSERT_EQ(A.Dim(1), B.Dim(1));
  for (int i = 0; i < A.Dim(0); ++i)
    for (int j = 0; j < A.Dim(1); ++j)
      EXPECT_NEAR(A(i, j), B(i, j), tolerance) << "element (" << i << ", " << j << ")";
}

// Permutations need row exchanges: the sign of the determinant must come from the pivots.
TEST(MatrixInverse, InverseAndDeterminant) {
  const MatrixDD A = fromRows(4, 4, {4, -2, 1, 0.5, 3, 6, -4, 2, 2, 1, 8, -1, 0.25, -3, 2, 5});
  const MatrixDD Ainv(A, 'I');
  MatrixDD product(4, 4), identity(4, 4);
  identity.Initialize();
  product.GeMM(Ainv, A);
  expectNear(product, identity, 1e-13);
  product.GeMM(A, Ainv);
  expectNear(product, identity, 1e-13);
  EXPECT_NEAR(fromRows(3, 3, {0, 1, 0, 0, 0, 1, 1, 0, 0}).Determinant(), 1.0, 1e-15);
  EXPECT_NEAR(fromRows(3, 3, {0, 1, 0, 1, 0, 0, 0, 0, 1}).Determinant(), -1.0, 1e-15);
  EXPECT_NEAR(fromRows(3, 3, {2, -3, 1, 2, 0, -1, 1, 4, 5}).Determinant(), 49.0, 1e-12);
  EXPECT_EQ(MatrixDD().Determinant(), 1.0);
}

}  // namespace
