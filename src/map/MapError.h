// The one error type of the map companion: a message that fits on one line.
#pragma once

#include <stdexcept>
#include <string>

// Thrown for input that cannot be used and output that cannot be written; the
// command prints the message after the program's name and exits with status 1.
class MapError : public std::runtime_error {
public:
    explicit MapError(const std::string& message) : std::runtime_error(message) {}
};
