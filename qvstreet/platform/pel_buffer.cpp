#include "qvstreet/platform/pel_buffer.h"

#include <algorithm>
#include <atomic>
#include <limits>
#include <new>

namespace {

// Pels start on a cache line of their own, and so does every row that is a multiple of it long.
constexpr std::size_t kMemoryAlignment = 64;
// Half of what a pointer difference can count, so that sums of two byte positions stay within it.
constexpr std::int64_t kMostBytes = std::numeric_limits<std::ptrdiff_t>::max() / 2;
constexpr wchar_t kUnbound[] = L"the image has no pels";
constexpr std::int64_t kHighest32 = std::numeric_limits<std::int32_t>::max();

/// A size that saturated would describe other memory than the caller means, so sizes are refused where coordinates are
/// brought into the range.
void requireSize(long width, long height, std::int64_t rowPels, std::size_t pelBytes) {
    if (width <= 0 || height <= 0) throw qvPel::BadSize(L"width and height of an image must be positive");
    if (rowPels < width) throw qvPel::BadSize(L"the distance of two rows must not be less than the width");
    // Both factors have at most 32 bits, so their product fits; the pel size may take it over.
    if (height > kHighest32 || rowPels > kHighest32 ||
        rowPels > kMostBytes / static_cast<std::int64_t>(pelBytes) / height)
        throw qvPel::BadSize(L"the image is too large");
}

/// The magnitude of the distance of two rows, without the one that has no counterpart above 0.
std::int64_t magnitude(std::int64_t rowUpdate) {
    return rowUpdate >= 0 ? rowUpdate : -std::max(rowUpdate, -std::numeric_limits<std::int64_t>::max());
}

/// Pels per row so that every row starts on a multiple of `alignmentBytes`; no padding for values that are no use, nor
/// where it would leave the range.
long paddedRow(long width, long alignmentBytes, std::size_t pelBytes) {
    if (alignmentBytes <= 0 || alignmentBytes > static_cast<long>(kMemoryAlignment)) return width;
    const std::int64_t pelsPerUnit = alignmentBytes / static_cast<long>(pelBytes);
    if (pelsPerUnit <= 1) return width;
    const std::int64_t padded = (width + pelsPerUnit - 1) / pelsPerUnit * pelsPerUnit;
    return padded <= kHighest32 ? static_cast<long>(padded) : width;
}

std::shared_ptr<const void> allocatePels(std::size_t bytes) {
    return std::shared_ptr<const void>(::operator new (bytes, std::align_val_t{kMemoryAlignment}), [](void* memory) {
        ::operator delete (memory, std::align_val_t{kMemoryAlignment});
    });
}

}  // namespace

qv_PelBuffer::qv_PelBuffer(std::shared_ptr<const void> owner, const void* firstPel, long width, long height,
                           long rowUpdate, std::size_t pelBytes)
    : owner_(std::move(owner)),
      entireBytes_(static_cast<const std::byte*>(firstPel)),
      pelBytes_(pelBytes),
      entireWidth_(width),
      entireHeight_(height),
      rowUpdate_(rowUpdate),
      bound_(true) {
    requireSize(width, height, magnitude(rowUpdate), pelBytes);
    if (firstPel == nullptr) throw qvPel::BadSize(L"the image has no memory");
    setEntire();
}

qv_PelBuffer::qv_PelBuffer(long width, long height, long alignmentBytes, std::size_t pelBytes)
    : pelBytes_(pelBytes), entireWidth_(width), entireHeight_(height), bound_(true) {
    requireSize(width, height, width, pelBytes);
    rowUpdate_ = paddedRow(width, alignmentBytes, pelBytes);
    requireSize(width, height, rowUpdate_, pelBytes);
    owner_ = allocatePels(static_cast<std::size_t>(rowUpdate_) * static_cast<std::size_t>(height) * pelBytes);
    entireBytes_ = static_cast<const std::byte*>(owner_.get());
    setEntire();
}

long qf_pelHandles(const qv_PelBuffer& buffer) {
    const long handles = buffer.owner_.use_count();
    // What others read through handles that they have given up was read before.
    std::atomic_thread_fence(std::memory_order_acquire);
    return handles;
}

void qv_PelBuffer::showPart(long entireX, long entireY, long width, long height) {
    windowInEntire_ = qvPair<long>(entireX, entireY);
    width_ = width;
    height_ = height;
    windowBytes_ = entireBytes_ + (static_cast<std::ptrdiff_t>(entireY) * rowUpdate_ + entireX) *
                                      static_cast<std::ptrdiff_t>(pelBytes_);
}

qvPelRect qv_PelBuffer::window() const {
    const qvPair<long> upperLeft = offset();
    return qvPelRect(upperLeft.first, upperLeft.second, width_, height_);
}

bool qv_PelBuffer::window(const qvPelRect& rect, bool clip) {
    if (!bound_) throw qvPel::UnboundWindow(kUnbound);
    // All in 64 bits, relative to the entire image.
    const std::int64_t left = rect.ul().first - entireOffset_.first;
    const std::int64_t top = rect.ul().second - entireOffset_.second;
    const std::int64_t right = left + rect.width();
    const std::int64_t bottom = top + rect.height();
    const std::int64_t shownLeft = std::max<std::int64_t>(left, 0);
    const std::int64_t shownTop = std::max<std::int64_t>(top, 0);
    const std::int64_t shownRight = std::min<std::int64_t>(right, entireWidth_);
    const std::int64_t shownBottom = std::min<std::int64_t>(bottom, entireHeight_);

    const bool hasPels = shownLeft < shownRight && shownTop < shownBottom;
    const bool whole = shownLeft == left && shownTop == top && shownRight == right && shownBottom == bottom;
    if (!hasPels || !(clip || whole)) {
        showPart(windowInEntire_.first, windowInEntire_.second, 0, 0);
        return false;
    }
    showPart(static_cast<long>(shownLeft), static_cast<long>(shownTop), static_cast<long>(shownRight - shownLeft),
             static_cast<long>(shownBottom - shownTop));
    return true;
}

bool qv_PelBuffer::window(long x, long y, long width, long height, bool clip) {
    return window(qvPelRect(x, y, width, height), clip);
}

void qv_PelBuffer::setEntire() {
    if (!bound_) throw qvPel::UnboundWindow(kUnbound);
    showPart(0, 0, entireWidth_, entireHeight_);
}

qvPair<long> qv_PelBuffer::offset() const {
    return qvPair<long>(qfSaturate32(entireOffset_.first + windowInEntire_.first),
                        qfSaturate32(entireOffset_.second + windowInEntire_.second));
}

void qv_PelBuffer::offset(const qvPair<long>& upperLeft) {
    entireOffset_ = qvPair<std::int64_t>(std::int64_t{qfSaturate32(upperLeft.first)} - windowInEntire_.first,
                                         std::int64_t{qfSaturate32(upperLeft.second)} - windowInEntire_.second);
}

void qv_PelBuffer::refusePel() const {
    if (!bound_) throw qvPel::UnboundWindow(kUnbound);
    qf_throwInvariantFailure(L"pel outside the window");
}

void qf_SetSubWindow(qv_PelBuffer& buffer, long x, long y, long width, long height) {
    if (!buffer.bound_) throw qvPel::UnboundWindow(kUnbound);
    // Differences, because sums of the caller's numbers could leave the range.
    const bool inside = x >= 0 && y >= 0 && width > 0 && height > 0 && x <= buffer.width_ && y <= buffer.height_ &&
                        width <= buffer.width_ - x && height <= buffer.height_ - y;
    if (!inside) throw qvPel::BadSize(L"the sub-window is empty or not inside the window");
    buffer.showPart(buffer.windowInEntire_.first + x, buffer.windowInEntire_.second + y, width, height);
}
