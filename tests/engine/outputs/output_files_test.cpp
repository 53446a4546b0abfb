// The files of a finished analysis: density grid, restart and prior, and the report.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "gridfile/PgridFormat.h"
#include "engine/analysis_fixture.h"
#include "engine/optimisers/ZSPA.h"

namespace {

int32_t IntAt(const std::string& bytes, size_t at) {
    int32_t value;
    std::memcpy(&value, bytes.data() + at, 4);
    return value;
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
    PrepareP1(d, dir);
    CapturedOutput quiet;
    ZSPA(d, d.param.maxCycles);
    if (!name.empty()) d.param.gridFile = dir.file(name);
    EXPECT_EQ(d.WritePgrid(), 0);
    return Densities(d);
}

// A second analysis of the data set in `dir` with the given start and prior;
// returns the messages of its preparation.
std::string PrepareAgain(TestAnalysis& d, const TempDir& dir, int startType, int priorType) {
    d.param.startType = startType;
    d.param.priorType = priorType;
    std::string errors;
    Prepare(d, dir.file("model.mem"), &errors);
    return errors;
}

}  // namespace

// The triclinic layout: 152 header bytes, then the values per cubic angstrom.
TEST(GridFile, TriclinicFileHoldsHeaderAndValuesOnly) {
    TempDir dir;
    const std::vector<float> written = WriteConvergedGrid(dir);
    const std::string raw = ReadText(dir.file("model.pgrid"));
    const int n = 16 * 18 * 20;
    ASSERT_EQ(raw.size(), 152u + 4u * n);
    EXPECT_EQ(PgridFileSize(0, 1, 1, n), static_cast<long>(raw.size()));
    EXPECT_STREQ(raw.c_str() + 16, "Synthetic two-atom model in P 1");
    const int32_t header[] = {IntAt(raw, 100), IntAt(raw, 104), IntAt(raw, 112),
                              IntAt(raw, 116), IntAt(raw, 120), IntAt(raw, 124)};
    EXPECT_EQ(std::vector<int32_t>(header, header + 6), (std::vector<int32_t>{0, 1, 16, 18, 20, n}));
    float b;
    std::memcpy(&b, raw.data() + 132, 4);
    EXPECT_FLOAT_EQ(b, 4.5f);
    std::vector<float> values(n);
    std::memcpy(values.data(), raw.data() + 152, 4 * n);
    EXPECT_EQ(values, written);
    // The cell holds the 12 electrons.
    double electrons = 0.0;
    for (float x : values) electrons += x * 4.0 * 4.5 * 5.0 / n;
    EXPECT_NEAR(electrons, 12.0, 1e-4);
}

TEST(GridFile, MissingRestartAndPriorFilesMeanFlatStarts) {
    TempDir dir;
    WriteP1DataSet(dir);
    TestAnalysis restart, prior;
    EXPECT_EQ(PrepareAgain(restart, dir, 1, 0),
              "Failed to read density data of previous run: " + dir.file("model.pgrid") +
                  "\nThe calculation will be started from flat densities.\nPress Enter key to continue.\n");
    EXPECT_EQ(restart.param.startType, 0);
    EXPECT_EQ(PrepareAgain(prior, dir, 0, 1),
              "Failed to read prior data " + dir.file("model_prior.pgrid") +
                  "\nFlat prior will be used.\nPress Enter key to continue.\n");
    EXPECT_EQ(prior.param.priorType, 0);
}

TEST(GridFile, PriorComesFromTheUnderscorePriorFile) {
    EXPECT_EQ(PriorFileName("/a/b.c/model.pgrid"), "/a/b.c/model_prior.pgrid");
    EXPECT_EQ(PriorFileName("/a/b.c/model"), "/a/b_prior.pgrid");
    TempDir dir;
    const std::vector<float> written = WriteConvergedGrid(dir, "model_prior.pgrid");
    TestAnalysis second;
    EXPECT_EQ(PrepareAgain(second, dir, 0, 1), "");
    EXPECT_EQ(second.param.priorType, 1);
    size_t k = 0;
    for (ThreadData* b : second.threads)
        for (int v = 0; v < b->nVoxel; ++v, ++k)
            EXPECT_EQ(b->prior1[v], static_cast<float>(written[k] * second.voxelVolume));
    // Without a restart the analysis starts at the whole prior, every voxel of
    // every block, and the sum that the transforms read follows it.
    for (ThreadData* b : second.threads)
        for (int v = 0; v < b->nVoxel; ++v) {
            ASSERT_EQ(b->rho1Old[v], b->prior1[v]);
            ASSERT_EQ(b->rho12[v], b->prior1[v]);
        }
}

TEST(Report, WarnsOfAGridThatDoesNotFitTheSymmetry) {
    TempDir dir;
    TestAnalysis d;
    PrepareP1(d, dir, "15 18 20");
    CapturedOutput quiet;
    d.PostCalculation();
    const std::string report = ReadText(d.param.outFile);
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
    PrepareP1(d, dir);
    for (std::string* name : {&d.param.outFile, &d.param.gridFile, &d.param.feedbackFile, &d.param.epsFile})
        name->replace(0, dir.path().size(), dir.path() + "/gone");
    CapturedOutput out;
    EXPECT_EQ(d.WriteOutputFiles(), 3);
    // A report that could not be written skips the histogram file.
    EXPECT_EQ(out.errors(), "Failed to write " + d.param.outFile + "\nFailed to write " + d.param.gridFile +
                                "\nFailed to write " + d.param.feedbackFile + "\n");
}
