// The elapsed-time summary that ends both the console output and the report of a run.
#pragma once

#include <cstdio>

// A span of whole milliseconds split into whole hours, minutes and seconds.
struct ClockSpan {
    long hours;
    long minutes;
    long seconds;
};

// Truncating split: 3,725,999 ms is 1 h 2 m 5 s.
ClockSpan splitMilliseconds(long totalMs);

// Writes the five summary lines for the preparation and analysis times (ms) to `f`.
void WriteElapsedTimes(FILE* f, long timePrepMs, long timeMEMMs);
