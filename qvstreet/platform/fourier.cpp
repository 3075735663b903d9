// Both transforms run along y for eight columns at a time and along x for eight rows at a time, each through a small
// block that stays in the first-level cache (see fourier_plan.h). The destination is the only large memory they need:
// the first pass leaves its results there, the second works on them in place.
//
// Real pels would waste half of a complex transform. So the forward transform takes two columns as the real and the
// imaginary part of one signal, and of the rows it transforms those of frequencies 0 to height / 2 only, the others
// being their mirrored conjugates.
#include "qvstreet/platform/fourier.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <utility>

#include "qvstreet/platform/fourier_plan.h"

namespace {

constexpr long kLanes = qv_FourierPlan::kLanes;

/// Doubles from row to row: whole cache lines, an odd number of them.
long rowUpdateFor(long width) { return ((width + kLanes - 1) / kLanes | 1) * kLanes; }

/// A coordinate from zero frequency in the middle to zero frequency at 0.
long fromCentred(long coordinate, long size) {
    const long shifted = coordinate - size / 2;
    return shifted < 0 ? shifted + size : shifted;
}

/// The coordinate of the opposite frequency.
long opposite(long coordinate, long size) { return coordinate == 0 ? 0 : size - coordinate; }

/// Where a transform of one length takes place.
struct Block {
    explicit Block(long length)
        : plan(qv_FourierPlan::forLength(length)), real(plan->blockSize()), imaginary(plan->blockSize()) {}

    std::shared_ptr<const qv_FourierPlan> plan;
    qv_AlignedDoubles real;
    qv_AlignedDoubles imaginary;
};

/// One part of a complex image in memory.
struct Plane {
    double* first;
    long rowUpdate;

    double* row(long y) const { return first + static_cast<std::ptrdiff_t>(y) * rowUpdate; }
};

// Lanes without a signal are set to 0: what stands there must not slow the arithmetic down or trap.

/// `lanes` neighbouring columns of a row into one row of a block.
template <typename T>
void loadLanes(const T* source, long lanes, double* blockRow) {
    for (long lane = 0; lane < lanes; ++lane) blockRow[lane] = static_cast<double>(source[lane]);
    for (long lane = lanes; lane < kLanes; ++lane) blockRow[lane] = 0.0;
}

/// `lanes` rows from `y` on into the lanes of a block.
void loadRows(const Plane& plane, long y, long lanes, long width, double* block) {
    for (long lane = 0; lane < lanes; ++lane) {
        const double* const row = plane.row(y + lane);
        for (long x = 0; x < width; ++x) block[x * kLanes + lane] = row[x];
    }
    for (long lane = lanes; lane < kLanes; ++lane)
        for (long x = 0; x < width; ++x) block[x * kLanes + lane] = 0.0;
}

/// One lane of a transformed block into a row, frequencies in order.
void storeLane(const double* block, const qv_FourierPlan& plan, long lane, double factor, double* row) {
    for (long x = 0; x < plan.length(); ++x) row[x] = block[plan.rowOf(x) * kLanes + lane] * factor;
}

/// Columns c and c + half of the image as the real and imaginary part of one signal, for `lanes` columns.
void loadColumnPairs(const qvPelBuffer_const<unsigned char>& image, long c, long half, long lanes, Block& block) {
    const long partners = std::clamp(image.width() - half - c, 0L, lanes);
    for (long y = 0; y < image.height(); ++y) {
        const unsigned char* const row = image.pointToRow(y);
        loadLanes(row + c, lanes, block.real.data() + y * kLanes);
        loadLanes(row + c + half, partners, block.imaginary.data() + y * kLanes);
    }
}

/// Takes the transforms of the two columns of each pair apart, by their symmetry: the real column gives
/// (Z(v) + conj Z(-v)) / 2, the imaginary one (Z(v) - conj Z(-v)) / 2i. Keeps frequencies 0 to height / 2.
void storeColumnPairs(const Block& block, long c, long half, long lanes, qvFrequencyBuffer& spectrum) {
    const long height = spectrum.height();
    const long partners = std::clamp(spectrum.width() - half - c, 0L, lanes);
    for (long v = 0; v <= height / 2; ++v) {
        const long above = block.plan->rowOf(v) * kLanes;
        const long below = block.plan->rowOf(opposite(v, height)) * kLanes;
        double firstReal[kLanes], firstImaginary[kLanes], secondReal[kLanes], secondImaginary[kLanes];
        for (long lane = 0; lane < kLanes; ++lane) {
            const auto a = static_cast<std::size_t>(above + lane);
            const auto b = static_cast<std::size_t>(below + lane);
            firstReal[lane] = 0.5 * (block.real[a] + block.real[b]);
            firstImaginary[lane] = 0.5 * (block.imaginary[a] - block.imaginary[b]);
            secondReal[lane] = 0.5 * (block.imaginary[a] + block.imaginary[b]);
            secondImaginary[lane] = 0.5 * (block.real[b] - block.real[a]);
        }
        std::copy_n(firstReal, lanes, spectrum.realRow(v) + c);
        std::copy_n(firstImaginary, lanes, spectrum.imaginaryRow(v) + c);
        std::copy_n(secondReal, partners, spectrum.realRow(v) + c + half);
        std::copy_n(secondImaginary, partners, spectrum.imaginaryRow(v) + c + half);
    }
}

/// Fills row height - v from row v.
void mirrorRow(qvFrequencyBuffer& spectrum, long v) {
    const long width = spectrum.width();
    const double* const real = spectrum.realRow(v);
    const double* const imaginary = spectrum.imaginaryRow(v);
    double* const mirroredReal = spectrum.realRow(spectrum.height() - v);
    double* const mirroredImaginary = spectrum.imaginaryRow(spectrum.height() - v);
    mirroredReal[0] = real[0];
    mirroredImaginary[0] = -imaginary[0];
    for (long u = 1; u < width; ++u) mirroredReal[u] = real[width - u];
    for (long u = 1; u < width; ++u) mirroredImaginary[u] = -imaginary[width - u];
}

/// The inverse transform into two planes, scaled. Exchanging real and imaginary part before and after makes the forward
/// transform the inverse one.
void inverseTransform(const qvFrequencyBuffer& spectrum, const Plane& real, const Plane& imaginary) {
    const long width = spectrum.width();
    const long height = spectrum.height();

    Block column(height);
    for (long c = 0; c < width; c += kLanes) {
        const long lanes = std::min(kLanes, width - c);
        for (long v = 0; v < height; ++v) {
            loadLanes(spectrum.realRow(v) + c, lanes, column.real.data() + v * kLanes);
            loadLanes(spectrum.imaginaryRow(v) + c, lanes, column.imaginary.data() + v * kLanes);
        }
        column.plan->transform(column.imaginary.data(), column.real.data());
        for (long y = 0; y < height; ++y) {
            const long row = column.plan->rowOf(y) * kLanes;
            std::copy_n(column.real.data() + row, lanes, real.row(y) + c);
            std::copy_n(column.imaginary.data() + row, lanes, imaginary.row(y) + c);
        }
    }

    const double factor = 1.0 / (static_cast<double>(width) * static_cast<double>(height));
    Block row(width);
    for (long y = 0; y < height; y += kLanes) {
        const long lanes = std::min(kLanes, height - y);
        loadRows(real, y, lanes, width, row.real.data());
        loadRows(imaginary, y, lanes, width, row.imaginary.data());
        row.plan->transform(row.imaginary.data(), row.real.data());
        for (long lane = 0; lane < lanes; ++lane) {
            storeLane(row.real.data(), *row.plan, lane, factor, real.row(y + lane));
            storeLane(row.imaginary.data(), *row.plan, lane, factor, imaginary.row(y + lane));
        }
    }
}

/// Checks the call and gives the destination the size of the spectrum.
template <typename T>
void prepareDestination(const qvFrequencyBuffer& spectrum, qvPelBuffer<T>& destination, std::uint32_t flags) {
    qf_assert(flags == 0, L"the inverse transform has no flags");
    if (spectrum.width() == 0) throw qvPel::BadSize();
    if (destination.width() != spectrum.width() || destination.height() != spectrum.height())
        destination = qvPelBuffer<T>(spectrum.width(), spectrum.height(), 32);
}

Plane planeOf(const qvPelBuffer<double>& image) { return {image.pointToOffset(), image.rowUpdate()}; }

unsigned char toGrey(double value) {
    // A NaN fails the first comparison and becomes 0.
    if (!(value > 0.0)) return 0;
    return static_cast<unsigned char>(std::min(std::floor(value + 0.5), 255.0));
}

}  // namespace

qvFrequencyBuffer::qvFrequencyBuffer(long width, long height) { resize(width, height); }

qvFrequencyBuffer& qvFrequencyBuffer::operator=(qvFrequencyBuffer&& other) noexcept {
    qvFrequencyBuffer taken(std::move(other));
    swap(taken);
    return *this;
}

void qvFrequencyBuffer::swap(qvFrequencyBuffer& other) noexcept {
    std::swap(width_, other.width_);
    std::swap(height_, other.height_);
    std::swap(rowUpdate_, other.rowUpdate_);
    real_.swap(other.real_);
    imaginary_.swap(other.imaginary_);
}

void qvFrequencyBuffer::resize(long width, long height) {
    constexpr long kMostDoubles = std::numeric_limits<std::ptrdiff_t>::max() / 16;
    constexpr long kLongestSide = std::numeric_limits<std::int32_t>::max();
    if (width <= 0 || height <= 0 || width > kLongestSide || height > kLongestSide) throw qvPel::BadSize();
    const long rowUpdate = rowUpdateFor(width);
    if (rowUpdate > kMostDoubles / height) throw qvPel::BadSize();

    const auto count = static_cast<std::size_t>(rowUpdate * height);
    if (count > real_.size()) real_.resize(count);
    if (count > imaginary_.size()) imaginary_.resize(count);
    width_ = width;
    height_ = height;
    rowUpdate_ = rowUpdate;
}

qvPair<double> qvFrequencyBuffer::get(long x, long y, bool centred) const {
    qf_assert(x >= 0 && y >= 0 && x < width_ && y < height_, L"element outside the spectrum");
    const long column = centred ? fromCentred(x, width_) : x;
    const long row = centred ? fromCentred(y, height_) : y;
    return qvPair<double>(realRow(row)[column], imaginaryRow(row)[column]);
}

void qvFrequencyBuffer::put(long x, long y, const qvPair<double>& element, bool centred) {
    qf_assert(x >= 0 && y >= 0 && x < width_ && y < height_, L"element outside the spectrum");
    const long column = centred ? fromCentred(x, width_) : x;
    const long row = centred ? fromCentred(y, height_) : y;
    realRow(row)[column] = element.first;
    imaginaryRow(row)[column] = element.second;
}

qvPelBuffer<double> qvFrequencyBuffer::getMagnitudeImage(bool centred) const {
    qvPelBuffer<double> magnitudes(width_, height_, 32);
    const long shift = centred ? width_ / 2 : 0;
    for (long y = 0; y < height_; ++y) {
        const long row = centred ? fromCentred(y, height_) : y;
        const double* const real = realRow(row);
        const double* const imaginary = imaginaryRow(row);
        double* const out = magnitudes.pointToRow(y);
        for (long x = 0; x < width_ - shift; ++x)
            out[x + shift] = std::sqrt(real[x] * real[x] + imaginary[x] * imaginary[x]);
        for (long x = width_ - shift; x < width_; ++x)
            out[x - (width_ - shift)] = std::sqrt(real[x] * real[x] + imaginary[x] * imaginary[x]);
    }
    return magnitudes;
}

void qf_ForwardFFT(const qvPelBuffer_const<unsigned char>& image, qvFrequencyBuffer& spectrum) {
    if (!image.isBound()) throw qvPel::UnboundWindow();
    spectrum.resize(image.width(), image.height());
    const long width = spectrum.width();
    const long height = spectrum.height();

    const long half = (width + 1) / 2;
    Block column(height);
    for (long c = 0; c < half; c += kLanes) {
        const long lanes = std::min(kLanes, half - c);
        loadColumnPairs(image, c, half, lanes, column);
        column.plan->transform(column.real.data(), column.imaginary.data());
        storeColumnPairs(column, c, half, lanes, spectrum);
    }

    const Plane real{spectrum.realRow(0), spectrum.rowUpdate()};
    const Plane imaginary{spectrum.imaginaryRow(0), spectrum.rowUpdate()};
    const long rows = height / 2 + 1;
    Block row(width);
    for (long v = 0; v < rows; v += kLanes) {
        const long lanes = std::min(kLanes, rows - v);
        loadRows(real, v, lanes, width, row.real.data());
        loadRows(imaginary, v, lanes, width, row.imaginary.data());
        row.plan->transform(row.real.data(), row.imaginary.data());
        for (long lane = 0; lane < lanes; ++lane) {
            storeLane(row.real.data(), *row.plan, lane, 1.0, real.row(v + lane));
            storeLane(row.imaginary.data(), *row.plan, lane, 1.0, imaginary.row(v + lane));
        }
    }
    for (long v = 1; v < (height + 1) / 2; ++v) mirrorRow(spectrum, v);
}

void qfInverseFFT(const qvFrequencyBuffer& spectrum, qvPelBuffer<double>& real, qvPelBuffer<double>& imaginary,
                  std::uint32_t flags) {
    prepareDestination(spectrum, real, flags);
    prepareDestination(spectrum, imaginary, flags);
    inverseTransform(spectrum, planeOf(real), planeOf(imaginary));
}

void qfInverseFFT(const qvFrequencyBuffer& spectrum, qvPelBuffer<double>& real, std::uint32_t flags) {
    qvPelBuffer<double> imaginary;
    qfInverseFFT(spectrum, real, imaginary, flags);
}

void qfInverseFFT(const qvFrequencyBuffer& spectrum, qvPelBuffer<unsigned char>& image, std::uint32_t flags) {
    qvPelBuffer<double> real;
    qfInverseFFT(spectrum, real, flags);
    prepareDestination(spectrum, image, flags);
    for (long y = 0; y < image.height(); ++y)
        std::transform(real.pointToRow(y), real.pointToRow(y) + image.width(), image.pointToRow(y), toGrey);
}
