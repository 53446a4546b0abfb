// Cost of one structure-factor and one derivative evaluation on a 128^3 grid, against
// one forward plus one backward transform of the same grid, measured in the same run.
#include <omp.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <random>
#include <set>

#include "app/IO.h"
#include "core/Matrix4D.h"
#include "mem/MEMData3D.h"

namespace {

constexpr int kGrid = 128;
constexpr int kRepeats = 10;
constexpr int kIndexLimit = 14;

// P 21/c in the order of the program's tables: each operator followed by its
// inverse image.
void SetMonoclinicSymmetry(UnitCell& uc) {
    const double rotations[4][9] = {{1, 0, 0, 0, 1, 0, 0, 0, 1},
                                    {-1, 0, 0, 0, -1, 0, 0, 0, -1},
                                    {-1, 0, 0, 0, 1, 0, 0, 0, -1},
                                    {1, 0, 0, 0, -1, 0, 0, 0, 1}};
    const double shifts[4][3] = {{0, 0, 0}, {0, 0, 0}, {0, 0.5, 0.5}, {0, 0.5, 0.5}};
    uc.symOp.clear();
    for (int o = 0; o < 4; ++o) {
        double m[16] = {};
        for (int c = 0; c < 3; ++c)
            for (int r = 0; r < 3; ++r)
                m[4 * c + r] = rotations[o][3 * r + c];
        for (int r = 0; r < 3; ++r)
            m[12 + r] = shifts[o][r];
        m[15] = 1.0;
        uc.symOp.add(new Matrix4D(m));
    }
    std::snprintf(uc.spgName, sizeof uc.spgName, "%s", "P 1 21/c 1");
    uc.spgNumber = 14;
    uc.spgSetting = 1;
    uc.centric = 1;
    uc.latticeCount = 1;
    uc.crystalSystem = 0;
}

// Every allowed orbit with indices up to kIndexLimit, each once, with random
// observed values.
void AddReflections(MEMData3D& mem) {
    std::set<std::array<int, 3>> seen;
    ObjVector<StructureFactor> absent;
    for (int h = 0; h <= kIndexLimit; ++h)
        for (int k = -kIndexLimit; k <= kIndexLimit; ++k)
            for (int l = -kIndexLimit; l <= kIndexLimit; ++l) {
                if (h == 0 && k == 0 && l == 0)
                    continue;
                if (seen.count({h, k, l}))
                    continue;
                const int idx[3] = {h, k, l};
                ObjVector<StructureFactor> one;
                one.add(new StructureFactor(idx, 3));
                if (StructureFactor::ExpandReflectionList(one, absent, mem.unitCell.symOp,
                                                          mem.unitCell.orthoInverse, 3, 0) > 0)
                    continue;
                for (std::size_t j = 0; j < one[0]->hkl.nItems(); ++j) {
                    const int* e = one[0]->hkl.item(j);
                    seen.insert({e[0], e[1], e[2]});
                }
                mem.reflections.add(one[0]);
            }
    mem.nRefF = mem.reflections.size();
    mem.AllocateMemory();
    std::mt19937 random(1);
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    for (int i = 0; i < mem.nRefF; ++i) {
        mem.FobsRe[i] = 10.0 * (unit(random) - 0.5);
        mem.FobsIm[i] = 0.0;
        mem.weightF[i] = 100.0;
        mem.refWeight[i] = 1.0;
    }
}

template <class Work>
double FastestOf(Work work) {
    double best = 1e300;
    for (int r = 0; r < kRepeats; ++r) {
        const double start = omp_get_wtime();
        work();
        best = std::min(best, omp_get_wtime() - start);
    }
    return best;
}

}  // namespace

int main() {
    MEMData3D mem;
    UnitCell& uc = mem.unitCell;
    const float cell[6] = {12.0f, 12.8f, 12.4f, 90.0f, 103.0f, 90.0f};
    std::copy(cell, cell + 6, uc.cell);
    uc.orthoMatrix.SetC2Ortho(uc.cell);
    uc.orthoInverse.Initialize(uc.orthoMatrix, 'I', 1.0);
    SetMonoclinicSymmetry(uc);
    mem.gridSize[0] = mem.gridSize[1] = mem.gridSize[2] = kGrid;
    mem.voxelVolume = uc.orthoMatrix.Determinant() / (double(kGrid) * kGrid * kGrid);
    mem.targetMoment[0] = 1000.0;
    AddReflections(mem);

    std::printf("Preparing %d reflections on a %d^3 grid with %d threads (planning takes a while)\n",
                mem.nRefF, kGrid, mem.nThreads);
    const IO::PrintFunc saved = IO::Printf;
    IO::Printf = IO::NoPrint;
    mem.PrepareCalculation(nullptr, nullptr);
    IO::Printf = saved;
    std::printf("Path: %s\n", mem.useFFT ? "transform" : "direct sums");

    const double engine = FastestOf([&] {
        mem.CalcFcalc(0);
        mem.DFT_Derivatives();
    });
    const double transforms = FastestOf([&] {
        fftw_execute(mem.planForward);
        fftw_execute(mem.planBackward);
    });
    std::printf("structure factors + derivatives: %10.3f ms\n", 1e3 * engine);
    std::printf("forward + backward transform:    %10.3f ms\n", 1e3 * transforms);
    std::printf("ratio:                           %10.3f\n", engine / transforms);
    return 0;
}
