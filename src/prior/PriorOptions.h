// The command line of the prior companion.
#pragma once

#include <string>

struct PriorOptions {
    std::string model;
    std::string data;
    double uniformFraction = 0.35;  // W: the uniform part of the blend
    bool neutron = false;           // scattering lengths instead of X-ray form factors
    bool quiet = false;
    bool help = false;
};

// Throws PriorError for an unknown option, a missing or malformed value, or a
// missing argument.
PriorOptions ParsePriorOptions(int argc, char** argv);

extern const char* const kPriorUsage;
