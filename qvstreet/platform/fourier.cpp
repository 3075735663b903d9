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

#include "qvstreet/platform/fourier_kernels.h"
#include "qvstreet/platform/fourier_plan.h"

namespace {

constexpr long kLanes = qv_FourierPlan::kLanes;

/// Doubles from row to row: whole cache lines, an odd number of them.
std::int64_t rowUpdateFor(long width) { return ((std::int64_t{width} + kLanes - 1) / kLanes | 1) * kLanes; }

/// A coordinate from zero frequency in the middle to zero frequency at 0.
long fromCentred(long coordinate, long size) {
    const long shifted = coordinate - size / 2;
    return shifted < 0 ? shifted + size : shifted;
}

/// One part of a complex image in memory.
struct Plane {
    double* first;
    long rowUpdate;

    double* row(long y) const { return first + static_cast<std::ptrdiff_t>(y) * rowUpdate; }
};

/// The inverse transform into two planes, scaled.
void inverseTransform(const qvFrequencyBuffer& spectrum, const Plane& real, const Plane& imaginary) {
    const qv_FourierKernels& kernels = QV_CHOSEN_KERNELS(fourierKernels);
    const long width = spectrum.width();
    const long height = spectrum.height();

    qv_FourierBlock column(height);
    const long* const columnOrder = column.plan->rowsOf();
    for (long c = 0; c < width; c += kLanes) {
        const long lanes = std::min(kLanes, width - c);
        kernels.loadColumns(spectrum.realRow(0) + c, spectrum.rowUpdate(), lanes, height, column.real);
        kernels.loadColumns(spectrum.imaginaryRow(0) + c, spectrum.rowUpdate(), lanes, height, column.imaginary);
        column.transformBack();
        kernels.storeColumns(column.real, columnOrder, lanes, height, real.row(0) + c, real.rowUpdate);
        kernels.storeColumns(column.imaginary, columnOrder, lanes, height, imaginary.row(0) + c, imaginary.rowUpdate);
    }

    const double factor = 1.0 / (static_cast<double>(width) * static_cast<double>(height));
    qv_FourierBlock row(width);
    const long* const rowOrder = row.plan->rowsOf();
    for (long y = 0; y < height; y += kLanes) {
        const long lanes = std::min(kLanes, height - y);
        kernels.loadRows(real.row(y), real.rowUpdate, lanes, width, row.real);
        kernels.loadRows(imaginary.row(y), imaginary.rowUpdate, lanes, width, row.imaginary);
        row.transformBack();
        kernels.storeRows(row.real, rowOrder, factor, lanes, width, real.row(y), real.rowUpdate);
        kernels.storeRows(row.imaginary, rowOrder, factor, lanes, width, imaginary.row(y), imaginary.rowUpdate);
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
    constexpr std::int64_t kMostDoubles = std::numeric_limits<std::ptrdiff_t>::max() / 16;
    constexpr long kLongestSide = std::numeric_limits<std::int32_t>::max();
    if (width <= 0 || height <= 0 || width > kLongestSide || height > kLongestSide) throw qvPel::BadSize();
    const std::int64_t rowUpdate = rowUpdateFor(width);
    if (rowUpdate > std::numeric_limits<long>::max() || rowUpdate > kMostDoubles / height) throw qvPel::BadSize();

    const auto count = static_cast<std::size_t>(rowUpdate) * static_cast<std::size_t>(height);
    if (count > real_.size()) real_.resize(count);
    if (count > imaginary_.size()) imaginary_.resize(count);
    width_ = width;
    height_ = height;
    rowUpdate_ = static_cast<long>(rowUpdate);
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

    const qv_FourierKernels& kernels = QV_CHOSEN_KERNELS(fourierKernels);
    const long rowUpdate = spectrum.rowUpdate();

    // Columns c and c + half are the real and the imaginary part of one signal; an odd width leaves the last one alone.
    const long half = (width + 1) / 2;
    qv_FourierBlock column(height);
    for (long c = 0; c < half; c += kLanes) {
        const long lanes = std::min(kLanes, half - c);
        const long partners = std::clamp(width - half - c, 0L, lanes);
        const unsigned char* const pels = image.pointToRow(0) + c;
        kernels.loadPels(pels, image.rowUpdate(), lanes, height, column.real);
        kernels.loadPels(pels + half, image.rowUpdate(), partners, height, column.imaginary);
        column.transform();
        kernels.storePairs(column.real, column.imaginary, column.plan->rowsOf(), height, lanes, partners,
                           spectrum.realRow(0) + c, spectrum.imaginaryRow(0) + c, spectrum.realRow(0) + c + half,
                           spectrum.imaginaryRow(0) + c + half, rowUpdate);
    }

    const long rows = height / 2 + 1;
    qv_FourierBlock row(width);
    const long* const rowOrder = row.plan->rowsOf();
    for (long v = 0; v < rows; v += kLanes) {
        const long lanes = std::min(kLanes, rows - v);
        kernels.loadRows(spectrum.realRow(v), rowUpdate, lanes, width, row.real);
        kernels.loadRows(spectrum.imaginaryRow(v), rowUpdate, lanes, width, row.imaginary);
        row.transform();
        kernels.storeRows(row.real, rowOrder, 1.0, lanes, width, spectrum.realRow(v), rowUpdate);
        kernels.storeRows(row.imaginary, rowOrder, 1.0, lanes, width, spectrum.imaginaryRow(v), rowUpdate);
    }
    for (long v = 1; v < (height + 1) / 2; ++v) {
        kernels.mirrorRow(spectrum.realRow(v), 1.0, width, spectrum.realRow(height - v));
        kernels.mirrorRow(spectrum.imaginaryRow(v), -1.0, width, spectrum.imaginaryRow(height - v));
    }
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
