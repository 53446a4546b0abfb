// Cells that fit each tabulated setting, and a few helpers for walking the table in tests.
#pragma once

#include "core/SpaceGroup.h"
#include "core/UnitCell.h"

// The unique axis of a monoclinic setting (0-based index s): 0 a, 1 b, 2 c.
// Groups with cell choices run b, c, a, -b, -c, -a in threes; the others b, c, a.
inline int UniqueAxis(int number, int s) {
  const bool cellChoices = number == 5 || number == 7 || number == 8 || number == 9 || number == 12 ||
                           number == 13 || number == 14 || number == 15;
  const int axisOrder[3] = {1, 2, 0};
  return axisOrder[cellChoices ? (s / 3) % 3 : s % 3];
}

// A cell of the crystal family of the setting (1-based), with an oblique
// angle only where the family has one.
inline void SetCellFor(UnitCell& uc, int number, int setting) {
  float cell[6] = {7.1f, 8.3f, 9.7f, 90.0f, 90.0f, 90.0f};
  if (number <= 2) {
    cell[3] = 81.0f, cell[4] = 97.0f, cell[5] = 103.0f;
  } else if (number <= 15) {
    cell[3 + UniqueAxis(number, setting - 1)] = 104.5f;
  } else if (number >= 75 && number <= 142) {
    cell[1] = cell[0];
  } else if (number >= 143 && number <= 194) {
    const _SpaceGroup* entry = FindSpaceGroupSetting(number, setting);
    if (entry && entry->name[0] == 'R' && setting == 2) {
      cell[1] = cell[2] = cell[0];
      cell[3] = cell[4] = cell[5] = 77.0f;
    } else {
      cell[1] = cell[0];
      cell[5] = 120.0f;
    }
  } else if (number >= 195) {
    cell[1] = cell[2] = cell[0];
  }
  for (int i = 0; i < 6; ++i)
    uc.cell[i] = cell[i];
  uc.orthoMatrix.SetC2Ortho(uc.cell);
  uc.orthoInverse.Initialize(uc.orthoMatrix, 'I', 1.0);
}

// Chooses the setting by its numbers in a fitting cell and expands it.
inline void ChooseSetting(UnitCell& uc, int number, int setting) {
  uc.Initialize();
  SetCellFor(uc, number, setting);
  uc.setSpgNumber(number, setting);
  uc.createSymmetryOP();
}
