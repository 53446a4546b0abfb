#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

#include "TempDir.h"
#include "app/IO.h"

namespace {

std::string absolute(std::string path, const std::string& base) {
    IO::toAbsolutePath(path, base);
    return path;
}

std::string relative(std::string path, const std::string& base) {
    IO::toRelativePath(path, base);
    return path;
}

std::string dirOf(std::string path, bool trailingSlash) {
    IO::getDir(path, trailingSlash);
    return path;
}

std::string cwd() {
    char buf[2048];
    return getcwd(buf, sizeof buf) ? buf : "";
}

}  // namespace

TEST(AbsolutePath, ParentAgainstExistingConditionFile) {
    TempDir tmp;
    mkdir(tmp.file("y").c_str(), 0755);
    const std::string cond = tmp.write("y/cond.prf", "$PREFERENCES\n");
    EXPECT_EQ(absolute("../a.mem", cond), tmp.file("a.mem"));
    EXPECT_EQ(absolute("a.mem", cond), tmp.file("y/a.mem"));
    EXPECT_EQ(absolute("./a.mem", cond), tmp.file("y/a.mem"));
    EXPECT_EQ(absolute(".\\a.mem", cond), tmp.file("y/a.mem"));
    // A directory as base keeps its last component.
    EXPECT_EQ(absolute("a.mem", tmp.file("y")), tmp.file("y/a.mem"));
    EXPECT_EQ(absolute("a.mem", tmp.file("y") + "/"), tmp.file("y/a.mem"));
}

TEST(AbsolutePath, MissingBaseIsCutAtLastSlash) {
    EXPECT_EQ(absolute("../a.mem", "/nonexistent_x/y/cond.prf"), "/nonexistent_x/a.mem");
    EXPECT_EQ(absolute("../../a.mem", "/nonexistent_x/y/cond.prf"), "/a.mem");
    // Climbing past the root stays at the root.
    EXPECT_EQ(absolute("../../../a.mem", "/nonexistent_x/y/cond.prf"), "/a.mem");
}

TEST(AbsolutePath, AbsoluteAndTildePathsAreKept) {
    EXPECT_EQ(absolute("/p/q.mem", "/x/y"), "/p/q.mem");
    EXPECT_EQ(absolute("~/data/q.mem", "/x/y"), "~/data/q.mem");
}

TEST(AbsolutePath, RelativeBaseResolvesAgainstWorkingDirectory) {
    EXPECT_EQ(absolute("a.mem", ""), cwd() + "/a.mem");
    EXPECT_EQ(absolute("a.mem", "no_such_dir_here/cond.prf"), cwd() + "/no_such_dir_here/a.mem");
}

TEST(AbsolutePath, OnlyLeadingParentsAreResolved) {
    EXPECT_EQ(absolute("sub/../a.mem", "/nonexistent_x/y/c.prf"), "/nonexistent_x/y/sub/../a.mem");
}

TEST(RelativePath, SameDirectory) {
    EXPECT_EQ(relative("/x/y/a.mem", "/x/y/a.prf"), "a.mem");
}

TEST(RelativePath, SiblingAndParentDirectories) {
    EXPECT_EQ(relative("/x/z/a.mem", "/x/y/a.prf"), "../z/a.mem");
    EXPECT_EQ(relative("/x/a.mem", "/x/y/a.prf"), "../a.mem");
    EXPECT_EQ(relative("/x/y/w/a.mem", "/x/y/a.prf"), "w/a.mem");
    EXPECT_EQ(relative("/p/q/a.mem", "/x/y/a.prf"), "../../p/q/a.mem");
    EXPECT_EQ(relative("/a.mem", "/a.prf"), "a.mem");
}

TEST(RelativePath, InvertsAbsolutePath) {
    const std::string base = "/nonexistent_x/y/z/cond.prf";
    for (const char* rel : {"a.mem", "../a.mem", "../../b/a.mem", "d/e/a.mem"}) {
        std::string path = absolute(rel, base);
        EXPECT_EQ(relative(path, base), rel);
    }
}

TEST(GetDir, FilesDirectoriesAndMissingPaths) {
    TempDir tmp;
    const std::string file = tmp.write("f.txt", "x");
    EXPECT_EQ(dirOf(file, false), tmp.path());
    EXPECT_EQ(dirOf(file, true), tmp.path() + "/");
    EXPECT_EQ(dirOf(tmp.path(), false), tmp.path());
    EXPECT_EQ(dirOf(tmp.path() + "/", false), tmp.path());
    EXPECT_EQ(dirOf(tmp.path(), true), tmp.path() + "/");
    EXPECT_EQ(dirOf("/nonexistent_x/y/c.prf", false), "/nonexistent_x/y");
    // A missing name without any slash stays whole; an existing file there becomes empty.
    EXPECT_EQ(dirOf("no_such_name_here", false), "no_such_name_here");
    EXPECT_EQ(dirOf("", true), "");
    EXPECT_EQ(dirOf("/", false), "/");
}

TEST(OmitQuotation, QuotesAndBlanksAroundPath) {
    char out[256];
    IO::omitQuotation("  '/my data/a b.mem'  ", out);
    EXPECT_STREQ(out, "/my data/a b.mem");
    IO::omitQuotation("\"/x/a.mem\"\n", out);
    EXPECT_STREQ(out, "/x/a.mem");
    IO::omitQuotation("a.mem   \n", out);
    EXPECT_STREQ(out, "a.mem");
    IO::omitQuotation("", out);
    EXPECT_STREQ(out, "");
    IO::omitQuotation("   ", out);
    EXPECT_STREQ(out, "");
}

TEST(OmitQuotation, InPlace) {
    char buf[] = "'x.mem' ";
    IO::omitQuotation(buf, buf);
    EXPECT_STREQ(buf, "x.mem");
}

TEST(Init, ProgramDirectoryFromPathOrSearch) {
    TempDir tmp;
    const std::string program = tmp.write("prog", "#!/bin/sh\n");
    ASSERT_TRUE(IO::Init(program.c_str()));
    EXPECT_EQ(progvar, tmp.path() + "/");

    // A bare name is looked up in PATH, entry by entry.
    const char* old = getenv("PATH");
    const std::string saved = old ? old : "";
    setenv("PATH", ("/nonexistent_dir:" + tmp.path()).c_str(), 1);
    ASSERT_TRUE(IO::Init("prog"));
    EXPECT_EQ(progvar, tmp.path() + "/");

    unsetenv("PATH");
    ASSERT_TRUE(IO::Init("no_such_program_anywhere"));
    EXPECT_EQ(progvar, cwd() + "/");
    setenv("PATH", saved.c_str(), 1);
}

TEST(Sprintf, GrowsBeyondFirstBuffer) {
    std::string out;
    const std::string longText(5000, 'z');
    EXPECT_EQ(IO::Sprintf(out, "<%s|%d>", longText.c_str(), 42), 5005);
    EXPECT_EQ(out, "<" + longText + "|42>");
    EXPECT_EQ(IO::Sprintf(out, "%s", ""), 0);
    EXPECT_EQ(out, "");
}

namespace {
std::string captured;
int capture(const char* fmt, ...) {
    va_list args;
    va_start(args, fmt);
    std::string text;
    IO::SprintfV(text, fmt, args);
    va_end(args);
    captured += text;
    return static_cast<int>(text.size());
}
}  // namespace

TEST(PrintIoError, MessagesGoThroughErrorHook) {
    IO::Init("");
    IO::PrintError = capture;
    captured.clear();
    IO::PrintIoError("/d/f.mem", -4);
    EXPECT_EQ(captured, "The input file was not found.\n /d/f.mem\n");
    captured.clear();
    IO::PrintIoError("/d/f.mem", -3);
    EXPECT_EQ(captured, "The input file could not be opened.\n /d/f.mem\n\nPermission denied.\n");
    captured.clear();
    IO::PrintIoError("/d/f.mem", -2);
    EXPECT_EQ(captured, "Invalid data!\n\n This file type is not supported.\n /d/f.mem\n");
    captured.clear();
    IO::PrintIoError("/d/f.mem", -1);
    EXPECT_EQ(captured, "Invalid data!\n\n Check the format of the input file.\n /d/f.mem\n");
    captured.clear();
    IO::PrintIoError("/d/f.mem", 0);
    IO::PrintIoError("/d/f.mem", -5);
    EXPECT_EQ(captured, "");
    IO::Init("");
    EXPECT_EQ(IO::PrintError, static_cast<IO::PrintFunc>(printf));
}
