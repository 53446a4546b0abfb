// Shared set-up of the fuzz targets: quiet hooks, no keyboard, the tables, and inputs as files.
#pragma once

#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <string>

#include "app/IO.h"
#include "core/SpaceGroup.h"

// Readers take paths, so every input goes through a file of this process.
inline std::string WriteInput(const uint8_t* data, size_t size, const char* extension) {
    static const std::string stem = "/tmp/halvorin_fuzz_" + std::to_string(getpid());
    const std::string path = stem + extension;
    FILE* f = fopen(path.c_str(), "wb");
    if (!f) return path;
    fwrite(data, 1, size, f);
    fclose(f);
    return path;
}

// Once per process: messages off, standard input closed so that every wait
// for Enter returns at once, and the space-group table from the build directory.
inline void PrepareFuzzing() {
    static const bool done = [] {
        if (!freopen("/dev/null", "r", stdin)) return false;
        IO::Init(HALVORIN_DATA_DIR "/halvorin");
        IO::Printf = IO::PrintError = IO::NoPrint;
        return _SpaceGroup::LoadSpaceGroupStd();
    }();
    (void)done;
}
