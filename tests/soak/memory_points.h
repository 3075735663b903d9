/// @file
/// Runs a piece of work again and again, failing another allocation of it each time, until it needs no more of them.
#ifndef QVSTREET_TESTS_SOAK_MEMORY_POINTS_H
#define QVSTREET_TESTS_SOAK_MEMORY_POINTS_H

#include <exception>
#include <new>
#include <string>

#include "tests/soak/failing_memory.h"
#include "tests/soak/soak_main.h"
#include "tests/soak/watchdog.h"

namespace qvtest {

/// Seconds of the processor for a piece of work and what comes before and behind it.
constexpr unsigned kMostSecondsOfPoint = 60;

class MemoryPoints {
 public:
    /// @param stride  only every so many points are failed; those from 1 to 8 always are
    explicit MemoryPoints(long stride) : stride_(stride) {}

    /// For one piece of work, with `State` what it works on:
    /// @param prepare  makes the state, without failures
    /// @param work     gets the state, under failures; std::bad_alloc may come out, and nothing else
    /// @param check    gets the state and whether std::bad_alloc came out, without failures; throws where it is wrong
    template <typename Prepare, typename Work, typename Check>
    void run(const std::string& name, const Prepare& prepare, const Work& work, const Check& check) {
        // What is made at the first use and kept is made here.
        runPoint(name + ", nothing fails", 0, false, prepare, work, check);
        for (const bool fromThenOn : {false, true})
            for (long point = 1;; point += point < 8 ? 1 : stride_) {
                const std::string where = name + ", allocation " + std::to_string(point) +
                                          (fromThenOn ? " and all behind it" : "") + " failed";
                if (!runPoint(where, point, fromThenOn, prepare, work, check)) break;
                ++points_;
            }
    }

    long points() const { return points_; }
    /// How many of them ended the work; the others were done without.
    long thrown() const { return thrown_; }

 private:
    /// Whether the work came to that allocation.
    template <typename Prepare, typename Work, typename Check>
    bool runPoint(const std::string& where, long point, bool fromThenOn, const Prepare& prepare, const Work& work,
                  const Check& check) {
        watch(kMostSecondsOfPoint, where);
        const long before = liveBlocks();
        bool isReached = false;
        {
            auto state = prepare();
            bool isOut = false;
            std::exception_ptr other;
            {
                FailingMemory failing(point, fromThenOn);
                try {
                    work(*state);
                } catch (const std::bad_alloc&) {
                    isOut = true;
                } catch (...) {
                    other = std::current_exception();
                }
                failing.stop();
                isReached = failing.hasFailed();
            }
            try {
                if (other) std::rethrow_exception(other);
                soakRequire(isReached || !isOut, "bad_alloc out of nothing");
                check(*state, isOut);
            } catch (const std::exception& error) {
                throw SoakFailure(where + ": " + error.what());
            }
            if (isOut) ++thrown_;
        }
        const long left = liveBlocks() - before;
        if (point > 0) soakRequire(left == 0, where + ": " + std::to_string(left) + " blocks are left");
        return isReached;
    }

    long stride_;
    long points_ = 0;
    long thrown_ = 0;
};

}  // namespace qvtest

#endif
