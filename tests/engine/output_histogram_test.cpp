// The residual histogram and the all-or-nothing replacement of output files.
#include <gtest/gtest.h>

#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "mem/AtomicFile.h"
#include "mem/EpsHistogram.h"
#include "zspa_fixture.h"

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

std::vector<std::string> FilesIn(const std::string& dir) {
    std::vector<std::string> names;
    if (DIR* d = opendir(dir.c_str())) {
        while (dirent* e = readdir(d))
            if (e->d_name[0] != '.') names.push_back(e->d_name);
        closedir(d);
    }
    return names;
}

}  // namespace

TEST(EpsHistogram, BinsOfATenthWithAnEmptyBinAtEachEnd) {
    const float eps[] = {0.25f, -0.31f, 1.04f, 0.0f, 0.04f};
    std::vector<int> h;
    BuildEpsHistogram(eps, 5, h);
    // -0.31 rounds to bin -3 and 1.04 to bin 10: labels -4 .. 11.
    ASSERT_EQ(h.size(), 2u * 16);
    EXPECT_EQ(h.front(), -4);
    EXPECT_EQ(h[h.size() - 2], 11);
    // 0.25 lies half-way and rounds up, into bin 3.
    const int counts[][2] = {{-4, 0}, {11, 0}, {3, 1}, {2, 0}, {0, 2}, {-3, 1}, {10, 1}};
    for (auto& c : counts) EXPECT_EQ(CountAt(h, c[0]), c[1]) << "bin " << c[0];
    EXPECT_EQ(Total(h), 5);
    for (size_t j = 2; j < h.size(); j += 2) EXPECT_EQ(h[j], h[j - 2] + 1);
}

TEST(EpsHistogram, BrokenUncertaintiesStaySmallAndCounted) {
    // A sigma of 0 or 1e-20 in a hand-edited file gives infinite or enormous
    // residuals; they must neither crash nor ask for millions of bins.
    const float inf = std::numeric_limits<float>::infinity();
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const float eps[] = {1e30f, -1e30f, inf, nan, 0.1f};
    std::vector<int> h;
    BuildEpsHistogram(eps, 5, h);
    EXPECT_LE(h.size(), 2u * 2000003);
    EXPECT_EQ(Total(h), 3);
    EXPECT_EQ(CountAt(h, 1), 1);
}

TEST(EpsHistogram, LargeResidualsOfRealDataKeepTheirBins) {
    // Strong reflections measured to 0.05 % are some 2000 sigma off at cycle 0.
    const float eps[] = {2000.04f, -1500.0f, 0.0f};
    std::vector<int> h;
    BuildEpsHistogram(eps, 3, h);
    EXPECT_EQ(h.front(), -15001);
    EXPECT_EQ(h[h.size() - 2], 20001);
    EXPECT_EQ(CountAt(h, 20000), 1);
    EXPECT_EQ(CountAt(h, -15000), 1);
    EXPECT_EQ(Total(h), 3);
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

TEST(AtomicFile, ReplacesTheTargetOnlyWhenCommitted) {
    TempDir dir;
    const std::string path = dir.file("report.out");
    WriteText(path, "previous\n");
    {
        AtomicFile file(path, "w");
        ASSERT_TRUE(file.isOpen());
        fputs("half", file.stream());
        // An interrupted writer never commits.
    }
    EXPECT_EQ(ReadText(path), "previous\n");
    EXPECT_EQ(FilesIn(dir.path()), std::vector<std::string>{"report.out"});

    {
        AtomicFile file(path, "w");
        fputs("complete\n", file.stream());
        EXPECT_EQ(ReadText(path), "previous\n");
        EXPECT_TRUE(file.Commit());
    }
    EXPECT_EQ(ReadText(path), "complete\n");
    EXPECT_EQ(FilesIn(dir.path()), std::vector<std::string>{"report.out"});
}

TEST(AtomicFile, DecidesLikeAPlainOpen) {
    TempDir dir;
    // A link is written through and stays a link.
    const std::string real = dir.file("real.fba"), link = dir.file("link.fba");
    WriteText(real, "old");
    ASSERT_EQ(symlink(real.c_str(), link.c_str()), 0);
    {
        AtomicFile file(link, "w");
        ASSERT_TRUE(file.isOpen());
        fputs("new", file.stream());
        EXPECT_TRUE(file.Commit());
    }
    struct stat st;
    ASSERT_EQ(lstat(link.c_str(), &st), 0);
    EXPECT_TRUE(S_ISLNK(st.st_mode));
    EXPECT_EQ(ReadText(real), "new");

    // A device is written to, not replaced.
    {
        AtomicFile file("/dev/null", "w");
        ASSERT_TRUE(file.isOpen());
        fputs("discarded", file.stream());
        EXPECT_TRUE(file.Commit());
    }
    ASSERT_EQ(stat("/dev/null", &st), 0);
    EXPECT_TRUE(S_ISCHR(st.st_mode));

    // A replaced file keeps its permissions.
    const std::string privateFile = dir.file("private.out");
    WriteText(privateFile, "old");
    ASSERT_EQ(chmod(privateFile.c_str(), 0600), 0);
    {
        AtomicFile file(privateFile, "w");
        ASSERT_TRUE(file.isOpen());
        EXPECT_TRUE(file.Commit());
    }
    ASSERT_EQ(stat(privateFile.c_str(), &st), 0);
    EXPECT_EQ(st.st_mode & 0777, 0600u);

    // A write-protected file is refused, except for a user who may write anything.
    const std::string locked = dir.file("locked.out");
    WriteText(locked, "old");
    ASSERT_EQ(chmod(locked.c_str(), 0444), 0);
    AtomicFile file(locked, "w");
    EXPECT_EQ(file.isOpen(), access(locked.c_str(), W_OK) == 0);
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
