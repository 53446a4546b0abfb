// The command line of the map companion.
#pragma once

#include <string>
#include <vector>

#include "map/CellDensity.h"
#include "map/Section.h"

struct MapOptions {
    std::string input;
    std::vector<std::string> maps;  // map files, format by extension
    std::string png;
    PlaneChoice plane;
    bool logarithmic = false;
    int pictureSize = 480;
    Channel channel = Channel::Total;
    int nPeaks = 10;
    bool quiet = false;
    bool help = false;
};

// Throws MapError for an unknown option, a missing or malformed value, or a
// missing input file.
MapOptions ParseMapOptions(int argc, char** argv);

extern const char* const kMapUsage;
