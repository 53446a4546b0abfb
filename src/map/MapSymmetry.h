// The space group of a grid's operators, for the headers of map files.
#pragma once

#include <gemmi/symmetry.hpp>

#include "map/CellDensity.h"

// The table entry whose operators are those of the grid, translations taken
// as fractions of the grid; null when there is none (an unusual setting, or a
// translation that is not a multiple of 1/24).
const gemmi::SpaceGroup* FindSpaceGroup(const CellDensity& density);
