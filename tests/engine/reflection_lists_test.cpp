// Reflection records and lists in small hand-made symmetries: absences on a
// screw axis, phase snapping, generated lists, their order and duplicate removal.
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "base/StructureFactor.h"
#include "core/Matrix4D.h"

namespace {

// An operator from its rotation rows and translation.
Matrix4D* op(std::vector<int> r, std::vector<double> t = {0, 0, 0}) {
  Matrix4D* m = new Matrix4D();
  for (int i = 0; i < 3; ++i) {
    for (int j = 0; j < 3; ++j)
      (*m)(i, j) = r[3 * i + j];
    (*m)(i, 3) = t[i];
  }
  return m;
}

const std::vector<int> kIdentity = {1, 0, 0, 0, 1, 0, 0, 0, 1};
const std::vector<int> kInversion = {-1, 0, 0, 0, -1, 0, 0, 0, -1};

// A cubic metric of edge 1, so that 1/d is the length of the index triple.
struct UnitMetric {
  Matrix3D reciprocal;
};

StructureFactor* reflection(int h, int k, int l) {
  const int hkl[3] = {h, k, l};
  return new StructureFactor(hkl);
}

std::vector<int> item(const StructureFactor& sf, int j) {
  const int* h = sf.hkl.item(j);
  return {h[0], h[1], h[2]};
}

// (-x, y + 1/2, -z): 0 1 0 is absent but stays listed with its raw sums
// (cos 0 + cos pi, sin 0 + sin pi) in place of the phase pair; 0 2 0 keeps
// what a reader stored and has stabiliser 2; Friedel mates follow in the
// order of the items they come from, with negated phases.
TEST(Expand, ScrewAxisAbsencesStabilisersAndFriedelMates) {
  ObjVector<MatrixD> ops;
  ops.add(op(kIdentity));
  ops.add(op({-1, 0, 0, 0, 1, 0, 0, 0, -1}, {0, 0.5, 0}));
  ObjVector<StructureFactor> list, absent;
  for (int k : {1, 2})
    list.add(reflection(0, k, 0));
  list.add(reflection(1, 1, 2));
  for (StructureFactor* f : list)
    f->A = 3.0;
  UnitMetric metric;
  EXPECT_EQ(StructureFactor::ExpandReflectionList(list, absent, ops, metric.reciprocal, 3, 1), 1);
  ASSERT_EQ(absent.size(), 1);
  EXPECT_EQ(absent[0], list[0]);
  EXPECT_EQ(list[0]->A, 0.0);
  EXPECT_LT(std::fabs(list[0]->phase.item(0)[0]), 1.2e-07);
  EXPECT_LT(std::fabs(list[0]->phase.item(0)[1]), 1.2e-07);

  const StructureFactor& even = *list[1];
  EXPECT_EQ(even.stabilizerOrder, 2);
  EXPECT_EQ(even.A, 3.0);
  ASSERT_EQ(even.hkl.nItems(), 2u);
  EXPECT_EQ(item(even, 1), (std::vector<int>{0, -2, 0}));
  EXPECT_TRUE(std::signbit(even.phase.item(1)[0]));
  EXPECT_EQ(even.phase.item(1)[1], -1.0);

  const StructureFactor& general = *list[2];
  ASSERT_EQ(general.hkl.nItems(), 4u);
  const std::vector<std::vector<int>> items = {{1, 1, 2}, {-1, 1, -2}, {-1, -1, -2}, {1, -1, 2}};
  const double phases[4][2] = {{0.0, 1.0}, {0.5, 1.0}, {-0.0, -1.0}, {-0.5, -1.0}};
  for (int j = 0; j < 4; ++j) {
    EXPECT_EQ(item(general, j), items[j]);
    EXPECT_DOUBLE_EQ(general.phase.item(j)[0], phases[j][0]) << j;
    EXPECT_EQ(general.phase.item(j)[1], phases[j][1]) << j;
  }
}

TEST(Expand, PhaseJustBelowOneCycleSnapsToZero) {
  const std::vector<int> swapXY = {0, 1, 0, 1, 0, 0, 0, 0, 1};
  UnitMetric metric;
  for (double t : {1 - 1e-7, 1 - 1e-5}) {
    ObjVector<MatrixD> ops;
    ops.add(op(kIdentity));
    ops.add(op(swapXY, {t, 0, 0}));
    ObjVector<StructureFactor> list, absent;
    list.add(reflection(1, 0, 0));
    StructureFactor::ExpandReflectionList(list, absent, ops, metric.reciprocal, 3, 0);
    ASSERT_EQ(list[0]->hkl.nItems(), 2u);
    EXPECT_EQ(item(*list[0], 1), (std::vector<int>{0, 1, 0}));
    if (t > 1 - 1e-6) {
      EXPECT_EQ(list[0]->phase.item(1)[0], 0.0);
    } else {
      EXPECT_NEAR(list[0]->phase.item(1)[0], t, 1e-9);
    }
  }
}

class GeneratedList : public ::testing::Test {
protected:
  StructureFactor prototype;
  ObjVector<MatrixD> ops;
  ObjVector<StructureFactor> out;
  UnitMetric metric;
};

TEST_F(GeneratedList, OneRecordPerOrbitFirstVisitedFirst) {
  ops.add(op(kIdentity));
  ops.add(op(kInversion));
  const int hmax[3] = {1, 1, 1};
  StructureFactor::CreateReflectionList(out, prototype, ops, metric.reciprocal, hmax, 0, 0, true, 3);
  // 26 points around the origin, paired by the inversion.
  ASSERT_EQ(out.size(), 13);
  for (int i = 0; i < out.size(); ++i) {
    EXPECT_EQ(out[i]->hkl.nItems(), 2u);
    EXPECT_EQ(out[i]->stabilizerOrder, 1);
    if (i > 0) {
      EXPECT_LE(out[i - 1]->di, out[i]->di);
    }
    // The member with the greatest first, then second, then third index.
    const std::vector<int> first = item(*out[i], 0), second = item(*out[i], 1);
    EXPECT_GT(first, second);
  }
  EXPECT_DOUBLE_EQ(out[0]->di, 1.0);
  EXPECT_DOUBLE_EQ(out[12]->di, std::sqrt(3.0));
}

TEST_F(GeneratedList, EquivalentsOutsideTheBoxAreDropped) {
  // A fourfold axis along c maps h 0 0 onto 0 h 0, outside a box flat in k.
  ops.add(op(kIdentity));
  ops.add(op({0, -1, 0, 1, 0, 0, 0, 0, 1}));
  ops.add(op({-1, 0, 0, 0, -1, 0, 0, 0, 1}));
  ops.add(op({0, 1, 0, -1, 0, 0, 0, 0, 1}));
  const int hmax[3] = {1, 0, 0};
  StructureFactor::CreateReflectionList(out, prototype, ops, metric.reciprocal, hmax, 0, 0, false, 3);
  ASSERT_EQ(out.size(), 1);
  EXPECT_EQ(item(*out[0], 0), (std::vector<int>{1, 0, 0}));
  EXPECT_EQ(out[0]->hkl.nItems(), 2u);
  EXPECT_EQ(out[0]->stabilizerOrder, 1);
  // Expanding again restores the full orbit.
  ObjVector<StructureFactor> absent;
  StructureFactor::ExpandReflectionList(out, absent, ops, metric.reciprocal, 3, 0);
  EXPECT_EQ(out[0]->hkl.nItems(), 4u);
}

// Generated in the order (1 1 0), (1 0 0), (1 -1 0), (0 1 0), (0 -1 0); the
// merge sort takes the right-hand record first on equal 1/d, which puts the
// three records of 1/d = 1 and the two of sqrt 2 in this order, worked out
// by hand (a stable sort would give 1 0 0, 0 1 0, 0 -1 0, 1 1 0, 1 -1 0).
TEST_F(GeneratedList, EqualSpacingsComeOutRightHalfFirst) {
  ops.add(op(kIdentity));
  const int hmax[3] = {1, 1, 0};
  StructureFactor::CreateReflectionList(out, prototype, ops, metric.reciprocal, hmax, 0, 0, true, 3);
  const std::vector<std::vector<int>> expected = {
      {0, -1, 0}, {0, 1, 0}, {1, 0, 0}, {1, 1, 0}, {1, -1, 0}};
  ASSERT_EQ(out.size(), (int)expected.size());
  for (int i = 0; i < out.size(); ++i)
    EXPECT_EQ(item(*out[i], 0), expected[i]) << i;
}

TEST_F(GeneratedList, RemoveDuplicateTakesOutWhatTheReferenceHolds) {
  ops.add(op(kIdentity));
  ops.add(op(kInversion));
  const int hmax[3] = {1, 1, 1};
  StructureFactor::CreateReflectionList(out, prototype, ops, metric.reciprocal, hmax, 0, 0, true, 3);
  ObjVector<StructureFactor> reference, absent;
  EXPECT_EQ(StructureFactor::RemoveDuplicate(out, reference, ops, metric.reciprocal, 3), 0);
  EXPECT_EQ(out.size(), 13);
  // -1 0 0 is the second item of the record of 1 0 0; 1 1 1 its first.
  reference.add(reflection(-1, 0, 0));
  reference.add(reflection(1, 1, 1));
  reference.add(reflection(3, 0, 0));
  StructureFactor::ExpandReflectionList(reference, absent, ops, metric.reciprocal, 3, 0);
  EXPECT_EQ(StructureFactor::RemoveDuplicate(out, reference, ops, metric.reciprocal, 3), 2);
  ASSERT_EQ(out.size(), 11);
  for (StructureFactor* sf : out) {
    EXPECT_NE(item(*sf, 0), (std::vector<int>{1, 0, 0}));
    EXPECT_NE(item(*sf, 0), (std::vector<int>{1, 1, 1}));
  }
  EXPECT_EQ(reference.size(), 3);
  EXPECT_EQ(reference[0]->refCount, 1);
}

}  // namespace
