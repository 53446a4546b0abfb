// Fuzz target: .ffo reflection lists, read through a fixed Alb control file.
#include "fuzz_support.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string list = WriteInput(data, size, ".ffo");
    const std::string control =
        "fuzzed list\n4.5937 4.5937 2.9587 90 90 90\n136 1 8 8 4\nfree line\n0\n0 5776 0\n" +
        list.substr(list.rfind('/') + 1) + "\n0.71073\nF\n0.01\n1.0\nfree\nfree\nfree\n2\n";
    FuzzAlbRoute(WriteInput(reinterpret_cast<const uint8_t*>(control.data()), control.size(), ".alb"));
    return 0;
}
