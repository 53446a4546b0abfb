// The ordinary settings: spgra.dat records, orthorhombic expansion, Wyckoff positions, class numbers.

#include <cstdio>

#include "util/IO.h"
#include "util/TextLine.h"
#include "crystal/SpaceGroupTables.h"
#include "OrthorhombicSettings.h"
#include "SpaceGroupFiles.h"
#include "TableRecord.h"

namespace {

// (-R, -t) of an operator (R, t), its label kept at 1.
Matrix4D* negated(const Matrix4D& op) {
    Matrix4D* minus = new Matrix4D(op);
    for (int i = 0; i < 15; ++i) minus->m[i] = -minus->m[i];
    return minus;
}

// Reads the operator lines of one record. A centric record lists only half
// of its operators; the other half are their negatives, each put right
// behind its partner.
void readOperators(FILE* f, const RecordHeader& header, _SpaceGroup& entry) {
    const char* names[] = {"x", "y", "z", "q"};
    char line[80];
    for (int i = 0; i < header.operatorCount && get_line(line, sizeof line, f); ++i) {
        Matrix4D* op = new Matrix4D;
        op->SetFromString(line, names, 3, false);
        entry.ops.add(op);
        if (header.centric != 0) entry.ops.add(negated(*op));
    }
}

// Reads the records of spgra.dat; a group's settings are numbered by the
// order in which its records stand.
bool readSettingRecords(const std::string& dir, SpaceGroupTable table) {
    const IO::File file = OpenDataFile(dir, "spgra.dat");
    FILE* f = file.get();
    if (!f) {
        IO::PrintError("Failed to open (%s).\n", "spgra.dat");
        return false;
    }
    char line[80];
    while (get_line(line, sizeof line, f)) {
        RecordHeader header;
        if (!ScanRecordHeader(line, header)) continue;
        _SpaceGroup* entry = new _SpaceGroup;
        entry->centric = header.centric != 0;
        CopyTruncated(entry->name, sizeof entry->name, header.symbol);
        get_line(line, sizeof line, f);  // a comment line
        readOperators(f, header, *entry);
        int latticeCount = 1;
        CheckLatticeType(entry->ops, latticeCount, entry->name[0], header.setting);
        entry->latticeCount = latticeCount;
        if (header.number >= 1 && header.number <= kSpaceGroupCount)
            table.groups[header.number - 1].add(entry);
        else
            delete entry;  // a group that does not exist; the record is consumed all the same
    }
    return true;
}

// 1-based index of the last boundary not above number.
int classIndex(const int* firstNumbers, int count, int number) {
    int index = 0;
    for (int i = 0; i < count; ++i)
        if (firstNumbers[i] <= number) index = i + 1;
    return index;
}

void storeClassNumbers(SpaceGroupTable table) {
    for (int number = 1; number <= kSpaceGroupCount; ++number) {
        const int systemId = classIndex(crystalSystemID, 8, number);
        const int laueId = classIndex(crystalLaueID, 11, number);
        ObjVector<_SpaceGroup>& settings = table.groups[number - 1];
        for (_SpaceGroup* entry : settings) {
            entry->systemId = systemId;
            entry->laueId = laueId;
        }
        table.counts[number - 1] = static_cast<unsigned char>(settings.size() < 255 ? settings.size() : 255);
    }
}

}  // namespace

bool ReadOrdinarySettings(const std::string& dir, SpaceGroupTable table) {
    OrthorhombicSymbols symbols;
    if (!ReadOrthorhombicSymbols(dir, symbols) || !readSettingRecords(dir, table)) return false;
    // The Wyckoff blocks of the permuted settings refer to them by number, so
    // they must exist before wyckoff.dat is read.
    ExpandOrthorhombicSettings(symbols, table);
    if (!ReadWyckoffPositions(dir, table)) return false;
    storeClassNumbers(table);
    return true;
}
