#include "app/IO.h"
#include "mem/MEMData.h"
#include "mem/optimisers/DualNewton.h"

namespace {
enum AlgorithmCode { kZSPA = 0, kLBFGS = 1, kCambridge = 2, kZSPAThenCambridge = 3, kDualNewton = 4 };
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
    case kDualNewton:
        // Data outside the dual go to L-BFGS, which takes every constraint;
        // from here on the run is an L-BFGS run in every output.
        if (const char* why = DualNewtonUnfit(*this)) {
            handOverNote = std::string("Algorithm 4 handed over to L-BFGS: ") + why + ".";
            IO::Printf("%s\n", handOverNote.c_str());
            L_BFGS();
        } else {
            DualNewton();
        }
        break;
    default: break;  // an unknown code reports the starting density
    }
    PostCalculation();
}

int MEMData::Algorithm() const { return handOverNote.empty() ? param.algorithm : kLBFGS; }
