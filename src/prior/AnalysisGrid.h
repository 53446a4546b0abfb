// The analysis side of the prior: the data set read and its voxel blocks built by the engine, and the prior file written.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "engine/MEMData3D.h"
#include "prior/ProcrystalDensity.h"

// Reads the data set (.prf, .mem, .fcf and the other formats of the program)
// with the program's own readers, and builds the grid, the asymmetric unit
// and the blocks exactly as an analysis does, without a restart or prior file.
// `negativeChannel` answers the one question a bare .mem file leaves open:
// whether its F(000) line holds two totals. The console output of the
// engine is suppressed. Throws PriorError.
std::unique_ptr<MEMData3D> LoadAnalysis(const std::string& dataPath, bool negativeChannel);

// One measured reflection with its phase, as far as the data give them.
struct PhasedReflection {
    int hkl[3];
    double re, im;
    double stol2;  // (sin(theta) / lambda)^2
};
std::vector<PhasedReflection> PhasedReflections(const MEMData3D& mem, size_t most);

// The cell of the analysis as gemmi's.
gemmi::UnitCell AnalysisCell(const MEMData3D& mem);

// What was written.
struct PriorWritten {
    std::string path;
    double total[2] = {0.0, 0.0};   // integrated over the cell, per channel
    double lowest[2] = {0.0, 0.0};  // the smallest magnitude of a voxel's density
};

// Blends (1 - w) procrystal + w uniform for each channel that the data have,
// normalises each to its F(000) total, and writes <base>_prior.pgrid with the
// program's own grid-file writer. A channel without model density is uniform.
PriorWritten WritePrior(MEMData3D& mem, const ProcrystalGrids& grids, double w, const std::string& title);
