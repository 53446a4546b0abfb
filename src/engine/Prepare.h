// Preparing a calculation: from a read data set to the evaluated density of cycle 0.
#pragma once

#include "engine/MEMData.h"

// Starts the multiplier from the settings, builds the voxel blocks and the
// Fourier path (MakeThreadData), creates the eight constraint terms, fixes
// the mean weight and the sums of the observations, and evaluates cycle 0:
// structure factors, constraint and derivatives, printed as " CYCLE 0:".
// `timer(stamp, d.timePrep)` then adds the preparation's time, if given.
void PrepareCalculation(MEMData& d, ProgressFunction timer, void* stamp);
