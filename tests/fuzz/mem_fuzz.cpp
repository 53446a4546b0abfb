// Fuzz target: .mem data sets, read once as X-ray and once as two-channel neutron data.
#include "fuzz_support.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FuzzDataSet(data, size, 3, ".mem");
    FuzzDataSet(data, size, 4, ".mem");
    return 0;
}
