// Console hooks, the program's own directory, and path helpers shared by every layer.
#pragma once

#include <cstdarg>
#include <cstdio>
#include <memory>
#include <string>

// Absolute directory of the executable, with a trailing '/'; the data files are found here.
extern std::string progvar;

namespace IO {

using PrintFunc = int (*)(const char* fmt, ...);

// Replaceable output hooks. A front end other than the console may point them
// elsewhere; the console defaults are printf for both messages and failures,
// so errors appear on standard output in line with the progress they interrupt.
extern PrintFunc Printf;
extern PrintFunc PrintError;

// A hook that prints nothing, for callers that silence the engine.
int NoPrint(const char* fmt, ...);

// Sets the hooks to their defaults and finds the program's directory (`progvar`)
// from argv[0], searching PATH when argv[0] is a bare command name. Always true.
bool Init(const char* argv0);

// Makes `path` absolute against `base`, a directory or a file in it. Paths that
// begin with '/' or '~' are kept; "./" and leading "../" are honoured, nothing else.
void toAbsolutePath(std::string& path, const std::string& base);
// Expresses the absolute `path` relative to the directory of `base`.
void toRelativePath(std::string& path, const std::string& base);
// Reduces `path` to its directory: a file or a path that does not exist loses its
// last component; an existing directory is kept. Then adds or removes one trailing '/'.
void getDir(std::string& path, bool trailingSlash);
// Copies `src` to `dst` without surrounding quotes and blanks, so that a path
// pasted with quotes works. The text ends at the first newline or quote.
// `dst` must hold strlen(src) + 1 characters; it may be `src` itself.
void omitQuotation(const char* src, char* dst);

// A C stream that closes itself when its owner ends, on every path out of a reader.
struct FileCloser {
    void operator()(FILE* f) const { fclose(f); }
};
using File = std::unique_ptr<FILE, FileCloser>;

// Opens an input file for reading, as fopen does, but refuses a directory:
// fopen would accept it, and every read would then fail without reaching the
// end of the file. Pipes and devices open as usual (a FIFO waits for its writer).
// Null when it cannot be opened.
File OpenInput(const std::string& path, const char* mode = "r");
// Whether OpenInput would open `path` for reading, found without opening it, so
// that a named pipe is left for the reader that follows.
bool Readable(const std::string& path);

// printf into a string of any length; returns the length.
int Sprintf(std::string& out, const char* fmt, ...) __attribute__((format(printf, 2, 3)));
int SprintfV(std::string& out, const char* fmt, va_list args);

// Prints the message for a negative reader status (-4 .. -1) through PrintError.
void PrintIoError(const char* path, int code);

}  // namespace IO
