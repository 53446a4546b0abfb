// Helpers of the data set reader tests: scratch files, the space-group table.
#pragma once

#include <memory>
#include <string>

#include "common/CapturedOutput.h"
#include "common/TempDir.h"
#include "core/SpaceGroup.h"
#include "mem/MEMData3D.h"

// A file in a scratch directory, written byte for byte.
class ScratchFile {
public:
  explicit ScratchFile(const std::string& bytes, const std::string& name = "data.mem")
      : path_(dir_.write(name, bytes)) {}
  const std::string& path() const { return path_; }

private:
  TempDir dir_;
  std::string path_;
};

// True when the generated space-group tables lie in the build directory;
// they are loaded once per test program.
inline bool SpaceGroupTableLoaded() {
  static const bool loaded = [] {
    progvar = std::string(HALVORIN_DATA_DIR) + "/";
    return _SpaceGroup::LoadSpaceGroupStd();
  }();
  return loaded;
}

// An analysis object set up as the dialogue would leave it for a data file.
inline std::unique_ptr<MEMData3D> AnalysisFor(const std::string& path, int fileType) {
  SpaceGroupTableLoaded();
  auto mem = std::make_unique<MEMData3D>();
  mem->param.dataFile = path;
  mem->param.fileType = fileType;
  return mem;
}
