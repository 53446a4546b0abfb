// Fuzz target: a structure model as CIF, read and placed on a small grid.
#include "prior_fuzz_support.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    PrepareFuzzing();
    FuzzModel(data, size, ".cif");
    return 0;
}
