#ifndef QVSTREET_BENCH_PEERS_MEASUREMENT_H
#define QVSTREET_BENCH_PEERS_MEASUREMENT_H

#include <functional>
#include <string>
#include <vector>

// Times of tasks that are to be compared with one another. On a shared machine the clock runs fast and slow by turns, so
// times of different minutes say nothing about each other: all tasks run in every round, in an order drawn anew for each
// round. Every task works in the calling thread alone.

namespace qvbench {

/// Something that can be timed.
struct Task {
    std::string name;
    /// Makes what the task needs, images, objects and buffers, and returns the thing to time.
    std::function<std::function<void()>()> prepare;
};

/// Milliseconds that one run of a task took.
struct Timing {
    double minimum = 0.0;
    double median = 0.0;
};

/// Runs every task once in each of `rounds` rounds and gives a timing for each, in the order of the tasks. A short task
/// is repeated within its turn until the turn is long enough for the clock.
/// @param rounds  1 or more
std::vector<Timing> measureInterleaved(const std::vector<Task>& tasks, int rounds);

}  // namespace qvbench

#endif
