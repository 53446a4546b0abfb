// Reader of the CIF reflection files (.fcf) that structure refinement programs write.
#pragma once

#include <string>

class MEMData3D;

// Reads cell, F(000), the operator loop and the reflection loops at `path`
// into the analysis; the grid follows the resolution of the settings. False,
// with a message, when the file cannot be opened, gives no F(000), or the cell
// is too large for a grid.
bool ReadFCF(MEMData3D& mem, const std::string& path);
