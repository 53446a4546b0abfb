#include <gtest/gtest.h>

#include <string>

#include "app/FileType.h"

TEST(CheckFormat, EveryExtensionOfTheTable) {
    EXPECT_EQ(check_format("/d/a.prf"), 0);
    EXPECT_EQ(check_format("/d/a.omra"), 1);
    EXPECT_EQ(check_format("/d/a.alb"), 2);
    EXPECT_EQ(check_format("/d/a.mem"), 3);
    EXPECT_EQ(check_format("/d/a.fos"), 5);
    EXPECT_EQ(check_format("/d/a.fcf"), 6);
    EXPECT_EQ(check_format("/d/a.BayMEM"), 7);
    EXPECT_EQ(check_format("/d/a.mep"), 8);
    EXPECT_EQ(check_format("/d/a.ffo"), 10);
    EXPECT_EQ(check_format("/d/a.hkl"), 11);
}

TEST(CheckFormat, CaseInsensitiveSubstringInTableOrder) {
    EXPECT_EQ(check_format("a.MEM"), 3);
    EXPECT_EQ(check_format("a.Prf"), 0);
    EXPECT_EQ(check_format("a.baymem"), 7);  // before "mem"
    EXPECT_EQ(check_format("a.mem2"), 3);
    EXPECT_EQ(check_format("a.xfcfx"), 6);
    EXPECT_EQ(check_format("a.memprf"), 0);  // "prf" is tried first
    EXPECT_EQ(check_format("a.omraalb"), 2);
}

TEST(CheckFormat, UnsupportedNames) {
    EXPECT_EQ(check_format("notes.txt"), -1);
    EXPECT_EQ(check_format("/d/data"), -1);
    EXPECT_EQ(check_format("a."), -1);
    EXPECT_EQ(check_format(""), -1);
    EXPECT_EQ(check_format(nullptr), -1);
}

TEST(CheckFormat, LastDotOfTheWholePath) {
    EXPECT_EQ(check_format("/runs/v1.mem/data"), 3);
    EXPECT_EQ(check_format("/runs.mem/a.txt"), -1);
}

TEST(CheckFormat, ExtensionIsReadUpTo128Characters) {
    EXPECT_EQ(check_format(("a." + std::string(125, 'x') + "fos").c_str()), 5);
    EXPECT_EQ(check_format(("a." + std::string(126, 'x') + "fos").c_str()), -1);
}
