// Shared helpers of the reader and analysis tests: scratch files, the table, prepared analyses and a small data set.
#pragma once

#include <gtest/gtest.h>
#include <omp.h>

#include <cstdio>
#include <memory>
#include <string>

#include "app/Timer.h"
#include "common/CapturedOutput.h"
#include "common/SpaceGroupTable.h"
#include "common/TempDir.h"
#include "mem/MEMData3D.h"
#include "mem/ThreadData.h"

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
    d.PrepareCalculation(timer_function::check_timer, &d.stamp);
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
