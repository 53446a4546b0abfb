// The whole path of a data set through the program, from the reader to the report, for the fuzz targets.
#pragma once

#include <omp.h>

#include <cstdlib>

#include "app/Timer.h"
#include "fuzz_support.h"
#include "mem/MEMData3D.h"

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
    mem.PrepareCalculation(timer_function::check_timer, &stamp);
    mem.MaxEnt();
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

// An Alb control file, which names its reflection list, and the analysis it sets up.
inline void FuzzAlbRoute(const std::string& controlFile) {
    PrepareFuzzing();
    MEMData3D mem;
    mem.ReadAlb(controlFile);
    FuzzAnalysis(mem);
}
