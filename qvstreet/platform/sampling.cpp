#include "qvstreet/platform/sampling.h"

#include <algorithm>
#include <cstdint>

#include "qvstreet/platform/sample_grid.h"

namespace {

// A length that is whole but for rounding, such as 1024 * cos(0), keeps its last sample.
constexpr double kLengthTolerance = 1e-9;

// What a 16-bit count can hold; a block of more pels is no reduction of an image.
constexpr long kLargestFactor = 32767;
// Keeps the number of taps at 34 times the factor; more blur than that leaves nothing of an image.
constexpr double kLargestSmoothing = 16.0;

/// Keeps the low 16 bits, as a signed number.
long narrowedCount(long count) {
    const long saturated = qfSaturate32(count);
    const long narrowed = static_cast<std::int16_t>(static_cast<std::uint16_t>(saturated & 0xffff));
    if (narrowed <= 0) throw qvPel::BadSize(L"a number of samples must be 1 to 32767");
    return narrowed;
}

long knownInterpolation(long mode) {
    if (mode != kInterpolationNearest && mode != kInterpolationBilinear)
        throw qvPel::BadSize(L"an interpolation must be 1 (nearest pel) or 2 (bilinear)");
    return mode;
}

long effectiveFactor(long factor, long leastFactor) {
    const long effective = std::max({factor, leastFactor, 1L});
    if (effective > kLargestFactor) throw qvPel::BadSize(L"a reduction factor must be at most 32767");
    return effective;
}

}  // namespace

long qf_sampleCount(double length) { return qfTruncate(length + kLengthTolerance); }

qvAffineSamplingParams::qvAffineSamplingParams(const qvAffineRectangle& rect, long xNumSamples, long yNumSamples,
                                               long interpolation)
    : rect_(rect),
      xNumSamples_(narrowedCount(xNumSamples)),
      yNumSamples_(narrowedCount(yNumSamples)),
      interpolation_(knownInterpolation(interpolation)) {}

void qvAffineSamplingParams::xNumSamples(long count) { xNumSamples_ = narrowedCount(count); }
void qvAffineSamplingParams::yNumSamples(long count) { yNumSamples_ = narrowedCount(count); }
void qvAffineSamplingParams::interpolation(long mode) { interpolation_ = knownInterpolation(mode); }

qvPolarSamplingParams::qvPolarSamplingParams(const qvEllipseAnnulusSection& section, long xNumSamples, long yNumSamples,
                                             long interpolation)
    : section_(section),
      xNumSamples_(narrowedCount(xNumSamples)),
      yNumSamples_(narrowedCount(yNumSamples)),
      interpolation_(knownInterpolation(interpolation)) {}

void qvPolarSamplingParams::xNumSamples(long count) { xNumSamples_ = narrowedCount(count); }
void qvPolarSamplingParams::yNumSamples(long count) { yNumSamples_ = narrowedCount(count); }
void qvPolarSamplingParams::interpolation(long mode) { interpolation_ = knownInterpolation(mode); }

qvGaussSampleParams::qvGaussSampleParams(const qvPair<long>& leastFactors, const qvPair<long>& factors,
                                         double smoothing, bool completeLastBlock)
    : factors_(effectiveFactor(factors.first, leastFactors.first),
               effectiveFactor(factors.second, leastFactors.second)),
      smoothing_(smoothing),
      completeLastBlock_(completeLastBlock) {
    if (!(smoothing >= 0.0 && smoothing <= kLargestSmoothing)) throw qvPel::BadSize(L"a smoothing must be 0 to 16");
}
