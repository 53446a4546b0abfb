// Shared helpers of the analysis tests: the table, prepared analyses and a synthetic data set.
#pragma once

#include <gtest/gtest.h>
#include <omp.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <sstream>
#include <string>
#include <vector>

#include "app/Timer.h"
#include "mem/ThreadData.h"
#include "readmem_support.h"

// The space-group table, loaded once. Standard input is closed as well, so
// that the waits after a refused restart or prior file return at once.
inline void LoadTablesOnce() {
    static const bool quietInput = freopen("/dev/null", "r", stdin) != nullptr;
    ASSERT_TRUE(quietInput && LoadedTable().ok);
}

// An analysis that keeps its own timer stamp, as the driver does.
class TestAnalysis : public MEMData3D {
public:
    double stamp = 0.0;
};

// Reads a data set of the given file type with the settings already in
// `d.param`; the messages go to `messages` when given.
inline bool ReadQuietly(MEMData3D& d, const std::string& path, int type, std::string* messages = nullptr) {
    LoadTablesOnce();
    CapturedOutput quiet;
    d.param.fileType = type;
    d.param.dataFile = path;
    d.param.SetFileNames();
    const bool read = d.ReadFobs();
    if (messages) *messages = quiet.all();
    return read;
}

// Fixes the thread count as the driver does and prepares cycle 0; the
// failures among its messages go to `errors` when given.
inline void PrepareCycleZero(TestAnalysis& d, std::string* errors = nullptr) {
    CapturedOutput quiet;
    d.nThreads = omp_get_max_threads();
    d.stamp = omp_get_wtime();
    d.PrepareCalculation(timer_function::check_timer, &d.stamp);
    if (errors) *errors = quiet.errors();
}

// ReadQuietly on a .mem data set, then PrepareCycleZero.
inline void Prepare(TestAnalysis& d, const std::string& dataFile, std::string* errors = nullptr) {
    ASSERT_TRUE(ReadQuietly(d, dataFile, 3));
    PrepareCycleZero(d, errors);
}

// Sum over the asymmetric unit of multiplicity times density, channel 1 or 2,
// from the accepted ("old") or the current arrays.
inline double Total(const MEMData& d, int channel, bool old) {
    double sum = 0.0;
    for (ThreadData* b : d.threads) {
        const VectorXD& rho = channel == 1 ? (old ? b->rho1Old : b->rho1) : (old ? b->rho2Old : b->rho2);
        for (int v = 0; v < b->nVoxel; ++v) sum += b->multiplicity[v] * rho[v];
    }
    return sum;
}

// A small triclinic (P 1) data set made from a two-atom model with Gaussian
// atoms: exact structure factors with sigma = 3% of |F| + 0.05, one group of
// two overlapped reflections and three reflections that are only listed.
// The structure factor convention is that of the program: a plus sign in the
// exponent and no normalisation, so that F(000) is the number of electrons.
struct SyntheticDataSet {
    int grid[3] = {16, 18, 20};
    int nRefF = 0;
    std::vector<std::vector<int>> hkl;  // of the F reflections, in file order
};

inline SyntheticDataSet WriteP1DataSet(const std::string& path, const int* grid = nullptr) {
    SyntheticDataSet set;
    if (grid)
        std::copy(grid, grid + 3, set.grid);
    struct Reflection {
        int h, k, l;
        double re, im, s;
    };
    // Atoms of 8 and 4 electrons: weight, x, y, z, B.
    const double atoms[2][5] = {{8.0, 0.10, 0.20, 0.30, 3.0}, {4.0, 0.60, 0.55, 0.80, 4.0}};
    std::vector<Reflection> observed, listed;
    for (int h = 0; h <= 5; ++h)
        for (int k = -5; k <= 5; ++k)
            for (int l = -5; l <= 5; ++l) {
                // One of each Friedel pair: the program adds the mates.
                if (!(h > 0 || (h == 0 && (k > 0 || (k == 0 && l > 0))))) continue;
                Reflection r{h, k, l, 0.0, 0.0, std::sqrt(std::pow(h / 4.0, 2) + std::pow(k / 4.5, 2) + std::pow(l / 5.0, 2))};
                for (const auto& a : atoms) {
                    const double amp = a[0] * std::exp(-a[4] * r.s * r.s / 4.0);
                    const double phase = 2.0 * M_PI * (h * a[1] + k * a[2] + l * a[3]);
                    r.re += amp * std::cos(phase);
                    r.im += amp * std::sin(phase);
                }
                if (r.s <= 0.85) observed.push_back(r);
                else if (r.s <= 1.0 && listed.size() < 3) listed.push_back(r);
            }
    // The last two F reflections become one group of overlapped reflections.
    const Reflection m1 = observed[observed.size() - 2], m2 = observed.back();
    observed.resize(observed.size() - 2);
    const double g = std::sqrt((m1.re * m1.re + m1.im * m1.im + m2.re * m2.re + m2.im * m2.im) / 2.0);
    std::ostringstream file;
    file << "Synthetic two-atom model in P 1\n4.0 4.5 5.0 90 90 90\nP 1\n1 1 " << set.grid[0] << " "
         << set.grid[1] << " " << set.grid[2] << "\n12.0 0.01\n" << observed.size() << "\n";
    char line[160];
    for (const Reflection& r : observed) {
        snprintf(line, sizeof line, "%d %d %d %.6f %.6f %.6f\n", r.h, r.k, r.l, r.re, r.im, 0.03 * std::hypot(r.re, r.im) + 0.05);
        file << line;
        set.hkl.push_back({r.h, r.k, r.l});
    }
    snprintf(line, sizeof line, "1\n2\n%d %d %d %.6f %.6f\n%d %d %d\n", m1.h, m1.k, m1.l, g, 0.03 * g + 0.05, m2.h, m2.k, m2.l);
    file << line << listed.size() << "\n";
    for (const Reflection& e : listed) file << e.h << " " << e.k << " " << e.l << "\n";
    set.nRefF = static_cast<int>(observed.size());
    WriteText(path, file.str());
    return set;
}

// WriteP1DataSet into dir/model.mem, then Prepare.
inline void PrepareP1(TestAnalysis& d, const TempDir& dir, const int* grid = nullptr) {
    WriteP1DataSet(dir.file("model.mem"), grid);
    Prepare(d, dir.file("model.mem"));
}
