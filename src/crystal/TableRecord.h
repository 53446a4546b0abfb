// Pieces shared by the readers of the space-group data files.
#pragma once

#include <cstdio>
#include <string>

#include "util/IO.h"

// Opens `name` in directory `dir` for reading as text; null if it cannot.
IO::File OpenDataFile(const std::string& dir, const char* name);

// The first line of a record of spgra.dat and of a block of wyckoff.dat:
// five integers of three columns each, then up to four words of the symbol.
struct RecordHeader {
    int number = 0;
    int setting = 0;
    int centric = 0;
    int operatorCount = 0;
    char symbol[24] = "";  // the words joined by single blanks
};

// Scans a header line; false unless the five integers are there.
bool ScanRecordHeader(const char* line, RecordHeader& header);

// Copies at most size - 1 characters of src into dst and terminates it.
void CopyTruncated(char* dst, std::size_t size, const char* src);
