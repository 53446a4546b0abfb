// End of an analysis: closing statistics, the residual histogram, and all output files.

#include <cmath>
#include <vector>

#include "util/Assert.h"
#include "engine/constraints/Constraint.h"
#include "engine/outputs/EpsHistogram.h"
#include "engine/outputs/Feedback.h"
#include "engine/outputs/WriteOut.h"
#include "engine/MEMData3D.h"
#include "engine/blocks/ThreadData.h"

namespace {

// Normalised residual (|Fobs| - |Fcalc|) sqrt(w) of every individual
// reflection. Measured value i is compared with list position i, not with
// i + nRefUnobs: with generated reflections at the head of the list the
// comparison is shifted, and the histogram of such runs has always been so.
std::vector<float> IndividualResiduals(const MEMData& d) {
    std::vector<float> eps(static_cast<size_t>(d.nRefF) + d.nRefG, 0.0f);
    for (int i = 0; i < d.nRefF; ++i) {
        const StructureFactor& r = *d.reflections[i];
        double fobs = std::sqrt(d.FobsRe[i] * d.FobsRe[i] + d.FobsIm[i] * d.FobsIm[i]);
        double fcalc = std::sqrt(r.A * r.A + r.B * r.B);
        eps[i] = static_cast<float>((fobs - fcalc) * std::sqrt(d.weightF[i]));
    }
    return eps;
}

}  // namespace

void MEMData::PostCalculation() {
    // The report written below shows the time up to here.
    if (progressFn) progressFn(progressArg, timeMEM);

    // ZSPA and the dual solver leave the entropies to the end; the others keep them current.
    if (Algorithm() == 0 || Algorithm() == 4) {
        double e[2];
        SumOverBlocks(threads, nThreads, blockSums, 2, e,
                      [](int, ThreadData& block, double* s) { block.Calc_Partial_Entropy(s[0], s[1]); });
        entropyPlus = e[0];
        entropyMinus = e[1];
    }

    for (int n = 0; n < 8; ++n) orders[n] = 2 * (n + 1);
    HV_ASSERT(constraints.size() > 0);
    constraints[0]->Calc_CFn(Cn, orders, 8, residualRe, residualIm, groupSize);

    std::vector<float> eps = IndividualResiduals(*this);
    BuildEpsHistogram(eps.data(), nRefF, epsHistogram);

    CalcFlnR();
    WriteOutputFiles();
}

int MEMData3D::WriteOutputFiles() {
    int failures = WriteOut(*this) + WritePgrid();
    if (param.feedbackOutput != 2) failures += WriteFba(*this);
    return failures;
}
