#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

#include "common/CapturedOutput.h"
#include "common/TempDir.h"
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
    // Climbing past the root stays at the root; only leading parents are resolved.
    EXPECT_EQ(absolute("../../../a.mem", "/nonexistent_x/y/cond.prf"), "/a.mem");
    EXPECT_EQ(absolute("sub/../a.mem", "/nonexistent_x/y/c.prf"), "/nonexistent_x/y/sub/../a.mem");
    // Absolute and home paths are kept.
    EXPECT_EQ(absolute("/p/q.mem", "/x/y"), "/p/q.mem");
    EXPECT_EQ(absolute("~/data/q.mem", "/x/y"), "~/data/q.mem");
}

TEST(AbsolutePath, RelativeBaseResolvesAgainstWorkingDirectory) {
    EXPECT_EQ(absolute("a.mem", ""), cwd() + "/a.mem");
    EXPECT_EQ(absolute("a.mem", "no_such_dir_here/cond.prf"), cwd() + "/no_such_dir_here/a.mem");
}

TEST(RelativePath, InvertsAbsolutePath) {
    const std::string base = "/nonexistent_x/y/z/cond.prf";
    for (const char* rel : {"a.mem", "../a.mem", "../../b/a.mem", "../../../p/q/a.mem", "d/e/a.mem"}) {
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
    IO::omitQuotation("   ", out);
    EXPECT_STREQ(out, "");
}

TEST(PrintIoError, MessagesGoThroughErrorHook) {
    const char* cases[][2] = {
        {"-4", "The input file was not found.\n /d/f.mem\n"},
        {"-3", "The input file could not be opened.\n /d/f.mem\n\nPermission denied.\n"},
        {"-2", "Invalid data!\n\n This file type is not supported.\n /d/f.mem\n"},
        {"-1", "Invalid data!\n\n Check the format of the input file.\n /d/f.mem\n"},
        {"0", ""},
        {"-5", ""}};
    for (auto& c : cases) {
        CapturedOutput captured;
        IO::PrintIoError("/d/f.mem", std::stoi(c[0]));
        EXPECT_EQ(captured.errors(), c[1]) << c[0];
    }
}
