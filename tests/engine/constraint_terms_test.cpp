// The generalised constraint terms: their normalisation, and their derivatives by A and B.
#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <random>
#include <vector>

#include "app/IO.h"
#include "mem/Constraint.h"
#include "mem/ThreadData.h"
#include "voxel_fixture.h"

namespace {

// A unit normal distribution by a nine-point Gauss-Hermite rule, its weights
// turned into counts of a million residuals (nodes and weights from
// numpy.polynomial.hermite_e.hermegauss). The rule is exact up to degree 17;
// the rounding of the smallest counts leaves about 1 % at order 16.
std::vector<double> NormalResiduals() {
    const double node[9] = {-4.512745863399783, -3.20542900285647, -2.07684797867783,
                            -1.0232556637891326, 0.0, 1.0232556637891326, 2.07684797867783,
                            3.20542900285647, 4.512745863399783};
    const int count[9] = {22, 2789, 49916, 244098, 406349, 244098, 49916, 2789, 22};
    std::vector<double> r;
    for (int i = 0; i < 9; ++i)
        r.insert(r.end(), count[i], node[i]);
    return r;
}

TEST(ConstraintTerms, NormalResidualsGiveEveryOrderNearOne) {
    std::vector<double> re = NormalResiduals();
    std::vector<double> im(re.size(), 0.0);
    const int n = static_cast<int>(re.size());
    std::unique_ptr<Constraint> c(Constraint::Create(0, n, 0, 0, 2, 1));
    int orders[8] = {2, 4, 6, 8, 10, 12, 14, 16};
    double C[8];
    std::vector<int> noGroups;
    c->Calc_CFn(C, orders, 8, re.data(), im.data(), noGroups);
    for (int k = 0; k < 8; ++k)
        EXPECT_NEAR(C[k], 1.0, 0.015) << "order " << orders[k];
}

// Observed values at about one standard uncertainty from the calculated ones,
// so that the terms of all orders stay of moderate size.
void MoveObservationsNearTheFit(MEMData3D& mem, unsigned seed) {
    std::mt19937 random(seed);
    std::normal_distribution<double> normal;
    mem.Calc_Constraint(0);
    for (int i = 0; i < mem.nRefF; ++i) {
        const double sigma = 1.0 / std::sqrt(mem.weightF[i]);
        mem.FobsRe[i] = mem.reflections[i]->A + sigma * normal(random);
        mem.FobsIm[i] = mem.reflections[i]->B + sigma * normal(random);
    }
    for (int g = 0; g < mem.nGroups; ++g)
        mem.Gobs[g] = mem.Gcalc[g] + normal(random) / std::sqrt(mem.weightG[g]);
}

// Derivatives of wConstr by A and B of every reflection against central
// differences, with all eight orders weighted and groups of both kinds.
// Groups compared by their mean real part occur only in centrosymmetric data,
// where B is zero; their B derivative is then left as it stands, so it is not
// checked here.
void ExpectDerivativesMatchDifferences(MEMData3D& mem, bool linearGroups) {
    mem.param.algorithm = 1;  // no damping of the orders by C, which would move with A
    for (int c = 0; c < 8; ++c)
        mem.param.lambdaFraction[c] = 1.0 / (c + 1);
    RandomiseDensity(mem, 9);
    MoveObservationsNearTheFit(mem, 13);
    mem.Calc_Constraint(0);
    const int n = mem.nRefF + mem.nRefG;
    const std::vector<double> dRe(mem.mergedDerivRe, mem.mergedDerivRe + n);
    const std::vector<double> dIm(mem.mergedDerivIm, mem.mergedDerivIm + n);
    for (int i = 0; i < n; ++i) {
        StructureFactor* f = mem.reflections[i];
        for (double* part : {&f->A, &f->B}) {
            if (linearGroups && i >= mem.nRefF && part == &f->B) continue;
            const double x = *part;
            const double h = 1e-6 * std::max(std::fabs(x), 1.0);
            *part = x + h;
            mem.Calc_Constraint(0);
            const double up = mem.wConstr;
            *part = x - h;
            mem.Calc_Constraint(0);
            const double down = mem.wConstr;
            *part = x;
            const double difference = (up - down) / (2 * h);
            const double analytic = part == &f->A ? dRe[i] : dIm[i];
            EXPECT_NEAR(analytic, difference, 1e-5 * std::max(std::fabs(difference), 1.0))
                << "reflection " << i << (part == &f->A ? " A" : " B");
        }
    }
}

const AnalysisSpec kWithGroups{"P 21 21 21", {5.5f, 6.5f, 7.5f, 90.0f, 90.0f, 90.0f}, {8, 8, 8},
                               {{1, 0, 0}, {0, 1, 1}, {1, 2, 1}, {2, 1, 3}, {0, 2, 3}, {3, 1, 2}, {1, 1, 1}, {2, 2, 1}},
                               {1, 2}};

// Groups compared by magnitude, then by their mean real part.
TEST(ConstraintTerms, DerivativesMatchDifferences) {
    for (int linear : {0, 1}) {
        SCOPED_TRACE(linear ? "linear groups" : "magnitude groups");
        auto mem = MakePreparedAnalysis(kWithGroups);
        mem->param.estimateUnobserved = linear;
        ExpectDerivativesMatchDifferences(*mem, linear);
    }
}

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

TEST(ConstraintTerms, PerfectFitHasNoResidualAndNoDerivative) {
    auto mem = MakePreparedAnalysis(kWithGroups);
    RandomiseDensity(*mem, 4);
    for (int i = 0; i < mem->nRefF; ++i) {
        mem->FobsRe[i] = mem->reflections[i]->A;
        mem->FobsIm[i] = mem->reflections[i]->B;
    }
    mem->Calc_Constraint(0);
    for (int g = 0; g < mem->nGroups; ++g)
        mem->Gobs[g] = mem->Gcalc[g];
    mem->Calc_Constraint(0);
    EXPECT_EQ(mem->constr, 0.0);
    EXPECT_EQ(mem->wRF, 0.0);
    EXPECT_EQ(mem->RF, 0.0);
    for (int i = 0; i < mem->nRefF + mem->nRefG; ++i) {
        EXPECT_EQ(mem->mergedDerivRe[i], 0.0);
        EXPECT_EQ(mem->mergedDerivIm[i], 0.0);
    }
}

// A step with multiplier 0 keeps the starting density, so C is that of cycle 0.
TEST(ConstraintTerms, TrialMultiplierZeroKeepsTheDensity) {
    auto mem = MakePreparedAnalysis(kWithGroups);
    const IO::PrintFunc saved = IO::Printf;
    IO::Printf = IO::NoPrint;
    const double c = CalcC2(mem.get(), 0.0);
    IO::Printf = saved;
    EXPECT_NEAR(c, mem->constr0 - 1.0, 1e-12 * mem->constr0);
}

}  // namespace
