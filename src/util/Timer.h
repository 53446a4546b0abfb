// Wall-clock accounting of the phases of a run in whole milliseconds.
#pragma once

namespace timer_function {

// Adds the time since *stamp (a double, seconds of omp_get_wtime) to `elapsed`,
// truncating the running sum to whole milliseconds, and restarts the stamp after
// the addition so that the timer's own work is not counted.
void check_timer(void* stamp, long& elapsed);

// elapsedMs + seconds, truncated to whole milliseconds as a sum.
long addMilliseconds(long elapsedMs, double seconds);

}  // namespace timer_function
