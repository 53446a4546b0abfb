// The readers of MEM data sets and of refinement output (.fcf) on
// well-formed, hand-edited and broken files: column sets, the weak split and
// the operator loops of the latter.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

#include "engine/analysis_fixture.h"
#include "engine/readers/ReadFCF.h"
#include "engine/readers/ReadMEM.h"

namespace {

std::vector<int> indices(const MEMData& mem, int i) {
    const int* h = mem.reflections[i]->hkl.item(0);
    return {h[0], h[1], h[2]};
}

// Title, cell, symmetry and grid, F(000) and lambda, then the three blocks,
// with comments, blank lines and all three kinds of line end.
const char* const kWellFormed =
    "  Monoclinic test crystal\r\n# cell\r\n5.0 6.0 7.0 90 100 90\rP 1 21/c 1\n\n14 1 20 24 28\n120.0 0.02\n"
    "3\n1 0 0  10.0 0.0 0.5\n   # a comment inside the block\n\n0 1.5 -1.5 -5.0 1.0 0.25 -2\n1 1 1 3.0 0.0 "
    "1.0 0.5\n"
    "2\n2\n2 0 0 7.0 0.5\n0 0 2\n1\n1 2 3 4.0 2.0\n"
    "2\n3 0 0\r\n0 3 0\r\nanything after the last block is ignored\n";

// Reads `text` as a data file of the given type, with E = 1 (or as given)
// and a grid step of 0.5 angstrom.
std::unique_ptr<MEMData3D> read(const std::string& text, int fileType = 3, float coefE = 1.0f) {
    ScratchFile file(text);
    auto mem = AnalysisFor(file.path(), fileType);
    mem->param.coefE = coefE;
    mem->param.gridResolution = 0.5;
    mem->param.lambda = 0.001;
    EXPECT_TRUE(ReadMEM(*mem, file.path()));
    return mem;
}

const std::string kHeader = "t\n2 2 2 90 90 90\nP 1\n1 1 4 4 4\n10 0\n";

TEST(ReadMEM, HeaderReflectionsGroupsAndListedOnes) {
    auto mem = read(kWellFormed, 3, 2.0f);
    EXPECT_STREQ(mem->title, "  Monoclinic test crystal");
    EXPECT_EQ(mem->unitCell.cell[4], 100.0f);
    EXPECT_EQ(std::vector<int>(mem->gridSize, mem->gridSize + 3), (std::vector<int>{20, 24, 28}));
    const double voxel = 5.0 * 6.0 * 7.0 * std::sin(100.0 * M_PI / 180.0) / (20 * 24 * 28);
    EXPECT_NEAR(mem->voxelVolume, voxel, 1e-5 * voxel);
    EXPECT_EQ(mem->targetMoment[0], 120.0);
    EXPECT_EQ(mem->param.lambda, 0.02);
    ASSERT_TRUE(LoadedTable().ok);
    EXPECT_EQ(mem->unitCell.spgNumber, 14);
    ASSERT_EQ(mem->nRefF, 3);
    EXPECT_EQ(indices(*mem, 1), (std::vector<int>{0, 2, -1}));  // 1.5 rounds up, -1.5 rounds up too
    EXPECT_EQ(mem->FobsIm[1], 1.0);
    // E / sigma^2 with E = 2; groups take the weight of their first member;
    // M is 1 when missing, |-2| and 0.5 as given.
    EXPECT_EQ(std::vector<double>(mem->weightF, mem->weightF + 6),
              (std::vector<double>{8.0, 32.0, 2.0, 8.0, 8.0, 0.5}));
    EXPECT_EQ(std::vector<double>(mem->refWeight, mem->refWeight + 6),
              (std::vector<double>{1.0, 2.0, 0.5, 1.0, 1.0, 1.0}));
    ASSERT_EQ(mem->nGroups, 2);
    EXPECT_EQ(mem->groupSize, (std::vector<int>{2, 1}));
    EXPECT_EQ(mem->Gobs[0], 7.0);
    EXPECT_DOUBLE_EQ(mem->weightG[1], 0.5);
    EXPECT_EQ(indices(*mem, 4), (std::vector<int>{0, 0, 2}));
    EXPECT_EQ(mem->nRefE, 2);
    ASSERT_EQ(mem->reflections.size(), 8);
    EXPECT_EQ(indices(*mem, 7), (std::vector<int>{0, 3, 0}));
    EXPECT_EQ(mem->refFobsRe, (std::vector<double>{0, 0}));
}

// The F(000) line by file type: a third value is ignored, a missing lambda keeps its setting.
TEST(ReadMEM, MomentLineByFileType) {
    const struct {
        int fileType;
        const char* line;
        double plus, minus, lambda;
    } cases[] = {{3, "50 0.03 7", 50, 0, 0.03},
                 {8, "50 0.03", 50, 0, 0.03},
                 {4, "23.2 -6.9 0.05", 23.2, -6.9, 0.05},
                 {4, "23.2 -6.9", 23.2, -6.9, 0.001},
                 {3, "50 0", 50, 0, 0.001}};
    for (const auto& c : cases) {
        auto mem =
            read(std::string("t\n1 1 1 90 90 90\nP 1\n1 1 4 4 4\n") + c.line + "\n0\n0\n0\n", c.fileType);
        EXPECT_EQ(mem->targetMoment[0], c.plus) << c.line;
        EXPECT_EQ(mem->targetMoment[1], c.minus) << c.line;
        EXPECT_EQ(mem->param.lambda, c.lambda) << c.line;
    }
}

// Broken files: nothing may crash, and the counts follow what was read. A
// block cut short ends the file; a last line without a line end repeats;
// lines with too few fields are counted and dropped.
TEST(ReadMEM, BrokenBlocks) {
    auto mem = read(kHeader + "5\n1 0 0 1 0 1\n0 1 0 2 0 1\n");
    EXPECT_EQ(mem->nRefF, 2);
    EXPECT_EQ(mem->nGroups + mem->nRefE, 0);
    EXPECT_EQ(mem->reflections.size(), 2);
    EXPECT_EQ(mem->Gobs, nullptr);

    mem = read(kHeader + "4\n1 0 0 1 0 1\n0 1 0 2 0 1");
    ASSERT_EQ(mem->reflections.size(), 4);
    EXPECT_EQ(indices(*mem, 3), (std::vector<int>{0, 1, 0}));
    EXPECT_EQ(mem->FobsRe[3], 2.0);

    mem = read(kHeader +
               "4\n1 0 0 1 0\n0 1 0 2 0 0\n0 0 1 3 0 1 -4\n1 1 0 4 0 2\n"  // five fields; sigma 0; weight -4
               "1\n1\n1 1 1 5 0.5\n2\n2 0 0\n0 2\n");                      // the second E line is too short
    ASSERT_EQ(mem->nRefF, 3);
    EXPECT_EQ(indices(*mem, 0), (std::vector<int>{0, 1, 0}));
    EXPECT_TRUE(std::isinf(mem->weightF[0]));
    EXPECT_EQ(mem->refWeight[1], 4.0);
    EXPECT_DOUBLE_EQ(mem->weightF[2], 0.25);
    EXPECT_EQ(mem->nGroups, 1);
    EXPECT_DOUBLE_EQ(mem->weightF[3], 4.0);
    EXPECT_EQ(mem->nRefE, 1);
    EXPECT_EQ(mem->refFobsRe.size(), 1u);

    // Group magnitudes are taken in file order from the member lines with five
    // fields: a second such line in one group shifts those after it, and each
    // member takes the latest sigma.
    mem = read(kHeader + "0\n2\n2\n1 0 0 7 0.5\n0 1 0 8 0.25\n1\n0 0 1 9 1\n0\n");
    ASSERT_EQ(mem->nGroups, 2);
    EXPECT_EQ(mem->Gobs[1], 8.0);
    EXPECT_DOUBLE_EQ(mem->weightG[1], 16.0);
    EXPECT_DOUBLE_EQ(mem->weightF[1], 16.0);

    // A file that ends in a comment without a line end leaves that comment in the line buffer.
    EXPECT_STREQ(read("# only a comment")->title, "# only a comment");
    EXPECT_STREQ(read("# only a comment\n")->title, "");
    EXPECT_EQ(read(kHeader + "2000000000\n1 0 0 1 0 1\n")->nRefF, 1);
    // Without a line end the last line repeats, but not without bound: here it
    // would give 2e9 groups of 1e6 members each.
    EXPECT_EQ(read(kHeader + "0\n2000000000\n1000000 0 0 1 0 1")->reflections.size(), 1000);
    mem = read(kHeader + "2\n1e300 -1e300 nan 1 0 1\n-3 -2 -1 1 0 1\n");
    ASSERT_EQ(mem->nRefF, 2);
    EXPECT_EQ(indices(*mem, 1), (std::vector<int>{-3, -2, -1}));
}

// A grid number below 1 on any axis (even with a positive product), or a grid
// too large to index, is chosen from the cell as if the line had none; a cell
// for which even the chosen grid cannot be indexed fails the read.
TEST(ReadMEM, UnusableGridNumbers) {
    for (const char* grid :
         {"1 1 -48 -48 32", "1 1 0 4 4", "1 1 100000 100000 100000", "1 1 2147483647 2147483647 2"}) {
        auto mem = read(std::string("t\n2 2 2 90 90 90\nP 1\n") + grid + "\n10 0\n0\n0\n0\n");
        EXPECT_EQ(std::vector<int>(mem->gridSize, mem->gridSize + 3), (std::vector<int>{4, 4, 4})) << grid;
    }
    CapturedOutput quiet;
    ScratchFile file("t\n1e8 1e8 1e8 90 90 90\nP 1\n1 1 0 0 0\n10 0\n1\n1 0 0 1 0 1\n0\n0\n");
    auto mem = AnalysisFor(file.path(), 3);
    mem->param.gridResolution = 0.1;
    EXPECT_FALSE(ReadMEM(*mem, file.path()));
    EXPECT_NE(quiet.all().find("too large"), std::string::npos);
}

// Refinement output.
const std::string kHead =
    "data_x\n_exptl_crystal_F_000 100\n_cell_length_a 5.0(2)\n_cell_length_b 6\n_cell_length_c 7\n"
    "_cell_angle_alpha 90\n_cell_angle_beta 90\n_cell_angle_gamma 90\n";

std::string reflections(const std::string& columns, const std::string& rows) {
    return "loop_\n_refln_index_h\n_refln_index_k\n_refln_index_l\n" + columns + rows;
}

std::unique_ptr<MEMData3D> readFcf(const std::string& text) {
    ScratchFile file(text, "x.fcf");
    auto mem = AnalysisFor(file.path(), 6);
    mem->param.gridResolution = 0.5;
    CapturedOutput quiet;
    EXPECT_TRUE(ReadFCF(*mem, file.path()));
    return mem;
}

// Each set holds one observed row, |F| = 4 with su(F) = 0.5 and direction 90
// degrees, and one weak row; the values follow the established transformations.
TEST(ReadFCF, ColumnSetsGiveMagnitudeDirectionAndWeight) {
    const std::string F = "_refln_F_meas\n_refln_F_sigma\n",
                      F2 = "_refln_F_squared_meas\n_refln_F_squared_sigma\n";
    const std::string AB = "_refln_A_calc\n_refln_B_calc\n", phase = "_refln_F_calc\n_refln_phase_calc\n";
    const double su2 = 0.5 * 4 * std::sqrt(2.0);  // su(F^2) that the reader turns into su(F) = 0.5
    const struct {
        std::string columns, rows;
    } sets[] = {
        {F + AB, "1 0 0 4 0.5 0 5\n2 0 0 1 0.5 3 0\n"},
        {F + phase, "1 0 0 4 0.5 5 90\n2 0 0 1 0.5 3 0\n"},
        {F2 + AB, "1 0 0 16 " + std::to_string(su2) + " 0 5\n2 0 0 -3 1 3 0\n"},
        {F2 + phase, "1 0 0 16 " + std::to_string(su2) + " 5 90\n2 0 0 -3 1 3 0\n"},
    };
    for (const auto& set : sets) {
        auto mem = readFcf(kHead + reflections(set.columns, set.rows));
        SCOPED_TRACE(set.columns);
        ASSERT_EQ(mem->nRefF, 1);
        ASSERT_EQ(mem->nRefE, 1);
        EXPECT_NEAR(mem->FobsRe[0], 0.0, 1e-6);
        EXPECT_NEAR(mem->FobsIm[0], 4.0, 1e-6);
        EXPECT_NEAR(mem->weightF[0], 4.0, 1e-4);
        EXPECT_EQ(mem->reflections[1]->hkl.item(0)[0], 2);  // the weak row follows the observed ones
        EXPECT_EQ(mem->refFobsSigma.size(), 1u);
    }
}

TEST(ReadFCF, OperatorLoopsChooseTheSetting) {
    const struct {
        std::string loop, symbol;
        int nOps;
    } loops[] = {
        {"loop_ _symmetry_equiv_pos_site_id _symmetry_equiv_pos_as_xyz\n1 '-x,-y,-z'\n2 x,y,z\n3 -x,-y,-z\n",
         "P -1", 2},
        {"loop_\n_space_group_symop_operation_xyz\n'-x+1/2,-y,-z'\n'x,y,z'\n", "Custom", 2},
        {"loop_\n_space_group_symop_operation_xyz\n'x,y,z'\n'-x_1,-y,-z'\n'-x,-y,-z'\n", "P 1", 1},
    };
    for (const auto& l : loops) {
        auto mem = readFcf(kHead + l.loop);
        const UnitCell& uc = mem->unitCell;
        EXPECT_STREQ(uc.spgName, l.symbol.c_str()) << l.loop;
        ASSERT_EQ(uc.symOp.size(), l.nOps) << l.loop;
        EXPECT_EQ(static_cast<const Matrix4D*>(uc.symOp[0])->Compare(Matrix4D::E), 0) << l.loop;
    }
}

// Files that a scanner could stumble on read to an end without a fault.
TEST(ReadFCF, MalformedFilesReadCleanly) {
    const std::string cols = "_refln_F_meas\n_refln_F_sigma\n_refln_A_calc\n_refln_B_calc\n";
    const struct {
        std::string text;
        int nRefF;
    } files[] = {
        {kHead + reflections(cols, "1 0 0 4 0.5 1\n"), 0},                         // six tokens
        {kHead + reflections(cols, "1 0 0 4 0.5 0 0\n"), 1},                       // A = B = 0
        {kHead + reflections(cols, "1 0 0 4 0 1 0\n"), 1},                         // sigma = 0
        {kHead + reflections(cols, "1 0 0 4 0.5 1 0"), 1},                         // no last line end
        {kHead + "loop_\n_atom_site_label\nZr1 Zr 0.1 0.2 0.3 0.01 1 Uani\n", 0},  // other content
        {kHead + reflections(cols, std::string(400, '7') + "\n"), 0},              // an overlong line
        {kHead + "loop_\n_symmetry_equiv_pos_site_id\n_symmetry_equiv_pos_as_xyz\n7", 0},
        {kHead + "_cell_length_a", 0},
        {kHead + "loop_\n_refln_index_h\n", 0},
    };
    for (const auto& f : files) {
        auto mem = readFcf(f.text);
        EXPECT_EQ(mem->nRefF, f.nRefF) << f.text;
    }
}

}  // namespace
