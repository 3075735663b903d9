/// @file
/// The response of a Gabor filter as the ridge scan wants it: filter, inverse transform and magnitude in one, without
/// the elements that the filter cuts away.
#ifndef QVSTREET_FRONTEND_FILTERED_RESPONSE_H
#define QVSTREET_FRONTEND_FILTERED_RESPONSE_H

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include "qvstreet/platform/aligned_memory.h"
#include "qvstreet/platform/gabor.h"
#include "qvstreet/platform/geometry.h"

/// A plane of memory that only grows. Its rows are whole cache lines, an odd number of them.
template <typename T>
struct qv_ResponsePlane {
    std::vector<T, qv_CacheLineAllocator<T>> memory;
    long width = 0;
    long height = 0;
    long rowUpdate = 0;

    /// The values are then any.
    void resize(long newWidth, long newHeight) {
        constexpr long kLine = 64 / static_cast<long>(sizeof(T));
        width = newWidth;
        height = newHeight;
        rowUpdate = ((newWidth + kLine - 1) / kLine | 1) * kLine;
        const auto count = static_cast<std::size_t>(rowUpdate * newHeight);
        if (memory.size() < count) memory.resize(count);
    }
    T* row(long y) { return memory.data() + y * rowUpdate; }
    const T* row(long y) const { return memory.data() + y * rowUpdate; }
};

/// A response, or its transposed copy.
struct qv_FilteredResponse {
    bool transposed = false;
    /// Squared magnitudes.
    qv_ResponsePlane<double> squares;
    /// Imaginary parts, in the single precision that the votes on the polarity take them in.
    qv_ResponsePlane<float> imaginaries;
    /// The largest of the squares.
    double largestSquare = 0.0;
};

/// Working memory of a ridge scan, which only grows.
struct qv_ScanScratch {
    std::vector<long> previous;
    std::vector<long> current;
    std::vector<std::uint64_t> marks;
    /// Empty, with memory of lines that are no more.
    std::vector<std::vector<qvVector<2>>> spentPoints;

    /// Takes the points' memory, if there is any.
    void recycle(std::vector<qvVector<2>>& points) {
        if (points.capacity() == 0) return;
        points.clear();
        spentPoints.push_back(std::move(points));
    }
};

/// What the work leaves behind for the next one, so that it allocates nothing.
struct qv_ResponseScratch {
    qvFrequencyFilterGabor filter;
    std::vector<qv_FilteredResponse> responses;
    qv_ResponsePlane<double> filteredReal;
    qv_ResponsePlane<double> filteredImaginary;
    qv_ResponsePlane<double> halfWayReal;
    qv_ResponsePlane<double> halfWayImaginary;
    std::vector<long> slots;
    qv_ScanScratch scan;
};

/// Whether `respondFiltered` can take spectra of this size: both sides powers of two, 16 or more.
bool canRespondFiltered(long width, long height);

/// Filters the spectrum by `scratch.filter` and transforms it back. `response.transposed` says which way round it is
/// wanted; the values are the same to the last bits but one or two, and best wanted is what runs down the rows.
void respondFiltered(const qvFrequencyBuffer& spectrum, qv_ResponseScratch& scratch, qv_FilteredResponse& response);

#endif
