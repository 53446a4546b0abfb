// Compiled-in constants of the space-group tables: class boundaries, origin choices, older symbols.
#pragma once

// First group number of each crystal system, then the end mark 231.
extern const int crystalSystemID[8];
// First group number of each of the eleven Laue classes.
extern const int crystalLaueID[11];
// The 24 groups tabulated with two origin choices; the second is the standard.
extern const int spgr_orig_choice[24];

// Older symbols of five orthorhombic groups, one row per group, entry j
// naming setting j + 1; the lookup replaces them by the current symbols.
extern const char* const spgro_itI39[6];
extern const char* const spgro_itI41[6];
extern const char* const spgro_itI64[6];
extern const char* const spgro_itI67[6];
extern const char* const spgro_itI68[12];
extern const char* const* const spgro_itI[5];
extern const int spgro_itI_ID[5];  // the group of each row
extern const int spgro_itI_N[5];   // the length of each row

// The crystal system of a chosen group: 1 triclinic, 2 monoclinic,
// 3 orthorhombic, 4 tetragonal, 5 trigonal, 6 hexagonal, 7 cubic,
// 8 trigonal with an R lattice; 0 below group 1.
int CrystalSystemOf(int spgNumber);
