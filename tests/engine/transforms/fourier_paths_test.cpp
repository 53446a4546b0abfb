// The transform path and the direct-sum path give the structure factors of the definition.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>

#include "engine/analysis_fixture.h"

namespace {

struct Pair {
    std::unique_ptr<MEMData3D> direct;
    std::unique_ptr<MEMData3D> fft;
};

Pair BothPaths(AnalysisSpec spec) {
    spec.withOrigin = true;
    spec.extraE = 0;
    Pair p;
    p.direct = MakePreparedAnalysis(spec);
    p.fft = MakeTransformAnalysis(spec);
    EXPECT_FALSE(p.direct->useFFT);
    EXPECT_TRUE(p.fft->useFFT);
    EXPECT_EQ(p.direct->NASYM, p.fft->NASYM);
    return p;
}

// F(h) = sum over all cell points of density * exp(+2 pi i h.x), straight
// from the definition, over the whole-cell grid that the transform path read.
std::complex<double> SumOverCell(const MEMData3D& mem, const int* h) {
    const int* n = mem.gridSize;
    std::complex<double> F = 0.0;
    for (int z = 0; z < n[2]; ++z)
        for (int y = 0; y < n[1]; ++y)
            for (int x = 0; x < n[0]; ++x) {
                const double phase =
                    2.0 * M_PI *
                    (double(h[0]) * x / n[0] + double(h[1]) * y / n[1] + double(h[2]) * z / n[2]);
                F += mem.realGrid[x + n[0] * (y + n[1] * z)] * std::polar(1.0, phase);
            }
    return F;
}

// Structure factors on both paths for a random density; |F| <= F(000) bounds
// every value, so the differences are measured against F(000).
void ExpectSameStructureFactors(const AnalysisSpec& spec) {
    Pair p = BothPaths(spec);
    RandomiseDensity(*p.direct, 7);
    RandomiseDensity(*p.fft, 7);
    p.direct->CalcFcalc(1);
    p.fft->CalcFcalc(1);

    const int common = p.direct->nRefUnobs + p.direct->nRefF + p.direct->nRefG + 1;  // and (0 0 0)
    const double scale = spec.F000;
    for (int i = 0; i < common; ++i) {
        const StructureFactor* a = p.direct->reflections[i];
        const StructureFactor* b = p.fft->reflections[i];
        const std::complex<double> truth = SumOverCell(*p.fft, a->hkl.item(0));
        for (const StructureFactor* f : {a, b}) {
            EXPECT_NEAR(truth.real(), f->A, 1e-9 * scale) << "reflection " << i;
            EXPECT_NEAR(truth.imag(), f->B, 1e-9 * scale) << "reflection " << i;
            if (p.direct->centroFactor == 2) {
                EXPECT_EQ(f->B, 0.0);
            }
        }
    }
    // The origin is the first report-only reflection: the total charge.
    for (MEMData3D* mem : {p.direct.get(), p.fft.get()}) {
        EXPECT_NEAR(mem->reflections[common - 1]->A, Total(*mem, 1, false), 1e-10 * scale);
        EXPECT_NEAR(mem->reflections[common - 1]->B, 0.0, 1e-10 * scale);
    }
}

// Centrosymmetric, non-centrosymmetric, a trigonal screw, generated
// reflections at the head of the list (carried by the direct sums as table
// columns of their own) and a centred lattice, whose translations add only
// phases of 1 for allowed reflections.
TEST(FourierPaths, SameStructureFactors) {
    AnalysisSpec generated{"P 21 21 21",
                           {5.5f, 6.5f, 7.5f, 90.0f, 90.0f, 90.0f},
                           {16, 16, 16},
                           {{1, 1, 0}, {0, 1, 1}, {1, 2, 1}, {2, 1, 3}}};
    generated.unobserved = {{1, 0, 0}, {0, 3, 0}, {2, 3, 1}, {1, 1, 4}};
    const AnalysisSpec cases[] = {
        {"P 21/c",
         {7.1f, 8.3f, 9.2f, 90.0f, 104.0f, 90.0f},
         {16, 16, 16},
         {{1, 0, 0}, {0, 1, 1}, {1, 2, 1}, {-1, 1, 2}, {2, 0, -2}, {0, 2, 0}, {1, 1, -3}, {3, 1, 1}}},
        {"P 21 21 21",
         {5.5f, 6.5f, 7.5f, 90.0f, 90.0f, 90.0f},
         {16, 16, 16},
         {{1, 0, 0}, {0, 1, 1}, {1, 2, 1}, {2, 1, 3}, {0, 2, 3}, {3, 1, 2}}},
        {"P 32 2 1",
         {5.0f, 5.0f, 6.0f, 90.0f, 90.0f, 120.0f},
         {12, 12, 12},
         {{1, 0, 0}, {1, 0, 1}, {1, 1, 2}, {2, -1, 1}, {0, 1, 2}, {0, 0, 3}, {2, 1, -1}}},
        generated,
        {"F m -3 m",
         {5.6f, 5.6f, 5.6f, 90.0f, 90.0f, 90.0f},
         {16, 16, 16},
         {{1, 1, 1}, {2, 0, 0}, {2, 2, 0}, {3, 1, 1}, {2, 2, 2}, {4, 0, 0}}},
    };
    for (const AnalysisSpec& spec : cases) {
        SCOPED_TRACE(spec.symbol);
        ExpectSameStructureFactors(spec);
    }
}

// Reflections that the lattice or a screw axis forbids are zero for every
// symmetric density, on both paths.
TEST(FourierPaths, AbsentReflectionsVanish) {
    for (const char* symbol : {"F m -3 m", "P 21/c"}) {
        AnalysisSpec spec{symbol,
                          {5.6f, 5.9f, 6.3f, 90.0f, 90.0f, 90.0f},
                          {12, 12, 12},
                          {{1, 0, 0}, {1, 1, 0}, {0, 1, 0}, {0, 3, 0}, {1, 1, 1}, {2, 0, 0}}};
        spec.keepAbsent = true;
        Pair p = BothPaths(spec);
        for (MEMData3D* mem : {p.direct.get(), p.fft.get()}) {
            RandomiseDensity(*mem, 21);
            int absent = 0;
            for (int i = 0; i < mem->nRefF; ++i) {
                const StructureFactor* f = mem->reflections[i];
                // An absent record keeps raw sums in place of (phase, sign 1).
                if (std::fabs(f->phase.item(0)[1]) > 0.5) continue;
                ++absent;
                EXPECT_NEAR(f->A, 0.0, 1e-12 * spec.F000) << symbol << " reflection " << i;
                EXPECT_NEAR(f->B, 0.0, 1e-12 * spec.F000) << symbol << " reflection " << i;
            }
            EXPECT_GT(absent, 0) << symbol;
        }
    }
}

}  // namespace
