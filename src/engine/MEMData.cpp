#include "engine/MEMData.h"

#include <cstdio>

#include "engine/blocks/AlignedArray.h"

MEMData::MEMData() {
    // No reader or condition file has given a starting multiplier yet.
    param.initialLambda = 0.0;
    std::snprintf(title, sizeof title, "%s", "MEM data calculated by Halvorin.");
    multipliers.Resize(3);
    for (int i = 0; i < 3; ++i) multipliers[i] = 0.0;
    nThreads = TeamSize();
}

MEMData::~MEMData() {
    for (double** array : {&FobsRe, &FobsIm, &weightF, &dSdFRe, &dSdFIm, &Gobs, &Gcalc, &weightG, &residualRe,
                           &residualIm, &mergedDerivRe, &mergedDerivIm, &refWeight})
        FreeAligned(*array);
    fftw_free(realGrid);
    if (derivGrid != fourierGrid) fftw_free(derivGrid);
    fftw_free(fourierGrid);
    for (fftw_complex* work : gridPowerA) fftw_free(work);
    for (fftw_complex* work : gridPowerB) fftw_free(work);
    FreeAligned(densitySum);
}

void MEMData::AllocateMemory() {
    const std::size_t nAll = (std::size_t)nRefUnobs + nRefF + nRefG + nRefE;
    const std::size_t nConstrained = (std::size_t)nRefF + nRefG;
    const std::size_t nWithUnobserved = (std::size_t)nRefUnobs + nRefF + nRefG;
    // A second call, after the counts have grown, replaces the arrays.
    if (nGroups > 0) {
        FreeAligned(Gobs);
        FreeAligned(Gcalc);
        FreeAligned(weightG);
        Gobs = AllocateAligned<double>(nGroups);
        Gcalc = AllocateAligned<double>(nGroups);
        weightG = AllocateAligned<double>(nGroups);
    }
    for (double** array : {&FobsRe, &FobsIm}) {
        FreeAligned(*array);
        *array = AllocateAligned<double>(nRefF);
    }
    for (double** array : {&dSdFRe, &dSdFIm}) {
        FreeAligned(*array);
        *array = AllocateAligned<double>(nAll);
    }
    for (double** array : {&residualRe, &residualIm, &weightF}) {
        FreeAligned(*array);
        *array = AllocateAligned<double>(nConstrained);
    }
    for (double** array : {&mergedDerivRe, &mergedDerivIm}) {
        FreeAligned(*array);
        *array = AllocateAligned<double>(nWithUnobserved);
    }
    FreeAligned(refWeight);
    refWeight = AllocateAligned<double>(nConstrained);
    groupMult.resize(nGroups, 0);
    for (std::size_t i = 0; i < nConstrained; ++i) residualRe[i] = residualIm[i] = 0.0;
}

// An analysis that algorithm 4 handed over ran L-BFGS (algorithm 1).
int MEMData::Algorithm() const { return handOverNote.empty() ? param.algorithm : 1; }
