// Small analyses built in memory for the engine tests.
#include "voxel_fixture.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <map>
#include <random>
#include <stdexcept>

#include "app/IO.h"
#include "core/Matrix4D.h"
#include "mem/ThreadData.h"

namespace {

// Operators of one lattice point without the inversion, as listed by cctbx
// (sgtbx, space_group.smx) for the standard settings.
const std::map<std::string, TestGroup>& Catalogue() {
    static const std::map<std::string, TestGroup> groups = {
        {"P 1", {"P 1", 1, false, {"x,y,z"}, {}}},
        {"P -1", {"P -1", 2, true, {"x,y,z"}, {}}},
        {"P 21/c", {"P 1 21/c 1", 14, true, {"x,y,z", "-x,y+1/2,-z+1/2"}, {}}},
        {"P 42/m n m",
         {"P 42/m n m", 136, true,
          {"x,y,z", "-y+1/2,x+1/2,z+1/2", "y+1/2,-x+1/2,z+1/2", "x+1/2,-y+1/2,-z+1/2",
           "-x+1/2,y+1/2,-z+1/2", "-x,-y,z", "y,x,-z", "-y,-x,-z"},
          {}}},
        {"F m -3 m",
         {"F m -3 m", 225, true,
          {"x,y,z", "x,-z,y", "x,z,-y", "z,y,-x", "-z,y,x", "-y,x,z", "y,-x,z", "z,x,y",
           "y,z,x", "-y,-z,x", "z,-x,-y", "-y,z,-x", "-z,-x,y", "-z,x,-y", "y,-z,-x", "x,-y,-z",
           "-x,y,-z", "-x,-y,z", "y,x,-z", "-y,-x,-z", "z,-y,x", "-z,-y,-x", "-x,z,y", "-x,-z,-y"},
          {{0, 0.5, 0.5}, {0.5, 0, 0.5}, {0.5, 0.5, 0}}}},
        {"R -3 m",
         {"R -3 m", 166, true,
          {"x,y,z", "-y,x-y,z", "-x+y,-x,z", "x-y,-y,-z", "-x,-x+y,-z", "y,x,-z"},
          {{1.0 / 3, 2.0 / 3, 2.0 / 3}, {2.0 / 3, 1.0 / 3, 1.0 / 3}}}},
        {"P 63/m m c",
         {"P 63/m m c", 194, true,
          {"x,y,z", "x-y,x,z+1/2", "y,-x+y,z+1/2", "-y,x-y,z", "-x+y,-x,z", "x-y,-y,-z",
           "-x,-x+y,-z", "-x,-y,z+1/2", "y,x,-z", "-y,-x,-z+1/2", "-x+y,y,-z+1/2",
           "x,x-y,-z+1/2"},
          {}}},
        {"P 32 2 1",
         {"P 32 2 1", 154, false,
          {"x,y,z", "-y,x-y,z+2/3", "-x+y,-x,z+1/3", "x-y,-y,-z+1/3", "-x,-x+y,-z+2/3",
           "y,x,-z"},
          {}}},
        {"P 21 21 21",
         {"P 21 21 21", 19, false,
          {"x,y,z", "x+1/2,-y+1/2,-z", "-x,y+1/2,-z+1/2", "-x+1/2,-y,z+1/2"},
          {}}},
    };
    return groups;
}

// Parses one component such as "-x+y" or "z+1/2" into a row and a translation.
void ParseComponent(const std::string& text, double* row, double& t) {
    double sign = 1.0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (c == '+' || c == '-') {
            sign = c == '-' ? -1.0 : 1.0;
        } else if (c >= 'x' && c <= 'z') {
            row[c - 'x'] += sign;
            sign = 1.0;
        } else {
            const std::size_t slash = text.find('/', i);
            const double num = std::stod(text.substr(i, slash - i));
            const double den = std::stod(text.substr(slash + 1));
            t += sign * num / den;
            i = text.find_first_of("+-", slash);
            if (i == std::string::npos)
                break;
            --i;
            sign = 1.0;
        }
    }
}

std::array<double, 16> ParseOperator(const std::string& xyz) {
    std::array<double, 16> m{};
    std::size_t start = 0;
    for (int r = 0; r < 3; ++r) {
        const std::size_t end = xyz.find(',', start);
        double row[3] = {0, 0, 0}, t = 0;
        ParseComponent(xyz.substr(start, end - start), row, t);
        for (int c = 0; c < 3; ++c)
            m[4 * c + r] = row[c];
        m[12 + r] = t;
        start = end + 1;
    }
    m[15] = 1.0;
    return m;
}

void ReduceTranslation(std::array<double, 16>& m) {
    for (int r = 0; r < 3; ++r) {
        double t = m[12 + r] - std::floor(m[12 + r]);
        if (std::fabs(t) < 1e-9 || std::fabs(t - 1.0) < 1e-9)
            t = 0.0;
        m[12 + r] = t;
    }
}

}  // namespace

const TestGroup& GroupBySymbol(const std::string& symbol) {
    const auto it = Catalogue().find(symbol);
    if (it == Catalogue().end())
        throw std::invalid_argument("no test group " + symbol);
    return it->second;
}

std::vector<std::array<double, 16>> ExpandOperators(const TestGroup& group) {
    std::vector<std::array<double, 16>> primitive;
    for (const std::string& text : group.operators) {
        const auto op = ParseOperator(text);
        primitive.push_back(op);
        if (group.centric) {
            auto inverted = op;
            for (int k = 0; k < 15; ++k)
                inverted[k] = -inverted[k];
            ReduceTranslation(inverted);
            primitive.push_back(inverted);
        }
    }
    for (auto& op : primitive)
        ReduceTranslation(op);
    std::vector<std::array<double, 16>> all = primitive;
    for (const auto& shift : group.translations) {
        for (auto op : primitive) {
            for (int r = 0; r < 3; ++r)
                op[12 + r] += shift[r];
            ReduceTranslation(op);
            all.push_back(op);
        }
    }
    return all;
}

namespace {

// Expands candidate reflections one at a time and keeps those that are
// not equivalent to one kept before, and allowed unless keepAbsent is set.
void AddReflections(MEMData3D& mem, const std::vector<std::array<int, 3>>& candidates,
                    int centric, bool keepAbsent) {
    std::vector<std::array<int, 3>> seen;
    for (const auto& h : candidates) {
        bool known = false;
        for (const auto& s : seen)
            known = known || s == h;
        if (known)
            continue;
        ObjVector<StructureFactor> one, absent;
        one.add(new StructureFactor(h.data(), 3));
        if (StructureFactor::ExpandReflectionList(one, absent, mem.unitCell.symOp,
                                                  mem.unitCell.orthoInverse, 3, 1 - centric) > 0 &&
            !keepAbsent)
            continue;
        for (std::size_t j = 0; j < one[0]->hkl.nItems(); ++j) {
            const int* e = one[0]->hkl.item(j);
            seen.push_back({e[0], e[1], e[2]});
        }
        mem.reflections.add(one[0]);
    }
}

}  // namespace

std::unique_ptr<MEMData3D> MakeAnalysis(const AnalysisSpec& spec) {
    auto mem = std::make_unique<MEMData3D>();
    const TestGroup& group = GroupBySymbol(spec.symbol);
    UnitCell& uc = mem->unitCell;
    std::copy(spec.cell.begin(), spec.cell.end(), uc.cell);
    uc.orthoMatrix.SetC2Ortho(uc.cell);
    uc.orthoInverse.Initialize(uc.orthoMatrix, 'I', 1.0);
    uc.symOp.clear();
    for (const auto& op : ExpandOperators(group))
        uc.symOp.add(new Matrix4D(op.data()));
    std::snprintf(uc.spgName, sizeof uc.spgName, "%s", group.name.c_str());
    uc.spgNumber = group.number;
    uc.spgSetting = 1;
    uc.crystalSystem = 0;
    uc.centric = group.centric ? 1 : 0;
    uc.latticeCount = 1 + static_cast<int>(group.translations.size());

    std::copy(spec.grid.begin(), spec.grid.end(), mem->gridSize);
    const double cells = static_cast<double>(spec.grid[0]) * spec.grid[1] * spec.grid[2];
    mem->voxelVolume = uc.orthoMatrix.Determinant() / cells;

    for (const auto& h : spec.unobserved) {
        ObjVector<StructureFactor> one, absent;
        one.add(new StructureFactor(h.data(), 3));
        StructureFactor::ExpandReflectionList(one, absent, uc.symOp, uc.orthoInverse, 3, 1);
        mem->reflections.add(one[0]);
    }
    mem->nRefUnobs = static_cast<int>(spec.unobserved.size());
    AddReflections(*mem, spec.hkl, uc.centric, spec.keepAbsent);
    for (int size : spec.groups) {
        mem->groupSize.push_back(size);
        mem->nRefG += size;
    }
    mem->nGroups = static_cast<int>(spec.groups.size());
    mem->nRefF = mem->reflections.size() - mem->nRefUnobs - mem->nRefG;
    std::vector<std::array<int, 3>> extra;
    if (spec.withOrigin)
        extra.push_back({0, 0, 0});
    for (int h = 1; static_cast<int>(extra.size()) < spec.extraE + (spec.withOrigin ? 1 : 0); ++h)
        for (int k = -h; k <= h && static_cast<int>(extra.size()) < spec.extraE + (spec.withOrigin ? 1 : 0); ++k)
            extra.push_back({h, k, h + k});
    for (const auto& h : extra) {
        ObjVector<StructureFactor> one, absent;
        one.add(new StructureFactor(h.data(), 3));
        StructureFactor::ExpandReflectionList(one, absent, uc.symOp, uc.orthoInverse, 3,
                                              1 - uc.centric);
        mem->reflections.add(one[0]);
    }
    mem->nRefE = static_cast<int>(extra.size());
    mem->AllocateMemory();

    std::mt19937 random(spec.seed);
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    for (int i = 0; i < mem->nRefF; ++i) {
        const double magnitude = 1.0 + 9.0 * unit(random);
        const double phase = 6.283185307179586 * unit(random);
        mem->FobsRe[i] = magnitude * std::cos(phase);
        mem->FobsIm[i] = uc.centric ? 0.0 : magnitude * std::sin(phase);
        const double sigma = 0.05 + 0.2 * unit(random);
        mem->weightF[i] = 1.0 / (sigma * sigma);
        mem->refWeight[i] = 1.0;
    }
    for (int g = 0, p = mem->nRefF; g < mem->nGroups; ++g) {
        mem->Gobs[g] = 1.0 + 9.0 * unit(random);
        const double sigma = 0.05 + 0.2 * unit(random);
        mem->weightG[g] = 1.0 / (sigma * sigma);
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
    const IO::PrintFunc saved = IO::Printf;
    IO::Printf = IO::NoPrint;
    mem.PrepareCalculation(nullptr, nullptr);
    IO::Printf = saved;
}

std::unique_ptr<MEMData3D> MakePreparedAnalysis(const AnalysisSpec& spec) {
    auto mem = MakeAnalysis(spec);
    PrepareQuietly(*mem);
    return mem;
}

std::unique_ptr<MEMData3D> MakeTransformAnalysis(AnalysisSpec spec) {
    for (spec.extraE = std::max(spec.extraE, 16);; spec.extraE *= 2) {
        auto mem = MakePreparedAnalysis(spec);
        if (mem->useFFT)
            return mem;
    }
}

double& VoxelDensity(MEMData3D& mem, int g, ThreadData** block, int* local) {
    for (int t = 0; t < mem.threads.size(); ++t) {
        ThreadData* b = mem.threads[t];
        if (g >= b->offset && g < b->offset + b->nVoxel) {
            if (block)
                *block = b;
            if (local)
                *local = g - b->offset;
            return b->rho12[g - b->offset];
        }
    }
    throw std::out_of_range("voxel number");
}

void RandomiseDensity(MEMData3D& mem, unsigned seed) {
    std::mt19937 random(seed);
    std::uniform_real_distribution<double> unit(0.2, 1.8);
    for (int t = 0; t < mem.threads.size(); ++t) {
        ThreadData* b = mem.threads[t];
        for (int v = 0; v < b->nVoxel; ++v) {
            b->rho1[v] = b->rho1Old[v] = unit(random) * mem.targetMoment[0] / mem.nVoxelCell;
            b->rho12[v] = b->rho1[v] + b->rho2[v];
        }
    }
    mem.CalcFcalc(0);
}
