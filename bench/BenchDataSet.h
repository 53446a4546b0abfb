// The benchmark data set (random atoms in P 1 on a 128^3 grid) and the reference time of one cycle's unavoidable work.
#pragma once

#include <fftw3.h>
#include <omp.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <random>
#include <string>
#include <vector>

namespace bench {

constexpr int kGrid = 128;
constexpr double kCell = 12.8;  // angstrom: voxels of 0.1 angstrom

// A triclinic cell of random Gaussian atoms: every voxel is in the
// asymmetric unit, the heaviest case for the per-voxel work.
inline std::string WriteDataSet(const std::string& dir) {
    std::mt19937 random(4711);
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    struct Atom {
        double z, x[3];
    };
    std::vector<Atom> atoms(24);
    double f000 = 0.0;
    for (Atom& a : atoms) {
        a.z = 2.0 + std::floor(unit(random) * 20.0);
        for (double& c : a.x) c = unit(random);
        f000 += a.z;
    }
    const std::string path = dir + "/bench.mem";
    FILE* f = fopen(path.c_str(), "w");
    if (!f) return "";
    std::vector<std::string> lines;
    const int hmax = 16;  // d > 0.8 angstrom
    for (int h = 0; h <= hmax; ++h)
        for (int k = -hmax; k <= hmax; ++k)
            for (int l = -hmax; l <= hmax; ++l) {
                if (!(h > 0 || (h == 0 && (k > 0 || (k == 0 && l > 0))))) continue;
                double s = std::sqrt(double(h * h + k * k + l * l)) / kCell;
                if (s > 1.25) continue;
                double re = 0.0, im = 0.0;
                for (const Atom& a : atoms) {
                    double amp = a.z * std::exp(-1.5 * s * s / 4.0);
                    double phase = 2.0 * M_PI * (h * a.x[0] + k * a.x[1] + l * a.x[2]);
                    re += amp * std::cos(phase);
                    im += amp * std::sin(phase);
                }
                char line[128];
                snprintf(line, sizeof line, "%d %d %d %.6f %.6f %.6f\n", h, k, l, re, im,
                         0.02 * std::hypot(re, im) + 0.05);
                lines.push_back(line);
            }
    fprintf(f, "Benchmark: random atoms in P 1\n%g %g %g 90 90 90\nP 1\n1 1 %d %d %d\n%g 0.001\n%zu\n", kCell,
            kCell, kCell, kGrid, kGrid, kGrid, f000, lines.size());
    for (const std::string& line : lines) fputs(line.c_str(), f);
    fprintf(f, "0\n0\n");
    fclose(f);
    return path;
}

// Seconds of one forward plus one backward transform of the grid, planned as
// the engine plans them, and of one pass of `pass` over nAsym values: the
// work a cycle of an optimiser cannot avoid.
inline double ReferenceSeconds(int nThreads, int nAsym, int repeats, double (*pass)(double)) {
    const long n = long(kGrid) * kGrid * kGrid;
    const long nComplex = long(kGrid / 2 + 1) * kGrid * kGrid;
    double* real = fftw_alloc_real(n);
    fftw_complex* complex = fftw_alloc_complex(nComplex);
    fftw_plan_with_nthreads(nThreads);
    fftw_plan forward = fftw_plan_dft_r2c_3d(kGrid, kGrid, kGrid, real, complex, FFTW_MEASURE);
    fftw_plan backward = fftw_plan_dft_c2r_3d(kGrid, kGrid, kGrid, complex, real, FFTW_MEASURE);
    std::vector<double> in(nAsym), out(nAsym);
    for (int i = 0; i < nAsym; ++i) in[i] = 1e-3 * (1 + i % 1000);
    for (long i = 0; i < n; ++i) real[i] = 1.0 + (i % 7);

    double best = 1e30;
    for (int r = 0; r < repeats; ++r) {
        double start = omp_get_wtime();
        fftw_execute(forward);
        fftw_execute(backward);
#pragma omp parallel for num_threads(nThreads) schedule(static)
        for (int i = 0; i < nAsym; ++i) out[i] = pass(in[i]);
        best = std::min(best, omp_get_wtime() - start);
    }
    fftw_destroy_plan(forward);
    fftw_destroy_plan(backward);
    fftw_free(real);
    fftw_free(complex);
    return best;
}

}  // namespace bench
