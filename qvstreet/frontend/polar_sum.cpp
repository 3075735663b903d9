// Sums over a ring.
//
// In:  an image of magnitudes, a ring of radii around its centre, pels.
// Out: one sum for each direction.
//
// A sample is bilinear between four pels, their values standing at whole numbers of pel index coordinates. Where the
// samples lie depends on nothing but the size of the image and the ring, so that is a table, laid out as the kernels walk
// it: eight directions side by side, one radius after the other.
#include "qvstreet/frontend/polar_sum.h"

#include <algorithm>
#include <limits>

#include "qvstreet/frontend/polar_kernels.h"
#include "qvstreet/platform/angle.h"
#include "qvstreet/platform/rect.h"
#include "qvstreet/platform/sampling.h"

namespace {

constexpr double kProfileStart = -2.356194490192345;  // -135 degrees in radians
constexpr double kProfileEnd = 2.356194490192345;
constexpr long kBilinear = 2;
constexpr long kAlignment = 32;

/// A direction on the innermost circle times a radial factor, for each sample of the ring.
struct Spokes {
    std::vector<qvVector<2>> innermost;
    std::vector<double> radialFactors;
};

Spokes spokesOf(const qvEllipseAnnulusSection& section, long angularSamples, long radialSamples) {
    const double nx = static_cast<double>(angularSamples);
    const double ny = static_cast<double>(radialSamples);
    Spokes spokes;
    spokes.innermost.reserve(static_cast<std::size_t>(angularSamples));
    for (long i = 0; i < angularSamples; ++i) {
        const qvVector<2> uv((static_cast<double>(i) + 0.5) / nx, 0.5 / ny);
        spokes.innermost.push_back(section.mapFromUnitSq(uv) - section.center());
    }
    const double innermostRadius = spokes.innermost.front().len();
    spokes.radialFactors.reserve(static_cast<std::size_t>(radialSamples));
    for (long j = 0; j < radialSamples; ++j) {
        const qvVector<2> uv(0.5 / nx, (static_cast<double>(j) + 0.5) / ny);
        spokes.radialFactors.push_back((section.mapFromUnitSq(uv) - section.center()).len() / innermostRadius);
    }
    return spokes;
}

}  // namespace

void qv_polarSum::makeTable(const Ring& ring) {
    const double middle = static_cast<double>(ring.width / 2) + 0.5;
    const qvVector<2> centre(middle, middle);
    const qvEllipseAnnulusSection section(centre, static_cast<double>(ring.r0), static_cast<double>(ring.r1),
                                          qvRadian(kProfileStart), qvRadian(kProfileEnd), true, true, true);
    const qvPolarSamplingParams sampling(section, ring.angularSamples, ring.r1 - ring.r0, kBilinear);
    const Spokes spokes = spokesOf(section, sampling.xNumSamples(), sampling.yNumSamples());
    // The centre in pel index coordinates.
    const qvVector<2> indexCentre = centre - qvVector<2>(0.5, 0.5);

    ring_ = Ring();
    directions_ = spokes.innermost.size();
    radii_ = spokes.radialFactors.size();
    const std::size_t groups = (directions_ + kPolarLanes - 1) / kPolarLanes;
    const std::size_t entries = groups * radii_ * kPolarLanes;
    columns_.assign(entries, 0);
    rows_.assign(entries, 0);
    fractionsX_.assign(entries, 0.0);
    fractionsY_.assign(entries, 0.0);
    sums_.assign(groups * kPolarLanes, 0.0);
    isInside_ = ring.width >= 2 && ring.height >= 2;
    for (std::size_t i = 0; i < directions_; ++i)
        for (std::size_t j = 0; j < radii_; ++j) {
            const qvVector<2> point = indexCentre + spokes.innermost[i] * spokes.radialFactors[j];
            const long ix = qfTruncate(point.x());
            const long iy = qfTruncate(point.y());
            const std::size_t entry = ((i / kPolarLanes) * radii_ + j) * kPolarLanes + i % kPolarLanes;
            columns_[entry] = static_cast<std::int32_t>(ix);
            rows_[entry] = static_cast<std::int32_t>(iy);
            fractionsX_[entry] = point.x() - static_cast<double>(ix);
            fractionsY_[entry] = point.y() - static_cast<double>(iy);
            isInside_ = isInside_ && ix >= 0 && iy >= 0 && ix < ring.width - 1 && iy < ring.height - 1;
        }
    const long lastOffset = std::numeric_limits<std::int32_t>::max() / std::max(std::abs(ring.rowUpdate), 1L);
    isInside_ = isInside_ && ring.height <= lastOffset;
    offsets_.assign(isInside_ ? entries : 0, 0);
    for (std::size_t entry = 0; entry < offsets_.size(); ++entry)
        offsets_[entry] = static_cast<std::int32_t>(rows_[entry] * ring.rowUpdate + columns_[entry]);
    ring_ = ring;
    ++tablesMade_;
}

void qv_polarSum::sumAtBorders(const qvPelBuffer_const<double>& magnitude, double* sums) const {
    const long lastColumn = magnitude.width() - 1;
    const long lastRow = magnitude.height() - 1;
    for (std::size_t i = 0; i < directions_; ++i) {
        double sum = 0.0;
        for (std::size_t j = 0; j < radii_; ++j) {
            const std::size_t entry = ((i / kPolarLanes) * radii_ + j) * kPolarLanes + i % kPolarLanes;
            const double fx = fractionsX_[entry];
            const double fy = fractionsY_[entry];
            const long x0 = std::clamp<long>(columns_[entry], 0, lastColumn);
            const long x1 = std::clamp<long>(columns_[entry] + 1L, 0, lastColumn);
            const double* const upper = magnitude.pointToRow(std::clamp<long>(rows_[entry], 0, lastRow));
            const double* const lower = magnitude.pointToRow(std::clamp<long>(rows_[entry] + 1L, 0, lastRow));
            sum += upper[x0] * ((1.0 - fx) * (1.0 - fy)) + upper[x1] * (fx * (1.0 - fy)) +
                   lower[x0] * ((1.0 - fx) * fy) + lower[x1] * (fx * fy);
        }
        sums[i] = sum;
    }
}

void qv_polarSum::sum(const qvPelBuffer_const<double>& magnitude, short angularSamples, long r0, long r1,
                      qvPelBuffer<double>& profile) {
    const Ring ring = {magnitude.width(), magnitude.height(), magnitude.rowUpdate(), angularSamples, r0, r1};
    if (!(ring == ring_)) makeTable(ring);
    const long directions = static_cast<long>(directions_);
    if (profile.width() != directions || profile.height() != 1)
        profile = qvPelBuffer<double>(directions, 1, kAlignment);

    if (!isInside_) {
        sumAtBorders(magnitude, profile.pointToRow(0));
        return;
    }
    const qv_PolarSamples samples = {offsets_.data(), fractionsX_.data(), fractionsY_.data(),
                                     sums_.size() / kPolarLanes, radii_};
    QV_CHOSEN_KERNELS(polarKernels).sumOverRadii(magnitude.pointToRow(0), magnitude.rowUpdate(), samples, sums_.data());
    std::copy_n(sums_.begin(), directions, profile.pointToRow(0));
}
