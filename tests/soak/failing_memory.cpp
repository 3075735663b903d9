#include "tests/soak/failing_memory.h"

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <new>

namespace {

std::atomic<long> live{0};

std::atomic<bool> isArmed{false};
long askedSoFar = 0;
long failingNumber = 0;
bool failsFromThenOn = false;
bool anyFailed = false;

bool mayHave() {
    if (!isArmed) return true;
    ++askedSoFar;
    const bool fails =
        failingNumber > 0 && (askedSoFar == failingNumber || (failsFromThenOn && askedSoFar > failingNumber));
    anyFailed = anyFailed || fails;
    return !fails;
}

void* counted(void* memory) {
    if (memory != nullptr) ++live;
    return memory;
}

void* take(std::size_t size) noexcept {
    return mayHave() ? counted(std::malloc(std::max<std::size_t>(size, 1))) : nullptr;
}

void* take(std::size_t size, std::align_val_t alignment) noexcept {
    const auto unit = static_cast<std::size_t>(alignment);
    return mayHave() ? counted(std::aligned_alloc(unit, (size + unit - 1) / unit * unit)) : nullptr;
}

void* orThrow(void* memory) {
    if (memory == nullptr) throw std::bad_alloc();
    return memory;
}

void giveBack(void* memory) noexcept {
    if (memory == nullptr) return;
    --live;
    std::free(memory);
}

}  // namespace

void* operator new(std::size_t size) { return orThrow(take(size)); }
void* operator new[](std::size_t size) { return orThrow(take(size)); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return take(size); }
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept { return take(size); }
void* operator new(std::size_t size, std::align_val_t unit) { return orThrow(take(size, unit)); }
void* operator new[](std::size_t size, std::align_val_t unit) { return orThrow(take(size, unit)); }
void* operator new(std::size_t size, std::align_val_t unit, const std::nothrow_t&) noexcept { return take(size, unit); }
void* operator new[](std::size_t size, std::align_val_t unit, const std::nothrow_t&) noexcept {
    return take(size, unit);
}
void operator delete(void* memory) noexcept { giveBack(memory); }
void operator delete[](void* memory) noexcept { giveBack(memory); }
void operator delete(void* memory, std::size_t) noexcept { giveBack(memory); }
void operator delete[](void* memory, std::size_t) noexcept { giveBack(memory); }
void operator delete(void* memory, const std::nothrow_t&) noexcept { giveBack(memory); }
void operator delete[](void* memory, const std::nothrow_t&) noexcept { giveBack(memory); }
void operator delete(void* memory, std::align_val_t) noexcept { giveBack(memory); }
void operator delete[](void* memory, std::align_val_t) noexcept { giveBack(memory); }
void operator delete(void* memory, std::size_t, std::align_val_t) noexcept { giveBack(memory); }
void operator delete[](void* memory, std::size_t, std::align_val_t) noexcept { giveBack(memory); }
void operator delete(void* memory, std::align_val_t, const std::nothrow_t&) noexcept { giveBack(memory); }
void operator delete[](void* memory, std::align_val_t, const std::nothrow_t&) noexcept { giveBack(memory); }

namespace qvtest {

long liveBlocks() { return live; }

FailingMemory::FailingMemory(long number, bool fromThenOn) {
    askedSoFar = 0;
    failingNumber = number;
    failsFromThenOn = fromThenOn;
    anyFailed = false;
    isArmed = true;
}

FailingMemory::~FailingMemory() { stop(); }

void FailingMemory::stop() { isArmed = false; }

bool FailingMemory::hasFailed() const { return anyFailed; }

}  // namespace qvtest
