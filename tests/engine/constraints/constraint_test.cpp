// The generalised constraint terms, what the preparation hands to them
// (normalisation, the reduced chi-square, reflection weights and the Fourier
// path), and the derivatives of the constraint (by the density and by A and B)
// and of the entropy against central differences.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <random>
#include <vector>

#include "engine/constraints/Constraint.h"
#include "engine/optimisers/TrialMultiplier.h"
#include "engine/analysis_fixture.h"

namespace {

double ConstraintValue(MEMData3D& mem, bool fromDensity) {
    if (fromDensity) mem.CalcFcalc(0);
    mem.Calc_Constraint(0);
    return mem.wConstr;
}

// Central difference of wConstr by *x, which its twin (when given) follows, with both restored.
double Difference(MEMData3D& mem, double* x, double h, bool fromDensity, double* twin = nullptr) {
    const double x0 = *x;
    double value[2];
    for (int side = 0; side < 2; ++side) {
        *x = side ? x0 - h : x0 + h;
        if (twin) *twin = *x;
        value[side] = ConstraintValue(mem, fromDensity);
    }
    *x = x0;
    if (twin) *twin = x0;
    return (value[0] - value[1]) / (2 * h);
}

const AnalysisSpec kMonoclinic{
    "P 21/c",
    {7.1f, 8.3f, 9.2f, 90.0f, 104.0f, 90.0f},
    {8, 8, 8},
    {{1, 0, 0}, {0, 1, 1}, {1, 2, 1}, {-1, 1, 2}, {2, 0, -2}, {0, 2, 0}, {1, 1, -3}, {3, 1, 1}, {1, 3, 1}},
    {1, 2}};
const AnalysisSpec kTrigonal{
    "P 32 2 1",
    {5.0f, 5.0f, 6.0f, 90.0f, 90.0f, 120.0f},
    {6, 6, 6},
    {{1, 0, 0}, {1, 0, 1}, {1, 1, 2}, {2, -1, 1}, {0, 1, 2}, {0, 0, 3}, {2, 1, -1}, {1, 1, 0}},
    {2}};
const AnalysisSpec kOrthorhombic{
    "P 21 21 21",
    {5.5f, 6.5f, 7.5f, 90.0f, 90.0f, 90.0f},
    {8, 8, 8},
    {{1, 0, 0}, {0, 1, 1}, {1, 2, 1}, {2, 1, 3}, {0, 2, 3}, {3, 1, 2}, {1, 1, 1}, {2, 2, 1}},
    {1, 2}};

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

// dCdR is the derivative per grid point; the value of an orbit's voxel moves
// all of its multiplicity[v] points, so the difference quotient by that value
// is multiplicity times dCdR. Centric and non-centric, on both paths, with
// groups compared by magnitude or by their mean real part. Random data far
// from the fit make the high orders of P 21 21 21 overflow the precision of
// the differences, so its observations are moved near the fit.
TEST(ConstraintDerivative, ByDensityMatchesFiniteDifferences) {
    const struct {
        const AnalysisSpec* spec;
        bool transform, linearGroups, nearFit;
    } cases[] = {{&kMonoclinic, false, false, false},
                 {&kTrigonal, false, false, false},
                 {&kTrigonal, false, true, false},
                 {&kMonoclinic, true, false, false},
                 {&kOrthorhombic, true, false, true}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.spec->symbol + (c.transform ? " transform" : " direct") +
                     (c.linearGroups ? " linear" : ""));
        auto mem = c.transform ? MakeTransformAnalysis(*c.spec) : MakePreparedAnalysis(*c.spec);
        ASSERT_EQ(mem->useFFT, c.transform);
        mem->param.estimateUnobserved = c.linearGroups;
        WeighAllOrders(*mem);
        RandomiseDensity(*mem, 5);
        if (c.nearFit) MoveObservationsNearTheFit(*mem, 3);
        ConstraintValue(*mem, true);
        mem->DFT_Derivatives();
        for (int g : {0, 1, mem->NASYM / 3, mem->NASYM / 2, mem->NASYM - 1}) {
            int v;
            ThreadData* b = VoxelBlock(*mem, g, &v);
            const double analytic = b->dCdR[v] * b->multiplicity[v];
            const double difference = Difference(*mem, &b->rho1[v], 1e-4 * b->rho1[v], true, &b->rho12[v]);
            EXPECT_NEAR(analytic, difference, 1e-6 * std::max(std::fabs(difference), 1.0)) << "voxel " << g;
        }
    }
}

// The merged derivatives by A and B of every reflection, all eight orders
// weighted, groups compared by magnitude and then by their mean real part.
// The latter occur only in centrosymmetric data, where B is zero; their B
// derivative is then left as it stands, so it is not checked.
TEST(ConstraintDerivative, ByStructureFactorsMatchesFiniteDifferences) {
    for (int linear : {0, 1}) {
        SCOPED_TRACE(linear ? "linear groups" : "magnitude groups");
        auto mem = MakePreparedAnalysis(kOrthorhombic);
        mem->param.estimateUnobserved = linear;
        WeighAllOrders(*mem);
        RandomiseDensity(*mem, 9);
        MoveObservationsNearTheFit(*mem, 13);
        mem->Calc_Constraint(0);
        const int n = mem->nRefF + mem->nRefG;
        const std::vector<double> dRe(mem->mergedDerivRe, mem->mergedDerivRe + n);
        const std::vector<double> dIm(mem->mergedDerivIm, mem->mergedDerivIm + n);
        for (int i = 0; i < n; ++i) {
            StructureFactor* f = mem->reflections[i];
            const double dA = Difference(*mem, &f->A, 1e-6 * std::max(std::fabs(f->A), 1.0), false);
            EXPECT_NEAR(dRe[i], dA, 1e-5 * std::max(std::fabs(dA), 1.0)) << "A of reflection " << i;
            if (linear && i >= mem->nRefF) continue;
            const double dB = Difference(*mem, &f->B, 1e-6 * std::max(std::fabs(f->B), 1.0), false);
            EXPECT_NEAR(dIm[i], dB, 1e-5 * std::max(std::fabs(dB), 1.0)) << "B of reflection " << i;
        }
    }
}

// For the unknowns x with m * rho = x^2, the entropy sum S and its gradient g
// satisfy dS/dx = 2 x g; their total Q is the charge.
TEST(EntropyDerivative, BySquareRootUnknownsMatchesFiniteDifferences) {
    auto mem = MakePreparedAnalysis({"P 21/c",
                                     {6.0f, 7.0f, 8.0f, 90.0f, 100.0f, 90.0f},
                                     {6, 4, 6},
                                     {{1, 0, 0}, {0, 1, 1}, {1, 1, 1}, {0, 2, 0}}});
    ThreadData* b = mem->threads[0];
    for (int v = 0; v < b->nVoxel; ++v)
        b->rho1Old[v] = std::sqrt(b->multiplicity[v] * b->rho1[v]) * (1.0 + 0.1 * std::sin(v));
    VectorXD g(b->nVoxel), scratch(b->nVoxel);
    double S = 0.0, Q = 0.0, total = 0.0, q = 0.0;
    b->BFGS_calc_pRho(&g, S, Q);
    for (int v = 0; v < b->nVoxel; ++v) total += b->multiplicity[v] * b->rho1[v];
    EXPECT_NEAR(Q, total, 1e-12 * total);
    for (int v : {0, b->nVoxel / 2, b->nVoxel - 1}) {
        const double x = b->rho1Old[v], h = 1e-6 * x;
        double up = 0.0, down = 0.0;
        b->rho1Old[v] = x + h;
        b->BFGS_calc_pRho(&scratch, up, q);
        b->rho1Old[v] = x - h;
        b->BFGS_calc_pRho(&scratch, down, q);
        b->rho1Old[v] = x;
        EXPECT_NEAR((up - down) / (2 * h), 2 * x * g[v], 1e-6 * std::fabs(2 * x * g[v]) + 1e-9);
    }
}

// A unit normal distribution by a nine-point Gauss-Hermite rule, its weights
// turned into counts of a million residuals (nodes and weights from
// numpy.polynomial.hermite_e.hermegauss). The rule is exact up to degree 17;
// the rounding of the smallest counts leaves about 1 % at order 16.
TEST(ConstraintTerms, NormalResidualsGiveEveryOrderNearOne) {
    const double node[9] = {
        -4.512745863399783, -3.20542900285647, -2.07684797867783, -1.0232556637891326, 0.0,
        1.0232556637891326, 2.07684797867783,  3.20542900285647,  4.512745863399783};
    const int count[9] = {22, 2789, 49916, 244098, 406349, 244098, 49916, 2789, 22};
    std::vector<double> re;
    for (int i = 0; i < 9; ++i) re.insert(re.end(), count[i], node[i]);
    std::vector<double> im(re.size(), 0.0);
    std::unique_ptr<Constraint> c(Constraint::Create(0, static_cast<int>(re.size()), 0, 0, 2, 1));
    int orders[8] = {2, 4, 6, 8, 10, 12, 14, 16};
    double C[8];
    std::vector<int> noGroups;
    c->Calc_CFn(C, orders, 8, re.data(), im.data(), noGroups);
    for (int k = 0; k < 8; ++k) EXPECT_NEAR(C[k], 1.0, 0.015) << "order " << orders[k];
}

// With only the order-2 fraction, and equal relative weights, the weighted
// sum is the reduced chi-square itself.
TEST(ConstraintTerms, OrderTwoAloneIsTheReducedChiSquare) {
    AnalysisSpec spec = kOrthorhombic;
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
    auto mem = MakePreparedAnalysis(kOrthorhombic);
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
        auto mem = MakeAnalysis(kOrthorhombic);
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
        for (int i = 0; i < mem->nRefF; ++i) sum += raw[i];
        for (int g = 0, p = mem->nRefF; g < mem->nGroups; p += mem->groupSize[g++]) {
            double members = 0.0;
            for (int j = 0; j < mem->groupSize[g]; ++j) members += raw[p + j];
            const double mean = members / mem->groupSize[g];
            if (y > 0.0) std::fill(raw.begin() + p, raw.begin() + p + mem->groupSize[g], mean);
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
    } cases[] = {{"P 1", 0, false, false},
                 {"P 1", 4, false, false},
                 {"P 1", 5, false, true},
                 {"P 1", 4, true, false},
                 {"P -1", 5, true, false}};
    for (const auto& c : cases) {
        AnalysisSpec spec{c.symbol,
                          {5.0f, 6.0f, 7.0f, 90.0f, 90.0f, 90.0f},
                          {8, 8, 8},
                          {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {1, 1, 0}}};
        spec.extraE = c.extraE;
        if (c.withGenerated) spec.unobserved = generated;
        auto mem = MakePreparedAnalysis(spec);
        ASSERT_EQ(mem->nRefF, 4);
        EXPECT_EQ(mem->useFFT, c.transform)
            << c.symbol << " with " << c.extraE << " listed, generated " << c.withGenerated;
    }
}

}  // namespace
