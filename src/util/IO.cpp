#include "util/IO.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

std::string progvar;

namespace IO {

PrintFunc Printf = printf;
PrintFunc PrintError = printf;

int NoPrint(const char*, ...) { return 0; }

namespace {

bool isRegularFile(const std::string& path) {
    struct stat st;
    return stat(path.c_str(), &st) == 0 && S_ISREG(st.st_mode);
}

std::string currentDir() {
    char buf[2047];
    // Without a working directory the root is the only base that keeps the path absolute.
    if (!getcwd(buf, sizeof buf)) return "/";
    return buf;
}

bool startsAbsolute(const std::string& path) { return !path.empty() && (path[0] == '/' || path[0] == '~'); }

// Cuts `path` at its last '/', which goes too; the root itself stays. Without
// any '/', the path stays whole or becomes empty as asked.
void cutLastComponent(std::string& path, bool emptyWithoutSlash) {
    const size_t slash = path.rfind('/');
    if (slash == std::string::npos) {
        if (emptyWithoutSlash) path.clear();
    } else {
        path.erase(slash == 0 ? 1 : slash);
    }
}

std::vector<std::string> splitComponents(const std::string& path) {
    std::vector<std::string> parts;
    size_t start = 0;
    while (true) {
        const size_t slash = path.find('/', start);
        parts.push_back(path.substr(start, slash - start));
        if (slash == std::string::npos) break;
        start = slash + 1;
    }
    return parts;
}

}  // namespace

bool Init(const char* argv0) {
    Printf = printf;
    PrintError = printf;

    progvar = argv0 ? argv0 : "";
    const char* searchPath = getenv("PATH");
    if (!isRegularFile(progvar) && searchPath) {
        // A bare command name: the shell found the program through PATH, so do we.
        char copy[2048];
        snprintf(copy, sizeof copy, "%.2047s", searchPath);
        for (char* entry = strtok(copy, ":;"); entry; entry = strtok(nullptr, ":;")) {
            progvar = entry;
            if (progvar.back() != '/') progvar += '/';
            progvar += argv0 ? argv0 : "";
            if (isRegularFile(progvar)) break;
        }
    }
    toAbsolutePath(progvar, "");
    // Installed as a link in a directory on PATH, the program still keeps its
    // data files beside the real executable.
    if (char* real = realpath(progvar.c_str(), nullptr)) {
        progvar = real;
        free(real);
    }
    getDir(progvar, true);
    return true;
}

File OpenInput(const std::string& path, const char* mode) {
    struct stat st;
    if (stat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode)) return nullptr;
    return File(fopen(path.c_str(), mode));
}

bool Readable(const std::string& path) {
    struct stat st;
    return stat(path.c_str(), &st) == 0 && !S_ISDIR(st.st_mode) && access(path.c_str(), R_OK) == 0;
}

void getDir(std::string& path, bool trailingSlash) {
    struct stat st;
    if (stat(path.c_str(), &st) != 0)
        cutLastComponent(path, false);
    else if (S_ISREG(st.st_mode))
        cutLastComponent(path, true);

    if (trailingSlash) {
        if (!path.empty() && path.back() != '/') path += '/';
    } else if (path.size() > 1 && path.back() == '/') {
        // The root keeps its slash: an empty string would read as a relative path.
        path.pop_back();
    }
}

void toAbsolutePath(std::string& path, const std::string& base) {
    // '~' is not expanded; such a path is left for the shell's meaning.
    if (startsAbsolute(path)) return;

    std::string dir = base;
    if (!startsAbsolute(dir)) toAbsolutePath(dir, currentDir());
    getDir(dir, false);

    if (path.compare(0, 2, "./") == 0 || path.compare(0, 2, ".\\") == 0) path.erase(0, 2);
    // Only leading ".." are resolved; the path is not normalised anywhere else.
    while (path.compare(0, 2, "..") == 0) {
        cutLastComponent(dir, false);
        path.erase(0, 3);
    }

    if (!dir.empty() && dir.back() != '/') dir += '/';
    path = dir + path;
}

void toRelativePath(std::string& path, const std::string& base) {
    std::string dir = base;
    getDir(dir, false);

    const std::vector<std::string> target = splitComponents(path);
    std::vector<std::string> from = splitComponents(dir);
    if (from.size() > 1 && from.back().empty()) from.pop_back();  // the root "/" itself
    size_t common = 0;
    // The last component of `path` is the file itself and never counts as shared.
    while (common < from.size() && common + 1 < target.size() && from[common] == target[common]) ++common;

    std::string result;
    for (size_t k = common; k < from.size(); ++k) result += "../";
    for (size_t k = common; k < target.size(); ++k) {
        result += target[k];
        if (k + 1 < target.size()) result += '/';
    }
    path = result;
}

void omitQuotation(const char* src, char* dst) {
    while (*src == ' ' || *src == '\t' || *src == '\'' || *src == '"') ++src;
    // The text ends at the first newline or quote.
    size_t n = strcspn(src, "\n'\"");
    memmove(dst, src, n);
    while (n > 0 && (dst[n - 1] == ' ' || dst[n - 1] == '\t')) --n;
    dst[n] = '\0';
}

int SprintfV(std::string& out, const char* fmt, va_list args) {
    va_list probe;
    va_copy(probe, args);
    const int length = vsnprintf(nullptr, 0, fmt, probe);
    va_end(probe);
    if (length < 0) {
        out.clear();
        return length;
    }
    std::vector<char> buf(static_cast<size_t>(length) + 1);
    vsnprintf(buf.data(), buf.size(), fmt, args);
    out.assign(buf.data(), static_cast<size_t>(length));
    return length;
}

int Sprintf(std::string& out, const char* fmt, ...) {
    va_list args;
    va_start(args, fmt);
    const int length = SprintfV(out, fmt, args);
    va_end(args);
    return length;
}

void PrintIoError(const char* path, int code) {
    switch (code) {
    case -4: PrintError("The input file was not found.\n %s\n", path); break;
    case -3: PrintError("The input file could not be opened.\n %s\n\nPermission denied.\n", path); break;
    case -2: PrintError("Invalid data!\n\n This file type is not supported.\n %s\n", path); break;
    case -1: PrintError("Invalid data!\n\n Check the format of the input file.\n %s\n", path); break;
    default: break;
    }
}

}  // namespace IO
