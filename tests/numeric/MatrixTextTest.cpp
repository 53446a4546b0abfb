// Operator text into matrix rows: the loose grammar of the data files and of refinement output.
#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "core/Matrix4D.h"

namespace {

const char* kXYZ[] = {"x", "y", "z", "q"};

Matrix4D parse(std::string text, int rows = 3, const char** names = kXYZ) {
  Matrix4D W;
  W.SetFromString(&text[0], names, rows, false);
  return W;
}

struct TextCase {
  const char* text;
  int rows;
  double r[3][4];  // rows 0 to 2 as (W(r,0), W(r,1), W(r,2) | W(r,3))
  double corner;
};

// Each example with the operator it must give.
const TextCase kCases[] = {
    {"x+1/2", 3, {{1, 0, 0, 0.5}}, 1},
    {"x-y", 3, {{1, -1, 0, 0}}, 1},
    {"2x", 3, {{2, 0, 0, 0}}, 1},
    {"x/2", 3, {{0.5, 0, 0, 0}}, 1},
    {"1/2x", 3, {{0.5, 0, 0, 0}}, 1},
    {"0.3333", 3, {{0, 0, 0, 1.0 / 3}}, 1},  // snapped to the exact third
    {"0.6667", 3, {{0, 0, 0, 2.0 / 3}}, 1},
    {"0.08333", 3, {{0, 0, 0, 1.0 / 12}}, 1},
    {"0.91667", 3, {{0, 0, 0, 11.0 / 12}}, 1},
    {"0.1", 3, {{0, 0, 0, 0.1}}, 1},
    {"0.3331", 3, {{0, 0, 0, 0.3331}}, 1},  // outside 0.0001 of a third
    {"x+1/2,-y,1/4-z", 3, {{1, 0, 0, 0.5}, {0, -1, 0, 0}, {0, 0, -1, 0.25}}, 1},
    // Case, quotes, blanks, tabs and empty components do not matter.
    {"X-Y,X,Z+1/6", 3, {{1, -1, 0, 0}, {1, 0, 0, 0}, {0, 0, 1, 1.0 / 6}}, 1},
    {"x-y x z+1/6", 3, {{1, -1, 0, 0}, {1, 0, 0, 0}, {0, 0, 1, 1.0 / 6}}, 1},
    {"'x-y, x, z+1/6'", 3, {{1, -1, 0, 0}, {1, 0, 0, 0}, {0, 0, 1, 1.0 / 6}}, 1},
    {"x-y\tx\t\tz+1/6", 3, {{1, -1, 0, 0}, {1, 0, 0, 0}, {0, 0, 1, 1.0 / 6}}, 1},
    {"  \"x-y\" ,, x , z+1/6 ,", 3, {{1, -1, 0, 0}, {1, 0, 0, 0}, {0, 0, 1, 1.0 / 6}}, 1},
    // Terms assign rather than add.
    {"x+x", 3, {{1, 0, 0, 0}}, 1},
    {"x+1/2+1/4", 3, {{1, 0, 0, 0.25}}, 1},
    {"-x+y-x", 3, {{-1, 1, 0, 0}}, 1},
    // A second segment overrides the first; a third is ignored.
    {"x,y,z;-x+1/2|y,z,x", 3, {{-1, 0, 0, 0.5}, {0, 1, 0, 0}, {0, 0, 1, 0}}, 1},
    {"x,y,z|x+1/2,y+1/2", 3, {{1, 0, 0, 0.5}, {0, 1, 0, 0.5}, {0, 0, 1, 0}}, 1},
    // The magnetic label from a fourth component, when four rows are read.
    {"-x,-y,z+1/2,-1", 4, {{-1, 0, 0, 0}, {0, -1, 0, 0}, {0, 0, 1, 0.5}}, -1},
    {"x,y,z,+1", 4, {{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}}, 1},
    {"x,y,z,-1", 3, {{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}}, 1},
    // Malformed text gives zeros, not faults.
    {"nonsense", 3, {}, 1},
    {"", 3, {}, 1},
    {";;,,||", 3, {}, 1},
    {"+-x++", 3, {{-1, 0, 0, 0}}, 1},
    {"1e-3", 3, {{0, 0, 0, -3}}, 1},  // split at the exponent's sign
    {"x + 1/2", 3, {{1, 0, 0, 0}, {}, {0, 0, 0, 0.5}}, 1},  // a blank starts the next row
};

TEST(OperatorText, TableOfExamples) {
  for (const TextCase& c : kCases) {
    const Matrix4D W = parse(c.text, c.rows);
    for (int r = 0; r < 3; ++r)
      for (int j = 0; j < 4; ++j)
        EXPECT_NEAR(W(r, j), c.r[r][j], 1e-15) << "'" << c.text << "' (" << r << ", " << j << ")";
    EXPECT_EQ(W(3, 3), c.corner) << c.text;
    EXPECT_EQ(W(3, 0) + W(3, 1) + W(3, 2), 0.0) << c.text;
  }
  EXPECT_NEAR(parse("-1/3")(0, 3), -1.0 / 3, 1e-16);  // negative: left to the caller
  EXPECT_TRUE(std::isinf(parse("1/0")(0, 3)));
}

}  // namespace
