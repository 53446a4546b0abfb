// Loading the program's space-group tables into the global list of settings.
// Kept apart from the settings' own operations, so that the table readers,
// which build settings, and the settings do not depend on each other.
#include "crystal/SpaceGroup.h"
#include "crystal/SpaceGroupFiles.h"
#include "util/IO.h"

namespace {

SpaceGroupTable globalTable() { return SpaceGroupTable{spaceGroup, nSpgSetting}; }

}  // namespace

bool _SpaceGroup::LoadSpaceGroupStd() { return ReadSpaceGroupData() && ReadMagneticData(); }

bool _SpaceGroup::ReadSpaceGroupData() { return ReadOrdinarySettings(progvar, globalTable()); }

bool _SpaceGroup::ReadMagneticData() { return ReadMagneticSettings(progvar, globalTable()); }
