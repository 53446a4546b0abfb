#include "util/FileType.h"

#include <cctype>
#include <cstring>

namespace {

struct ExtensionRule {
    const char* word;
    int code;
};

// Tried in order by substring, first match wins: "baymem" must come before
// "mem", and the condition-file words before the data-set words.
const ExtensionRule kRules[] = {
    {"prf", kTypeCondition}, {"alb", kTypeAlb}, {"omra", kTypeOldCondition}, {"baymem", kTypeBayMEM},
    {"mem", kTypeMEM},       {"fos", kTypeFOS}, {"fcf", kTypeFCF},           {"mep", kTypeMEP},
    {"ffo", kTypeFFO},       {"hkl", kTypeHKL},
};

}  // namespace

int check_format(const char* path) {
    if (!path) return kTypeUnsupported;
    // The last dot of the whole path, so a dot in a directory name counts when
    // the file name itself has none.
    const char* dot = strrchr(path, '.');
    if (!dot) return kTypeUnsupported;

    char ext[129];
    size_t n = 0;
    for (const char* p = dot + 1; *p && n < sizeof ext - 1; ++p)
        ext[n++] = static_cast<char>(tolower(static_cast<unsigned char>(*p)));
    ext[n] = '\0';

    for (const ExtensionRule& rule : kRules)
        if (strstr(ext, rule.word)) return rule.code;
    return kTypeUnsupported;
}
