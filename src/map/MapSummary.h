// What the console shows of a density: its range, its total and its highest peaks.
#pragma once

#include <array>
#include <cstdio>
#include <string>
#include <vector>

#include "map/CellDensity.h"

struct ChannelStatistics {
    double minimum = 0, maximum = 0, mean = 0;
    double charge = 0;  // the density integrated over the cell
};

ChannelStatistics Statistics(const CellDensity& density, const std::vector<float>& values);

// A local extreme of the density: a maximum above zero or a minimum below it.
struct Peak {
    std::array<double, 3> frac;  // fractional coordinates, refined between the grid points
    double value;                // at the grid point
    int multiplicity;            // grid points of its orbit
};

// The `count` largest extremes by magnitude, one of every orbit, taken at the
// asymmetric-unit voxels of the file.
std::vector<Peak> FindPeaks(const CellDensity& density, const std::vector<float>& values, int count);

// The summary printed by the command.
void PrintSummary(FILE* out, const std::string& path, const CellDensity& density, Channel peakChannel,
                  int nPeaks);
