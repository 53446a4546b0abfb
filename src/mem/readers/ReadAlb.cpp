// The Alb route's entry: element table, title and cell of the control file, then the rest of it.
#include <cstdio>

#include "app/IO.h"
#include "app/TextLine.h"
#include "core/Element.h"
#include "mem/MEMData.h"

bool MEMData::ReadAlb(const std::string& path) {
    Element::loadDefPar();
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
