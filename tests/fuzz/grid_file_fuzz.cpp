// Fuzz target: density files read for a restart and as a prior by a small analysis.
#include "fuzz_support.h"

namespace {

// A P 1 data set on a 4 x 4 x 4 grid whose restart and prior files are the input.
const char kDataSet[] =
    "fuzzed density files\n4 5 6 90 90 90\nP 1\n1 1 4 4 4\n10 0.01\n"
    "3\n1 0 0 2.0 0.5 0.1\n0 1 0 1.0 0.2 0.1\n0 0 1 -1.5 0.0 0.1\n0\n0\n";

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    PrepareFuzzing();
    // The outputs of the data set name the restart and the prior file.
    WriteInput(data, size, ".pgrid");
    WriteInput(data, size, "_prior.pgrid");
    MEMData3D mem;
    mem.param.fileType = 3;
    mem.param.dataFile = WriteInput(reinterpret_cast<const uint8_t*>(kDataSet), sizeof kDataSet - 1, ".mem");
    mem.param.SetFileNames();
    mem.param.startType = mem.param.priorType = 1;
    FuzzAnalysis(mem);
    return 0;
}
