// The ZSPA iteration: convergence, the multiplier's halving and bounded growth, and its stop rules.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "zspa_fixture.h"

namespace {

// Marks every accepted, swapped step in the message stream with the
// multiplier it was made with, so that the test sees failures and accepted
// steps in the order in which they happened.
class RecordingAnalysis : public TestAnalysis {
public:
    bool recording = false;
    void DFT_Derivatives() override {
        if (recording) IO::Printf("ACCEPTED %.17g\n", param.lambda);
        MEMData3D::DFT_Derivatives();
    }
};

bool AllPositive(const MEMData& d, bool old) {
    for (ThreadData* b : d.threads)
        for (int v = 0; v < b->nVoxel; ++v)
            if (!((old ? b->rho1Old : b->rho1)[v] > 0.0)) return false;
    return true;
}

}  // namespace

TEST(ZSPA, ReachesTheConstraintWithPositiveNormalisedDensity) {
    TempDir dir;
    WriteP1DataSet(dir.file("model.mem"));
    TestAnalysis d;
    Prepare(d, dir.file("model.mem"));
    ASSERT_GT(d.constr0, 10.0);

    CapturedOutput out;
    d.ZSPA(d.param.maxCycles);
    EXPECT_LE(d.constr - 1.0, 1e-5);
    EXPECT_LT(d.cycle, d.param.maxCycles);
    EXPECT_LT(d.RF, d.RF0 / 3.0);
    EXPECT_EQ(d.finalLambda, d.param.lambda);
    // The last accepted cycle prints its three lines, and before it only the
    // multiples of 10 do, in their own formats.
    EXPECT_NE(out.text().find(" CYCLE " + std::to_string(d.cycle) + ": Lambda="), std::string::npos);
    const std::vector<std::string> lines = Lines(out.text());
    int printed = 0;
    for (std::size_t i = 0; i + 3 < lines.size(); ++i) {
        int n = 0;
        double lambda = 0.0;
        if (sscanf(lines[i].c_str(), " CYCLE %d: Lambda=%lf", &n, &lambda) != 2) continue;
        ++printed;
        EXPECT_TRUE(n % 10 == 0 || n == d.cycle) << lines[i];
        double c = 0, f = 0, g = 0, delta = 0, rf = 0, wrf = 0;
        ASSERT_EQ(sscanf(lines[i + 1].c_str(), " CONSTR = %lf CONF = %lf CONG = %lf", &c, &f, &g), 3);
        ASSERT_EQ(sscanf(lines[i + 2].c_str(), " DELTA = %lf RF = %lf wRF = %lf", &delta, &rf, &wrf), 3);
        char again[3][200];
        std::snprintf(again[0], sizeof again[0], " CYCLE %d: Lambda=%E", n, lambda);
        std::snprintf(again[1], sizeof again[1], " CONSTR = %13.6E  CONF = %13.6E  CONG = %13.6E", c, f, g);
        std::snprintf(again[2], sizeof again[2], "  DELTA = %13.6E    RF =  %-12.6f   wRF =  %-12.6f", delta, rf, wrf);
        for (int k = 0; k < 3; ++k) EXPECT_EQ(lines[i + k], again[k]);
        EXPECT_EQ(lines[i + 3], "");
    }
    EXPECT_EQ(printed, d.cycle / 10 + (d.cycle % 10 != 0));
    for (bool old : {false, true}) {
        EXPECT_TRUE(AllPositive(d, old));
        EXPECT_NEAR(Total(d, 1, old), 12.0, 1e-9);
    }
    // F(000) of the result is the number of electrons.
    double f000 = 0.0;
    for (ThreadData* b : d.threads)
        for (int v = 0; v < b->nVoxel; ++v) f000 += b->multiplicity[v] * b->rho12[v];
    EXPECT_NEAR(f000, 12.0, 1e-9);
}

TEST(ZSPA, HalvesOnFailureAndNeverRegrowsToTheCeiling) {
    TempDir dir;
    WriteP1DataSet(dir.file("model.mem"));
    RecordingAnalysis d;
    Prepare(d, dir.file("model.mem"));
    // A multiplier far too large overshoots, so the first attempts fail.
    const double start = 20.0;
    d.param.lambda = start;
    d.recording = true;
    CapturedOutput out;
    d.ZSPA(d.param.maxCycles);

    const double t = d.param.coefT;
    double lambda = start, ceiling = 1e16;
    int failures = 0, runs = 0, accepted = 0;
    for (const std::string& line : Lines(out.text())) {
        double value = 0.0;
        if (sscanf(line.c_str(), "A new value of lambda has been determined. (lambda=%lf)", &value) == 1) {
            if (failures++ == 0) {
                ceiling = lambda;
                ++runs;
            }
            lambda *= 0.5;
            EXPECT_NEAR(value, lambda, 1e-6 * lambda) << "the printed value is the halved one";
        } else if (sscanf(line.c_str(), "ACCEPTED %lf", &value) == 1) {
            failures = 0;
            ++accepted;
            EXPECT_DOUBLE_EQ(value, lambda);
            EXPECT_LT(value, ceiling);
            if (ceiling > (1.0 + t) * lambda) lambda += t * lambda;
        }
    }
    EXPECT_GE(runs, 1);
    EXPECT_GE(accepted, 5);
    EXPECT_DOUBLE_EQ(d.finalLambda, lambda);
    EXPECT_LT(d.finalLambda, start);
    EXPECT_LE(d.constr - 1.0, 1e-5);
}

TEST(ZSPA, NoCycleRunsWithOneCycleAllowedOrAConvergedStart) {
    TempDir dir;
    WriteP1DataSet(dir.file("model.mem"));
    TestAnalysis d;
    Prepare(d, dir.file("model.mem"));
    const double lambda = d.param.lambda;
    const double before = d.threads[0]->rho1Old[0];
    CapturedOutput out;
    d.ZSPA(1);
    EXPECT_EQ(d.cycle, 1);
    EXPECT_EQ(d.finalLambda, lambda);
    EXPECT_EQ(d.threads[0]->rho1Old[0], before);
    EXPECT_EQ(d.constr, d.constr0);
    EXPECT_TRUE(out.text().empty());

    d.ZSPA(d.param.maxCycles);
    ASSERT_LE(d.constr - 1.0, 1e-5);
    const double converged = d.constr;
    d.ZSPA(d.param.maxCycles);
    EXPECT_EQ(d.cycle, 1);
    EXPECT_EQ(d.constr, converged);
}

TEST(ZSPA, ANonFiniteStartEndsInsteadOfFallingBackForever) {
    // A restart file full of negative densities gives logarithms of negative
    // numbers: every attempt fails, and halving never helps.
    TempDir dir;
    WriteP1DataSet(dir.file("model.mem"));
    TestAnalysis d;
    Prepare(d, dir.file("model.mem"));
    for (ThreadData* b : d.threads)
        for (int v = 0; v < b->nVoxel; ++v) b->rho1Old[v] = std::nan("");
    d.param.maxCycles = 3;
    d.param.outFile = dir.file("model.out");
    CapturedOutput out;
    d.ZSPA(d.param.maxCycles);
    EXPECT_EQ(d.finalLambda, 0.0);
    EXPECT_NE(out.text().find("(lambda=0.000000E+00)"), std::string::npos);
}
