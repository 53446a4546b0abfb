// Readers of the space-group data files into a table of 230 setting lists (the global one, or a test's).
#pragma once

#include <string>

#include "crystal/SpaceGroup.h"

// Where a load puts its entries: groups[number - 1] receives the settings of
// group number, counts[number - 1] the number of ordinary ones.
struct SpaceGroupTable {
    ObjVector<_SpaceGroup>* groups;
    unsigned char* counts;
};

// spgro.dat, spgra.dat and wyckoff.dat from directory `dir` (with its trailing
// '/'): the ordinary settings, the orthorhombic ones expanded, the Wyckoff
// positions, class numbers and setting counts.
bool ReadOrdinarySettings(const std::string& dir, SpaceGroupTable table);
// wyckoff.dat: positions appended to the settings already in the table.
bool ReadWyckoffPositions(const std::string& dir, SpaceGroupTable table);
// mspgr.dat: magnetic settings appended behind the ordinary ones.
bool ReadMagneticSettings(const std::string& dir, SpaceGroupTable table);
