// Algorithm 2: the Cambridge algorithm, a damped Newton-like ascent of the entropy.
#pragma once

class MEMData;

// Runs the Cambridge algorithm from the present density until CONSTR is 1 and
// the gradient small, or param.maxCycles. It ascends Q = S - lambda (wCONSTR - 1)
// and adapts d.lambda towards CONSTR = 1 as the gradient shrinks; every 500
// cycles it leaves the output files. Ends with all structure factors
// calculated, the listed-only reflections included; d.stalled tells whether it
// stopped short of its own convergence test.
void Cambridge(MEMData& d);
