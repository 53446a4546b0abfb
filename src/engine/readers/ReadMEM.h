// Reader of the positional MEM data set format (.mem and .mep files).
#pragma once

#include <string>

class MEMData3D;

// Reads the data set at `path` into the analysis: cell, symmetry, grid,
// F(000), lambda and the three runs of reflections with their values. False,
// with a message, when the file cannot be opened or no usable grid follows.
bool ReadMEM(MEMData3D& mem, const std::string& path);
