// The prior companion on the bundled rutile examples: what the written prior must be, and what it refuses.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <fstream>

#include "common/SpaceGroupTable.h"
#include "common/TempDir.h"
#include "map/CellDensity.h"
#include "engine/blocks/GridSymmetry.h"
#include "prior/AnalysisGrid.h"
#include "prior/MakePrior.h"
#include "prior/ModelSetting.h"
#include "prior/PriorError.h"
#include "prior/SettingChange.h"

namespace {

const std::string kExamples = std::string(HALVORIN_SOURCE_DIR) + "/examples/";
const std::string kData = std::string(HALVORIN_TEST_DATA) + "/prior/";

// A scratch copy of an example's condition file and data set; returns the .prf.
std::string CopyExample(const TempDir& dir, const std::string& name) {
    for (const char* ext : {".prf", ".mem"})
        WriteText(dir.file(name + ext), ReadText(kExamples + name + ext));
    return dir.file(name + ".prf");
}

PriorWritten Make(const std::string& model, const std::string& data, double w = 0.35, bool neutron = false) {
    EXPECT_TRUE(LoadedTable().ok);
    PriorOptions o;
    o.model = model;
    o.data = data;
    o.uniformFraction = w;
    o.neutron = neutron;
    return MakePrior(o, nullptr);
}

CellDensity ReadBack(const std::string& path) { return ExpandToCell(ReadPgridContent(path)); }

double Integral(const std::vector<float>& values, double voxelVolume) {
    double sum = 0.0;
    for (float v : values) sum += v;
    return sum * voxelVolume;
}

// Whether the largest value within three voxels of the atom at `frac` lies
// within one voxel of the grid point nearest to it.
bool PeaksAt(const CellDensity& d, const std::vector<float>& values, const double* frac) {
    const std::array<int, 3>& n = d.gridSize;
    int centre[3], best[3] = {0, 0, 0};
    for (int i = 0; i < 3; ++i) centre[i] = static_cast<int>(std::lround(frac[i] * n[i]));
    float highest = -1e30f;
    for (int dz = -3; dz <= 3; ++dz)
        for (int dy = -3; dy <= 3; ++dy)
            for (int dx = -3; dx <= 3; ++dx) {
                const float v =
                    values[d.Index(WrapIndex(centre[0] + dx, n[0]), WrapIndex(centre[1] + dy, n[1]),
                                   WrapIndex(centre[2] + dz, n[2]))];
                if (v > highest) highest = v, best[0] = dx, best[1] = dy, best[2] = dz;
            }
    return std::abs(best[0]) <= 1 && std::abs(best[1]) <= 1 && std::abs(best[2]) <= 1;
}

}  // namespace

// The X-ray prior of rutile: F(000) in the cell, positive, with its peaks at
// Ti (0 0 0), (1/2 1/2 1/2) and the four O sites, and the blend honoured:
// no density falls below the uniform part W F(000) / V.
TEST(ProcrystalPrior, XrayPriorIntegratesToF000AndPeaksAtTheAtoms) {
    TempDir dir;
    const PriorWritten w = Make(kExamples + "rutile.cif", CopyExample(dir, "rutile"));
    EXPECT_EQ(w.path, dir.file("rutile_prior.pgrid"));
    const CellDensity d = ReadBack(w.path);
    const std::vector<float> rho = d.Values(Channel::Positive);
    EXPECT_NEAR(Integral(rho, d.VoxelVolume()), 76.0, 76.0 * 1e-5);
    const float lowest = *std::min_element(rho.begin(), rho.end());
    EXPECT_GT(lowest, 0.35 * 76.0 / d.Volume() * (1 - 1e-6));
    const double x = 0.30478;
    const double atoms[6][3] = {{0, 0, 0},         {0.5, 0.5, 0.5},         {x, x, 0},
                                {1 - x, 1 - x, 0}, {0.5 + x, 0.5 - x, 0.5}, {0.5 - x, 0.5 + x, 0.5}};
    for (const auto& a : atoms) EXPECT_TRUE(PeaksAt(d, rho, a)) << a[0] << " " << a[1] << " " << a[2];
    // Ti (22 electrons) stands far above O (8).
    EXPECT_GT(rho[0], 3.0f * rho[d.Index(std::lround(x * 48), std::lround(x * 48), 0)]);
}

// The neutron prior has two channels, each with its own total: Ti's negative
// scattering length in the negative one, O in the positive one.
TEST(ProcrystalPrior, NeutronPriorFillsBothChannelsWithTheirTotals) {
    TempDir dir;
    const PriorWritten w = Make(kExamples + "rutile.cif", CopyExample(dir, "rutile_n"), 0.2, true);
    const CellDensity d = ReadBack(w.path);
    ASSERT_EQ(d.nChannel, 2);
    const std::vector<float> plus = d.Values(Channel::Positive), minus = d.Values(Channel::Negative);
    EXPECT_NEAR(Integral(plus, d.VoxelVolume()), 23.212, 1e-3);
    EXPECT_NEAR(Integral(minus, d.VoxelVolume()), -6.876, 1e-3);
    EXPECT_GT(*std::min_element(plus.begin(), plus.end()), 0.0f);
    EXPECT_LT(*std::max_element(minus.begin(), minus.end()), 0.0f);
    const double ti[3] = {0, 0, 0}, o[3] = {0.30478, 0.30478, 0};
    std::vector<float> depth(minus.size());
    for (size_t i = 0; i < minus.size(); ++i) depth[i] = -minus[i];
    EXPECT_TRUE(PeaksAt(d, depth, ti));
    EXPECT_TRUE(PeaksAt(d, plus, o));
}

// The procrystal sum itself is invariant under every operator of the group at
// every grid point, on the grid of the analysis.
TEST(ProcrystalPrior, DensityIsInvariantUnderTheGroupAtEveryPoint) {
    ASSERT_TRUE(LoadedTable().ok);
    TempDir dir;
    std::unique_ptr<MEMData3D> mem = LoadAnalysis(CopyExample(dir, "rutile"), false);
    const AtomModel model = ReadModel(kExamples + "rutile.cif");
    const std::vector<int> gridOps = MakeGridOperators(mem->unitCell.symOp, mem->gridSize);
    const ProcrystalGrids g = ComputeProcrystal(model, model.sites, AnalysisCell(*mem), mem->gridSize,
                                                DataOperators(mem->unitCell.symOp), gridOps, Radiation::Xray);
    const int* n = mem->gridSize;
    int worst = 0;
    for (size_t k = 0; k < gridOps.size() / 16; ++k) {
        const int* o = &gridOps[16 * k];
        for (int z = 0; z < n[2]; ++z)
            for (int y = 0; y < n[1]; ++y)
                for (int x = 0; x < n[0]; ++x) {
                    const int xi = WrapIndex(o[0] * x + o[4] * y + o[8] * z + o[12], n[0]);
                    const int yi = WrapIndex(o[1] * x + o[5] * y + o[9] * z + o[13], n[1]);
                    const int zi = WrapIndex(o[2] * x + o[6] * y + o[10] * z + o[14], n[2]);
                    const double a = g.plus[x + n[0] * (y + n[1] * z)],
                                 b = g.plus[xi + n[0] * (yi + n[1] * zi)];
                    if (std::fabs(a - b) > 1e-12 * std::fabs(a) + 1e-300) ++worst;
                }
    }
    EXPECT_EQ(worst, 0);
}

// A database file in another origin, a SHELX file whose occupancies hold the
// site-symmetry fractions, and ZrO2 in two other settings of P 21/c (a cell
// choice with beta 139 degrees, and axes permuted with c unique; written from
// the Cartesian U) give the prior of the model in the data's setting.
TEST(ProcrystalPrior, OtherOriginSettingAndShelxModelGiveTheSamePrior) {
    TempDir dir;
    const std::string rutile = CopyExample(dir, "rutile");
    const std::string zro2 =
        dir.write("zro2.mem", ReadText(std::string(HALVORIN_TEST_DATA) + "/fcf/zro2.mem"));
    const std::vector<std::array<std::string, 3>> cases = {
        {kExamples + "rutile.cif", rutile, kData + "rutile_shifted.cif"},
        {kExamples + "rutile.cif", rutile, kData + "rutile.res"},
        {kData + "zro2.cif", zro2, kData + "zro2_p21n.cif"},
        {kData + "zro2.cif", zro2, kData + "zro2_p1121a.cif"},
    };
    for (const auto& c : cases) {
        const CellDensity reference = ReadBack(Make(c[0], c[1]).path);
        const CellDensity d = ReadBack(Make(c[2], c[1]).path);
        ASSERT_EQ(d.positive.size(), reference.positive.size()) << c[2];
        float worst = 0.0f;
        for (size_t i = 0; i < d.positive.size(); ++i)
            worst = std::max(worst, std::fabs(d.positive[i] - reference.positive[i]) / reference.positive[i]);
        EXPECT_LT(worst, 1e-4f) << c[2];
    }
}

// Rhombohedral axes go to hexagonal ones: a_h = 2 a_r sin(alpha / 2),
// c_h = a_r sqrt(3 + 6 cos(alpha)), three times the operators, and the same
// mean square displacement; an enantiomorph is no setting of the group.
TEST(ProcrystalPrior, RhombohedralModelTakesHexagonalAxesAndEnantiomorphsAreRefused) {
    auto ops = [](const char* name) {
        return gemmi::find_spacegroup_by_name(name)->operations().all_ops_sorted();
    };
    AtomModel model;
    model.cell = gemmi::UnitCell(5.0, 5.0, 5.0, 70.0, 70.0, 70.0);
    model.ops = ops("R -3 m:R");
    ModelSite site;
    site.fract = gemmi::Fractional(0.1, 0.2, 0.3);
    site.anisotropic = true;
    site.uCif = {0.010, 0.012, 0.014, 0.002, -0.001, 0.003};
    model.sites = {site};
    const std::optional<gemmi::Op> c = SettingChange(model.ops, ops("R -3 m:H"));
    ASSERT_TRUE(c.has_value());
    const AtomModel hex = ChangedBasis(model, *c);
    const double alpha = 70.0 * M_PI / 180.0;
    EXPECT_NEAR(hex.cell.a, 10.0 * std::sin(alpha / 2), 1e-9);
    EXPECT_NEAR(hex.cell.c, 5.0 * std::sqrt(3.0 + 6.0 * std::cos(alpha)), 1e-9);
    EXPECT_NEAR(hex.cell.gamma, 120.0, 1e-9);
    EXPECT_EQ(hex.ops.size(), 36u);
    const gemmi::SMat33<double> before = DisplacementOf(model.sites[0], model.cell).uCart;
    const gemmi::SMat33<double> after = DisplacementOf(hex.sites[0], hex.cell).uCart;
    EXPECT_NEAR(before.trace(), after.trace(), 1e-12);
    EXPECT_NEAR(before.determinant(), after.determinant(), 1e-15);
    EXPECT_FALSE(SettingChange(ops("P 41 21 2"), ops("P 43 21 2")).has_value());
}

// Each refusal is one line, and nothing is written.
TEST(ProcrystalPrior, RefusesModelsAndDataItCannotUse) {
    TempDir dir;
    const std::string prf = CopyExample(dir, "rutile");
    const std::string cif = ReadText(kExamples + "rutile.cif");
    auto variant = [&](const std::string& from, const std::string& to, const std::string& name) {
        std::string text = cif;
        text.replace(text.find(from), from.size(), to);
        return dir.write(name, text);
    };
    const std::vector<std::pair<std::string, std::string>> cases = {
        {variant("_cell_length_c 2.9587", "_cell_length_c 3.0", "long.cif"), prf},
        {variant("_cell_angle_gamma 90.0", "_cell_angle_gamma 90.6", "angle.cif"), prf},
        {dir.write("p1.cif",
                   cif.substr(0, cif.find("'-y+1/2")) + cif.substr(cif.find("loop_\n_atom_site_label"))),
         prf},
        {dir.write("empty.cif", cif.substr(0, cif.find("loop_\n_atom_site_label"))), prf},
        {variant("O1 O ", "O1 Qq ", "element.cif"), prf},
        {kExamples + "rutile.cif", dir.file("absent.prf")},
        {kExamples + "rutile.cif", dir.file("rutile.hkl2")},
    };
    for (const auto& c : cases) {
        try {
            Make(c.first, c.second);
            ADD_FAILURE() << c.first << " accepted";
        } catch (const PriorError& e) {
            EXPECT_EQ(std::string(e.what()).find('\n'), std::string::npos) << e.what();
        }
        EXPECT_FALSE(std::ifstream(dir.file("rutile_prior.pgrid")).good()) << c.first;
    }
    // A cell within the tolerances is taken, with a note.
    EXPECT_NO_THROW(Make(variant("_cell_length_c 2.9587", "_cell_length_c 2.96", "near.cif"), prf));
    // W outside [0, 1] and a missing argument are refused by the command line.
    for (std::vector<const char*> args : {std::vector<const char*>{"p", "m.cif", "d.mem", "-w", "1.5"},
                                          std::vector<const char*>{"p", "m.cif", "d.mem", "-w", "-0.1"},
                                          std::vector<const char*>{"p", "m.cif"}})
        EXPECT_THROW(ParsePriorOptions(static_cast<int>(args.size()), const_cast<char**>(args.data())),
                     PriorError);
}
