// Reading the data set and building the blocks through the engine; blending, normalising and writing the prior.
#include "prior/AnalysisGrid.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstring>

#include "util/FileType.h"
#include "util/IO.h"
#include "engine/blocks/ThreadData.h"
#include "gridfile/PgridFormat.h"
#include "prior/PriorError.h"

namespace {

// The engine reports on the console; the companion tells its own story.
class QuietEngine {
public:
    QuietEngine() : printf_(IO::Printf), error_(IO::PrintError) {
        IO::Printf = IO::PrintError = &IO::NoPrint;
    }
    ~QuietEngine() {
        IO::Printf = printf_;
        IO::PrintError = error_;
    }
    QuietEngine(const QuietEngine&) = delete;
    QuietEngine& operator=(const QuietEngine&) = delete;

private:
    IO::PrintFunc printf_, error_;
};

bool IsRegularFile(const std::string& path) {
    struct stat s;
    return stat(path.c_str(), &s) == 0 && S_ISREG(s.st_mode);
}

void ReadSettings(MEMData3D& mem, const std::string& dataPath, bool negativeChannel) {
    MEMParam& p = mem.param;
    const int code = check_format(dataPath.c_str());
    if (code == kTypeCondition || code == kTypeOldCondition) {
        if (!p.ReadConditions(dataPath)) throw PriorError("cannot read the condition file " + dataPath);
        if (!IsRegularFile(p.dataFile))
            throw PriorError(dataPath + " names the data file " + p.dataFile + ", which does not exist");
        return;
    }
    if (code == kTypeUnsupported || code == kTypeAlb)
        throw PriorError("unknown data format of " + dataPath +
                         " (use .prf, .mem, .fcf or another data set of halvorin)");
    p.dataFile = dataPath;
    p.fileType = code;
    if ((code == kTypeMEM || code == kTypeMEP) && negativeChannel) p.fileType += 1;
    p.SetFileNames();
}

}  // namespace

std::unique_ptr<MEMData3D> LoadAnalysis(const std::string& dataPath, bool negativeChannel) {
    if (!IsRegularFile(dataPath)) throw PriorError("no data file " + dataPath);
    auto mem = std::make_unique<MEMData3D>();
    {
        char buf[2048];
        mem->param.workDir = getcwd(buf, sizeof buf) ? buf : "";
    }
    std::string path = dataPath;
    IO::toAbsolutePath(path, mem->param.workDir + "/");
    ReadSettings(*mem, path, negativeChannel);
    mem->param.startType = 0;
    mem->param.priorType = 0;
    QuietEngine quiet;
    if (!mem->ReadFobs()) throw PriorError("cannot read the data set " + mem->param.dataFile);
    if (!mem->GridFitsMemory())
        throw PriorError("the grid of " + mem->param.dataFile + " does not fit into memory");
    if (mem->targetMoment[0] == 0.0 && mem->targetMoment[1] == 0.0)
        throw PriorError(mem->param.dataFile + " gives no F(000)");
    // The team size is the number of blocks, as in an analysis; the file's
    // voxel order does not depend on it.
    mem->nThreads = TeamSize();
    mem->MakeThreadData();
    return mem;
}

std::vector<PhasedReflection> PhasedReflections(const MEMData3D& mem, size_t most) {
    std::vector<PhasedReflection> out;
    const gemmi::UnitCell cell = AnalysisCell(mem);
    for (int i = 0; i < mem.nRefF && out.size() < most; ++i) {
        const StructureFactor& r = *mem.reflections[mem.nRefUnobs + i];
        const int* h = r.hkl.item(0);
        PhasedReflection p{{h[0], h[1], h[2]}, mem.FobsRe[i], mem.FobsIm[i], 0.0};
        p.stol2 = 0.25 * cell.calculate_1_d2(gemmi::Miller{{h[0], h[1], h[2]}});
        out.push_back(p);
    }
    return out;
}

gemmi::UnitCell AnalysisCell(const MEMData3D& mem) {
    const float* c = mem.unitCell.cell;
    return gemmi::UnitCell(c[0], c[1], c[2], c[3], c[4], c[5]);
}

namespace {

// Charge per grid point of the representative of every voxel, in block order,
// with a floor that keeps the procrystal part positive far from all atoms.
std::vector<double> VoxelCharges(const MEMData3D& mem, const std::vector<double>& density) {
    std::vector<double> q;
    q.reserve(mem.NASYM);
    for (const ThreadData* b : mem.threads)
        for (int v = 0; v < b->nVoxel; ++v)
            q.push_back(std::fabs(density[b->gridIndex[v]]) * mem.voxelVolume);
    const double peak = q.empty() ? 0.0 : *std::max_element(q.begin(), q.end());
    for (double& x : q) x = std::max(x, 1e-9 * peak);
    return q;
}

// (1 - w) procrystal + w uniform with the channel's total `target` (signed).
std::vector<double> Blend(const MEMData3D& mem, const std::vector<double>& density, double w, double target) {
    std::vector<double> q = density.empty() ? std::vector<double>() : VoxelCharges(mem, density);
    double sum = 0.0;
    size_t k = 0;
    for (const ThreadData* b : mem.threads)
        for (int v = 0; v < b->nVoxel; ++v, ++k) sum += b->multiplicity[v] * (q.empty() ? 1.0 : q[k]);
    const double uniform = w * target / mem.nVoxelCell;
    const double model = sum > 0.0 && !q.empty() ? (1.0 - w) * target / sum : 0.0;
    std::vector<double> out(mem.NASYM);
    for (size_t i = 0; i < out.size(); ++i)
        out[i] = q.empty() ? target / mem.nVoxelCell : model * q[i] + uniform;
    return out;
}

}  // namespace

PriorWritten WritePrior(MEMData3D& mem, const ProcrystalGrids& grids, double w, const std::string& title) {
    PriorWritten written;
    const std::vector<double>* density[2] = {&grids.plus, &grids.minus};
    const std::vector<double> none;
    for (int c = 0; c < 2; ++c) {
        const double target = mem.targetMoment[c];
        if (target == 0.0) continue;
        const std::vector<double> values = Blend(mem, *density[c], w, target);
        size_t k = 0;
        double total = 0.0, lowest = HUGE_VAL;
        for (ThreadData* b : mem.threads) {
            if (c == 1) b->ReserveMinusSide();
            VectorXD& rho = c == 0 ? b->rho1 : b->rho2;
            for (int v = 0; v < b->nVoxel; ++v, ++k) {
                rho[v] = values[k];
                total += b->multiplicity[v] * values[k];
                lowest = std::min(lowest, std::fabs(values[k]) / mem.voxelVolume);
            }
        }
        written.total[c] = total;
        written.lowest[c] = lowest;
    }
    std::memset(mem.title, 0, sizeof mem.title);
    std::strncpy(mem.title, title.c_str(), sizeof mem.title - 1);
    written.path = PriorFileName(mem.param.gridFile);
    const std::string gridFile = mem.param.gridFile;
    mem.param.gridFile = written.path;
    int failed = 0;
    {
        QuietEngine quiet;
        failed = mem.WritePgrid();
    }
    mem.param.gridFile = gridFile;
    if (failed) throw PriorError("cannot write " + written.path);
    return written;
}
