// Reader of .ffo reflection lists, which take cell, symmetry and grid from an Alb control file.
#pragma once

#include <string>

class MEMData3D;

// Reads the observed |F| at `path` into the analysis, on the cell, symmetry
// and grid that the control file has set. False, with a message, when the file
// cannot be opened or no symmetry has been given.
bool ReadFFO(MEMData3D& mem, const std::string& path);
