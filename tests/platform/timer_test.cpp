#include "qvstreet/platform/timer.h"

#include <gtest/gtest.h>

TEST(Timer, StoppedTimerStandsAtZeroUntilItIsStarted) {
    qvTimer timer(false);
    EXPECT_EQ(timer.sec(), 0.0);
    timer.stop();
    EXPECT_EQ(timer.sec(), 0.0);
}

TEST(Timer, StoppedTimerKeepsItsTime) {
    qvTimer timer(true);
    timer.stop();
    const double first = timer.sec();
    EXPECT_GE(first, 0.0);
    timer.stop();
    EXPECT_EQ(timer.sec(), first);
}

TEST(Timer, RunningTimerNeverGoesBack) {
    const qvTimer timer(true);
    const double first = timer.sec();
    EXPECT_GE(timer.sec(), first);
}
