#include "OrthorhombicSettings.h"

#include <cstdio>
#include <cstring>

#include "util/FieldScan.h"
#include "util/IO.h"
#include "util/TextLine.h"
#include "numeric/VectorD.h"
#include "crystal/UnitCell.h"
#include "TableRecord.h"

namespace {

// Groups whose tabulated setting comes in two origin choices, both in spgra.dat.
int originChoices(int number) {
    return (number == 48 || number == 50 || number == 59 || number == 68 || number == 70) ? 2 : 1;
}

// Length of the symbol part at p: two characters for a screw axis 21.
int partLength(const char* p) {
    if (p[0] == '\0') return 0;
    return p[1] == '1' ? 2 : 1;
}

// The setting of `source` seen after the axis permutation P: each operator
// becomes P^T W P, translations reduced.
_SpaceGroup* permutedSetting(const _SpaceGroup& source, const double (*permutation)[3]) {
    Matrix4D P;
    P.Initialize(permutation);
    Matrix4D Q;
    Q.MatrixD::Initialize(P, 'T', 1.0);

    _SpaceGroup* entry = new _SpaceGroup;
    entry->centric = source.centric;
    entry->latticeCount = source.latticeCount;
    for (MatrixD* W : source.ops) {
        Matrix4D* op = new Matrix4D;
        op->MatrixD::Initialize(*W);
        op->Mult(Q.m);
        op->MultR(P.m);
        VectorD::Fractionalize(op->Translation(), 3);
        entry->ops.add(op);
    }
    return entry;
}

}  // namespace

void ExpandCondensedSymbol(const char* condensed, char* out, int size) {
    const char lattice = condensed[0];
    const char* p = lattice ? condensed + 1 : condensed;
    char parts[2][3] = {"", ""};
    for (char* part : parts) {
        const int length = partLength(p);
        std::memcpy(part, p, length);
        part[length] = '\0';
        p += length;
    }
    std::snprintf(out, size, "%c %s %s %s", lattice, parts[0], parts[1], p);
}

bool ReadOrthorhombicSymbols(const std::string& dir, OrthorhombicSymbols& symbols) {
    const IO::File file = OpenDataFile(dir, "spgro.dat");
    FILE* f = file.get();
    if (!f) {
        IO::PrintError("Failed to open (%s).\n", "spgro.dat");
        return false;
    }
    char line[80];
    for (int i = 0; i < kOrthorhombicCount; ++i) {
        int unused = 0;
        char condensed[kOrthorhombicColumns][10];
        const bool read = get_line(line, sizeof line, f) != nullptr;
        if (!read || ScanFields(line, "%i %9s %9s %9s %9s %9s %9s", &unused, condensed[0], condensed[1],
                                condensed[2], condensed[3], condensed[4], condensed[5]) != 7) {
            IO::PrintError("The file (%s) seems to be broken.\n", "spgro.dat");
            return false;
        }
        for (int column = 0; column < kOrthorhombicColumns; ++column)
            ExpandCondensedSymbol(condensed[column], symbols.symbol[i][column], 20);
    }
    return true;
}

void ExpandOrthorhombicSettings(const OrthorhombicSymbols& symbols, SpaceGroupTable table) {
    for (int i = 0; i < kOrthorhombicCount; ++i) {
        const int number = kFirstOrthorhombic + i;
        ObjVector<_SpaceGroup>& settings = table.groups[number - 1];
        // Entries appended below lie behind the tabulated ones, so indices 0 and 1
        // stay the sources. A group missing from spgra.dat has none to expand.
        const int sources = originChoices(number) < settings.size() ? originChoices(number) : settings.size();
        for (int j = 0; j < 5; ++j)
            for (int k = 0; k < sources; ++k) {
                _SpaceGroup* entry = permutedSetting(*settings[k], UnitCell::Po[j]);
                CopyTruncated(entry->name, sizeof entry->name, symbols.symbol[i][j + 1]);
                settings.add(entry);
            }
    }
}
