#include "qvstreet/platform/gabor.h"

#include <cmath>
#include <vector>

namespace {

/// Frequency of an element in cycles per pel, in [-0.5, 0.5).
double frequencyOf(long element, long size) {
    const long signedElement = 2 * element < size ? element : element - size;
    return static_cast<double>(signedElement) / static_cast<double>(size);
}

}  // namespace

void qvFrequencyFilterGabor::set(const qvPair<double>& frequencySigmas, const qvPair<double>& spreads,
                                 qvRadian filterAngle, double centreFrequency, const qvPair<long>& size, long count) {
    qf_assert(spreads == qvPair<double>(0.0, 0.0) && count == 1, L"a Gabor filter is one lobe without spread");
    sigmas_ = frequencySigmas;
    angle_ = filterAngle;
    centreFrequency_ = centreFrequency;
    size_ = size;
}

void qvFrequencyFilterGabor::apply(const qvFrequencyBuffer& source, qvFrequencyBuffer& destination) const {
    const long width = source.width();
    const long height = source.height();
    if (width == 0 || size_ != qvPair<long>(width, height)) throw qvPel::SizeMismatch();
    if (&source != &destination) destination.resize(width, height);

    const double cosine = qfCos(angle_);
    const double sine = qfSin(angle_);
    const double weightU = 1.0 / (2.0 * sigmas_.first * sigmas_.first);
    const double weightV = 1.0 / (2.0 * sigmas_.second * sigmas_.second);

    std::vector<double> gains(static_cast<std::size_t>(width));
    std::vector<double> frequencies(static_cast<std::size_t>(width));
    for (long x = 0; x < width; ++x) frequencies[static_cast<std::size_t>(x)] = frequencyOf(x, width);
    const double* const u = frequencies.data();
    double* const gain = gains.data();

    for (long y = 0; y < height; ++y) {
        const double v = frequencyOf(y, height);
        for (long x = 0; x < width; ++x) {
            const double along = u[x] * cosine + v * sine - centreFrequency_;
            const double across = v * cosine - u[x] * sine;
            gain[x] = -(along * along * weightU + across * across * weightV);
        }
        for (long x = 0; x < width; ++x) gain[x] = std::exp(gain[x]);
        if (y == 0) gain[0] = 0.0;

        const double* const real = source.realRow(y);
        const double* const imaginary = source.imaginaryRow(y);
        double* const outReal = destination.realRow(y);
        double* const outImaginary = destination.imaginaryRow(y);
        for (long x = 0; x < width; ++x) outReal[x] = real[x] * gain[x];
        for (long x = 0; x < width; ++x) outImaginary[x] = imaginary[x] * gain[x];
    }
}
