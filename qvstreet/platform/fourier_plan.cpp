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

struct Twiddle {
    double real;
    double imaginary;
};

/// One butterfly of four rows of all lanes, the results turned by the three factors.
void butterfly4(double* real, double* imaginary, long distance, const Twiddle& w1, const Twiddle& w2,
                const Twiddle& w3) {
    double* __restrict r0 = real;
    double* __restrict r1 = real + distance;
    double* __restrict r2 = real + 2 * distance;
    double* __restrict r3 = real + 3 * distance;
    double* __restrict i0 = imaginary;
    double* __restrict i1 = imaginary + distance;
    double* __restrict i2 = imaginary + 2 * distance;
    double* __restrict i3 = imaginary + 3 * distance;
    for (long lane = 0; lane < kLanes; ++lane) {
        const double evenSumR = r0[lane] + r2[lane];
        const double evenSumI = i0[lane] + i2[lane];
        const double evenDifR = r0[lane] - r2[lane];
        const double evenDifI = i0[lane] - i2[lane];
        const double oddSumR = r1[lane] + r3[lane];
        const double oddSumI = i1[lane] + i3[lane];
        // The odd difference times -i.
        const double oddDifR = i1[lane] - i3[lane];
        const double oddDifI = r3[lane] - r1[lane];
        r0[lane] = evenSumR + oddSumR;
        i0[lane] = evenSumI + oddSumI;
        const double b1R = evenDifR + oddDifR;
        const double b1I = evenDifI + oddDifI;
        r1[lane] = b1R * w1.real - b1I * w1.imaginary;
        i1[lane] = b1R * w1.imaginary + b1I * w1.real;
        const double b2R = evenSumR - oddSumR;
        const double b2I = evenSumI - oddSumI;
        r2[lane] = b2R * w2.real - b2I * w2.imaginary;
        i2[lane] = b2R * w2.imaginary + b2I * w2.real;
        const double b3R = evenDifR - oddDifR;
        const double b3I = evenDifI - oddDifI;
        r3[lane] = b3R * w3.real - b3I * w3.imaginary;
        i3[lane] = b3R * w3.imaginary + b3I * w3.real;
    }
}

/// The same where all three factors are 1.
void butterfly4Unturned(double* real, double* imaginary, long distance) {
    double* __restrict r0 = real;
    double* __restrict r1 = real + distance;
    double* __restrict r2 = real + 2 * distance;
    double* __restrict r3 = real + 3 * distance;
    double* __restrict i0 = imaginary;
    double* __restrict i1 = imaginary + distance;
    double* __restrict i2 = imaginary + 2 * distance;
    double* __restrict i3 = imaginary + 3 * distance;
    for (long lane = 0; lane < kLanes; ++lane) {
        const double evenSumR = r0[lane] + r2[lane];
        const double evenSumI = i0[lane] + i2[lane];
        const double evenDifR = r0[lane] - r2[lane];
        const double evenDifI = i0[lane] - i2[lane];
        const double oddSumR = r1[lane] + r3[lane];
        const double oddSumI = i1[lane] + i3[lane];
        const double oddDifR = i1[lane] - i3[lane];
        const double oddDifI = r3[lane] - r1[lane];
        r0[lane] = evenSumR + oddSumR;
        i0[lane] = evenSumI + oddSumI;
        r1[lane] = evenDifR + oddDifR;
        i1[lane] = evenDifI + oddDifI;
        r2[lane] = evenSumR - oddSumR;
        i2[lane] = evenSumI - oddSumI;
        r3[lane] = evenDifR - oddDifR;
        i3[lane] = evenDifI - oddDifI;
    }
}

/// One butterfly of two rows, the last step where the length is an odd power of two.
void butterfly2(double* real, double* imaginary) {
    for (long lane = 0; lane < kLanes; ++lane) {
        const double sumR = real[lane] + real[lane + kLanes];
        const double sumI = imaginary[lane] + imaginary[lane + kLanes];
        real[lane + kLanes] = real[lane] - real[lane + kLanes];
        imaginary[lane + kLanes] = imaginary[lane] - imaginary[lane + kLanes];
        real[lane] = sumR;
        imaginary[lane] = sumI;
    }
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
    const auto count = static_cast<std::size_t>(length_);
    cosine_.resize(count);
    sine_.resize(count);
    for (long k = 0; k < length_; ++k) {
        const UnitVector turn = unitVector(k, length_);
        cosine_[static_cast<std::size_t>(k)] = turn.x;
        sine_[static_cast<std::size_t>(k)] = -turn.y;
    }

    // The first step leaves the frequencies 4 q + r in quarter r of the rows, the next one does the same within each
    // quarter, and so on: the row is the frequency with its digits in reversed order.
    rowOf_.assign(count, 0);
    long step = 1;
    for (long span = length_; span > 1;) {
        const long radix = span >= 4 ? 4 : 2;
        span /= radix;
        for (long k = 0; k < length_; ++k) rowOf_[static_cast<std::size_t>(k)] += (k / step) % radix * span;
        step *= radix;
    }
}

// Decimation in frequency, in place: each step combines rows a quarter apart and turns the results, then goes on within
// the quarters.
void qv_FourierPlan::transformPowerOfTwo(double* real, double* imaginary) const {
    long span = length_;
    for (; span >= 4; span /= 4) {
        const long quarter = span / 4;
        const long distance = quarter * kLanes;
        const long turnsPerRow = length_ / span;
        for (long base = 0; base < length_; base += span) {
            butterfly4Unturned(real + base * kLanes, imaginary + base * kLanes, distance);
            for (long j = 1; j < quarter; ++j) {
                const auto k = static_cast<std::size_t>(j * turnsPerRow);
                butterfly4(real + (base + j) * kLanes, imaginary + (base + j) * kLanes, distance,
                           {cosine_[k], sine_[k]}, {cosine_[2 * k], sine_[2 * k]}, {cosine_[3 * k], sine_[3 * k]});
            }
        }
    }
    if (span == 2)
        for (long base = 0; base < length_; base += 2) butterfly2(real + base * kLanes, imaginary + base * kLanes);
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
        transformPowerOfTwo(real, imaginary);
}
