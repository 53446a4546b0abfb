// Fuzz target: FOS data sets (counts and the scale line), from the reader to a short analysis.
#include "fuzz_support.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FuzzDataSet(data, size, 5, ".fos");
    return 0;
}
