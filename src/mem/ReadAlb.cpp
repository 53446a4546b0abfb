#include <cstdio>

#include "app/IO.h"
#include "app/TextLine.h"
#include "mem/MEMData.h"
// TEMPORARY while the element table is being written: drop the guard when it lands.
#if __has_include("core/Element.h")
#include "core/Element.h"
#define HALVORIN_HAS_ELEMENTS 1
#endif

bool MEMData::ReadAlb(const std::string& path) {
#ifdef HALVORIN_HAS_ELEMENTS
    Element::loadDefPar();
#endif
    // An Alb run always fills in the reflections that the data lack.
    param.estimateUnobserved = 1;

    FILE* f = IO::OpenInput(path);
    if (!f) {
        IO::Printf("Input file could not be opened.\n%s\n", path.c_str());
        return false;
    }
    char line[120];
    SkipCommentLines(f, line);
    snprintf(title, sizeof title, "%.79s", line);

    SkipCommentLines(f, line);
    float lattice[6];
    const int read = sscanf(line, "%f%f%f%f%f%f", &lattice[0], &lattice[1], &lattice[2], &lattice[3],
                            &lattice[4], &lattice[5]);
    fclose(f);
    if (read != 6) return false;
    return ReadAlb3D(path, lattice);
}
