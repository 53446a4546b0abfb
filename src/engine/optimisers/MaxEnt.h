// The optimiser of an analysis, chosen by the settings' algorithm code.
#pragma once

class MEMData;

// Runs the optimiser that param.algorithm names on a prepared analysis: 0
// ZSPA, 1 L-BFGS, 2 Cambridge, 3 ZSPA and then Cambridge, 4 the dual Newton
// solver (or L-BFGS for data outside the dual); any other code runs none.
// Then writes the result files.
void MaxEnt(MEMData& d);
