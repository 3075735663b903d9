/// @file
/// Working memory of doubles that begins on a cache line.
#ifndef QVSTREET_PLATFORM_ALIGNED_MEMORY_H
#define QVSTREET_PLATFORM_ALIGNED_MEMORY_H

#include <cstddef>
#include <new>
#include <vector>

/// Allocates on the boundary of a cache line, so that vectors of any width load without crossing one.
template <typename T>
struct qv_CacheLineAllocator {
    using value_type = T;
    static constexpr std::align_val_t kAlignment{64};

    qv_CacheLineAllocator() = default;
    template <typename Other>
    qv_CacheLineAllocator(const qv_CacheLineAllocator<Other>&) {}

    T* allocate(std::size_t count) {
        if (count > static_cast<std::size_t>(-1) / sizeof(T)) throw std::bad_array_new_length();
        return static_cast<T*>(::operator new(count * sizeof(T), kAlignment));
    }
    void deallocate(T* memory, std::size_t) noexcept { ::operator delete(memory, kAlignment); }

    friend bool operator==(const qv_CacheLineAllocator&, const qv_CacheLineAllocator&) { return true; }
    friend bool operator!=(const qv_CacheLineAllocator&, const qv_CacheLineAllocator&) { return false; }
};

using qv_AlignedDoubles = std::vector<double, qv_CacheLineAllocator<double>>;

#endif
