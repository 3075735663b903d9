#include "qvstreet/platform/fourier_plan.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "qvstreet/platform/angle.h"

namespace {

constexpr long kLanes = qv_FourierPlan::kLanes;

// The side of the square that every image is analysed in.
constexpr long kSharedLength = 256;

bool isPowerOfTwo(long number) { return (number & (number - 1)) == 0; }

/// cos and sin of 2 pi step / steps, 0 <= step < steps. Folded into the first eighth of the circle in whole numbers, so
/// that mirrored entries are mirrored to the last bit and the quarter turns are exact.
struct UnitVector {
    double x;
    double y;
};

UnitVector unitVector(std::int64_t step, std::int64_t steps) {
    if (2 * step > steps) {
        const UnitVector mirrored = unitVector(steps - step, steps);
        return {mirrored.x, -mirrored.y};
    }
    if (4 * step > steps) {
        // Twice the count of steps, so that half a turn minus a step is a whole number for odd counts, too.
        const UnitVector mirrored = unitVector(steps - 2 * step, 2 * steps);
        return {-mirrored.x, mirrored.y};
    }
    if (8 * step > steps) {
        const UnitVector mirrored = unitVector(steps - 4 * step, 4 * steps);
        return {mirrored.y, mirrored.x};
    }
    const double angle = qvTwoPi * static_cast<double>(step) / static_cast<double>(steps);
    return {qfCos(qvRadian(angle)), qfSin(qvRadian(angle))};
}

/// Multiplies a row of all lanes by one complex number.
void turnRow(double* real, double* imaginary, double factorReal, double factorImaginary) {
    for (long lane = 0; lane < kLanes; ++lane) {
        const double r = real[lane] * factorReal - imaginary[lane] * factorImaginary;
        const double i = real[lane] * factorImaginary + imaginary[lane] * factorReal;
        real[lane] = r;
        imaginary[lane] = i;
    }
}

}  // namespace

qv_FourierPlan::qv_FourierPlan(long length) : length_(length), blockRows_(length) {
    if (isPowerOfTwo(length))
        buildPowerOfTwo();
    else
        buildConvolution();
}

std::shared_ptr<const qv_FourierPlan> qv_FourierPlan::forLength(long length) {
    static const auto shared = std::make_shared<const qv_FourierPlan>(kSharedLength);
    return length == kSharedLength ? shared : std::make_shared<const qv_FourierPlan>(length);
}

void qv_FourierPlan::buildPowerOfTwo() {
    // In the order in which the steps ask for them.
    for (long span = length_; span >= 4; span /= 4)
        for (long j = 1; j < span / 4; ++j)
            for (long power = 1; power <= 3; ++power) {
                const UnitVector turn = unitVector(power * j, span);
                turns_.push_back(turn.x);
                turns_.push_back(-turn.y);
            }

    // The first step leaves the frequencies 4 q + r in quarter r of the rows, the next one does the same within each
    // quarter, and so on: the row is the frequency with its digits in reversed order.
    rowOf_.assign(static_cast<std::size_t>(length_), 0);
    long step = 1;
    for (long span = length_; span > 1;) {
        const long radix = span >= 4 ? 4 : 2;
        span /= radix;
        for (long k = 0; k < length_; ++k) rowOf_[static_cast<std::size_t>(k)] += (k / step) % radix * span;
        step *= radix;
    }
}

// Any length n as a convolution (after Bluestein): with i k = (i^2 + k^2 - (k - i)^2) / 2 the transform is a product
// with the chirp exp(-pi i k^2 / n) before and after a convolution with its conjugate, which a longer power of two
// does.
void qv_FourierPlan::buildConvolution() {
    long longer = 1;
    while (longer < 2 * length_ - 1) longer *= 2;
    convolver_ = forLength(longer);
    blockRows_ = 2 * longer;

    const auto count = static_cast<std::size_t>(length_);
    cosine_.resize(count);
    sine_.resize(count);
    rowOf_.resize(count);
    const auto turns = static_cast<std::int64_t>(2 * length_);
    for (long k = 0; k < length_; ++k) {
        // The square modulo a whole turn keeps the angle exact for any length.
        const UnitVector turn = unitVector(static_cast<std::int64_t>(k) * k % turns, turns);
        cosine_[static_cast<std::size_t>(k)] = turn.x;
        sine_[static_cast<std::size_t>(k)] = -turn.y;
        rowOf_[static_cast<std::size_t>(k)] = k;
    }

    // The kernel is even, so it stands on both ends of the longer, periodic signal; one lane serves.
    std::vector<double> real(convolver_->blockSize(), 0.0);
    std::vector<double> imaginary(convolver_->blockSize(), 0.0);
    for (long k = 0; k < length_; ++k) {
        const auto source = static_cast<std::size_t>(k);
        for (const long row : {k, (longer - k) % longer}) {
            real[static_cast<std::size_t>(row * kLanes)] = cosine_[source];
            imaginary[static_cast<std::size_t>(row * kLanes)] = -sine_[source];
        }
    }
    convolver_->transform(real.data(), imaginary.data());
    kernelReal_.resize(static_cast<std::size_t>(longer));
    kernelImaginary_.resize(static_cast<std::size_t>(longer));
    for (long row = 0; row < longer; ++row) {
        kernelReal_[static_cast<std::size_t>(row)] =
            real[static_cast<std::size_t>(row * kLanes)] / static_cast<double>(longer);
        kernelImaginary_[static_cast<std::size_t>(row)] =
            imaginary[static_cast<std::size_t>(row * kLanes)] / static_cast<double>(longer);
    }
}

void qv_FourierPlan::transformByConvolution(double* real, double* imaginary) const {
    const long longer = convolver_->length();
    double* const orderedReal = real + longer * kLanes;
    double* const orderedImaginary = imaginary + longer * kLanes;

    for (long k = 0; k < length_; ++k) {
        const auto entry = static_cast<std::size_t>(k);
        turnRow(real + k * kLanes, imaginary + k * kLanes, cosine_[entry], sine_[entry]);
    }
    std::fill(real + length_ * kLanes, orderedReal, 0.0);
    std::fill(imaginary + length_ * kLanes, orderedImaginary, 0.0);

    convolver_->transform(real, imaginary);
    for (long k = 0; k < longer; ++k) {
        const long row = convolver_->rowOf(k);
        const auto entry = static_cast<std::size_t>(row);
        std::copy_n(real + row * kLanes, kLanes, orderedReal + k * kLanes);
        std::copy_n(imaginary + row * kLanes, kLanes, orderedImaginary + k * kLanes);
        turnRow(orderedReal + k * kLanes, orderedImaginary + k * kLanes, kernelReal_[entry], kernelImaginary_[entry]);
    }
    convolver_->transform(orderedImaginary, orderedReal);

    for (long k = 0; k < length_; ++k) {
        const long row = convolver_->rowOf(k);
        const auto entry = static_cast<std::size_t>(k);
        std::copy_n(orderedReal + row * kLanes, kLanes, real + k * kLanes);
        std::copy_n(orderedImaginary + row * kLanes, kLanes, imaginary + k * kLanes);
        turnRow(real + k * kLanes, imaginary + k * kLanes, cosine_[entry], sine_[entry]);
    }
}

void qv_FourierPlan::transform(double* real, double* imaginary) const {
    if (convolver_)
        transformByConvolution(real, imaginary);
    else
        QV_CHOSEN_KERNELS(fourierKernels).transform(real, imaginary, length_, turns_.data());
}

qv_FourierBlock::qv_FourierBlock(long length) : plan(qv_FourierPlan::forLength(length)) {
    const std::size_t size = plan->blockSize();
    if (size > kOwnSize) memory_.resize(2 * size);
    real = size > kOwnSize ? memory_.data() : own_;
    imaginary = real + size;
}
