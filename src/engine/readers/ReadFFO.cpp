// Reader of .ffo reflection lists: observed |F| without a header, on the cell, symmetry and grid of an Alb control file.
#include "engine/readers/ReadFFO.h"

#include <algorithm>
#include <cstdio>
#include <vector>

#include "util/FieldScan.h"
#include "util/IO.h"
#include "util/TextLine.h"
#include "engine/MEMData3D.h"
#include "engine/readers/PositionalReader.h"

// A data line holds ten numbers: h k l, an unused value, F, four unused
// values and X, from which the weight 4 E X / F follows. Lines that begin
// with '<' or '#' are comments, and a line with fewer numbers is passed over.
// F is real here, so the imaginary parts are zero.
bool ReadFFO(MEMData3D& mem, const std::string& path) {
    IO::File f = OpenDataFile(path);
    if (!f) return false;
    std::vector<double> values, weights;
    char line[120];
    while (getLineSkipBlank(line, sizeof line, f.get(), "<#")) {
        int h, k, l;
        double unused, F, X;
        if (ScanFields(line, "%d%d%d%lf%lf%lf%lf%lf%lf%lf", &h, &k, &l, &unused, &F, &unused, &unused,
                       &unused, &unused, &X) < 10)
            continue;
        const int indices[3] = {ReflectionIndex(h), ReflectionIndex(k), ReflectionIndex(l)};
        StructureFactor* sf = new StructureFactor(indices);
        sf->A = F;
        mem.reflections.add(sf);
        values.push_back(F);
        weights.push_back(1.0 / ((F * 0.25) / (mem.param.coefE * X)));
    }
    f.reset();

    // The list has no cell of its own: the control file that named it has
    // given cell, symmetry and grid.
    UnitCell& uc = mem.unitCell;
    if (uc.symOp.size() == 0) {
        IO::PrintError(
            "The reflection list has no cell or symmetry of its own; "
            "read it through an .alb control file:\n%s\n",
            path.c_str());
        return false;
    }
    uc.orthoMatrix.SetC2Ortho(uc.cell);
    uc.orthoInverse.Initialize(uc.orthoMatrix, 'I', 1.0);
    mem.voxelVolume = GridVoxelVolume(mem);
    if (!SettleGrid(mem)) return false;
    const std::vector<double> imaginary(values.size(), 0.0);
    StoreIndividualValues(mem, values, imaginary, weights);
    return true;
}
