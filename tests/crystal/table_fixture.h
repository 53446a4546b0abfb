// The generator's summary of every setting (tests/data/settings_summary.tsv)
// as independent truth, and cells that fit each setting.
#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <set>
#include <string>
#include <vector>

#include "util/IO.h"
#include "numeric/VectorD.h"
#include "common/SpaceGroupTable.h"
#include "crystal/UnitCell.h"

struct SettingSummary {
    int number = 0, setting = 0;
    std::string symbol;
    int operators = 0;  // the full list the loader builds
    int centric = 0;
    char lattice = 0;
    int grid[3] = {0, 0, 0};  // least grid of the fixed Wyckoff coordinates
    int positions = 0;
};

// Rows in file order: tab-separated number, setting, symbol, operators,
// listed, centric, lattice, least grid and positions, after comment lines
// starting with '#' and one line naming the columns.
inline std::vector<SettingSummary> ReadSettingsSummary() {
    std::ifstream in(std::string(HALVORIN_TEST_DATA) + "/settings_summary.tsv");
    std::vector<SettingSummary> rows;
    for (std::string line; std::getline(in, line);) {
        SettingSummary r;
        char symbol[64];
        if (std::sscanf(line.c_str(), "%d\t%d\t%63[^\t]\t%d\t%*d\t%d\t%c\t%d\t%d\t%d\t%d", &r.number,
                        &r.setting, symbol, &r.operators, &r.centric, &r.lattice, &r.grid[0], &r.grid[1],
                        &r.grid[2], &r.positions) == 10) {
            r.symbol = symbol;
            rows.push_back(r);
        }
    }
    return rows;
}

// A cell of the crystal family of the setting, with an oblique angle only
// where the family has one. Monoclinic groups with cell choices run b, c, a,
// -b, -c, -a unique in threes; the others b, c, a.
inline void SetCellFor(UnitCell& uc, int number, int setting) {
    float cell[6] = {7.1f, 8.3f, 9.7f, 90.0f, 90.0f, 90.0f};
    const bool cellChoices = number == 5 || (number >= 7 && number <= 9) || (number >= 12 && number <= 15);
    const _SpaceGroup* entry = FindSpaceGroupSetting(number, setting);
    if (number <= 2) {
        cell[3] = 81.0f, cell[4] = 97.0f, cell[5] = 103.0f;
    } else if (number <= 15) {
        const int axisOrder[3] = {1, 2, 0};
        cell[3 + axisOrder[cellChoices ? ((setting - 1) / 3) % 3 : (setting - 1) % 3]] = 104.5f;
    } else if (number >= 75 && number <= 142) {
        cell[1] = cell[0];
    } else if (number >= 143 && number <= 194 && entry && entry->name[0] == 'R' && setting == 2) {
        cell[1] = cell[2] = cell[0];
        cell[3] = cell[4] = cell[5] = 77.0f;
    } else if (number >= 143 && number <= 194) {
        cell[1] = cell[0];
        cell[5] = 120.0f;
    } else if (number >= 195) {
        cell[1] = cell[2] = cell[0];
    }
    for (int i = 0; i < 6; ++i) uc.cell[i] = cell[i];
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

// A cell with the given lengths and angles; the lookup by symbol reads only these.
inline UnitCell CellOf(const std::array<float, 6>& cell) {
    UnitCell uc;
    std::copy(cell.begin(), cell.end(), uc.cell);
    return uc;
}

// An operator as whole numbers: rotation entries, and translations in
// millionths of the cell edge, so that sets of operators compare exactly.
using OperatorKey = std::array<long, 12>;

inline OperatorKey keyOf(const MatrixD& op) {
    OperatorKey key;
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j) key[3 * i + j] = std::lround(op(i, j));
        double t = op(i, 3);
        VectorD::Fractionalize(&t, 1);
        key[9 + i] = std::lround(t * 1e6) % 1000000;
    }
    return key;
}

inline std::set<OperatorKey> keysOf(const ObjVector<MatrixD>& ops) {
    std::set<OperatorKey> keys;
    for (MatrixD* op : ops) keys.insert(keyOf(*op));
    return keys;
}
