// The settings of one MEM analysis and the paths of all its files; read from and written to the condition file.
#pragma once

#include <string>

// Texts of the dialogue questions. Every line begins with '#', so the same texts
// stand as comments above the values of a condition file.
extern const char* const _option_text[16];

class MEMParam {
public:
    MEMParam();

    // Reads a condition file (.prf, or the older .omra). False when the file cannot
    // be opened or names a data file of unknown type (then fileType is -1).
    bool ReadConditions(const std::string& path);
    // Writes the condition file <base>.prf beside the data file. False when it
    // cannot be created.
    bool WriteConditions();
    // Fills the settings by questions on the console. A null `name` asks for the
    // data file first. A condition file named here is read instead. False, with
    // nothing more asked, when the data file cannot be opened: the caller says so.
    // Each question shows the value that an empty answer keeps.
    bool InputConditions(const char* name);
    // Points the settings of a template condition file at another data set: its
    // type follows the extension, the template's negative-scattering choice
    // carries over to MEM data sets, and the outputs go beside it. False when
    // the type is not supported (fileType is then -1).
    bool UseDataFile(const std::string& path);
    // Derives the output names from dataFile. Always true.
    bool SetFileNames();

    int fileType;              // file type code of the data file; -1 = not supported
    int estimateUnobserved;    // non-zero: generate and estimate unobserved reflections
    int startType;             // 0: uniform start; 1: restart from the grid file
    int priorType;             // 0: uniform prior; 1: prior from <base>_prior.pgrid
    int algorithm;             // 0: ZSPA; 1: L-BFGS; 2: Cambridge; 3: ZSPA then Cambridge; 4: dual Newton
    int LM_type;               // stated source of the initial multiplier (kept, not used)
    double lambda;             // starting Lagrangian multiplier; the live one is MEMData::lambda
    double weightPowerD;       // exponent x of the weighting by lattice-plane spacing
    double weightPowerM;       // exponent of the weighting by multiplicity
    double lambdaFraction[8];  // fractions of lambda for the constraints of order 2, 4, ..., 16
    double initialLambda;      // lambda as read from the condition or data file
    double gridResolution;     // voxel edge in angstrom when the data file gives no grid
    double convergenceLimit;   // limit on CONSTR - 1
    float coefT;               // relative growth of lambda per accepted ZSPA cycle
    float coefE;               // E in the weights E / sigma^2
    int entropyOrder;          // highest order of the constraint on powers of the density
    int feedbackOutput;        // 0: .fba with individual F; 1: with all F; 2: no .fba
    int epsOutput;             // 0: write _eps.raw; 1: do not (kept, not used)
    int savePreferences;       // non-zero: the dialogue ends by writing the condition file
    int maxCycles;             // cycle limit of all optimisers
    std::string workDir;       // working directory at start
    std::string condFile;      // the condition file written
    std::string dataFile;      // absolute path of the data set
    std::string gridFile;      // <base>.pgrid
    std::string outFile;       // <base>.out
    std::string feedbackFile;  // <base>.fba
    std::string epsFile;       // <base>_eps.raw
    bool printEveryCycle;      // progress of every cycle, not only each tenth

private:
    void resetWeighting();
    void askQuestions();
};
