// The unit cell: the expanded operator list, the Patterson symmetry and a transformed cell.
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstring>
#include <set>

#include "LoadedTable.h"
#include "SettingCells.h"
#include "base/VectorD.h"
#include "core/UnitCell.h"

namespace {

// An operator as whole numbers: rotation entries, and translations in
// millionths of the cell edge, so that sets of operators compare exactly.
using OperatorKey = std::array<long, 12>;

OperatorKey keyOf(const MatrixD& op) {
  OperatorKey key;
  for (int i = 0; i < 3; ++i) {
    for (int j = 0; j < 3; ++j)
      key[3 * i + j] = std::lround(op(i, j));
    double t = op(i, 3);
    VectorD::Fractionalize(&t, 1);
    key[9 + i] = std::lround(t * 1e6) % 1000000;
  }
  return key;
}

std::set<OperatorKey> keysOf(const ObjVector<MatrixD>& ops) {
  std::set<OperatorKey> keys;
  for (MatrixD* op : ops)
    keys.insert(keyOf(*op));
  return keys;
}

// The distinct rotations of a list, with their negatives when `withInversion`.
std::set<std::array<long, 9>> rotationsOf(const ObjVector<MatrixD>& ops, bool withInversion) {
  std::set<std::array<long, 9>> rotations;
  for (MatrixD* op : ops) {
    std::array<long, 9> r, minus;
    for (int i = 0; i < 3; ++i)
      for (int j = 0; j < 3; ++j) {
        r[3 * i + j] = std::lround((*op)(i, j));
        minus[3 * i + j] = -r[3 * i + j];
      }
    rotations.insert(r);
    if (withInversion)
      rotations.insert(minus);
  }
  return rotations;
}

}  // namespace

// Every expanded setting must be a group (modulo whole cell translations),
// begin with the identity, and keep its lattice blocks: the first block holds
// each rotation once, and block b is the first shifted by one translation.
TEST(SymmetryOperators, EverySettingIsAClosedGroupInLatticeBlocks) {
  ASSERT_TRUE(LoadedTable().ok);
  UnitCell uc;
  for (int n = 1; n <= kSpaceGroupCount; ++n)
    for (int s = 1; s <= nSpgSetting[n - 1]; ++s) {
      ChooseSetting(uc, n, s);
      SCOPED_TRACE(std::to_string(n) + "/" + std::to_string(s) + " " + uc.spgName);
      const int count = uc.symOp.size();
      ASSERT_EQ(FindSpaceGroupSetting(n, s)->ops.size(), count) << "no operator is lost as a duplicate";
      ASSERT_EQ(0, count % uc.latticeCount);
      EXPECT_TRUE(uc.symOp[0]->IsEqualTo(Matrix4D())) << "identity first";
      const int block = count / uc.latticeCount;
      EXPECT_EQ(block, uc.rotOp.size());
      if (uc.centric) {
        EXPECT_EQ(rotationsOf(uc.symOp, false), rotationsOf(uc.symOp, true));
      }

      const std::set<OperatorKey> keys = keysOf(uc.symOp);
      EXPECT_EQ(static_cast<size_t>(count), keys.size());
      Matrix4D product;
      for (MatrixD* A : uc.symOp)
        for (MatrixD* B : uc.symOp) {
          product.MgMM(*A, *B);
          if (!keys.count(keyOf(product))) {
            ADD_FAILURE() << "the product of two operators is missing";
            return;
          }
        }
      for (int k = block; k < count; ++k) {
        Matrix4D shift;
        for (int i = 0; i < 3; ++i)
          shift.m[12 + i] = (*uc.symOp[k])(i, 3) - (*uc.symOp[k % block])(i, 3);
        for (int i = 0; i < 3; ++i)
          for (int j = 0; j < 3; ++j)
            EXPECT_EQ((*uc.symOp[k % block])(i, j), (*uc.symOp[k])(i, j));
        if (k % block != 0) {
          EXPECT_EQ(keyOf(shift), keyOf(*uc.symOp[k - k % block])) << "block " << k / block;
        }
      }
    }
}

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
  EXPECT_EQ(0, uc.setSpgFromSymmetryOP(ops));
  EXPECT_STREQ("Custom", uc.spgName);
  EXPECT_EQ(0, uc.crystalSystem);
  EXPECT_EQ(75, uc.spgNumber) << "the old choice stays for the grid rule";
  uc.createSymmetryOP();
  ASSERT_EQ(2, uc.symOp.size());
  EXPECT_EQ(ops[1], uc.symOp[1]) << "the list itself, shared, not a copy";
  EXPECT_EQ(2, ops[1]->refCount);
  EXPECT_EQ(1, uc.latticeCount);
  EXPECT_EQ(0, uc.centric);
  EXPECT_EQ(2, uc.rotOp.size());

  // Choosing by number renames, but the custom list stays the one in use.
  EXPECT_EQ(16, uc.setSpgNumber(16, 1));
  EXPECT_STREQ("P 2 2 2", uc.spgName);
  EXPECT_EQ(0, uc.crystalSystem);
  uc.createSymmetryOP();
  EXPECT_EQ(2, uc.symOp.size());

  // The same list handed in as symOp itself keeps its objects and counts.
  EXPECT_EQ(0, uc.setSpgFromSymmetryOP(uc.symOp));
  EXPECT_EQ(2, uc.symOp.size());
  EXPECT_EQ(2, ops[0]->refCount);
}

// The Patterson symbol of every setting must be known to the lookup, and name
// the centrosymmetric group of the same lattice whose rotations are those of
// the setting together with their negatives.
TEST(PattersonSymmetry, EverySettingLeadsToItsLaueGroup) {
  ASSERT_TRUE(LoadedTable().ok);
  UnitCell uc, patterson;
  for (int n = 1; n <= kSpaceGroupCount; ++n)
    for (int s = 1; s <= nSpgSetting[n - 1]; ++s) {
      ChooseSetting(uc, n, s);
      char symbol[16];
      uc.getPattersonSymmetry(symbol);
      SCOPED_TRACE(std::to_string(n) + "/" + std::to_string(s) + " " + uc.spgName + " -> " + symbol);
      patterson.Initialize();
      SetCellFor(patterson, n, s);
      ASSERT_NE(0, patterson.setSpgNameStandard(symbol));
      patterson.createSymmetryOP();
      EXPECT_EQ(1, patterson.centric);
      EXPECT_EQ(uc.latticeCount, patterson.latticeCount);
      EXPECT_EQ(rotationsOf(uc.symOp, true), rotationsOf(patterson.symOp, false));
    }
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
  EXPECT_EQ(1, uc.spgSetting);
  EXPECT_EQ(1, uc.centering.size());
  EXPECT_EQ(0, uc.centeringInv.size());
  uc.createSymmetryOP();
  EXPECT_EQ(expected, keysOf(uc.symOp));
  EXPECT_EQ(8, uc.symOp.size());
  EXPECT_EQ(4, uc.rotOp.size());
  EXPECT_TRUE(uc.symOp[0]->IsEqualTo(identity)) << "the table's order, identity first";
}
