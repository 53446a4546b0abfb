// Choosing a setting by numbers, by symbol and by operator list.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

#include "LoadedTable.h"
#include "SettingCells.h"
#include "core/UnitCell.h"

namespace {

// A cell with the given lengths and angles; the lookup reads only these.
UnitCell cellOf(float a, float b, float c, float alpha, float beta, float gamma) {
  UnitCell uc;
  const float cell[6] = {a, b, c, alpha, beta, gamma};
  for (int i = 0; i < 6; ++i)
    uc.cell[i] = cell[i];
  return uc;
}

// Copies of the operators of a list, in another order, with some repeated.
ObjVector<MatrixD> shuffledCopy(const ObjVector<MatrixD>& ops, std::mt19937& random, bool withDuplicates) {
  std::vector<MatrixD*> order(ops.v.size());
  for (int i = 0; i < ops.size(); ++i)
    order[i] = ops[i];
  std::shuffle(order.begin(), order.end(), random);
  ObjVector<MatrixD> copy;
  for (MatrixD* op : order) {
    copy.add(op->Clone(0));
    if (withDuplicates && random() % 4 == 0)
      copy.add(op->Clone(0));
  }
  return copy;
}

bool sameOperatorSet(const ObjVector<MatrixD>& a, const ObjVector<MatrixD>& b) {
  if (a.size() != b.size())
    return false;
  for (MatrixD* op : a) {
    bool found = false;
    for (MatrixD* other : b)
      found = found || op->IsEqualTo(*other);
    if (!found)
      return false;
  }
  return true;
}

}  // namespace

TEST(LookupBySymbol, MonoclinicSymbolsTakeTheUniqueAxisFromTheCell) {
  ASSERT_TRUE(LoadedTable().ok);
  UnitCell b = cellOf(5, 6, 7, 90, 101, 90);
  EXPECT_EQ(14, b.setSpgNameStandard("P 21/c"));
  EXPECT_EQ(1, b.spgSetting);
  EXPECT_EQ(2, b.crystalSystem);

  // Every unique axis carries the symbols of the b-unique cell choices, so the
  // cell picks the axis and the symbol the cell choice.
  EXPECT_EQ(14, b.setSpgNameStandard("P 21/n"));
  EXPECT_EQ(2, b.spgSetting);
  EXPECT_EQ(14, b.setSpgNameStandard("P 21/a"));
  EXPECT_EQ(3, b.spgSetting);
  UnitCell c = cellOf(5, 6, 7, 90, 90, 101);
  EXPECT_EQ(14, c.setSpgNameStandard("P 21/c"));
  EXPECT_EQ(4, c.spgSetting);
  EXPECT_EQ(14, c.setSpgNameStandard("P 21/a"));
  EXPECT_EQ(6, c.spgSetting);
  UnitCell a = cellOf(5, 6, 7, 101, 90, 90);
  EXPECT_EQ(14, a.setSpgNameStandard("P 21/c"));
  EXPECT_EQ(7, a.spgSetting);

  // Groups without cell choices: settings 1, 2, 3 for b, c, a unique.
  EXPECT_EQ(4, b.setSpgNameStandard("P 21"));
  EXPECT_EQ(1, b.spgSetting);
  EXPECT_EQ(4, c.setSpgNameStandard("P 21"));
  EXPECT_EQ(2, c.spgSetting);
  EXPECT_EQ(4, a.setSpgNameStandard("P 21"));
  EXPECT_EQ(3, a.spgSetting);

  // With right angles only, a symbol with cell choices is not found; the
  // others fall back to b unique.
  UnitCell right = cellOf(5, 6, 7, 90, 90, 90);
  EXPECT_EQ(0, right.setSpgNameStandard("P 21/c"));
  EXPECT_EQ(1, right.spgNumber) << "an unknown symbol leaves the group as it was";
  EXPECT_EQ(4, right.setSpgNameStandard("P 21"));
  EXPECT_EQ(1, right.spgSetting);
}

TEST(LookupBySymbol, SecondOriginIsTheStandard) {
  ASSERT_TRUE(LoadedTable().ok);
  UnitCell uc = cellOf(8, 8, 8, 90, 90, 90);
  EXPECT_EQ(227, uc.setSpgNameStandard("F d -3 m"));
  EXPECT_EQ(2, uc.spgSetting);
  EXPECT_EQ(7, uc.crystalSystem);
  // The bar of -3 may be left out.
  EXPECT_EQ(227, uc.setSpgNameStandard("F d 3 m"));
  EXPECT_STREQ("F d -3 m", uc.spgName);
  EXPECT_EQ(2, uc.spgSetting);
  EXPECT_EQ(195, uc.setSpgNameStandard("P 2 3"));
  EXPECT_STREQ("P 2 3", uc.spgName);

  UnitCell o = cellOf(5, 6, 7, 90, 90, 90);
  EXPECT_EQ(48, o.setStandardName("P n n n", 1));
  EXPECT_EQ(1, o.spgSetting);
  EXPECT_EQ(48, o.setSpgNameStandard("P n n n"));
  EXPECT_EQ(2, o.spgSetting);
}

TEST(LookupBySymbol, RhombohedralAxesFollowFromEqualLengths) {
  ASSERT_TRUE(LoadedTable().ok);
  UnitCell hexagonal = cellOf(5, 5, 14, 90, 90, 120);
  EXPECT_EQ(166, hexagonal.setSpgNameStandard("R -3 m"));
  EXPECT_EQ(1, hexagonal.spgSetting);
  EXPECT_EQ(8, hexagonal.crystalSystem);
  EXPECT_EQ(160, hexagonal.setSpgNameStandard("R 3 m h"));
  EXPECT_EQ(1, hexagonal.spgSetting);

  UnitCell rhombohedral = cellOf(6, 6, 6, 75, 75, 75);
  EXPECT_EQ(166, rhombohedral.setSpgNameStandard("R -3 m"));
  EXPECT_EQ(2, rhombohedral.spgSetting);
  rhombohedral.createSymmetryOP();
  EXPECT_EQ(1, rhombohedral.latticeCount);
  EXPECT_EQ(12, rhombohedral.symOp.size());
}

TEST(LookupBySymbol, OlderSymbolsGiveWayToCurrentOnes) {
  ASSERT_TRUE(LoadedTable().ok);
  UnitCell uc = cellOf(5, 6, 7, 90, 90, 90);
  EXPECT_EQ(64, uc.setSpgNameStandard("C m c a"));
  EXPECT_EQ(1, uc.spgSetting);
  EXPECT_STREQ(FindSpaceGroupSetting(64, 1)->name, uc.spgName);
  EXPECT_STRNE("C m c a", uc.spgName);
  // Group 68 has two origins: its older symbols name them in pairs.
  EXPECT_EQ(68, uc.setSpgNameStandard("C c c b"));
  EXPECT_EQ(3, uc.spgSetting);
  EXPECT_STREQ(FindSpaceGroupSetting(68, 3)->name, uc.spgName);
}

// A list of any tabulated setting, shuffled and with repeats, is recognised:
// the chosen entry has the same group and the same operators (an earlier
// setting of identical operators is a fair answer).
TEST(LookupByOperators, EveryTabulatedListIsRecognised) {
  ASSERT_TRUE(LoadedTable().ok);
  std::mt19937 random(7);
  UnitCell source, uc;
  for (int n = 1; n <= kSpaceGroupCount; ++n)
    for (int s = 1; s <= nSpgSetting[n - 1]; ++s) {
      ChooseSetting(source, n, s);
      ObjVector<MatrixD> ops = shuffledCopy(source.symOp, random, s % 2 == 0);
      uc.Initialize();
      SCOPED_TRACE(std::to_string(n) + "/" + std::to_string(s) + " " + source.spgName);
      ASSERT_EQ(n, uc.setSpgFromSymmetryOP(ops));
      EXPECT_TRUE(sameOperatorSet(FindSpaceGroupSetting(n, uc.spgSetting)->ops, source.symOp));
      EXPECT_EQ(source.symOp.size(), ops.size()) << "repeats are removed from the caller's list";
      uc.createSymmetryOP();
      EXPECT_EQ(source.latticeCount, uc.latticeCount);
      EXPECT_EQ(source.centric, uc.centric);
      EXPECT_TRUE(sameOperatorSet(uc.symOp, source.symOp));
      EXPECT_EQ(0, uc.centering.size());
    }
}

// Symbols are compared as they stand, a setting other than 1 narrows the
// search to that setting, and a failed lookup leaves the state readable.
TEST(LookupBySymbol, ExactTextAndTheSettingPassed) {
  ASSERT_TRUE(LoadedTable().ok);
  UnitCell cubic = cellOf(8, 8, 8, 90, 90, 90);
  EXPECT_EQ(0, cubic.setSpgNameStandard("P  2 3")) << "one blank too many";
  EXPECT_STREQ("P  2 3", cubic.spgName);
  EXPECT_EQ(1, cubic.spgNumber);
  EXPECT_EQ(1, cubic.crystalSystem);

  UnitCell b = cellOf(5, 6, 7, 90, 101, 90);
  EXPECT_EQ(0, b.setStandardName("P 21/c", 3)) << "setting 3 of group 14 bears another symbol";
  EXPECT_EQ(3, b.spgSetting);
  EXPECT_EQ(14, b.setStandardName("P 21/a", 3));
  EXPECT_EQ(3, b.spgSetting);

  // An unknown symbol in a cell that stands on a group of two origins is
  // looked up once more with the next setting number.
  UnitCell fd = cellOf(8, 8, 8, 90, 90, 90);
  EXPECT_EQ(227, fd.setSpgNameStandard("F d -3 m"));
  EXPECT_EQ(0, fd.setSpgNameStandard("F d -3 x"));
  EXPECT_EQ(227, fd.spgNumber);
  EXPECT_EQ(2, fd.spgSetting);

  // Trailing blanks and a lower-case h of hexagonal axes are dropped; equal
  // axes ask for the rhombohedral setting whatever the suffix said.
  UnitCell rhombohedral = cellOf(6, 6, 6, 75, 75, 75);
  EXPECT_EQ(160, rhombohedral.setSpgNameStandard("R 3 m h  "));
  EXPECT_STREQ("R 3 m", rhombohedral.spgName);
  EXPECT_EQ(2, rhombohedral.spgSetting);
  EXPECT_EQ(8, rhombohedral.crystalSystem);
}
