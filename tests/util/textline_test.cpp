#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>

#include "TempDir.h"
#include "app/TextLine.h"

namespace {

// Reads every line of `bytes` with the fixed-size reader, as readers loop on it.
std::vector<std::string> readLines(const std::string& bytes, int size) {
    FILE* f = tmpfile();
    fwrite(bytes.data(), 1, bytes.size(), f);
    rewind(f);
    std::vector<std::string> lines;
    std::vector<char> buf(static_cast<size_t>(size));
    while (get_line(buf.data(), size, f)) lines.push_back(buf.data());
    fclose(f);
    return lines;
}

std::vector<std::string> readStrings(const std::string& bytes) {
    FILE* f = tmpfile();
    fwrite(bytes.data(), 1, bytes.size(), f);
    rewind(f);
    std::vector<std::string> lines;
    std::string s;
    while (!feof(f)) {
        get_line(s, f);
        lines.push_back(s);
    }
    fclose(f);
    return lines;
}

FILE* fileWith(const std::string& bytes) {
    FILE* f = tmpfile();
    fwrite(bytes.data(), 1, bytes.size(), f);
    rewind(f);
    return f;
}

const std::vector<std::string> kThree = {"first", "", "third"};

}  // namespace

TEST(GetLine, AllThreeLineEndsGiveTheSameLines) {
    EXPECT_EQ(readLines("first\n\nthird\n", 120), kThree);
    EXPECT_EQ(readLines("first\r\rthird\r", 120), kThree);
    EXPECT_EQ(readLines("first\r\n\r\nthird\r\n", 120), kThree);
}

TEST(GetLine, LastLineWithoutLineEnd) {
    EXPECT_EQ(readLines("first\n\nthird", 120), kThree);
    EXPECT_EQ(readLines("first\r\rthird", 120), kThree);
    EXPECT_EQ(readLines("", 120), std::vector<std::string>{});
}

TEST(GetLine, LfCrIsTwoLineEnds) {
    EXPECT_EQ(readLines("a\n\rb\n", 120), (std::vector<std::string>{"a", "", "b"}));
}

TEST(GetLine, OverlongLineIsCutAndItsRestDropped) {
    const std::string longLine(300, 'x');
    const auto lines = readLines(longLine + "\r\nnext\r\n", 120);
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0], std::string(119, 'x'));
    EXPECT_EQ(lines[1], "next");
    // The smallest buffer still holds a terminator.
    EXPECT_EQ(readLines("ab\ncd\n", 1), (std::vector<std::string>{"", ""}));
}

TEST(GetLine, StringReaderKeepsEverything) {
    const std::string longLine(5000, 'y');
    EXPECT_EQ(readStrings(longLine + "\rb\r\nc"), (std::vector<std::string>{longLine, "b", "c"}));
    FILE* f = fileWith("abc\r\n");
    std::string s;
    EXPECT_EQ(get_line_mb(s, f), 3u);
    EXPECT_EQ(s, "abc");
    EXPECT_EQ(get_line_mb(s, f), 0u);
    EXPECT_TRUE(feof(f));
    fclose(f);
}

TEST(GetLineSkipBlank, SkipsCommentsAndBlankLines) {
    FILE* f = fileWith("# head\r\n   \r\n\t\r\n  ; other\r\n  1 2 3\r\n#\n4\n");
    char buf[120];
    ASSERT_NE(getLineSkipBlank(buf, sizeof buf, f, "#;"), nullptr);
    EXPECT_STREQ(buf, "  1 2 3");
    ASSERT_NE(getLineSkipBlank(buf, sizeof buf, f, "#"), nullptr);
    EXPECT_STREQ(buf, "4");
    EXPECT_EQ(getLineSkipBlank(buf, sizeof buf, f, "#"), nullptr);
    fclose(f);
}

TEST(GetLineSkipBlank, CommentCharacterInsideALineDoesNotCount) {
    FILE* f = fileWith("1 # trailing remark");
    char buf[120];
    ASSERT_NE(getLineSkipBlank(buf, sizeof buf, f, "#"), nullptr);
    EXPECT_STREQ(buf, "1 # trailing remark");
    fclose(f);
}

TEST(SkipCommentLines, StopsAtFirstValueLine) {
    FILE* f = fileWith("#a\n\n   # b\n  \n  42 x\nrest\n");
    char buf[120];
    EXPECT_EQ(SkipCommentLines(f, buf), '4');
    EXPECT_STREQ(buf, "  42 x");
    EXPECT_EQ(SkipCommentLines(f, buf), 'r');
    EXPECT_EQ(SkipCommentLines(f, buf), '#');  // only the end of the file is left
    fclose(f);
}

TEST(Up2Lo, LowerCasesInPlace) {
    char s[] = "P 21/C x,Y,-Z";
    Up2Lo(s);
    EXPECT_STREQ(s, "p 21/c x,y,-z");
}

TEST(ValueAndEsd, CrystallographicForms) {
    float v = -1, e = -1;
    getValueAndEsd("1.234(5)", v, e);
    EXPECT_FLOAT_EQ(v, 1.234f);
    EXPECT_FLOAT_EQ(e, 0.005f);
    getValueAndEsd("  -0.05(12) 7", v, e);
    EXPECT_FLOAT_EQ(v, -0.05f);
    EXPECT_FLOAT_EQ(e, 0.12f);
    getValueAndEsd("5.4307(1)", v, e);
    EXPECT_FLOAT_EQ(v, 5.4307f);
    EXPECT_FLOAT_EQ(e, 0.0001f);
    getValueAndEsd("90", v, e);
    EXPECT_FLOAT_EQ(v, 90.0f);
    EXPECT_EQ(e, 0.0f);
}

TEST(ValueAndEsd, BracketWithoutDecimalPointIsNotScaled) {
    float v = 0, e = 0;
    getValueAndEsd("120(3)", v, e);
    EXPECT_FLOAT_EQ(v, 120.0f);
    EXPECT_FLOAT_EQ(e, 3.0f);
}

TEST(ValueAndEsd, FractionHasNoEsd) {
    float v = 0, e = 9;
    getValueAndEsd("1/3", v, e);
    EXPECT_FLOAT_EQ(v, 1.0f / 3.0f);
    EXPECT_EQ(e, 0.0f);
    getValueAndEsd("-3/4", v, e);
    EXPECT_FLOAT_EQ(v, -0.75f);
}

TEST(ValueAndEsd, MalformedTextKeepsValue) {
    float v = 2.5f, e = 9;
    getValueAndEsd("", v, e);
    EXPECT_FLOAT_EQ(v, 2.5f);
    EXPECT_EQ(e, 0.0f);
    getValueAndEsd("abc", v, e);
    EXPECT_FLOAT_EQ(v, 2.5f);
    getValueAndEsd("1/0", v, e);  // a zero denominator is ignored
    EXPECT_FLOAT_EQ(v, 2.5f);
    const std::string huge(500, '7');
    getValueAndEsd(huge.c_str(), v, e);  // longer than the word buffer: no overrun
    EXPECT_GT(v, 1e30f);
}
