// One line per analysis, as an aligned text table or as CSV.
#pragma once

#include <cstdio>
#include <vector>

#include "summary/ReportSummary.h"

// Columns: data set, algorithm, cycles, CONSTR, RF, wRF, satisfied (yes/no), seconds.
void WriteSummaryText(FILE* f, const std::vector<AnalysisSummary>& rows);
// The same columns with a header line, quoted where a field needs it (RFC 4180).
void WriteSummaryCsv(FILE* f, const std::vector<AnalysisSummary>& rows);
