// Fuzz target: condition files (.prf) as a user may have edited them.
#include "fuzz_support.h"
#include "settings/MEMParam.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    PrepareFuzzing();
    MEMParam param;
    param.ReadConditions(WriteInput(data, size, ".prf"));
    return 0;
}
