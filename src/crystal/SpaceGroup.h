// The global table of all space-group settings, loaded once from the data files beside the program.
#pragma once

#include <cstdint>

#include "numeric/MatrixD.h"
#include "numeric/Vector.h"
#include "numeric/Matrix4D.h"
#include "crystal/Wyckoff.h"

// One setting of a space group: its symbol, every operator with the lattice
// translations already applied, and its Wyckoff positions.
//
// Operators come in lattice blocks: the primitive operators (each directly
// followed by its negative in a centric setting), then that list shifted by
// each lattice translation, so the first ops.size() / latticeCount of them
// form a primitive set. The identity is the first operator.
class _SpaceGroup : public Object {
public:
    // Fills the global table; run once, after IO::Init has found the program's
    // directory. True when all four data files were read.
    static bool LoadSpaceGroupStd();
    // spgro.dat, spgra.dat and wyckoff.dat: the ordinary settings.
    static bool ReadSpaceGroupData();
    // mspgr.dat: the magnetic settings, appended behind the ordinary ones.
    static bool ReadMagneticData();

    unsigned char centric = 0;
    char name[24] = "";     // Hermann-Mauguin symbol, single blanks between parts
    char altName[64] = "";  // magnetic entries: the two symbols of the second system
    std::int32_t flags = 0;
    std::int32_t subNumber = 0;  // magnetic entries: the number behind the point
    std::int32_t laueId = 0;     // 1 to 11
    std::int32_t systemId = 0;   // 1 to 7
    std::int32_t latticeCount = 1;
    Matrix4D transform;  // magnetic entries: the setting matrix of the second system
    ObjVector<MatrixD> ops;
    ObjVector<Wyckoff> wyckoff;
};

// Bit of _SpaceGroup::flags (and UnitCell::magneticFlags) on magnetic entries.
constexpr std::int32_t kMagneticFlag = 32;

constexpr int kSpaceGroupCount = 230;

// spaceGroup[number - 1] holds the settings of group number in order: the
// ordinary ones first, then the magnetic ones. Read-only after the load.
extern ObjVector<_SpaceGroup> spaceGroup[kSpaceGroupCount];
// nSpgSetting[number - 1]: how many of those settings are ordinary.
extern unsigned char nSpgSetting[kSpaceGroupCount];

// Setting `setting` (1-based) of group `number`, or null when the loaded table
// has no such entry. Data files name settings; this keeps a bad name from
// reading outside the table.
_SpaceGroup* FindSpaceGroupSetting(int number, int setting);

// Adds the lattice translations of the lattice letter to ops, one block of
// copies per translation, and reduces every translation to [0, 1).
// latticeCount becomes the number of blocks. The rhombohedral translations
// belong to hexagonal axes, which the tables number 1 (ordinary) or 7.
void CheckLatticeType(ObjVector<MatrixD>& ops, int& latticeCount, char lattice, int setting);
