#include "qvstreet/platform/gabor.h"

#include <algorithm>
#include <cmath>

namespace {

/// Frequencies of the elements in cycles per pel, in [-0.5, 0.5).
void fillFrequencies(long size, std::vector<double>& frequencies) {
    const auto count = static_cast<std::size_t>(std::max(size, 0L));
    frequencies.resize(count);
    for (std::size_t i = 0; i < count; ++i) {
        const long element = static_cast<long>(i);
        const long signedElement = 2 * element < size ? element : element - size;
        frequencies[i] = static_cast<double>(signedElement) / static_cast<double>(size);
    }
}

/// Signed elements whose frequencies are within `reach` of `centre`, and one more on each side for what rounding does;
/// all of them where that makes no sense.
qv_ElementRange elementsWithin(double centre, double reach, long size) {
    const qv_ElementRange all{-(size / 2), size - size / 2};
    const double count = static_cast<double>(size);
    const double first = std::floor((centre - reach) * count) - 1.0;
    const double end = std::ceil((centre + reach) * count) + 2.0;
    // Wholly beyond the frequencies that there are, or no numbers.
    if (!(first < static_cast<double>(all.end) && end > static_cast<double>(all.first))) return all;
    const double lowest = static_cast<double>(all.first);
    const double highest = static_cast<double>(all.end);
    return {static_cast<long>(std::clamp(first, lowest, highest)), static_cast<long>(std::clamp(end, lowest, highest))};
}

}  // namespace

void qvFrequencyFilterGabor::set(const qvPair<double>& frequencySigmas, const qvPair<double>& spreads,
                                 qvRadian filterAngle, double centreFrequency, const qvPair<long>& size, long count) {
    qf_assert(spreads == qvPair<double>(0.0, 0.0) && count == 1, L"a Gabor filter is one lobe without spread");
    sigmas_ = frequencySigmas;
    angle_ = filterAngle;
    centreFrequency_ = centreFrequency;
    if (size_ == size) return;
    size_ = size;
    fillFrequencies(size.first, frequenciesU_);
    fillFrequencies(size.second, frequenciesV_);
}

qv_GaborLobe qvFrequencyFilterGabor::lobe() const {
    return {qfCos(angle_), qfSin(angle_), centreFrequency_, 1.0 / (2.0 * sigmas_.first * sigmas_.first),
            1.0 / (2.0 * sigmas_.second * sigmas_.second)};
}

qv_ElementRange qvFrequencyFilterGabor::liveColumns() const {
    // The ellipse of the largest exponent, seen along v.
    const double reach =
        std::sqrt(2.0 * kGaborMostExponent) * std::hypot(qfCos(angle_) * sigmas_.first, qfSin(angle_) * sigmas_.second);
    return elementsWithin(centreFrequency_ * qfCos(angle_), reach, size_.first);
}

qv_ElementRange qvFrequencyFilterGabor::liveRows() const {
    const double reach =
        std::sqrt(2.0 * kGaborMostExponent) * std::hypot(qfSin(angle_) * sigmas_.first, qfCos(angle_) * sigmas_.second);
    return elementsWithin(centreFrequency_ * qfSin(angle_), reach, size_.second);
}

void qvFrequencyFilterGabor::apply(const qvFrequencyBuffer& source, qvFrequencyBuffer& destination) const {
    const long width = source.width();
    const long height = source.height();
    if (width == 0 || size_ != qvPair<long>(width, height)) throw qvPel::SizeMismatch();
    if (&source != &destination) destination.resize(width, height);
    QV_CHOSEN_KERNELS(gaborKernels)
        .filter(source.realRow(0), source.imaginaryRow(0), source.rowUpdate(), frequenciesU_.data(),
                frequenciesV_.data(), width, height, lobe(), destination.realRow(0), destination.imaginaryRow(0),
                destination.rowUpdate());
}

void qvFrequencyFilterGabor::applyTo(const qvFrequencyBuffer& source, long column, long row, long columns, long rows,
                                     double* real, double* imaginary, long rowUpdate) const {
    if (source.width() == 0 || size_ != qvPair<long>(source.width(), source.height())) throw qvPel::SizeMismatch();
    QV_CHOSEN_KERNELS(gaborKernels)
        .filter(source.realRow(row) + column, source.imaginaryRow(row) + column, source.rowUpdate(),
                frequenciesU_.data() + column, frequenciesV_.data() + row, columns, rows, lobe(), real, imaginary,
                rowUpdate);
}
