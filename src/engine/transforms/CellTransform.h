// The forward and backward transforms of the cell grid, pruned to the columns that reflections use.
#pragma once

#include <fftw3.h>

#include <vector>

// A three-dimensional real transform is one pass of one-dimensional
// transforms along each axis. Of the half-complex array only the columns with
// first index u <= uMax hold reflections: the forward transform leaves the
// rest of the array unfinished, and the backward one takes those columns as
// zero, so the passes along y and z skip them. Where that saves little, the
// whole-grid transforms are used instead. The grids are the caller's; the
// plans overwrite them, so they are made before any grid holds data.
class CellTransform {
public:
    // n = nx, ny, nz (x the fastest-varying index of realGrid); spectrum has
    // (nx / 2 + 1) ny nz entries and serves both directions.
    CellTransform(const int* n, int uMax, double* realGrid, fftw_complex* spectrum);
    ~CellTransform();
    CellTransform(const CellTransform&) = delete;
    CellTransform& operator=(const CellTransform&) = delete;

    // realGrid -> spectrum, exact in the columns u <= uMax.
    void Forward() const;
    // spectrum -> realGrid; the columns beyond uMax must be zero. The
    // spectrum is overwritten.
    void Backward() const;
    bool Pruned() const { return pruned_; }

private:
    std::vector<fftw_plan> forward_;  // executed in order
    std::vector<fftw_plan> backward_;
    bool pruned_ = false;
};
