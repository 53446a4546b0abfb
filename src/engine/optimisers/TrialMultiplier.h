// The constraint as a function of a trial multiplier: what the scalar root finder solves for lambda.
#pragma once

// Both take the MEMData as `data`, the form that LineSearch calls.
// C - 1 for the densities that the exponential step with multiplier lambda
// gives; the step is left in the blocks' present densities.
double CalcC2(void* data, double lambda);
// Mismatch of the logarithmic mean of the exponential densities for lambda
// with the stored means mu1Mean + mu2Mean.
double CalcLambda(void* data, double lambda);
