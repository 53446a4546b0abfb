// Vector variants of exp and log for the per-voxel loops, from the C library's vector math library.
#pragma once

#include <cmath>

// The C library declares its vector variants only under -ffast-math, which
// the program avoids for its other arithmetic. These declarations let a loop
// marked `omp simd` call them: a few voxels at a time, to within a few units
// in the last place of the scalar functions.
extern "C" {
#pragma omp declare simd notinbranch
double exp(double) noexcept;
#pragma omp declare simd notinbranch
double log(double) noexcept;
}
