// The pruned transforms of the cell grid against the library's whole-grid transforms.
#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

#include "engine/transforms/CellTransform.h"

namespace {

struct Grids {
    std::vector<double> real;
    fftw_complex* spectrum;
    long columns, entries;
    explicit Grids(const int* n)
        : real(static_cast<std::size_t>(n[0]) * n[1] * n[2]),
          columns(n[0] / 2 + 1),
          entries(columns * n[1] * n[2]) {
        spectrum = fftw_alloc_complex(entries);
    }
    ~Grids() { fftw_free(spectrum); }
};

}  // namespace

// Forward: every column u <= uMax as the whole-grid transform has it.
// Backward: a spectrum zero beyond uMax gives the whole-grid result.
TEST(CellTransform, PrunedPassesAgreeWithTheWholeGridTransform) {
    const int n[3] = {12, 10, 8}, uMax = 3;
    Grids pruned(n), whole(n);
    CellTransform transform(n, uMax, pruned.real.data(), pruned.spectrum);
    ASSERT_TRUE(transform.Pruned());
    fftw_plan forward =
        fftw_plan_dft_r2c_3d(n[2], n[1], n[0], whole.real.data(), whole.spectrum, FFTW_ESTIMATE);
    fftw_plan backward =
        fftw_plan_dft_c2r_3d(n[2], n[1], n[0], whole.spectrum, whole.real.data(), FFTW_ESTIMATE);

    std::mt19937 random(7);
    std::uniform_real_distribution<double> value(-1.0, 1.0);
    for (double& r : pruned.real) r = value(random);
    whole.real = pruned.real;
    transform.Forward();
    fftw_execute(forward);
    for (long i = 0; i < whole.entries; ++i) {
        if (i % whole.columns > uMax) continue;
        for (int c = 0; c < 2; ++c) ASSERT_NEAR(pruned.spectrum[i][c], whole.spectrum[i][c], 1e-12) << i;
    }

    // The spectrum of a real grid, cut off beyond uMax as the derivatives are.
    for (long i = 0; i < whole.entries; ++i)
        for (int c = 0; c < 2; ++c)
            pruned.spectrum[i][c] = whole.spectrum[i][c] =
                i % whole.columns <= uMax ? whole.spectrum[i][c] : 0.0;
    transform.Backward();
    fftw_execute(backward);
    for (std::size_t j = 0; j < whole.real.size(); ++j)
        ASSERT_NEAR(pruned.real[j], whole.real[j], 1e-12) << j;
    fftw_destroy_plan(forward);
    fftw_destroy_plan(backward);
}
