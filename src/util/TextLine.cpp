#include "util/TextLine.h"

#include <cctype>
#include <cmath>
#include <cstring>

#include "util/FieldScan.h"

namespace {

// Reads the next character of a line, or EOF at a line end or the end of the file.
// A CR followed by LF is one line end. The look-ahead character is put back with
// ungetc rather than by file positioning, so that pipes such as standard input
// behave like files. `sawAny` tells whether anything, even a line end, was read.
// A look-ahead that meets the end of the file is undone as well: the line ended
// at its CR, and only the next read finds the end (and gives an empty line), the
// same as after a line that ends with LF.
int nextLineChar(FILE* f, bool& sawAny) {
    const int c = fgetc(f);
    if (c == EOF) return EOF;
    sawAny = true;
    if (c == '\n') return EOF;
    if (c == '\r') {
        const int next = fgetc(f);
        if (next == EOF) {
            if (!ferror(f)) clearerr(f);
        } else if (next != '\n') {
            ungetc(next, f);
        }
        return EOF;
    }
    return c;
}

bool isBlankLine(const char* s) {
    while (isspace(static_cast<unsigned char>(*s))) ++s;
    return *s == '\0';
}

}  // namespace

char* get_line(char* buf, int size, FILE* f) {
    if (size < 1) return nullptr;
    bool sawAny = false;
    int n = 0;
    for (int c; (c = nextLineChar(f, sawAny)) != EOF;)
        if (n < size - 1) buf[n++] = static_cast<char>(c);
    buf[n] = '\0';
    return sawAny ? buf : nullptr;
}

size_t get_line_mb(std::string& s, FILE* f) {
    s.clear();
    bool sawAny = false;
    for (int c; (c = nextLineChar(f, sawAny)) != EOF;) s += static_cast<char>(c);
    return s.size();
}

size_t get_line(std::string& s, FILE* f) { return get_line_mb(s, f); }

char* getLineSkipBlank(char* buf, int size, FILE* f, const char* commentChars) {
    if (size < 1) return nullptr;
    buf[0] = '\0';
    while (!feof(f) && !ferror(f)) {
        if (!get_line(buf, size, f)) break;
        const char* p = buf;
        while (isspace(static_cast<unsigned char>(*p))) ++p;
        if (*p == '\0') continue;
        if (commentChars && strchr(commentChars, *p)) continue;
        return buf;
    }
    return nullptr;
}

int SkipCommentLines(FILE* f, char* buf) {
    char mark[2] = "#";
    // A read error (a device that fails, say) ends the scan as the end of the file does.
    while (mark[0] == '#' && !feof(f) && !ferror(f)) {
        get_line(buf, 120, f);
        // A blank line fails the scan and leaves the mark, so it counts as a comment.
        if (!isBlankLine(buf)) ScanKeeping(buf, "%1s", mark);
    }
    return mark[0];
}

void Up2Lo(char* s) {
    for (; *s; ++s) *s = static_cast<char>(tolower(static_cast<unsigned char>(*s)));
}

void getValueAndEsd(const char* s, float& value, float& esd) {
    esd = 0.0f;
    char word[40];
    if (ScanFields(s, "%39s", word) != 1) return;

    if (strchr(word, '/')) {
        // A fraction such as 1/3, exact by definition.
        float numerator = value, denominator = 1.0f;
        ScanKeeping(word, "%f/%f", &numerator, &denominator);
        if (denominator != 0.0f) value = numerator / denominator;
        return;
    }

    ScanKeeping(word, "%f(%f", &value, &esd);
    const char* bracket = strchr(word, '(');
    if (!bracket) return;
    // The digits in brackets count in units of the last decimal of the value.
    const char* dot = strchr(word, '.');
    const long places = (dot && dot < bracket) ? bracket - dot - 1 : 0;
    esd = static_cast<float>(esd / std::pow(10.0, static_cast<double>(places)));
}
