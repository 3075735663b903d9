/// @file
/// Getting the image ready that a sampling operation fills.
#ifndef QVSTREET_PLATFORM_SAMPLE_DESTINATION_H
#define QVSTREET_PLATFORM_SAMPLE_DESTINATION_H

#include <algorithm>
#include <cstddef>
#include <functional>

#include "qvstreet/platform/pel_buffer.h"

/// The bytes of a window, from the first to behind the last, gaps between rows included.
struct qv_MemoryRange {
    const unsigned char* begin = nullptr;
    const unsigned char* end = nullptr;
};

template <typename T>
qv_MemoryRange qf_memoryRange(const qvPelBuffer_const<T>& image) {
    if (!image.isBound() || image.width() == 0 || image.height() == 0) return {};
    const T* firstRow = image.pointToRow(0);
    const T* lastRow = image.pointToRow(image.height() - 1);
    const std::less<const T*> isBefore;
    return {reinterpret_cast<const unsigned char*>(std::min(firstRow, lastRow, isBefore)),
            reinterpret_cast<const unsigned char*>(std::max(firstRow, lastRow, isBefore) + image.width())};
}

inline bool qf_overlap(const qv_MemoryRange& a, const qv_MemoryRange& b) {
    const std::less<const unsigned char*> isBefore;
    return isBefore(a.begin, b.end) && isBefore(b.begin, a.end);
}

/// Keeps a buffer that already has the size and shares no memory with what is read or written besides, so that a caller
/// who comes again with the same buffer pays for no allocation; replaces any other by a new image.
template <typename T>
void qf_prepareDestination(qvPelBuffer<T>& destination, long width, long height, const qv_MemoryRange& source,
                           const qv_MemoryRange& otherDestination, const qvXform<2>& clientFromImage) {
    constexpr long kAlignmentBytes = 32;
    const qv_MemoryRange memory = qf_memoryRange<T>(destination);
    const bool fits = destination.isBound() && destination.width() == width && destination.height() == height;
    if (!fits || qf_overlap(memory, source) || qf_overlap(memory, otherDestination))
        destination = qvPelBuffer<T>(width, height, kAlignmentBytes);
    destination.offset(0, 0);
    destination.clientFromImageXform(clientFromImage);
}

#endif
