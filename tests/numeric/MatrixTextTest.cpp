// Operator text into matrix rows: the loose grammar of the data files and of refinement output.
#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "core/Matrix4D.h"

namespace {

const char* kXYZ[] = {"x", "y", "z", "q"};

// Parses text into an operator with the names x, y, z.
Matrix4D parse(std::string text, int rows = 3, const char** names = kXYZ) {
  Matrix4D W;
  W.SetFromString(&text[0], names, rows, false);
  return W;
}

// Row r of W as (W(r,0), W(r,1), W(r,2) | W(r,3)).
void expectRow(const Matrix4D& W, int r, double a, double b, double c, double t) {
  EXPECT_EQ(W(r, 0), a) << "row " << r;
  EXPECT_EQ(W(r, 1), b) << "row " << r;
  EXPECT_EQ(W(r, 2), c) << "row " << r;
  EXPECT_EQ(W(r, 3), t) << "row " << r;
}

TEST(OperatorText, SingleComponents) {
  expectRow(parse("x+1/2"), 0, 1, 0, 0, 0.5);
  expectRow(parse("x-y"), 0, 1, -1, 0, 0);
  expectRow(parse("2x"), 0, 2, 0, 0, 0);
  expectRow(parse("x/2"), 0, 0.5, 0, 0, 0);
  expectRow(parse("0.3333"), 0, 0, 0, 0, 1.0 / 3);  // snapped to the exact third
  EXPECT_NEAR(parse("-1/3")(0, 3), -1.0 / 3, 1e-16);  // negative: left to the caller
  EXPECT_EQ(parse("1/2x")(0, 0), 0.5);
}

TEST(OperatorText, ComponentsGoToSuccessiveRows) {
  const Matrix4D W = parse("x+1/2,-y,1/4-z");
  expectRow(W, 0, 1, 0, 0, 0.5);
  expectRow(W, 1, 0, -1, 0, 0);
  expectRow(W, 2, 0, 0, -1, 0.25);
  expectRow(W, 3, 0, 0, 0, 1);
}

TEST(OperatorText, CaseAndSeparatorsDoNotMatter) {
  const Matrix4D reference = parse("x-y,x,z+1/6");
  for (const char* text : {"X-Y,X,Z+1/6", "x-y x z+1/6", "'x-y, x, z+1/6'", "x-y\tx\t\tz+1/6",
                           "  \"x-y\" ,, x , z+1/6 ,"})
    EXPECT_EQ(parse(text).Compare(reference.m), 0) << text;
  EXPECT_EQ(reference(2, 3), 1.0 / 6);
}

TEST(OperatorText, SnapsRoundedTwelfthsOnly) {
  EXPECT_EQ(parse("0.6667")(0, 3), 2.0 / 3);
  EXPECT_EQ(parse("0.08333")(0, 3), 1.0 / 12);
  EXPECT_EQ(parse("0.91667")(0, 3), 11.0 / 12);
  EXPECT_EQ(parse("0.1")(0, 3), 0.1);
  EXPECT_EQ(parse("0.3331")(0, 3), 0.3331);  // outside 0.0001 of a third
}

TEST(OperatorText, TermsAssignRatherThanAdd) {
  expectRow(parse("x+x"), 0, 1, 0, 0, 0);
  expectRow(parse("x+1/2+1/4"), 0, 1, 0, 0, 0.25);
  expectRow(parse("-x+y-x"), 0, -1, 1, 0, 0);
}

TEST(OperatorText, SecondSegmentOverridesThirdIsIgnored) {
  const Matrix4D W = parse("x,y,z;-x+1/2|y,z,x");
  expectRow(W, 0, -1, 0, 0, 0.5);
  expectRow(W, 1, 0, 1, 0, 0);
  expectRow(W, 2, 0, 0, 1, 0);
  const Matrix4D V = parse("x,y,z|x+1/2,y+1/2");
  expectRow(V, 0, 1, 0, 0, 0.5);
  expectRow(V, 1, 0, 1, 0, 0.5);
  expectRow(V, 2, 0, 0, 1, 0);
}

TEST(OperatorText, MagneticCornerFromFourthComponent) {
  const Matrix4D W = parse("-x,-y,z+1/2,-1", 4);
  expectRow(W, 2, 0, 0, 1, 0.5);
  EXPECT_EQ(W(3, 3), -1.0);
  EXPECT_EQ(parse("x,y,z,+1", 4)(3, 3), 1.0);
  EXPECT_EQ(parse("x,y,z,-1", 3)(3, 3), 1.0);  // only three rows read
}

TEST(OperatorText, OtherNameSets) {
  const char* numbered[] = {"x1", "x2", "x3", "q"};
  const Matrix4D W = parse("-X2, X1-X2, X3+1/3", 3, numbered);
  expectRow(W, 0, 0, -1, 0, 0);
  expectRow(W, 1, 1, -1, 0, 0);
  expectRow(W, 2, 0, 0, 1, 1.0 / 3);
}

TEST(OperatorText, MalformedTextGivesZerosNotFaults) {
  expectRow(parse("nonsense"), 0, 0, 0, 0, 0);
  Matrix4D W;
  for (double& e : W.m)
    e = 9;
  std::string text = "y";
  W.SetFromString(&text[0], kXYZ, 3, false);  // clears everything first
  expectRow(W, 0, 0, 1, 0, 0);
  expectRow(W, 1, 0, 0, 0, 0);
  expectRow(W, 3, 0, 0, 0, 1);
  expectRow(parse(""), 2, 0, 0, 0, 0);
  EXPECT_TRUE(std::isinf(parse("1/0")(0, 3)));
  expectRow(parse("+-x++"), 0, -1, 0, 0, 0);
  expectRow(parse(";;,,||"), 0, 0, 0, 0, 0);
  // An exponent is split at its sign, leaving 1e and -3 as separate terms.
  EXPECT_EQ(parse("1e-3")(0, 3), -3.0);
  // A blank inside a component starts the next row.
  const Matrix4D spaced = parse("x + 1/2");
  expectRow(spaced, 0, 1, 0, 0, 0);
  expectRow(spaced, 2, 0, 0, 0, 0.5);
}

}  // namespace
