// The loaded table against the generator's summary of every setting.
#include <gtest/gtest.h>

#include <cstring>

#include "LoadedTable.h"
#include "SettingsSummary.h"
#include "core/SpaceGroup.h"

TEST(SpaceGroupTable, LoadsSilently) {
  const LoadResult& load = LoadedTable();
  EXPECT_TRUE(load.ok);
  EXPECT_EQ("", load.messages);
  for (int n = 1; n <= kSpaceGroupCount; ++n)
    EXPECT_GE(nSpgSetting[n - 1], 1) << "group " << n;
}

TEST(SpaceGroupTable, EverySettingAgreesWithTheSummary) {
  ASSERT_TRUE(LoadedTable().ok);
  const std::vector<SettingSummary> rows = ReadSettingsSummary();
  ASSERT_EQ(727u, rows.size());
  int counted = 0;
  for (int n = 1; n <= kSpaceGroupCount; ++n)
    counted += nSpgSetting[n - 1];
  EXPECT_EQ(727, counted) << "every setting of the summary and no other";

  for (const SettingSummary& row : rows) {
    const _SpaceGroup* entry = FindSpaceGroupSetting(row.number, row.setting);
    SCOPED_TRACE(std::to_string(row.number) + "/" + std::to_string(row.setting) + " " + row.symbol);
    ASSERT_NE(nullptr, entry);
    ASSERT_LE(row.setting, nSpgSetting[row.number - 1]);
    EXPECT_EQ(row.symbol, entry->name);
    EXPECT_EQ(row.operators, entry->ops.size());
    EXPECT_EQ(row.centric, entry->centric);
    EXPECT_EQ(row.lattice, entry->name[0]);
    EXPECT_EQ(row.positions, entry->wyckoff.size());
    const int blocks = std::strchr("ABCI", row.lattice) ? 2 : row.lattice == 'F' ? 4
                       : row.lattice == 'R' && row.setting == 1 ? 3 : 1;
    EXPECT_EQ(blocks, entry->latticeCount);
  }
}

TEST(SpaceGroupTable, ClassNumbersFollowTheGroupNumber) {
  ASSERT_TRUE(LoadedTable().ok);
  const struct {
    int number, systemId, laueId;
  } cases[] = {{2, 1, 1},    {3, 2, 2},    {15, 2, 2},   {16, 3, 3},   {88, 4, 4},   {89, 4, 5},
               {148, 5, 6},  {149, 5, 7},  {176, 6, 8},  {177, 6, 9},  {206, 7, 10}, {230, 7, 11}};
  for (const auto& c : cases)
    for (int s = 1; s <= nSpgSetting[c.number - 1]; ++s) {
      EXPECT_EQ(c.systemId, FindSpaceGroupSetting(c.number, s)->systemId) << c.number;
      EXPECT_EQ(c.laueId, FindSpaceGroupSetting(c.number, s)->laueId) << c.number;
    }
}

TEST(SpaceGroupTable, MagneticEntriesStandBehindTheOrdinaryOnes) {
  ASSERT_TRUE(LoadedTable().ok);
  int magnetic = 0;
  for (int n = 1; n <= kSpaceGroupCount; ++n) {
    const ObjVector<_SpaceGroup>& settings = spaceGroup[n - 1];
    for (int s = 0; s < settings.size(); ++s) {
      EXPECT_EQ(s >= nSpgSetting[n - 1], (settings[s]->flags & kMagneticFlag) != 0) << n << "/" << s + 1;
      if ((settings[s]->flags & kMagneticFlag) != 0) {
        ++magnetic;
        EXPECT_GE(settings[s]->ops.size(), 1) << n << "/" << s + 1;
      }
    }
  }
  EXPECT_EQ(1651, magnetic);
}
