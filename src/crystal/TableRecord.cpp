#include "TableRecord.h"

#include <cstring>

#include "util/FieldScan.h"
#include "util/IO.h"

IO::File OpenDataFile(const std::string& dir, const char* name) {
    const std::string path = dir + name;
    return IO::OpenInput(path);
}

bool ScanRecordHeader(const char* line, RecordHeader& header) {
    // Words are at most five characters in the tables; a longer one in an
    // edited file only makes the joined symbol be cut at 23 characters.
    char words[4][24] = {"", "", "", ""};
    int unused = 0;
    const int got =
        ScanFields(line, "%3i%3i%3i%3i%3i%23s %23s %23s %23s", &header.number, &header.setting, &unused,
                   &header.centric, &header.operatorCount, words[0], words[1], words[2], words[3]);
    if (got < 5) return false;
    std::snprintf(header.symbol, sizeof header.symbol, "%s %s %s %s", words[0], words[1], words[2], words[3]);
    std::size_t length = std::strlen(header.symbol);
    while (length > 0 && header.symbol[length - 1] == ' ') header.symbol[--length] = '\0';
    return true;
}

void CopyTruncated(char* dst, std::size_t size, const char* src) { std::snprintf(dst, size, "%s", src); }
