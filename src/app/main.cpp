// Entry of the console program: settings, reading, preparation, the analysis and the time summary.
#include <omp.h>
#include <unistd.h>

#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <string>

#if defined(__x86_64__) || defined(__SSE__)
#include <pmmintrin.h>
#include <xmmintrin.h>
#endif

#include "app/ElapsedTimes.h"
#include "app/FileType.h"
#include "app/IO.h"
#include "app/Timer.h"
#include "core/SpaceGroup.h"
#include "mem/MEMData3D.h"

namespace {

// The exponentials of the density update produce denormal numbers near empty
// regions of the cell; flushing them to zero keeps every cycle at full speed.
void flushDenormals() {
#if defined(__x86_64__) || defined(__SSE__)
    _MM_SET_FLUSH_ZERO_MODE(_MM_FLUSH_ZERO_ON);
    _MM_SET_DENORMALS_ZERO_MODE(_MM_DENORMALS_ZERO_ON);
#endif
}

// Every expected failure ends here. The status stays 0, and the wait lets a user
// who started the program from a file manager read the message first.
[[noreturn]] void exitAfterKey() {
    IO::PrintError("Press Enter key to exit.\n");
    getchar();
    exit(0);
}

void setWorkDir(MEMParam& param) {
    char buf[2047];
    param.workDir = getcwd(buf, sizeof buf) ? buf : "";
    if (param.workDir.find('/') == std::string::npos) param.workDir += '/';
}

// Takes the settings from the command line's file, or asks for them.
void obtainSettings(MEMData3D& mem, int argc, char** argv) {
    MEMParam& param = mem.param;
    if (argc <= 1) {
        param.InputConditions(nullptr);
        return;
    }
    // Only the first argument is used; one process analyses one data set.
    std::string path = argv[1];
    IO::toAbsolutePath(path, param.workDir);
    switch (check_format(path.c_str())) {
    case kTypeCondition:
        if (!param.ReadConditions(path)) {
            IO::PrintError("Failed to read condition file:\n%s\n", path.c_str());
            exitAfterKey();
        }
        break;
    case kTypeAlb:
        mem.ReadAlb(path);  // a failure shows as an unreadable data file below
        break;
    default:
        param.InputConditions(path.c_str());  // classifies the path again
        break;
    }
}

}  // namespace

int main(int argc, char** argv) {
    // Progress appears line by line also when the output goes to a file or a pipe.
    setvbuf(stdout, nullptr, _IOLBF, 0);
    flushDenormals();
    setlocale(LC_ALL, "");
    // Data files are written with a decimal point whatever the user's locale.
    setlocale(LC_NUMERIC, "C");
    // The GNU OpenMP runtime starts on first use and prints no warnings of its
    // own, so there is nothing to switch off here.

    const std::string program = argc > 0 ? argv[0] : "";
    if (IO::Init(program.c_str())) _SpaceGroup::LoadSpaceGroupStd();

    MEMData3D mem;
    setWorkDir(mem.param);
    obtainSettings(mem, argc, argv);

    if (mem.param.fileType < 0) {
        IO::PrintError("The file type is not supported:\n%s\n", mem.param.dataFile.c_str());
        exitAfterKey();
    }
    if (!mem.ReadFobs()) {
        IO::PrintError("Failed to read input file:\n%s\n", mem.param.dataFile.c_str());
        exitAfterKey();
    }
    if (!mem.GridFitsMemory()) exitAfterKey();

    // Reading is not timed: the clock starts here.
    double stamp = omp_get_wtime();
    // The team size found here is the number of voxel blocks for the whole run.
#pragma omp parallel
    {
#pragma omp single
        mem.nThreads = omp_get_num_threads();
    }

    mem.PrepareCalculation(timer_function::check_timer, &stamp);
    mem.MaxEnt();

    WriteElapsedTimes(stdout, mem.timePrep, mem.timeMEM);
    return 0;
}
