// Reading the closing figures of a report: the data file, the algorithm's label
// in the settings block, and the result block after "End of MEM analysis".
#include "summary/ReportSummary.h"

#include <fstream>
#include <sstream>

namespace {

std::string trimmed(const std::string& s) {
    const size_t first = s.find_first_not_of(" \t\r");
    if (first == std::string::npos) return "";
    return s.substr(first, s.find_last_not_of(" \t\r") - first + 1);
}

// The word after `key` in `line`, e.g. the value after "RF =".
std::string valueAfter(const std::string& line, const std::string& key) {
    const size_t at = line.find(key);
    if (at == std::string::npos) return "";
    std::istringstream rest(line.substr(at + key.size()));
    std::string word;
    rest >> word;
    return word;
}

// The labels of the report are sentences; a table wants the usual short names.
std::string shortAlgorithmName(const std::string& label) {
    const size_t open = label.find('('), close = label.find(')');
    if (open != std::string::npos && close != std::string::npos && close > open + 1)
        return label.substr(open + 1, close - open - 1);  // "... (ZSPA) algorithm"
    if (label.find("BFGS") != std::string::npos) return "L-BFGS";
    if (label == "Testing algorithm") return "testing";
    std::string name = label;
    if (name.compare(0, 4, "The ") == 0) name.erase(0, 4);
    const std::string suffix = " algorithm";
    if (name.size() > suffix.size() && name.compare(name.size() - suffix.size(), suffix.size(), suffix) == 0)
        name.erase(name.size() - suffix.size());
    return name;
}

void require(bool found, const std::string& path, const char* what) {
    if (!found) throw SummaryError(path + ": not a finished report (no " + what + ")");
}

}  // namespace

AnalysisSummary ReadReportSummary(const std::string& path) {
    std::ifstream in(path);
    if (!in) throw SummaryError(path + ": cannot be opened");
    AnalysisSummary s;
    bool labelNext = false, result = false, verdict = false;
    std::string line;
    while (std::getline(in, line)) {
        const std::string text = trimmed(line);
        if (text.find("List of structure factors") != std::string::npos) break;
        if (text.compare(0, 19, "MEM data set file: ") == 0)
            s.dataSet = text.substr(19);
        else if (text.find("in the unit cell (neutron diffraction):") == 0)
            labelNext = true;
        else if (labelNext && !text.empty()) {
            s.algorithm = shortAlgorithmName(text);
            labelNext = false;
        } else if (text.find("End of MEM analysis") != std::string::npos)
            result = true;
        else if (!result)
            continue;
        else if (text.compare(0, 18, "Number of cycles =") == 0)
            s.cycles = valueAfter(text, "=");
        else if (text.compare(0, 8, "CONSTR =") == 0) {
            s.constr = valueAfter(text, "CONSTR =");
            s.rf = valueAfter(text, "RF =");
        } else if (text.compare(0, 9, "wCONSTR =") == 0)
            s.wrf = valueAfter(text, "wRF =");
        else if (text == "The constraints have been satisfied.")
            verdict = s.satisfied = true;
        else if (text == "The constraints have not been satisfied.")
            verdict = true;
        else if (text.compare(0, 20, "Total Elapsed time =") == 0)
            s.seconds = valueAfter(text, "=");
    }
    require(!s.dataSet.empty(), path, "data set file");
    require(!s.algorithm.empty(), path, "algorithm");
    require(result, path, "end of the analysis");
    require(!s.cycles.empty(), path, "number of cycles");
    require(!s.constr.empty() && !s.rf.empty(), path, "CONSTR and RF");
    require(!s.wrf.empty(), path, "wRF");
    require(verdict, path, "verdict");
    require(!s.seconds.empty(), path, "elapsed time");
    return s;
}
