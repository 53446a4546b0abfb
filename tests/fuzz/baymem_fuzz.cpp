// Fuzz target: BayMEM keyword files, from the reader to a short analysis.
#include "fuzz_support.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FuzzDataSet(data, size, 7, ".BayMEM");
    return 0;
}
