// The density grid file: writing the result, and reading it back as restart density or prior.
#include "gridfile/PgridFormat.h"

#include <cmath>
#include <cstring>

#include "util/IO.h"
#include "util/LittleEndian.h"
#include "util/Assert.h"
#include "engine/outputs/AtomicFile.h"
#include "engine/MEMData3D.h"
#include "engine/blocks/ThreadData.h"

namespace {

template <class T>
void Put(FILE* f, T value) {
    static_assert(sizeof(T) == 4, "grid file values are 4 bytes");
    fwrite(&value, sizeof value, 1, f);
}

// A value past the end of the file leaves its target as it was: a short or
// damaged file gives wrong densities, never an error.
template <class T>
void Get(FILE* f, T& value) {
    fread_LE(&value, sizeof value, 1, f);
}

// The users of a restart or prior file are told why it is not used, and the
// console waits, so that the message is not lost in the cycle output.
void WaitForKey() {
    IO::PrintError("Press Enter key to continue.\n");
    getchar();
}

void WriteHeader(FILE* f, const MEMData3D& d) {
    PgridHeader h;
    std::memcpy(h.title, d.title, sizeof h.title);
    fwrite(h.version, sizeof h.version, 1, f);
    fwrite(h.title, sizeof h.title, 1, f);
    Put(f, h.constant);
    Put<int32_t>(f, d.nSymOp > 1 ? 1 : 0);
    Put<int32_t>(f, d.targetMoment[0] != 0.0 && d.targetMoment[1] != 0.0 ? 2 : 1);
    Put(f, h.dimension);
    for (int i = 0; i < 3; ++i) Put<int32_t>(f, d.gridSize[i]);
    Put<int32_t>(f, d.NASYM);
    for (int i = 0; i < 6; ++i) Put<float>(f, d.unitCell.cell[i]);
}

// Rotations column by column and translations in voxels, all rounded.
void WriteOperators(FILE* f, const MEMData3D& d) {
    const ObjVector<MatrixD>& ops = d.unitCell.symOp;
    HV_ASSERT(d.nSymOp <= ops.size());
    Put<int32_t>(f, d.nSymOp);
    Put<int32_t>(f, 0);
    Put<int32_t>(f, 1);
    for (int n = 0; n < d.nSymOp; ++n) {
        const MatrixD& op = *ops[n];
        for (int j = 0; j < 3; ++j)
            for (int i = 0; i < 3; ++i) Put<int32_t>(f, static_cast<int32_t>(std::floor(op(i, j) + 0.5)));
        for (int i = 0; i < 3; ++i)
            Put<int32_t>(f, static_cast<int32_t>(std::floor(d.gridSize[i] * op(i, 3) + 0.5)));
    }
    for (int i = 0; i < 3; ++i) Put<int32_t>(f, 0);
}

// Densities per cubic angstrom in the file, per voxel in the blocks.
void WriteVoxels(FILE* f, const MEMData3D& d, bool indexed) {
    const bool plus = d.targetMoment[0] != 0.0;
    const bool minus = d.targetMoment[1] != 0.0;
    const int nx = d.gridSize[0], ny = d.gridSize[1];
    for (ThreadData* block : d.threads) {
        for (int v = 0; v < block->nVoxel; ++v) {
            const int point = block->gridIndex[v];
            const int xyz[3] = {point % nx, point / nx % ny, point / nx / ny};
            if (indexed) Put<int32_t>(f, PgridVoxelIndex(d.gridSize, xyz));
            if (plus) Put<float>(f, static_cast<float>(block->rho1[v] / d.voxelVolume));
            if (minus) Put<float>(f, static_cast<float>(block->rho2[v] / d.voxelVolume));
        }
    }
}

bool MatchesRun(const PgridHeader& h, const MEMData3D& d) {
    return h.gridSize[0] == d.gridSize[0] && h.gridSize[1] == d.gridSize[1] &&
           h.gridSize[2] == d.gridSize[2] && h.nAsym == d.NASYM;
}

void PrintMismatch(const PgridHeader& h, const MEMData3D& d, const std::string& path) {
    IO::PrintError("Error! Number of voxels are inconsistent.\n");
    IO::PrintError("MEM input file: %d x %d x %d, (NASYM=%d): (%s)\n", d.gridSize[0], d.gridSize[1],
                   d.gridSize[2], d.NASYM, d.param.dataFile.c_str());
    IO::PrintError("Voxel data file: %d x %d x %d, (NASYM=%d): (%s)\n", h.gridSize[0], h.gridSize[1],
                   h.gridSize[2], h.nAsym, path.c_str());
}

// Outcome of opening a density file of the present run.
enum class GridOpen { Ok, Missing, Mismatch };

// Opens `path`, reads its header and, for a file of this run's grid, takes its
// lattice constants and moves to the first voxel. The file's cell replaces the
// data file's, while the voxel volume stays that of the data file.
GridOpen OpenGridFile(MEMData3D& d, const std::string& path, PgridHeader& h, IO::File& f) {
    f = IO::OpenInput(path, "rb");
    if (!f) return GridOpen::Missing;
    ReadPgridHeader(f.get(), h);
    if (!MatchesRun(h, d)) {
        PrintMismatch(h, d, path);
        f.reset();
        return GridOpen::Mismatch;
    }
    std::memcpy(d.unitCell.cell, h.cell, sizeof h.cell);
    if (h.gridType == 1) SkipPgridOperators(f.get());
    return GridOpen::Ok;
}

// OpenGridFile for a restart or prior file. A file that cannot be used is
// reported (`missingFormat` names a missing one), followed by `fallback`, what
// the run does instead; then the console waits. A missing file also resets
// `setting`, the choice that asked for it, while a file of another grid leaves
// the choice as the user gave it. Null when the file is not used.
IO::File OpenInputGrid(MEMData3D& d, const std::string& path, PgridHeader& h, const char* missingFormat,
                       const char* fallback, int& setting) {
    IO::File f;
    const GridOpen opened = OpenGridFile(d, path, h, f);
    if (opened == GridOpen::Ok) return f;
    if (opened == GridOpen::Missing) IO::PrintError(missingFormat, path.c_str());
    IO::PrintError("%s", fallback);
    WaitForKey();
    if (opened == GridOpen::Missing) setting = 0;
    return nullptr;
}

// A value of the file, per cubic angstrom, as a density per voxel.
float ReadDensity(FILE* f, float& scratch, double voxelVolume) {
    Get(f, scratch);
    return static_cast<float>(scratch * voxelVolume);
}

// Calls read(block, v) for every voxel in file order, the blocks' order, once
// the voxel's index of an indexed file is passed over.
template <class ReadVoxel>
void ForEachFileVoxel(FILE* f, const PgridHeader& h, const ObjVector<ThreadData>& threads, ReadVoxel read) {
    int32_t index = 0;
    for (ThreadData* block : threads) {
        for (int v = 0; v < block->nVoxel; ++v) {
            if (h.gridType == 1) Get(f, index);
            read(*block, v);
        }
    }
}

}  // namespace

int MEMData3D::WritePgrid() {
    AtomicFile file(param.gridFile, "wb");
    if (file.isOpen()) {
        FILE* f = file.stream();
        const bool indexed = nSymOp > 1;
        WriteHeader(f, *this);
        if (indexed) WriteOperators(f, *this);
        WriteVoxels(f, *this, indexed);
        if (file.Commit()) return 0;
    }
    IO::PrintError("Failed to write %s\n", param.gridFile.c_str());
    return 1;
}

int MEMData3D::ReadRho2() {
    PgridHeader h;
    const IO::File file =
        OpenInputGrid(*this, param.gridFile, h, "Failed to read density data of previous run: %s\n",
                      "The calculation will be started from flat densities.\n", param.startType);
    if (!file) return 1;
    FILE* f = file.get();
    float scratch = 0.0f;
    if (h.nChannel == 2)
        for (ThreadData* block : threads) block->ReserveMinusSide();
    ForEachFileVoxel(f, h, threads, [&](ThreadData& block, int v) {
        float r = ReadDensity(f, scratch, voxelVolume);
        block.rho1Old[v] = block.rho1[v] = r;
        float q = 0.0f;
        if (h.nChannel == 2) {
            q = ReadDensity(f, scratch, voxelVolume);
            block.rho2Old[v] = block.rho2[v] = q;
        }
        block.rho12[v] = r + q;
    });
    return 0;
}

int MEMData3D::ReadPrior2() {
    const std::string path = PriorFileName(param.gridFile);
    PgridHeader h;
    const IO::File file = OpenInputGrid(*this, path, h, "Failed to read prior data %s\n",
                                        "Flat prior will be used.\n", param.priorType);
    if (!file) return 1;
    FILE* f = file.get();
    float scratch = 0.0f;
    for (ThreadData* block : threads) block->ReservePriors();
    ForEachFileVoxel(f, h, threads, [&](ThreadData& block, int v) {
        block.prior1[v] = ReadDensity(f, scratch, voxelVolume);
        if (h.nChannel == 2) block.prior2[v] = ReadDensity(f, scratch, voxelVolume);
    });

    // Without a restart file the analysis starts at the prior's density, so
    // that every algorithm starts where the entropy is highest, with every
    // voxel and both channels taken from the file.
    if (param.startType == 0) {
        for (ThreadData* block : threads) {
            block->ReserveMinusSide();
            const size_t bytes = sizeof(double) * static_cast<size_t>(block->nVoxel);
            std::memcpy(block->rho1Old.p_, block->prior1, bytes);
            std::memcpy(block->rho1.p_, block->prior1, bytes);
            std::memcpy(block->rho2Old.p_, block->prior2, bytes);
            std::memcpy(block->rho2.p_, block->prior2, bytes);
            block->Add_Rho12();
        }
    }
    return 0;
}
