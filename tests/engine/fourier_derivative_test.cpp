// Derivatives of the constraint by the density against finite differences, and where the
// transform path's backward map departs from the direct sums.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>

#include "mem/ThreadData.h"
#include "voxel_fixture.h"

namespace {

double ConstraintValue(MEMData3D& mem) {
    mem.CalcFcalc(0);
    mem.Calc_Constraint(0);
    return mem.wConstr;
}

// All eight orders weighted, and no damping by C, so that every term and its
// derivative take part.
void WeighAllOrders(MEMData3D& mem) {
    mem.param.algorithm = 1;
    for (int c = 0; c < 8; ++c)
        mem.param.lambdaFraction[c] = 1.0 / (c + 1);
}

// dCdR is the derivative per grid point; the value of an orbit's voxel moves
// all of its multiplicity[v] points, so the difference quotient by that value
// is multiplicity times dCdR.
void ExpectDerivativeMatchesDifferences(MEMData3D& mem) {
    WeighAllOrders(mem);
    RandomiseDensity(mem, 5);
    ConstraintValue(mem);
    mem.DFT_Derivatives();

    std::vector<int> voxels = {0, 1, mem.NASYM / 3, mem.NASYM / 2, mem.NASYM - 1};
    for (int g : voxels) {
        ThreadData* b;
        int v;
        VoxelDensity(mem, g, &b, &v);
        const double analytic = b->dCdR[v] * b->multiplicity[v];
        const double rho = b->rho1[v];
        const double h = 1e-4 * rho;
        b->rho1[v] = b->rho12[v] = rho + h;
        const double up = ConstraintValue(mem);
        b->rho1[v] = b->rho12[v] = rho - h;
        const double down = ConstraintValue(mem);
        b->rho1[v] = b->rho12[v] = rho;
        const double difference = (up - down) / (2 * h);
        EXPECT_NEAR(analytic, difference, 1e-6 * std::max(std::fabs(difference), 1.0))
            << "voxel " << g << " of multiplicity " << b->multiplicity[v];
    }
}

const AnalysisSpec kMonoclinic{"P 21/c", {7.1f, 8.3f, 9.2f, 90.0f, 104.0f, 90.0f}, {8, 8, 8},
                               {{1, 0, 0}, {0, 1, 1}, {1, 2, 1}, {-1, 1, 2}, {2, 0, -2}, {0, 2, 0}, {1, 1, -3}, {3, 1, 1}, {1, 3, 1}},
                               {1, 2}};
const AnalysisSpec kTrigonal{"P 32 2 1", {5.0f, 5.0f, 6.0f, 90.0f, 90.0f, 120.0f}, {6, 6, 6},
                             {{1, 0, 0}, {1, 0, 1}, {1, 1, 2}, {2, -1, 1}, {0, 1, 2}, {0, 0, 3}, {2, 1, -1}, {1, 1, 0}},
                             {2}};

// Centric and non-centric on the direct path, groups compared by their mean
// real part instead of their magnitude, and the transform path.
TEST(ConstraintDerivative, MatchesFiniteDifferences) {
    const struct {
        const AnalysisSpec* spec;
        bool transform, linearGroups;
    } cases[] = {{&kMonoclinic, false, false}, {&kTrigonal, false, false},
                 {&kTrigonal, false, true}, {&kMonoclinic, true, false}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.spec->symbol + (c.transform ? " transform" : " direct") +
                     (c.linearGroups ? " linear groups" : ""));
        auto mem = c.transform ? MakeTransformAnalysis(*c.spec) : MakePreparedAnalysis(*c.spec);
        ASSERT_EQ(mem->useFFT, c.transform);
        if (c.linearGroups)
            mem->param.estimateUnobserved = 1;
        ExpectDerivativeMatchesDifferences(*mem);
    }
}

// How the equivalents of a reflection relate to their negatives.
enum class Kind {
    Acentric,           // a negative is only ever a Friedel mate
    CentricRealPhase,   // some negatives are symmetry images; phase restricted to 0 or pi
    CentricOtherPhase,  // some negatives are symmetry images; phase restricted to neither
};

// Only equivalents off the plane h = 0 matter: the backward map keeps both
// members of a pair in that plane and counts each once.
Kind Classify(const StructureFactor& f) {
    Kind kind = Kind::Acentric;
    const int M = static_cast<int>(f.hkl.nItems());
    for (int j = 0; j < M; ++j)
        for (int k = 0; k < M; ++k) {
            const int* a = f.hkl.item(j);
            const int* b = f.hkl.item(k);
            const bool images = f.phase.item(j)[1] > 0 && f.phase.item(k)[1] > 0;
            if (!images || a[0] == 0 || a[0] != -b[0] || a[1] != -b[1] || a[2] != -b[2])
                continue;
            const double sum = f.phase.item(j)[0] + f.phase.item(k)[0];
            if (std::fabs(sum - std::round(sum)) > 1e-6)
                return Kind::CentricOtherPhase;
            kind = Kind::CentricRealPhase;
        }
    return kind;
}

// Largest difference of dCdR between the paths for a unit derivative by the
// real (or imaginary) part of reflection i; dCdR is then at most 1 in size.
double PathDifference(MEMData3D& direct, MEMData3D& fft, int i, bool imaginary) {
    const int n = direct.nRefF + direct.nRefG;
    for (MEMData3D* mem : {&direct, &fft}) {
        mem->CalcFcalc(0);
        std::fill(mem->mergedDerivRe, mem->mergedDerivRe + n, 0.0);
        std::fill(mem->mergedDerivIm, mem->mergedDerivIm + n, 0.0);
        (imaginary ? mem->mergedDerivIm : mem->mergedDerivRe)[i] = 1.0;
        mem->DFT_Derivatives();
    }
    double difference = 0.0;
    for (int g = 0; g < direct.NASYM; ++g) {
        ThreadData *a, *b;
        int va, vb;
        VoxelDensity(direct, g, &a, &va);
        VoxelDensity(fft, g, &b, &vb);
        difference = std::max(difference, std::fabs(a->dCdR[va] - b->dCdR[vb]));
    }
    return difference;
}

// The transform path writes only the half of reciprocal space with h <= 0 and
// lets the Hermitian symmetry of the real-valued backward transform supply the
// other half: the negative of every written equivalent is taken to carry the
// conjugate phase shift. That holds for Friedel mates and in centrosymmetric
// groups. In P 32 2 1 the twofold axes with translations of 1/3 and 2/3 along c
// make the negative of some equivalents a symmetry image with a phase shift of
// its own; where that shift is not the negative of its partner's, the
// reflection's phase is restricted to a value other than 0 or pi, and the
// transform path's derivative differs from the direct sums, which follow every
// operator. Where the restricted phase is 0 or pi, the real part still agrees;
// B is then zero for every symmetric density, so the direct sums give its
// derivative no weight, while the transform path gives it some; consistent
// data (observed B = 0) never produce such a derivative.
TEST(ConstraintDerivative, TransformPathDepartsWhereNegativesCarryOtherPhases) {
    AnalysisSpec spec{"P 32 2 1", {5.0f, 5.0f, 6.0f, 90.0f, 90.0f, 120.0f}, {12, 12, 12},
                      {{1, 0, 0}, {1, 0, 1}, {1, 1, 2}, {2, -1, 1}, {0, 1, 2}, {0, 0, 3}, {2, 1, -1}, {1, 1, 0}}};
    auto direct = MakePreparedAnalysis(spec);
    auto fft = MakeTransformAnalysis(spec);
    ASSERT_FALSE(direct->useFFT);
    int seen[3] = {0, 0, 0};
    for (int i = 0; i < direct->nRefF; ++i) {
        const Kind kind = Classify(*direct->reflections[i]);
        ++seen[static_cast<int>(kind)];
        const double real = PathDifference(*direct, *fft, i, false);
        const double imaginary = PathDifference(*direct, *fft, i, true);
        switch (kind) {
            case Kind::Acentric:
                EXPECT_LT(real, 1e-9) << "reflection " << i;
                EXPECT_LT(imaginary, 1e-9) << "reflection " << i;
                break;
            case Kind::CentricRealPhase:
                EXPECT_LT(real, 1e-9) << "reflection " << i;
                EXPECT_GT(imaginary, 0.1) << "reflection " << i;
                break;
            case Kind::CentricOtherPhase:
                EXPECT_GT(real, 0.1) << "reflection " << i;
                EXPECT_GT(imaginary, 0.1) << "reflection " << i;
                break;
        }
    }
    // The list holds reflections of every kind.
    EXPECT_GT(seen[0], 0);
    EXPECT_GT(seen[1], 0);
    EXPECT_GT(seen[2], 0);
}

}  // namespace
