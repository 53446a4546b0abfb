#include "util/Timer.h"

#include <omp.h>

namespace timer_function {

long addMilliseconds(long elapsedMs, double seconds) {
    // The running sum is truncated, not the increment, so fractions of a
    // millisecond are never carried from one call to the next.
    return static_cast<long>(elapsedMs + seconds * 1000.0);
}

void check_timer(void* stamp, long& elapsed) {
    double& last = *static_cast<double*>(stamp);
    const double now = omp_get_wtime();
    elapsed = addMilliseconds(elapsed, now - last);
    // A fresh reading rather than `now`, so the timer's own work is not counted.
    last = omp_get_wtime();
}

}  // namespace timer_function
