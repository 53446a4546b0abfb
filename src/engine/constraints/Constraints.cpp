// The constraint of the whole analysis: chi-square, R factors, the eight generalised
// terms and their merged derivatives.
#include <algorithm>
#include <cfloat>
#include <cmath>
#include <cstring>

#include "util/IO.h"
#include "engine/constraints/Constraint.h"
#include "engine/MEMData.h"
#include "engine/blocks/ThreadData.h"

namespace {

constexpr int kAlgorithmZSPA = 0;

}  // namespace

// The rounding error of a structure factor summed over the cell: sums of
// nVoxelCell terms whose sizes add up to the totals grow their error about
// as the square root of the count. A generous factor keeps every path and
// thread count on the same side of the threshold.
double MEMData::RoundingLevel() const {
    const double total = std::fabs(targetMoment[0]) + std::fabs(targetMoment[1]);
    return 64.0 * DBL_EPSILON * std::sqrt(static_cast<double>(nVoxelCell)) * total;
}

void MEMData::Calc_Constraint(int cycle) {
    const double dPlus = targetMoment[0] - calcMoment[0];
    const double dMinus = targetMoment[1] - calcMoment[1];
    constrF0 = (dPlus * dPlus + dMinus * dMinus) * meanWeight;
    // An unobserved reflection held at zero weighs as one mean datum of the
    // reduced chi-square: a stronger hold would outweigh all the data at once.
    const double unobservedWeight = meanWeight / (nRefF + nGroups);
    for (int i = 0; i < nRefUnobs; ++i) {
        const StructureFactor* f = reflections[i];
        constrF0 += (f->A * f->A + f->B * f->B) * unobservedWeight;
    }

    double sum1 = 0.0, sumAbs = 0.0;
    for (int p = 0; p < nRefF; ++p) {
        const StructureFactor* f = reflections[p + nRefUnobs];
        const double a = FobsRe[p] - f->A;
        const double b = FobsIm[p] - f->B;
        const double w = weightF[p];
        sum1 += w * (a * a + b * b);
        sumAbs += std::sqrt(a * a + b * b);
        residualRe[p] = a * std::sqrt(w);
        residualIm[p] = b * std::sqrt(w);
    }

    double sum2 = 0.0, sumAbs2 = 0.0;
    const double zeroG = RoundingLevel();
    const int end = nRefF + nRefG;
    int first = nRefF;
    for (int g = 0; g < nGroups && first < end; ++g) {
        const int last = std::min(first + std::max(groupSize[g], 0), end);
        int mult = 0;
        double linear = 0.0, squares = 0.0;
        for (int p = first; p < last; ++p) {
            const StructureFactor* f = reflections[p + nRefUnobs];
            const int M = static_cast<int>(f->hkl.nItems());
            mult += M;
            linear += M * f->A;
            squares += M * (f->A * f->A + f->B * f->B);
        }
        groupMult[g] = mult;
        // With unobserved reflections estimated, a group is compared by its
        // mean real part, which keeps the sign; otherwise by its magnitude.
        Gcalc[g] = param.estimateUnobserved ? linear / mult : std::sqrt(squares / mult);
        // A magnitude at rounding level is the zero it stands for (all members
        // of a group vanish at the flat start, say): the derivative divides by
        // it, and noise would otherwise set the direction of a full-size step.
        if (!param.estimateUnobserved && Gcalc[g] <= zeroG) Gcalc[g] = 0.0;
        const double d = Gobs[g] - Gcalc[g];
        sum2 += d * d * weightG[g];
        sumAbs2 += std::fabs(d);
        for (int p = first; p < last; ++p) residualRe[p] = d * std::sqrt(weightG[g]);
        first = last;
    }

    CONF = sum1;
    CONG = sum2;
    constr = (sum1 + sum2) / (nRefF + nGroups);
    wRF = std::sqrt((sum1 + sum2) / (sumWFobs2 + sumWGobs2));
    RF = (sumAbs + sumAbs2) / (sumFobs + sumGobs);

    // While ZSPA is still far from the fit, the higher orders, which grow
    // fastest with the residuals, are damped by powers of C. An order without
    // weight stays without, even at C = 0.
    // A higher order without weight adds nothing to the sum or the derivatives
    // and is skipped, which saves its powers of every residual in every cycle.
    // The merged derivatives stand at list positions: the unobserved
    // reflections first, each with the derivative of its term of constrF0,
    // which holds it at zero; then the F and G positions.
    wConstr = 0.0;
    for (int i = 0; i < nRefUnobs; ++i) {
        mergedDerivRe[i] = 2.0 * unobservedWeight * reflections[i]->A;
        mergedDerivIm[i] = 2.0 * unobservedWeight * reflections[i]->B;
    }
    double* const derivRe = mergedDerivRe + nRefUnobs;
    double* const derivIm = mergedDerivIm + nRefUnobs;
    std::memset(derivRe, 0, sizeof(double) * end);
    std::memset(derivIm, 0, sizeof(double) * end);
    for (int c = 0; c < constraints.size(); ++c) {
        double weight = param.lambdaFraction[c];
        if (c > 0 && weight == 0.0) continue;
        if (Algorithm() == kAlgorithmZSPA && weight != 0.0) weight /= std::pow(constr, c);
        wConstr +=
            constraints[c]->CalcDerivative(cycle, reflections, residualRe, residualIm, weightF, Gcalc,
                                           groupSize, groupMult, refWeight, weight, param.estimateUnobserved);
        constraints[c]->MergeDerivative(derivRe, derivIm);
    }
}
