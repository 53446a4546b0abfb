// Fuzz target: refinement output (.fcf), from the line scanner to a short analysis.
#include "fuzz_support.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FuzzDataSet(data, size, 6, ".fcf");
    return 0;
}
