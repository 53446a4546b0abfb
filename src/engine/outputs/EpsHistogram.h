// Histogram of the normalised residuals (|Fobs| - |Fcalc|) / sigma, in bins of 0.1.
#pragma once

#include <string>
#include <vector>

// Fills `histogram` with pairs (label, count), the label being ten times the
// bin centre, so that 13 stands for 1.3. The bins run from one below the
// smallest residual's bin to one above the largest, so an empty bin stands at
// each end. Without any finite residual the histogram keeps what it held.
void BuildEpsHistogram(const float* eps, int n, std::vector<int>& histogram);

// Writes one line "<label / 10>, <count>" per pair. Returns 0, or 1 after
// "Failed to write <path>" when the file cannot be written.
int WriteEpsHistogram(const std::string& path, const std::vector<int>& histogram);
