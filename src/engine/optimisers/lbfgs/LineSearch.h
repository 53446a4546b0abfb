// Root finder for one expensive function of one variable: a Lagrange multiplier of the analysis.
#pragma once

// Finds a root of f(data, x) from the start x: geometric steps of `factor`
// until the root is bracketed (or the values stop falling), then parabolas
// through the three best points, with golden-section steps while the three
// values share one sign. tol is relative for steps and absolute for values.
// Returns the best point; x holds the last point tried. Each evaluation
// changes the caller's state; the regular exit evaluates at the result last.
double LineSearch(double (*f)(void* data, double x), void* data, double& x, double tol, double factor);
