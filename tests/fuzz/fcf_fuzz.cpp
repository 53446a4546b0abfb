// Fuzz target: refinement output (.fcf), from the line scanner to a short analysis.
#include "data_set.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FuzzDataSet(data, size, 6, ".fcf");
    return 0;
}
