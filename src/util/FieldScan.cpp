// Checked scanning of text fields: sscanf with a bounded format and a count that is never EOF.
#include "util/FieldScan.h"

#include <cctype>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>

namespace {

// Whether every word conversion of `format` carries a width.
bool wordsBounded(const char* format) {
    for (const char* p = format; *p; ++p) {
        if (*p != '%') continue;
        ++p;
        if (*p == '%') continue;
        if (*p == '*') continue;  // suppressed: nothing is stored
        bool width = false;
        while (isdigit(static_cast<unsigned char>(*p))) {
            width = true;
            ++p;
        }
        while (*p == 'h' || *p == 'l' || *p == 'L') ++p;
        if ((*p == 's' || *p == '[') && !width) return false;
        if (*p == '\0') break;
    }
    return true;
}

int scanList(const char* text, const char* format, va_list args) {
    if (!wordsBounded(format)) {
        // A fault of the program, not of the file: stop at once, as an assertion does.
        fprintf(stderr, "Unbounded word in the scan format \"%s\"\n", format);
        abort();
    }
    const int filled = vsscanf(text, format, args);
    return filled < 0 ? 0 : filled;
}

}  // namespace

int ScanFields(const char* text, const char* format, ...) {
    va_list args;
    va_start(args, format);
    const int filled = scanList(text, format, args);
    va_end(args);
    return filled;
}

void ScanKeeping(const char* text, const char* format, ...) {
    va_list args;
    va_start(args, format);
    scanList(text, format, args);
    va_end(args);
}
