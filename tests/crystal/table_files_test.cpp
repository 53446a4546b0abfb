// The readers of the four space-group files, on small hand-written files.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <random>
#include <string>

#include "../util/TempDir.h"
#include "CapturedMessages.h"
#include "core/SpaceGroup.h"
#include "core/SpaceGroupFiles.h"
#include "core/OrthorhombicSettings.h"
#include "core/UnitCell.h"

namespace {

// A table of 230 groups of the test's own, so that the global one is left alone.
struct LocalTable {
  ObjVector<_SpaceGroup> groups[kSpaceGroupCount];
  unsigned char counts[kSpaceGroupCount] = {};
  SpaceGroupTable table() { return SpaceGroupTable{groups, counts}; }
  _SpaceGroup& at(int number, int setting) { return *groups[number - 1][setting - 1]; }
};

// spgro.dat with "P222" in every column except the lines given.
std::string orthorhombicSymbols(int number, const std::string& line) {
  std::string text;
  for (int g = 16; g <= 74; ++g)
    text += g == number ? line + "\n" : std::to_string(g) + " P222 P222 P222 P222 P222 P222\n";
  return text;
}

const char* const kSettings =
    "  1  1  0  0  1P 1\n"
    "comment\n"
    "x,y,z\n"
    " 16  1  0  0  4P 2 2 2 \n"
    "trailing blank word above\n"
    "x,y,z\n"
    "-x,-y,z\n"
    "-x,y,-z\n"
    "x,-y,-z\n"
    " 36  1  0  1  2C m c 21\n"
    "a C-centred centric record\n"
    "x,y,z\n"
    "-x,-y,z+1/2\n"
    "999  1  0  0  1P 9\n"
    "a group that does not exist\n"
    "x,y,z\n"
    "160  1  0  0  1R 3 m\n"
    "hexagonal axes\n"
    "x,y,z\n"
    "160  2  0  0  1R 3 m\n"
    "rhombohedral axes\n"
    "x,y,z\n";

const char* const kWyckoff =
    "  1  1  0  0  1P 1\n"
    "1\ta\t1\n"
    "(x,y,z)\n"
    "\n"
    " 16  1  0  0  4P 2 2 2\n"
    "4\tu\t1\n"
    "(x,y,z)\t(-x,-y,z)\n"
    "(-x,y,-z)\t(x,-y,-z)\n"
    "2\tq\t..2\n"
    "(0,1/2,z) (1/2,0,-z)\n"
    "1\th\t222\n"
    "(1/2,1/2,1/2)\n"
    "\n"
    " 16  3  0  0  4P 2 2 2\n"
    "1\ta\t222 too long a site symmetry\n"
    "(1/4,0,0)\n"
    "\n"
    " 16 40  0  0  4P 2 2 2\n"
    "1\ta\t222\n"
    "(0,0,0)\n"
    "\n"
    "300  1  0  0  1P 1\n"
    "1\ta\t1\n"
    "(0,0,0)\n";

const char* const kMagnetic =
    "# magnetic space groups\n"
    "BNS: 1.1 P1 OG: 1.1.1 P1\n"
    "Operators: x,y,z,+1\n"
    "1a x,y,z 1\n"
    "end of record\n"
    "a line outside any record\n"
    "BNS: 2.6 P_S-1 OG: 2.7.4 P_2s-1\n"
    "OG->BNS: -b,a,c;1/2,0,0\n"
    "Operators: x,y,z,+1; -x,-y,-z,+1;\n"
    "\tx+1/2,y,z,-1\n"
    "2i x,y,z 1\n"
    "1a 0,0,0 -1\n"
    "end of record\n"
    "BNS: 999.1 P1 OG: 999.1.1 P1\n"
    "Operators: x,y,z,+1\n"
    "end of record\n";

// Writes a full set of the four files.
void writeTables(const TempDir& dir, const std::string& spgro, const std::string& spgra,
                 const std::string& wyckoff, const std::string& magnetic) {
  dir.write("spgro.dat", spgro);
  dir.write("spgra.dat", spgra);
  dir.write("wyckoff.dat", wyckoff);
  dir.write("mspgr.dat", magnetic);
}

std::string dirOf(const TempDir& dir) { return dir.path() + "/"; }

const double* translation(const MatrixD* op) { return op->p_ + 12; }

}  // namespace

TEST(CondensedSymbol, SeparatesLatticeScrewAxesAndTheRest) {
  const char* cases[][2] = {{"Pmc21", "P m c 21"}, {"P212121", "P 21 21 21"}, {"P2221", "P 2 2 21"},
                            {"Cmce", "C m c e"},   {"Fdd2", "F d d 2"},        {"P21ma", "P 21 m a"},
                            {"P", "P   "}};
  for (auto& c : cases) {
    char out[20];
    ExpandCondensedSymbol(c[0], out, sizeof out);
    EXPECT_STREQ(c[1], out) << c[0];
  }
}

TEST(OrdinaryTables, RecordsBecomeSettingsWithLatticeBlocks) {
  TempDir dir;
  writeTables(dir, orthorhombicSymbols(26, "26 Pmc21 Pcm21 P21ma P21am Pb21m Pm21b"), kSettings, kWyckoff,
              kMagnetic);
  LocalTable t;
  CapturedMessages captured;
  EXPECT_TRUE(ReadOrdinarySettings(dirOf(dir), t.table()));
  EXPECT_EQ("", captured.text());

  EXPECT_STREQ("P 1", t.at(1, 1).name);
  EXPECT_STREQ("P 2 2 2", t.at(16, 1).name) << "trailing blank word dropped";

  // Centric C record: each listed operator is followed by its negative, then
  // the whole primitive list is repeated with (1/2, 1/2, 0) added.
  const _SpaceGroup& cmc = t.at(36, 1);
  ASSERT_EQ(8, cmc.ops.size());
  EXPECT_EQ(2, cmc.latticeCount);
  EXPECT_EQ(1, cmc.centric);
  const double firstBlock[4][3] = {{0, 0, 0}, {0, 0, 0}, {0, 0, 0.5}, {0, 0, 0.5}};
  const double rotationSign[4] = {1, -1, 1, -1};
  for (int i = 0; i < 4; ++i)
    for (int k = 0; k < 3; ++k) {
      EXPECT_DOUBLE_EQ(firstBlock[i][k], translation(cmc.ops[i])[k]) << "operator " << i;
      const double second = std::fmod(firstBlock[i][k] + (k < 2 ? 0.5 : 0.0), 1.0);
      EXPECT_DOUBLE_EQ(second, translation(cmc.ops[i + 4])[k]) << "operator " << i + 4;
    }
  for (int i = 0; i < 4; ++i)
    EXPECT_EQ(rotationSign[i] * (i < 2 ? 1 : -1), (*cmc.ops[i])(0, 0)) << i;
  EXPECT_EQ(1.0, (*cmc.ops[1])(3, 3)) << "the negative keeps the label 1";

  // R records get the rhombohedral translations on hexagonal axes only.
  EXPECT_EQ(3, t.at(160, 1).ops.size());
  EXPECT_EQ(3, t.at(160, 1).latticeCount);
  EXPECT_EQ(1, t.at(160, 2).ops.size());
  EXPECT_EQ(1, t.at(160, 2).latticeCount);
}

TEST(OrdinaryTables, OrthorhombicSettingsArePermutationsOfTheTabulatedOne) {
  TempDir dir;
  writeTables(dir, orthorhombicSymbols(16, "16 P222 P2122 P2212 P2221 P21212 P22121"), kSettings, kWyckoff,
              kMagnetic);
  LocalTable t;
  ASSERT_TRUE(ReadOrdinarySettings(dirOf(dir), t.table()));
  ASSERT_EQ(6, t.groups[15].size());
  EXPECT_EQ(6, t.counts[15]);
  const char* names[] = {"P 2 2 2", "P 21 2 2", "P 2 21 2", "P 2 2 21", "P 21 21 2", "P 2 21 21"};
  for (int s = 1; s <= 6; ++s)
    EXPECT_STREQ(names[s - 1], t.at(16, s).name);
  // Groups that spgra.dat lacks are left empty instead of read past.
  EXPECT_EQ(0, t.groups[16].size());

  // Setting 3 (cab) holds each operator W of setting 1 as P^T W P, P = Po[1].
  const MatrixD& W = *t.at(16, 1).ops[2];
  const MatrixD& V = *t.at(16, 3).ops[2];
  for (int i = 0; i < 3; ++i)
    for (int j = 0; j < 3; ++j) {
      double expected = 0;
      for (int k = 0; k < 3; ++k)
        for (int l = 0; l < 3; ++l)
          expected += UnitCell::Po[1][k][i] * W(k, l) * UnitCell::Po[1][l][j];
      EXPECT_DOUBLE_EQ(expected, V(i, j)) << i << "," << j;
    }
}

TEST(OrdinaryTables, WyckoffBlocksFillTheirSettings) {
  TempDir dir;
  writeTables(dir, orthorhombicSymbols(0, ""), kSettings, kWyckoff, kMagnetic);
  LocalTable t;
  ASSERT_TRUE(ReadOrdinarySettings(dirOf(dir), t.table()));

  const ObjVector<Wyckoff>& positions = t.at(16, 1).wyckoff;
  ASSERT_EQ(3, positions.size()) << "further triplet lines are skipped";
  EXPECT_EQ(4, positions[0]->multiplicity);
  EXPECT_EQ('u', positions[0]->letter);
  EXPECT_STREQ("1", positions[0]->siteSymmetry);
  EXPECT_TRUE(positions[0]->matrix.IsEqualTo(Matrix4D()));
  EXPECT_STREQ("..2", positions[1]->siteSymmetry);
  EXPECT_DOUBLE_EQ(0.5, positions[1]->matrix.m[13]);
  EXPECT_DOUBLE_EQ(1.0, positions[1]->matrix(2, 2));
  EXPECT_DOUBLE_EQ(0.0, positions[1]->matrix(0, 0));
  EXPECT_EQ('h', positions[2]->letter);
  for (int k = 0; k < 3; ++k)
    EXPECT_DOUBLE_EQ(0.5, positions[2]->matrix.m[12 + k]);

  // A block for a generated setting is accepted; its site symmetry is cut to 9.
  ASSERT_EQ(1, t.at(16, 3).wyckoff.size());
  EXPECT_STREQ("222 too l", t.at(16, 3).wyckoff[0]->siteSymmetry);
  EXPECT_DOUBLE_EQ(0.25, t.at(16, 3).wyckoff[0]->matrix.m[12]);

  // Class numbers and setting counts come last.
  EXPECT_EQ(1, t.at(1, 1).systemId);
  EXPECT_EQ(3, t.at(16, 1).systemId);
  EXPECT_EQ(3, t.at(16, 1).laueId);
  EXPECT_EQ(5, t.at(160, 2).systemId);
  EXPECT_EQ(7, t.at(160, 2).laueId);
  EXPECT_EQ(2, t.counts[159]);
}

TEST(MagneticTable, RecordsAreAppendedBehindTheOrdinarySettings) {
  TempDir dir;
  writeTables(dir, orthorhombicSymbols(0, ""), kSettings, kWyckoff, kMagnetic);
  LocalTable t;
  ASSERT_TRUE(ReadOrdinarySettings(dirOf(dir), t.table()));
  CapturedMessages captured;
  ASSERT_TRUE(ReadMagneticSettings(dirOf(dir), t.table()));
  EXPECT_EQ("", captured.text());

  ASSERT_EQ(2, t.groups[0].size());
  EXPECT_EQ(1, t.counts[0]) << "magnetic entries are not counted";
  const _SpaceGroup& m1 = t.at(1, 2);
  EXPECT_EQ(kMagneticFlag, m1.flags);
  EXPECT_STREQ("P1", m1.name);
  EXPECT_STREQ("1.1.1 P1", m1.altName);
  EXPECT_EQ(1, m1.ops.size());
  EXPECT_EQ(1, m1.wyckoff.size());

  const _SpaceGroup& m2 = t.at(2, 1);
  EXPECT_EQ(kMagneticFlag, m2.flags);
  EXPECT_EQ(6, m2.subNumber);
  EXPECT_STREQ("P_S-1", m2.name);
  EXPECT_STREQ("2.7.4 P_2s-1", m2.altName);
  // The rotation of -b,a,c enters transposed, the shift as it stands.
  EXPECT_DOUBLE_EQ(1.0, m2.transform(0, 1));
  EXPECT_DOUBLE_EQ(-1.0, m2.transform(1, 0));
  EXPECT_DOUBLE_EQ(0.5, m2.transform(0, 3));
  // The operator list goes on over the line that begins with a tab.
  ASSERT_EQ(3, m2.ops.size());
  EXPECT_DOUBLE_EQ(-1.0, (*m2.ops[1])(0, 0));
  EXPECT_DOUBLE_EQ(1.0, (*m2.ops[1])(3, 3));
  EXPECT_DOUBLE_EQ(-1.0, (*m2.ops[2])(3, 3)) << "time reversal";
  EXPECT_DOUBLE_EQ(0.5, (*m2.ops[2])(0, 3));
  ASSERT_EQ(2, m2.wyckoff.size());
  EXPECT_EQ(2, m2.wyckoff[0]->multiplicity);
  EXPECT_EQ('i', m2.wyckoff[0]->letter);
  EXPECT_STREQ("-1", m2.wyckoff[1]->siteSymmetry);
}

TEST(TableFailures, EachMissingFileIsReportedAsTheProgramSaysIt) {
  TempDir dir;
  LocalTable t;
  {
    CapturedMessages captured;
    EXPECT_FALSE(ReadOrdinarySettings(dirOf(dir), t.table()));
    EXPECT_EQ("Failed to open (spgro.dat).\n", captured.text());
  }
  dir.write("spgro.dat", "16 P222 P222 P222 P222 P222 P222\n17 P2221 too few\n");
  {
    CapturedMessages captured;
    EXPECT_FALSE(ReadOrdinarySettings(dirOf(dir), t.table()));
    EXPECT_EQ("The file (spgro.dat) seems to be broken.\n", captured.text());
  }
  dir.write("spgro.dat", orthorhombicSymbols(0, ""));
  {
    CapturedMessages captured;
    EXPECT_FALSE(ReadOrdinarySettings(dirOf(dir), t.table()));
    EXPECT_EQ("Failed to open (spgra.dat).\n", captured.text());
  }
  dir.write("spgra.dat", kSettings);
  {
    CapturedMessages captured;
    EXPECT_FALSE(ReadOrdinarySettings(dirOf(dir), t.table()));
    EXPECT_EQ("", captured.text()) << "a missing wyckoff.dat is silent";
    EXPECT_EQ(0, t.counts[0]);
    EXPECT_EQ(0, t.at(1, 1).systemId);
  }
  {
    CapturedMessages captured;
    EXPECT_FALSE(ReadMagneticSettings(dirOf(dir), t.table()));
    EXPECT_EQ("Failed to open (mspgr.dat).\n", captured.text());
  }
}

// Hand-edited or damaged files may load wrongly, but must never make the
// readers leave their buffers or the table (the sanitizer build checks that).
TEST(TableFailures, DamagedFilesAreReadWithoutHarm) {
  std::mt19937 random(20240611);
  const std::string pieces[] = {"  1", "999", " -5", " 16", "  2", "P", " ", "\t", "\n", "\r", "(", ")",
                                "x", "-y", "+1/2", "1/0", ",", ";", ":", "BNS: ", "OG->BNS:", "Operators",
                                "4", "a", "9999999999", "2.3", "%s", std::string(150, 'z')};
  const int pieceCount = sizeof pieces / sizeof pieces[0];
  auto garble = [&](int length) {
    std::string text;
    for (int i = 0; i < length; ++i)
      text += pieces[random() % pieceCount];
    return text;
  };
  for (int round = 0; round < 40; ++round) {
    TempDir dir;
    writeTables(dir, orthorhombicSymbols(0, ""), garble(400), garble(400), garble(400));
    LocalTable t;
    CapturedMessages quiet;
    ReadOrdinarySettings(dirOf(dir), t.table());
    ReadMagneticSettings(dirOf(dir), t.table());
  }
  // A record that promises more operators than the file holds ends with it.
  TempDir dir;
  writeTables(dir, orthorhombicSymbols(0, ""), " 16  1  0  1999P 2 2 2\ncomment\nx,y,z\n", "", "");
  LocalTable t;
  EXPECT_TRUE(ReadOrdinarySettings(dirOf(dir), t.table()));
  EXPECT_EQ(2, t.at(16, 1).ops.size());
}
