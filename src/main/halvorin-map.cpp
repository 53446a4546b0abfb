// halvorin-map: a density grid file turned into the maps and pictures that viewers show.
#include <cstdio>
#include <exception>

#include "map/CellDensity.h"
#include "map/MapError.h"
#include "map/MapFormats.h"
#include "map/MapOptions.h"
#include "map/MapSummary.h"
#include "map/PgridContent.h"
#include "map/SectionPicture.h"

namespace {

void WritePicture(const MapOptions& o, const CellDensity& density, const std::vector<float>& values) {
    const Section section = MakeSection(density, o.plane);
    PictureOptions options;
    options.size = o.pictureSize;
    options.logarithmic = o.logarithmic;
    options.title = density.title;
    PictureLayout l;
    const RgbImage image = DrawSection(density, values, section, options, l);
    image.WritePng(o.png);
    if (o.quiet) return;
    printf(
        "Picture:       %s, %d x %d pixels; plot area columns %d..%d, rows %d..%d, "
        "X %.4f..%.4f A, Y %.4f..%.4f A\n",
        o.png.c_str(), image.width(), image.height(), l.plotLeft, l.plotLeft + l.plotWidth - 1, l.plotTop,
        l.plotTop + l.plotHeight - 1, section.xMin, section.xMax, section.yMin, section.yMax);
}

// Problems of the input are told with its name; those of an output name the output.
CellDensity ReadDensity(const std::string& path) {
    try {
        return ExpandToCell(ReadPgridContent(path));
    } catch (const MapError& e) {
        throw MapError(path + ": " + e.what());
    }
}

int Run(const MapOptions& o) {
    const CellDensity density = ReadDensity(o.input);
    if (!o.quiet) PrintSummary(stdout, o.input, density, o.channel, o.nPeaks);
    const std::vector<float> values = density.Values(o.channel);
    if (!o.quiet && (!o.maps.empty() || !o.png.empty())) printf("\n");
    for (const std::string& path : o.maps) {
        WriteMapFile(path, density, values);
        if (!o.quiet) printf("Map:           %s\n", path.c_str());
    }
    if (!o.png.empty()) WritePicture(o, density, values);
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    MapOptions options;
    try {
        options = ParseMapOptions(argc, argv);
    } catch (const MapError& e) {
        fprintf(stderr, "halvorin-map: %s\n", e.what());
        return 2;
    }
    if (options.help) {
        fputs(kMapUsage, stdout);
        return 0;
    }
    try {
        return Run(options);
    } catch (const std::exception& e) {
        fprintf(stderr, "halvorin-map: %s\n", e.what());
    }
    return 1;
}
