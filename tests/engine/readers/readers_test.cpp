// The .fos, .BayMEM and .ffo readers: one structure in every format reads
// alike, and symmetry comes by operators or symbol.
#include <dirent.h>
#include <gtest/gtest.h>

#include <string>

#include "crystal/table_fixture.h"
#include "engine/analysis_fixture.h"

namespace {

const std::string kReaderData = std::string(HALVORIN_TEST_DATA) + "/readers/";
enum FileType { kMem = 3, kFos = 5, kBayMem = 7, kFfo = 10 };

// What an .alb control file gives before the .ffo list is read.
void GiveCellAsControlFileDoes(MEMData3D& d, const MEMData3D& from) {
    std::copy(from.unitCell.cell, from.unitCell.cell + 6, d.unitCell.cell);
    d.unitCell.setSpgNumber(from.unitCell.spgNumber, from.unitCell.spgSetting);
    d.unitCell.createSymmetryOP();
    std::copy(from.gridSize, from.gridSize + 3, d.gridSize);
}

double CycleZeroConstr(TestAnalysis& d) {
    PrepareCycleZero(d);
    return d.constr;
}

// Centric and acentric.
TEST(SameStructure, EveryFormatGivesTheSameAnalysis) {
    for (const char* name : {"rutile", "zno"}) {
        SCOPED_TRACE(name);
        const std::string stem = kReaderData + name;
        TestAnalysis mem;
        ASSERT_TRUE(ReadQuietly(mem, stem + ".mem", kMem));
        const double constr = CycleZeroConstr(mem);
        for (int type : {kFos, kBayMem, kFfo}) {
            SCOPED_TRACE(type);
            TestAnalysis d;
            if (type == kFfo) GiveCellAsControlFileDoes(d, mem);
            ASSERT_TRUE(ReadQuietly(d,
                                    stem + (type == kFos      ? ".fos"
                                            : type == kBayMem ? ".BayMEM"
                                                              : ".ffo"),
                                    type));
            for (int i = 0; i < 6; ++i) EXPECT_FLOAT_EQ(d.unitCell.cell[i], mem.unitCell.cell[i]);
            for (int i = 0; i < 3; ++i) EXPECT_EQ(d.gridSize[i], mem.gridSize[i]);
            EXPECT_NEAR(d.voxelVolume, mem.voxelVolume, 1e-9 * mem.voxelVolume);
            EXPECT_EQ(d.unitCell.spgNumber, mem.unitCell.spgNumber);
            EXPECT_EQ(d.unitCell.symOp.size(), mem.unitCell.symOp.size());
            EXPECT_EQ(d.nRefF, mem.nRefF);
            EXPECT_EQ(d.reflections.size(), mem.reflections.size());
            // An .ffo list has no F(000) and no phases: its weights agree only for real F.
            if (type == kFfo && !mem.unitCell.centric) continue;
            if (type == kFfo) d.targetMoment[0] = mem.targetMoment[0];
            EXPECT_DOUBLE_EQ(d.targetMoment[0], mem.targetMoment[0]);
            EXPECT_NEAR(CycleZeroConstr(d), constr, 1e-5 * constr);
        }
    }
}

// C 2/c, unique axis b, as lattice translations times the primitive
// operators; keywords in any order, comments and blank lines anywhere.
const char kC2c[] =
    "# C 2/c\n\ndimension 3\ncell 9.5 8.2 7.1 90 104.5 90\nvoxel 48 40 36\n"
    "centers\n0 0 0\n# the C-centring\n0.5 0.5 0\nendcenters\n"
    "symmetry\nX1,X2,X3\n-x1, x2, -x3+1/2\n-x1,-x2,-x3\nx1,-x2,x3+1/2\nendsymmetry\n"
    "title Monoclinic test structure\nfbegin\n0 0 0 100.0 0 0\n1 1 0 12.5 0 0.5\n2 0 0 -3 0 0.1\nendf\n";

TEST(BayMemSymmetry, TranslationsTimesOperatorsAreTheTabulatedSet) {
    ScratchFile file(kC2c, "c2c.BayMEM");
    TestAnalysis d;
    ASSERT_TRUE(ReadQuietly(d, file.path(), kBayMem));
    EXPECT_EQ(d.unitCell.spgNumber, 15);
    EXPECT_STREQ(d.title, "Monoclinic");
    EXPECT_EQ(d.nRefF, 2);
    EXPECT_DOUBLE_EQ(d.targetMoment[0], 100.0);
    EXPECT_DOUBLE_EQ(d.weightF[0], 4.0);
    UnitCell table;
    std::copy(d.unitCell.cell, d.unitCell.cell + 6, table.cell);
    table.setSpgNumber(15, d.unitCell.spgSetting);
    table.createSymmetryOP();
    ASSERT_EQ(d.unitCell.symOp.size(), 8);
    EXPECT_EQ(keysOf(d.unitCell.symOp), keysOf(table.symOp));
}

TEST(BayMemSymmetry, SymbolDecidesWhenNoTranslationsAreGiven) {
    ScratchFile file(
        "cell 9.5 8.2 7.1 90 104.5 90\nspacegroup C2/c\nsymmetry\nx1,x2,x3\n"
        "endsymmetry\nvoxel 48 40 36\nfbegin\n1 1 0 12.5 0 0.5\n",
        "symbol.BayMEM");
    TestAnalysis d;
    ASSERT_TRUE(ReadQuietly(d, file.path(), kBayMem));
    EXPECT_EQ(d.unitCell.spgNumber, 15);
    EXPECT_EQ(d.unitCell.symOp.size(), 8);
    EXPECT_EQ(d.nRefF, 1);
    for (const char* line : {"dimension 2\n", "dimension\n", "dimension three\n"}) {
        ScratchFile refused(std::string("cell 5 5 5 90 90 90\n") + line, "dim.BayMEM");
        std::string messages;
        TestAnalysis e;
        EXPECT_FALSE(ReadQuietly(e, refused.path(), kBayMem, &messages)) << line;
        EXPECT_EQ(messages, "Dimension other than 3 is not supported.\nPress Enter key to exit.\n");
    }
}

// Descriptors open in this process: a reader that leaves by an early return
// must still close its file, or a long series of runs in one process (the
// prior companion, the tests) runs out of them.
int OpenDescriptors() {
    DIR* dir = opendir("/proc/self/fd");
    int count = 0;
    while (readdir(dir)) ++count;
    closedir(dir);
    return count;
}

TEST(Readers, EveryPathOutClosesTheFile) {
    struct Case {
        const char* name;
        int type;
        const char* text;
        bool read;
    };
    const Case cases[] = {
        {"ok.mem", kMem, "t\n5 5 5 90 90 90\nP 1\n1 1 8 8 8\n10 0\n1\n1 0 0 2 0 0.1\n0\n0\n", true},
        {"huge.mem", kMem, "t\n1e30 1e30 1e30 90 90 90\nP 1\n1 1 0 0 0\n10 0\n0\n0\n0\n", false},
        {"dim.BayMEM", kBayMem, "dimension 2\ncell 5 5 5 90 90 90\n", false},
        {"nof000.fcf", 6, "_cell_length_a 5\nloop_\n_refln_index_h\n", false},
        {"nocell.ffo", kFfo, "1 0 0 0 2 0 0 0 0 1\n", false},
    };
    for (const Case& c : cases) {
        ScratchFile file(c.text, c.name);
        TestAnalysis d;
        const int before = OpenDescriptors();
        EXPECT_EQ(ReadQuietly(d, file.path(), c.type), c.read) << c.name;
        EXPECT_EQ(OpenDescriptors(), before) << c.name;
    }
    ScratchFile conditions("$PREFERENCES\n\n# data\nname.unknown\n", "c.prf");
    MEMParam param;
    const int before = OpenDescriptors();
    EXPECT_FALSE(param.ReadConditions(conditions.path()));
    EXPECT_EQ(OpenDescriptors(), before);
}

const char kFosHeader[] = "Test\n5.0 5.0 5.0 90 90 90\nP 1\n10 10 10 1 1 P\n2.0 0.1\n100.0 0.0 0\n";

TEST(FosReader, WeightsFromCountsGroupsAndTheCaution) {
    // q = 0.1^2 / 2^2 = 0.0025; for |F| = 10 and Io = 400 the weight is
    // 1 / (25 (1/400 + 0.0025)) = 8. Io = 0 gives weight 0 and the caution.
    ScratchFile file(std::string(kFosHeader) +
                         "2\n1 0 0 10 0 10 400 -0.5\n0 1 0 5 0 5 0\n"
                         "1\n2\n1 1 0 7.0 0.5\n0 1 1\n1\n2 2 2\n",
                     "groups.fos");
    TestAnalysis d;
    std::string messages;
    ASSERT_TRUE(ReadQuietly(d, file.path(), kFos, &messages));
    EXPECT_EQ(messages, "Caution! Io is too small (< 1.0e-16). Io( 0  1  0)=0.000000E+00\n");
    ASSERT_EQ(d.nRefF, 2);
    EXPECT_NEAR(d.weightF[0], 8.0, 1e-5);
    EXPECT_EQ(d.weightF[1], 0.0);
    EXPECT_EQ(d.refWeight[0], -0.5);
    ASSERT_EQ(d.nGroups, 1);
    EXPECT_EQ(d.nRefG, 2);
    EXPECT_EQ(d.nRefE, 1);
    EXPECT_DOUBLE_EQ(d.Gobs[0], 7.0);
    // 1 / sigma^2 without the coefficient E, for the group and every member.
    for (double w : {d.weightG[0], d.weightF[2], d.weightF[3]}) EXPECT_FLOAT_EQ(w, 4.0f);

    std::string noScale = kFosHeader;
    noScale.erase(noScale.find("2.0 0.1\n"), 8);
    ScratchFile shifted(noScale + "1\n1 0 0 10 0 10 400\n0\n0\n", "noscale.fos");
    TestAnalysis e;
    EXPECT_TRUE(ReadQuietly(e, shifted.path(), kFos));
}

// An .ffo list without the cell of a control file is refused.
TEST(FfoReader, NeedsTheCellOfAControlFile) {
    TestAnalysis d;
    std::string messages;
    EXPECT_FALSE(ReadQuietly(d, kReaderData + "rutile.ffo", kFfo, &messages));
    EXPECT_NE(messages.find("no cell"), std::string::npos);
}

}  // namespace
