// Per-block density arithmetic: totals, channels and the entropy gradient.
#include <gtest/gtest.h>

#include <cmath>

#include "mem/ThreadData.h"
#include "voxel_fixture.h"

namespace {

std::unique_ptr<MEMData3D> TwoChannels(double plus, double minus) {
    auto mem = MakeAnalysis({"P 21/c", {6.0f, 7.0f, 8.0f, 90.0f, 100.0f, 90.0f}, {6, 4, 6},
                             {{1, 0, 0}, {0, 1, 1}, {1, 1, 1}, {0, 2, 0}}});
    mem->targetMoment[0] = plus;
    mem->targetMoment[1] = minus;
    PrepareQuietly(*mem);
    mem->Calc_Constraint(0);
    mem->DFT_Derivatives();
    return mem;
}

// One exponential step and its normalisation: each channel ends at its target
// total and keeps its sign, rho12 is their sum, and an absent negative channel
// is never touched.
TEST(VoxelDensity, StepAndNormaliseReachTheTargetTotals) {
    for (double target : {-12.0, 0.0}) {
        auto mem = TwoChannels(40.0, target);
        double Zp = 0.0, Zm = 0.0;
        for (ThreadData* b : mem->threads) {
            double zp = 0.0, zm = 0.0;
            b->ZSPA_Calc_Next_Rho1(0.3, zp, zm);
            Zp += zp;
            Zm += zm;
        }
        double plus = 0.0, minus = 0.0;
        for (ThreadData* b : mem->threads) {
            b->ZSPA_Normalize(40.0 / Zp, target != 0.0 ? target / Zm : NAN);
            double a = 0.0, bm = 7.0;
            b->Calc_mu1(a, bm);
            if (target == 0.0) {
                EXPECT_EQ(bm, 7.0);
            }
            for (int v = 0; v < b->nVoxel; ++v) {
                plus += b->multiplicity[v] * b->rho1[v];
                minus += b->multiplicity[v] * b->rho2[v];
                EXPECT_GT(b->rho1[v], 0.0);
                EXPECT_TRUE(target < 0.0 ? b->rho2[v] < 0.0 : b->rho2[v] == 0.0);
                EXPECT_DOUBLE_EQ(b->rho12[v], b->rho1[v] + b->rho2[v]);
            }
        }
        EXPECT_NEAR(plus, 40.0, 1e-12 * 40.0);
        EXPECT_NEAR(minus, target, 1e-12 * 12.0);
    }
}

// For the unknowns x with m * rho = x^2, the entropy sum S and its gradient g
// satisfy dS/dx = 2 x g: checked by central differences.
TEST(VoxelDensity, EntropyGradientOfTheSquareRootUnknowns) {
    auto mem = TwoChannels(40.0, 0.0);
    ThreadData* b = mem->threads[0];
    for (int v = 0; v < b->nVoxel; ++v)
        b->rho1Old[v] = std::sqrt(b->multiplicity[v] * b->rho1[v]) * (1.0 + 0.1 * std::sin(v));
    VectorXD g(b->nVoxel), scratch(b->nVoxel);
    double S = 0.0, Q = 0.0, total = 0.0;
    b->BFGS_calc_pRho(g, S, Q);
    for (int v = 0; v < b->nVoxel; ++v)
        total += b->multiplicity[v] * b->rho1[v];
    EXPECT_NEAR(Q, total, 1e-12 * total);
    for (int v : {0, b->nVoxel / 2, b->nVoxel - 1}) {
        const double x = b->rho1Old[v], h = 1e-6 * x;
        double up = 0.0, down = 0.0, q = 0.0;
        b->rho1Old[v] = x + h;
        b->BFGS_calc_pRho(scratch, up, q);
        b->rho1Old[v] = x - h;
        b->BFGS_calc_pRho(scratch, down, q);
        b->rho1Old[v] = x;
        EXPECT_NEAR((up - down) / (2 * h), 2 * x * g[v], 1e-6 * std::fabs(2 * x * g[v]) + 1e-9);
    }
}

}  // namespace
