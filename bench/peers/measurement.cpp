#include "bench/peers/measurement.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstddef>
#include <ctime>
#include <numeric>
#include <random>

namespace qvbench {

namespace {

/// A turn takes at least about this long, so that neither the clock nor what the task before left in the caches counts
/// for much.
constexpr double kTurnMilliseconds = 4.0;
constexpr double kMostRepeats = 1e6;
constexpr unsigned kOrderSeed = 20261120;

struct Prepared {
    std::function<void()> run;
    long repeats = 1;
    std::vector<double> milliseconds;
};

/// Milliseconds that this thread has run. What other programs take from it does not count, where the system can tell.
double threadMilliseconds() {
#if defined(CLOCK_THREAD_CPUTIME_ID)
    std::timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return 1e3 * static_cast<double>(time.tv_sec) + 1e-6 * static_cast<double>(time.tv_nsec);
#else
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now().time_since_epoch()).count();
#endif
}

/// Milliseconds for one run.
double timeRuns(const std::function<void()>& run, long repeats) {
    const double begin = threadMilliseconds();
    for (long i = 0; i < repeats; ++i) run();
    return (threadMilliseconds() - begin) / static_cast<double>(repeats);
}

Prepared prepared(const Task& task) {
    Prepared result;
    result.run = task.prepare();
    // The first run fills tables and scratch memory; a task of microseconds is timed by more than one run.
    result.run();
    double once = timeRuns(result.run, 1);
    if (once < 0.1 * kTurnMilliseconds) once = timeRuns(result.run, 10);
    result.repeats =
        static_cast<long>(std::clamp(std::ceil(kTurnMilliseconds / std::max(once, 1e-9)), 1.0, kMostRepeats));
    return result;
}

double medianOf(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    const std::size_t middle = values.size() / 2;
    return values.size() % 2 == 1 ? values[middle] : 0.5 * (values[middle - 1] + values[middle]);
}

}  // namespace

std::vector<Timing> measureInterleaved(const std::vector<Task>& tasks, int rounds) {
    std::vector<Prepared> all;
    for (const Task& task : tasks) all.push_back(prepared(task));

    std::vector<std::size_t> order(all.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::mt19937 random(kOrderSeed);
    for (int round = 0; round < rounds; ++round) {
        std::shuffle(order.begin(), order.end(), random);
        for (const std::size_t i : order) all[i].milliseconds.push_back(timeRuns(all[i].run, all[i].repeats));
    }

    std::vector<Timing> timings;
    for (const Prepared& task : all)
        timings.push_back(
            {*std::min_element(task.milliseconds.begin(), task.milliseconds.end()), medianOf(task.milliseconds)});
    return timings;
}

}  // namespace qvbench
