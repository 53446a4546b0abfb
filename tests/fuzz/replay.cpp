// Replays every file of the corpus directories on the command line through a fuzz target,
// so that inputs that once broke the program stay tested in every build. The seeds,
// whose names carry an extension, are also replayed cut short: a user's file may end anywhere.
#include <dirent.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace {

std::vector<uint8_t> ReadBytes(const std::string& path) {
    std::vector<uint8_t> bytes;
    if (FILE* f = fopen(path.c_str(), "rb")) {
        uint8_t buf[4096];
        for (size_t n; (n = fread(buf, 1, sizeof buf, f)) > 0;) bytes.insert(bytes.end(), buf, buf + n);
        fclose(f);
    }
    return bytes;
}

std::vector<std::string> Files(const std::string& dir) {
    std::vector<std::string> files;
    if (DIR* d = opendir(dir.c_str())) {
        while (dirent* e = readdir(d))
            if (e->d_name[0] != '.') files.push_back(dir + "/" + e->d_name);
        closedir(d);
    }
    std::sort(files.begin(), files.end());
    return files;
}

}  // namespace

int main(int argc, char** argv) {
    int passed = 0;
    for (int i = 1; i < argc; ++i)
        for (const std::string& file : Files(argv[i])) {
            const std::vector<uint8_t> bytes = ReadBytes(file);
            const bool seed = file.find('.', file.rfind('/')) != std::string::npos;
            for (int cut = seed ? 0 : 32; cut <= 32; ++cut, ++passed)
                LLVMFuzzerTestOneInput(bytes.data(), bytes.size() * cut / 32);
        }
    fprintf(stderr, "%d inputs replayed\n", passed);
    return passed > 0 ? 0 : 1;
}
