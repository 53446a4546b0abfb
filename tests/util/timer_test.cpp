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

TEST(ElapsedTimes, SplitsTruncating) {
    const ClockSpan span = splitMilliseconds(3725999);
    EXPECT_EQ(span.hours, 1);
    EXPECT_EQ(span.minutes, 2);
    EXPECT_EQ(span.seconds, 5);
    const ClockSpan zero = splitMilliseconds(999);
    EXPECT_EQ(zero.hours + zero.minutes + zero.seconds, 0);
    const ClockSpan days = splitMilliseconds(100L * 3600000 + 59 * 60000 + 59999);
    EXPECT_EQ(days.hours, 100);
    EXPECT_EQ(days.minutes, 59);
    EXPECT_EQ(days.seconds, 59);
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
}
