// Helpers of the data set reader tests: scratch files and analyses set up for a file.
#pragma once

#include <memory>
#include <string>

#include "common/CapturedOutput.h"
#include "common/SpaceGroupTable.h"
#include "common/TempDir.h"
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

// An analysis object set up as the dialogue would leave it for a data file.
inline std::unique_ptr<MEMData3D> AnalysisFor(const std::string& path, int fileType) {
  LoadedTable();
  auto mem = std::make_unique<MEMData3D>();
  mem->param.dataFile = path;
  mem->param.fileType = fileType;
  return mem;
}
