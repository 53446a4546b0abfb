// Always-on assertion: a broken invariant prints where it broke and aborts, in every build type.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace hv {

// The path is printed from its "include/" or "src/" component on, so that the
// message names the file as the sources do and not as the build machine did.
inline const char* sourcePathForMessage(const char* file) {
    static const char* const markers[] = {"/include/", "/src/"};
    const char* shortest = file;
    for (const char* marker : markers)
        if (const char* at = std::strstr(file, marker))
            if (at + std::strlen(marker) > shortest) shortest = at + std::strlen(marker);
    return shortest;
}

[[noreturn]] inline void assertionFailed(const char* expression, const char* function, const char* file,
                                         int line) {
    std::fflush(stdout);  // earlier output should appear before the message
    std::fprintf(stderr, "Assertion failed: %s, function %s, file %s, line %d.\n", expression, function,
                 sourcePathForMessage(file), line);
    std::fflush(stderr);
    std::abort();
}

}  // namespace hv

// Unlike assert(), this does not depend on NDEBUG.
#define HV_ASSERT(expression) \
    ((expression) ? static_cast<void>(0) : ::hv::assertionFailed(#expression, __func__, __FILE__, __LINE__))
