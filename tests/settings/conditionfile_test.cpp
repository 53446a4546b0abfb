#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>

#include "common/TempDir.h"
#include "util/IO.h"
#include "settings/MEMParam.h"
#include "settings_text.h"

namespace {

// A parameter set in which every field that a condition file carries differs
// from its default.
MEMParam unusualSettings(const std::string& dataFile) {
    MEMParam p;
    p.dataFile = dataFile;
    p.fileType = 4, p.startType = 1, p.priorType = 1, p.algorithm = 2, p.LM_type = 0;
    p.lambda = 0.0125, p.weightPowerD = 2.5, p.coefT = 0.125f, p.coefE = 1.75f;
    p.feedbackOutput = 2, p.epsOutput = 1, p.maxCycles = 4321;
    for (int k = 0; k < 8; ++k) p.lambdaFraction[k] = 0.5 + 0.25 * k;
    p.SetFileNames();
    return p;
}

// The value lines of a condition file, in order, without blank and comment lines.
std::vector<std::string> valueLines(const std::string& text) {
    std::vector<std::string> values;
    for (const std::string& line : Lines(text))
        if (!line.empty() && line[0] != '#') values.push_back(line);
    return values;
}

}  // namespace

TEST(ConditionFile, WrittenValuesOfDefaults) {
    TempDir tmp;
    MEMParam p;
    p.dataFile = tmp.file("sio2.mem");
    p.fileType = 3;
    ASSERT_TRUE(p.WriteConditions());
    EXPECT_EQ(p.condFile, tmp.file("sio2.prf"));
    const std::string text = ReadText(p.condFile);
    EXPECT_EQ(valueLines(text), (std::vector<std::string>{"$PREFERENCES",
                                                          "sio2.mem",
                                                          "sio2.out",
                                                          "sio2.pgrid",
                                                          "sio2.fba",
                                                          "sio2_eps.raw",
                                                          "0",
                                                          "0",
                                                          "4",
                                                          "1",
                                                          "1",
                                                          "0.001 0",
                                                          "0.05",
                                                          "1",
                                                          "1",
                                                          "0",
                                                          "1000",
                                                          "1",
                                                          "1 0 0 0 0 0 0 0",
                                                          "0"}));
    EXPECT_NE(text.find("\n# Maximum number of cycles.\n1000\n"), std::string::npos);
}

// Every field differs from its default: what is read back equals what was
// written, and writing it again gives the same file.
TEST(ConditionFile, WriteAndReadBackKeepsEverySetting) {
    TempDir tmp;
    MEMParam written = unusualSettings(tmp.write("quartz.mem", ""));
    written.weightPowerM = 3.0;
    written.gridResolution = 0.25;
    ASSERT_TRUE(written.WriteConditions());
    const std::string first = ReadText(written.condFile);
    written.weightPowerM = 0.0;  // neither is written back
    written.gridResolution = 0.3;
    MEMParam read;
    read.gridResolution = 0.3;
    ASSERT_TRUE(read.ReadConditions(written.condFile));
    EXPECT_EQ(SettingsText(read), SettingsText(written));
    EXPECT_EQ(read.dataFile, written.dataFile);
    EXPECT_EQ(read.epsFile, written.epsFile);
    EXPECT_DOUBLE_EQ(read.initialLambda, written.lambda);
    ASSERT_TRUE(read.WriteConditions());
    EXPECT_EQ(ReadText(read.condFile), first);
}

TEST(ConditionFile, HandEditedWithCommentsBlanksAndCrLf) {
    TempDir tmp;
    const std::string cond = tmp.write("hand.prf",
                                       "\r\n# written by hand\r\n\r\n$PREFERENCES\r\n"
                                       "../data/ni.fos   trailing words\r\n"
                                       "#\r\nout\r\npgrid\r\n\r\n  # indented comment\r\nfba\r\neps\r\n"
                                       "1\r\n"                 // type: ignored for an FOS file
                                       "1\r\n2\r\n1\r\n0\r\n"  // start, algorithm, G, LM_type
                                       "0.001 0 1.0\r\n"       // third number: multiplicity weighting
                                       "0.1\r\n2\r\n0\r\n1\r\n77\r\n1\r\n"
                                       "1 0.5 0.25\r\n"  // a short list keeps the other fractions at 0
                                       "1\r\n"
                                       "0.07\r\n"  // grid resolution, never written back
                                       "99\r\nanything else\r\n");
    MEMParam p;
    ASSERT_TRUE(p.ReadConditions(cond));
    EXPECT_EQ(p.dataFile, "/tmp/data/ni.fos");
    EXPECT_EQ(p.outFile, "/tmp/data/ni.out");
    EXPECT_EQ(SettingsText(p),
              "type 5 start 1 prior 1 algorithm 2 LM 0 lambda 0.001 x 0 m 1 t 0.1 E 2 feedback 0 "
              "eps 1 cycles 77 fractions 1 0.5 0.25 0 0 0 0 0 grid 0.07");
}

// A negative type adds only to MEM data sets; a short file keeps the later
// settings but resets the weighting.
TEST(ConditionFile, NegativeTypeAndShortFile) {
    TempDir tmp;
    const std::string body = "\no\ng\nf\ne\n1\n0\n0\n1\n1\n";
    MEMParam mep, fcf, p;
    ASSERT_TRUE(mep.ReadConditions(tmp.write("a.prf", "$PREFERENCES\nd.mep" + body)));
    EXPECT_EQ(mep.fileType, 9);
    ASSERT_TRUE(fcf.ReadConditions(tmp.write("b.prf", "$PREFERENCES\nd.fcf" + body)));
    EXPECT_EQ(fcf.fileType, 6);
    p.maxCycles = 55;
    p.weightPowerD = 4.0;
    p.lambdaFraction[3] = 0.5;
    ASSERT_TRUE(p.ReadConditions(tmp.write("s.prf", "$PREFERENCES\nd.mem\no\ng\nf\ne\n0\n1\n1")));
    EXPECT_EQ(p.fileType, 3);
    EXPECT_EQ(p.algorithm, 1);
    EXPECT_EQ(p.maxCycles, 55);
    EXPECT_EQ(p.weightPowerD, 0.0);
    EXPECT_EQ(p.lambdaFraction[3], 0.0);
    EXPECT_EQ(p.lambdaFraction[0], 1.0);
}

TEST(ConditionFile, FailuresAreResultsNotCrashes) {
    TempDir tmp;
    // A missing file and a data file of unknown type are the driver's end-to-end cases.
    // Files that end early, are empty, or hold only comments: the end of the
    // file is reached on the keyword line.
    for (const char* text : {"", "\n\n", "# only\n# comments", "$PREFERENCES"}) {
        MEMParam q;
        EXPECT_TRUE(q.ReadConditions(tmp.write("e.prf", text))) << text;
        EXPECT_EQ(q.maxCycles, 1000);
    }
    // Past the keyword line, the empty line at the end stands as the data file
    // name, which names the directory of the condition file and has no type.
    for (const char* text : {"$P\n\n#\n   \n", "$P\n", "$P\r"}) {
        MEMParam q;
        EXPECT_FALSE(q.ReadConditions(tmp.write("e.prf", text))) << text;
        EXPECT_EQ(q.fileType, -1) << text;
    }

    MEMParam w;
    w.dataFile = tmp.file("no_such_dir/x.mem");
    testing::internal::CaptureStdout();
    EXPECT_FALSE(w.WriteConditions());
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "Failed to write in " + tmp.file("no_such_dir/x.prf") + "\n");
}
