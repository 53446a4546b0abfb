// The one error type of the prior companion: a message that fits on one line.
#pragma once

#include <stdexcept>
#include <string>

// Thrown for input that cannot be used and output that cannot be written; the
// command prints the message after the program's name, writes nothing and
// exits with status 1.
class PriorError : public std::runtime_error {
public:
    explicit PriorError(const std::string& message) : std::runtime_error(message) {}
};
