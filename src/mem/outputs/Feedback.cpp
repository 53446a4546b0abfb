// The feedback file <base>.fba: calculated structure factors for use by other programs.
#include <cstdio>

#include "app/IO.h"
#include "mem/outputs/AtomicFile.h"
#include "mem/MEMData3D.h"

// The generated unobserved reflections at the head of the list never appear;
// feedbackOutput 0 lists the individual F reflections, any other value also the
// grouped and the calculated-only ones. A and B are the values of the report.
int MEMData3D::WriteFba() {
    int end = nRefUnobs + nRefF;
    if (param.feedbackOutput != 0) end += nRefG + nRefE;
    AtomicFile file(param.feedbackFile, "w");
    if (file.isOpen()) {
        FILE* f = file.stream();
        fprintf(f, "$FB-MEM-DATA\n");
        fprintf(f, "%d\n", end - nRefUnobs);
        for (int i = nRefUnobs; i < end; ++i) {
            const StructureFactor& r = *reflections[i];
            const int* h = r.hkl.item(0);
            fprintf(f, " %4d %4d %4d %17.7E %17.7E\n", h[0], h[1], h[2], r.A, r.B);
        }
        fprintf(f, "\n");
        if (file.Commit()) return 0;
    }
    IO::PrintError("Failed to write %s\n", param.feedbackFile.c_str());
    return 1;
}
