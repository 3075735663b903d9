/// @file
/// Operations on whole windows of pels. Results are new images with the source's offset and client transform unless
/// said otherwise; a view without pels gives a view without pels.
///
/// All throw qvPel::UnboundWindow for an unbound source.
#ifndef QVSTREET_PLATFORM_PEL_OPS_H
#define QVSTREET_PLATFORM_PEL_OPS_H

#include <algorithm>
#include <cstddef>
#include <vector>

#include "qvstreet/platform/export.h"
#include "qvstreet/platform/pel_buffer.h"

/// Adds the count of each grey level of the window to `counts`, which has 256 elements; a view without pels adds
/// nothing.
/// @throws qvPel::BadSize for a vector of another size
QV_EXPORT void qfPelHistogram(const qvPelBuffer_const<unsigned char>& image, std::vector<unsigned long>& counts);

/// Each pel replaced by its entry in `table`, which has 256 elements.
/// @throws qvPel::BadSize for a table of another size
QV_EXPORT qvPelBuffer<unsigned char> qfPelMap(const qvPelBuffer_const<unsigned char>& image,
                                              const std::vector<unsigned char>& table);

/// The smallest pel of the window; 255 without pels.
QV_EXPORT unsigned char qfPelMin(const qvPelBuffer_const<unsigned char>& image);

/// x and y exchanged, those of the offset as well; the client transform is composed with the exchange, so that every
/// pel keeps its client position.
QV_EXPORT qvPelBuffer<unsigned char> qfPelTranspose(const qvPelBuffer_const<unsigned char>& image);

/// 255 minus each pel.
QV_EXPORT qvPelBuffer<unsigned char> qfPelInvert_U8(const qvPelBuffer_const<unsigned char>& image);

/// Adds pel by pel into `destination`, which may be one of the sources; where windows lie in their images plays no
/// part. An unbound destination becomes a new image with the offset and client transform of `a`, a bound one keeps its
/// own. `overflow` 0 wraps around at 256, 2 saturates at 255.
/// @throws qvPel::SizeMismatch for windows of different size, qvPel::BadSize for another value of `overflow`; nothing
///         is written then
QV_EXPORT void qfPelAdd(const qvPelBuffer_const<unsigned char>& a, const qvPelBuffer_const<unsigned char>& b,
                        qvPelBuffer<unsigned char>& destination, long overflow);

/// A new image of the given size, which may be 0 by 0; its pels are not initialised.
template <typename T>
qvPelBuffer<T> qf_newPels(long width, long height) {
    if (width > 0 && height > 0) return qvPelBuffer<T>(width, height, 32);
    // No image has no pels at all, but a view of one has.
    qvPelBuffer<T> empty(1, 1, 32);
    empty.put(0, 0, T());
    empty.window(0, 0, 0, 0, false);
    return empty;
}

/// An independent copy of the window.
template <typename T>
qvPelBuffer<T> qfPelCopy(const qvPelBuffer_const<T>& image) {
    if (!image.isBound()) throw qvPel::UnboundWindow(L"the image has no pels");
    qvPelBuffer<T> copy = qf_newPels<T>(image.width(), image.height());
    for (long y = 0; y < copy.height(); ++y)
        std::copy_n(image.pointToRow(y), static_cast<std::size_t>(copy.width()), copy.pointToRow(y));
    copy.offset(image.offset());
    copy.clientFromImageXform(image.clientFromImageXform());
    return copy;
}

/// Fills the window with one value.
template <typename T>
void qfPelSet(const qvPelBuffer<T>& buffer, T value) {
    if (!buffer.isBound()) throw qvPel::UnboundWindow(L"the image has no pels");
    for (long y = 0; y < buffer.height(); ++y)
        std::fill_n(buffer.pointToRow(y), static_cast<std::size_t>(buffer.width()), value);
}

#endif
