// The figures of one finished analysis, read from its report (.out).
#pragma once

#include <stdexcept>
#include <string>

// A report that cannot be read or lacks a figure of a finished analysis.
class SummaryError : public std::runtime_error {
public:
    explicit SummaryError(const std::string& message) : std::runtime_error(message) {}
};

// Numbers are kept as the report prints them, so that nothing is rounded twice.
struct AnalysisSummary {
    std::string dataSet;    // the data file the report names
    std::string algorithm;  // short name: ZSPA, L-BFGS, Cambridge, testing, ...
    std::string cycles;
    std::string constr;  // CONSTR at the end
    std::string rf;
    std::string wrf;
    bool satisfied = false;  // the report's verdict on the constraints
    std::string seconds;     // total elapsed time
};

// Reads the report at `path`. Throws SummaryError naming what is missing.
AnalysisSummary ReadReportSummary(const std::string& path);
