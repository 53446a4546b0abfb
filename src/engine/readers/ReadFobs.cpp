// Entry from a data file to the analysis state: the reader chosen by file type, then symmetry expansion.
#include "util/IO.h"
#include "engine/MEMData3D.h"
#include "engine/readers/CreateHKL0.h"
#include "engine/readers/ReadBayMEM.h"
#include "engine/readers/ReadFCF.h"
#include "engine/readers/ReadFFO.h"
#include "engine/readers/ReadFOS.h"
#include "engine/readers/ReadMEM.h"

bool MEMData3D::ReadFobs() {
    bool read = false;
    switch (param.fileType) {
    case 3:
    case 4: read = ReadMEM(*this, param.dataFile); break;
    case 5: read = ReadFOS(*this, param.dataFile); break;
    case 6: read = ReadFCF(*this, param.dataFile); break;
    case 7: read = ReadBayMEM(*this, param.dataFile); break;
    case 8:
        param.estimateUnobserved = 1;
        read = ReadMEM(*this, param.dataFile);
        break;
    case 10: read = ReadFFO(*this, param.dataFile); break;
    default:
        // Condition files, Alb control files and plain .hkl files carry no data
        // of their own; neither does a .mep file declared with negative scattering.
        if (param.estimateUnobserved)
            IO::PrintError(
                "An .alb control file names its reflections as an .fcf, .ffo, .mem or .mep file;\n"
                "there is no reader for this one:\n%s\n",
                param.dataFile.c_str());
        break;
    }
    if (read) {
        // Absent reflections keep their place and their measured values, so the
        // list of them is not needed here.
        ObjVector<StructureFactor> absent;
        StructureFactor::ExpandReflectionList(reflections, absent, unitCell.symOp, unitCell.orthoInverse, 3,
                                              1 - unitCell.centric);
        // The route's data are squared amplitudes: every equivalent of an allowed
        // reflection holds the same real value, whatever the group's translations.
        if (param.estimateUnobserved) StructureFactor::DropTranslationPhases(reflections, absent);
    }
    if (read && param.estimateUnobserved && nRefF + nGroups == 0) {
        // Every row weak (below three su), or none at all: nothing to fit.
        IO::PrintError("No reflection of the data rises above three standard uncertainties:\n%s\n",
                       param.dataFile.c_str());
        read = false;
    }
    if (param.estimateUnobserved) {
        // The generated list spans the grid's whole index box: a grid that no
        // memory holds is refused before the box is laid out.
        if (!GridFitsMemory()) return false;
        CreateHKL0(*this);
    }
    return read;
}
