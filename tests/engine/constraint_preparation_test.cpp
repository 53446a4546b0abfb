// What the preparation hands to the constraint: the relative reflection
// weights, and the choice between direct sums and transforms.
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "voxel_fixture.h"

namespace {

const AnalysisSpec kWithGroups{"P 21 21 21", {5.5f, 6.5f, 7.5f, 90.0f, 90.0f, 90.0f}, {8, 8, 8},
                               {{1, 0, 0}, {0, 1, 1}, {1, 2, 1}, {2, 1, 3}, {0, 2, 3}, {3, 1, 2}, {1, 1, 1}, {2, 2, 1}},
                               {1, 2}};

// The factor of one reflection before normalisation: the d-spacing term
// (a power of d, or for a negative exponent exp(x sqrt(1/d))) times the
// multiplicity to the power y, times the M that the data file gave.
double RawWeight(double di, double m, double M, double x, double y) {
    const double d = x >= 0.0 ? std::pow(1.0 / di, x) : std::exp(x * std::sqrt(di));
    return d * (y > 0.0 ? std::pow(m, y) : 1.0) * M;
}

TEST(ConstraintPreparation, ReflectionWeights) {
    const struct {
        double x, y;
    } cases[] = {{0.0, 0.0}, {2.0, 0.0}, {-1.5, 0.0}, {0.0, 1.0}, {1.0, 2.0}, {-0.5, 0.5}};
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << "weightPowerD " << c.x << ", weightPowerM " << c.y);
        auto mem = MakeAnalysis(kWithGroups);
        mem->param.weightPowerD = c.x;
        mem->param.weightPowerM = c.y;
        const int n = mem->nRefF + mem->nRefG;
        std::vector<double> raw(n);
        for (int i = 0; i < n; ++i) {
            const double M = 1.0 + i % 3;  // as read from the data file
            mem->refWeight[i] = M;
            const StructureFactor* r = mem->reflections[i];
            raw[i] = RawWeight(r->di, static_cast<double>(r->hkl.nItems()), M, c.x, c.y);
        }
        // With the multiplicity term the members of a group share their mean and
        // the group counts once; without it every member counts.
        double sum = 0.0;
        for (int i = 0; i < mem->nRefF; ++i)
            sum += raw[i];
        for (int g = 0, p = mem->nRefF; g < mem->nGroups; ++g) {
            double members = 0.0;
            for (int j = 0; j < mem->groupSize[g]; ++j)
                members += raw[p + j];
            const double mean = members / mem->groupSize[g];
            for (int j = 0; j < mem->groupSize[g]; ++j, ++p)
                if (c.y > 0.0)
                    raw[p] = mean;
            sum += c.y > 0.0 ? mean : members;
        }
        const double mean = sum / (mem->nRefF + mem->nGroups);
        PrepareQuietly(*mem);
        for (int i = 0; i < n; ++i)
            EXPECT_NEAR(mem->refWeight[i], raw[i] / mean, 1e-12 * raw[i] / mean) << "position " << i;
    }
}

// Direct sums while NASYM * (F + G + E reflections) * (1 or 2 tables) does
// not exceed N / ln N * 100. An 8 x 8 x 8 cell in P 1 has NASYM 512 and a
// transform cost of 8208.5: eight reflections cost 8192, nine 9216.
// Generated unobserved reflections do not enter the count.
TEST(ConstraintPreparation, FourierPathByCost) {
    const std::vector<std::array<int, 3>> four = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {1, 1, 0}};
    const std::vector<std::array<int, 3>> generated = {{2, 0, 0}, {0, 2, 0}, {0, 0, 2},
                                                       {2, 1, 0}, {1, 2, 0}, {0, 2, 1}};
    const struct {
        const char* symbol;
        int extraE;
        std::vector<std::array<int, 3>> unobserved;
        bool transform;
    } cases[] = {
        {"P 1", 0, {}, false},
        {"P 1", 4, {}, false},
        {"P 1", 5, {}, true},
        {"P 1", 4, generated, false},
        // A centre of symmetry halves the cost: 260 voxels, one table.
        {"P -1", 5, generated, false},
    };
    for (const auto& c : cases) {
        AnalysisSpec spec{c.symbol, {5.0f, 6.0f, 7.0f, 90.0f, 90.0f, 90.0f}, {8, 8, 8}, four};
        spec.extraE = c.extraE;
        spec.unobserved = c.unobserved;
        auto mem = MakePreparedAnalysis(spec);
        SCOPED_TRACE(testing::Message() << c.symbol << " with " << mem->nRefF + mem->nRefE
                                        << " reflections and " << mem->nRefUnobs << " generated ones");
        ASSERT_EQ(mem->nRefF, 4);
        EXPECT_EQ(mem->useFFT, c.transform);
    }
}

}  // namespace
