// The unit cell: a custom operator list, a transformed cell, and the grid rule.
#include <gtest/gtest.h>

#include <vector>

#include "table_fixture.h"

TEST(SymmetryOperators, ACustomListStaysInForce) {
  ASSERT_TRUE(LoadedTable().ok);
  UnitCell uc;
  ChooseSetting(uc, 75, 1);
  // Two operators of P 4 without the rest: a list that is no setting.
  ObjVector<MatrixD> ops;
  char identity[] = "x,y,z", fourfold[] = "-y,x,z";
  for (char* text : {identity, fourfold}) {
    Matrix4D* op = new Matrix4D;
    UnitCell::convertXYZ2Matrix_Q4(text, *op);
    ops.add(op);
  }
  // Custom name, no crystal system, the old number kept for the grid rule; the
  // list itself in use, shared, not a copy.
  EXPECT_EQ(0, uc.setSpgFromSymmetryOP(ops));
  EXPECT_STREQ("Custom", uc.spgName);
  uc.createSymmetryOP();
  ASSERT_EQ(2, uc.symOp.size());
  EXPECT_EQ(ops[1], uc.symOp[1]);
  EXPECT_EQ((std::vector<int>{0, 75, 2, 1, 0, 2}),
            (std::vector<int>{uc.crystalSystem, uc.spgNumber, ops[1]->refCount, uc.latticeCount, uc.centric, uc.rotOp.size()}));
  // Choosing by number renames, but the custom list stays the one in use.
  EXPECT_EQ(16, uc.setSpgNumber(16, 1));
  EXPECT_STREQ("P 2 2 2", uc.spgName);
  uc.createSymmetryOP();
  EXPECT_EQ((std::vector<int>{0, 2}), (std::vector<int>{uc.crystalSystem, uc.symOp.size()}));
  // The same list handed in as symOp itself keeps its objects and counts.
  EXPECT_EQ(0, uc.setSpgFromSymmetryOP(uc.symOp));
  EXPECT_EQ((std::vector<int>{2, 2}), (std::vector<int>{uc.symOp.size(), ops[0]->refCount}));
}

// A cell in use with c doubled against the tabulated one: its operators gain
// the translation (0, 0, 1/2), and the list is still recognised as its group.
TEST(CellTransform, DoubledAxisAddsItsTranslationAndIsRecognised) {
  ASSERT_TRUE(LoadedTable().ok);
  Matrix4D identity;
  ObjVector<MatrixD> none;
  UnitCell::SearchCentering(identity, identity, none);
  EXPECT_EQ(0, none.size());

  UnitCell uc;
  uc.cellTransform.m[10] = 2.0;
  Matrix4D inverse;
  inverse.MatrixD::Initialize(uc.cellTransform, 'I', 1.0);
  ObjVector<MatrixD> translations;
  UnitCell::SearchCentering(uc.cellTransform, inverse, translations);
  ASSERT_EQ(1, translations.size());
  EXPECT_DOUBLE_EQ(0.5, (*translations[0])(2, 3));

  // The operators of P 21/c written in the doubled cell, the shifted ones first.
  ObjVector<MatrixD> ops;
  for (int shifted = 1; shifted >= 0; --shifted)
    for (MatrixD* W : FindSpaceGroupSetting(14, 1)->ops) {
      Matrix4D* op = new Matrix4D;
      op->MgTiWT(inverse, *W, uc.cellTransform);
      op->m[14] += 0.5 * shifted;
      VectorD::Fractionalize(op->Translation(), 3);
      ops.add(op);
    }
  const std::set<OperatorKey> expected = keysOf(ops);
  ASSERT_EQ(8u, expected.size());

  EXPECT_EQ(14, uc.setSpgFromSymmetryOP(ops));
  EXPECT_EQ((std::vector<int>{1, 1, 0}), (std::vector<int>{uc.spgSetting, uc.centering.size(), uc.centeringInv.size()}));
  uc.createSymmetryOP();
  EXPECT_EQ(expected, keysOf(uc.symOp));
  EXPECT_EQ((std::vector<int>{8, 4}), (std::vector<int>{uc.symOp.size(), uc.rotOp.size()}));
  EXPECT_TRUE(uc.symOp[0]->IsEqualTo(identity)) << "the table's order, identity first";
}

// Grid numbers for a given step: twice floor(edge / 2 / step + 0.5), at least
// the base numbers that the fixed coordinates of the setting ask for (a cell
// thinner than the step keeps them), and twice the steps where the base would
// overshoot the cell in steps.
TEST(GridNumbers, StepsBaseNumbersAndOvershoot) {
  ASSERT_TRUE(LoadedTable().ok);
  const struct {
    int number, setting;
    float a, b, c, step;
    int n[3];
  } cases[] = {
      {1, 1, 10.0f, 7.4f, 0.04f, 1e10f, {2, 2, 2}},
      {1, 1, 10.0f, 7.4f, 0.04f, 0.1f, {100, 74, 2}},
      {227, 2, 0.2f, 0.2f, 0.2f, 0.1f, {4, 4, 4}},
      {227, 2, 0.2f, 0.2f, 0.2f, 1e10f, {8, 8, 8}},
      {76, 1, 7.1f, 7.1f, 9.7f, 1e10f, {2, 2, 4}},   // P 41: the screw translation 1/4 along c
      {144, 1, 7.1f, 7.1f, 9.7f, 1e10f, {2, 2, 6}},  // P 31: translations of 1/3 and 2/3 both give 6
  };
  for (const auto& c : cases) {
    UnitCell uc;
    uc.setSpgNumber(c.number, c.setting);
    uc.createSymmetryOP();
    uc.cell[0] = c.a, uc.cell[1] = c.b, uc.cell[2] = c.c;
    int n[3];
    uc.CalcGridNo(n, c.step);
    EXPECT_EQ(std::vector<int>(c.n, c.n + 3), std::vector<int>(n, n + 3)) << c.number << " step " << c.step;
  }
}
