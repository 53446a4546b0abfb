// Shared helpers of the analysis tests: the table, prepared analyses and a synthetic data set.
#pragma once

#include <gtest/gtest.h>
#include <omp.h>

#include <cmath>
#include <cstdio>
#include <sstream>
#include <string>
#include <vector>

#include "app/IO.h"
#include "common/CapturedOutput.h"
#include "common/TempDir.h"
#include "app/Timer.h"
#include "core/SpaceGroup.h"
#include "mem/MEMData3D.h"
#include "mem/ThreadData.h"

// The space-group table from the data files of the build directory, loaded once.
// Standard input is closed as well, so that the waits after a refused restart
// or prior file return at once.
inline void LoadTablesOnce() {
    static const bool loaded = [] {
        if (!freopen("/dev/null", "r", stdin)) return false;
        progvar = std::string(HALVORIN_DATA_DIR) + "/";
        return _SpaceGroup::LoadSpaceGroupStd();
    }();
    ASSERT_TRUE(loaded);
}

// An analysis that keeps its own timer stamp, as the driver does.
class TestAnalysis : public MEMData3D {
public:
    double stamp = 0.0;
};

// Reads a data set with the given settings already in `d.param`, fixes the
// thread count as the driver does, and prepares cycle 0. Messages are
// captured; the failures among them are handed to `errors` when given.
inline void Prepare(TestAnalysis& d, const std::string& dataFile, std::string* errors = nullptr) {
    LoadTablesOnce();
    CapturedOutput quiet;
    d.param.fileType = 3;
    d.param.dataFile = dataFile;
    d.param.SetFileNames();
    ASSERT_TRUE(d.ReadFobs());
    int teamSize = 1;
#pragma omp parallel
#pragma omp master
    teamSize = omp_get_num_threads();
    d.nThreads = teamSize;
    d.stamp = omp_get_wtime();
    d.PrepareCalculation(timer_function::check_timer, &d.stamp);
    if (errors) *errors = quiet.errors();
}

// Copies a bundled example data set into `dir` and returns the copy's path.
inline std::string CopyExample(const TempDir& dir, const std::string& name) {
    std::string to = dir.file(name + ".mem");
    WriteText(to, ReadText(std::string(HALVORIN_SOURCE_DIR) + "/examples/" + name + ".mem"));
    return to;
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
        for (int i = 0; i < 3; ++i) set.grid[i] = grid[i];
    const double cell[3] = {4.0, 4.5, 5.0};
    struct Atom {
        double z, x, y, w, b;
    };
    const Atom atoms[2] = {{8.0, 0.10, 0.20, 0.30, 3.0}, {4.0, 0.60, 0.55, 0.80, 4.0}};
    auto F = [&](int h, int k, int l, double& re, double& im) {
        double s2 = std::pow(h / cell[0], 2) + std::pow(k / cell[1], 2) + std::pow(l / cell[2], 2);
        re = im = 0.0;
        for (const Atom& a : atoms) {
            double amp = a.z * std::exp(-a.b * s2 / 4.0);
            double phase = 2.0 * M_PI * (h * a.x + k * a.y + l * a.w);
            re += amp * std::cos(phase);
            im += amp * std::sin(phase);
        }
        return std::sqrt(s2);
    };
    std::ostringstream fLines, groupLines;
    std::vector<std::vector<int>> extra;
    for (int h = 0; h <= 5; ++h)
        for (int k = -5; k <= 5; ++k)
            for (int l = -5; l <= 5; ++l) {
                // One of each Friedel pair: the program adds the mates.
                bool upper = h > 0 || (h == 0 && (k > 0 || (k == 0 && l > 0)));
                if (!upper) continue;
                double re, im;
                double s = F(h, k, l, re, im);
                if (s > 1.0) continue;
                if (s > 0.85) {
                    if (extra.size() < 3) extra.push_back({h, k, l});
                    continue;
                }
                double sigma = 0.03 * std::hypot(re, im) + 0.05;
                char line[160];
                snprintf(line, sizeof line, "%d %d %d %.6f %.6f %.6f\n", h, k, l, re, im, sigma);
                fLines << line;
                set.hkl.push_back({h, k, l});
            }
    // The last two F reflections become one group of overlapped reflections.
    std::vector<std::vector<int>> members(set.hkl.end() - 2, set.hkl.end());
    set.hkl.resize(set.hkl.size() - 2);
    std::string fText = fLines.str();
    for (int drop = 0; drop < 2; ++drop) fText.erase(fText.rfind('\n', fText.size() - 2) + 1);
    set.nRefF = static_cast<int>(set.hkl.size());
    double sumSq = 0.0;
    for (const auto& m : members) {
        double re, im;
        F(m[0], m[1], m[2], re, im);
        sumSq += re * re + im * im;
    }
    double g = std::sqrt(sumSq / 2.0);
    char line[160];
    snprintf(line, sizeof line, "2\n%d %d %d %.6f %.6f\n%d %d %d\n", members[0][0], members[0][1],
             members[0][2], g, 0.03 * g + 0.05, members[1][0], members[1][1], members[1][2]);
    groupLines << line;

    std::ostringstream file;
    file << "Synthetic two-atom model in P 1\n4.0 4.5 5.0 90 90 90\nP 1\n";
    file << "1 1 " << set.grid[0] << " " << set.grid[1] << " " << set.grid[2] << "\n";
    file << "12.0 0.01\n" << set.nRefF << "\n" << fText << "1\n" << groupLines.str();
    file << extra.size() << "\n";
    for (const auto& e : extra) file << e[0] << " " << e[1] << " " << e[2] << "\n";
    WriteText(path, file.str());
    return set;
}
