#include <gtest/gtest.h>

#include <string>

#include "app/FileType.h"

// The extension table, case-insensitive substrings tried in table order, the
// last dot of the whole path, and the 128-character limit of the extension.
TEST(CheckFormat, TableOfNames) {
  const std::string longExt(125, 'x');
  const struct {
    std::string name;
    int type;
  } cases[] = {
      {"/d/a.prf", 0},   {"/d/a.omra", 1},    {"/d/a.alb", 2},       {"/d/a.mem", 3},
      {"/d/a.fos", 5},   {"/d/a.fcf", 6},     {"/d/a.BayMEM", 7},    {"/d/a.mep", 8},
      {"/d/a.ffo", 10},  {"/d/a.hkl", 11},    {"a.MEM", 3},          {"a.Prf", 0},
      {"a.baymem", 7},   {"a.mem2", 3},       {"a.xfcfx", 6},        {"a.memprf", 0},
      {"a.omraalb", 2},  {"notes.txt", -1},   {"/d/data", -1},       {"a.", -1},
      {"", -1},          {"/runs/v1.mem/data", 3}, {"/runs.mem/a.txt", -1},
      {"a." + longExt + "fos", 5}, {"a.x" + longExt + "fos", -1},
  };
  for (const auto& c : cases)
    EXPECT_EQ(check_format(c.name.c_str()), c.type) << c.name;
  EXPECT_EQ(check_format(nullptr), -1);
}
