/// @file
/// Image buffers: shared handles on pels, each with a window, an offset and a client transform of its own.
///
///     image frame                 the pel at column i, row j covers [i, i + 1) by [j, j + 1); see frames.h
///     window                      the part of the pels that this handle shows
///     offset                      image coordinates of the window's upper left pel
///     client frame                the caller's units; client = clientFromImageXform * image
///
/// Rectangles and offsets are in image coordinates; pels are addressed by column and row of the window, whatever the
/// offset. Copying or assigning a buffer shares the pels; `qfPelCopy` makes an independent one. Sizes and coordinates
/// are in pels and have 32 bits.
#ifndef QVSTREET_PLATFORM_PEL_BUFFER_H
#define QVSTREET_PLATFORM_PEL_BUFFER_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>

#include "qvstreet/platform/exceptions.h"
#include "qvstreet/platform/export.h"
#include "qvstreet/platform/pair.h"
#include "qvstreet/platform/rect.h"
#include "qvstreet/platform/xform.h"

/// What all image buffers share, whatever their pel type.
class QV_EXPORT qv_PelBuffer {
 public:
    /// Whether pels are attached. A view without any pel in its window is bound, too.
    bool isBound() const { return bound_; }

    /// Size of the window; 0 by 0 when unbound.
    long width() const { return width_; }
    long height() const { return height_; }
    /// Distance in pels, not bytes, from the start of a row to that of the row below; larger than the width where rows
    /// are padded, negative where the image is stored bottom-up. 0 when unbound.
    long rowUpdate() const { return rowUpdate_; }

    /// The window in image coordinates, offset included; 0 by 0 when unbound.
    qvPelRect window() const;
    /// Narrows or moves the window to a rectangle in image coordinates, offset included. With `clip` the rectangle is
    /// cut to the entire image, which may be more than the present window. Without, a rectangle that is not wholly
    /// inside the entire image leaves an empty view (0 by 0); with or without, so does one that has no area there. A
    /// later call or `setEntire` shows pels again.
    /// @returns whether the view has pels
    /// @throws qvPel::UnboundWindow
    bool window(const qvPelRect& rect, bool clip);
    bool window(long x, long y, long width, long height, bool clip);
    /// Shows all pels again. @throws qvPel::UnboundWindow
    void setEntire();

    /// Image coordinates of the window's upper left pel; (0, 0) unless set or narrowed.
    qvPair<long> offset() const;
    /// Renames the coordinates: the same pels stay in view and the client transform stays as it is, so that their
    /// client positions move. The numbers saturate to 32 bits.
    void offset(const qvPair<long>& upperLeft);
    void offset(long x, long y) { offset(qvPair<long>(x, y)); }

    /// From image coordinates to the caller's; the identity unless set. Belongs to this handle alone.
    const qvXform<2>& clientFromImageXform() const { return clientFromImage_; }
    void clientFromImageXform(const qvXform<2>& xform) { clientFromImage_ = xform; }
    /// The inverse, worked out by each call. @throws qvMatrixErr::Singular
    qvXform<2> imageFromClientXform() const { return clientFromImage_.inverse(); }

 protected:
    /// Unbound.
    qv_PelBuffer() = default;
    /// Attaches memory in which pel (0, 0) lies at `firstPel`. @throws qvPel::BadSize
    qv_PelBuffer(std::shared_ptr<const void> owner, const void* firstPel, long width, long height, long rowUpdate,
                 std::size_t pelBytes);
    /// Allocates. @throws qvPel::BadSize, std::bad_alloc
    qv_PelBuffer(long width, long height, long alignmentBytes, std::size_t pelBytes);
    // Moving is copying: a handle that was moved from still says that it is bound, so it must keep its pels.
    qv_PelBuffer(const qv_PelBuffer&) = default;
    qv_PelBuffer& operator=(const qv_PelBuffer&) = default;
    ~qv_PelBuffer() = default;

    friend QV_EXPORT void qf_SetSubWindow(qv_PelBuffer& buffer, long x, long y, long width, long height);
    friend long qf_pelHandles(const qv_PelBuffer& buffer);

    /// The window's upper left pel; null where unbound.
    const std::byte* windowBytes() const { return windowBytes_; }
    /// @throws qvPel::UnboundWindow; qvInvariantFailure outside the window
    void requirePel(long x, long y) const {
        if (x < 0 || y < 0 || x >= width_ || y >= height_) refusePel();
    }

 private:
    [[noreturn]] void refusePel() const;
    void showPart(long entireX, long entireY, long width, long height);

    std::shared_ptr<const void> owner_;       // keeps the memory alive; empty for the host's own memory
    const std::byte* entireBytes_ = nullptr;  // pel (0, 0) of the entire image
    const std::byte* windowBytes_ = nullptr;  // upper left pel of the window
    std::size_t pelBytes_ = 1;
    long entireWidth_ = 0;
    long entireHeight_ = 0;
    qvPair<std::int64_t> entireOffset_;  // image coordinates of pel (0, 0) of the entire image
    qvPair<long> windowInEntire_;
    long width_ = 0;
    long height_ = 0;
    long rowUpdate_ = 0;
    bool bound_ = false;
    qvXform<2> clientFromImage_;
};

/// Narrows the buffer to a rectangle counted from its window's upper left pel, whatever the offset.
/// @throws qvPel::UnboundWindow, and qvPel::BadSize for a rectangle that is empty or not inside the window
QV_EXPORT void qf_SetSubWindow(qv_PelBuffer& buffer, long x, long y, long width, long height);

/// A read-only view of pels of type T: `unsigned char` for images, `unsigned long` for counts, `double` for responses.
template <typename T>
class qvPelBuffer_const : public qv_PelBuffer {
 public:
    /// Unbound.
    qvPelBuffer_const() = default;

    /// Wraps the host's memory without a copy; the host keeps it alive and unchanged. `pels` is pel (0, 0), also for a
    /// negative `rowUpdate` (an image stored bottom-up: `pels` is then the start of the last row in memory).
    /// `rowUpdate` is in pels. The offset is (0, 0) and the client transform the identity.
    /// @throws qvPel::BadSize for a null pointer, a width or height of 0 or less, a `rowUpdate` smaller in magnitude
    ///         than the width, a number beyond 32 bits, or a size in bytes that no memory can have
    qvPelBuffer_const(const T* pels, long width, long height, long rowUpdate)
        : qv_PelBuffer(nullptr, pels, width, height, rowUpdate, sizeof(T)) {}

    /// Wraps memory that `owner` keeps alive: it is released with the last copy of this buffer.
    /// @throws qvPel::BadSize as above
    qvPelBuffer_const(const T* pels, long width, long height, long rowUpdate, std::shared_ptr<const void> owner)
        : qv_PelBuffer(std::move(owner), pels, width, height, rowUpdate, sizeof(T)) {}

    /// The pel at column `x`, row `y`, counted from the window's upper left pel; not checked.
    const T* pointToPel(long x, long y) const {
        return reinterpret_cast<const T*>(windowBytes()) + static_cast<std::ptrdiff_t>(y) * rowUpdate() + x;
    }
    /// The first pel of row `y` of the window; not checked.
    const T* pointToRow(long y) const { return pointToPel(0, y); }
    /// The window's upper left pel.
    const T* pointToOffset() const { return pointToPel(0, 0); }

    /// One pel, counted from the window's upper left pel.
    /// @throws qvPel::UnboundWindow; qvInvariantFailure outside the window
    T get(long x, long y) const {
        requirePel(x, y);
        return *pointToPel(x, y);
    }

 protected:
    /// Allocates, for the writable image.
    qvPelBuffer_const(long width, long height, long alignmentBytes)
        : qv_PelBuffer(width, height, alignmentBytes, sizeof(T)) {}
};

/// A writable image. Converts to `qvPelBuffer_const<T>`. As a handle it lets its pels be written also when the handle
/// itself is const.
template <typename T>
class qvPelBuffer : public qvPelBuffer_const<T> {
 public:
    /// Unbound.
    qvPelBuffer() = default;

    /// A new image with offset (0, 0) and the identity as client transform; the pels are not initialised. `alignment`
    /// is a hint: the start of every row is then a multiple of so many bytes, up to 64.
    /// @throws qvPel::BadSize for a width or height of 0 or less or beyond 32 bits, or a size in bytes that no memory
    ///         can have; std::bad_alloc for one that this machine has not
    qvPelBuffer(long width, long height, long alignment = 32) : qvPelBuffer_const<T>(width, height, alignment) {}

    /// As in the read-only view, for writing; not checked.
    T* pointToPel(long x, long y) const { return const_cast<T*>(qvPelBuffer_const<T>::pointToPel(x, y)); }
    T* pointToRow(long y) const { return pointToPel(0, y); }
    T* pointToOffset() const { return pointToPel(0, 0); }

    /// Writes one pel, counted from the window's upper left pel.
    /// @throws qvPel::UnboundWindow; qvInvariantFailure outside the window
    void put(long x, long y, T value) const {
        this->requirePel(x, y);
        *pointToPel(x, y) = value;
    }
};

#endif
