// Collects everything printed through the IO hooks while it lives: text()
// holds what went through IO::Printf, errors() what went through
// IO::PrintError, all() both in order. Captures nest: an inner one takes the
// messages until it ends.
#pragma once

#include <cstdarg>
#include <string>

#include "util/IO.h"

class CapturedOutput {
public:
    CapturedOutput() : outer_(current()), printf_(IO::Printf), error_(IO::PrintError) {
        current() = this;
        IO::Printf = &Capture<false>;
        IO::PrintError = &Capture<true>;
    }
    ~CapturedOutput() {
        current() = outer_;
        IO::Printf = printf_;
        IO::PrintError = error_;
    }
    CapturedOutput(const CapturedOutput&) = delete;
    CapturedOutput& operator=(const CapturedOutput&) = delete;

    const std::string& text() const { return text_; }
    const std::string& errors() const { return errors_; }
    const std::string& all() const { return all_; }

private:
    static CapturedOutput*& current() {
        static CapturedOutput* active = nullptr;
        return active;
    }
    template <bool error>
    static int Capture(const char* fmt, ...) {
        va_list args;
        va_start(args, fmt);
        std::string line;
        const int n = IO::SprintfV(line, fmt, args);
        va_end(args);
        (error ? current()->errors_ : current()->text_) += line;
        current()->all_ += line;
        return n;
    }

    CapturedOutput* outer_;
    IO::PrintFunc printf_;
    IO::PrintFunc error_;
    std::string text_, errors_, all_;
};
