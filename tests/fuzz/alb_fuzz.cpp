// Fuzz target: Alb control files, each naming one of two small reflection lists.
#include "fuzz_support.h"

namespace {

const char kList[] =
    "< reflection list of the fuzzed control files\n"
    "   1   1   0  0.0  20.0  0.0  0.0  0.0  0.0  400.0\n"
    "   1   0   1  0.0  15.0  0.0  0.0  0.0  0.0  225.0\n"
    "   2   0   0  0.0   9.0  0.0  0.0  0.0  0.0   81.0\n"
    "   2   1   1  0.0  12.0  0.0  0.0  0.0  0.0  144.0\n";

// Squared amplitudes as a refinement lists them, for the Patterson route.
const char kSquares[] =
    "_cell_length_a 4.5937\n_cell_length_c 2.9587\n_exptl_crystal_F_000 76\n"
    "loop_\n _refln_index_h\n _refln_index_k\n _refln_index_l\n _refln_F_squared_calc\n"
    " _refln_F_squared_meas\n _refln_F_squared_sigma\n _refln_observed_status\n"
    "   1   1   0  1410.0  1418.2  42.1 o\n   1   0   1  560.0  559.7  18.2 o\n"
    "   0   0   1  0.0  -3.0  5.0 o\n   2   0   0  205.0  206.2  7.9 o\n";

void WriteList(const char* path, const char* text) {
    if (FILE* f = fopen(path, "wb")) {
        fputs(text, f);
        fclose(f);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    // The seeds name these lists, beside the control file.
    WriteList("/tmp/halvorin_fuzz_list.ffo", kList);
    WriteList("/tmp/halvorin_fuzz_list.fcf", kSquares);
    FuzzAlbRoute(WriteInput(data, size, ".alb"));
    return 0;
}
