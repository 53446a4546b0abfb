// Reader of the .fos data set format: the .mem layout with counts from which the weights are formed.
#pragma once

#include <string>

class MEMData3D;

// Reads the data set at `path` into the analysis, as ReadMEM does, with the
// weights formed from the counts and the uncertainty of the scale factor.
bool ReadFOS(MEMData3D& mem, const std::string& path);
