/// @file
/// A stop watch.
#ifndef QVSTREET_PLATFORM_TIMER_H
#define QVSTREET_PLATFORM_TIMER_H

#include <chrono>

#include "qvstreet/platform/export.h"

/// Measures the time between `start` and `stop` on a clock that is never set back.
class QV_EXPORT qvTimer {
 public:
    /// @param running  true starts the timer at once; false leaves it stopped at 0 seconds
    explicit qvTimer(bool running = false);

    /// Starts again from 0.
    void start();

    /// Stops; a stopped timer keeps its time.
    void stop();

    /// Seconds between `start` and `stop`, or up to now while the timer runs.
    double sec() const;

 private:
    using Clock = std::chrono::steady_clock;

    Clock::time_point start_;
    Clock::time_point stop_;
    bool running_ = false;
};

#endif
