// halvorin-summary: one line per analysis of a series, from the reports of its runs.
#include <unistd.h>

#include <cstdio>
#include <string>
#include <vector>

#include "util/IO.h"
#include "summary/ReportSummary.h"
#include "summary/SummaryTable.h"

namespace {

const char* const kUsage =
    "Usage: halvorin-summary [--csv] REPORT.out...\n"
    "\n"
    "Prints one line per analysis, from the reports that halvorin writes beside\n"
    "each data set: data set, algorithm, cycles, CONSTR, RF, wRF, whether the\n"
    "constraints were satisfied, and the elapsed seconds. Data sets are named\n"
    "relative to the working directory.\n"
    "\n"
    "Options:\n"
    "  --csv        comma-separated values with a header line, for spreadsheets\n"
    "               and scripts\n"
    "  -h, --help   this text\n"
    "\n"
    "A report that cannot be read, or of a run that has not ended, is named on\n"
    "standard error; the others are listed, and the exit status is 1. A usage\n"
    "error gives status 2.\n"
    "\n"
    "Examples:\n"
    "  halvorin-summary series/*.out\n"
    "  halvorin-summary --csv series/*.out > series.csv\n";

struct SummaryOptions {
    std::vector<std::string> reports;
    bool csv = false;
    bool help = false;
};

// Returns false, after a one-line message, for a command line that cannot be used.
bool parse(int argc, char** argv, SummaryOptions& o) {
    bool optionsEnded = false;
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        if (optionsEnded || arg.size() < 2 || arg[0] != '-')
            o.reports.push_back(arg);
        else if (arg == "--")
            optionsEnded = true;
        else if (arg == "--csv")
            o.csv = true;
        else if (arg == "-h" || arg == "--help")
            o.help = true;
        else {
            fprintf(stderr, "halvorin-summary: unknown option %s (see --help)\n", arg.c_str());
            return false;
        }
    }
    if (o.reports.empty() && !o.help) {
        fprintf(stderr, "halvorin-summary: no report given (see --help)\n");
        return false;
    }
    return true;
}

std::string workingDirectory() {
    char buf[4096];
    return getcwd(buf, sizeof buf) ? std::string(buf) + "/" : "";
}

}  // namespace

int main(int argc, char** argv) {
    SummaryOptions o;
    if (!parse(argc, argv, o)) return 2;
    if (o.help) {
        fputs(kUsage, stdout);
        return 0;
    }
    const std::string cwd = workingDirectory();
    std::vector<AnalysisSummary> rows;
    int status = 0;
    for (const std::string& path : o.reports) {
        try {
            rows.push_back(ReadReportSummary(path));
            if (!cwd.empty() && rows.back().dataSet[0] == '/') IO::toRelativePath(rows.back().dataSet, cwd);
        } catch (const SummaryError& e) {
            fprintf(stderr, "halvorin-summary: %s\n", e.what());
            status = 1;
        }
    }
    if (o.csv)
        WriteSummaryCsv(stdout, rows);
    else
        WriteSummaryText(stdout, rows);
    return status;
}
