// The driver's command line: the input, a template condition file, --help and --version.
#pragma once

#include <stdexcept>
#include <string>

// A command line that cannot be used; the driver prints it on one line and
// exits with status 2, without starting an analysis.
class UsageError : public std::runtime_error {
public:
    explicit UsageError(const std::string& message) : std::runtime_error(message) {}
};

struct DriverOptions {
    std::string input;       // data set, condition file or Alb file; empty: ask for it
    std::string conditions;  // template condition file whose settings run `input`
    bool help = false;
    bool version = false;
};

// Throws UsageError for an unknown option, --conditions without its file, a
// template that is no condition file, or a data file that is none. Without
// --conditions, arguments after the input are ignored.
DriverOptions ParseDriverOptions(int argc, char** argv);

extern const char* const kDriverUsage;
