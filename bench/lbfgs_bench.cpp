// Time of one L-BFGS evaluation on a 128^3 grid, against the work it cannot avoid:
// one forward and one backward FFT of the grid and one log over the asymmetric unit.
//
// Usage: lbfgs_bench [data directory] [cycles]
// The data directory holds spgro.dat and the other tables (default: the
// directory above this executable, which is the build directory).
#include <omp.h>
#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "BenchDataSet.h"
#include "app/IO.h"
#include "app/Timer.h"
#include "core/SpaceGroup.h"
#include "mem/MEMData3D.h"

namespace {

int Quiet(const char*, ...) { return 0; }

// Every evaluation of the objective takes the derivatives once; the count
// includes the line search's trials, which cost as much as accepted steps.
class CountingAnalysis : public MEMData3D {
public:
    int evaluations = 0;
    void DFT_Derivatives() override {
        ++evaluations;
        MEMData3D::DFT_Derivatives();
    }
};

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

    CountingAnalysis d;
    d.param.fileType = 3;
    d.param.dataFile = dataFile;
    d.param.algorithm = 1;
    d.param.maxCycles = cycles;
    d.param.SetFileNames();
    IO::Printf = &Quiet;
    if (!d.ReadFobs()) return 1;
    d.nThreads = omp_get_max_threads();
    double stamp = omp_get_wtime();
    d.PrepareCalculation(timer_function::check_timer, &stamp);

    d.evaluations = 0;
    FILE* keep = stdout;
    stdout = fopen("/dev/null", "w");  // the driver's own status lines
    const double start = omp_get_wtime();
    d.L_BFGS();
    const double seconds = omp_get_wtime() - start;
    fclose(stdout);
    stdout = keep;

    // The objective and gradient alone, without the minimiser's vector work.
    VectorXDMP g(d.solution);
    const double evalStart = omp_get_wtime();
    for (int i = 0; i < 5; ++i) MEMData::_evaluate(&d, d.solution, g, d.NASYM, 0.0);
    const double perObjective = (omp_get_wtime() - evalStart) / 5;

    const double reference = bench::ReferenceSeconds(d.nThreads, d.NASYM, 5, [](double x) { return std::log(x); });
    const double perEvaluation = seconds / std::max(d.evaluations, 1);
    printf("grid %d^3, NASYM %d, %d reflections, %d threads, %s path\n", bench::kGrid, d.NASYM, d.nRefF,
           d.nThreads, d.useFFT ? "FFT" : "direct");
    printf("L-BFGS: %d cycles, %d evaluations in %.3f s: %.2f ms per evaluation\n", d.cycle, d.evaluations,
           seconds, 1e3 * perEvaluation);
    printf("of which the objective and its gradient: %.2f ms\n", 1e3 * perObjective);
    printf("forward + backward FFT + log pass: %.2f ms\n", 1e3 * reference);
    printf("ratio: %.2f\n", perEvaluation / reference);
    std::system((std::string("rm -rf ") + scratch).c_str());
    return 0;
}
