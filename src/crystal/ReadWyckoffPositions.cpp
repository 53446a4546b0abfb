// wyckoff.dat: blocks of Wyckoff positions, one block per setting.

#include <cstdio>
#include <cstring>

#include "util/FieldScan.h"
#include "util/StrToken.h"
#include "util/TextLine.h"
#include "SpaceGroupFiles.h"
#include "TableRecord.h"

namespace {

_SpaceGroup* settingOf(SpaceGroupTable table, const RecordHeader& header) {
    if (header.number < 1 || header.number > kSpaceGroupCount) return nullptr;
    const ObjVector<_SpaceGroup>& settings = table.groups[header.number - 1];
    if (header.setting < 1 || header.setting > settings.size()) return nullptr;
    return settings[header.setting - 1];
}

// Cuts the field that starts at `field` at the next tab; returns the field
// after it, or null when there is none.
char* nextField(char* field) {
    char* tab = std::strchr(field, '\t');
    if (!tab) return nullptr;
    *tab = '\0';
    return tab + 1;
}

// The first line of a position: multiplicity, letter and site symmetry
// separated by tabs; the last two may be absent.
void scanPositionHead(char* line, Wyckoff& position) {
    char* letter = nextField(line);
    char* siteSymmetry = letter ? nextField(letter) : nullptr;
    ScanKeeping(line, "%i", &position.multiplicity);
    if (letter) ScanKeeping(letter, "%c", &position.letter);
    if (siteSymmetry) {
        nextField(siteSymmetry);
        CopyTruncated(position.siteSymmetry, sizeof position.siteSymmetry, siteSymmetry);
    }
}

// The coordinate line: the first triplet, such as "(x,1/4,z)", with free
// parameters going to the linear part and fixed values to the translation.
void scanPositionTriplet(char* line, Wyckoff& position) {
    StrToken tokens(line, "( )\t\n");
    const char* first = tokens.nextToken();
    if (!first) return;
    char triplet[80];
    CopyTruncated(triplet, sizeof triplet, first);
    const char* names[] = {"x", "y", "z", "q"};
    position.matrix.SetFromString(triplet, names, 3, false);
}

// Reads one position whose first line is in `line`, then the line after its
// further triplets, which is left in `line`. False at the end of the file.
bool readPosition(FILE* f, char* line, int size, _SpaceGroup* setting) {
    Wyckoff* position = new Wyckoff;
    scanPositionHead(line, *position);
    bool more = get_line(line, size, f) != nullptr;
    if (more) scanPositionTriplet(line, *position);
    // The other triplets of the orbit follow; the grid rule needs only the first.
    do more = more && get_line(line, size, f) != nullptr;
    while (more && std::strchr(line, '('));
    if (setting)
        setting->wyckoff.add(position);
    else
        delete position;  // a block for a setting the table does not have
    return more;
}

}  // namespace

bool ReadWyckoffPositions(const std::string& dir, SpaceGroupTable table) {
    const IO::File file = OpenDataFile(dir, "wyckoff.dat");
    FILE* f = file.get();
    if (!f) return false;
    char line[80];
    bool more = get_line(line, sizeof line, f) != nullptr;
    while (more) {
        RecordHeader header;
        _SpaceGroup* setting = ScanRecordHeader(line, header) ? settingOf(table, header) : nullptr;
        more = get_line(line, sizeof line, f) != nullptr;
        while (more && std::strlen(line) > 1) more = readPosition(f, line, sizeof line, setting);
        // A line of at most one character closes the block; the next is a header.
        more = more && get_line(line, sizeof line, f) != nullptr;
    }
    return true;
}
