// Choosing a setting by its numbers or by its Hermann-Mauguin symbol.

#include <cctype>
#include <cmath>
#include <cstring>

#include "crystal/SpaceGroup.h"
#include "crystal/SpaceGroupTables.h"
#include "crystal/UnitCell.h"

namespace {

// An angle differs from 90 degrees by at least the single-precision epsilon.
bool isOblique(float angle) { return std::fabs(static_cast<double>(angle) - 90.0) >= 1.1920929e-07; }

bool inRange(int s, int first, int last) { return s >= first && s <= last; }

// Groups tabulated with three cell choices for each unique axis.
bool hasCellChoices(int n) {
    return n == 5 || n == 7 || n == 8 || n == 9 || n == 12 || n == 13 || n == 14 || n == 15;
}

bool hasTwoOrigins(int n) {
    for (int number : spgr_orig_choice)
        if (number == n) return true;
    return false;
}

// Copies name into spgName unless it is spgName itself.
void copyName(char* spgName, const char* name) {
    if (name != spgName) std::snprintf(spgName, 24, "%s", name);
}

}  // namespace

int UnitCell::setSpgNumber(int number, int setting) {
    const _SpaceGroup* entry = FindSpaceGroupSetting(number, setting);
    if (spgNumber >= 1 && spgSetting >= 1 && entry) {
        std::strcpy(spgName, entry->name);
        spgNumber = number;
        spgSetting = setting;
    }
    // A custom operator list (0) stays in force; only the name changes.
    if (crystalSystem > 0)
        crystalSystem = CrystalSystemOf(spgNumber);
    else if (crystalSystem < 0)
        std::strcpy(spgName, "Custom");
    return spgNumber;
}

int UnitCell::setStandardName(const char* name, int setting) {
    copyName(spgName, name);
    spgSetting = setting;
    return lookUpStandardName();
}

int UnitCell::setSpgNameStandard(const char* name) {
    const int found = setStandardName(name, 1);
    if (!hasTwoOrigins(spgNumber)) return found;
    // The second origin choice is the standard one and follows the first.
    const int secondOrigin = spgSetting + 1;
    copyName(spgName, name);
    spgSetting = secondOrigin;
    return lookUpStandardName();
}

void UnitCell::normaliseName() {
    // "R 3 m h": hexagonal axes are told apart by the cell, not by the suffix.
    if (spgName[0] == 'R')
        if (char* h = std::strchr(spgName, 'h')) *h = '\0';
    // "F d 3 m" is written "F d -3 m" in the tables; "P 2 3" has no bar.
    std::size_t length = std::strlen(spgName);
    if (length > 4 && spgName[4] == '3' && spgName[3] == ' ' &&
        std::isalpha(static_cast<unsigned char>(spgName[2]))) {
        const std::size_t kept = length < sizeof spgName - 1 ? length : sizeof spgName - 2;
        std::memmove(spgName + 5, spgName + 4, kept - 4);
        spgName[4] = '-';
        spgName[kept + 1] = '\0';
        length = kept + 1;
    }
    while (length > 0 && spgName[length - 1] == ' ') spgName[--length] = '\0';
}

bool UnitCell::acceptsMonoclinic(int n, int s) const {
    const bool alpha = isOblique(cell[3]), beta = isOblique(cell[4]), gamma = isOblique(cell[5]);
    // Settings 1-3 and 10-12 have unique axis b, 4-6 and 13-15 c, 7-9 and 16-18 a.
    if (hasCellChoices(n))
        return (beta && (inRange(s, 0, 2) || inRange(s, 9, 11))) ||
               (gamma && (inRange(s, 3, 5) || inRange(s, 12, 14))) ||
               (alpha && (inRange(s, 6, 8) || inRange(s, 15, 17)));
    // Settings 1, 2, 3 have unique axis b, c, a; b is taken unless the cell
    // says otherwise.
    const bool cUnique = !alpha && !beta && gamma && s == 0;
    const bool aUnique = alpha && !beta && !gamma && (s == 0 || s == 1);
    return !cUnique && !aUnique;
}

void UnitCell::takeSetting(int number, int settingIndex) {
    spgSetting = settingIndex + 1;
    spgNumber = number;
    crystalSystem = CrystalSystemOf(number);
}

int UnitCell::lookUpStandardName() {
    normaliseName();
    // Equal axes mean rhombohedral axes, the second setting of an R group.
    if (spgName[0] == 'R' && std::fabs(static_cast<double>(cell[0]) - cell[2]) < 0.000001 &&
        std::fabs(static_cast<double>(cell[1]) - cell[2]) < 0.000001 &&
        cellTransform.Compare(Matrix4D::E) < 2)
        spgSetting = 2;

    for (int n = 1; n <= kSpaceGroupCount; ++n) {
        const ObjVector<_SpaceGroup>& settings = spaceGroup[n - 1];
        for (int s = 0; s < settings.size(); ++s) {
            if (std::strcmp(settings[s]->name, spgName) != 0 || (spgSetting != s + 1 && spgSetting != 1))
                continue;
            if (n < 3 || n > 15 || acceptsMonoclinic(n, s)) {
                takeSetting(n, s);
                return n;
            }
        }
    }

    // Older symbols of five orthorhombic groups give way to the current ones.
    for (int r = 0; r < 5; ++r)
        for (int j = 0; j < spgro_itI_N[r]; ++j)
            if (std::strcmp(spgName, spgro_itI[r][j]) == 0) {
                takeSetting(spgro_itI_ID[r], j);
                if (const _SpaceGroup* entry = FindSpaceGroupSetting(spgNumber, spgSetting))
                    std::strcpy(spgName, entry->name);
                return spgNumber;
            }
    return 0;
}
