// The six settings of each orthorhombic group: symbols from spgro.dat, operators by axis permutation.
#pragma once

#include <string>

#include "SpaceGroupFiles.h"

constexpr int kFirstOrthorhombic = 16;
constexpr int kOrthorhombicCount = 59;
// Column 1 is the tabulated setting, columns 2 to 6 the permuted ones.
constexpr int kOrthorhombicColumns = 6;

// Expanded symbols, [group - 16][column - 1].
struct OrthorhombicSymbols {
    char symbol[kOrthorhombicCount][kOrthorhombicColumns][20];
};

// A condensed symbol such as "Pmc21" with its parts separated: "P m c 21".
// The lattice letter stands alone; each of the next two parts is one
// character, or two when the second is the digit 1 (a screw axis 21); the
// third part is whatever remains.
void ExpandCondensedSymbol(const char* condensed, char* out, int size);

// Reads spgro.dat: one line per orthorhombic group, in number order. Reports
// a missing file or a short line and returns false.
bool ReadOrthorhombicSymbols(const std::string& dir, OrthorhombicSymbols& symbols);

// Appends to each orthorhombic group the settings of columns 2 to 6, built
// from the tabulated one (both origin choices where the group has two) by the
// axis permutations UnitCell::Po. The Wyckoff positions come later.
void ExpandOrthorhombicSettings(const OrthorhombicSymbols& symbols, SpaceGroupTable table);
