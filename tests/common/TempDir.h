// A scratch directory for tests that write files, removed with everything in
// it, and small whole-file helpers.
#pragma once

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

inline std::string ReadText(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

inline void WriteText(const std::string& path, const std::string& text) {
    std::ofstream(path, std::ios::binary) << text;
}

inline std::vector<std::string> Lines(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) lines.push_back(line);
    return lines;
}

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
        WriteText(file(name), bytes);
        return file(name);
    }

private:
    std::string path_;
};
