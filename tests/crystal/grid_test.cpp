// The grid rule: grid numbers that carry every special position on a voxel.
#include <gtest/gtest.h>

#include <cstdio>

#include "LoadedTable.h"
#include "SettingCells.h"
#include "SettingsSummary.h"
#include "core/UnitCell.h"

TEST(GridNumbers, TriclinicCellFollowsTheStep) {
  ASSERT_TRUE(LoadedTable().ok);
  UnitCell uc;
  uc.cell[0] = 10.0f;
  uc.cell[1] = 7.4f;
  uc.cell[2] = 0.04f;
  uc.createSymmetryOP();
  int n[3];
  uc.CalcGridNo(n, 1e10f);
  EXPECT_EQ(2, n[0]);
  EXPECT_EQ(2, n[1]);
  EXPECT_EQ(2, n[2]);
  uc.CalcGridNo(n, 0.1f);
  EXPECT_EQ(100, n[0]);  // 2 x floor(10 / 2 / 0.1 + 0.5)
  EXPECT_EQ(74, n[1]);   // 2 x 37
  EXPECT_EQ(2, n[2]) << "a cell thinner than the step keeps the base number";
}

TEST(GridNumbers, OvershootFallsBackToTwiceTheSteps) {
  ASSERT_TRUE(LoadedTable().ok);
  UnitCell uc;
  uc.setSpgNumber(227, 2);
  uc.createSymmetryOP();
  uc.cell[0] = uc.cell[1] = uc.cell[2] = 0.2f;
  int n[3];
  uc.CalcGridNo(n, 0.1f);
  // The base 8 would be four times the cell in steps; twice the steps is taken.
  EXPECT_EQ(4, n[0]);
  uc.CalcGridNo(n, 1e10f);
  EXPECT_EQ(8, n[0]) << "a huge step gives the base numbers even for tiny cells";
}

TEST(GridNumbers, FixedCoordinatesSetTheBase) {
  ASSERT_TRUE(LoadedTable().ok);
  UnitCell uc;
  int n[3];
  // P 41: the screw translation 1/4 along c.
  ChooseSetting(uc, 76, 1);
  uc.CalcGridNo(n, 1e10f);
  EXPECT_EQ(2, n[0]);
  EXPECT_EQ(4, n[2]);
  // P 31: translations of 1/3 and 2/3 both give 6.
  ChooseSetting(uc, 144, 1);
  uc.CalcGridNo(n, 1e10f);
  EXPECT_EQ(6, n[2]);
}

// For every setting the least grid must divide what the rule gives; where the
// rule gives more than the least grid, the setting is printed.
TEST(GridNumbers, EverySettingCarriesItsSpecialPositions) {
  ASSERT_TRUE(LoadedTable().ok);
  UnitCell uc;
  int larger = 0;
  for (const SettingSummary& row : ReadSettingsSummary()) {
    ChooseSetting(uc, row.number, row.setting);
    SCOPED_TRACE(std::to_string(row.number) + "/" + std::to_string(row.setting) + " " + row.symbol);
    int base[3], fine[3];
    uc.CalcGridNo(base, 1e10f);
    uc.CalcGridNo(fine, 0.1f);
    for (int i = 0; i < 3; ++i) {
      EXPECT_EQ(0, base[i] % row.grid[i]) << "axis " << i << ": " << base[i] << " for " << row.grid[i];
      EXPECT_EQ(0, fine[i] % base[i]) << "axis " << i;
    }
    if (base[0] != row.grid[0] || base[1] != row.grid[1] || base[2] != row.grid[2]) {
      ++larger;
      std::printf("grid %d/%d %s: rule %d %d %d, least %d %d %d\n", row.number, row.setting,
                  row.symbol.c_str(), base[0], base[1], base[2], row.grid[0], row.grid[1], row.grid[2]);
    }
  }
  RecordProperty("settings_with_larger_grid", larger);
}
