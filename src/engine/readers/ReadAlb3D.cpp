// The Alb control file: symmetry, grid, cell contents and a few settings for the data file it names.
#include "engine/readers/ReadAlb3D.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "util/FieldScan.h"
#include "util/FileType.h"
#include "util/IO.h"
#include "util/TextLine.h"
#include "crystal/Element.h"
#include "engine/MEMData3D.h"

namespace {

// The number of kinds of atom, then one line for each; with no kinds, one
// line with a value that is not used and the two totals F+ and F-. The kinds
// are listed under the name "li" whatever their lines say: only the Wilson
// step prints them, and no result depends on them. Their counts have no
// source in the file and are 0.
void readCellContents(MEMData3D& mem, FILE* f, char* line, int size) {
    int kinds = 0;
    ScanKeeping(line, "%d", &kinds);
    if (kinds < 1) {
        if (!getLineSkipBlank(line, size, f, "#")) return;
        double unused;
        ScanKeeping(line, "%lf%lf%lf", &unused, &mem.targetMoment[0], &mem.targetMoment[1]);
        return;
    }
    for (int i = 0; i < kinds && getLineSkipBlank(line, size, f, "#"); ++i) {
        Element* element = new Element;
        std::strcpy(element->symbol, "li");
        mem.elements.add(element);
        mem.elementCount.push_back(0);
    }
}

}  // namespace

// After the title and the cell, which ReadAlb has taken, the lines are
// numbered from 0: symmetry and grid, a free line, the cell contents, the data
// file, wavelength and intensities (echoed only), lambda, E, three free lines
// and the cycle limit. Lines after that are ignored. The data file's reader
// sets the cell matrices and the voxel volume; a data file with a header of
// its own overrides what stands here.
bool ReadAlb3D(MEMData3D& mem, const std::string& path, const float* cell) {
    const IO::File file = IO::OpenInput(path);
    if (!file)  // ReadAlb opened it a moment ago; only a race removes it
        return true;
    FILE* f = file.get();
    UnitCell& unitCell = mem.unitCell;
    MEMParam& param = mem.param;
    char line[120];
    getLineSkipBlank(line, sizeof line, f, "#");
    getLineSkipBlank(line, sizeof line, f, "#");
    std::copy(cell, cell + 6, unitCell.cell);

    int number = 0;
    while (getLineSkipBlank(line, sizeof line, f, "#")) {
        switch (number++) {
        case 0: {
            int* n = mem.gridSize;
            ScanKeeping(line, "%d%d%d%d%d", &unitCell.spgNumber, &unitCell.spgSetting, &n[0], &n[1], &n[2]);
            unitCell.setSpgNumber(unitCell.spgNumber, unitCell.spgSetting);
            unitCell.createSymmetryOP();
            break;
        }
        case 2: readCellContents(mem, f, line, sizeof line); break;
        case 3: {
            char name[1024] = "";
            ScanKeeping(line, "%1023s", name);
            param.dataFile = name;
            IO::toAbsolutePath(param.dataFile, path);
            param.fileType = check_format(param.dataFile.c_str());
            break;
        }
        case 4: std::printf("waev length: %s\n", line); break;
        case 5: std::printf("intensities: %s\n", line); break;
        case 6:
            std::printf("lambda1: %s\n", line);
            ScanKeeping(line, "%lf", &param.lambda);
            break;
        case 7:
            std::printf("SCIO: %s\n", line);
            ScanKeeping(line, "%f", &param.coefE);
            break;
        case 11: ScanKeeping(line, "%d", &param.maxCycles); break;
        default: break;
        }
    }
    param.SetFileNames();
    return true;
}
