// The global space-group table, loaded once per test program from the generated data files.
#pragma once

#include <string>

#include "CapturedMessages.h"
#include "app/IO.h"
#include "core/SpaceGroup.h"

struct LoadResult {
  bool ok = false;
  std::string messages;
};

// Loads the table on first use and tells how that went; later calls only report.
inline const LoadResult& LoadedTable() {
  static const LoadResult result = [] {
    progvar = std::string(HALVORIN_DATA_DIR) + "/";
    CapturedMessages captured;
    LoadResult r;
    r.ok = _SpaceGroup::LoadSpaceGroupStd();
    r.messages = captured.text();
    return r;
  }();
  return result;
}
