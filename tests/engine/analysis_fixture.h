// Shared helpers of the engine tests: small analyses built in memory (a space
// group, a cell, a grid and a few reflections), scratch files, the table,
// analyses prepared from files, and a small data set.
#pragma once

#include <gtest/gtest.h>
#include <omp.h>

#include <array>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "util/Timer.h"
#include "common/CapturedOutput.h"
#include "common/SpaceGroupTable.h"
#include "common/TempDir.h"
#include "engine/MEMData3D.h"
#include "engine/Prepare.h"
#include "engine/blocks/ThreadData.h"

// A setting of the program's space-group table, named by its symbol.
struct TestGroup {
    std::string name;  // Hermann-Mauguin symbol; its first letter is the lattice
    int number, setting;
};

// "P 1", "P -1", "P 21/c", "P 42/m n m", "F m -3 m", "R -3 m" (hexagonal
// axes), "P 63/m m c", "P 32 2 1" or "P 21 21 21".
const TestGroup& GroupBySymbol(const std::string& symbol);

// The expanded operator list of a group in table order.
ObjVector<MatrixD> ExpandOperators(const TestGroup& group);

struct AnalysisSpec {
    std::string symbol;
    std::array<float, 6> cell;
    std::array<int, 3> grid;
    std::vector<std::array<int, 3>> hkl;  // candidates; absent and equivalent ones are dropped
    std::vector<int> groups = {};         // sizes of overlap groups made of the last accepted candidates
    int extraE = 0;                       // report-only reflections appended, to tip the cost rule to FFT
    bool withOrigin = false;              // (0 0 0) as the first report-only reflection
    double F000 = 100.0;
    unsigned seed = 1;
    bool keepAbsent = false;  // keep systematically absent candidates as individual reflections
    std::vector<std::array<int, 3>> unobserved = {};  // generated reflections at the head of the list
};

// An analysis as a reader leaves it: cell, operators, grid, reflections with
// random observed F (and G), weights and F(000). Nothing is prepared yet.
std::unique_ptr<MEMData3D> MakeAnalysis(const AnalysisSpec& spec);

// PrepareCalculation with the console silenced, and MakeAnalysis followed by it.
void PrepareQuietly(MEMData3D& mem);
std::unique_ptr<MEMData3D> MakePreparedAnalysis(const AnalysisSpec& spec);

// MakePreparedAnalysis with enough report-only reflections added to make the
// direct sums dearer than a transform, so that the analysis takes that path.
std::unique_ptr<MEMData3D> MakeTransformAnalysis(AnalysisSpec spec);

// Gives every voxel a random positive density (the same for equal seeds and
// equal voxel numbering), refreshes rho12 and the structure factors.
void RandomiseDensity(MEMData3D& mem, unsigned seed);

// The block that holds global voxel number g, and its number there.
ThreadData* VoxelBlock(MEMData3D& mem, int g, int* local);

// All eight orders weighted and no damping of the orders by C (which would
// move with the structure factors), so that every term and its derivative
// take part.
void WeighAllOrders(MEMData3D& mem);

// A file in a scratch directory, written byte for byte.
class ScratchFile {
public:
    explicit ScratchFile(const std::string& bytes, const std::string& name = "data.mem")
        : path_(dir_.write(name, bytes)) {}
    const std::string& path() const { return path_; }

private:
    TempDir dir_;
    std::string path_;
};

// An analysis object set up as the dialogue would leave it for a data file.
inline std::unique_ptr<MEMData3D> AnalysisFor(const std::string& path, int fileType) {
    LoadedTable();
    auto mem = std::make_unique<MEMData3D>();
    mem->param.dataFile = path;
    mem->param.fileType = fileType;
    return mem;
}

// The space-group table, loaded once. Standard input is closed as well, so
// that the waits after a refused restart or prior file return at once.
inline void LoadTablesOnce() {
    static const bool quietInput = freopen("/dev/null", "r", stdin) != nullptr;
    ASSERT_TRUE(quietInput && LoadedTable().ok);
}

// An analysis that keeps its own timer stamp, as the driver does.
class TestAnalysis : public MEMData3D {
public:
    double stamp = 0.0;
};

// Reads a data set of the given file type with the settings already in
// `d.param`; the messages go to `messages` when given.
inline bool ReadQuietly(MEMData3D& d, const std::string& path, int type, std::string* messages = nullptr) {
    LoadTablesOnce();
    CapturedOutput quiet;
    d.param.fileType = type;
    d.param.dataFile = path;
    d.param.SetFileNames();
    const bool read = d.ReadFobs();
    if (messages) *messages = quiet.all();
    return read;
}

// Fixes the thread count as the driver does and prepares cycle 0; the
// failures among its messages go to `errors` when given.
inline void PrepareCycleZero(TestAnalysis& d, std::string* errors = nullptr) {
    CapturedOutput quiet;
    d.nThreads = omp_get_max_threads();
    d.stamp = omp_get_wtime();
    PrepareCalculation(d, timer_function::check_timer, &d.stamp);
    if (errors) *errors = quiet.errors();
}

// ReadQuietly on a .mem data set, then PrepareCycleZero.
inline void Prepare(TestAnalysis& d, const std::string& dataFile, std::string* errors = nullptr) {
    ASSERT_TRUE(ReadQuietly(d, dataFile, 3));
    PrepareCycleZero(d, errors);
}

// Sum over the asymmetric unit of multiplicity times density, channel 1 or 2,
// from the accepted ("old") or the current arrays.
inline double Total(const MEMData& d, int channel, bool old) {
    double sum = 0.0;
    for (ThreadData* b : d.threads) {
        const VectorXD& rho = channel == 1 ? (old ? b->rho1Old : b->rho1) : (old ? b->rho2Old : b->rho2);
        for (int v = 0; v < b->nVoxel; ++v) sum += b->multiplicity[v] * rho[v];
    }
    return sum;
}

// The P 1 data set of tests/data/p1_model.mem (two Gaussian atoms, 12
// electrons) as dir/model.mem, on the grid given; returns its path.
inline std::string WriteP1DataSet(const TempDir& dir, const std::string& grid = "16 18 20") {
    std::string text = ReadText(std::string(HALVORIN_TEST_DATA) + "/p1_model.mem");
    text.replace(text.find("\n1 1 16 18 20\n") + 5, 8, grid);
    WriteText(dir.file("model.mem"), text);
    return dir.file("model.mem");
}

inline void PrepareP1(TestAnalysis& d, const TempDir& dir, const std::string& grid = "16 18 20") {
    Prepare(d, WriteP1DataSet(dir, grid));
}
