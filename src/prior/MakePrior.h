// The whole run of the prior companion: model and data read, settings matched, density computed and written.
#pragma once

#include <cstdio>

#include "prior/AnalysisGrid.h"
#include "prior/PriorOptions.h"

// Needs the space-group table loaded. Prints its summary to `out` (null: none).
// Throws PriorError, with nothing written, for any input it cannot use.
PriorWritten MakePrior(const PriorOptions& options, FILE* out);
