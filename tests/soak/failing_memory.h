/// @file
/// A heap that counts its blocks and fails where it is told to. Programs that want it compile failing_memory.cpp, which
/// replaces `operator new` and `operator delete` in all their forms.
#ifndef QVSTREET_TESTS_SOAK_FAILING_MEMORY_H
#define QVSTREET_TESTS_SOAK_FAILING_MEMORY_H

namespace qvtest {

/// Blocks taken and not yet given back, of all threads.
long liveBlocks();

/// Allocations fail while it lives: the one of that number (from 1 on), and with `fromThenOn` all behind it. 0 lets all
/// succeed. One at a time.
class FailingMemory {
 public:
    FailingMemory(long number, bool fromThenOn);
    ~FailingMemory();
    FailingMemory(const FailingMemory&) = delete;
    FailingMemory& operator=(const FailingMemory&) = delete;

    /// Ends the failures before the end of the object.
    void stop();
    /// Whether any failed.
    bool hasFailed() const;
};

}  // namespace qvtest

#endif
