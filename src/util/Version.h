// The program's version, shown by --version and at the head of every report.
#pragma once

constexpr const char* kHalvorinVersion = "1.0";
