// A density grid file read in full and checked, as the map companion needs it.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "gridfile/PgridFormat.h"

// The file as it stands: its header, the operators in voxel units and the
// asymmetric-unit voxels with their values.
struct PgridContent {
    PgridHeader header;
    // Twelve numbers per operator: R(0,0), R(1,0), ..., R(2,2) column by
    // column, then the translation in voxels. Empty in a gridType 0 file.
    std::vector<int32_t> operators;
    std::vector<int32_t> index;  // voxel index of each record; empty with gridType 0
    std::vector<float> values;   // nChannel values per record, per cubic angstrom

    int nOperators() const { return static_cast<int>(operators.size() / 12); }
    int nRecords() const { return header.nAsym; }
};

// Reads `path`. A file that is not a density grid, is shorter or longer than
// its header says, or has a header no grid can have throws MapError.
PgridContent ReadPgridContent(const std::string& path);
