#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "app/ElapsedTimes.h"

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
