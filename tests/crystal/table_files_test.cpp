// The readers of the four space-group files on missing, broken and garbled files.
#include <gtest/gtest.h>

#include <cstdio>
#include <random>
#include <string>

#include "common/TempDir.h"
#include "common/CapturedOutput.h"
#include "crystal/SpaceGroup.h"
#include "crystal/SpaceGroupFiles.h"
#include "crystal/UnitCell.h"

namespace {

// A table of 230 groups of the test's own, so that the global one is left alone.
struct LocalTable {
    ObjVector<_SpaceGroup> groups[kSpaceGroupCount];
    unsigned char counts[kSpaceGroupCount] = {};
    SpaceGroupTable table() { return SpaceGroupTable{groups, counts}; }
    _SpaceGroup& at(int number, int setting) { return *groups[number - 1][setting - 1]; }
};

// spgro.dat with "P222" in every column.
std::string orthorhombicSymbols() {
    std::string text;
    for (int g = 16; g <= 74; ++g) text += std::to_string(g) + " P222 P222 P222 P222 P222 P222\n";
    return text;
}

// Writes a full set of the four files.
void writeTables(const TempDir& dir, const std::string& spgro, const std::string& spgra,
                 const std::string& wyckoff, const std::string& magnetic) {
    dir.write("spgro.dat", spgro);
    dir.write("spgra.dat", spgra);
    dir.write("wyckoff.dat", wyckoff);
    dir.write("mspgr.dat", magnetic);
}

std::string dirOf(const TempDir& dir) { return dir.path() + "/"; }

}  // namespace

// Each file missing or broken in turn, as the program reports it; a missing
// wyckoff.dat is silent but leaves the table empty.
TEST(TableFailures, EachMissingFileIsReportedAsTheProgramSaysIt) {
    TempDir dir;
    LocalTable t;
    const struct {
        const char *file, *bytes, *message;
    } steps[] = {{nullptr, nullptr, "Failed to open (spgro.dat).\n"},
                 {"spgro.dat", "16 P222 P222 P222 P222 P222 P222\n17 P2221 too few\n",
                  "The file (spgro.dat) seems to be broken.\n"},
                 {"spgro.dat", "", "Failed to open (spgra.dat).\n"},
                 {"spgra.dat", "  1  1  0  0  1P 1\ncomment\nx,y,z\n", ""}};
    for (const auto& step : steps) {
        if (step.file) dir.write(step.file, *step.bytes ? step.bytes : orthorhombicSymbols());
        CapturedOutput captured;
        EXPECT_FALSE(ReadOrdinarySettings(dirOf(dir), t.table()));
        EXPECT_EQ(step.message, captured.all());
    }
    EXPECT_EQ(0, t.counts[0]);
    EXPECT_EQ(0, t.at(1, 1).systemId);
    CapturedOutput captured;
    EXPECT_FALSE(ReadMagneticSettings(dirOf(dir), t.table()));
    EXPECT_EQ("Failed to open (mspgr.dat).\n", captured.all());
}

// Hand-edited or damaged files may load wrongly, but must never make the
// readers leave their buffers or the table (the sanitizer build checks that).
TEST(TableFailures, DamagedFilesAreReadWithoutHarm) {
    std::mt19937 random(20240611);
    const std::string pieces[] = {
        "  1",       "999", " -5", " 16",        "  2", "P",     " ",
        "\t",        "\n",  "\r",  "(",          ")",   "x",     "-y",
        "+1/2",      "1/0", ",",   ";",          ":",   "BNS: ", "OG->BNS:",
        "Operators", "4",   "a",   "9999999999", "2.3", "%s",    std::string(150, 'z')};
    const int pieceCount = sizeof pieces / sizeof pieces[0];
    auto garble = [&](int length) {
        std::string text;
        for (int i = 0; i < length; ++i) text += pieces[random() % pieceCount];
        return text;
    };
    for (int round = 0; round < 40; ++round) {
        TempDir dir;
        writeTables(dir, orthorhombicSymbols(), garble(400), garble(400), garble(400));
        LocalTable t;
        CapturedOutput quiet;
        ReadOrdinarySettings(dirOf(dir), t.table());
        ReadMagneticSettings(dirOf(dir), t.table());
    }
    // A record that promises more operators than the file holds ends with it.
    TempDir dir;
    writeTables(dir, orthorhombicSymbols(), " 16  1  0  1999P 2 2 2\ncomment\nx,y,z\n", "", "");
    LocalTable t;
    EXPECT_TRUE(ReadOrdinarySettings(dirOf(dir), t.table()));
    EXPECT_EQ(2, t.at(16, 1).ops.size());
}
