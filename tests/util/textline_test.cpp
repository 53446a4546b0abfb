#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>

#include "app/TextLine.h"

namespace {

FILE* fileWith(const std::string& bytes) {
    FILE* f = tmpfile();
    fwrite(bytes.data(), 1, bytes.size(), f);
    rewind(f);
    return f;
}

// Reads every line of `bytes` with the fixed-size reader, as readers loop on it.
std::vector<std::string> readLines(const std::string& bytes, int size) {
    FILE* f = fileWith(bytes);
    std::vector<std::string> lines;
    std::vector<char> buf(static_cast<size_t>(size));
    while (get_line(buf.data(), size, f)) lines.push_back(buf.data());
    fclose(f);
    return lines;
}

std::vector<std::string> readStrings(const std::string& bytes) {
    FILE* f = fileWith(bytes);
    std::vector<std::string> lines;
    for (std::string s; !feof(f); lines.push_back(s)) get_line(s, f);
    fclose(f);
    return lines;
}

}  // namespace

// All three line ends give the same lines, with or without a last line end;
// LF CR is two line ends; an overlong line is cut and its rest dropped; the
// smallest buffer still holds a terminator.
TEST(GetLine, LineEndsAndOverlongLines) {
    const std::vector<std::string> three = {"first", "", "third"};
    for (const char* bytes : {"first\n\nthird\n", "first\r\rthird\r", "first\r\n\r\nthird\r\n", "first\n\nthird", "first\r\rthird"})
        EXPECT_EQ(readLines(bytes, 120), three) << bytes;
    EXPECT_EQ(readLines("", 120), std::vector<std::string>{});
    EXPECT_EQ(readLines("a\n\rb\n", 120), (std::vector<std::string>{"a", "", "b"}));
    EXPECT_EQ(readLines(std::string(300, 'x') + "\r\nnext\r\n", 120), (std::vector<std::string>{std::string(119, 'x'), "next"}));
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

TEST(SkipCommentLines, StopsAtFirstValueLine) {
    FILE* f = fileWith("#a\n\n   # b\n  \n  42 x\nrest\n");
    char buf[120];
    EXPECT_EQ(SkipCommentLines(f, buf), '4');
    EXPECT_STREQ(buf, "  42 x");
    EXPECT_EQ(SkipCommentLines(f, buf), 'r');
    EXPECT_EQ(SkipCommentLines(f, buf), '#');  // only the end of the file is left
    fclose(f);
}

// Whatever the line end, the fetch after the last line runs into the end of the
// file and leaves an empty buffer; only a last line without a line end stays.
TEST(SkipCommentLines, FetchAfterTheLastLineIsEmptyForEveryLineEnd) {
    const struct {
        const char* bytes;
        const char* afterLast;
    } cases[] = {{"1\n2\n", ""}, {"1\r2\r", ""}, {"1\r\n2\r\n", ""}, {"1\n2", "2"}, {"1\r2", "2"}};
    for (const auto& c : cases) {
        FILE* f = fileWith(c.bytes);
        char buf[120];
        SkipCommentLines(f, buf);
        SkipCommentLines(f, buf);
        EXPECT_STREQ(buf, "2") << c.bytes;
        if (!feof(f)) SkipCommentLines(f, buf);
        EXPECT_STREQ(buf, c.afterLast) << c.bytes;
        fclose(f);
    }
}

// Crystallographic value(esd) forms, fractions, and malformed text that keeps the value.
TEST(ValueAndEsd, TableOfForms) {
    const struct {
        const char* text;
        float value, esd;
    } cases[] = {{"1.234(5)", 1.234f, 0.005f}, {"  -0.05(12) 7", -0.05f, 0.12f}, {"5.4307(1)", 5.4307f, 0.0001f},
                 {"90", 90.0f, 0.0f},          {"120(3)", 120.0f, 3.0f},        // no decimal point: not scaled
                 {"1/3", 1.0f / 3.0f, 0.0f},   {"-3/4", -0.75f, 0.0f},
                 {"", 2.5f, 0.0f},             {"abc", 2.5f, 0.0f},             {"1/0", 2.5f, 0.0f}};
    for (const auto& c : cases) {
        float v = 2.5f, e = 9;
        getValueAndEsd(c.text, v, e);
        EXPECT_FLOAT_EQ(v, c.value) << c.text;
        EXPECT_FLOAT_EQ(e, c.esd) << c.text;
    }
    float v = 0, e = 0;
    const std::string huge(500, '7');
    getValueAndEsd(huge.c_str(), v, e);  // longer than the word buffer: no overrun
    EXPECT_GT(v, 1e30f);
}
