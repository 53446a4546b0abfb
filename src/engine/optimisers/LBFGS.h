// L-BFGS (algorithm 1): what the analysis keeps for the limited-memory minimiser between its cycles.
#pragma once

#include "engine/optimisers/lbfgs/lbfgs.h"
#include "engine/blocks/ForEachBlock.h"

struct LBFGSState {
    // The minimiser's vectors; g and d share the blocks' gradient and step vectors.
    lbfgs_workspace work;
    BlockSums sums;                   // per-block totals of the passes over the density
    int evaluations = 0;              // evaluations of the objective
    double recentObjective[10] = {};  // Q of the last cycles of a run, by k mod 10
};
