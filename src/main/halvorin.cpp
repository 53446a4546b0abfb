// Entry of the console program: settings, reading, preparation, the analysis and the time summary.
#include <fftw3.h>
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

#include "main/CommandLine.h"
#include "util/ElapsedTimes.h"
#include "util/FileType.h"
#include "util/IO.h"
#include "util/Timer.h"
#include "util/Version.h"
#include "crystal/SpaceGroup.h"
#include "engine/MEMData3D.h"
#include "engine/Prepare.h"
#include "engine/optimisers/MaxEnt.h"
#include "engine/readers/ReadAlb.h"

#ifndef HALVORIN_BUILD_TYPE
#define HALVORIN_BUILD_TYPE "unknown"
#endif
#if defined(__clang__)
#define HALVORIN_COMPILER "clang " __clang_version__
#else
#define HALVORIN_COMPILER "g++ " __VERSION__
#endif

namespace {

// Exit status of a run that could not read or use its input; a usage error is 2.
constexpr int kFailed = 1;

// The exponentials of the density update produce denormal numbers near empty
// regions of the cell; flushing them to zero keeps every cycle at full speed.
void flushDenormals() {
#if defined(__x86_64__) || defined(__SSE__)
    _MM_SET_FLUSH_ZERO_MODE(_MM_FLUSH_ZERO_ON);
    _MM_SET_DENORMALS_ZERO_MODE(_MM_DENORMALS_ZERO_ON);
#endif
}

// Every expected failure ends here. The wait lets a user who started the
// program from a file manager read the message first; a script or a scheduler
// has no one to press the key, and sees the failure in the status instead.
[[noreturn]] void exitAfterKey() {
    IO::PrintError("Press Enter key to exit.\n");
    if (isatty(STDIN_FILENO)) getchar();
    exit(kFailed);
}

void printVersion() {
    printf("halvorin %s\n", kHalvorinVersion);
    printf("Build:   %s, %s, %s\n", HALVORIN_BUILD_TYPE, HALVORIN_COMPILER, __DATE__);
    printf("FFTW:    %s, with its threads library\n", fftw_version);
    printf("Threads: %d for the analysis and the transforms (OMP_NUM_THREADS sets them)\n",
           omp_get_max_threads());
}

void setWorkDir(MEMParam& param) {
    char buf[2047];
    param.workDir = getcwd(buf, sizeof buf) ? buf : "";
    if (param.workDir.find('/') == std::string::npos) param.workDir += '/';
}

void readConditions(MEMParam& param, const std::string& path) {
    if (!param.ReadConditions(path)) {
        IO::PrintError("Failed to read condition file:\n%s\n", path.c_str());
        exitAfterKey();
    }
}

// Takes the settings from the command line's files, or asks for them.
void obtainSettings(MEMData3D& mem, const DriverOptions& options) {
    MEMParam& param = mem.param;
    if (!options.conditions.empty()) {
        std::string conditions = options.conditions, data = options.input;
        IO::toAbsolutePath(conditions, param.workDir);
        IO::toAbsolutePath(data, param.workDir);
        readConditions(param, conditions);
        param.UseDataFile(data);  // an unsupported type is told below
        return;
    }
    if (options.input.empty()) {
        param.InputConditions(nullptr);
        return;
    }
    std::string path = options.input;
    IO::toAbsolutePath(path, param.workDir);
    switch (check_format(path.c_str())) {
    case kTypeCondition: readConditions(param, path); break;
    case kTypeAlb:
        ReadAlb(mem, path);  // a failure shows as an unreadable data file below
        break;
    default:
        param.InputConditions(path.c_str());  // classifies the path again
        break;
    }
}

// A data set that cannot be opened is told once, by name, before any reader runs.
void checkDataFile(const MEMParam& param) {
    if (param.fileType < 0) {
        IO::PrintError("The file type is not supported:\n%s\n", param.dataFile.c_str());
        exitAfterKey();
    }
    if (param.fileType >= kTypeMEM && !IO::Readable(param.dataFile)) {
        IO::PrintError("Input file could not be opened.\n%s\n", param.dataFile.c_str());
        exitAfterKey();
    }
}

}  // namespace

int main(int argc, char** argv) {
    // Progress appears line by line also when the output goes to a file or a pipe.
    setvbuf(stdout, nullptr, _IOLBF, 0);
    DriverOptions options;
    try {
        options = ParseDriverOptions(argc, argv);
    } catch (const UsageError& e) {
        fprintf(stderr, "halvorin: %s\n", e.what());
        return 2;
    }
    if (options.help) {
        fputs(kDriverUsage, stdout);
        return 0;
    }
    if (options.version) {
        printVersion();
        return 0;
    }

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
    obtainSettings(mem, options);
    checkDataFile(mem.param);
    if (!mem.ReadFobs()) {
        IO::PrintError("Failed to read input file:\n%s\n", mem.param.dataFile.c_str());
        exitAfterKey();
    }
    if (!mem.GridFitsMemory()) exitAfterKey();

    // Reading is not timed: the clock starts here.
    double stamp = omp_get_wtime();
    // The team size found here is the number of voxel blocks for the whole run.
    mem.nThreads = TeamSize();

    PrepareCalculation(mem, timer_function::check_timer, &stamp);
    MaxEnt(mem);

    WriteElapsedTimes(stdout, mem.timePrep, mem.timeMEM);
    return 0;
}
