// The unit cell and the table: settings chosen by symbol or by operators, a
// transformed cell, the grid rule, and the class numbers and magnetic entries.
#include <gtest/gtest.h>

#include <array>
#include <string>
#include <vector>

#include "crystal/OperatorList.h"
#include "table_fixture.h"

namespace {

const std::array<float, 6> kB = {5, 6, 7, 90, 101, 90}, kC = {5, 6, 7, 90, 90, 101},
                           kA = {5, 6, 7, 101, 90, 90}, kRight = {5, 6, 7, 90, 90, 90},
                           kCubic = {8, 8, 8, 90, 90, 90}, kHexagonal = {5, 5, 14, 90, 90, 120},
                           kRhombohedral = {6, 6, 6, 75, 75, 75};

const int kAny = -9;  // a field the case does not check

// Monoclinic symbols take the unique axis from the cell: every unique axis
// carries the symbols of the b-unique cell choices, so the cell picks the axis
// and the symbol the cell choice; with right angles only, a symbol with cell
// choices is not found and the others fall back to b unique. Groups of two
// origins take the second; older symbols give way to current ones; equal axes
// ask for the rhombohedral setting whatever the suffix. Symbols are compared
// as they stand, a setting other than 1 narrows the search to that setting,
// and a failed lookup leaves the state readable.
TEST(LookupBySymbol, TableOfCases) {
    ASSERT_TRUE(LoadedTable().ok);
    const struct {
        std::array<float, 6> cell;
        const char* symbol;
        int setting;  // 0: setSpgNameStandard, else setStandardName with it
        int found, number, spgSetting, system;
        const char* name;  // when not given: the table's name of the setting found
    } cases[] = {
        {kB, "P 21/c", 0, 14, 14, 1, 2, nullptr},
        {kB, "P 21/n", 0, 14, 14, 2, 2, nullptr},
        {kB, "P 21/a", 0, 14, 14, 3, 2, nullptr},
        {kC, "P 21/c", 0, 14, 14, 4, 2, nullptr},
        {kC, "P 21/a", 0, 14, 14, 6, 2, nullptr},
        {kA, "P 21/c", 0, 14, 14, 7, 2, nullptr},
        {kB, "P 21", 0, 4, 4, 1, 2, nullptr},
        {kC, "P 21", 0, 4, 4, 2, 2, nullptr},
        {kA, "P 21", 0, 4, 4, 3, 2, nullptr},
        {kRight, "P 21/c", 0, 0, 1, kAny, kAny, nullptr},
        {kRight, "P 21", 0, 4, 4, 1, kAny, nullptr},
        {kCubic, "F d -3 m", 0, 227, 227, 2, 7, nullptr},
        {kCubic, "F d 3 m", 0, 227, 227, 2, 7, "F d -3 m"},  // the bar of -3 may be left out
        {kCubic, "P 2 3", 0, 195, 195, kAny, 7, "P 2 3"},
        {kRight, "P n n n", 1, 48, 48, 1, kAny, nullptr},
        {kRight, "P n n n", 0, 48, 48, 2, kAny, nullptr},
        {kHexagonal, "R -3 m", 0, 166, 166, 1, 8, nullptr},
        {kHexagonal, "R 3 m h", 0, 160, 160, 1, 8, nullptr},
        {kRhombohedral, "R -3 m", 0, 166, 166, 2, 8, nullptr},
        {kRhombohedral, "R 3 m h  ", 0, 160, 160, 2, 8, "R 3 m"},
        {kRight, "C m c a", 0, 64, 64, 1, kAny, nullptr},
        {kRight, "C c c b", 0, 68, 68, 3, kAny,
         nullptr},                                       // group 68's older symbols name its origins in pairs
        {kCubic, "P  2 3", 0, 0, 1, kAny, 1, "P  2 3"},  // one blank too many
        {kB, "P 21/c", 3, 0, kAny, 3, kAny, nullptr},    // setting 3 of group 14 bears another symbol
        {kB, "P 21/a", 3, 14, 14, 3, kAny, nullptr},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.symbol) + " in a cell of angles " + std::to_string(c.cell[3]) + " " +
                     std::to_string(c.cell[4]) + " " + std::to_string(c.cell[5]));
        UnitCell uc = CellOf(c.cell);
        EXPECT_EQ(c.found,
                  c.setting ? uc.setStandardName(c.symbol, c.setting) : uc.setSpgNameStandard(c.symbol));
        auto expect = [](int want, int got, const char* what) {
            if (want != kAny) {
                EXPECT_EQ(want, got) << what;
            }
        };
        expect(c.number, uc.spgNumber, "number");
        expect(c.spgSetting, uc.spgSetting, "setting");
        expect(c.system, uc.crystalSystem, "crystal system");
        if (c.name || c.found) {
            EXPECT_STREQ(c.name ? c.name : FindSpaceGroupSetting(c.found, uc.spgSetting)->name, uc.spgName);
        }
    }
    // An unknown symbol in a cell that stands on a group of two origins is
    // looked up once more with the next setting number.
    UnitCell uc = CellOf(kCubic);
    uc.setSpgNameStandard("F d -3 m");
    EXPECT_EQ(0, uc.setSpgNameStandard("F d -3 x"));
    EXPECT_EQ((std::vector<int>{227, 2}), (std::vector<int>{uc.spgNumber, uc.spgSetting}));
}

TEST(SpaceGroupTable, ClassNumbersFollowTheGroupNumber) {
    ASSERT_TRUE(LoadedTable().ok);
    const int cases[][3] = {{2, 1, 1},   {3, 2, 2},   {15, 2, 2},  {16, 3, 3},  {88, 4, 4},   {89, 4, 5},
                            {148, 5, 6}, {149, 5, 7}, {176, 6, 8}, {177, 6, 9}, {206, 7, 10}, {230, 7, 11}};
    for (const auto& c : cases)
        for (int s = 1; s <= nSpgSetting[c[0] - 1]; ++s) {
            EXPECT_EQ(c[1], FindSpaceGroupSetting(c[0], s)->systemId) << c[0];
            EXPECT_EQ(c[2], FindSpaceGroupSetting(c[0], s)->laueId) << c[0];
        }
}

TEST(SpaceGroupTable, MagneticEntriesStandBehindTheOrdinaryOnes) {
    ASSERT_TRUE(LoadedTable().ok);
    int magnetic = 0;
    for (int n = 1; n <= kSpaceGroupCount; ++n) {
        const ObjVector<_SpaceGroup>& settings = spaceGroup[n - 1];
        for (int s = 0; s < settings.size(); ++s) {
            const bool isMagnetic = (settings[s]->flags & kMagneticFlag) != 0;
            EXPECT_EQ(s >= nSpgSetting[n - 1], isMagnetic) << n << "/" << s + 1;
            if (isMagnetic) {
                ++magnetic;
                EXPECT_GE(settings[s]->ops.size(), 1) << n << "/" << s + 1;
            }
        }
    }
    EXPECT_EQ(1651, magnetic);
}

// Operators read from data files pass this check before they reach the
// voxel grid, whose integer operators a non-finite translation or a huge
// rotation entry would overflow.
TEST(SymmetryOperators, OnlyLatticeOperatorsPass) {
    const std::pair<const char*, bool> cases[] = {
        {"x,y,z", true},      {"-y,x-y,z+1/3", true}, {"-x,-y,-z", true}, {"x+1/2,y+1/2,z", true},
        {"x,y,z+1/0", false}, {"x,y,nan", false},     {"2x,y,z", false},  {"x/2,y,z", false},
        {"x,y", false},       {"x+17y,y,z", false},   {"x,y,-0z", false},
    };
    for (const auto& c : cases) {
        std::string text = c.first;
        Matrix4D op;
        UnitCell::convertXYZ2Matrix_Q4(&text[0], op);
        VectorD::Fractionalize(op.Translation(), 3);
        EXPECT_EQ(IsSymmetryOperator(op), c.second) << c.first;
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
    // Custom name, no crystal system, the old number kept for the grid rule; the
    // list itself in use, shared, not a copy.
    EXPECT_EQ(0, uc.setSpgFromSymmetryOP(ops));
    EXPECT_STREQ("Custom", uc.spgName);
    uc.createSymmetryOP();
    ASSERT_EQ(2, uc.symOp.size());
    EXPECT_EQ(ops[1], uc.symOp[1]);
    EXPECT_EQ((std::vector<int>{0, 75, 2, 1, 0, 2}),
              (std::vector<int>{uc.crystalSystem, uc.spgNumber, ops[1]->refCount, uc.latticeCount, uc.centric,
                                uc.rotOp.size()}));
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
    EXPECT_EQ((std::vector<int>{1, 1, 0}),
              (std::vector<int>{uc.spgSetting, uc.centering.size(), uc.centeringInv.size()}));
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
        {1, 1, 10.0f, 7.4f, 0.04f, 1e10f, {2, 2, 2}}, {1, 1, 10.0f, 7.4f, 0.04f, 0.1f, {100, 74, 2}},
        {227, 2, 0.2f, 0.2f, 0.2f, 0.1f, {4, 4, 4}},  {227, 2, 0.2f, 0.2f, 0.2f, 1e10f, {8, 8, 8}},
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
        EXPECT_EQ(std::vector<int>(c.n, c.n + 3), std::vector<int>(n, n + 3))
            << c.number << " step " << c.step;
    }
}

}  // namespace
