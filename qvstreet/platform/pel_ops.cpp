#include "qvstreet/platform/pel_ops.h"

#include <array>
#include <cstdint>

namespace {

constexpr std::size_t kGreyLevels = 256;
constexpr long kWrapAround = 0;
constexpr long kSaturate = 2;
// Side of a tile of the transposition: half a cache line, so that a tile's rows are read and written in few pieces.
constexpr long kTile = 32;

using Image = qvPelBuffer_const<unsigned char>;

void requireBound(const Image& image) {
    if (!image.isBound()) throw qvPel::UnboundWindow(L"the image has no pels");
}

/// A new image in place of the window, every pel passed through `change`.
template <typename Change>
qvPelBuffer<unsigned char> changed(const Image& image, Change change) {
    requireBound(image);
    qvPelBuffer<unsigned char> result = qf_newPels<unsigned char>(image.width(), image.height());
    for (long y = 0; y < result.height(); ++y) {
        const unsigned char* const row = image.pointToRow(y);
        std::transform(row, row + result.width(), result.pointToRow(y), change);
    }
    result.offset(image.offset());
    result.clientFromImageXform(image.clientFromImageXform());
    return result;
}

/// `sum` of the pels of two windows, written to a third; all three have the same size.
template <typename Sum>
void addRows(const Image& a, const Image& b, const qvPelBuffer<unsigned char>& destination, Sum sum) {
    for (long y = 0; y < a.height(); ++y) {
        const unsigned char* const row = a.pointToRow(y);
        std::transform(row, row + a.width(), b.pointToRow(y), destination.pointToRow(y), sum);
    }
}

bool sameSize(const qv_PelBuffer& a, const qv_PelBuffer& b) {
    return a.width() == b.width() && a.height() == b.height();
}

}  // namespace

void qfPelHistogram(const Image& image, std::vector<unsigned long>& counts) {
    requireBound(image);
    if (counts.size() != kGreyLevels) throw qvPel::BadSize(L"a histogram has 256 counts");
    // Counters by turns, because neighbouring pels tend to be equal and a counter is slow to be raised twice in a row.
    std::array<std::array<std::uint64_t, kGreyLevels>, 4> byTurns{};
    for (long y = 0; y < image.height(); ++y) {
        const unsigned char* const row = image.pointToRow(y);
        long x = 0;
        for (; x + 4 <= image.width(); x += 4)
            for (std::size_t turn = 0; turn < 4; ++turn) ++byTurns[turn][row[x + static_cast<long>(turn)]];
        for (; x < image.width(); ++x) ++byTurns[0][row[x]];
    }
    for (std::size_t level = 0; level < kGreyLevels; ++level)
        for (const auto& turn : byTurns) counts[level] += static_cast<unsigned long>(turn[level]);
}

qvPelBuffer<unsigned char> qfPelMap(const Image& image, const std::vector<unsigned char>& table) {
    requireBound(image);
    if (table.size() != kGreyLevels) throw qvPel::BadSize(L"a table of grey levels has 256 entries");
    return changed(image, [&table](unsigned char pel) { return table[pel]; });
}

unsigned char qfPelMin(const Image& image) {
    requireBound(image);
    unsigned char least = 255;
    for (long y = 0; y < image.height(); ++y) {
        const unsigned char* const row = image.pointToRow(y);
        for (long x = 0; x < image.width(); ++x) least = std::min(least, row[x]);
    }
    return least;
}

qvPelBuffer<unsigned char> qfPelTranspose(const Image& image) {
    requireBound(image);
    qvPelBuffer<unsigned char> result = qf_newPels<unsigned char>(image.height(), image.width());
    // Through a tile of our own, because columns of an image whose width is a power of two would all compete for the
    // same few places of the cache.
    std::array<std::array<unsigned char, kTile>, kTile> tile;
    for (long tileY = 0; tileY < result.width(); tileY += kTile) {
        const long tileHeight = std::min(kTile, result.width() - tileY);
        for (long tileX = 0; tileX < result.height(); tileX += kTile) {
            const long tileWidth = std::min(kTile, result.height() - tileX);
            for (long y = 0; y < tileHeight; ++y)
                std::copy_n(image.pointToPel(tileX, tileY + y), tileWidth, tile[static_cast<std::size_t>(y)].data());
            for (long x = 0; x < tileWidth; ++x) {
                unsigned char* const column = result.pointToPel(tileY, tileX + x);
                for (long y = 0; y < tileHeight; ++y)
                    column[y] = tile[static_cast<std::size_t>(y)][static_cast<std::size_t>(x)];
            }
        }
    }
    result.offset(image.offset().second, image.offset().first);
    const qvXform<2> exchange(qvMatrix<2>(0.0, 1.0, 1.0, 0.0), qvVector<2>());
    result.clientFromImageXform(image.clientFromImageXform() * exchange);
    return result;
}

qvPelBuffer<unsigned char> qfPelInvert_U8(const Image& image) {
    return changed(image, [](unsigned char pel) { return static_cast<unsigned char>(255 - pel); });
}

void qfPelAdd(const Image& a, const Image& b, qvPelBuffer<unsigned char>& destination, long overflow) {
    requireBound(a);
    requireBound(b);
    if (overflow != kWrapAround && overflow != kSaturate)
        throw qvPel::BadSize(L"pels are added with wrap-around (0) or saturation (2)");
    if (!sameSize(a, b)) throw qvPel::SizeMismatch(L"the two images differ in size");
    if (!destination.isBound()) {
        destination = qfPelCopy(a);
    } else if (!sameSize(a, destination)) {
        throw qvPel::SizeMismatch(L"image and destination differ in size");
    }
    if (overflow == kSaturate) {
        addRows(a, b, destination, [](int p, int q) { return static_cast<unsigned char>(std::min(p + q, 255)); });
    } else {
        addRows(a, b, destination, [](int p, int q) { return static_cast<unsigned char>((p + q) & 255); });
    }
}
