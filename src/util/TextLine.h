// Line readers for hand-edited text files with CR, LF or CR LF line ends, and small text helpers.
#pragma once

#include <cstdio>
#include <string>

// Reads one line into `buf`, keeping at most size - 1 characters and dropping the
// rest of the line. A line ends at LF, CR or CR LF (LF CR is two line ends); at end
// of file the characters read so far form the line. `buf` is always terminated.
// Returns null only when the file had ended before anything could be read.
char* get_line(char* buf, int size, FILE* f);
// The same into a string of any length, so that nothing is cut; returns the length.
size_t get_line_mb(std::string& s, FILE* f);
size_t get_line(std::string& s, FILE* f);

// Reads lines until one holds something other than white space and does not begin,
// after blanks, with one of `commentChars`. Returns `buf`, or null when the file ends
// first (then `buf` holds the last line read).
char* getLineSkipBlank(char* buf, int size, FILE* f, const char* commentChars);

// Reads lines of up to 119 characters into `buf` (at least 120 bytes) until the first
// word of a line does not begin with '#'; blank lines count as comments. `buf` then
// holds that value line. Returns the first character of its first word ('#' when the
// file ended without a value line).
int SkipCommentLines(FILE* f, char* buf);

// Lower-cases `s` in place.
void Up2Lo(char* s);

// Reads a number in crystallographic notation: "1.234(5)" gives 1.234 and 0.005,
// "1/3" gives 0.3333 and 0, a plain number gives esd 0. Fields that do not scan
// keep their value, except `esd`, which starts at 0.
void getValueAndEsd(const char* s, float& value, float& esd);
