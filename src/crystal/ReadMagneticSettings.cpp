// mspgr.dat: the magnetic space groups, appended behind the ordinary settings of their group.

#include <cctype>
#include <cstdio>
#include <cstring>
#include <string>

#include "util/FieldScan.h"
#include "util/IO.h"
#include "util/StrToken.h"
#include "util/TextLine.h"
#include "SpaceGroupFiles.h"
#include "TableRecord.h"

namespace {

const int kLineSize = 120;

// The text behind the first ':' of a line, or the empty end of a line without one.
char* afterColon(char* line) {
    char* colon = std::strchr(line, ':');
    return colon ? colon + 1 : line + std::strlen(line);
}

// Lines of one record; `line` holds the line at hand.
struct MagneticReader {
    IO::File file;
    char line[kLineSize];
    bool more;

    bool next() { return more = get_line(line, kLineSize, file.get()) != nullptr; }
};

// Words w1 to w6 of the "BNS: " line: w2 is the number "group.sub", w3 the
// symbol, w5 and w6 the symbols of the second system.
_SpaceGroup* newEntry(const char* line, int& number) {
    char words[6][kLineSize] = {"", "", "", "", "", ""};
    // Each word fits, since a line holds fewer than kLineSize characters.
    ScanKeeping(line, "%119s%119s%119s%119s%119s%119s", words[0], words[1], words[2], words[3], words[4],
                words[5]);
    _SpaceGroup* entry = new _SpaceGroup;
    number = 0;
    ScanKeeping(words[1], "%d.%d", &number, &entry->subNumber);
    CopyTruncated(entry->name, sizeof entry->name, words[2]);
    std::string altName = std::string(words[4]) + " " + words[5];
    CopyTruncated(entry->altName, sizeof entry->altName, altName.c_str());
    entry->flags = kMagneticFlag;
    return entry;
}

// "OG->BNS: a,b,c;..." gives the setting matrix of the second system in the
// axis names a, b, c: its rotation transposed, its translation as it stands.
void readTransform(char* line, _SpaceGroup& entry) {
    char text[kLineSize];
    CopyTruncated(text, sizeof text, afterColon(line));
    const char* names[] = {"a", "b", "c", "q"};
    Matrix4D setting;
    setting.SetFromString(text, names, 3, false);
    entry.transform.MatrixD::Initialize(setting.m, 3, 3, 4, 'T', 1.0);
    for (int i = 0; i < 3; ++i) entry.transform.Translation()[i] = setting.Translation()[i];
}

// Operators in four rows, the fourth being the time-reversal label; the list
// goes on over lines that begin with a tab.
void readOperators(MagneticReader& in, _SpaceGroup& entry) {
    const char* names[] = {"x", "y", "z", ""};
    StrToken tokens(afterColon(in.line), "; ");
    char* token = tokens.nextToken();
    for (;;) {
        for (; token; token = tokens.nextToken()) {
            char text[kLineSize];
            CopyTruncated(text, sizeof text, token);
            Matrix4D* op = new Matrix4D;
            op->SetFromString(text, names, 4, false);
            entry.ops.add(op);
        }
        tokens.close();
        if (!in.next() || in.line[0] != '\t') return;
        token = tokens.newToken(in.line, "\t; ");
    }
}

// Position lines "4a x,y,z 2'": multiplicity and letter, triplet, site symmetry.
void readPositions(MagneticReader& in, _SpaceGroup& entry) {
    const char* names[] = {"x", "y", "z", "q"};
    while (in.more && std::isdigit(static_cast<unsigned char>(in.line[0]))) {
        Wyckoff* position = new Wyckoff;
        char triplet[kLineSize] = "";
        char siteSymmetry[kLineSize] = "";
        ScanKeeping(in.line, "%d%c %119s %119s", &position->multiplicity, &position->letter, triplet,
                    siteSymmetry);
        position->matrix.SetFromString(triplet, names, 3, false);
        CopyTruncated(position->siteSymmetry, sizeof position->siteSymmetry, siteSymmetry);
        entry.wyckoff.add(position);
        in.next();
    }
}

}  // namespace

bool ReadMagneticSettings(const std::string& dir, SpaceGroupTable table) {
    MagneticReader in{OpenDataFile(dir, "mspgr.dat"), "", false};
    if (!in.file) {
        IO::PrintError("Failed to open (%s).\n", "mspgr.dat");
        return false;
    }
    // An entry of a group that does not exist is read to its end and then dropped.
    ObjVector<_SpaceGroup> dropped;
    in.next();
    while (in.more) {
        if (!std::strstr(in.line, "BNS: ")) {
            in.next();
            continue;
        }
        int number = 0;
        _SpaceGroup* entry = newEntry(in.line, number);
        const bool known = number >= 1 && number <= kSpaceGroupCount;
        (known ? table.groups[number - 1] : dropped).add(entry);
        if (in.next() && std::strstr(in.line, "OG->BNS:")) {
            readTransform(in.line, *entry);
            in.next();
        }
        if (in.more && std::strstr(in.line, "Operators")) readOperators(in, *entry);
        readPositions(in, *entry);
        int latticeCount = 1;
        CheckLatticeType(entry->ops, latticeCount, entry->name[0], 1);
        entry->latticeCount = latticeCount;
        // The line that ended the positions belongs to no record.
        if (in.more) in.next();
    }
    return true;
}
