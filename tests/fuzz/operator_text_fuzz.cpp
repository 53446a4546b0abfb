// Fuzz target: the parser of operator text such as "-x+1/2, y, z+1/4".
#include <vector>

#include "numeric/Matrix4D.h"
#include "fuzz_support.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::vector<char> text(data, data + size);
    text.push_back('\0');
    const char* names[] = {"x", "y", "z", "q"};
    for (int rows : {3, 4}) {
        std::vector<char> copy = text;
        Matrix4D m;
        m.SetFromString(copy.data(), names, rows, false);
    }
    return 0;
}
