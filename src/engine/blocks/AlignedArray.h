// Aligned plain arrays for the voxel and reflection loops: allocation that throws, and release.
#pragma once

#include <cstdlib>
#include <cstring>
#include <new>

// Cache-line alignment lets the compiler vectorise the per-voxel loops without
// peeling; it also satisfies every 16-byte requirement of the data layout.
constexpr std::size_t kArrayAlignment = 64;

// n elements of T, uninitialised; std::bad_alloc when memory runs out.
template <class T>
T* AllocateAligned(std::size_t n) {
    void* p = nullptr;
    const std::size_t bytes = (n == 0 ? 1 : n) * sizeof(T);
    if (n > static_cast<std::size_t>(-1) / sizeof(T) || posix_memalign(&p, kArrayAlignment, bytes) != 0)
        throw std::bad_alloc();
    return static_cast<T*>(p);
}

// n elements of T, all bytes zero.
template <class T>
T* AllocateZeroed(std::size_t n) {
    T* p = AllocateAligned<T>(n);
    std::memset(static_cast<void*>(p), 0, (n == 0 ? 1 : n) * sizeof(T));
    return p;
}

// Releases an array of AllocateAligned and clears the pointer; null is allowed.
template <class T>
void FreeAligned(T*& p) {
    std::free(p);
    p = nullptr;
}
