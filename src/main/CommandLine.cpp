// Parsing of the driver's options, and its help text.
#include "main/CommandLine.h"

#include "util/FileType.h"

const char* const kDriverUsage =
    "Usage: halvorin [DATA | CONDITIONS.prf | CONTROL.alb]\n"
    "       halvorin --conditions TEMPLATE.prf DATA\n"
    "\n"
    "Computes the maximum-entropy density of a crystal from phased structure\n"
    "factors. With a data set the program asks for the settings on the console\n"
    "(an empty answer takes the default shown as \"(Enter: N)\"); with a condition\n"
    "file it asks nothing; with no argument it asks for the file name first.\n"
    "\n"
    "Input, by extension (upper or lower case):\n"
    "  .mem, .mep       MEM data set (.mep: unobserved reflections are estimated)\n"
    "  .fcf             reflection file of a structure refinement (CIF)\n"
    "  .fos, .BayMEM    other data set formats\n"
    "  .alb             control file of a Patterson analysis: names an .ffo list\n"
    "                   or an unphased .fcf (F squared), gives what it lacks\n"
    "  .prf             condition file: the data set and every setting\n"
    "\n"
    "Outputs, beside the data set (BASE is its path without the extension):\n"
    "  BASE.out         report: settings, result, verdict, all structure factors\n"
    "  BASE.pgrid       density grid (restart, prior, input of halvorin-map)\n"
    "  BASE.fba         calculated structure factors (feedback file)\n"
    "  BASE_eps.raw     histogram of the normalised residuals\n"
    "  BASE.prf         the answers of the dialogue, when asked to save them\n"
    "\n"
    "Options:\n"
    "  -c, --conditions TEMPLATE.prf DATA\n"
    "                   run DATA with the settings of TEMPLATE.prf; the outputs go\n"
    "                   beside DATA, so one template serves a whole series\n"
    "  -h, --help       this text\n"
    "  --version        version, build, FFTW and the number of threads\n"
    "\n"
    "The settings and the condition file are described in the README (section\n"
    "\"Settings\"); a condition file written by the program explains each value in\n"
    "its comments. OMP_NUM_THREADS limits the threads of one analysis.\n"
    "\n"
    "Exit status: 0 when the analysis ran to its end (the verdict on the\n"
    "constraints stands in the report), 1 when an input could not be read or\n"
    "used, 2 for a usage error. After a failure the program waits for Enter only\n"
    "when standard input is a terminal.\n"
    "\n"
    "Examples:\n"
    "  halvorin rutile.prf\n"
    "  halvorin zno.mem < /dev/null            every question takes its default\n"
    "  halvorin --conditions series.prf rutile_300K.fcf\n"
    "  OMP_NUM_THREADS=1 parallel halvorin -c series.prf {} '>' {.}.log ::: *.fcf\n"
    "  halvorin-summary *.out\n";

namespace {

bool isOption(const std::string& arg) { return arg.size() > 1 && arg[0] == '-'; }

bool isConditionFile(const std::string& path) {
    const int type = check_format(path.c_str());
    return type == kTypeCondition || type == kTypeOldCondition;
}

// A template run takes one data set; a series is many runs, not one.
void checkTemplateRun(const DriverOptions& o, int extraInputs) {
    if (!isConditionFile(o.conditions))
        throw UsageError("--conditions needs a condition file (.prf), not " + o.conditions);
    if (o.input.empty()) throw UsageError("--conditions " + o.conditions + " needs a data file after it");
    if (isConditionFile(o.input) || check_format(o.input.c_str()) == kTypeAlb)
        throw UsageError("the data file of --conditions must be a data set, not " + o.input);
    if (extraInputs > 0)
        throw UsageError(
            "one data file per run with --conditions; run a series with GNU parallel (see --help)");
}

}  // namespace

DriverOptions ParseDriverOptions(int argc, char** argv) {
    DriverOptions o;
    bool templateRun = false, optionsEnded = false, haveInput = false;
    int extraInputs = 0;
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        if (!optionsEnded && isOption(arg)) {
            if (arg == "--")
                optionsEnded = true;
            else if (arg == "-h" || arg == "--help")
                o.help = true;
            else if (arg == "--version")
                o.version = true;
            else if (arg == "-c" || arg == "--conditions") {
                if (i + 1 >= argc) throw UsageError("option " + arg + " needs a condition file");
                o.conditions = argv[++i];
                templateRun = true;
            } else
                throw UsageError("unknown option " + arg + " (see --help)");
        } else if (!haveInput) {
            o.input = arg;
            haveInput = true;
        } else {
            ++extraInputs;  // one process analyses one data set; the rest is ignored
        }
    }
    if (templateRun && !o.help && !o.version) checkTemplateRun(o, extraInputs);
    return o;
}
