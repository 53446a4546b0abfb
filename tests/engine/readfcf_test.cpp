// The reader of refinement output (.fcf): column sets, the weak split, the
// operator loops and files that a scanner could stumble on.
#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "zspa_fixture.h"

namespace {

const std::string kHead =
    "data_x\n_exptl_crystal_F_000 100\n_cell_length_a 5.0(2)\n_cell_length_b 6\n_cell_length_c 7\n"
    "_cell_angle_alpha 90\n_cell_angle_beta 90\n_cell_angle_gamma 90\n";

std::string reflections(const std::string& columns, const std::string& rows) {
  return "loop_\n_refln_index_h\n_refln_index_k\n_refln_index_l\n" + columns + rows;
}

std::unique_ptr<MEMData3D> read(const ScratchFile& file, bool expected = true) {
  auto mem = AnalysisFor(file.path(), 6);
  mem->param.gridResolution = 0.5;
  CapturedOutput quiet;
  EXPECT_EQ(mem->ReadFCF(file.path()), expected);
  return mem;
}

// Each set holds one observed row, |F| = 4 with su(F) = 0.5 and direction 90
// degrees, and one weak row; the values follow the established transformations.
TEST(ReadFCF, ColumnSetsGiveMagnitudeDirectionAndWeight) {
  const std::string F = "_refln_F_meas\n_refln_F_sigma\n", F2 = "_refln_F_squared_meas\n_refln_F_squared_sigma\n";
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
    ScratchFile file(kHead + reflections(set.columns, set.rows), "x.fcf");
    auto mem = read(file);
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
    ScratchFile file(kHead + l.loop, "x.fcf");
    auto mem = read(file);
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
      {kHead + reflections(cols, "1 0 0 4 0.5 1\n"), 0},                        // six tokens
      {kHead + reflections(cols, "1 0 0 4 0.5 0 0\n"), 1},                      // A = B = 0
      {kHead + reflections(cols, "1 0 0 4 0 1 0\n"), 1},                        // sigma = 0
      {kHead + reflections(cols, "1 0 0 4 0.5 1 0"), 1},                        // no last line end
      {kHead + "loop_\n_atom_site_label\nZr1 Zr 0.1 0.2 0.3 0.01 1 Uani\n", 0},    // other content
      {kHead + reflections(cols, std::string(400, '7') + "\n"), 0},             // an overlong line
      {kHead + "loop_\n_symmetry_equiv_pos_site_id\n_symmetry_equiv_pos_as_xyz\n7", 0},
      {kHead + "_cell_length_a", 0},
      {kHead + "loop_\n_refln_index_h\n", 0},
  };
  for (const auto& f : files) {
    ScratchFile file(f.text, "x.fcf");
    auto mem = read(file);
    EXPECT_EQ(mem->nRefF, f.nRefF) << f.text;
  }
}

}  // namespace
