// The reduction of fractional coordinates, cell matrices and operator comparison.
#include <gtest/gtest.h>

#include <cmath>

#include "base/VectorD.h"
#include "core/Matrix4D.h"

namespace {

const double kEps = 1.1920928955078125e-07;

double fractionalized(double x) {
  VectorD::Fractionalize(&x, 1);
  return x;
}

// Reduced to [0, 1), values within the tolerance of an integer becoming 0;
// twice the tolerance away from an integer a value stays.
TEST(Fractionalize, ReducesToUnitIntervalWithNearIntegersZero) {
  const double cases[][2] = {{-0.25, 0.75}, {-3.5, 0.5},  {1.0, 0.0},          {0.99999999, 0.0},
                             {-1e-9, 0.0},  {2.0 + 0.5 * kEps, 0.0}, {0.9999, 0.9999},
                             {1.0 - 2 * kEps, 1.0 - 2 * kEps}, {2 * kEps, 2 * kEps}};
  for (const auto& c : cases)
    EXPECT_NEAR(fractionalized(c[0]), c[1], 1e-16) << c[0];
  double t[3] = {-0.5, 1.0, 2.75};
  VectorD::Fractionalize(t, 2);
  EXPECT_EQ(t[0], 0.5);
  EXPECT_EQ(t[1], 0.0);
  EXPECT_EQ(t[2], 2.75);  // beyond n
}

TEST(CellMatrix, DeterminantIsTheVolumeOfAnObliqueCell) {
  const float cell[6] = {5.1f, 7.3f, 9.7f, 78.5f, 101.2f, 115.9f};
  const double d = 3.141592653589793 / 180.0;
  const double ca = std::cos(cell[3] * d), cb = std::cos(cell[4] * d), cg = std::cos(cell[5] * d);
  const double textbook = double(cell[0]) * cell[1] * cell[2] *
                          std::sqrt(1 - ca * ca - cb * cb - cg * cg + 2 * ca * cb * cg);
  Matrix3D M;
  M.SetC2Ortho(cell);
  EXPECT_NEAR(M.Determinant(), textbook, 1e-10);

  // Rows of cctbx's uctbx.unit_cell(...).orthogonalization_matrix() for the
  // same cell given in doubles, hence the tolerance.
  const double cctbx[9] = {5.1, -3.1886530550842278, -1.8840732068337278,
                           0,   6.566771786372815,   1.2349428170989316,
                           0,   0,                   9.4347858687829795};
  for (int i = 0; i < 3; ++i)
    for (int j = 0; j < 3; ++j)
      EXPECT_NEAR(M(i, j), cctbx[3 * i + j], 2e-6) << "element (" << i << ", " << j << ")";
}

TEST(CellMatrix, ImpossibleAnglesGiveNaN) {
  Matrix3D M;
  const float impossible[6] = {5, 5, 5, 10, 10, 170};
  M.SetC2Ortho(impossible);
  EXPECT_TRUE(std::isnan(M(2, 2)));
}

const double kFourFold[3][3] = {{0, -1, 0}, {1, 0, 0}, {0, 0, 1}};

// An operator with rotation r (row by row) and translation t.
Matrix4D op(const double (*r)[3], double t0, double t1, double t2) {
  Matrix4D W;
  W(0, 3) = 0.125;  // Initialize must clear it
  W.Initialize(r);
  EXPECT_EQ(W(0, 3), 0.0);
  W(0, 3) = t0;
  W(1, 3) = t1;
  W(2, 3) = t2;
  return W;
}

TEST(Operator, CompareTellsLinearPartFromTranslation) {
  const Matrix4D W = op(kFourFold, 0.5, 0, 0.25);
  EXPECT_EQ(W.Compare(W.m), 0);
  Matrix4D shifted(W);
  shifted(2, 3) += 0.9e-6;
  EXPECT_EQ(W.Compare(shifted.m), 0);
  shifted(2, 3) += 0.2e-6;
  EXPECT_EQ(W.Compare(shifted.m), 1);
  EXPECT_EQ(W.Compare(Matrix4D::E), 2);
  const double identity[3][3] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
  EXPECT_EQ(op(identity, 0.5, 0.5, 0).Compare(Matrix4D::E), 1);
}

}  // namespace
