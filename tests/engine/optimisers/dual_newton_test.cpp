// Algorithm 4 against the exact optimum of tools/exact_maxent.py, its restart, and its hand-over to L-BFGS.
#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <sstream>
#include <string>

#include "engine/analysis_fixture.h"
#include "engine/optimisers/DualNewton.h"
#include "engine/optimisers/MaxEnt.h"

namespace {

// The source of a data set of the reference tables: the examples, else the test data.
std::string SourceOf(const std::string& name) {
    const std::string example = std::string(HALVORIN_SOURCE_DIR) + "/examples/" + name;
    return std::ifstream(example).good() ? example : std::string(HALVORIN_TEST_DATA) + "/" + name;
}

// Prepares a data set named as in the tables: FILE.mem (a path below the
// test data, or an example), with ":minus" for a
// negative channel and ":prior=GRID" for a prior grid file of the test data.
void PrepareSpec(TestAnalysis& d, const TempDir& dir, const std::string& spec, int algorithm, int maxCycles) {
    const std::string source = spec.substr(0, spec.find(':'));
    const std::string name = source.substr(source.rfind('/') + 1);
    const bool minus = spec.find(":minus") != std::string::npos;
    const size_t prior = spec.find(":prior=");
    WriteText(dir.file(name), ReadText(SourceOf(source)));
    if (prior != std::string::npos) {
        const std::string base = name.substr(0, name.rfind('.'));
        WriteText(dir.file(base + "_prior.pgrid"), ReadText(SourceOf(spec.substr(prior + 7))));
        d.param.priorType = 1;
    }
    d.param.algorithm = algorithm;
    d.param.maxCycles = maxCycles;
    ASSERT_TRUE(ReadQuietly(d, dir.file(name), minus ? 4 : 3));
    PrepareCycleZero(d);
}

}  // namespace

// Each line of the tables: the data set, CONSTR of the start, the exact
// entropy per electron at CONSTR = 1 and its slope by CONSTR, which carries
// it to the CONSTR at which the run ended. The optimum bounds the entropy of
// every density at that CONSTR from above, so the run may not exceed it.
TEST(DualNewton, EndsAtTheExactOptimum) {
    int sets = 0;
    for (const char* table : {"exact_entropy.txt", "exact_entropy_dual.txt"}) {
        std::ifstream in(std::string(HALVORIN_TEST_DATA) + "/" + table);
        std::string line;
        while (std::getline(in, line)) {
            if (line.empty() || line[0] == '#') continue;
            std::istringstream fields(line);
            std::string spec;
            double constrStart = 0, entropy = 0, byConstr = 0;
            fields >> spec >> constrStart >> entropy >> byConstr;
            TempDir dir;
            TestAnalysis d;
            PrepareSpec(d, dir, spec, 4, 5000);
            // A prior run starts from a partly seeded density of its own (see ReadPrior2).
            if (spec.find(":prior=") == std::string::npos) {
                EXPECT_NEAR(d.constr0, constrStart, 1e-6 * constrStart) << spec;
            }
            {
                CapturedOutput quiet;
                MaxEnt(d);
            }
            EXPECT_TRUE(d.handOverNote.empty()) << spec;
            EXPECT_LE(std::fabs(d.constr - 1.0), 1e-4) << spec;
            const double Fp = d.targetMoment[0], Fm = d.targetMoment[1];
            EXPECT_NEAR(d.calcMoment[0], Fp, 1e-9 * std::fabs(Fp)) << spec;
            EXPECT_NEAR(d.calcMoment[1], Fm, 1e-9 * std::fabs(Fm) + 1e-12) << spec;
            const double got = (d.entropyPlus + d.entropyMinus) / (Fp - Fm);
            const double exact = entropy + byConstr * (d.constr - 1.0);
            std::printf("%s: entropy per electron %.8f, exact %.8f, CONSTR %.9f, %d cycles\n", spec.c_str(),
                        got, exact, d.constr, d.cycle);
            EXPECT_LE(got, exact + 1e-7) << spec;
            EXPECT_GE(got, exact - 1e-5) << spec;
            ++sets;
        }
    }
    EXPECT_GE(sets, 5);
}

// The grid file of a finished run, read back as a restart, starts at the
// optimum's multiplier and ends in a fraction of the cycles.
TEST(DualNewton, RestartsNearTheOptimum) {
    TempDir dir;
    TestAnalysis first;
    PrepareSpec(first, dir, "zno.mem", 4, 5000);
    {
        CapturedOutput quiet;
        MaxEnt(first);
    }
    TestAnalysis again;
    again.param.startType = 1;
    PrepareSpec(again, dir, "zno.mem", 4, 5000);
    EXPECT_LT(std::fabs(again.constr0 - 1.0), 1e-3);
    {
        CapturedOutput quiet;
        MaxEnt(again);
    }
    EXPECT_LE(std::fabs(again.constr - 1.0), 1e-4);
    EXPECT_LT(again.cycle, first.cycle / 2) << "first run " << first.cycle << " cycles";
    EXPECT_NEAR(again.lambda, first.lambda, 1e-4 * first.lambda);
}

// Overlap groups lie outside the dual: the run is handed to L-BFGS, says so
// on the console and in the report, and ends satisfied all the same.
TEST(DualNewton, HandsOverlapGroupsToLbfgs) {
    TempDir dir;
    TestAnalysis d;
    PrepareSpec(d, dir, "nacl.mem", 4, 5000);
    EXPECT_NE(DualNewtonUnfit(d), nullptr);
    CapturedOutput out;
    MaxEnt(d);
    EXPECT_NE(out.text().find("Algorithm 4 handed over to L-BFGS: overlap groups"), std::string::npos);
    EXPECT_EQ(d.Algorithm(), 1);
    EXPECT_LT(d.constr - 1.0, d.param.convergenceLimit);
    const std::string report = ReadText(d.param.outFile);
    EXPECT_NE(report.find("  Algorithm 4 handed over to L-BFGS: overlap groups"), std::string::npos);
    EXPECT_NE(report.find("The constraints have been satisfied."), std::string::npos);
    d.param.lambdaFraction[1] = 0.5;
    d.nGroups = 0;
    EXPECT_NE(std::string(DualNewtonUnfit(d)).find("above order 2"), std::string::npos);
}
