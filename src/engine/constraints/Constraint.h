// Constraint: one generalised chi-square term of even order 2..16 and its derivatives.
#pragma once

#include <vector>

#include "crystal/StructureFactor.h"
#include "numeric/Vector.h"

// The term of order n is the n-th moment of the normalised residuals divided by
// (n - 1)!!, the n-th moment of a unit normal distribution, so that normally
// distributed residuals put every order near 1. Order 2 is the ordinary
// reduced chi-square.
class Constraint : public Object {
public:
    double CF = 0.0;  // part of the last value from the individual reflections
    double CG = 0.0;  // part of the last value from the groups
    int order = 0;
    int nRef0 = 0;  // unobserved reflections at the head of the list
    int nRef1 = 0;  // individual reflections
    int nRef2 = 0;  // grouped reflections
    int nGroup = 0;
    int nVoxelCell = 0;
    int doubleFactorial = 1;   // (order - 1)!!
    double* derivA = nullptr;  // d(term) / dA of each constraint position
    double* derivB = nullptr;  // d(term) / dB of each constraint position

    Constraint() = default;
    ~Constraint() override;
    Constraint(const Constraint&) = delete;
    Constraint& operator=(const Constraint&) = delete;

    // A new term with zeroed derivatives; the caller owns it until a list takes it.
    static Constraint* Create(int nRef0, int nRef1, int nRef2, int nGroup, int order, int nVoxelCell);

    // Value and derivatives for the residuals dA, dB (already scaled by sqrt(wF)).
    // wN are the relative weights, weight the fraction of lambda of this order;
    // linearG selects groups compared by their mean real part instead of magnitude.
    double CalcDerivative(int mode, ObjVector<StructureFactor>& refl, double* dA, double* dB, double* wF,
                          double* Gc, std::vector<int>& groupSize, std::vector<int>& groupMult, double* wN,
                          double weight, int linearG);
    // Adds this term's derivatives into re and im.
    void MergeDerivative(double* re, double* im) const;
    // Unweighted moments C_n of the residuals for the report, one per order.
    void Calc_CFn(double* out, int* orders, int count, double* dA, double* dB, std::vector<int>& groupSize);
};
