// Every tabulated setting against the generator's summary, and the properties
// each must have: a closed group in lattice blocks, a grid that carries its
// special positions, a Laue group, and an operator list recognised again.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <random>
#include <set>

#include "table_fixture.h"

namespace {

// Runs check(row, cell) for every setting of the summary, the cell set to it.
template <class Check>
void ForEverySetting(Check check) {
    ASSERT_TRUE(LoadedTable().ok);
    UnitCell uc;
    for (const SettingSummary& row : ReadSettingsSummary()) {
        ChooseSetting(uc, row.number, row.setting);
        SCOPED_TRACE(std::to_string(row.number) + "/" + std::to_string(row.setting) + " " + row.symbol);
        check(row, uc);
    }
}

// The distinct rotations of a list, with their negatives when `withInversion`.
std::set<std::array<long, 9>> rotationsOf(const ObjVector<MatrixD>& ops, bool withInversion) {
    std::set<std::array<long, 9>> rotations;
    for (MatrixD* op : ops)
        for (long sign : {1L, withInversion ? -1L : 1L}) {
            std::array<long, 9> r;
            for (int k = 0; k < 9; ++k) r[k] = sign * std::lround((*op)(k / 3, k % 3));
            rotations.insert(r);
        }
    return rotations;
}

}  // namespace

TEST(EverySetting, TableAgreesWithTheSummary) {
    const LoadResult& load = LoadedTable();
    ASSERT_TRUE(load.ok);
    EXPECT_EQ("", load.messages);
    int counted = 0;
    for (int n = 1; n <= kSpaceGroupCount; ++n) counted += nSpgSetting[n - 1];
    EXPECT_EQ(727, counted) << "every setting of the summary and no other";
    EXPECT_EQ(727u, ReadSettingsSummary().size());
    ForEverySetting([](const SettingSummary& row, const UnitCell&) {
        const _SpaceGroup* entry = FindSpaceGroupSetting(row.number, row.setting);
        ASSERT_NE(nullptr, entry);
        ASSERT_LE(row.setting, nSpgSetting[row.number - 1]);
        EXPECT_EQ(row.symbol, entry->name);
        EXPECT_EQ(row.operators, entry->ops.size());
        EXPECT_EQ(row.centric, entry->centric);
        EXPECT_EQ(row.lattice, entry->name[0]);
        EXPECT_EQ(row.positions, entry->wyckoff.size());
        const int blocks = std::strchr("ABCI", row.lattice)         ? 2
                           : row.lattice == 'F'                     ? 4
                           : row.lattice == 'R' && row.setting == 1 ? 3
                                                                    : 1;
        EXPECT_EQ(blocks, entry->latticeCount);
    });
}

// A group modulo whole cell translations, identity first, in lattice blocks:
// the first block holds each rotation once, and block b is the first shifted
// by one translation.
TEST(EverySetting, ExpandsToAClosedGroupInLatticeBlocks) {
    ForEverySetting([](const SettingSummary& row, const UnitCell& uc) {
        const int count = uc.symOp.size();
        ASSERT_EQ(row.operators, count) << "no operator is lost as a duplicate";
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
                ASSERT_TRUE(keys.count(keyOf(product))) << "the product of two operators is missing";
            }
        for (int k = block; k < count; ++k) {
            Matrix4D shift;
            for (int i = 0; i < 3; ++i) {
                shift.m[12 + i] = (*uc.symOp[k])(i, 3) - (*uc.symOp[k % block])(i, 3);
                for (int j = 0; j < 3; ++j) EXPECT_EQ((*uc.symOp[k % block])(i, j), (*uc.symOp[k])(i, j));
            }
            EXPECT_EQ(keyOf(shift), keyOf(*uc.symOp[k - k % block])) << "block " << k / block;
        }
    });
}

// The least grid must divide what the rule gives, and a fine grid the least one.
TEST(EverySetting, GridCarriesTheSpecialPositions) {
    ForEverySetting([&](const SettingSummary& row, const UnitCell& uc) {
        int base[3], fine[3];
        uc.CalcGridNo(base, 1e10f);
        uc.CalcGridNo(fine, 0.1f);
        for (int i = 0; i < 3; ++i) {
            EXPECT_EQ(0, base[i] % row.grid[i]) << "axis " << i << ": " << base[i] << " for " << row.grid[i];
            EXPECT_EQ(0, fine[i] % base[i]) << "axis " << i;
        }
    });
}

// The Patterson symbol names the centrosymmetric group of the same lattice
// whose rotations are those of the setting together with their negatives.
TEST(EverySetting, PattersonSymbolNamesItsLaueGroup) {
    ForEverySetting([](const SettingSummary& row, const UnitCell& uc) {
        char symbol[16];
        uc.getPattersonSymmetry(symbol);
        UnitCell patterson;
        SetCellFor(patterson, row.number, row.setting);
        ASSERT_NE(0, patterson.setSpgNameStandard(symbol)) << symbol;
        patterson.createSymmetryOP();
        EXPECT_EQ(1, patterson.centric);
        EXPECT_EQ(uc.latticeCount, patterson.latticeCount);
        EXPECT_EQ(rotationsOf(uc.symOp, true), rotationsOf(patterson.symOp, false));
    });
}

// The list, shuffled and with repeats, is recognised: the chosen entry has the
// same group and the same operators (an earlier setting of identical operators
// is a fair answer), and the repeats are removed from the caller's list.
TEST(EverySetting, OperatorListIsRecognised) {
    std::mt19937 random(7);
    ForEverySetting([&](const SettingSummary& row, const UnitCell& source) {
        std::vector<MatrixD*> order(source.symOp.v.size());
        for (int i = 0; i < source.symOp.size(); ++i) order[i] = source.symOp[i];
        std::shuffle(order.begin(), order.end(), random);
        ObjVector<MatrixD> ops;
        for (MatrixD* op : order)
            for (int copies = row.setting % 2 == 0 && random() % 4 == 0 ? 2 : 1; copies > 0; --copies)
                ops.add(op->Clone(0));
        UnitCell uc;
        ASSERT_EQ(row.number, uc.setSpgFromSymmetryOP(ops));
        EXPECT_EQ(keysOf(FindSpaceGroupSetting(row.number, uc.spgSetting)->ops), keysOf(source.symOp));
        EXPECT_EQ(source.symOp.size(), ops.size());
        uc.createSymmetryOP();
        EXPECT_EQ(source.latticeCount, uc.latticeCount);
        EXPECT_EQ(source.centric, uc.centric);
        EXPECT_EQ(keysOf(uc.symOp), keysOf(source.symOp));
        EXPECT_EQ(0, uc.centering.size());
    });
}
