#include "util/StrToken.h"

#include <cstring>

StrToken::StrToken(char* s, const char* delimiters)
    : head(s),
      delims(delimiters ? delimiters : ""),
      saved(s ? *s : '\0'),
      token(s),
      cursor(s),
      permanent(false) {}

char* StrToken::nextToken() {
    if (!cursor) return nullptr;
    if (!permanent) *cursor = saved;
    return scanFrom(cursor == head ? cursor : cursor + 1);
}

char* StrToken::newToken(char* s, const char* delimiters) {
    close();
    head = s;
    if (delimiters) delims = delimiters;
    cursor = s;
    if (!s) return nullptr;
    return scanFrom(s);
}

void StrToken::close() {
    if (cursor && *cursor == '\0' && !permanent) *cursor = saved;
    cursor = nullptr;
}

char* StrToken::scanFrom(char* start) {
    token = start + strspn(start, delims.c_str());
    cursor = strpbrk(token, delims.c_str());
    if (*token == '\0') return nullptr;
    if (cursor) {
        saved = *cursor;
        *cursor = '\0';
    }
    // A null cursor here marks this token as the last one.
    return token;
}
