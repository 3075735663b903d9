#include "qvstreet/platform/gabor.h"

#include <algorithm>
#include <cmath>

namespace {

// With larger slopes of the exponent, from row to row, gains by products would be less exact than exponentials: what
// rounding does to the slopes counts four times, and anchors would stand too far out. It bounds the curvature, too.
constexpr double kMostSlope = 2.0;
// Four times half of a smaller one is nothing beside 1.
constexpr double kNoSlope = 1e-17;
// A narrower lobe or one further out lets rounding move the exponents visibly.
constexpr double kMostWeight = 1e6;
constexpr double kMostCentre = 1.0;
// With these bounds, more than what rounding does to the root of an exponent.
constexpr double kExponentRounding = 1e-9;

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
    if (size_ != size) {
        // Known only when all of it fits: a filter whose tables could not be made starts anew.
        size_ = qvPair<long>(0, 0);
        fillFrequencies(size.first, frequenciesU_);
        fillFrequencies(size.second, frequenciesV_);
        columnSteps_.resize(frequenciesU_.size());
        rowSteps_.resize(frequenciesV_.size() - frequenciesV_.size() % kGaborBlock);
        size_ = size;
    }
    update();
}

void qvFrequencyFilterGabor::angle(qvRadian filterAngle) {
    angle_ = filterAngle;
    update();
}

void qvFrequencyFilterGabor::update() {
    lobe_ = {qfCos(angle_), qfSin(angle_), centreFrequency_, 1.0 / (2.0 * sigmas_.first * sigmas_.first),
             1.0 / (2.0 * sigmas_.second * sigmas_.second)};
    stepped_ = false;
    if (rowSteps_.empty()) return;

    const double step = 1.0 / static_cast<double>(size_.second);
    const double twist = 2.0 * step * lobe_.cosine * lobe_.sine * (lobe_.weightAlong - lobe_.weightAcross);
    const double bend = lobe_.sine * lobe_.sine * lobe_.weightAlong + lobe_.cosine * lobe_.cosine * lobe_.weightAcross;
    const double shift = 2.0 * step * lobe_.centre * lobe_.sine * lobe_.weightAlong;
    // Frequencies are half a cycle at most. Numbers that are none fail, too.
    stepped_ = lobe_.weightAlong <= kMostWeight && lobe_.weightAcross <= kMostWeight &&
               std::fabs(lobe_.centre) <= kMostCentre && std::fabs(twist) * 0.5 <= kMostSlope &&
               step * bend + std::fabs(shift) <= kMostSlope;
    if (!stepped_) return;

    const qv_GaborKernels& kernels = QV_CHOSEN_KERNELS(gaborKernels);
    twisted_ = std::fabs(twist) > kNoSlope;
    if (twisted_) {
        for (std::size_t i = 0; i < columnSteps_.size(); ++i) columnSteps_[i] = twist * frequenciesU_[i];
        kernels.exponentials(columnSteps_.data(), static_cast<long>(columnSteps_.size()), columnSteps_.data());
    }
    const double curvature = step * step * bend;
    for (std::size_t i = 0; i < rowSteps_.size(); ++i) {
        const std::size_t row = i % kGaborBlock;
        const double slope = 2.0 * step * bend * frequenciesV_[i - row + kGaborAnchor] - shift;
        const double m = static_cast<double>(static_cast<long>(row) - kGaborAnchor);
        rowSteps_[i] = m * slope + m * m * curvature;
    }
    kernels.exponentials(rowSteps_.data(), static_cast<long>(rowSteps_.size()), rowSteps_.data());
    // The root of the exponent is a distance from the lobe's middle, in which a row is no more than this from the anchor.
    const double distance = static_cast<double>(kGaborAnchor) * step * std::sqrt(bend);
    const double reach = std::sqrt(kGaborMostExponent);
    const double inside = (reach - distance) * (1.0 - kExponentRounding);
    const double outside = (reach + distance) * (1.0 + kExponentRounding);
    steps_.surelyInside = inside * inside;
    steps_.surelyOutside = outside * outside;
}

qv_ElementRange qvFrequencyFilterGabor::liveColumns() const {
    // The ellipse of the largest exponent, seen along v.
    const double reach =
        std::sqrt(2.0 * kGaborMostExponent) * std::hypot(lobe_.cosine * sigmas_.first, lobe_.sine * sigmas_.second);
    return elementsWithin(centreFrequency_ * lobe_.cosine, reach, size_.first);
}

qv_ElementRange qvFrequencyFilterGabor::liveRows() const {
    const double reach =
        std::sqrt(2.0 * kGaborMostExponent) * std::hypot(lobe_.sine * sigmas_.first, lobe_.cosine * sigmas_.second);
    return elementsWithin(centreFrequency_ * lobe_.sine, reach, size_.second);
}

void qvFrequencyFilterGabor::apply(const qvFrequencyBuffer& source, qvFrequencyBuffer& destination) const {
    const long width = source.width();
    const long height = source.height();
    if (width == 0 || size_ != qvPair<long>(width, height)) throw qvPel::SizeMismatch();
    if (&source != &destination) destination.resize(width, height);
    applyTo(source, 0, 0, width, height, destination.realRow(0), destination.imaginaryRow(0), destination.rowUpdate());
}

void qvFrequencyFilterGabor::applyTo(const qvFrequencyBuffer& source, long column, long row, long columns, long rows,
                                     double* real, double* imaginary, long rowUpdate) const {
    if (source.width() == 0 || size_ != qvPair<long>(source.width(), source.height())) throw qvPel::SizeMismatch();
    qv_GaborSteps steps = steps_;
    steps.columns = twisted_ ? columnSteps_.data() + column : nullptr;
    steps.rows = rowSteps_.data();
    QV_CHOSEN_KERNELS(gaborKernels)
        .filter(source.realRow(row) + column, source.imaginaryRow(row) + column, source.rowUpdate(),
                frequenciesU_.data() + column, frequenciesV_.data(), columns, row, rows, size_.second, lobe_,
                stepped_ ? &steps : nullptr, real, imaginary, rowUpdate);
}
