#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "../util/TempDir.h"
#include "app/IO.h"
#include "mem/MEMParam.h"

namespace {

std::string readAll(const std::string& path) {
    std::string text;
    FILE* f = fopen(path.c_str(), "rb");
    if (!f) return text;
    for (int c; (c = fgetc(f)) != EOF;) text += static_cast<char>(c);
    fclose(f);
    return text;
}

// A parameter set in which every field that a condition file carries differs
// from its default.
MEMParam unusualSettings(const std::string& dataFile) {
    MEMParam p;
    p.dataFile = dataFile;
    p.fileType = 4;
    p.startType = 1;
    p.priorType = 1;
    p.algorithm = 2;
    p.LM_type = 0;
    p.lambda = 0.0125;
    p.weightPowerD = 2.5;
    p.coefT = 0.125f;
    p.coefE = 1.75f;
    p.feedbackOutput = 2;
    p.epsOutput = 1;
    p.maxCycles = 4321;
    for (int k = 0; k < 8; ++k) p.lambdaFraction[k] = 0.5 + 0.25 * k;
    p.SetFileNames();
    return p;
}

const char* const kWrittenFile =
    "$PREFERENCES\n"
    "\n"
    "# The name of the MEM data set file (*.fos, *.mem, *.fcf, *.BayMEM) or condition file (*.prf).\n"
    "sio2.mem\n"
    "sio2.out\n"
    "sio2.pgrid\n"
    "sio2.fba\n"
    "sio2_eps.raw\n"
    "\n"
    "# The type of the MEM data set file.\n"
    "# 0. (a) X-ray diffraction data or (b) neutron diffraction data of a compound\n"
    "#    containing no element with a negative bc value.\n"
    "# 1. Neutron diffraction data of a compound containing at least one element\n"
    "#    with a negative bc value.\n"
    "0\n"
    "\n"
    "# From which densities will you start?\n"
    "# 0. Uniform densities.\n"
    "# 1. Restart from densities recorded in the 3D densities file (*.pgrid).\n"
    "0\n"
    "\n"
    "# Optimization algorithm.\n"
    "# 0. 0th order single-pixel approximation (ZSPA).\n"
    "# 1. The Limited-memory BFGS algorithm (L-BFGS).\n"
    "# 2. The Cambridge algorithm (Obsolete).\n"
    "0\n"
    "\n"
    "# Will you use the G-constraint?.\n"
    "# (This option is a dummy to keep backward compatibility with TALMO.)\n"
    "1\n"
    "\n"
    "# Which initial Lagrangian multiplier will you use (LM_type)?\n"
    "# 0. The value written in this file.\n"
    "# 1. The value calculated by Halvorin.\n"
    "# 2. The value written in the MEM data set file.\n"
    "1\n"
    "\n"
    "# The initial Lagrangian multiplier, lambda (dummy if LM_type = 1 or 2), and\n"
    "# A parameter x to impose weighting factors on the basis of\n"
    "# lattice-plane spacing.\n"
    "0.001 0\n"
    "\n"
    "# The coefficient, t, to adjust the Lagrangian multiplier.\n"
    "0.05\n"
    "\n"
    "# The coefficient, E, to adjust estimated standard uncertainty of\n"
    "# structure factors.\n"
    "1\n"
    "\n"
    "# Will you save a feedback data file?\n"
    "# 0. Yes (output only individual F data).\n"
    "# 1. Yes (output all the F data including those for grouped reflections\n"
    "#    and estimated for unobserved reflections).\n"
    "# 2. No.\n"
    "1\n"
    "\n"
    "# Will you save a e(GAUSS) distribution data file?\n"
    "# 0. Yes (raw data file, * eps.raw).\n"
    "# 1. No.\n"
    "0\n"
    "\n"
    "# Maximum number of cycles.\n"
    "1000\n"
    "\n"
    "# Save output files (dummy)\n"
    "1\n"
    "\n"
    "# Fractions of lambda for generalized constraints.\n"
    "# (8 parameters; l_2, l_4, l_6, l_8, l_10, l_12, l_14, l_16)\n"
    "1 0 0 0 0 0 0 0\n"
    "\n"
    "# Which prior densities will you use?\n"
    "# 0. Uniform densities.\n"
    "# 1. Densities recorded in the 3D densities file (*_prior.pgrid).\n"
    "0\n"
    "\n";

}  // namespace

TEST(MEMParam, OutputNamesFollowTheDataFile) {
    MEMParam p;
    p.dataFile = "/d/run.1/sio2.mem";
    p.SetFileNames();
    EXPECT_EQ(p.outFile, "/d/run.1/sio2.out");
    EXPECT_EQ(p.gridFile, "/d/run.1/sio2.pgrid");
    EXPECT_EQ(p.feedbackFile, "/d/run.1/sio2.fba");
    EXPECT_EQ(p.epsFile, "/d/run.1/sio2_eps.raw");
    p.dataFile = "/d/plain";
    p.SetFileNames();
    EXPECT_EQ(p.outFile, "/d/plain.out");
}

TEST(ConditionFile, WrittenTextOfDefaults) {
    TempDir tmp;
    MEMParam p;
    p.dataFile = tmp.file("sio2.mem");
    p.fileType = 3;
    ASSERT_TRUE(p.WriteConditions());
    EXPECT_EQ(p.condFile, tmp.file("sio2.prf"));
    EXPECT_EQ(readAll(p.condFile), kWrittenFile);
}

TEST(ConditionFile, WriteAndReadBackKeepsEverySetting) {
    TempDir tmp;
    const std::string data = tmp.write("quartz.mem", "");
    MEMParam written = unusualSettings(data);
    written.weightPowerM = 3.0;      // never written back
    written.gridResolution = 0.25;   // never written back
    ASSERT_TRUE(written.WriteConditions());

    MEMParam read;
    read.gridResolution = 0.3;
    ASSERT_TRUE(read.ReadConditions(written.condFile));
    EXPECT_EQ(read.dataFile, written.dataFile);
    EXPECT_EQ(read.fileType, 4);
    EXPECT_EQ(read.startType, written.startType);
    EXPECT_EQ(read.priorType, written.priorType);
    EXPECT_EQ(read.algorithm, written.algorithm);
    EXPECT_EQ(read.LM_type, written.LM_type);
    EXPECT_DOUBLE_EQ(read.lambda, written.lambda);
    EXPECT_DOUBLE_EQ(read.initialLambda, written.lambda);
    EXPECT_DOUBLE_EQ(read.weightPowerD, written.weightPowerD);
    EXPECT_FLOAT_EQ(read.coefT, written.coefT);
    EXPECT_FLOAT_EQ(read.coefE, written.coefE);
    EXPECT_EQ(read.feedbackOutput, written.feedbackOutput);
    EXPECT_EQ(read.epsOutput, written.epsOutput);
    EXPECT_EQ(read.maxCycles, written.maxCycles);
    for (int k = 0; k < 8; ++k) EXPECT_DOUBLE_EQ(read.lambdaFraction[k], written.lambdaFraction[k]);
    EXPECT_EQ(read.outFile, written.outFile);
    EXPECT_EQ(read.gridFile, written.gridFile);
    EXPECT_EQ(read.feedbackFile, written.feedbackFile);
    EXPECT_EQ(read.epsFile, written.epsFile);
    EXPECT_EQ(read.weightPowerM, 0.0);
    EXPECT_DOUBLE_EQ(read.gridResolution, 0.3);
}

TEST(ConditionFile, DataFileIsRelativeToTheConditionFile) {
    TempDir tmp;
    MEMParam p = unusualSettings(tmp.file("sub/x.mem"));
    p.WriteConditions();
    // The condition file lies beside the data file, so the name stands alone.
    EXPECT_EQ(p.condFile, tmp.file("sub/x.prf"));
    p.dataFile = tmp.file("x.mem");
    p.SetFileNames();
    ASSERT_TRUE(p.WriteConditions());
    const std::string text = readAll(p.condFile);
    EXPECT_NE(text.find("\nx.mem\nx.out\nx.pgrid\nx.fba\nx_eps.raw\n\n"), std::string::npos);
}

TEST(ConditionFile, HandEditedWithCommentsBlanksAndCrLf) {
    TempDir tmp;
    const std::string cond = tmp.write(
        "hand.prf",
        "\r\n# written by hand\r\n\r\n$PREFERENCES\r\n"
        "../data/ni.fos   trailing words\r\n"
        "#\r\nout\r\npgrid\r\n\r\n  # indented comment\r\nfba\r\neps\r\n"
        "1\r\n"                  // type: ignored for an FOS file
        "1\r\n2\r\n1\r\n0\r\n"  // start, algorithm, G, LM_type
        "0.001 0 1.0\r\n"        // third number: multiplicity weighting
        "0.1\r\n2\r\n0\r\n1\r\n77\r\n1\r\n"
        "1 0.5 0.25\r\n"         // a short list keeps the other fractions at 0
        "1\r\n"
        "0.07\r\n"               // grid resolution, never written back
        "99\r\nanything else\r\n");
    MEMParam p;
    ASSERT_TRUE(p.ReadConditions(cond));
    EXPECT_EQ(p.dataFile, "/tmp/data/ni.fos");
    EXPECT_EQ(p.fileType, 5);
    EXPECT_EQ(p.startType, 1);
    EXPECT_EQ(p.algorithm, 2);
    EXPECT_EQ(p.LM_type, 0);
    EXPECT_DOUBLE_EQ(p.lambda, 0.001);
    EXPECT_DOUBLE_EQ(p.weightPowerD, 0.0);
    EXPECT_DOUBLE_EQ(p.weightPowerM, 1.0);
    EXPECT_FLOAT_EQ(p.coefT, 0.1f);
    EXPECT_FLOAT_EQ(p.coefE, 2.0f);
    EXPECT_EQ(p.feedbackOutput, 0);
    EXPECT_EQ(p.epsOutput, 1);
    EXPECT_EQ(p.maxCycles, 77);
    EXPECT_DOUBLE_EQ(p.lambdaFraction[1], 0.5);
    EXPECT_DOUBLE_EQ(p.lambdaFraction[2], 0.25);
    EXPECT_EQ(p.lambdaFraction[3], 0.0);
    EXPECT_EQ(p.priorType, 1);
    EXPECT_DOUBLE_EQ(p.gridResolution, 0.07);
    EXPECT_EQ(p.outFile, "/tmp/data/ni.out");
}

TEST(ConditionFile, NegativeTypeAddsOnlyToMEMDataSets) {
    TempDir tmp;
    const std::string body = "\n1\n0\n0\n1\n1\n";
    MEMParam mep;
    ASSERT_TRUE(mep.ReadConditions(tmp.write("a.prf", "$PREFERENCES\nd.mep\no\ng\nf\ne" + body)));
    EXPECT_EQ(mep.fileType, 9);
    MEMParam fcf;
    ASSERT_TRUE(fcf.ReadConditions(tmp.write("b.prf", "$PREFERENCES\nd.fcf\no\ng\nf\ne" + body)));
    EXPECT_EQ(fcf.fileType, 6);
}

TEST(ConditionFile, ShortFileKeepsLaterSettingsButResetsWeighting) {
    TempDir tmp;
    MEMParam p;
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
    MEMParam p;
    testing::internal::CaptureStdout();
    EXPECT_FALSE(p.ReadConditions(tmp.file("missing.prf")));
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "Input file could not be opened.\n" + tmp.file("missing.prf") + "\n");

    EXPECT_FALSE(p.ReadConditions(tmp.write("u.prf", "$PREFERENCES\nnotes.txt\n0\n0\n")));
    EXPECT_EQ(p.fileType, -1);

    // Files that end early, are empty, or hold only comments.
    for (const char* text : {"", "\n\n", "# only\n# comments", "$PREFERENCES", "$P\n\n#\n   \n"}) {
        MEMParam q;
        EXPECT_TRUE(q.ReadConditions(tmp.write("e.prf", text))) << text;
        EXPECT_EQ(q.maxCycles, 1000);
    }

    // Overlong and binary lines are cut, never overrun.
    std::string junk = "$PREFERENCES\n" + std::string(5000, 'a') + ".mem\n";
    for (int k = 0; k < 40; ++k) junk += std::string(300, static_cast<char>('0' + k % 10)) + "\n";
    junk += std::string("\0\x01\xff\r", 4);
    MEMParam r;
    r.ReadConditions(tmp.write("j.prf", junk));

    MEMParam w;
    w.dataFile = tmp.file("no_such_dir/x.mem");
    testing::internal::CaptureStdout();
    EXPECT_FALSE(w.WriteConditions());
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "Failed to write in " + tmp.file("no_such_dir/x.prf") + "\n");
}
