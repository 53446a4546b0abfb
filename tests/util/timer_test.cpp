#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "app/ElapsedTimes.h"
#include "app/Timer.h"

using timer_function::addMilliseconds;

TEST(Timer, SumIsTruncatedToWholeMilliseconds) {
    EXPECT_EQ(addMilliseconds(0, 0.0019), 1);
    EXPECT_EQ(addMilliseconds(5, 0.0007), 5);
    EXPECT_EQ(addMilliseconds(1000, 2.5), 3500);
    // The sum, not the increment, is truncated: a negative step of half a
    // millisecond costs a whole one.
    EXPECT_EQ(addMilliseconds(5, -0.0005), 4);
}

TEST(ElapsedTimes, SummaryText) {
    FILE* f = tmpfile();
    WriteElapsedTimes(f, 1234, 3724765);
    rewind(f);
    std::string text;
    for (int c; (c = fgetc(f)) != EOF;) text += static_cast<char>(c);
    fclose(f);
    EXPECT_EQ(text,
              "  Elapsed times:\n"
              "     Preparations for MEM analysis =     1.234 s\n"
              "                      MEM analysis =  3724.765 s\n"
              "                Total Elapsed time =  3725.999 s\n"
              "                                             (  1 h  2 m 5 s)\n\n");
    const ClockSpan days = splitMilliseconds(100L * 3600000 + 59 * 60000 + 59999);  // truncated, no wrap at a day
    EXPECT_EQ(days.hours * 10000 + days.minutes * 100 + days.seconds, 1005959);
}
