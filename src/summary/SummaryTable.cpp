// The two forms of the summary: a table for reading and CSV for spreadsheets and scripts.
#include "summary/SummaryTable.h"

#include <algorithm>
#include <array>
#include <string>

namespace {

constexpr size_t kColumns = 8;
using Row = std::array<std::string, kColumns>;

const Row kHeader = {"data set", "algorithm", "cycles", "CONSTR", "RF", "wRF", "satisfied", "seconds"};

Row fields(const AnalysisSummary& s) {
    return {s.dataSet, s.algorithm, s.cycles, s.constr, s.rf, s.wrf, s.satisfied ? "yes" : "no", s.seconds};
}

std::string csvField(const std::string& text) {
    if (text.find_first_of(",\"\r\n") == std::string::npos) return text;
    std::string quoted = "\"";
    for (char c : text) quoted += c == '"' ? std::string("\"\"") : std::string(1, c);
    return quoted + "\"";
}

}  // namespace

void WriteSummaryText(FILE* f, const std::vector<AnalysisSummary>& rows) {
    std::vector<Row> table = {kHeader};
    for (const AnalysisSummary& s : rows) table.push_back(fields(s));
    std::array<size_t, kColumns> width{};
    for (const Row& row : table)
        for (size_t c = 0; c < kColumns; ++c) width[c] = std::max(width[c], row[c].size());
    // Names and words to the left, numbers to the right.
    for (const Row& row : table) {
        for (size_t c = 0; c < kColumns; ++c) {
            const bool left = c == 0 || c == 1 || c == 6;
            const int w = static_cast<int>(width[c]);
            fprintf(f, c == 0 ? "%-*s" : left ? "  %-*s" : "  %*s", w, row[c].c_str());
        }
        fprintf(f, "\n");
    }
}

void WriteSummaryCsv(FILE* f, const std::vector<AnalysisSummary>& rows) {
    std::vector<Row> table = {kHeader};
    for (const AnalysisSummary& s : rows) table.push_back(fields(s));
    for (const Row& row : table) {
        for (size_t c = 0; c < kColumns; ++c) fprintf(f, "%s%s", c ? "," : "", csvField(row[c]).c_str());
        fprintf(f, "\n");
    }
}
