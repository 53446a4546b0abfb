// Collects what the code under test prints through IO::Printf and IO::PrintError.
#pragma once

#include <cstdarg>
#include <cstdio>
#include <string>

#include "app/IO.h"

class CapturedMessages {
public:
  CapturedMessages() : printf_(IO::Printf), printError_(IO::PrintError) {
    text().clear();
    IO::Printf = capture;
    IO::PrintError = capture;
  }
  ~CapturedMessages() {
    IO::Printf = printf_;
    IO::PrintError = printError_;
  }
  CapturedMessages(const CapturedMessages&) = delete;
  CapturedMessages& operator=(const CapturedMessages&) = delete;

  static std::string& text() {
    static std::string collected;
    return collected;
  }

private:
  static int capture(const char* fmt, ...) {
    va_list args;
    va_start(args, fmt);
    std::string line;
    const int length = IO::SprintfV(line, fmt, args);
    va_end(args);
    text() += line;
    return length;
  }

  IO::PrintFunc printf_;
  IO::PrintFunc printError_;
};
