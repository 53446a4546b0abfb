// The files of a finished analysis: density grid, restart and prior, feedback list and report.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include "mem/GridFile.h"
#include "zspa_fixture.h"

namespace {

// A reader of the grid file written for these tests alone, from the layout:
// 152 header bytes, an optional operator block, then per voxel an optional
// index and the values.
struct GridFileContents {
    int32_t version[4];
    char title[80];
    int32_t constant, gridType, nChannel, dimension, grid[3], nAsym;
    float cell[6];
    std::vector<int32_t> ops;  // 12 per operator
    std::vector<int32_t> index;
    std::vector<float> values;
    size_t bytes = 0;
};

GridFileContents ReadGrid(const std::string& path, int valuesPerVoxel) {
    GridFileContents g;
    std::string raw = ReadText(path);
    g.bytes = raw.size();
    const char* p = raw.data();
    auto take = [&](void* to, size_t n) {
        std::memcpy(to, p, n);
        p += n;
    };
    take(g.version, 16);
    take(g.title, 80);
    for (int32_t* field : {&g.constant, &g.gridType, &g.nChannel, &g.dimension, &g.grid[0], &g.grid[1],
                           &g.grid[2], &g.nAsym})
        take(field, 4);
    take(g.cell, 24);
    if (g.gridType == 1) {
        int32_t nOps, zero, nOrigins;
        take(&nOps, 4);
        take(&zero, 4);
        take(&nOrigins, 4);
        g.ops.resize(12 * nOps);
        take(g.ops.data(), 48 * nOps);
        p += 12 * nOrigins;
    }
    for (int v = 0; v < g.nAsym; ++v) {
        if (g.gridType == 1) {
            int32_t i;
            take(&i, 4);
            g.index.push_back(i);
        }
        for (int c = 0; c < valuesPerVoxel; ++c) {
            float x;
            take(&x, 4);
            g.values.push_back(x);
        }
    }
    return g;
}

// A converged analysis of the synthetic P 1 data set in `dir`.
void Converge(TestAnalysis& d, const TempDir& dir, const int* grid = nullptr) {
    WriteP1DataSet(dir.file("model.mem"), grid);
    Prepare(d, dir.file("model.mem"));
    CapturedOutput quiet;
    d.ZSPA(d.param.maxCycles);
}

std::vector<float> Densities(const MEMData3D& d) {
    std::vector<float> values;
    for (ThreadData* b : d.threads)
        for (int v = 0; v < b->nVoxel; ++v) values.push_back(static_cast<float>(b->rho1[v] / d.voxelVolume));
    return values;
}

// Converges the synthetic data set of `dir`, writes its grid file (under
// another name when given) and returns the densities written. The analysis
// is gone on return: the FFT library's global state allows one at a time.
std::vector<float> WriteConvergedGrid(const TempDir& dir, const std::string& name = "",
                                      const int* grid = nullptr) {
    TestAnalysis d;
    Converge(d, dir, grid);
    if (!name.empty()) d.param.gridFile = dir.file(name);
    EXPECT_EQ(d.WritePgrid(), 0);
    return Densities(d);
}

}  // namespace

TEST(GridFile, TriclinicFileHoldsHeaderAndValuesOnly) {
    TempDir dir;
    TestAnalysis d;
    Converge(d, dir);
    ASSERT_EQ(d.WritePgrid(), 0);
    GridFileContents g = ReadGrid(d.param.gridFile, 1);
    EXPECT_EQ(g.bytes, 152u + 4u * 16 * 18 * 20);
    EXPECT_EQ(g.version[0], 3);
    EXPECT_EQ(g.version[3], 0);
    EXPECT_STREQ(g.title, "Synthetic two-atom model in P 1");
    EXPECT_EQ(g.constant, 1);
    EXPECT_EQ(g.gridType, 0);
    EXPECT_EQ(g.nChannel, 1);
    EXPECT_EQ(g.dimension, 3);
    EXPECT_EQ(std::vector<int>(g.grid, g.grid + 3), std::vector<int>({16, 18, 20}));
    EXPECT_EQ(g.nAsym, 16 * 18 * 20);
    EXPECT_FLOAT_EQ(g.cell[1], 4.5f);
    EXPECT_FLOAT_EQ(g.cell[5], 90.0f);
    EXPECT_EQ(g.values, Densities(d));
    // Per cubic angstrom in the file: the cell holds the 12 electrons.
    double electrons = 0.0;
    for (float x : g.values) electrons += x * d.voxelVolume;
    EXPECT_NEAR(electrons, 12.0, 1e-4);
    EXPECT_EQ(PgridFileSize(0, 1, 1, g.nAsym), static_cast<long>(g.bytes));
}

TEST(GridFile, SymmetricFileCarriesOperatorsAndVoxelIndices) {
    // Rutile, P 42/m n m: 16 operators, among them (-y+1/2, x+1/2, z+1/2).
    TempDir dir;
    TestAnalysis d;
    Prepare(d, CopyExample(dir, "rutile"));
    CapturedOutput quiet;
    d.ZSPA(60);
    ASSERT_EQ(d.WritePgrid(), 0);
    GridFileContents g = ReadGrid(d.param.gridFile, 1);
    const int nOps = 16, nx = 48, ny = 48, nz = 32;
    EXPECT_EQ(g.bytes, 152u + 12 + 48 * nOps + 12 + 8u * g.nAsym);
    EXPECT_EQ(g.gridType, 1);
    ASSERT_EQ(g.ops.size(), 12u * nOps);
    EXPECT_EQ(std::vector<int32_t>(g.ops.begin(), g.ops.begin() + 12),
              std::vector<int32_t>({1, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0}));
    std::set<std::vector<int32_t>> ops;
    for (int n = 0; n < nOps; ++n) ops.insert(std::vector<int32_t>(g.ops.begin() + 12 * n, g.ops.begin() + 12 * n + 12));
    // Columns of the rotation x' = -y, y' = x, z' = z, then the shift in voxels.
    EXPECT_EQ(ops.count({0, 1, 0, -1, 0, 0, 0, 0, 1, nx / 2, ny / 2, nz / 2}), 1u);

    // Orbit sizes from the file's own operators, by brute force: every voxel
    // is positive and the orbits together hold F(000) = 76 electrons.
    std::set<int32_t> seen;
    double electrons = 0.0;
    for (int v = 0; v < g.nAsym; ++v) {
        int32_t i = g.index[v];
        int x = i % (nx + 1), y = (i / (nx + 1)) % (ny + 1), z = i / ((nx + 1) * (ny + 1));
        std::set<std::tuple<int, int, int>> orbit;
        for (int n = 0; n < nOps; ++n) {
            const int32_t* o = &g.ops[12 * n];
            int X = o[0] * x + o[3] * y + o[6] * z + o[9];
            int Y = o[1] * x + o[4] * y + o[7] * z + o[10];
            int Z = o[2] * x + o[5] * y + o[8] * z + o[11];
            orbit.insert({((X % nx) + nx) % nx, ((Y % ny) + ny) % ny, ((Z % nz) + nz) % nz});
        }
        EXPECT_TRUE(seen.insert(i).second) << "voxel listed twice";
        EXPECT_GT(g.values[v], 0.0f);
        electrons += orbit.size() * g.values[v] * d.voxelVolume;
    }
    EXPECT_NEAR(electrons, 76.0, 1e-3);
}

TEST(GridFile, RestartStartsFromTheWrittenDensity) {
    TempDir dir;
    std::vector<float> written = WriteConvergedGrid(dir);

    TestAnalysis second;
    second.param.startType = 1;
    Prepare(second, dir.file("model.mem"));
    EXPECT_EQ(second.param.startType, 1);
    size_t k = 0;
    for (ThreadData* b : second.threads)
        for (int v = 0; v < b->nVoxel; ++v, ++k) {
            float r = static_cast<float>(written[k] * second.voxelVolume);
            EXPECT_EQ(b->rho1Old[v], r);
            EXPECT_EQ(b->rho1[v], r);
        }
    EXPECT_LT(second.constr0, 1.01);
}

TEST(GridFile, ARestartFileOfAnotherGridIsRefused) {
    TempDir dir;
    const int other[3] = {16, 18, 22};
    WriteConvergedGrid(dir, "", other);

    WriteP1DataSet(dir.file("model.mem"));
    TestAnalysis second;
    second.param.startType = 1;
    std::string errors;
    Prepare(second, dir.file("model.mem"), &errors);
    const std::string data = dir.file("model.mem"), grid = dir.file("model.pgrid");
    EXPECT_EQ(errors, "Error! Number of voxels are inconsistent.\n"
                            "MEM input file: 16 x 18 x 20, (NASYM=5760): (" + data + ")\n"
                            "Voxel data file: 16 x 18 x 22, (NASYM=6336): (" + grid + ")\n"
                            "The calculation will be started from flat densities.\n"
                            "Press Enter key to continue.\n");
    EXPECT_EQ(second.param.startType, 1);
    EXPECT_DOUBLE_EQ(second.threads[0]->rho1Old[0], 12.0 / 5760);
}

TEST(GridFile, AMissingRestartFileMeansAFreshStart) {
    TempDir dir;
    WriteP1DataSet(dir.file("model.mem"));
    TestAnalysis d;
    d.param.startType = 1;
    std::string errors;
    Prepare(d, dir.file("model.mem"), &errors);
    EXPECT_EQ(errors, "Failed to read density data of previous run: " + dir.file("model.pgrid") + "\n"
                            "The calculation will be started from flat densities.\n"
                            "Press Enter key to continue.\n");
    EXPECT_EQ(d.param.startType, 0);
}

TEST(GridFile, PriorComesFromTheUnderscorePriorFile) {
    EXPECT_EQ(PriorFileName("/a/b.c/model.pgrid"), "/a/b.c/model_prior.pgrid");
    EXPECT_EQ(PriorFileName("/a/b.c/model"), "/a/b_prior.pgrid");

    TempDir dir;
    std::vector<float> written = WriteConvergedGrid(dir, "model_prior.pgrid");
    {
        TestAnalysis second;
        second.param.priorType = 1;
        Prepare(second, dir.file("model.mem"));
        EXPECT_EQ(second.param.priorType, 1);
        size_t k = 0;
        for (ThreadData* b : second.threads)
            for (int v = 0; v < b->nVoxel; ++v, ++k)
                EXPECT_EQ(b->prior1[v], static_cast<float>(written[k] * second.voxelVolume));
        // Without a restart the prior also seeds the start: the leading nVoxel
        // bytes of each density array, the rest staying flat.
        ThreadData* b = second.threads[0];
        ASSERT_GE(b->nVoxel, 16);
        EXPECT_EQ(b->rho1Old[0], b->prior1[0]);
        EXPECT_EQ(b->rho1[b->nVoxel / 8 - 1], b->prior1[b->nVoxel / 8 - 1]);
        EXPECT_DOUBLE_EQ(b->rho1Old[b->nVoxel - 1], 12.0 / 5760);
    }

    std::remove(dir.file("model_prior.pgrid").c_str());
    TestAnalysis missing;
    missing.param.priorType = 1;
    std::string errors;
    Prepare(missing, dir.file("model.mem"), &errors);
    EXPECT_EQ(errors, "Failed to read prior data " + dir.file("model_prior.pgrid") + "\n"
                      "Flat prior will be used.\nPress Enter key to continue.\n");
    EXPECT_EQ(missing.param.priorType, 0);
}

TEST(GridFile, DamagedFilesReadWithoutHarm) {
    // Truncated after the header, and a header that claims huge reserved and
    // operator blocks: both read to the end of the file and stop.
    TempDir dir;
    WriteConvergedGrid(dir);
    const std::string gridFile = dir.file("model.pgrid");
    std::string whole = ReadText(gridFile);
    auto put = [](std::string& bytes, size_t at, int32_t value) { std::memcpy(&bytes[at], &value, 4); };
    std::string claims = whole;
    put(claims, 12, 1 << 30);  // reserved bytes
    std::string operators = whole;
    put(operators, 100, 1);            // gridType 1
    put(operators, 152, 0x7fffffff);   // operator count
    for (const std::string& broken : {whole.substr(0, 200), whole.substr(0, 60), claims, operators}) {
        WriteText(gridFile, broken);
        TestAnalysis d;
        d.param.startType = 1;
        Prepare(d, dir.file("model.mem"));
        EXPECT_EQ(d.nVoxelCell, 16 * 18 * 20);
    }
}

TEST(FeedbackFile, ListsTheCalculatedFactorsAsChosen) {
    TempDir dir;
    TestAnalysis d;
    Converge(d, dir);
    for (int choice : {0, 1}) {
        d.param.feedbackOutput = choice;
        ASSERT_EQ(d.WriteFba(), 0);
        std::vector<std::string> lines = Lines(ReadText(d.param.feedbackFile));
        const int n = choice == 0 ? d.nRefF : d.nRefF + d.nRefG + d.nRefE;
        ASSERT_EQ(static_cast<int>(lines.size()), n + 3);
        EXPECT_EQ(lines[0], "$FB-MEM-DATA");
        EXPECT_EQ(lines[1], std::to_string(n));
        EXPECT_EQ(lines.back(), "");
        for (int i = 0; i < n; ++i) {
            int h, k, l;
            double a, b;
            ASSERT_EQ(sscanf(lines[2 + i].c_str(), "%d %d %d %lf %lf", &h, &k, &l, &a, &b), 5);
            const StructureFactor& r = *d.reflections[i];
            EXPECT_EQ(h, r.hkl.item(0)[0]);
            EXPECT_EQ(l, r.hkl.item(0)[2]);
            EXPECT_NEAR(a, r.A, 1e-6 * std::fabs(r.A) + 1e-300);
            EXPECT_NEAR(b, r.B, 1e-6 * std::fabs(r.B) + 1e-300);
        }
    }
    std::remove(d.param.feedbackFile.c_str());
    d.param.feedbackOutput = 2;
    CapturedOutput quiet;
    d.PostCalculation();
    EXPECT_FALSE(Exists(d.param.feedbackFile));
    EXPECT_TRUE(Exists(d.param.outFile));
    EXPECT_TRUE(Exists(d.param.epsFile));
}

TEST(Report, ListsEveryReflectionWithTheDataOfTheFile) {
    TempDir dir;
    TestAnalysis d;
    Converge(d, dir);
    CapturedOutput quiet;
    d.PostCalculation();
    std::vector<std::string> lines = Lines(ReadText(d.param.outFile));
    ASSERT_FALSE(lines.empty());
    EXPECT_EQ(lines[0], " Halvorin ver. 1.0");
    auto at = [&](const std::string& text) {
        for (size_t i = 0; i < lines.size(); ++i)
            if (lines[i] == text) return static_cast<int>(i);
        return -1;
    };
    EXPECT_GE(at("                      MEM data set file: " + dir.file("model.mem")), 0);
    EXPECT_GE(at("  Space group: P 1"), 0);
    EXPECT_GE(at("        Number of voxels in the unit cell = 5760 (16 X 18 X 20)"), 0);
    EXPECT_EQ(at(" ********************************* Warning! ********************************* "), -1);
    EXPECT_GE(at("      The constraints have been satisfied."), 0);
    EXPECT_GE(at("  Information Entropy (+) = " + [&] {
                  char s[32];
                  snprintf(s, sizeof s, "%14.7E", d.entropyPlus / 12.0);
                  return std::string(s);
              }()),
              0);

    // The individual list: one row per F line of the data set, in its order,
    // with multiplicity 1 in P 1 and the normalised residual of the row's values.
    int head = at(" ************************* List of structure factors ************************ ");
    ASSERT_GE(head, 0);
    SyntheticDataSet set = WriteP1DataSet(dir.file("again.mem"));
    for (int i = 0; i < set.nRefF; ++i) {
        int h, k, l, m;
        double fr, fi, cr, ci, ds, sigma, w;
        ASSERT_EQ(sscanf(lines[head + 2 + i].c_str(), "%d %d %d %lf %lf %lf %lf %lf %lf %d %lf", &h, &k, &l,
                         &fr, &fi, &cr, &ci, &ds, &sigma, &m, &w),
                  11)
            << lines[head + 2 + i];
        EXPECT_EQ(std::vector<int>({h, k, l}), set.hkl[i]);
        EXPECT_EQ(m, 1);
        double expected = (std::hypot(fr, fi) - std::hypot(cr, ci)) / sigma;
        EXPECT_NEAR(ds, expected, 2e-3 * (1.0 + std::fabs(expected)));
        EXPECT_NEAR(sigma, 0.03 * std::hypot(fr, fi) + 0.05, 1e-3 * sigma + 1e-4);
    }
    // The group: its first member carries Gobs and GMEM, the second only indices.
    int groupHead = head + 2 + set.nRefF + 1;
    EXPECT_EQ(lines[groupHead].substr(0, 40), "  h   k   l        Gobs        GMEM     ");
    EXPECT_EQ(lines[groupHead + 2].substr(12, 24), std::string(24, ' '));
    // The listed-only reflections of a data set carry observed values of 0
    // and no residual.
    int third = at("Unobserved or partially observed reflections.");
    ASSERT_GE(third, 0);
    for (int i = 0; i < 3; ++i) {
        std::string row = lines[third + 2 + i];
        EXPECT_EQ(row.substr(12, 24), "          0           0 ") << row;
        EXPECT_EQ(row.substr(60), "         -    0.00000") << row;
    }
    EXPECT_EQ(lines[third + 5], "");

    std::vector<std::string> raw = Lines(ReadText(d.param.epsFile));
    int counted = 0;
    for (const std::string& line : raw) {
        double centre;
        int count;
        ASSERT_EQ(sscanf(line.c_str(), "%lf, %d", &centre, &count), 2);
        counted += count;
    }
    EXPECT_EQ(counted, d.nRefF);
}

TEST(Report, WarnsOfAGridThatDoesNotFitTheSymmetry) {
    TempDir dir;
    TestAnalysis d;
    const int odd[3] = {15, 18, 20};
    WriteP1DataSet(dir.file("model.mem"), odd);
    Prepare(d, dir.file("model.mem"));
    CapturedOutput quiet;
    d.PostCalculation();
    std::string report = ReadText(d.param.outFile);
    EXPECT_NE(report.find(" ********************************* Warning! ********************************* \n"
                          "  The number of grids is incompatible with the space group symmetry!\n"
                          "  They must be (2x X 2y X 2z) where x, y, and z are arbitrary integers.\n"
                          "  Suggested grids are:\n"
                          "    (40  46  50) for a resolution of about 0.1 angstrom,\n"),
              std::string::npos);
    // Cycle 0 is reported when no optimiser ran.
    EXPECT_NE(report.find("  Number of cycles = 0\n"), std::string::npos);
}

TEST(Report, FilesThatCannotBeWrittenAreCountedAndNamed) {
    TempDir dir;
    TestAnalysis d;
    WriteP1DataSet(dir.file("model.mem"));
    Prepare(d, dir.file("model.mem"));
    for (std::string* name : {&d.param.outFile, &d.param.gridFile, &d.param.feedbackFile, &d.param.epsFile})
        name->replace(0, dir.path().size(), dir.path() + "/gone");
    CapturedOutput out;
    EXPECT_EQ(d.WriteOutputFiles(), 3);
    // A report that could not be written skips the histogram file.
    EXPECT_EQ(out.errors(), "Failed to write " + d.param.outFile + "\nFailed to write " + d.param.gridFile +
                                "\nFailed to write " + d.param.feedbackFile + "\n");
}
