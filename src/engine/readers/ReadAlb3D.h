// The Alb control file after its title and cell: symmetry, grid, cell contents and a few settings.
#pragma once

#include <string>

class MEMData3D;

// Reads the control file at `path` from its third logical line on, with the
// six `cell` numbers that ReadAlb took from its second. Always true: ReadAlb
// opened the same file a moment before.
bool ReadAlb3D(MEMData3D& mem, const std::string& path, const float* cell);
