// The global space-group table from the build directory, loaded once per test program.
#pragma once

#include <string>

#include "common/CapturedOutput.h"
#include "crystal/SpaceGroup.h"

struct LoadResult {
    bool ok = false;
    std::string messages;
};

// Loads the table on first use and tells how that went; later calls only report.
inline const LoadResult& LoadedTable() {
    static const LoadResult result = [] {
        progvar = std::string(HALVORIN_DATA_DIR) + "/";
        CapturedOutput captured;
        LoadResult r;
        r.ok = _SpaceGroup::LoadSpaceGroupStd();
        r.messages = captured.all();
        return r;
    }();
    return result;
}
