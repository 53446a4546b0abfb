// Unobserved reflections: every reflection of the grid's index box that the data lack, analysed in Patterson symmetry.
#include "engine/readers/CreateHKL0.h"

#include <algorithm>
#include <cstdio>

#include "engine/blocks/AlignedArray.h"
#include "engine/MEMData3D.h"
#include "engine/readers/Wilson.h"

namespace {

// Arrays over all reflections were sized by the reader, before the
// generated ones existed; they are replaced here by arrays long enough for
// the final counts. They hold nothing yet: the preparation of the
// calculation fills them. The direct path's partial sums are sized later,
// when the voxel blocks are built from the final counts, and need nothing.
void enlargeReflectionArrays(MEMData& mem) {
    const std::size_t nAll = (std::size_t)mem.nRefUnobs + mem.nRefF + mem.nRefG + mem.nRefE;
    const std::size_t nWithUnobserved = (std::size_t)mem.nRefUnobs + mem.nRefF + mem.nRefG;
    for (double** array : {&mem.dSdFRe, &mem.dSdFIm}) {
        FreeAligned(*array);
        *array = AllocateZeroed<double>(nAll);
    }
    for (double** array : {&mem.mergedDerivRe, &mem.mergedDerivIm}) {
        FreeAligned(*array);
        *array = AllocateZeroed<double>(nWithUnobserved);
    }
}

// The squared amplitude of a forbidden reflection is zero on every
// equivalent alike: held at zero, each equivalent takes its derivative with
// no phase shift, in place of the sums that marked it absent.
void holdAtZeroWithoutShifts(ObjVector<StructureFactor>& absent) {
    for (StructureFactor* f : absent)
        for (std::size_t j = 0; j < f->phase.nItems(); ++j) {
            f->phase.item(j)[0] = 0.0;
            f->phase.item(j)[1] = 1.0;
        }
}

}  // namespace

// The reflections of the box |h| <= n/2 - 1 along each axis that are unique
// in the Patterson symmetry are generated there, then expanded in the true
// group. Those the true group forbids go to the head of the list, to be held
// at zero; those the data do not hold go to the end, calculated only. The
// cell then stays in Patterson symmetry for the rest of the run.
void CreateHKL0(MEMData3D& mem) {
    UnitCell& uc = mem.unitCell;
    const int number = uc.spgNumber, setting = uc.spgSetting;
    StructureFactor prototype(3);
    char patterson[24] = "";
    uc.getPattersonSymmetry(patterson);
    uc.setSpgNameStandard(patterson);
    uc.createSymmetryOP();

    // A grid of fewer than four voxels along an axis has no index range there;
    // a data file that could not be read leaves no grid at all.
    int hmax[3];
    for (int c = 0; c < 3; ++c) hmax[c] = std::max(mem.gridSize[c] / 2 - 1, 0);
    ObjVector<StructureFactor> generated, absent;
    StructureFactor::CreateReflectionList(generated, prototype, uc.symOp, uc.orthoInverse, hmax, 0.0, 0.0,
                                          true, 3);

    uc.setSpgNumber(number, setting);
    uc.createSymmetryOP();
    StructureFactor::ExpandReflectionList(generated, absent, uc.symOp, uc.orthoInverse, 3, 1);
    StructureFactor::DropTranslationPhases(generated, absent);
    holdAtZeroWithoutShifts(absent);
    uc.setSpgNameStandard(patterson);
    uc.createSymmetryOP();

    mem.nRefUnobs = absent.size();
    ObjVector<StructureFactor> data = mem.reflections;
    mem.reflections = absent;
    mem.reflections.append(data);
    for (int i = mem.nRefUnobs; i < mem.nRefUnobs + mem.nRefF; ++i) {
        const StructureFactor& r = *mem.reflections[i];
        const int* h = r.hkl.item(0);
        std::printf("%3d (%3d %3d %3d) m=%d di=%g\n", i, h[0], h[1], h[2], (int)r.hkl.nItems(), r.di);
    }
    StructureFactor::RemoveDuplicate(generated, mem.reflections, uc.symOp, uc.orthoInverse, 3);
    mem.nRefE += generated.size();
    mem.reflections.append(generated);
    enlargeReflectionArrays(mem);

    if (mem.param.fileType != 8) {
        double scale = 0.0, Biso = 0.0;
        Wilson(mem, scale, Biso);
        std::printf("scale=%f, Biso=%f\n", scale, Biso);
    }
}
