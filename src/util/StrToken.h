// In-place splitter of a writable C string into tokens separated by a set of delimiters.
#pragma once

#include <string>

// Each token is terminated in the buffer itself. Unless `permanent` is set, the
// character overwritten by a terminator is put back when the scan moves on or is
// closed, so the buffer reads as before once the tokenizer is done with it.
class StrToken {
public:
    StrToken(char* s, const char* delims);
    ~StrToken() { close(); }
    StrToken(const StrToken&) = delete;
    StrToken& operator=(const StrToken&) = delete;

    // The next token, or null when the string is exhausted.
    char* nextToken();
    // Restores the current string and starts on `s`; a null `delims` keeps the old set.
    char* newToken(char* s, const char* delims);
    // Restores the buffer and ends the scan.
    void close();

    char* head;          // the string handed in
    std::string delims;  // the delimiter characters
    char saved;          // character under the terminator of the current token
    char* token;         // start of the current token
    char* cursor;        // end of the current token; null once exhausted
    bool permanent;      // keep the terminators in the buffer

private:
    char* scanFrom(char* start);
};
