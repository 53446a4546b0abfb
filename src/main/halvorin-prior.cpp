// halvorin-prior: the procrystal prior density of a refined model, on the grid of an analysis.
#include <clocale>
#include <cstdio>
#include <exception>

#include "util/IO.h"
#include "crystal/SpaceGroup.h"
#include "prior/MakePrior.h"
#include "prior/PriorError.h"
#include "prior/PriorOptions.h"

int main(int argc, char** argv) {
    setlocale(LC_ALL, "");
    setlocale(LC_NUMERIC, "C");
    PriorOptions options;
    try {
        options = ParsePriorOptions(argc, argv);
    } catch (const PriorError& e) {
        fprintf(stderr, "halvorin-prior: %s\n", e.what());
        return 2;
    }
    if (options.help) {
        fputs(kPriorUsage, stdout);
        return 0;
    }
    IO::Init(argc > 0 ? argv[0] : "");
    if (!_SpaceGroup::LoadSpaceGroupStd()) {
        fprintf(stderr, "halvorin-prior: cannot read the space-group tables beside the program (%s)\n",
                progvar.c_str());
        return 1;
    }
    try {
        MakePrior(options, options.quiet ? nullptr : stdout);
        return 0;
    } catch (const std::exception& e) {
        fprintf(stderr, "halvorin-prior: %s\n", e.what());
    }
    return 1;
}
