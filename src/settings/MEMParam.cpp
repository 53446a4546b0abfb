#include "settings/MEMParam.h"

#include <cstdio>
#include <cstring>
#include <vector>

#include "util/FieldScan.h"
#include "util/FileType.h"
#include "util/IO.h"
#include "util/TextLine.h"

const char* const _option_text[16] = {
    "# The name of the MEM data set file (*.fos, *.mem, *.fcf, *.BayMEM) or condition file (*.prf).",
    "# The type of the MEM data set file.\n"
    "# 0. (a) X-ray diffraction data or (b) neutron diffraction data of a compound\n"
    "#    containing no element with a negative bc value.\n"
    "# 1. Neutron diffraction data of a compound containing at least one element\n"
    "#    with a negative bc value.",
    "# From which densities will you start?\n"
    "# 0. Uniform densities.\n"
    "# 1. Restart from densities recorded in the 3D densities file (*.pgrid).",
    "# Optimization algorithm.\n"
    "# 0. 0th order single-pixel approximation (ZSPA).\n"
    "# 1. The Limited-memory BFGS algorithm (L-BFGS).\n"
    "# 2. The Cambridge algorithm (Obsolete).\n"
    "# 4. The exact solution by Newton's method on the dual (default).",
    "# Will you use the G-constraint?.\n"
    "# (This option is a dummy to keep backward compatibility with TALMO.)",
    "# Which initial Lagrangian multiplier will you use (LM_type)?",
    "# The initial Lagrangian multiplier, lambda",
    "# A parameter x to impose weighting factors on the basis of\n"
    "# lattice-plane spacing.",
    "# The coefficient, t, to adjust the Lagrangian multiplier.",
    "# The coefficient, E, to adjust estimated standard uncertainty of\n"
    "# structure factors.",
    "# Will you save a feedback data file?\n"
    "# 0. Yes (output only individual F data).\n"
    "# 1. Yes (output all the F data including those for grouped reflections\n"
    "#    and estimated for unobserved reflections).\n"
    "# 2. No.",
    "# Will you save a e(GAUSS) distribution data file?\n"
    "# 0. Yes (raw data file, * eps.raw).\n"
    "# 1. No.",
    "# Fractions of lambda for generalized constraints.\n"
    "# (8 parameters; l_2, l_4, l_6, l_8, l_10, l_12, l_14, l_16)",
    "# Which prior densities will you use?\n"
    "# 0. Uniform densities.\n"
    "# 1. Densities recorded in the 3D densities file (*_prior.pgrid).",
    "# Will you save a preferences file?\n"
    "# 0. No.\n"
    "# 1. Yes (*.prf is output).",
    "# Maximum number of cycles.",
};

namespace {

// Value lines of a condition file, counted from the keyword line at -1.
enum ConditionLine {
    kLineKeyword = -1,
    kLineDataFile = 0,
    kLineNegativeType = 5,
    kLineStartType = 6,
    kLineAlgorithm = 7,
    kLineLMType = 9,
    kLineLambda = 10,
    kLineCoefT = 11,
    kLineCoefE = 12,
    kLineFeedback = 13,
    kLineEps = 14,
    kLineMaxCycles = 15,
    kLineFractions = 17,
    kLinePrior = 18,
    kLineResolution = 19,
};

const char* const kFractionsFormat = "%lf %lf %lf %lf %lf %lf %lf %lf";

// `path` up to, not including, its last '.'; the whole path when it has none.
std::string withoutExtension(const std::string& path) {
    const size_t dot = path.rfind('.');
    return dot == std::string::npos ? path : path.substr(0, dot);
}

bool isMEMDataSet(int type) { return type == kTypeMEM || type == kTypeMEP; }

std::string asText(double value) {
    char text[32];
    snprintf(text, sizeof text, "%g", value);
    return text;
}

// Reads one answer line from standard input, after telling what an empty
// answer keeps: the setting's present value. At the end of input the answer is
// empty; the dialogue then runs through to the end on its defaults instead of
// waiting forever.
std::string answer(const std::string& kept) {
    printf("(Enter: %s)\n", kept.c_str());
    std::string line;
    get_line_mb(line, stdin);
    return line;
}

std::string ask(const char* text, const std::string& kept) {
    printf("\n%s\n", text);
    return answer(kept);
}

void askInt(const char* text, int& field) {
    ScanKeeping(ask(text, std::to_string(field)).c_str(), "%d", &field);
}
void askFloat(const char* text, float& field) { ScanKeeping(ask(text, asText(field)).c_str(), "%f", &field); }
void askDouble(const char* text, double& field) {
    ScanKeeping(ask(text, asText(field)).c_str(), "%lf", &field);
}

}  // namespace

MEMParam::MEMParam()
    : fileType(0),
      estimateUnobserved(0),
      startType(0),
      priorType(0),
      algorithm(4),
      LM_type(1),
      lambda(0.001),
      weightPowerD(0.0),
      weightPowerM(0.0),
      lambdaFraction{1.0, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0},
      initialLambda(0.0),
      gridResolution(0.1),
      convergenceLimit(0.0002),
      coefT(0.05f),
      coefE(1.0f),
      entropyOrder(1),
      feedbackOutput(1),
      epsOutput(0),
      savePreferences(0),
      maxCycles(1000),
      printEveryCycle(true) {}

void MEMParam::resetWeighting() {
    lambdaFraction[0] = 1.0;
    for (int k = 1; k < 8; ++k) lambdaFraction[k] = 0.0;
    weightPowerD = 0.0;
    weightPowerM = 0.0;
}

bool MEMParam::SetFileNames() {
    const std::string base = withoutExtension(dataFile);
    outFile = base + ".out";
    gridFile = base + ".pgrid";
    feedbackFile = base + ".fba";
    epsFile = base + "_eps.raw";
    return true;
}

bool MEMParam::ReadConditions(const std::string& conditionFile) {
    // A copy, because the caller may pass dataFile itself, which is overwritten below.
    const std::string path = conditionFile;
    resetWeighting();
    const IO::File file = IO::OpenInput(path);
    FILE* f = file.get();
    if (!f) {
        IO::Printf("Input file could not be opened.\n%s\n", path.c_str());
        return false;
    }

    char line[120];
    int count = kLineKeyword - 1;
    while (!feof(f) && !ferror(f)) {
        // A file that ends in comments still gives a value line: the one read
        // last, empty after a line end. It scans as nothing, except as the data
        // file line, which then names the directory and fails to classify.
        SkipCommentLines(f, line);
        ++count;
        switch (count) {
        case kLineDataFile: {
            char name[1024] = "";
            ScanKeeping(line, "%1023s", name);
            dataFile = name;
            // Relative names in a condition file refer to the file's own directory.
            IO::toAbsolutePath(dataFile, path);
            fileType = check_format(dataFile.c_str());
            if (fileType == kTypeUnsupported) return false;
            break;
        }
        case kLineNegativeType: {
            int negative = 0;
            ScanKeeping(line, "%d", &negative);
            if (isMEMDataSet(fileType)) fileType += negative;
            break;
        }
        case kLineStartType: ScanKeeping(line, "%d", &startType); break;
        case kLineAlgorithm: ScanKeeping(line, "%d", &algorithm); break;
        case kLineLMType: ScanKeeping(line, "%d", &LM_type); break;
        case kLineLambda:
            // A third number, written by hand only, weights by multiplicity.
            ScanKeeping(line, "%lf %lf %lf", &lambda, &weightPowerD, &weightPowerM);
            initialLambda = lambda;
            break;
        case kLineCoefT: ScanKeeping(line, "%f", &coefT); break;
        case kLineCoefE: ScanKeeping(line, "%f", &coefE); break;
        case kLineFeedback: ScanKeeping(line, "%d", &feedbackOutput); break;
        case kLineEps: ScanKeeping(line, "%d", &epsOutput); break;
        case kLineMaxCycles: ScanKeeping(line, "%d", &maxCycles); break;
        case kLineFractions:
            ScanKeeping(line, kFractionsFormat, &lambdaFraction[0], &lambdaFraction[1], &lambdaFraction[2],
                        &lambdaFraction[3], &lambdaFraction[4], &lambdaFraction[5], &lambdaFraction[6],
                        &lambdaFraction[7]);
            break;
        case kLinePrior: ScanKeeping(line, "%d", &priorType); break;
        case kLineResolution: ScanKeeping(line, "%lf", &gridResolution); break;
        default: break;  // output names, dummies, and anything after the resolution
        }
    }
    SetFileNames();
    return true;
}

bool MEMParam::WriteConditions() {
    condFile = withoutExtension(dataFile) + ".prf";
    IO::File file(fopen(condFile.c_str(), "w"));
    FILE* f = file.get();
    if (!f) {
        IO::Printf("Failed to write in %s\n", condFile.c_str());
        return false;
    }
    // The data file is named relative to the condition file, so that the two
    // can be moved together.
    std::string relative = dataFile;
    IO::toRelativePath(relative, condFile);
    const std::string relativeBase = withoutExtension(relative);
    const int negative = (fileType == kTypeMEMNegative || fileType == kTypeMEPNegative) ? 1 : 0;

    fprintf(f, "$PREFERENCES\n\n");
    fprintf(f, "%s\n", _option_text[0]);
    fprintf(f, "%s\n", relative.c_str());
    fprintf(f, "%s.out\n", relativeBase.c_str());
    fprintf(f, "%s.pgrid\n", relativeBase.c_str());
    fprintf(f, "%s.fba\n", relativeBase.c_str());
    fprintf(f, "%s_eps.raw\n\n", relativeBase.c_str());
    fprintf(f, "%s\n%d\n\n", _option_text[1], negative);
    fprintf(f, "%s\n%d\n\n", _option_text[2], startType);
    fprintf(f, "%s\n%d\n\n", _option_text[3], algorithm);
    fprintf(f, "%s\n%d\n\n", _option_text[4], 1);
    fprintf(f, "%s\n", _option_text[5]);
    fprintf(f, "# 0. The value written in this file.\n");
    fprintf(f, "# 1. The value calculated by Halvorin.\n");
    fprintf(f, "# 2. The value written in the MEM data set file.\n");
    fprintf(f, "%d\n\n", LM_type);
    fprintf(f, "%s%s\n", _option_text[6], " (dummy if LM_type = 1 or 2), and");
    fprintf(f, "%s\n%g %g\n\n", _option_text[7], lambda, weightPowerD);
    fprintf(f, "%s\n%g\n\n", _option_text[8], coefT);
    fprintf(f, "%s\n%g\n\n", _option_text[9], coefE);
    fprintf(f, "%s\n%d\n\n", _option_text[10], feedbackOutput);
    fprintf(f, "%s\n%d\n\n", _option_text[11], epsOutput);
    fprintf(f, "%s\n%d\n\n", _option_text[15], maxCycles);
    fprintf(f, "# Save output files (dummy)\n1\n\n");
    fprintf(f, "%s\n%g %g %g %g %g %g %g %g\n\n", _option_text[12], lambdaFraction[0], lambdaFraction[1],
            lambdaFraction[2], lambdaFraction[3], lambdaFraction[4], lambdaFraction[5], lambdaFraction[6],
            lambdaFraction[7]);
    fprintf(f, "%s\n%d\n\n", _option_text[13], priorType);
    const bool written = !ferror(f);
    // Closed here rather than by the owner, because a failed close can lose what was written.
    if (fclose(file.release()) != 0 || !written) {
        IO::Printf("Failed to write in %s\n", condFile.c_str());
        return false;
    }
    return true;
}

bool MEMParam::UseDataFile(const std::string& path) {
    const bool negative = fileType == kTypeMEMNegative || fileType == kTypeMEPNegative;
    dataFile = path;
    fileType = check_format(dataFile.c_str());
    if (negative && isMEMDataSet(fileType)) ++fileType;
    SetFileNames();
    return fileType != kTypeUnsupported;
}

bool MEMParam::InputConditions(const char* name) {
    if (name) {
        dataFile = name;
    } else {
        puts(_option_text[0]);
        get_line_mb(dataFile, stdin);
    }
    std::vector<char> unquoted(dataFile.size() + 1);
    IO::omitQuotation(dataFile.c_str(), unquoted.data());
    dataFile = unquoted.data();
    // An empty name (also the end of input at the first question) names no file,
    // whatever dots the working directory may hold.
    const bool named = !dataFile.empty();
    IO::toAbsolutePath(dataFile, workDir);

    const int code = named ? check_format(dataFile.c_str()) : kTypeUnsupported;
    if (code == kTypeUnsupported) {
        fileType = kTypeUnsupported;
        return false;
    }
    if (code == kTypeCondition || code == kTypeOldCondition) return ReadConditions(dataFile);
    fileType = code;
    // A mistyped name is better told before the questions than after the last.
    if (!IO::Readable(dataFile)) return false;
    if (code == kTypeMEM) {
        int negative = 0;
        askInt(_option_text[1], negative);
        fileType += negative;
    }

    askQuestions();
    SetFileNames();
    if (savePreferences) WriteConditions();  // a failure is reported and the run goes on
    return true;
}

void MEMParam::askQuestions() {
    askInt(_option_text[2], startType);
    askInt(_option_text[3], algorithm);
    if (algorithm == 0) {
        printf("\n%s\n", _option_text[5]);
        puts("# 0. The value input by user.");
        puts("# 1. The value calculated by Halvorin.");
        puts("# 2. The value written in the MEM data set file.");
        ScanKeeping(answer(std::to_string(LM_type)).c_str(), "%d", &LM_type);
        if (LM_type == 0) askDouble(_option_text[6], lambda);
    }
    askDouble(_option_text[7], weightPowerD);
    if (algorithm == 0) askFloat(_option_text[8], coefT);
    askFloat(_option_text[9], coefE);
    askInt(_option_text[10], feedbackOutput);
    askInt(_option_text[11], epsOutput);
    std::string kept = asText(lambdaFraction[0]);
    for (int k = 1; k < 8; ++k) kept += " " + asText(lambdaFraction[k]);
    const std::string fractions = ask(_option_text[12], kept);
    ScanKeeping(fractions.c_str(), kFractionsFormat, &lambdaFraction[0], &lambdaFraction[1],
                &lambdaFraction[2], &lambdaFraction[3], &lambdaFraction[4], &lambdaFraction[5],
                &lambdaFraction[6], &lambdaFraction[7]);
    if (algorithm != 0) askInt(_option_text[13], priorType);
    askInt(_option_text[14], savePreferences);
    askInt(_option_text[15], maxCycles);
}
