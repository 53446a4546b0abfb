// Replays every file of the corpus directories on the command line through a fuzz target,
// so that inputs that once broke the program stay tested in every build. The seeds,
// whose names carry an extension, are also replayed cut short: a user's file may end anywhere.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

int main(int argc, char** argv) {
    int passed = 0;
    for (int i = 1; i < argc; ++i) {
        std::vector<std::string> files;
        std::error_code missing;
        for (const auto& entry : std::filesystem::directory_iterator(argv[i], missing))
            if (entry.path().filename().string()[0] != '.') files.push_back(entry.path().string());
        std::sort(files.begin(), files.end());
        for (const std::string& file : files) {
            std::ifstream in(file, std::ios::binary);
            const std::vector<uint8_t> bytes{std::istreambuf_iterator<char>(in),
                                             std::istreambuf_iterator<char>()};
            const bool seed = file.find('.', file.rfind('/')) != std::string::npos;
            for (int cut = seed ? 0 : 32; cut <= 32; ++cut, ++passed)
                LLVMFuzzerTestOneInput(bytes.data(), bytes.size() * cut / 32);
        }
    }
    fprintf(stderr, "%d inputs replayed\n", passed);
    return passed > 0 ? 0 : 1;
}
