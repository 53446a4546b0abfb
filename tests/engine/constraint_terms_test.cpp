// The generalised constraint terms and what the preparation hands to them:
// normalisation, the reduced chi-square, reflection weights and the Fourier path.
#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <vector>

#include "common/CapturedOutput.h"
#include "mem/Constraint.h"
#include "voxel_fixture.h"

namespace {

// A unit normal distribution by a nine-point Gauss-Hermite rule, its weights
// turned into counts of a million residuals (nodes and weights from
// numpy.polynomial.hermite_e.hermegauss). The rule is exact up to degree 17;
// the rounding of the smallest counts leaves about 1 % at order 16.
TEST(ConstraintTerms, NormalResidualsGiveEveryOrderNearOne) {
    const double node[9] = {-4.512745863399783, -3.20542900285647, -2.07684797867783,
                            -1.0232556637891326, 0.0, 1.0232556637891326, 2.07684797867783,
                            3.20542900285647, 4.512745863399783};
    const int count[9] = {22, 2789, 49916, 244098, 406349, 244098, 49916, 2789, 22};
    std::vector<double> re;
    for (int i = 0; i < 9; ++i)
        re.insert(re.end(), count[i], node[i]);
    std::vector<double> im(re.size(), 0.0);
    std::unique_ptr<Constraint> c(Constraint::Create(0, static_cast<int>(re.size()), 0, 0, 2, 1));
    int orders[8] = {2, 4, 6, 8, 10, 12, 14, 16};
    double C[8];
    std::vector<int> noGroups;
    c->Calc_CFn(C, orders, 8, re.data(), im.data(), noGroups);
    for (int k = 0; k < 8; ++k)
        EXPECT_NEAR(C[k], 1.0, 0.015) << "order " << orders[k];
}

const AnalysisSpec kWithGroups{"P 21 21 21", {5.5f, 6.5f, 7.5f, 90.0f, 90.0f, 90.0f}, {8, 8, 8},
                               {{1, 0, 0}, {0, 1, 1}, {1, 2, 1}, {2, 1, 3}, {0, 2, 3}, {3, 1, 2}, {1, 1, 1}, {2, 2, 1}},
                               {1, 2}};

// With only the order-2 fraction, and equal relative weights, the weighted
// sum is the reduced chi-square itself.
TEST(ConstraintTerms, OrderTwoAloneIsTheReducedChiSquare) {
    AnalysisSpec spec = kWithGroups;
    spec.groups = {};
    auto mem = MakePreparedAnalysis(spec);
    RandomiseDensity(*mem, 4);
    mem->Calc_Constraint(0);
    double chi2 = 0.0;
    for (int i = 0; i < mem->nRefF; ++i) {
        const StructureFactor* f = mem->reflections[i];
        chi2 += mem->weightF[i] * (std::pow(mem->FobsRe[i] - f->A, 2) + std::pow(mem->FobsIm[i] - f->B, 2));
    }
    EXPECT_NEAR(mem->constr, chi2 / mem->nRefF, 1e-12 * chi2);
    EXPECT_NEAR(mem->wConstr, mem->constr, 1e-12 * chi2);
    EXPECT_EQ(mem->CONG, 0.0);
}

// A step with multiplier 0 keeps the starting density, so C is that of cycle 0.
TEST(ConstraintTerms, TrialMultiplierZeroKeepsTheDensity) {
    auto mem = MakePreparedAnalysis(kWithGroups);
    CapturedOutput quiet;
    EXPECT_NEAR(CalcC2(mem.get(), 0.0), mem->constr0 - 1.0, 1e-12 * mem->constr0);
}

// The factor of one reflection before normalisation is the d-spacing term (a
// power of d, or for a negative exponent exp(x sqrt(1/d))) times the
// multiplicity to the power y, times the M that the data file gave. With the
// multiplicity term the members of a group share their mean and the group
// counts once; without it every member counts.
TEST(ConstraintPreparation, ReflectionWeights) {
    const double cases[][2] = {{0.0, 0.0}, {2.0, 0.0}, {-1.5, 0.0}, {1.0, 2.0}, {-0.5, 0.5}};
    for (const auto& c : cases) {
        const double x = c[0], y = c[1];
        SCOPED_TRACE(testing::Message() << "weightPowerD " << x << ", weightPowerM " << y);
        auto mem = MakeAnalysis(kWithGroups);
        mem->param.weightPowerD = x;
        mem->param.weightPowerM = y;
        const int n = mem->nRefF + mem->nRefG;
        std::vector<double> raw(n);
        for (int i = 0; i < n; ++i) {
            mem->refWeight[i] = 1.0 + i % 3;  // as read from the data file
            const StructureFactor* r = mem->reflections[i];
            raw[i] = (x >= 0.0 ? std::pow(1.0 / r->di, x) : std::exp(x * std::sqrt(r->di))) *
                     (y > 0.0 ? std::pow(double(r->hkl.nItems()), y) : 1.0) * mem->refWeight[i];
        }
        double sum = 0.0;
        for (int i = 0; i < mem->nRefF; ++i)
            sum += raw[i];
        for (int g = 0, p = mem->nRefF; g < mem->nGroups; p += mem->groupSize[g++]) {
            double members = 0.0;
            for (int j = 0; j < mem->groupSize[g]; ++j)
                members += raw[p + j];
            const double mean = members / mem->groupSize[g];
            if (y > 0.0)
                std::fill(raw.begin() + p, raw.begin() + p + mem->groupSize[g], mean);
            sum += y > 0.0 ? mean : members;
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
// Generated unobserved reflections do not enter the count; a centre of
// symmetry halves the cost (260 voxels, one table).
TEST(ConstraintPreparation, FourierPathByCost) {
    const std::vector<std::array<int, 3>> generated = {{2, 0, 0}, {0, 2, 0}, {0, 0, 2},
                                                       {2, 1, 0}, {1, 2, 0}, {0, 2, 1}};
    const struct {
        const char* symbol;
        int extraE;
        bool withGenerated, transform;
    } cases[] = {{"P 1", 0, false, false}, {"P 1", 4, false, false}, {"P 1", 5, false, true},
                 {"P 1", 4, true, false},  {"P -1", 5, true, false}};
    for (const auto& c : cases) {
        AnalysisSpec spec{c.symbol, {5.0f, 6.0f, 7.0f, 90.0f, 90.0f, 90.0f}, {8, 8, 8},
                          {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {1, 1, 0}}};
        spec.extraE = c.extraE;
        if (c.withGenerated)
            spec.unobserved = generated;
        auto mem = MakePreparedAnalysis(spec);
        ASSERT_EQ(mem->nRefF, 4);
        EXPECT_EQ(mem->useFFT, c.transform) << c.symbol << " with " << c.extraE << " listed, generated " << c.withGenerated;
    }
}

}  // namespace
