// The files of a finished analysis: density grid, restart and prior, and the report.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "mem/GridFile.h"
#include "zspa_fixture.h"

namespace {

// The triclinic grid file from its layout: 152 header bytes, then the values.
struct GridFileContents {
    char title[80];
    int32_t gridType, nChannel, grid[3], nAsym;
    float cell[6];
    std::vector<float> values;
    size_t bytes = 0;
};

GridFileContents ReadGrid(const std::string& path) {
    GridFileContents g;
    const std::string raw = ReadText(path);
    g.bytes = raw.size();
    std::memcpy(g.title, raw.data() + 16, 80);
    std::memcpy(&g.gridType, raw.data() + 100, 4);
    std::memcpy(&g.nChannel, raw.data() + 104, 4);
    std::memcpy(g.grid, raw.data() + 112, 12);
    std::memcpy(&g.nAsym, raw.data() + 124, 4);
    std::memcpy(g.cell, raw.data() + 128, 24);
    g.values.resize((raw.size() - 152) / 4);
    std::memcpy(g.values.data(), raw.data() + 152, 4 * g.values.size());
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
std::vector<float> WriteConvergedGrid(const TempDir& dir, const std::string& name = "") {
    TestAnalysis d;
    Converge(d, dir);
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
    GridFileContents g = ReadGrid(d.param.gridFile);
    EXPECT_EQ(g.bytes, 152u + 4u * 16 * 18 * 20);
    EXPECT_STREQ(g.title, "Synthetic two-atom model in P 1");
    EXPECT_EQ(g.gridType, 0);
    EXPECT_EQ(g.nChannel, 1);
    EXPECT_EQ(std::vector<int>(g.grid, g.grid + 3), std::vector<int>({16, 18, 20}));
    EXPECT_EQ(g.nAsym, 16 * 18 * 20);
    EXPECT_FLOAT_EQ(g.cell[1], 4.5f);
    EXPECT_EQ(g.values, Densities(d));
    // Per cubic angstrom in the file: the cell holds the 12 electrons.
    double electrons = 0.0;
    for (float x : g.values) electrons += x * d.voxelVolume;
    EXPECT_NEAR(electrons, 12.0, 1e-4);
    EXPECT_EQ(PgridFileSize(0, 1, 1, g.nAsym), static_cast<long>(g.bytes));
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
