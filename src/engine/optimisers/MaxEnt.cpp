// The optimiser dispatch of an analysis, and the closing report of its result.
#include "engine/optimisers/MaxEnt.h"

#include "util/IO.h"
#include "engine/MEMData.h"
#include "engine/optimisers/Cambridge.h"
#include "engine/optimisers/DualNewton.h"
#include "engine/optimisers/ZSPA.h"

namespace {
enum AlgorithmCode { kZSPA = 0, kLBFGS = 1, kCambridge = 2, kZSPAThenCambridge = 3, kDualNewton = 4 };
}  // namespace

void MaxEnt(MEMData& d) {
    d.cycle = 0;
    switch (d.param.algorithm) {
    case kZSPA: ZSPA(d, d.param.maxCycles); break;
    case kLBFGS: d.L_BFGS(); break;
    case kCambridge: Cambridge(d); break;
    case kZSPAThenCambridge:
        // Both passes are reported; the second report replaces the first.
        ZSPA(d, d.param.maxCycles);
        d.PostCalculation();
        Cambridge(d);
        break;
    case kDualNewton:
        // Data outside the dual go to L-BFGS, which takes every constraint;
        // from here on the run is an L-BFGS run in every output.
        if (const char* why = DualNewtonUnfit(d)) {
            d.handOverNote = std::string("Algorithm 4 handed over to L-BFGS: ") + why + ".";
            IO::Printf("%s\n", d.handOverNote.c_str());
            d.L_BFGS();
        } else {
            DualNewton(d);
        }
        break;
    default: break;  // an unknown code reports the starting density
    }
    d.PostCalculation();
}
