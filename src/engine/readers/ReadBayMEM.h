// Reader of the keyword-driven .BayMEM data set format.
#pragma once

#include <string>

class MEMData3D;

// Reads grid, cell, symmetry and phased reflections at `path` into the
// analysis. False, with a message, when the file cannot be opened, declares a
// dimension other than 3, or no usable grid follows.
bool ReadBayMEM(MEMData3D& mem, const std::string& path);
