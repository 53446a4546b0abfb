#include "util/ElapsedTimes.h"

#include <cstdint>

ClockSpan splitMilliseconds(long totalMs) {
    // 64-bit so that the products below cannot overflow on any platform.
    const int64_t t = totalMs;
    const int64_t hours = t / 3600000;
    const int64_t rest = t - hours * 3600000;
    const int64_t minutes = rest / 60000;
    const int64_t seconds = (rest - minutes * 60000) / 1000;
    return {static_cast<long>(hours), static_cast<long>(minutes), static_cast<long>(seconds)};
}

void WriteElapsedTimes(FILE* f, long timePrepMs, long timeMEMMs) {
    const long total = timePrepMs + timeMEMMs;
    const ClockSpan span = splitMilliseconds(total);
    fputs("  Elapsed times:\n", f);
    fprintf(f, "     Preparations for MEM analysis = %9.3f s\n", timePrepMs / 1000.0);
    fprintf(f, "                      MEM analysis = %9.3f s\n", timeMEMMs / 1000.0);
    fprintf(f, "                Total Elapsed time = %9.3f s\n", total / 1000.0);
    fprintf(f, "                                             (  %ld h  %ld m %ld s)\n\n", span.hours,
            span.minutes, span.seconds);
}
