// Small analyses built in memory for the engine tests.
#include "analysis_fixture.h"
#include "engine/Prepare.h"

#include <algorithm>
#include <cmath>
#include <random>
#include <stdexcept>

#include "numeric/Matrix4D.h"

namespace {

// Puts the cell, its matrices and the expanded operators of `group` into uc.
void ChooseGroup(UnitCell& uc, const TestGroup& group, const std::array<float, 6>& cell) {
    if (!LoadedTable().ok) throw std::runtime_error("space-group tables not generated");
    std::copy(cell.begin(), cell.end(), uc.cell);
    uc.orthoMatrix.SetC2Ortho(uc.cell);
    uc.orthoInverse.Initialize(uc.orthoMatrix, 'I', 1.0);
    uc.setSpgNumber(group.number, group.setting);
    uc.createSymmetryOP();
}

// One record of reflection h with its equivalents; returns the number of absences.
int AddReflection(MEMData3D& mem, const std::array<int, 3>& h, int friedel) {
    ObjVector<StructureFactor> one, absent;
    one.add(new StructureFactor(h.data(), 3));
    const int nAbsent = StructureFactor::ExpandReflectionList(one, absent, mem.unitCell.symOp,
                                                              mem.unitCell.orthoInverse, 3, friedel);
    mem.reflections.add(one[0]);
    return nAbsent;
}

// Adds the candidates that are not equivalent to one kept before, and allowed unless keepAbsent is set.
void AddDistinct(MEMData3D& mem, const std::vector<std::array<int, 3>>& candidates, bool keepAbsent) {
    std::vector<std::array<int, 3>> seen;
    for (const auto& h : candidates) {
        if (std::find(seen.begin(), seen.end(), h) != seen.end()) continue;
        if (AddReflection(mem, h, 1 - mem.unitCell.centric) > 0 && !keepAbsent) {
            mem.reflections.remove(mem.reflections.size() - 1);
            continue;
        }
        const StructureFactor* f = mem.reflections[mem.reflections.size() - 1];
        for (std::size_t j = 0; j < f->hkl.nItems(); ++j)
            seen.push_back({f->hkl.item(j)[0], f->hkl.item(j)[1], f->hkl.item(j)[2]});
    }
}

}  // namespace

const TestGroup& GroupBySymbol(const std::string& symbol) {
    static const std::vector<TestGroup> groups = {
        {"P 1", 1, 1},          {"P -1", 2, 1},       {"P 21/c", 14, 1},
        {"P 42/m n m", 136, 1}, {"F m -3 m", 225, 1}, {"R -3 m", 166, 1},
        {"P 63/m m c", 194, 1}, {"P 32 2 1", 154, 1}, {"P 21 21 21", 19, 1}};
    for (const TestGroup& group : groups)
        if (group.name == symbol) return group;
    throw std::invalid_argument("no test group " + symbol);
}

ObjVector<MatrixD> ExpandOperators(const TestGroup& group) {
    UnitCell uc;
    ChooseGroup(uc, group, {7.0f, 7.0f, 7.0f, 90.0f, 90.0f, 90.0f});
    return uc.symOp;  // the list shares the operators, which outlive the cell
}

std::unique_ptr<MEMData3D> MakeAnalysis(const AnalysisSpec& spec) {
    auto mem = std::make_unique<MEMData3D>();
    UnitCell& uc = mem->unitCell;
    ChooseGroup(uc, GroupBySymbol(spec.symbol), spec.cell);
    std::copy(spec.grid.begin(), spec.grid.end(), mem->gridSize);
    mem->voxelVolume = uc.orthoMatrix.Determinant() / (double(spec.grid[0]) * spec.grid[1] * spec.grid[2]);

    for (const auto& h : spec.unobserved) AddReflection(*mem, h, 1);
    mem->nRefUnobs = static_cast<int>(spec.unobserved.size());
    AddDistinct(*mem, spec.hkl, spec.keepAbsent);
    for (int size : spec.groups) {
        mem->groupSize.push_back(size);
        mem->nRefG += size;
    }
    mem->nGroups = static_cast<int>(spec.groups.size());
    mem->nRefF = mem->reflections.size() - mem->nRefUnobs - mem->nRefG;
    std::vector<std::array<int, 3>> extra;
    if (spec.withOrigin) extra.push_back({0, 0, 0});
    const std::size_t nExtra = extra.size() + spec.extraE;
    for (int h = 1; extra.size() < nExtra; ++h)
        for (int k = -h; k <= h && extra.size() < nExtra; ++k) extra.push_back({h, k, h + k});
    for (const auto& h : extra) AddReflection(*mem, h, 1 - uc.centric);
    mem->nRefE = static_cast<int>(extra.size());
    mem->AllocateMemory();

    std::mt19937 random(spec.seed);
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    auto weight = [&] { return 1.0 / std::pow(0.05 + 0.2 * unit(random), 2); };
    for (int i = 0; i < mem->nRefF; ++i) {
        const double magnitude = 1.0 + 9.0 * unit(random);
        const double phase = 6.283185307179586 * unit(random);
        mem->FobsRe[i] = magnitude * std::cos(phase);
        mem->FobsIm[i] = uc.centric ? 0.0 : magnitude * std::sin(phase);
        mem->weightF[i] = weight();
        mem->refWeight[i] = 1.0;
    }
    for (int g = 0, p = mem->nRefF; g < mem->nGroups; ++g) {
        mem->Gobs[g] = 1.0 + 9.0 * unit(random);
        mem->weightG[g] = weight();
        for (int j = 0; j < mem->groupSize[g]; ++j, ++p) {
            mem->weightF[p] = mem->weightG[g];
            mem->refWeight[p] = 1.0;
        }
    }
    mem->targetMoment[0] = spec.F000;
    mem->targetMoment[1] = 0.0;
    return mem;
}

void PrepareQuietly(MEMData3D& mem) {
    CapturedOutput quiet;
    PrepareCalculation(mem, nullptr, nullptr);
}

std::unique_ptr<MEMData3D> MakePreparedAnalysis(const AnalysisSpec& spec) {
    auto mem = MakeAnalysis(spec);
    PrepareQuietly(*mem);
    return mem;
}

std::unique_ptr<MEMData3D> MakeTransformAnalysis(AnalysisSpec spec) {
    for (spec.extraE = std::max(spec.extraE, 16);; spec.extraE *= 2) {
        auto mem = MakePreparedAnalysis(spec);
        if (mem->useFFT) return mem;
    }
}

ThreadData* VoxelBlock(MEMData3D& mem, int g, int* local) {
    for (ThreadData* b : mem.threads)
        if (g >= b->offset && g < b->offset + b->nVoxel) {
            *local = g - b->offset;
            return b;
        }
    throw std::out_of_range("voxel number");
}

void RandomiseDensity(MEMData3D& mem, unsigned seed) {
    std::mt19937 random(seed);
    std::uniform_real_distribution<double> unit(0.2, 1.8);
    for (ThreadData* b : mem.threads)
        for (int v = 0; v < b->nVoxel; ++v) {
            b->rho1[v] = b->rho1Old[v] = unit(random) * mem.targetMoment[0] / mem.nVoxelCell;
        }
    for (ThreadData* b : mem.threads) b->Add_Rho12();
    mem.CalcFcalc(0);
}

void WeighAllOrders(MEMData3D& mem) {
    mem.param.algorithm = 1;
    for (int c = 0; c < 8; ++c) mem.param.lambdaFraction[c] = 1.0 / (c + 1);
}
