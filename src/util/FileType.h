// Classification of input files by their extension.
#pragma once

// File type codes that check_format returns, and the two that only the settings
// derive from them (a negative-scattering compound adds 1 to a MEM data set type).
enum FileTypeCode {
    kTypeUnsupported = -1,
    kTypeCondition = 0,
    kTypeOldCondition = 1,
    kTypeAlb = 2,
    kTypeMEM = 3,
    kTypeMEMNegative = 4,
    kTypeFOS = 5,
    kTypeFCF = 6,
    kTypeBayMEM = 7,
    kTypeMEP = 8,
    kTypeMEPNegative = 9,
    kTypeFFO = 10,
    kTypeHKL = 11,
};

// The code of `path` from the text after its last '.', lower-cased and matched by
// substring, so "x.MEM" and "x.mem2" are MEM files; -1 when nothing matches.
int check_format(const char* path);
