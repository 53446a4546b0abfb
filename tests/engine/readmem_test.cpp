// The MEM data set reader on well-formed, hand-edited and broken files, and
// the dispatch of ReadFobs by file type.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

#include "readmem_support.h"

namespace {

std::vector<int> indices(const MEMData& mem, int i, int item = 0) {
  const int* h = mem.reflections[i]->hkl.item(item);
  return {h[0], h[1], h[2]};
}

// Title, cell, symmetry and grid, F(000) and lambda, then the three blocks,
// with comments, blank lines and all three kinds of line end.
const char* const kWellFormed =
    "  Monoclinic test crystal\r\n"
    "# cell\r\n"
    "5.0 6.0 7.0 90 100 90\r"
    "P 1 21/c 1\n"
    "\n"
    "14 1 20 24 28\n"
    "120.0 0.02\n"
    "3\n"
    "1 0 0  10.0 0.0 0.5\n"
    "   # a comment inside the block\n"
    "\n"
    "0 1.5 -1.5 -5.0 1.0 0.25 -2\n"
    "1 1 1 3.0 0.0 1.0 0.5\n"
    "2\n"
    "2\n"
    "2 0 0 7.0 0.5\n"
    "0 0 2\n"
    "1\n"
    "1 2 3 4.0 2.0\n"
    "2\n"
    "3 0 0\r\n"
    "0 3 0\r\n"
    "anything after the last block is ignored\n";

class WellFormedFile : public ::testing::Test {
protected:
  void SetUp() override {
    mem = AnalysisFor(file.path(), 3);
    mem->param.coefE = 2.0f;
    mem->param.lambda = 0.001;
    ASSERT_TRUE(mem->ReadMEM(file.path()));
  }
  ScratchFile file{kWellFormed};
  std::unique_ptr<MEMData3D> mem;
};

TEST_F(WellFormedFile, HeaderReflectionsGroupsAndListedOnes) {
  EXPECT_STREQ(mem->title, "  Monoclinic test crystal");
  EXPECT_EQ(mem->unitCell.cell[4], 100.0f);
  EXPECT_EQ(std::vector<int>(mem->gridSize, mem->gridSize + 3), (std::vector<int>{20, 24, 28}));
  const double volume = 5.0 * 6.0 * 7.0 * std::sin(100.0 * M_PI / 180.0);
  EXPECT_NEAR(mem->voxelVolume, volume / (20 * 24 * 28), 1e-5 * volume / (20 * 24 * 28));
  EXPECT_EQ(mem->targetMoment[0], 120.0);
  EXPECT_EQ(mem->param.lambda, 0.02);
  ASSERT_TRUE(SpaceGroupTableLoaded());
  EXPECT_EQ(mem->unitCell.spgNumber, 14);

  ASSERT_EQ(mem->nRefF, 3);
  // 1.5 rounds up, -1.5 rounds up too.
  EXPECT_EQ(indices(*mem, 1), (std::vector<int>{0, 2, -1}));
  EXPECT_EQ(mem->FobsIm[1], 1.0);
  // E / sigma^2 with E = 2; groups take the weight of their first member.
  const double weightF[6] = {8.0, 32.0, 2.0, 8.0, 8.0, 0.5};
  const double refWeight[6] = {1.0, 2.0, 0.5, 1.0, 1.0, 1.0};  // missing, |-2|, 0.5
  for (int i = 0; i < 6; ++i) {
    EXPECT_DOUBLE_EQ(mem->weightF[i], weightF[i]) << i;
    EXPECT_EQ(mem->refWeight[i], refWeight[i]) << i;
  }
  ASSERT_EQ(mem->nGroups, 2);
  EXPECT_EQ(mem->groupSize, (std::vector<int>{2, 1}));
  EXPECT_EQ(mem->Gobs[0], 7.0);
  EXPECT_DOUBLE_EQ(mem->weightG[1], 0.5);
  EXPECT_EQ(indices(*mem, 4), (std::vector<int>{0, 0, 2}));
  EXPECT_EQ(mem->nRefE, 2);
  ASSERT_EQ(mem->reflections.size(), 8);
  EXPECT_EQ(indices(*mem, 7), (std::vector<int>{0, 3, 0}));
  EXPECT_EQ(mem->refFobsRe, (std::vector<double>{0, 0}));
}

// The F(000) line by file type.
TEST(ReadMEM, MomentLineByFileType) {
  const struct {
    int fileType;
    const char* line;
    double plus, minus, lambda;
  } cases[] = {{3, "50 0.03 7", 50, 0, 0.03},  // third value ignored
               {8, "50 0.03", 50, 0, 0.03},
               {4, "23.2 -6.9 0.05", 23.2, -6.9, 0.05},
               {4, "23.2 -6.9", 23.2, -6.9, 0.001},  // lambda keeps its setting
               {3, "50 0", 50, 0, 0.001}};
  for (const auto& c : cases) {
    ScratchFile file(std::string("t\n1 1 1 90 90 90\nP 1\n1 1 4 4 4\n") + c.line + "\n0\n0\n0\n");
    auto mem = AnalysisFor(file.path(), c.fileType);
    mem->param.lambda = 0.001;
    ASSERT_TRUE(mem->ReadMEM(file.path()));
    EXPECT_EQ(mem->targetMoment[0], c.plus) << c.line;
    EXPECT_EQ(mem->targetMoment[1], c.minus) << c.line;
    EXPECT_EQ(mem->param.lambda, c.lambda) << c.line;
  }
}

// Broken files: nothing may crash, and the counts follow what was read.
class BrokenFile : public ::testing::Test {
protected:
  std::unique_ptr<MEMData3D> read(const std::string& text, int fileType = 3) {
    file = std::make_unique<ScratchFile>(text);
    auto mem = AnalysisFor(file->path(), fileType);
    mem->param.coefE = 1.0f;
    mem->param.gridResolution = 0.5;
    EXPECT_TRUE(mem->ReadMEM(file->path()));
    return mem;
  }
  std::unique_ptr<ScratchFile> file;
};

const char* const kHeader = "t\n2 2 2 90 90 90\nP 1\n1 1 4 4 4\n10 0\n";

TEST_F(BrokenFile, TruncatedInsideTheFirstBlock) {
  auto mem = read(std::string(kHeader) + "5\n1 0 0 1 0 1\n0 1 0 2 0 1\n");
  EXPECT_EQ(mem->nRefF, 2);
  EXPECT_EQ(mem->nGroups, 0);
  EXPECT_EQ(mem->nRefE, 0);
  EXPECT_EQ(mem->reflections.size(), 2);
  EXPECT_EQ(mem->Gobs, nullptr);
}

TEST_F(BrokenFile, LastLineWithoutLineEndRepeats) {
  auto mem = read(std::string(kHeader) + "4\n1 0 0 1 0 1\n0 1 0 2 0 1");
  ASSERT_EQ(mem->nRefF, 4);
  ASSERT_EQ(mem->reflections.size(), 4);
  for (int i = 1; i < 4; ++i) {
    EXPECT_EQ(indices(*mem, i), (std::vector<int>{0, 1, 0}));
    EXPECT_EQ(mem->FobsRe[i], 2.0);
  }
}

TEST_F(BrokenFile, ShortFieldsZeroSigmaAndNegativeWeight) {
  auto mem = read(std::string(kHeader) +
                  "4\n"
                  "1 0 0 1 0\n"           // five fields: counted, dropped
                  "0 1 0 2 0 0\n"         // sigma 0: infinite weight
                  "0 0 1 3 0 1 -4\n"      // weight counts with its size
                  "1 1 0 4 0 2\n"
                  "1\n1\n1 1 1 5 0.5\n"
                  "2\n2 0 0\n0 2\n");     // the second E line is too short
  ASSERT_EQ(mem->nRefF, 3);
  EXPECT_EQ(indices(*mem, 0), (std::vector<int>{0, 1, 0}));
  EXPECT_TRUE(std::isinf(mem->weightF[0]));
  EXPECT_EQ(mem->refWeight[1], 4.0);
  EXPECT_EQ(mem->FobsRe[2], 4.0);
  EXPECT_DOUBLE_EQ(mem->weightF[2], 0.25);
  EXPECT_EQ(mem->nGroups, 1);
  EXPECT_DOUBLE_EQ(mem->weightF[3], 4.0);
  EXPECT_EQ(mem->nRefE, 1);
  EXPECT_EQ(mem->reflections.size(), 5);
  EXPECT_EQ(mem->refFobsRe.size(), 1u);
}

// The magnitudes of the groups are taken in file order from the member lines
// with five fields: a second such line in one group shifts those after it.
TEST_F(BrokenFile, GroupMagnitudesAreTakenInFileOrder) {
  auto mem = read(std::string(kHeader) +
                  "0\n2\n"
                  "2\n1 0 0 7 0.5\n0 1 0 8 0.25\n"
                  "1\n0 0 1 9 1\n"
                  "0\n");
  ASSERT_EQ(mem->nGroups, 2);
  EXPECT_EQ(mem->Gobs[0], 7.0);
  EXPECT_EQ(mem->Gobs[1], 8.0);
  EXPECT_DOUBLE_EQ(mem->weightG[1], 16.0);
  EXPECT_DOUBLE_EQ(mem->weightF[1], 16.0);  // each member takes the latest sigma
}

// A file that ends in a comment without a line end leaves that comment in the
// line buffer, as the title here.
TEST_F(BrokenFile, CommentWithoutLineEndAtTheEndStaysInTheBuffer) {
  auto mem = read("# only a comment");
  EXPECT_STREQ(mem->title, "# only a comment");
  mem = read("# only a comment\n");
  EXPECT_STREQ(mem->title, "");
}

TEST_F(BrokenFile, HugeCountsAndNonsenseNumbersStayInRange) {
  auto mem = read(std::string(kHeader) + "2000000000\n1 0 0 1 0 1\n");
  EXPECT_EQ(mem->nRefF, 1);
  mem = read(std::string(kHeader) + "2\n1e300 -1e300 nan 1 0 1\n-3 -2 -1 1 0 1\n");
  ASSERT_EQ(mem->nRefF, 2);
  EXPECT_EQ(indices(*mem, 1), (std::vector<int>{-3, -2, -1}));
}

// A grid number below 1 on any axis (even with a positive product), or a grid
// too large to index, is chosen from the cell as if the line had none.
TEST_F(BrokenFile, UnusableGridNumbersAreChosenFromTheCell) {
  for (const char* grid : {"1 1 -48 -48 32", "1 1 0 4 4", "1 1 100000 100000 100000",
                           "1 1 2147483647 2147483647 2"}) {
    auto mem = read(std::string("t\n2 2 2 90 90 90\nP 1\n") + grid + "\n10 0\n0\n0\n0\n");
    EXPECT_EQ(std::vector<int>(mem->gridSize, mem->gridSize + 3), (std::vector<int>{4, 4, 4}))
        << grid;
  }
}

// A cell for which even the chosen grid cannot be indexed fails the read.
TEST(ReadMEM, CellTooLargeForAnyGridFails) {
  CapturedOutput quiet;
  ScratchFile file("t\n1e8 1e8 1e8 90 90 90\nP 1\n1 1 0 0 0\n10 0\n1\n1 0 0 1 0 1\n0\n0\n");
  auto mem = AnalysisFor(file.path(), 3);
  mem->param.gridResolution = 0.1;
  EXPECT_FALSE(mem->ReadMEM(file.path()));
  EXPECT_NE(quiet.all().find("too large"), std::string::npos);
}

TEST(ReadMEM, MissingFileIsReported) {
  CapturedOutput quiet;
  // The reader waits for Enter; standard input must not block the test.
  std::FILE* in = std::freopen("/dev/null", "r", stdin);
  ASSERT_NE(in, nullptr);
  auto mem = AnalysisFor("/nonexistent/data.mem", 3);
  EXPECT_FALSE(mem->ReadFobs());
  EXPECT_EQ(quiet.all(),
            "Input file could not be opened.\n/nonexistent/data.mem\nPress Enter key to exit.\n");
}

TEST(ReadFobs, ExpandsEveryRunOfReflections) {
  ASSERT_TRUE(SpaceGroupTableLoaded());
  ScratchFile file(kWellFormed);
  auto mem = AnalysisFor(file.path(), 4);
  ASSERT_TRUE(mem->ReadFobs());
  ASSERT_EQ(mem->reflections.size(), 8);
  // P 1 21/c 1: a general reflection has four equivalents, h 0 0 two, 0 k 0 two.
  EXPECT_EQ(mem->reflections[2]->hkl.nItems(), 4u);   // 1 1 1
  EXPECT_EQ(mem->reflections[0]->hkl.nItems(), 2u);   // 1 0 0
  EXPECT_EQ(mem->reflections[7]->hkl.nItems(), 2u);   // 0 3 0, absent
  EXPECT_EQ(mem->reflections[7]->A, 0.0);
  EXPECT_GT(mem->reflections[5]->di, 0.0);
  EXPECT_EQ(mem->reflections[0]->stabilizerOrder, 2);
}

}  // namespace
