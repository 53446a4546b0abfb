// A colour-mapped picture of a section with contour lines, a colour bar and labelled axes.
#pragma once

#include <string>
#include <vector>

#include "map/CellDensity.h"
#include "map/RgbImage.h"
#include "map/Section.h"

struct PictureOptions {
    int size = 480;  // pixels along the longer side of the plot area
    bool logarithmic = false;
    std::string title;  // a second heading line, such as the data set's title
};

// Where the plot lies in the picture: pixel column plotLeft + i shows plane
// coordinate X = section.xMin + (i + 0.5) / pixelsPerAngstrom, pixel row
// plotTop + j shows Y = section.yMax - (j + 0.5) / pixelsPerAngstrom.
struct PictureLayout {
    int plotLeft = 0, plotTop = 0, plotWidth = 0, plotHeight = 0;
    double pixelsPerAngstrom = 0;
    int barLeft = 0;  // the colour bar's first column
};

RgbImage DrawSection(const CellDensity& density, const std::vector<float>& values, const Section& section,
                     const PictureOptions& options, PictureLayout& layout);
