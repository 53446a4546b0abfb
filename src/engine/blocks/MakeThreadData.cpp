// Set-up of the voxel work: asymmetric unit, choice of Fourier path, blocks, weights, summary.

#include <algorithm>
#include <climits>
#include <cmath>
#include <memory>
#include <new>
#include <utility>
#include <vector>

#include "util/IO.h"
#include "util/Assert.h"
#include "engine/blocks/AlignedArray.h"
#include "engine/blocks/GridSymmetry.h"
#include "engine/transforms/HalfComplex.h"
#include "engine/MEMData3D.h"
#include "engine/blocks/ThreadData.h"

namespace {

// Lattice points per cell, from the lattice letter; the direct sums visit only
// the operators of one lattice point where the list is built so. R counts 3 in
// setting 1 (hexagonal axes).
int LatticePoints(const char* spgName, int setting) {
    switch (spgName[0]) {
    case 'A':
    case 'B':
    case 'C':
    case 'I': return 2;
    case 'F': return 4;
    case 'R': return setting == 1 ? 3 : 1;
    default: return 1;
    }
}

// Direct sums cost one table entry per voxel and reflection (two without a
// centre of symmetry); a transform costs about N ln N. The tables are chosen
// only while they are the cheaper, which also keeps their memory bounded.
// The rule counts the F, G and E reflections only: the choice, and the line
// that announces it, depend on the data set's own reflections. Generated
// unobserved reflections still get table columns of their own on the direct
// path, so that either path serves every reflection of the list.
bool TransformIsCheaper(int nAsym, int nCounted, int centroFactor, int nVoxelCell) {
    const double direct = static_cast<double>(nAsym) * nCounted * (3 - centroFactor);
    const double N = nVoxelCell;
    return direct > N / std::log(N) * 100.0;
}

// The highest first index u of a half-complex entry that the analysis reads
// (a reflection's structure factor) or writes (the derivative of one of its
// equivalents): the transforms need be exact only up to it.
int HighestColumn(const MEMData3D& mem) {
    const int* n = mem.gridSize;
    const long columns = n[0] / 2 + 1;
    long uMax = 0;
    for (int i = 0; i < mem.reflections.size(); ++i) {
        const StructureFactor& f = *mem.reflections[i];
        for (std::size_t j = 0; j < f.hkl.nItems(); ++j) {
            const int* h = f.hkl.item(j);
            if (j == 0) uMax = std::max(uMax, ForwardEntry(h[0], h[1], h[2], n).index % columns);
            if (-h[0] >= 0 && -h[0] < n[0] / 2) uMax = std::max(uMax, static_cast<long>(-h[0]));
        }
    }
    return static_cast<int>(uMax);
}

// Plans are measured before any grid holds data, because measuring
// overwrites the arrays; the grids are cleared afterwards.
void SetUpTransforms(MEMData3D& mem) {
    fftw_init_threads();
    fftw_plan_with_nthreads(mem.nThreads);
    mem.realGrid = static_cast<double*>(fftw_malloc(sizeof(double) * mem.nVoxelCell));
    mem.fourierGrid = static_cast<fftw_complex*>(fftw_malloc(sizeof(fftw_complex) * mem.nComplex));
    // The coefficients are read before the derivatives are scattered, so one
    // complex grid serves both transforms.
    mem.derivGrid = mem.fourierGrid;
    if (!mem.realGrid || !mem.fourierGrid) throw std::bad_alloc();
    mem.transform =
        std::make_unique<CellTransform>(mem.gridSize, HighestColumn(mem), mem.realGrid, mem.fourierGrid);
    std::fill(mem.realGrid, mem.realGrid + mem.nVoxelCell, 0.0);
    std::fill(&mem.fourierGrid[0][0], &mem.fourierGrid[0][0] + 2 * mem.nComplex, 0.0);
}

// The phase factor exp(-2 pi i phi) of every equivalent of every reflection,
// which the derivatives take into the grid in every cycle.
void TabulateShifts(MEMData3D& mem) {
    mem.shiftStart.assign(1, 0);
    mem.shiftFactors.clear();
    for (int i = 0; i < mem.reflections.size(); ++i) {
        const StructureFactor& f = *mem.reflections[i];
        for (std::size_t j = 0; j < f.hkl.nItems(); ++j) {
            const double theta = f.phase.item(j)[0] * -6.283185307179586;
            mem.shiftFactors.push_back(std::cos(theta));
            mem.shiftFactors.push_back(std::sin(theta));
        }
        mem.shiftStart.push_back(static_cast<long>(mem.shiftFactors.size() / 2));
    }
}

// Contiguous runs of the scan order, differing in length by at most one. The
// objects are made here in thread order; each thread then fills its own block,
// so that the block's pages lie in that thread's memory. The voxel lists stay
// where the scan left them: a copy would only raise the peak of the set-up.
void BuildBlocks(MEMData3D& mem, const std::vector<int>& ops, int nRefl) {
    if (mem.useFFT) mem.densitySum = AllocateAligned<double>(mem.NASYM);
    for (int t = 0; t < mem.nThreads; ++t) {
        const int begin = static_cast<int>(static_cast<long long>(t) * mem.NASYM / mem.nThreads);
        const int end = static_cast<int>(static_cast<long long>(t + 1) * mem.NASYM / mem.nThreads);
        mem.threads.add(new ThreadData(mem.nRefUnobs + mem.nRefF + mem.nRefG, end - begin, begin));
    }
    ForEachBlock(mem.threads, mem.nThreads, [&](int, ThreadData& block) {
        block.Create(3, mem.gridSize, mem.targetMoment[0], mem.targetMoment[1],
                     mem.voxelPoint.data() + block.offset, mem.voxelMultiplicity.data() + block.offset,
                     mem.realGrid, mem.densitySum, mem.reflections, nRefl, ops.data(), mem.nSymOp,
                     mem.nCenter, mem.centroFactor, mem.useFFT, mem.nRefE);
    });
    // Room for the per-block sums of every cycle, made once here.
    mem.blockSums.Resize(mem.threads.size(), MEMData::kMaxBlockSums);
}

// refWeight enters with the M of the data file (or 1) and leaves as a relative
// weight with mean 1: scaled by a power of d (or an exponential in sqrt(1/d)
// for a negative exponent), optionally by a power of the multiplicity with
// groups sharing their mean weight.
void NormaliseReflectionWeights(MEMData3D& mem) {
    const int n = mem.nRefF + mem.nRefG;
    const double x = mem.param.weightPowerD;
    double sum = 0.0;
    for (int i = 0; i < n; ++i) {
        const double di = mem.reflections[mem.nRefUnobs + i]->di;
        mem.refWeight[i] = (x >= 0.0 ? std::pow(di, -x) : std::exp(std::sqrt(di) * x)) * mem.refWeight[i];
        sum += mem.refWeight[i];
    }
    const double y = mem.param.weightPowerM;
    if (y > 0.0) {
        sum = 0.0;
        for (int i = 0; i < n; ++i) {
            const double m = static_cast<double>(mem.reflections[mem.nRefUnobs + i]->hkl.nItems());
            mem.refWeight[i] *= std::pow(m, y);
            sum += mem.refWeight[i];
        }
        int first = mem.nRefF;
        for (int g = 0; g < mem.nGroups && first < n; ++g) {
            const int last = std::min(first + std::max(mem.groupSize[g], 0), n);
            double members = 0.0;
            for (int i = first; i < last; ++i) members += mem.refWeight[i];
            const double mean = members / (last - first);
            for (int i = first; i < last; ++i) mem.refWeight[i] = mean;
            if (last > first) sum += mean - members;
            first = last;
        }
    }
    const double mean = sum / (mem.nRefF + mem.nGroups);
    for (int i = 0; i < n; ++i) mem.refWeight[i] /= mean;
}

void PrintPreparationSummary(const MEMData3D& mem) {
    const float* c = mem.unitCell.cell;
    IO::Printf("\n  Title: %s\n\n", mem.title);
    IO::Printf("  Lattice parameters:\n");
    IO::Printf("         a = %9.5f     b = %9.5f      c = %9.5f\n", c[0], c[1], c[2]);
    IO::Printf("     alpha = %9.5f  beta = %9.5f  gamma = %9.5f\n", c[3], c[4], c[5]);
    IO::Printf("         V = %.4f\n\n", mem.unitCell.orthoMatrix.Determinant());
    IO::Printf("  Space group: %s\n", mem.unitCell.spgName);
    IO::Printf("  Space group number: %d\n", mem.unitCell.spgNumber);
    IO::Printf("  Setting number: %d\n\n", mem.unitCell.spgSetting);
    IO::Printf("  Numbers of reflections used in MEM analysis:\n");
    IO::Printf("     NREF1(F) = %d\n", mem.nRefF);
    IO::Printf("     NREF2(G) = %d\n", mem.nRefG);
    IO::Printf("     NREF3(E) = %d\n\n", mem.nRefE);
    IO::Printf("  Number of voxels in the asymmetric unit = %d\n", mem.NASYM);
    IO::Printf("        Number of voxels in the unit cell = %d (%d X %d X %d)\n\n", mem.nVoxelCell,
               mem.gridSize[0], mem.gridSize[1], mem.gridSize[2]);
}

}  // namespace

void MEMData3D::MakeThreadData() {
    // Readers replace a grid without voxels, or one too large to index, by one
    // from the cell, and fail when that too is too large: the cell index must
    // fit the int of the Fourier library's interface.
    HV_ASSERT(gridSize[0] > 0 && gridSize[1] > 0 && gridSize[2] > 0);
    HV_ASSERT(static_cast<long long>(gridSize[0]) * gridSize[1] * gridSize[2] <= INT_MAX);
    nSymOp = unitCell.symOp.size();
    nVoxelCell = gridSize[0] * gridSize[1] * gridSize[2];
    nComplex = static_cast<long>(gridSize[0] / 2 + 1) * gridSize[1] * gridSize[2];
    const std::vector<int> ops = MakeGridOperators(unitCell.symOp, gridSize);
    centroFactor = unitCell.centric ? 2 : 1;
    nCenter = LatticePoints(unitCell.spgName, unitCell.spgSetting);

    {
        AsymmetricUnit asu = FindAsymmetricUnit(gridSize, ops);
        NASYM = asu.size();
        voxelPoint = std::move(asu.point);
        voxelMultiplicity = std::move(asu.multiplicity);
        const int nRefl = nRefUnobs + nRefF + nRefG + nRefE;
        HV_ASSERT(nRefl <= reflections.size());
        if (param.entropyOrder > 1) {
            useFFT = true;
        } else {
            useFFT = TransformIsCheaper(NASYM, nRefF + nRefG + nRefE, centroFactor, nVoxelCell);
            IO::Printf(useFFT ? "\nUse FFT routine.\n" : "\nUse DFT routine.\n");
        }
        if (useFFT) {
            SetUpTransforms(*this);
            TabulateShifts(*this);
        }
        BuildBlocks(*this, ops, nRefl);
        // The gather of every cycle reads densitySum through the owners.
        if (useFFT) cellOwner = std::move(asu.owner);
    }
    if (param.startType) ReadRho2();
    if (param.priorType) ReadPrior2();
    NormaliseReflectionWeights(*this);
    PrintPreparationSummary(*this);
}
