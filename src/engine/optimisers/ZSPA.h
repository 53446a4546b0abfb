// Algorithm 0: the zeroth-order single-pixel approximation (ZSPA), and its exponential step.
#pragma once

class MEMData;

// Iterates the exponential update of every voxel with the one multiplier
// d.lambda until CONSTR falls to 1, or maxCycles. A rejected attempt halves
// lambda, an accepted one lets it grow by the factor 1 + t, never back to
// where the last run of failures began; 21 failures in a row fall back to a
// fresh count followed by the Cambridge algorithm. Ends with all structure
// factors calculated, the listed-only reflections included.
void ZSPA(MEMData& d, int maxCycles);

// The exponential step of every block from the accepted density for the
// multiplier lambda; Zp and Zm are set to the new totals of the two sides,
// added in block order.
void ZSPA_ExpStep(MEMData& d, double lambda, double& Zp, double& Zm);
// Scales the two sides of every block by a and b and forms rho12.
void ZSPA_Scale(MEMData& d, double a, double b);
