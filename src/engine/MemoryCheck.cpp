// Refusal of a grid that cannot fit into the memory of this computer, before anything is allocated for it.
#include <unistd.h>

#include <algorithm>

#include "util/IO.h"
#include "engine/MEMData3D.h"

namespace {

// Whole-cell arrays of the transform path: the real grid, the half-complex
// grid of both transforms and the owner of every cell point.
constexpr double kCellBytes = 20.0;
// Per voxel of the asymmetric unit: the old and new density, the summed
// density and the derivative, the cell point and the multiplicity. A negative
// side, a prior file and the minimisers add to this, but the refusal is
// meant for grids that cannot fit at all.
constexpr double kAsymmetricBytes = 40.0;

double PhysicalMemory() {
    const long pages = sysconf(_SC_PHYS_PAGES);
    const long size = sysconf(_SC_PAGE_SIZE);
    return pages > 0 && size > 0 ? static_cast<double>(pages) * size : 0.0;
}

}  // namespace

bool MEMData3D::GridFitsMemory() const {
    // A grid of no voxels needs nothing; readers replace it before an analysis.
    const double voxels = std::max(static_cast<double>(gridSize[0]) * gridSize[1] * gridSize[2], 0.0);
    // The asymmetric unit holds at least one voxel in nSymOp of the cell.
    const double operators = unitCell.symOp.size() > 0 ? unitCell.symOp.size() : 1;
    const double need = voxels * kCellBytes + voxels / operators * kAsymmetricBytes;
    const double have = PhysicalMemory();
    if (have == 0.0 || need <= have) return true;
    IO::PrintError(
        "The grid of %d x %d x %d voxels needs at least %.1f GB of memory;\n"
        "this computer has %.1f GB. Choose a coarser grid.\n",
        gridSize[0], gridSize[1], gridSize[2], need / 1e9, have / 1e9);
    return false;
}
