/// @file
/// Sums over a ring as plainly as they can be said: every sample from its formula.
#ifndef QVSTREET_TESTS_SUPPORT_SLOW_POLAR_H
#define QVSTREET_TESTS_SUPPORT_SLOW_POLAR_H

#include <algorithm>
#include <vector>

#include "qvstreet/platform/angle.h"
#include "qvstreet/platform/pel_buffer.h"
#include "qvstreet/platform/rect.h"

namespace qvtest {

/// Bilinear value at `point`, in pel index coordinates; beyond the border the nearest border pel.
inline double slowBilinear(const qvPelBuffer_const<double>& image, const qvVector<2>& point) {
    const long ix = qfTruncate(point.x());
    const long iy = qfTruncate(point.y());
    const double fx = point.x() - static_cast<double>(ix);
    const double fy = point.y() - static_cast<double>(iy);
    const auto pel = [&](long x, long y) {
        return image.get(std::clamp(x, 0L, image.width() - 1), std::clamp(y, 0L, image.height() - 1));
    };
    return pel(ix, iy) * ((1.0 - fx) * (1.0 - fy)) + pel(ix + 1, iy) * (fx * (1.0 - fy)) +
           pel(ix, iy + 1) * ((1.0 - fx) * fy) + pel(ix + 1, iy + 1) * (fx * fy);
}

/// For each of `directions` directions from -135 to +135 degrees the values at the middles of the rings of one pel from
/// radius `r0` to `r1` around the pel (width / 2, width / 2), added up from the innermost one.
inline std::vector<double> slowPolarSums(const qvPelBuffer_const<double>& image, long directions, long r0, long r1) {
    const double middle = static_cast<double>(image.width() / 2) + 0.5;
    const double start = -2.356194490192345;
    const double end = 2.356194490192345;
    const qvEllipseAnnulusSection section(qvVector<2>(middle, middle), static_cast<double>(r0), static_cast<double>(r1),
                                          qvRadian(start), qvRadian(end), true, true, true);
    const double nx = static_cast<double>(directions);
    const double ny = static_cast<double>(r1 - r0);
    const auto fromCentre = [&](long i, long j) {
        return section.mapFromUnitSq(
                   qvVector<2>((static_cast<double>(i) + 0.5) / nx, (static_cast<double>(j) + 0.5) / ny)) -
               section.center();
    };
    std::vector<double> sums;
    for (long i = 0; i < directions; ++i) {
        double sum = 0.0;
        for (long j = 0; j < r1 - r0; ++j) {
            const double factor = fromCentre(0, j).len() / fromCentre(0, 0).len();
            sum += slowBilinear(image, section.center() - qvVector<2>(0.5, 0.5) + fromCentre(i, 0) * factor);
        }
        sums.push_back(sum);
    }
    return sums;
}

}  // namespace qvtest

#endif
