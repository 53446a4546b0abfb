// Parsing of the companion's options, and its help text.
#include "map/MapOptions.h"

#include <cmath>
#include <cstdlib>

#include "map/MapError.h"
#include "map/MapFormats.h"

const char* const kMapUsage =
    "Usage: halvorin-map GRID.pgrid [options]\n"
    "\n"
    "Reads a density grid written by halvorin, expands its asymmetric unit to the\n"
    "whole cell with the symmetry operators stored in the file, prints a summary\n"
    "(range, total charge, highest peaks) and writes the maps asked for.\n"
    "\n"
    "Options:\n"
    "  -o, --output FILE    write the whole-cell map; the format follows the extension:\n"
    "                       .ccp4, .map, .mrc  CCP4/MRC-2014 (float32, space group, statistics)\n"
    "                       .cube              Gaussian cube (bohr, density per bohr^3)\n"
    "                       .xsf               XCrySDen XSF (angstrom, per angstrom^3)\n"
    "                       may be given more than once\n"
    "  --png FILE           write a picture of a section through the cell\n"
    "  --plane PLANE        the section's lattice plane: h,k,l (also \"h k l\" or \"1-10\"),\n"
    "                       or a cell face: ab, bc, ca (default ab)\n"
    "  --offset D           the plane h x + k y + l z = D, x y z fractional (default 0)\n"
    "  --log                logarithmic colour scale over five decades\n"
    "  --size PIXELS        longer side of the picture's plot area (default 480)\n"
    "  --channel CH         total, positive or negative density of a two-channel\n"
    "                       (neutron) grid, for maps, picture and peaks (default total)\n"
    "  --peaks N            number of peaks listed (default 10)\n"
    "  -q, --quiet          no summary\n"
    "  -h, --help           this text\n"
    "\n"
    "Densities are per cubic angstrom, as in the grid file; the total charge is the\n"
    "density integrated over the cell (F(000) of the data set).\n"
    "\n"
    "Examples:\n"
    "  halvorin-map rutile.pgrid\n"
    "  halvorin-map rutile.pgrid -o rutile.ccp4 -o rutile.xsf\n"
    "  halvorin-map rutile.pgrid --png rutile_110.png --plane 1,1,0 --log\n"
    "  halvorin-map rutile_n.pgrid --channel negative -o ti.mrc\n";

namespace {

double ParseNumber(const std::string& option, const char* text) {
    char* end = nullptr;
    const double value = strtod(text, &end);
    if (end == text || *end != '\0' || !std::isfinite(value))
        throw MapError("option " + option + " needs a number, not '" + text + "'");
    return value;
}

int ParseCount(const std::string& option, const char* text, int lowest, int highest) {
    const double value = ParseNumber(option, text);
    if (value != std::floor(value) || value < lowest || value > highest)
        throw MapError("option " + option + " needs a whole number from " + std::to_string(lowest) + " to " +
                       std::to_string(highest));
    return static_cast<int>(value);
}

Channel ParseChannel(const std::string& text) {
    if (text == "total") return Channel::Total;
    if (text == "positive" || text == "plus") return Channel::Positive;
    if (text == "negative" || text == "minus") return Channel::Negative;
    throw MapError("unknown channel '" + text + "' (total, positive or negative)");
}

}  // namespace

MapOptions ParseMapOptions(int argc, char** argv) {
    MapOptions o;
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        auto value = [&]() -> const char* {
            if (i + 1 >= argc) throw MapError("option " + arg + " needs a value");
            return argv[++i];
        };
        if (arg == "-h" || arg == "--help")
            o.help = true;
        else if (arg == "-q" || arg == "--quiet")
            o.quiet = true;
        else if (arg == "--log")
            o.logarithmic = true;
        else if (arg == "-o" || arg == "--output") {
            o.maps.push_back(value());
            if (FormatOfPath(o.maps.back()) == MapFormat::Unknown)
                throw MapError("unknown map format of " + o.maps.back() +
                               " (use .ccp4, .map, .mrc, .cube or .xsf)");
        } else if (arg == "--png")
            o.png = value();
        else if (arg == "--plane")
            o.plane.hkl = ParsePlane(value());
        else if (arg == "--offset") {
            o.plane.offset = ParseNumber(arg, value());
            if (std::fabs(o.plane.offset) > 1e6) throw MapError("option --offset out of range");
        } else if (arg == "--size")
            o.pictureSize = ParseCount(arg, value(), 32, 4096);
        else if (arg == "--channel")
            o.channel = ParseChannel(value());
        else if (arg == "--peaks")
            o.nPeaks = ParseCount(arg, value(), 0, 10000);
        else if (arg.size() > 1 && arg[0] == '-')
            throw MapError("unknown option " + arg + " (see --help)");
        else if (o.input.empty())
            o.input = arg;
        else
            throw MapError("more than one grid file given");
    }
    if (o.input.empty() && !o.help) throw MapError("no grid file given (see --help)");
    return o;
}
