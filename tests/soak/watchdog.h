/// @file
/// Ends the program when one case takes too long.
#ifndef QVSTREET_TESTS_SOAK_WATCHDOG_H
#define QVSTREET_TESTS_SOAK_WATCHDOG_H

#include <sys/time.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "tests/soak/sanitized.h"
#include "tests/soak/soak_main.h"

namespace qvtest {

/// Seconds of the processor that a case on a small image may take.
constexpr unsigned kMostSeconds = 2;

constexpr unsigned kWatchdogFactor = kIsSanitized ? 10 : 1;

extern "C" inline void qvtest_soakTookTooLong(int) {
    std::fprintf(stderr, "FAILED: took too long: %s\n", soakPlaceText().data());
    std::_Exit(1);
}

/// The case at work may take so many seconds of the processor from now on, and sixty times as many by the clock: other
/// programs on the machine must not end it.
inline void allowSeconds(unsigned seconds) {
    constexpr unsigned kByTheClock = 60;
    const unsigned allowed = seconds * kWatchdogFactor;
    std::signal(SIGPROF, qvtest_soakTookTooLong);
    std::signal(SIGALRM, qvtest_soakTookTooLong);
    itimerval timer{};
    timer.it_value.tv_sec = static_cast<time_t>(allowed);
    setitimer(ITIMER_PROF, &timer, nullptr);
    alarm(allowed * kByTheClock);
}

/// Begins the time of the next case, and names it.
inline void watch(unsigned seconds, const std::string& place) {
    soakPlace(place);
    allowSeconds(seconds);
}

/// No case is at work any more.
inline void stopWatching() {
    const itimerval never{};
    setitimer(ITIMER_PROF, &never, nullptr);
    alarm(0);
}

}  // namespace qvtest

#endif
