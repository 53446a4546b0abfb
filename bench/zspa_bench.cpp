// Time of one ZSPA cycle on a 128^3 grid, against the work it cannot avoid:
// one forward and one backward FFT of the grid and one exp over the asymmetric unit.
//
// Usage: zspa_bench [data directory] [cycles]
// The data directory holds spgro.dat and the other tables (default: the
// directory above this executable, which is the build directory).
#include <fftw3.h>
#include <omp.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#include "app/IO.h"
#include "app/Timer.h"
#include "core/SpaceGroup.h"
#include "mem/MEMData3D.h"
#include "BenchDataSet.h"

using bench::kGrid;

namespace {

int Quiet(const char*, ...) { return 0; }

// Rejected attempts are counted by their message, so that they show beside the
// accepted cycles: a rejected attempt skips the derivative and costs less.
int rejected = 0;
int CountRejections(const char* fmt, ...) {
    if (fmt[0] == 'A') ++rejected;
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    IO::Init(argv[0]);
    std::string dataDir = argc > 1 ? argv[1] : progvar + "..";
    progvar = dataDir + "/";
    if (!_SpaceGroup::LoadSpaceGroupStd()) {
        fprintf(stderr, "space-group tables not found in %s\n", dataDir.c_str());
        return 1;
    }
    const int cycles = argc > 2 ? std::max(2, atoi(argv[2])) : 10;
    char scratch[] = "/tmp/halvorin_bench_XXXXXX";
    if (!mkdtemp(scratch)) return 1;
    const std::string dataFile = bench::WriteDataSet(scratch);

    MEMData3D d;
    d.param.fileType = 3;
    d.param.dataFile = dataFile;
    d.param.SetFileNames();
    IO::Printf = &Quiet;
    if (!d.ReadFobs()) return 1;
    int teamSize = 1;
#pragma omp parallel
#pragma omp master
    teamSize = omp_get_num_threads();
    d.nThreads = teamSize;
    double stamp = omp_get_wtime();
    d.PrepareCalculation(timer_function::check_timer, &stamp);

    IO::Printf = &CountRejections;
    double start = omp_get_wtime();
    d.ZSPA(cycles + 1);
    double zspa = omp_get_wtime() - start;
    IO::Printf = &Quiet;
    const int accepted = d.cycle - 1;
    const int attempts = accepted + rejected;

    const double reference = bench::ReferenceSeconds(d.nThreads, d.NASYM, 5, [](double x) { return std::exp(x); });
    const double perCycle = zspa / std::max(attempts, 1);
    printf("grid %d^3, NASYM %d, %d reflections, %d threads, %s path\n", kGrid, d.NASYM, d.nRefF, d.nThreads,
           d.useFFT ? "FFT" : "direct");
    printf("ZSPA: %d attempts (%d accepted) in %.3f s: %.2f ms per attempt\n", attempts, accepted, zspa,
           1e3 * perCycle);
    printf("forward + backward FFT + exp pass: %.2f ms\n", 1e3 * reference);
    printf("ratio: %.2f\n", perCycle / reference);
    std::system((std::string("rm -rf ") + scratch).c_str());
    return 0;
}
