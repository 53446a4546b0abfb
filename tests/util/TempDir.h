// A scratch directory for tests that write files; removed with everything in it.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <string>

class TempDir {
public:
    TempDir() {
        char pattern[] = "/tmp/halvorin_test_XXXXXX";
        const char* made = mkdtemp(pattern);
        path_ = made ? made : "/tmp";
    }
    ~TempDir() { std::system(("rm -rf '" + path_ + "'").c_str()); }
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    const std::string& path() const { return path_; }
    std::string file(const std::string& name) const { return path_ + "/" + name; }

    // Writes `bytes` exactly as given, so tests control every line end.
    std::string write(const std::string& name, const std::string& bytes) const {
        const std::string full = file(name);
        FILE* f = fopen(full.c_str(), "wb");
        if (f) {
            fwrite(bytes.data(), 1, bytes.size(), f);
            fclose(f);
        }
        return full;
    }

private:
    std::string path_;
};
