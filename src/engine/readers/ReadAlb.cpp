// The Alb route's entry: element table, title and cell of the control file, then the rest of it.
#include "engine/readers/ReadAlb.h"

#include <cstdio>

#include "util/FieldScan.h"
#include "util/IO.h"
#include "util/TextLine.h"
#include "crystal/Element.h"
#include "engine/MEMData3D.h"
#include "engine/readers/ReadAlb3D.h"

bool ReadAlb(MEMData3D& mem, const std::string& path) {
    Element::loadDefPar();
    // An Alb run always fills in the reflections that the data lack.
    mem.param.estimateUnobserved = 1;

    float lattice[6];
    {
        const IO::File f = IO::OpenInput(path);
        if (!f) {
            IO::Printf("Input file could not be opened.\n%s\n", path.c_str());
            return false;
        }
        char line[120];
        SkipCommentLines(f.get(), line);
        snprintf(mem.title, sizeof mem.title, "%.79s", line);

        SkipCommentLines(f.get(), line);
        if (ScanFields(line, "%f%f%f%f%f%f", &lattice[0], &lattice[1], &lattice[2], &lattice[3], &lattice[4],
                       &lattice[5]) != 6)
            return false;
    }
    return ReadAlb3D(mem, path, lattice);
}
