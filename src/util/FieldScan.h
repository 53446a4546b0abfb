// Checked scanning of the numbers and words on the lines of hand-edited text files.
#pragma once

// The readers scan fixed formats as sscanf does: blanks separate the fields, a
// field that does not scan leaves its target as it was, and so does every field
// after it. Two entries say at each call what a short line means.
//
// Both refuse (by an assertion, a fault of the program and not of the file) a
// word conversion without a width, "%s" or "%[", which a long word would run
// past its buffer.

// The number of fields filled, 0 rather than EOF for an empty text: the caller
// decides what a line with fewer fields means (it is dropped, or ends a block).
[[nodiscard]] int ScanFields(const char* text, const char* format, ...) __attribute__((format(scanf, 2, 3)));

// For header and settings lines, where each field that scans is taken and each
// one that does not keeps its value (its default, or what an earlier line gave).
void ScanKeeping(const char* text, const char* format, ...) __attribute__((format(scanf, 2, 3)));
