// Fuzz target: Alb control files, each naming the same small reflection list.
#include "fuzz_support.h"

namespace {

const char kList[] =
    "< reflection list of the fuzzed control files\n"
    "   1   1   0  0.0  20.0  0.0  0.0  0.0  0.0  400.0\n"
    "   1   0   1  0.0  15.0  0.0  0.0  0.0  0.0  225.0\n"
    "   2   0   0  0.0   9.0  0.0  0.0  0.0  0.0   81.0\n"
    "   2   1   1  0.0  12.0  0.0  0.0  0.0  0.0  144.0\n";

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    // The seeds name this list, beside the control file.
    if (FILE* f = fopen("/tmp/halvorin_fuzz_list.ffo", "wb")) {
        fputs(kList, f);
        fclose(f);
    }
    FuzzAlbRoute(WriteInput(data, size, ".alb"));
    return 0;
}
