// The feedback file <base>.fba: calculated structure factors for use by other programs.
#include "engine/outputs/Feedback.h"

#include <cstdio>

#include "util/IO.h"
#include "engine/outputs/AtomicFile.h"
#include "engine/MEMData3D.h"

int WriteFba(const MEMData3D& d) {
    const int nRefUnobs = d.nRefUnobs;
    int end = nRefUnobs + d.nRefF;
    if (d.param.feedbackOutput != 0) end += d.nRefG + d.nRefE;
    AtomicFile file(d.param.feedbackFile, "w");
    if (file.isOpen()) {
        FILE* f = file.stream();
        fprintf(f, "$FB-MEM-DATA\n");
        fprintf(f, "%d\n", end - nRefUnobs);
        for (int i = nRefUnobs; i < end; ++i) {
            const StructureFactor& r = *d.reflections[i];
            const int* h = r.hkl.item(0);
            fprintf(f, " %4d %4d %4d %17.7E %17.7E\n", h[0], h[1], h[2], r.A, r.B);
        }
        fprintf(f, "\n");
        if (file.Commit()) return 0;
    }
    IO::PrintError("Failed to write %s\n", d.param.feedbackFile.c_str());
    return 1;
}
