// The text report <base>.out and the histogram <base>_eps.raw beside it.
#pragma once

class MEMData3D;

// Writes the report of the analysis as it stands (data, settings, results and
// the lists of structure factors) to param.outFile, replacing it whole, then
// the histogram of normalised residuals to param.epsFile. Returns the number
// of files that failed, each told through IO::PrintError.
int WriteOut(MEMData3D& d);
