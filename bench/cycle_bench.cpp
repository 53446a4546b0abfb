// Cost of one ZSPA attempt and one L-BFGS evaluation against the floor of a cycle
// (one forward and one backward transform of the grid plus one exp pass over the
// asymmetric unit), measured in the same process with the same team of threads.
//
// Usage: cycle_bench SET [repetitions] [data directory]
//        cycle_bench SET write DIRECTORY   (writes DIRECTORY/SET.mem and ends)
//   SET is p21c (P 2_1/c, 192^3), p1 (P 1, 160^3), cubic (P m -3 m, 192^3) or
//   direct (P m -3 m, 48^3, direct sums). The team size is the OpenMP default,
//   so the caller chooses it with OMP_NUM_THREADS.
// Prints one CSV line: set,grid,NASYM,reflections,path,threads,zspa_ms,
// lbfgs_ms,floor_ms,zspa_ratio,lbfgs_ratio,bytes_per_voxel,repetitions; times
// are medians, the peak resident memory is that of the set-up and a first
// ZSPA attempt, before the floor's own arrays exist.
#include <fftw3.h>
#include <omp.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "util/IO.h"
#include "crystal/SpaceGroup.h"
#include "engine/MEMData3D.h"
#include "engine/Prepare.h"
#include "engine/blocks/ThreadData.h"
#include "engine/blocks/VectorMath.h"
#include "engine/optimisers/ZSPA.h"

namespace {

struct DataSet {
    const char* name;
    int number;  // space-group number, setting 1
    double cell[6];
    int grid;
    double dMin;  // angstrom
    int atoms;    // in the asymmetric unit
};

const DataSet kSets[] = {
    {"p21c", 14, {28.0, 30.0, 29.0, 90.0, 100.0, 90.0}, 192, 0.80, 120},
    {"p1", 1, {21.0, 22.0, 21.5, 90.0, 90.0, 90.0}, 160, 0.80, 60},
    {"cubic", 221, {24.0, 24.0, 24.0, 90.0, 90.0, 90.0}, 192, 0.70, 30},
    {"direct", 221, {6.0, 6.0, 6.0, 90.0, 90.0, 90.0}, 48, 0.60, 3},
};

// Rotation (row-major) and translation of a symmetry operator.
struct Op {
    int r[9];
    double t[3];
};

// The operators of the groups above, enough to compute their structure factors.
std::vector<Op> Operators(int number) {
    if (number == 1) return {{{1, 0, 0, 0, 1, 0, 0, 0, 1}, {0, 0, 0}}};
    if (number == 14)
        return {{{1, 0, 0, 0, 1, 0, 0, 0, 1}, {0, 0, 0}},
                {{-1, 0, 0, 0, 1, 0, 0, 0, -1}, {0, 0.5, 0.5}},
                {{-1, 0, 0, 0, -1, 0, 0, 0, -1}, {0, 0, 0}},
                {{1, 0, 0, 0, -1, 0, 0, 0, 1}, {0, 0.5, 0.5}}};
    // P m -3 m: every signed permutation of the axes.
    std::vector<Op> ops;
    const int perm[6][3] = {{0, 1, 2}, {1, 2, 0}, {2, 0, 1}, {1, 0, 2}, {0, 2, 1}, {2, 1, 0}};
    for (const auto& p : perm)
        for (int s = 0; s < 8; ++s) {
            Op op{{0}, {0, 0, 0}};
            for (int row = 0; row < 3; ++row) op.r[3 * row + p[row]] = (s >> row & 1) ? -1 : 1;
            ops.push_back(op);
        }
    return ops;
}

// One representative of every orbit of indices, with the absences of P 2_1/c left out.
bool Representative(int number, int h, int k, int l) {
    if (h == 0 && k == 0 && l == 0) return false;
    if (number == 1) return h > 0 || (h == 0 && (k > 0 || (k == 0 && l > 0)));
    if (number == 14) {
        if (k < 0 || !(h > 0 || (h == 0 && l >= 0))) return false;
        if (k == 0 && l % 2 != 0) return false;
        return !(h == 0 && l == 0 && k % 2 != 0);
    }
    return h >= k && k >= l && l >= 0;
}

double Reciprocal2(const DataSet& s, int h, int k, int l) {
    // Orthogonal or monoclinic (beta) cells only.
    const double b = s.cell[4] * M_PI / 180.0, sb = std::sin(b);
    const double a = s.cell[0], bb = s.cell[1], c = s.cell[2];
    return (h * h / (a * a) + l * l / (c * c) - 2.0 * h * l * std::cos(b) / (a * c)) / (sb * sb) +
           k * k / (bb * bb);
}

// Random Gaussian atoms, expanded by the operators; F = sum over all images.
std::string WriteDataSet(const DataSet& s, const std::string& dir) {
    std::mt19937 random(4711);
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    const std::vector<Op> ops = Operators(s.number);
    std::vector<std::array<double, 4>> atoms;  // z, x, y, z
    double f000 = 0.0;
    for (int i = 0; i < s.atoms; ++i) {
        const double z = 2.0 + std::floor(unit(random) * 20.0),
                     x[3] = {unit(random), unit(random), unit(random)};
        for (const Op& op : ops) {
            std::array<double, 4> a{z, 0, 0, 0};
            for (int r = 0; r < 3; ++r)
                a[1 + r] = op.r[3 * r] * x[0] + op.r[3 * r + 1] * x[1] + op.r[3 * r + 2] * x[2] + op.t[r];
            atoms.push_back(a);
            f000 += z;
        }
    }
    const int hmax = static_cast<int>(std::max({s.cell[0], s.cell[1], s.cell[2]}) / s.dMin) + 1;
    std::vector<std::array<int, 3>> hkl;
    for (int h = -hmax; h <= hmax; ++h)
        for (int k = -hmax; k <= hmax; ++k)
            for (int l = -hmax; l <= hmax; ++l)
                if (Representative(s.number, h, k, l) && Reciprocal2(s, h, k, l) <= 1.0 / (s.dMin * s.dMin))
                    hkl.push_back({h, k, l});
    std::vector<double> re(hkl.size()), im(hkl.size());
#pragma omp parallel for schedule(dynamic, 64)
    for (std::size_t i = 0; i < hkl.size(); ++i) {
        const int h = hkl[i][0], k = hkl[i][1], l = hkl[i][2];
        const double damp = std::exp(-1.5 * Reciprocal2(s, h, k, l) / 4.0);
        double a = 0.0, b = 0.0;
        for (const auto& at : atoms) {
            const double phase = 2.0 * M_PI * (h * at[1] + k * at[2] + l * at[3]);
            a += at[0] * damp * std::cos(phase);
            b += at[0] * damp * std::sin(phase);
        }
        re[i] = a;
        im[i] = s.number == 1 ? b : 0.0;
    }
    const std::string path = dir + "/" + s.name + ".mem";
    FILE* f = std::fopen(path.c_str(), "w");
    if (!f) return "";
    std::fprintf(f, "Benchmark %s\n%g %g %g %g %g %g\n-\n%d 1 %d %d %d\n%g 0.001\n%zu\n", s.name, s.cell[0],
                 s.cell[1], s.cell[2], s.cell[3], s.cell[4], s.cell[5], s.number, s.grid, s.grid, s.grid,
                 f000, hkl.size());
    for (std::size_t i = 0; i < hkl.size(); ++i)
        std::fprintf(f, "%d %d %d %.6f %.6f %.6f\n", hkl[i][0], hkl[i][1], hkl[i][2], re[i], im[i],
                     0.02 * std::hypot(re[i], im[i]) + 0.05);
    std::fprintf(f, "0\n0\n");
    std::fclose(f);
    return path;
}

int Quiet(const char*, ...) { return 0; }

// Attempts are counted by the lines that announce rejected ones; accepted
// ones by the cycle counter.
int rejected = 0;
int CountRejections(const char* fmt, ...) {
    if (std::strncmp(fmt, "A new value", 11) == 0) ++rejected;
    return 0;
}

double Median(std::vector<double> v) {
    std::sort(v.begin(), v.end());
    return v[v.size() / 2];
}

// Forward and backward transform of the grid, planned as the engine plans
// them, plus one exp pass over the asymmetric unit: the floor of a cycle.
class Floor {
public:
    Floor(const int* n, int nThreads, int nAsym) : nThreads_(nThreads), in_(nAsym), out_(nAsym) {
        const long cells = long(n[0]) * n[1] * n[2];
        real_ = fftw_alloc_real(cells);
        complex_ = fftw_alloc_complex(long(n[0] / 2 + 1) * n[1] * n[2]);
        fftw_plan_with_nthreads(nThreads);
        forward_ = fftw_plan_dft_r2c_3d(n[2], n[1], n[0], real_, complex_, FFTW_MEASURE);
        backward_ = fftw_plan_dft_c2r_3d(n[2], n[1], n[0], complex_, real_, FFTW_MEASURE);
        for (long i = 0; i < cells; ++i) real_[i] = 1.0 + (i % 7);
        for (int i = 0; i < nAsym; ++i) in_[i] = -1e-3 * (i % 1000);
    }
    ~Floor() {
        fftw_destroy_plan(forward_);
        fftw_destroy_plan(backward_);
        fftw_free(real_);
        fftw_free(complex_);
    }
    double Seconds() {
        const double start = omp_get_wtime();
        fftw_execute(forward_);
        fftw_execute(backward_);
        const int n = static_cast<int>(in_.size());
        double* out = out_.data();
        const double* in = in_.data();
        // Vectorised as the engine's own exp passes are (the same vector exp).
#pragma omp parallel for simd num_threads(nThreads_) schedule(static)
        for (int i = 0; i < n; ++i) out[i] = std::exp(in[i]);
        return omp_get_wtime() - start;
    }

private:
    int nThreads_;
    double* real_;
    fftw_complex* complex_;
    fftw_plan forward_, backward_;
    std::vector<double> in_, out_;
};

// One ZSPA attempt or more, up to the first accepted one, per attempt; the
// structure factors of every reflection that close the run are not counted.
double ZspaAttempt(MEMData3D& d) {
    rejected = 0;
    IO::Printf = &CountRejections;
    double start = omp_get_wtime();
    ZSPA(d, 2);
    double seconds = omp_get_wtime() - start;
    IO::Printf = &Quiet;
    start = omp_get_wtime();
    d.CalcFcalc(1);
    seconds -= omp_get_wtime() - start;
    return seconds / (d.cycle - 1 + rejected > 0 ? d.cycle - 1 + rejected : 1);
}

// The blocks' old densities as the minimiser's unknowns, x^2 = m rho, as the
// L-BFGS driver sets them up, and a gradient of the same shape.
void ShareUnknowns(MEMData3D& d, VectorXDMP& g) {
    for (ThreadData* block : d.threads) d.solution.AddPart(&block->rho1Old);
    for (ThreadData* block : d.threads)
        for (int v = 0; v < block->nVoxel; ++v)
            block->rho1Old[v] = std::sqrt(block->multiplicity[v] * block->rho1Old[v]);
    g.Resize(d.solution);
    d.multipliers[0] = std::sqrt(std::fabs(d.wConstr - 1.0)) * 100.0 / (d.nRefF + d.nGroups);
}

long PeakBytes() {
    rusage u{};
    getrusage(RUSAGE_SELF, &u);
    return u.ru_maxrss * 1024L;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        std::fprintf(stderr, "usage: cycle_bench p21c|p1|cubic|direct [repetitions] [data directory]\n");
        return 2;
    }
    const DataSet* set = nullptr;
    for (const DataSet& s : kSets)
        if (std::strcmp(s.name, argv[1]) == 0) set = &s;
    if (!set) return 2;
    // "cycle_bench SET write DIR" only writes the data set, for whole runs of the program.
    if (argc > 3 && std::strcmp(argv[2], "write") == 0) return WriteDataSet(*set, argv[3]).empty() ? 1 : 0;
    const int repeats = argc > 2 ? std::max(1, std::atoi(argv[2])) : 8;
    IO::Init(argv[0]);
    progvar = (argc > 3 ? std::string(argv[3]) : progvar + "..") + "/";
    if (!_SpaceGroup::LoadSpaceGroupStd()) {
        std::fprintf(stderr, "space-group tables not found in %s\n", progvar.c_str());
        return 1;
    }
    char scratch[] = "/tmp/halvorin_bench_XXXXXX";
    if (!mkdtemp(scratch)) return 1;
    const std::string dataFile = WriteDataSet(*set, scratch);

    MEMData3D d;
    d.param.fileType = 3;
    d.param.dataFile = dataFile;
    d.param.SetFileNames();
    IO::Printf = &Quiet;
    if (!d.ReadFobs()) return 1;
    std::remove(dataFile.c_str());
    rmdir(scratch);
    double stamp = omp_get_wtime();
    PrepareCalculation(d, nullptr, &stamp);

    // Attempts from the start of the run, where most are accepted. Each
    // repetition times the floor and then the engine, so that both see the
    // same load on a shared machine; the medians are compared.
    ZspaAttempt(d);
    const long peak = PeakBytes();
    Floor floor(d.gridSize, d.nThreads, d.NASYM);
    std::vector<double> floors, attemptTimes, evaluations;
    for (int r = 0; r < repeats; ++r) {
        floors.push_back(floor.Seconds());
        attemptTimes.push_back(ZspaAttempt(d));
    }
    VectorXDMP g;
    ShareUnknowns(d, g);
    for (int r = 0; r < repeats; ++r) {
        floors.push_back(floor.Seconds());
        const double start = omp_get_wtime();
        d.evaluate(d.solution, g, d.NASYM, 1.0);
        evaluations.push_back(omp_get_wtime() - start);
    }
    const double f = Median(floors), zspa = Median(attemptTimes), lbfgs = Median(evaluations);
    std::printf("%s,%d^3,%d,%d,%s,%d,%.3f,%.3f,%.3f,%.3f,%.3f,%.1f,%d\n", set->name, set->grid, d.NASYM,
                d.nRefF, d.useFFT ? "FFT" : "direct", d.nThreads, 1e3 * zspa, 1e3 * lbfgs, 1e3 * f, zspa / f,
                lbfgs / f, double(peak) / d.nVoxelCell, repeats);
    return 0;
}
