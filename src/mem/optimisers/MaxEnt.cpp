#include "mem/MEMData.h"

namespace {
enum AlgorithmCode { kZSPA = 0, kLBFGS = 1, kCambridge = 2, kZSPAThenCambridge = 3 };
}  // namespace

void MEMData::MaxEnt() {
    cycle = 0;
    switch (param.algorithm) {
    case kZSPA: ZSPA(param.maxCycles); break;
    case kLBFGS: L_BFGS(); break;
    case kCambridge: Cambridge(); break;
    case kZSPAThenCambridge:
        // Both passes are reported; the second report replaces the first.
        ZSPA(param.maxCycles);
        PostCalculation();
        Cambridge();
        break;
    default: break;  // an unknown code reports the starting density
    }
    PostCalculation();
}

void MEMData::Polish() {
    ZSPA(param.maxCycles);
    PostCalculation();
    Cambridge();
}
