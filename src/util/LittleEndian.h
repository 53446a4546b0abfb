// Reading of little-endian binary files, such as the density grids.
#pragma once

#include <cstdio>

// The build targets little-endian machines only, so values are read as they lie.
static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "binary files are little-endian");

inline size_t fread_LE(void* p, size_t size, size_t n, FILE* f) { return fread(p, size, n, f); }
