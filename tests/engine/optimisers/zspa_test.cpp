// The ZSPA iteration: convergence, the multiplier's halving and bounded growth, and its stop rules.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

#include "engine/analysis_fixture.h"
#include "engine/optimisers/ZSPA.h"

namespace {

// Marks every accepted, swapped step in the message stream with the
// multiplier it was made with, so that the test sees failures and accepted
// steps in the order in which they happened.
class RecordingAnalysis : public TestAnalysis {
public:
    bool recording = false;
    void DFT_Derivatives() override {
        if (recording) IO::Printf("ACCEPTED %.17g\n", lambda);
        MEMData3D::DFT_Derivatives();
    }
};

TEST(ZSPA, HalvesOnFailureAndNeverRegrowsToTheCeiling) {
    TempDir dir;
    RecordingAnalysis d;
    PrepareP1(d, dir);
    // A multiplier far too large overshoots, so the first attempts fail.
    const double start = 20.0, t = d.param.coefT;
    d.lambda = start;
    d.recording = true;
    CapturedOutput out;
    ZSPA(d, d.param.maxCycles);

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
    EXPECT_DOUBLE_EQ(d.lambda, lambda);
    EXPECT_LE(d.constr - 1.0, 1e-5);
}

// No cycle runs with one cycle allowed; a run converges; a converged start runs none.
TEST(ZSPA, ConvergesAndRunsNoCycleWhenNoneIsDue) {
    TempDir dir;
    TestAnalysis d;
    PrepareP1(d, dir);
    const double lambda = d.lambda, before = d.threads[0]->rho1Old[0];
    CapturedOutput out;
    ZSPA(d, 1);
    EXPECT_EQ(d.cycle, 1);
    EXPECT_EQ(d.lambda, lambda);
    EXPECT_EQ(d.threads[0]->rho1Old[0], before);
    EXPECT_EQ(d.constr, d.constr0);
    EXPECT_TRUE(out.text().empty());

    // Converged: the density is positive and holds the 12 electrons, and RF has fallen.
    ZSPA(d, d.param.maxCycles);
    ASSERT_LE(d.constr - 1.0, 1e-5);
    EXPECT_LT(d.RF, d.RF0 / 3.0);
    for (bool old : {false, true}) {
        EXPECT_NEAR(Total(d, 1, old), 12.0, 1e-9);
        for (ThreadData* b : d.threads)
            for (int v = 0; v < b->nVoxel; ++v) ASSERT_GT((old ? b->rho1Old : b->rho1)[v], 0.0);
    }
    const double converged = d.constr;
    ZSPA(d, d.param.maxCycles);
    EXPECT_EQ(d.cycle, 1);
    EXPECT_EQ(d.constr, converged);
}

// A restart file full of negative densities gives logarithms of negative
// numbers: every attempt fails, and halving never helps.
TEST(ZSPA, ANonFiniteStartEndsInsteadOfFallingBackForever) {
    TempDir dir;
    TestAnalysis d;
    PrepareP1(d, dir);
    for (ThreadData* b : d.threads)
        for (int v = 0; v < b->nVoxel; ++v) b->rho1Old[v] = std::nan("");
    d.param.maxCycles = 3;
    CapturedOutput out;
    ZSPA(d, d.param.maxCycles);
    EXPECT_EQ(d.lambda, 0.0);
    EXPECT_NE(out.text().find("(lambda=0.000000E+00)"), std::string::npos);
}

}  // namespace
