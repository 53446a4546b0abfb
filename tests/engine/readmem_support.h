// Helpers of the data set reader tests: scratch files, the space-group table, a quiet console.
#pragma once

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

#include "app/IO.h"
#include "core/SpaceGroup.h"
#include "mem/MEMData3D.h"

// A file in a scratch directory, written byte for byte so that tests control
// every line end; removed with the directory.
class ScratchFile {
public:
  explicit ScratchFile(const std::string& bytes, const std::string& name = "data.mem") {
    char pattern[] = "/tmp/halvorin_readmem_XXXXXX";
    const char* made = mkdtemp(pattern);
    dir_ = made ? made : "/tmp";
    path_ = dir_ + "/" + name;
    if (FILE* f = std::fopen(path_.c_str(), "wb")) {
      std::fwrite(bytes.data(), 1, bytes.size(), f);
      std::fclose(f);
    }
  }
  ~ScratchFile() {
    std::remove(path_.c_str());
    std::remove(dir_.c_str());
  }
  ScratchFile(const ScratchFile&) = delete;
  ScratchFile& operator=(const ScratchFile&) = delete;

  const std::string& path() const { return path_; }

private:
  std::string dir_, path_;
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

// Keeps the console hooks silent while it lives, and remembers what was said.
class QuietConsole {
public:
  QuietConsole() : printf_(IO::Printf), printError_(IO::PrintError) {
    said().clear();
    IO::Printf = collect;
    IO::PrintError = collect;
  }
  ~QuietConsole() {
    IO::Printf = printf_;
    IO::PrintError = printError_;
  }
  QuietConsole(const QuietConsole&) = delete;
  QuietConsole& operator=(const QuietConsole&) = delete;

  static std::string& said() {
    static std::string text;
    return text;
  }

private:
  static int collect(const char* fmt, ...) {
    va_list args;
    va_start(args, fmt);
    std::string line;
    const int n = IO::SprintfV(line, fmt, args);
    va_end(args);
    said() += line;
    return n;
  }

  IO::PrintFunc printf_, printError_;
};

// An analysis object set up as the dialogue would leave it for a data file.
inline std::unique_ptr<MEMData3D> AnalysisFor(const std::string& path, int fileType) {
  SpaceGroupTableLoaded();
  auto mem = std::make_unique<MEMData3D>();
  mem->param.dataFile = path;
  mem->param.fileType = fileType;
  return mem;
}
