// The text, path and list helpers that every reader and the driver build on.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <random>
#include <string>
#include <vector>

#include "util/ElapsedTimes.h"
#include "util/FieldScan.h"
#include "util/FileType.h"
#include "util/IO.h"
#include "util/MergeSort.h"
#include "util/StrToken.h"
#include "util/TextLine.h"
#include "common/CapturedOutput.h"
#include "common/TempDir.h"

namespace {

using Strings = std::vector<std::string>;

FILE* fileWith(const std::string& bytes) {
    FILE* f = tmpfile();
    fwrite(bytes.data(), 1, bytes.size(), f);
    rewind(f);
    return f;
}

// Every line of `bytes` through the fixed-size reader (size > 0) or the string reader.
Strings readLines(const std::string& bytes, int size) {
    FILE* f = fileWith(bytes);
    Strings lines;
    std::vector<char> buf(static_cast<size_t>(std::max(size, 1)));
    if (size > 0)
        while (get_line(buf.data(), size, f)) lines.push_back(buf.data());
    for (std::string s; size == 0 && !feof(f); lines.push_back(s)) get_line(s, f);
    fclose(f);
    return lines;
}

Strings allTokens(StrToken& tokens) {
    Strings out;
    for (char* t = tokens.nextToken(); t; t = tokens.nextToken()) out.push_back(t);
    return out;
}

// '@' at the start of a path stands for `dir`, '=' for the working directory.
std::string expand(const std::string& path, const std::string& dir) {
    char buf[2048];
    if (path.empty() || (path[0] != '@' && path[0] != '=')) return path;
    return (path[0] == '@' ? dir : std::string(getcwd(buf, sizeof buf))) + path.substr(1);
}

}  // namespace

// All three line ends give the same lines, with or without a last line end;
// LF CR is two line ends; an overlong line is cut and its rest dropped; the
// smallest buffer still holds a terminator; the string reader keeps everything.
TEST(GetLine, LineEndsAndOverlongLines) {
    const Strings three = {"first", "", "third"};
    for (const char* bytes : {"first\n\nthird\n", "first\r\rthird\r", "first\r\n\r\nthird\r\n",
                              "first\n\nthird", "first\r\rthird"})
        EXPECT_EQ(readLines(bytes, 120), three) << bytes;
    EXPECT_EQ(readLines("", 120), Strings{});
    EXPECT_EQ(readLines("a\n\rb\n", 120), (Strings{"a", "", "b"}));
    EXPECT_EQ(readLines(std::string(300, 'x') + "\r\nnext\r\n", 120),
              (Strings{std::string(119, 'x'), "next"}));
    EXPECT_EQ(readLines("ab\ncd\n", 1), (Strings{"", ""}));
    const std::string longLine(5000, 'y');
    EXPECT_EQ(readLines(longLine + "\rb\r\nc", 0), (Strings{longLine, "b", "c"}));
    FILE* f = fileWith("abc\r\n");
    std::string s;
    EXPECT_EQ(get_line_mb(s, f), 3u);
    EXPECT_EQ(s, "abc");
    EXPECT_EQ(get_line_mb(s, f), 0u);
    EXPECT_TRUE(feof(f));
    fclose(f);
}

TEST(GetLine, CommentAndBlankLinesAreSkipped) {
    FILE* f = fileWith("# head\r\n   \r\n\t\r\n  ; other\r\n  1 2 3\r\n#\n4\n");
    char buf[120];
    ASSERT_NE(getLineSkipBlank(buf, sizeof buf, f, "#;"), nullptr);
    EXPECT_STREQ(buf, "  1 2 3");
    ASSERT_NE(getLineSkipBlank(buf, sizeof buf, f, "#"), nullptr);
    EXPECT_STREQ(buf, "4");
    EXPECT_EQ(getLineSkipBlank(buf, sizeof buf, f, "#"), nullptr);
    fclose(f);
    f = fileWith("#a\n\n   # b\n  \n  42 x\nrest\n");
    EXPECT_EQ(SkipCommentLines(f, buf), '4');
    EXPECT_STREQ(buf, "  42 x");
    EXPECT_EQ(SkipCommentLines(f, buf), 'r');
    EXPECT_EQ(SkipCommentLines(f, buf), '#');  // only the end of the file is left
    fclose(f);
    // Whatever the line end, the fetch after the last line runs into the end of
    // the file and leaves an empty buffer; only a last line without a line end stays.
    const char* cases[][2] = {
        {"1\n2\n", ""}, {"1\r2\r", ""}, {"1\r\n2\r\n", ""}, {"1\n2", "2"}, {"1\r2", "2"}};
    for (const auto& c : cases) {
        f = fileWith(c[0]);
        SkipCommentLines(f, buf);
        SkipCommentLines(f, buf);
        EXPECT_STREQ(buf, "2") << c[0];
        if (!feof(f)) SkipCommentLines(f, buf);
        EXPECT_STREQ(buf, c[1]) << c[0];
        fclose(f);
    }
}

// Crystallographic value(esd) forms, fractions, and malformed text that keeps the value.
TEST(ValueAndEsd, TableOfForms) {
    const struct {
        const char* text;
        float value, esd;
    } cases[] = {{"1.234(5)", 1.234f, 0.005f},
                 {"  -0.05(12) 7", -0.05f, 0.12f},
                 {"5.4307(1)", 5.4307f, 0.0001f},
                 {"90", 90.0f, 0.0f},
                 {"120(3)", 120.0f, 3.0f},  // no decimal point: not scaled
                 {"1/3", 1.0f / 3.0f, 0.0f},
                 {"-3/4", -0.75f, 0.0f},
                 {"", 2.5f, 0.0f},
                 {"abc", 2.5f, 0.0f},
                 {"1/0", 2.5f, 0.0f}};
    for (const auto& c : cases) {
        float v = 2.5f, e = 9;
        getValueAndEsd(c.text, v, e);
        EXPECT_FLOAT_EQ(v, c.value) << c.text;
        EXPECT_FLOAT_EQ(e, c.esd) << c.text;
    }
    float v = 0, e = 0;
    getValueAndEsd(std::string(500, '7').c_str(), v, e);  // longer than the word buffer: no overrun
    EXPECT_GT(v, 1e30f);
}

// Leading and trailing delimiters, the buffer restored on close, a new string
// that restores the old one and switches delimiters, and empty input.
// The count decides what a short line means, so it must be the number of
// fields filled, 0 (never EOF) for an empty or blank text, and a field that
// does not scan must leave it and every later field as they were.
TEST(FieldScan, CountsAndKeptFields) {
    struct Case {
        const char* text;
        int filled;
        double x, y, z;
    };
    const Case cases[] = {
        {"1 2 3", 3, 1, 2, 3},      {"1.5e1\t-2 3 trailing", 3, 15, -2, 3},
        {"4 5", 2, 4, 5, -9},       {"4 x 6", 1, 4, -9, -9},
        {"", 0, -9, -9, -9},        {"   \r", 0, -9, -9, -9},
        {"# 1 2 3", 0, -9, -9, -9},
    };
    for (const Case& c : cases) {
        double v[3] = {-9, -9, -9};
        EXPECT_EQ(ScanFields(c.text, "%lf%lf%lf", &v[0], &v[1], &v[2]), c.filled) << c.text;
        EXPECT_EQ(v[0], c.x) << c.text;
        EXPECT_EQ(v[1], c.y) << c.text;
        EXPECT_EQ(v[2], c.z) << c.text;
        double k[3] = {-9, -9, -9};
        ScanKeeping(c.text, "%lf%lf%lf", &k[0], &k[1], &k[2]);
        EXPECT_TRUE(std::equal(k, k + 3, v)) << c.text;
    }
    char word[4] = "old";
    EXPECT_EQ(ScanFields("  toolong", "%3s", word), 1);
    EXPECT_STREQ(word, "too");
}

// A word without a width would run past its buffer on a long word: the
// program refuses such a format at once, whatever the text.
TEST(FieldScanDeathTest, UnboundedWordIsRefused) {
    char word[8];
    int n = 0;
    EXPECT_DEATH((void)ScanFields("1 a", "%d %s", &n, word), "Unbounded word");
    EXPECT_DEATH(ScanKeeping("", "%[a-z]", word), "Unbounded word");
}

TEST(StrToken, TokensAndRestoredBuffers) {
    char buf[] = " ,x,y, z ,";
    StrToken tokens(buf, " ,");
    EXPECT_EQ(allTokens(tokens), (Strings{"x", "y", "z"}));
    EXPECT_EQ(tokens.nextToken(), nullptr);
    tokens.close();
    EXPECT_STREQ(buf, " ,x,y, z ,");

    char first[] = "p;q;r", second[] = "u v;w";
    StrToken other(first, ";");
    EXPECT_STREQ(other.nextToken(), "p");
    EXPECT_STREQ(other.newToken(second, " "), "u");
    EXPECT_STREQ(first, "p;q;r");
    EXPECT_STREQ(other.nextToken(), "v;w");
    EXPECT_EQ(other.nextToken(), nullptr);
    EXPECT_STREQ(other.newToken(first, nullptr), "p;q;r");  // the blank set stays
    other.close();
    EXPECT_STREQ(second, "u v;w");

    char empty[] = "", blanks[] = "   ";
    for (char* text : {empty, blanks, static_cast<char*>(nullptr)}) {
        StrToken none(text, " ");
        EXPECT_EQ(none.nextToken(), nullptr);
        EXPECT_EQ(none.newToken(nullptr, ","), nullptr);
    }
}

// The extension table, case-insensitive substrings tried in table order, the
// last dot of the whole path, and the 128-character limit of the extension.
TEST(CheckFormat, TableOfNames) {
    const std::string longExt(125, 'x');
    const struct {
        std::string name;
        int type;
    } cases[] = {
        {"/d/a.prf", 0},
        {"/d/a.omra", 1},
        {"/d/a.alb", 2},
        {"/d/a.mem", 3},
        {"/d/a.fos", 5},
        {"/d/a.fcf", 6},
        {"/d/a.BayMEM", 7},
        {"/d/a.mep", 8},
        {"/d/a.ffo", 10},
        {"/d/a.hkl", 11},
        {"a.MEM", 3},
        {"a.Prf", 0},
        {"a.baymem", 7},
        {"a.mem2", 3},
        {"a.xfcfx", 6},
        {"a.memprf", 0},
        {"a.omraalb", 2},
        {"notes.txt", -1},
        {"/d/data", -1},
        {"a.", -1},
        {"", -1},
        {"/runs/v1.mem/data", 3},
        {"/runs.mem/a.txt", -1},
        {"a." + longExt + "fos", 5},
        {"a.x" + longExt + "fos", -1},
    };
    for (const auto& c : cases) EXPECT_EQ(check_format(c.name.c_str()), c.type) << c.name;
    EXPECT_EQ(check_format(nullptr), -1);
}

// Relative paths against an existing condition file or directory, a missing
// base (cut at its last slash), a relative base (against the working
// directory); absolute and home paths are kept, climbing past the root stays
// there, and only leading parents are resolved.
TEST(Paths, AbsoluteRelativeAndDirectory) {
    TempDir tmp;
    mkdir(tmp.file("y").c_str(), 0755);
    tmp.write("y/cond.prf", "$PREFERENCES\n");
    const char* absolute[][3] = {{"../a.mem", "@/y/cond.prf", "@/a.mem"},
                                 {"a.mem", "@/y/cond.prf", "@/y/a.mem"},
                                 {"./a.mem", "@/y/cond.prf", "@/y/a.mem"},
                                 {".\\a.mem", "@/y/cond.prf", "@/y/a.mem"},
                                 {"a.mem", "@/y", "@/y/a.mem"},
                                 {"a.mem", "@/y/", "@/y/a.mem"},
                                 {"../a.mem", "/nonexistent_x/y/cond.prf", "/nonexistent_x/a.mem"},
                                 {"../../a.mem", "/nonexistent_x/y/cond.prf", "/a.mem"},
                                 {"../../../a.mem", "/nonexistent_x/y/cond.prf", "/a.mem"},
                                 {"sub/../a.mem", "/nonexistent_x/y/c.prf", "/nonexistent_x/y/sub/../a.mem"},
                                 {"/p/q.mem", "/x/y", "/p/q.mem"},
                                 {"~/data/q.mem", "/x/y", "~/data/q.mem"},
                                 {"a.mem", "", "=/a.mem"},
                                 {"a.mem", "no_such_dir_here/cond.prf", "=/no_such_dir_here/a.mem"}};
    for (const auto& c : absolute) {
        std::string path = c[0];
        IO::toAbsolutePath(path, expand(c[1], tmp.path()));
        EXPECT_EQ(path, expand(c[2], tmp.path())) << c[0] << " against " << c[1];
    }
    for (const char* rel : {"a.mem", "../a.mem", "../../b/a.mem", "../../../p/q/a.mem", "d/e/a.mem"}) {
        std::string path = rel;
        IO::toAbsolutePath(path, "/nonexistent_x/y/z/cond.prf");
        IO::toRelativePath(path, "/nonexistent_x/y/z/cond.prf");
        EXPECT_EQ(path, rel);
    }
    // A missing name without any slash stays whole.
    tmp.write("f.txt", "x");
    const struct {
        const char* path;
        bool slash;
        const char* dir;
    } dirs[] = {{"@/f.txt", false, "@"},
                {"@/f.txt", true, "@/"},
                {"@", false, "@"},
                {"@/", false, "@"},
                {"@", true, "@/"},
                {"/nonexistent_x/y/c.prf", false, "/nonexistent_x/y"},
                {"no_such_name_here", false, "no_such_name_here"},
                {"", true, ""},
                {"/", false, "/"}};
    for (const auto& c : dirs) {
        std::string path = expand(c.path, tmp.path());
        IO::getDir(path, c.slash);
        EXPECT_EQ(path, expand(c.dir, tmp.path())) << c.path << " " << c.slash;
    }
}

TEST(Paths, QuotesAroundAPathAreDropped) {
    const char* quoted[][2] = {{"  '/my data/a b.mem'  ", "/my data/a b.mem"},
                               {"\"/x/a.mem\"\n", "/x/a.mem"},
                               {"a.mem   \n", "a.mem"},
                               {"   ", ""}};
    for (const auto& c : quoted) {
        char out[256];
        IO::omitQuotation(c[0], out);
        EXPECT_STREQ(out, c[1]);
    }
}

// The merge sort against std::sort; its order of ties is checked through the
// generated reflection lists, where it shows.
TEST(MergeSort, SortsLikeStdSort) {
    std::mt19937 rng(7);
    auto byValue = [](void* a, void* b) { return *static_cast<int*>(a) < *static_cast<int*>(b); };
    for (int n : {1, 2, 5, 16, 17, 100, 1023}) {
        std::vector<int> keys(static_cast<size_t>(n)), got;
        for (int& k : keys) k = static_cast<int>(rng() % 10);
        std::vector<void*> a, tmp(keys.size());
        for (int& k : keys) a.push_back(&k);
        MergeSort(a.data(), tmp.data(), 0, n - 1, byValue, 1);
        for (void* p : a) got.push_back(*static_cast<int*>(p));
        std::sort(keys.begin(), keys.end());
        EXPECT_EQ(got, keys) << "n = " << n;
    }
}

TEST(ElapsedTimes, SummaryText) {
    FILE* f = tmpfile();
    WriteElapsedTimes(f, 1234, 3724765);
    rewind(f);
    std::string text;
    for (int c; (c = fgetc(f)) != EOF;) text += static_cast<char>(c);
    fclose(f);
    EXPECT_EQ(text,
              "  Elapsed times:\n"
              "     Preparations for MEM analysis =     1.234 s\n"
              "                      MEM analysis =  3724.765 s\n"
              "                Total Elapsed time =  3725.999 s\n"
              "                                             (  1 h  2 m 5 s)\n\n");
    const ClockSpan days =
        splitMilliseconds(100L * 3600000 + 59 * 60000 + 59999);  // truncated, no wrap at a day
    EXPECT_EQ(days.hours * 10000 + days.minutes * 100 + days.seconds, 1005959);
}
