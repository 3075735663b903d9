/// @file
/// A wafer of three streets with exactly known edges, what a finder may tell of it, and calls that measure it.
#ifndef QVSTREET_TESTS_PROJECTION_MEASURED_WAFER_H
#define QVSTREET_TESTS_PROJECTION_MEASURED_WAFER_H

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

#include "qvstreet/projection/street_measurement.h"
#include "qvstreet/streetfinder/street_results_access.h"
#include "tests/projection/drawn_street.h"
#include "tests/support/noise_image.h"

namespace qvtest {

using Defs = qvStreetMeasureDefs;
using FinderDefs = qvStreetFinderDefs;
using Point = qvVector<2>;
using Cross = qvStreetFinderStreetCrossResult;
using Single = qvStreetFinderSingleStreetResult;
using Access = qv_streetResultAccess;
using Image = qvPelBuffer_const<unsigned char>;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kPi = 3.141592653589793;
constexpr long kWidth = 460;
constexpr long kHeight = 340;

/// Streets along x, 22 pels wide along y, and one along y, 16 pels wide along x: not quite at right angles.
struct Wafer {
    std::vector<DrawnStreet> horizontal{{80.3, 102.3, 0.02}, {230.7, 252.7, 0.02}};
    std::vector<DrawnStreet> vertical{{170.4, 186.4, -0.025}};

    double grey(long x, long y) const {
        double most = 0.0;
        for (const DrawnStreet& street : horizontal) most = std::max(most, (150.0 - street.grey(x, y)) / 60.0);
        for (const DrawnStreet& street : vertical) most = std::max(most, (150.0 - street.grey(y, x)) / 60.0);
        return 150.0 - 60.0 * most;
    }
    /// Where the middles of two streets cross: y = a + s * x, x = b + t * y.
    Point crossing(std::size_t h, std::size_t v) const {
        const double s = horizontal[h].slope;
        const double t = vertical[v].slope;
        const double a = 0.5 * (horizontal[h].first + horizontal[h].second);
        const double b = 0.5 * (vertical[v].first + vertical[v].second);
        const double y = (a + s * b) / (1.0 - s * t);
        return Point(b + t * y, y);
    }
    double horizontalAngle() const { return std::atan(horizontal[0].slope); }
    double verticalAngle() const { return std::atan2(1.0, vertical[0].slope); }
};

/// With noise of up to 3 grey levels either way.
template <typename Grey>
qvPelBuffer<unsigned char> drawn(const Grey& grey, long width = kWidth, long height = kHeight) {
    Noise noise(11);
    return drawnImage(width, height,
                      [&](long x, long y) { return static_cast<double>(grey(x, y)) + noise.real(-3.0, 3.0); });
}
inline qvPelBuffer<unsigned char> drawn(const Wafer& wafer) {
    return drawn([&wafer](long x, long y) { return wafer.grey(x, y); });
}

inline Cross told(const Point& at, double horizontal, double vertical) {
    Cross result;
    Access::crossing(result) = at;
    Access::setCorners(result, at);
    Access::horizontalAngle(result) = qvRadian(horizontal);
    Access::verticalAngle(result) = qvRadian(vertical);
    Access::statusFlags(result) = FinderDefs::eStreetFromLine;
    return result;
}

/// As a finder may tell it: a pel and a third of a degree off.
inline Cross toldOf(const Wafer& wafer, std::size_t h, std::size_t v) {
    return told(wafer.crossing(h, v) + Point(0.8, -0.6), wafer.horizontalAngle() + 0.006,
                wafer.verticalAngle() - 0.006);
}

inline Single toldSingle(double angle, const std::vector<qvLineSeg>& segments,
                         FinderDefs::resultType flags = FinderDefs::eStreetFromLine) {
    Single result;
    Access::angle(result) = qvRadian(angle);
    Access::lineSegs(result) = segments;
    Access::statusFlags(result) = flags;
    return result;
}

/// Vertical streets of some 16 units, horizontal ones of some 22.
inline qvStreetMeasureParams params(double reach = 1e30,
                                    FinderDefs::streetPolarity polarity = FinderDefs::eAnyPolarity) {
    return qvStreetMeasureParams(
        qvStreetFinderParams({16.0, 22.0}, {8.0, 24.0}, {12.0, 32.0}, FinderDefs::eCoarseRidgeWafer, 5.0, polarity),
        reach);
}

inline std::vector<qvStreetMeasurement> measure(const Image& image, const std::vector<Cross>& results,
                                                const qvStreetMeasureParams& with = params()) {
    std::vector<qvStreetMeasurement> measured;
    qfStreetMeasureCrosses(image, results, with, measured);
    EXPECT_EQ(measured.size(), results.size());
    return measured;
}

inline qvStreetLineMeasurement measureSingle(const Image& image, const Single& result,
                                             const qvStreetMeasureParams& with = params()) {
    std::vector<qvStreetLineMeasurement> measured;
    qfStreetMeasureStreets(image, {result}, with, measured);
    EXPECT_EQ(measured.size(), 1u);
    return measured[0];
}

/// A street said to lie along y = 170, measured on rows of these greys.
inline qvStreetLineMeasurement measureAlongRows(const Image& image, const qvStreetMeasureParams& with = params(),
                                                double y = 170.0) {
    return measureSingle(image, toldSingle(0.0, {qvLineSeg(Point(20.0, y), Point(440.0, y))}), with);
}

inline bool isNowhere(const Point& p) { return std::isnan(p.x()) && std::isnan(p.y()); }
inline bool isNowhere(const qvLineSeg& s) { return isNowhere(s.p1()) && isNowhere(s.p2()); }

inline void expectNothing(const qvStreetLineMeasurement& m, Defs::measureReason reason) {
    EXPECT_EQ(m.status(), Defs::eNotMeasured);
    EXPECT_EQ(m.reason(), reason);
    EXPECT_TRUE(std::isnan(m.angle().toDouble()));
    EXPECT_TRUE(std::isnan(m.angleDeviation().toDouble()));
    EXPECT_TRUE(std::isnan(m.width()));
    EXPECT_TRUE(std::isnan(m.widthDeviation()));
    EXPECT_TRUE(isNowhere(m.centre()));
    EXPECT_TRUE(std::isnan(m.centreDeviation()));
    for (const long e : {0L, 1L}) {
        EXPECT_TRUE(isNowhere(m.edge(e)));
        EXPECT_TRUE(std::isnan(m.edgeDeviation(e)));
    }
}

inline void expectNear(const Point& a, const Point& b, double tolerance) {
    EXPECT_NEAR(a.x(), b.x(), tolerance);
    EXPECT_NEAR(a.y(), b.y(), tolerance);
}

template <typename Value>
bool sameBits(const Value& a, const Value& b) {
    return std::memcmp(&a, &b, sizeof a) == 0;
}

}  // namespace qvtest

#endif
