// Small analyses built in memory for the engine tests: a space group, a cell, a grid and a few reflections.
#pragma once

#include <array>
#include <memory>
#include <string>
#include <vector>

#include "mem/MEMData3D.h"

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
    std::vector<int> groups = {};  // sizes of overlap groups made of the last accepted candidates
    int extraE = 0;            // report-only reflections appended, to tip the cost rule to FFT
    bool withOrigin = false;   // (0 0 0) as the first report-only reflection
    double F000 = 100.0;
    unsigned seed = 1;
    bool keepAbsent = false;   // keep systematically absent candidates as individual reflections
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
