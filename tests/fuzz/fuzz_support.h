// Shared set-up of the fuzz targets: quiet hooks, no keyboard, the tables, inputs as
// files, and the whole path of a data set from the reader to the report.
#pragma once

#include <omp.h>
#include <unistd.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "util/IO.h"
#include "util/Timer.h"
#include "crystal/SpaceGroup.h"
#include "engine/MEMData3D.h"
#include "engine/Prepare.h"
#include "engine/optimisers/MaxEnt.h"
#include "engine/readers/ReadAlb.h"

// Readers take paths, so every input goes through a file of this process.
inline std::string WriteInput(const uint8_t* data, size_t size, const char* extension) {
    static const std::string stem = "/tmp/halvorin_fuzz_" + std::to_string(getpid());
    const std::string path = stem + extension;
    FILE* f = fopen(path.c_str(), "wb");
    if (!f) return path;
    fwrite(data, 1, size, f);
    fclose(f);
    return path;
}

// Once per process: messages off, standard input closed so that every wait
// for Enter returns at once, and the space-group table from the build directory.
inline void PrepareFuzzing() {
    static const bool done = [] {
        if (!freopen("/dev/null", "r", stdin)) return false;
        IO::Init(HALVORIN_DATA_DIR "/halvorin");
        IO::Printf = IO::PrintError = IO::NoPrint;
        return _SpaceGroup::LoadSpaceGroupStd();
    }();
    (void)done;
}

// Grids up to this many voxels go on from reading to preparation and two
// cycles with all output files; larger ones would only slow the search down.
constexpr int kFuzzedVoxels = 8 * 8 * 8;

// Reads the data set that the settings name and, when it is small enough,
// prepares and runs a short analysis of it.
inline void FuzzAnalysis(MEMData3D& mem) {
    mem.param.maxCycles = 2;
    // Formats without a grid of their own get a coarse one, so that they too
    // reach the analysis.
    mem.param.gridResolution = 1.5;
    // A refused file ends the run; a read one leaves a list that its counts describe.
    if (!mem.ReadFobs()) return;
    if (mem.reflections.size() != mem.nRefUnobs + mem.nRefF + mem.nRefG + mem.nRefE) abort();
    const long long voxels = 1LL * mem.gridSize[0] * mem.gridSize[1] * mem.gridSize[2];
    if (voxels > kFuzzedVoxels) return;
    mem.nThreads = omp_get_max_threads();
    double stamp = omp_get_wtime();
    PrepareCalculation(mem, timer_function::check_timer, &stamp);
    MaxEnt(mem);
}

// The input as a data set of the given file type.
inline void FuzzDataSet(const uint8_t* data, size_t size, int fileType, const char* extension) {
    PrepareFuzzing();
    MEMData3D mem;
    mem.param.fileType = fileType;
    mem.param.dataFile = WriteInput(data, size, extension);
    mem.param.SetFileNames();
    FuzzAnalysis(mem);
}

// Voxels of the grid that the reader of the named list will settle on: the
// control file's own, or one from its cell at the resolution used here.
inline double ExpectedVoxels(const MEMData3D& mem) {
    const int* n = mem.gridSize;
    if (n[0] >= 1 && n[1] >= 1 && n[2] >= 1) return 1.0 * n[0] * n[1] * n[2];
    double voxels = 1.0;
    for (int i = 0; i < 3; ++i) voxels *= std::ceil(std::fabs(mem.unitCell.cell[i]) / 1.5) + 1.0;
    return voxels;
}

// An Alb control file, which names its reflection list, and the analysis it
// sets up. The route lays out every reflection of the grid's index box while
// the list is read, so a grid far beyond the analysed ones (a cell or grid of
// a typing error) only slows the search down; its list is not read.
inline void FuzzAlbRoute(const std::string& controlFile) {
    PrepareFuzzing();
    MEMData3D mem;
    ReadAlb(mem, controlFile);
    if (!(ExpectedVoxels(mem) <= 64.0 * kFuzzedVoxels)) return;
    FuzzAnalysis(mem);
}
