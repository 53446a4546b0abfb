// Parsing of the prior companion's options, and its help text.
#include "prior/PriorOptions.h"

#include <cmath>
#include <cstdlib>

#include "prior/PriorError.h"

const char* const kPriorUsage =
    "Usage: halvorin-prior MODEL DATA [options]\n"
    "\n"
    "Writes the prior density of a maximum-entropy analysis: the independent-atom\n"
    "(procrystal) density of a refined model, blended with a uniform density, on\n"
    "exactly the grid and asymmetric unit that halvorin builds for DATA. The file\n"
    "is <base>_prior.pgrid beside the data set, which an analysis with prior type 1\n"
    "reads.\n"
    "\n"
    "  MODEL   the refined structure: CIF (_atom_site_* with occupancies and\n"
    "          isotropic or anisotropic displacements) or SHELX .res / .ins\n"
    "  DATA    the analysis's condition file (.prf) or data set (.mem, .fcf, ...)\n"
    "\n"
    "Options:\n"
    "  -w, --uniform-fraction W  uniform part of the prior, 0 to 1 (default 0.35):\n"
    "                       prior = (1 - W) procrystal + W uniform, each scaled to\n"
    "                       F(000). W = 0 is the pure procrystal density, which\n"
    "                       hides charge the model lacks; W = 1 is the flat prior\n"
    "  --neutron            nuclear density from neutron scattering lengths; a\n"
    "                       .mem data set then has two F(000) totals when the model\n"
    "                       holds a negative scattering length (implied by a\n"
    "                       two-channel .prf)\n"
    "  -q, --quiet          no summary\n"
    "  -h, --help           this text\n"
    "\n"
    "A model in another origin of the data's space group is moved to the data's\n"
    "origin (the change of basis is printed); a model of another group, or with a\n"
    "cell that differs by more than 1 % or 0.5 degrees, is refused.\n"
    "\n"
    "Examples:\n"
    "  halvorin-prior rutile.cif rutile.prf\n"
    "  halvorin-prior model.res data.fcf --uniform-fraction 0.5\n"
    "  halvorin-prior rutile_n.cif rutile_n.prf --neutron\n";

namespace {

double ParseFraction(const std::string& option, const char* text) {
    char* end = nullptr;
    const double value = strtod(text, &end);
    if (end == text || *end != '\0' || !std::isfinite(value))
        throw PriorError("option " + option + " needs a number, not '" + text + "'");
    if (value < 0.0 || value > 1.0) throw PriorError("option " + option + " needs a number from 0 to 1");
    return value;
}

}  // namespace

PriorOptions ParsePriorOptions(int argc, char** argv) {
    PriorOptions o;
    int positional = 0;
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        auto value = [&]() -> const char* {
            if (i + 1 >= argc) throw PriorError("option " + arg + " needs a value");
            return argv[++i];
        };
        if (arg == "-h" || arg == "--help")
            o.help = true;
        else if (arg == "-q" || arg == "--quiet")
            o.quiet = true;
        else if (arg == "--neutron")
            o.neutron = true;
        else if (arg == "-w" || arg == "--uniform-fraction")
            o.uniformFraction = ParseFraction(arg, value());
        else if (arg.rfind("--uniform-fraction=", 0) == 0)
            o.uniformFraction = ParseFraction("--uniform-fraction", arg.c_str() + 19);
        else if (arg.size() > 1 && arg[0] == '-')
            throw PriorError("unknown option " + arg + " (see --help)");
        else if (positional == 0)
            o.model = arg, ++positional;
        else if (positional == 1)
            o.data = arg, ++positional;
        else
            throw PriorError("more than a model and a data file given");
    }
    if (!o.help && positional < 2) throw PriorError("a model and a data file are needed (see --help)");
    return o;
}
