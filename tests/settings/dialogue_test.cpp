#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdio>
#include <string>

#include "common/TempDir.h"
#include "settings/MEMParam.h"
#include "settings_text.h"

namespace {

// Runs the dialogue with `answers` on standard input and returns what it printed.
std::string converse(MEMParam& p, const char* name, const std::string& answers, bool& result) {
    TempDir tmp;
    const std::string input = tmp.write("answers.txt", answers);
    EXPECT_NE(freopen(input.c_str(), "r", stdin), nullptr);
    testing::internal::CaptureStdout();
    result = p.InputConditions(name);
    fflush(stdout);
    const std::string out = testing::internal::GetCapturedStdout();
    EXPECT_NE(freopen("/dev/null", "r", stdin), nullptr);
    return out;
}

size_t count(const std::string& text, const std::string& word) {
    size_t n = 0;
    for (size_t at = text.find(word); at != std::string::npos; at = text.find(word, at + 1)) ++n;
    return n;
}

}  // namespace

// Invalid and empty answers keep the field; the end of input runs through on defaults.
TEST(Dialogue, InvalidEmptyAndMissingAnswersKeepTheDefaults) {
    TempDir data;
    MEMParam p, q;
    bool ok = false;
    converse(p, data.write("x.fos", "").c_str(), "\nabc\n\n\n\n\n\n\nnone\n\n\n", ok);
    EXPECT_TRUE(ok);
    EXPECT_EQ(p.fileType, 5);
    EXPECT_EQ(p.startType, 0);
    EXPECT_EQ(p.algorithm, 4);  // the exact solution is the default
    EXPECT_EQ(p.LM_type, 1);
    EXPECT_DOUBLE_EQ(p.lambdaFraction[0], 1.0);
    EXPECT_EQ(p.maxCycles, 1000);
    const std::string out = converse(q, data.write("x.fcf", "").c_str(), "2\n", ok);
    EXPECT_TRUE(ok);
    EXPECT_EQ(q.startType, 2);
    EXPECT_EQ(q.algorithm, 4);
    EXPECT_EQ(q.maxCycles, 1000);
    EXPECT_EQ(count(out, "# Maximum number of cycles.\n"), 1u);
}

TEST(Dialogue, OtherAlgorithmsSkipZSPAQuestionsAndAskForPrior) {
    TempDir data;
    MEMParam p;
    bool ok = false;
    const std::string out =
        converse(p, data.write("x.mep", "").c_str(), "0\n1\n0.5\n1.2\n1\n0\n1\n1\n0\n600\n", ok);
    EXPECT_EQ(count(out, "# The type of the MEM data set file."), 0u);  // none for .mep
    EXPECT_EQ(count(out, "(LM_type)"), 0u);
    EXPECT_EQ(count(out, "# The coefficient, t,"), 0u);
    EXPECT_EQ(SettingsText(p),
              "type 8 start 0 prior 1 algorithm 1 LM 1 lambda 0.001 x 0.5 m 0 t 0.05 E 1.2 feedback 1 "
              "eps 0 cycles 600 fractions 1 0 0 0 0 0 0 0 grid 0.1");
}

// An unsupported name and the end of input are the driver's end-to-end cases;
// here a dot in the working directory, which must not make a type.
TEST(Dialogue, EmptyNameInADottedDirectoryAsksNothingMore) {
    TempDir tmp;
    MEMParam p;
    p.workDir = tmp.path() + "/run.mem";
    bool ok = true;
    EXPECT_EQ(converse(p, nullptr, "", ok), std::string(_option_text[0]) + "\n");
    EXPECT_FALSE(ok);
    EXPECT_EQ(p.fileType, -1);
}

// A data file that cannot be opened ends the dialogue before its first question;
// the driver then tells it once.
TEST(Dialogue, DataFileThatCannotBeOpenedAsksNothing) {
    TempDir tmp;
    MEMParam p;
    bool ok = true;
    EXPECT_EQ(converse(p, tmp.file("missing.mem").c_str(), "1\n", ok), "");
    EXPECT_FALSE(ok);
    EXPECT_EQ(p.fileType, 3);
    ASSERT_EQ(mkdir(tmp.file("folder.fcf").c_str(), 0700), 0);
    EXPECT_EQ(converse(p, tmp.file("folder.fcf").c_str(), "1\n", ok), "");
    EXPECT_FALSE(ok);
}
