// The residual histogram and the all-or-nothing replacement of output files.
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cmath>
#include <filesystem>
#include <limits>
#include <string>
#include <vector>

#include "engine/outputs/AtomicFile.h"
#include "engine/outputs/EpsHistogram.h"
#include "engine/analysis_fixture.h"

namespace {

int CountAt(const std::vector<int>& h, int label) {
    for (size_t j = 0; j + 1 < h.size(); j += 2)
        if (h[j] == label) return h[j + 1];
    return -1;
}

int Total(const std::vector<int>& h) {
    int sum = 0;
    for (size_t j = 1; j < h.size(); j += 2) sum += h[j];
    return sum;
}

// The names in a directory, which must not keep a temporary file.
std::vector<std::string> FilesIn(const std::string& dir) {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(dir))
        names.push_back(entry.path().filename().string());
    return names;
}

}  // namespace

// Bins of a tenth, rounded half up, with an empty bin at each end. A sigma of
// 0 or 1e-20 in a hand-edited file gives infinite or enormous residuals: they
// must neither crash nor ask for millions of bins. Strong reflections measured
// to 0.05 % are some 2000 sigma off at cycle 0 and keep their bins.
TEST(EpsHistogram, BinsOfATenthWithAnEmptyBinAtEachEnd) {
    const float inf = std::numeric_limits<float>::infinity(), nan = std::numeric_limits<float>::quiet_NaN();
    const struct {
        std::vector<float> eps;
        int first, last, total;  // first == last: ends not checked
        std::vector<std::array<int, 2>> counts;
    } cases[] = {
        {{0.25f, -0.31f, 1.04f, 0.0f, 0.04f},
         -4,
         11,
         5,
         {{-4, 0}, {11, 0}, {3, 1}, {2, 0}, {0, 2}, {-3, 1}, {10, 1}}},
        {{1e30f, -1e30f, inf, nan, 0.1f}, 0, 0, 3, {{1, 1}}},
        {{2000.04f, -1500.0f, 0.0f}, -15001, 20001, 3, {{20000, 1}, {-15000, 1}}},
    };
    for (const auto& c : cases) {
        std::vector<int> h;
        BuildEpsHistogram(c.eps.data(), static_cast<int>(c.eps.size()), h);
        SCOPED_TRACE(c.eps[0]);
        ASSERT_LE(h.size(), 2u * 2000003);
        if (c.first != c.last) {
            EXPECT_EQ(h.front(), c.first);
            EXPECT_EQ(h[h.size() - 2], c.last);
        }
        for (auto& count : c.counts) EXPECT_EQ(CountAt(h, count[0]), count[1]) << "bin " << count[0];
        EXPECT_EQ(Total(h), c.total);
        for (size_t j = 2; j < h.size(); j += 2) ASSERT_EQ(h[j], h[j - 2] + 1);
    }
}

TEST(EpsHistogram, RawFileHasOneLinePerBin) {
    TempDir dir;
    std::vector<int> h = {-4, 0, 13, 7, 14, 0};
    ASSERT_EQ(WriteEpsHistogram(dir.file("a_eps.raw"), h), 0);
    EXPECT_EQ(ReadText(dir.file("a_eps.raw")), "-0.4, 0\n1.3, 7\n1.4, 0\n");

    CapturedOutput out;
    EXPECT_EQ(WriteEpsHistogram(dir.file("missing/a_eps.raw"), h), 1);
    EXPECT_EQ(out.errors(), "Failed to write " + dir.file("missing/a_eps.raw") + "\n");
}

// Opens `path` through AtomicFile, writes `text` and commits it unless told not to.
bool WriteAtomically(const std::string& path, const char* text, bool commit = true) {
    AtomicFile file(path, "w");
    EXPECT_TRUE(file.isOpen());
    if (!file.isOpen()) return false;
    fputs(text, file.stream());
    return commit && file.Commit();
}

TEST(AtomicFile, ReplacesTheTargetOnlyWhenCommitted) {
    TempDir dir;
    const std::string path = dir.file("report.out");
    WriteText(path, "previous\n");
    EXPECT_FALSE(WriteAtomically(path, "half", false));  // an interrupted writer never commits
    EXPECT_EQ(ReadText(path), "previous\n");
    EXPECT_EQ(FilesIn(dir.path()), std::vector<std::string>{"report.out"});
    EXPECT_TRUE(WriteAtomically(path, "complete\n"));
    EXPECT_EQ(ReadText(path), "complete\n");
    EXPECT_EQ(FilesIn(dir.path()), std::vector<std::string>{"report.out"});
}

TEST(AtomicFile, DecidesLikeAPlainOpen) {
    TempDir dir;
    // A link is written through and stays a link.
    const std::string real = dir.file("real.fba"), link = dir.file("link.fba");
    WriteText(real, "old");
    ASSERT_EQ(symlink(real.c_str(), link.c_str()), 0);
    EXPECT_TRUE(WriteAtomically(link, "new"));
    struct stat st;
    ASSERT_EQ(lstat(link.c_str(), &st), 0);
    EXPECT_TRUE(S_ISLNK(st.st_mode));
    EXPECT_EQ(ReadText(real), "new");
    // A device is written to, not replaced.
    EXPECT_TRUE(WriteAtomically("/dev/null", "discarded"));
    ASSERT_EQ(stat("/dev/null", &st), 0);
    EXPECT_TRUE(S_ISCHR(st.st_mode));
    // A replaced file keeps its permissions.
    const std::string privateFile = dir.file("private.out");
    WriteText(privateFile, "old");
    ASSERT_EQ(chmod(privateFile.c_str(), 0600), 0);
    EXPECT_TRUE(WriteAtomically(privateFile, ""));
    ASSERT_EQ(stat(privateFile.c_str(), &st), 0);
    EXPECT_EQ(st.st_mode & 0777, 0600u);
    // A write-protected file is refused, except for a user who may write anything.
    const std::string locked = dir.file("locked.out");
    WriteText(locked, "old");
    ASSERT_EQ(chmod(locked.c_str(), 0444), 0);
    EXPECT_EQ(AtomicFile(locked, "w").isOpen(), access(locked.c_str(), W_OK) == 0);
}

TEST(AtomicFile, AFullDeviceKeepsThePreviousFile) {
    // /dev/full fails every write; a target beside it cannot be written
    // through the temporary either, so only the reported failure is checked.
    TempDir dir;
    const std::string path = dir.file("grid.pgrid");
    WriteText(path, "old");
    AtomicFile file(path, "wb");
    ASSERT_TRUE(file.isOpen());
    // Make the stream's writes fail as on a full disk.
    FILE* full = freopen("/dev/full", "wb", file.stream());
    ASSERT_NE(full, nullptr);
    std::vector<char> block(1 << 16, 'x');
    fwrite(block.data(), 1, block.size(), full);
    EXPECT_FALSE(file.Commit());
    EXPECT_EQ(ReadText(path), "old");
}
