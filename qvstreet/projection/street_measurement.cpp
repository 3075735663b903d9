// Street measurement.
//
// In:  the image that streets were found in, the finder's results in client units, what is known of the widths.
// Out: the same crossings and streets, measured on the whole image, in client units, with standard deviations.
//
// The finder's results come from a square of 256 samples: some pels aside in a large image, and tenths of a degree.
// That is enough to say where to look. Each street is followed once, however many crossings it has; then
//
//     crossing = where two centre lines meet          centre line = midway between two edges
//
// Everything is in pels of the window until the last step, the mapping to the client frame.
#include "qvstreet/projection/street_measurement.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "qvstreet/projection/street_measurer.h"

namespace {

using Image = qvPelBuffer_const<unsigned char>;
using Defs = qvStreetMeasureDefs;

// Corners that were built from edges tell the width to this share.
constexpr double kBuiltWidthTolerance = 0.35;
// Around a crossing, this share of the other street's width and so many pels are left out, half on either side.
constexpr double kCrossingShare = 1.2;
constexpr double kCrossingPels = 8.0;
// Streets whose directions' cross product is less do not cross.
constexpr double kParallel = 1e-6;
constexpr std::size_t kNoStreet = std::numeric_limits<std::size_t>::max();

using Frames = qv_MeasurementFrames;
using Told = qv_ToldStreet;

/// A linear function of a street's fitted numbers (offset 0, offset 1, slope 0, slope 1).
using Weights = std::array<double, 4>;

double valueOf(const qv_EdgeLines& lines, const Weights& weights) {
    return weights[0] * lines.offset[0] + weights[1] * lines.offset[1] + weights[2] * lines.slope[0] +
           weights[3] * lines.slope[1];
}

double varianceOf(const qv_EdgeLines& lines, const Weights& weights) {
    double sum = 0.0;
    for (std::size_t a = 0; a < weights.size(); ++a)
        for (std::size_t b = 0; b < weights.size(); ++b) sum += weights[a] * lines.covariance[a][b] * weights[b];
    return sum;
}

Weights edgeAt(std::size_t edge, double fromU0) {
    Weights weights{};
    weights[edge] = 1.0;
    weights[edge + 2] = fromU0;
    return weights;
}
Weights centreAt(double fromU0) { return {0.5, 0.5, 0.5 * fromU0, 0.5 * fromU0}; }
Weights widthAt(double fromU0) { return {-1.0, 1.0, -fromU0, fromU0}; }

/// The whole standard deviation: what the points scatter by, what their shape leaves open, and the least.
double deviationOf(double variance, double shape = 0.0) {
    return std::sqrt(std::max(0.0, variance) + shape * shape + kLeastLineDeviationPels * kLeastLineDeviationPels);
}

/// What shape and grid leave open of a centre line, pels along v: structures that both edges share move them to
/// opposite sides, so their difference counts.
double centreShapeOf(const qv_StreetTrack& track) {
    const double first = track.shapeDeviation[0];
    const double second = track.shapeDeviation[1];
    const double shared = std::min(first, second);
    return std::hypot(0.5 * std::hypot(first - shared, second - shared), track.gridDeviation);
}

/// The point (u, v) of the window's frame in client terms.
qvVector<2> clientPoint(const Frames& frames, const qv_UvPels& pels, double u, double v) {
    return frames.client(pels.exchange(qvVector<2>(u, v)));
}

qvLineSeg clientSegment(const Frames& frames, const qv_UvPels& pels, const qv_UvRange& extent, const qv_UvLine& line) {
    return qvLineSeg(clientPoint(frames, pels, extent.low, line.at(extent.low)),
                     clientPoint(frames, pels, extent.high, line.at(extent.high)));
}

/// The measured angle, running the way the told one does.
qvRadian runningLike(qvRadian angle, qvRadian told) {
    constexpr double kPi = 3.141592653589793;
    const double turns = std::round((told.toDouble() - angle.toDouble()) / kPi);
    return qvRadian(angle.toDouble() + turns * kPi);
}

/// What is said of one street, at the place where it was asked for.
qvStreetLineMeasurement describe(const Frames& frames, const qv_MeasuredTrack& street, const Told& told, double u) {
    using Access = qv_streetMeasurementAccess;
    qvStreetLineMeasurement result;
    Access::reason(result) = street.reason;
    for (const qv_EdgePoint& point : street.track.points)
        ++(point.used ? Access::usedPoints(result) : Access::refusedPoints(result));
    const bool both = street.reason == Defs::eNoReason;
    const bool one = street.reason == Defs::eOneEdge;
    if (!both && !one) return result;

    Access::status(result) = both ? Defs::eMeasured : Defs::ePartlyMeasured;
    const qv_EdgeLines& lines = street.track.lines;
    const qv_UvPels& pels = street.pels;
    const qv_UvLine centre = qf_centreOf(lines, street.track.edges);
    const double cosine = centre.cosine();
    const double fromU0 = u - lines.u0;
    const qvVector<2> along = pels.exchange(qvVector<2>(1.0, centre.slope)).unit();
    const double across = frames.across(along);
    const double grid = street.track.gridDeviation;
    const double length = std::max(1.0, street.track.extent.high - street.track.extent.low);

    Access::angle(result) = runningLike(frames.clientVector(along).angle(), told.angle);
    const double slopeVariance = qf_slopeVarianceOf(lines, street.track.edges);
    const double leastSlope = kLeastLineDeviationPels / length;
    // Of a small turn, the part across the line counts, by the units across over the units along.
    Access::angleDeviation(result) =
        qvRadian(std::sqrt(slopeVariance + leastSlope * leastSlope) * cosine * cosine * across / frames.along(along));
    for (std::size_t e = 0; e < static_cast<std::size_t>(street.track.edges); ++e) {
        const std::size_t index = both ? e : static_cast<std::size_t>(street.edges.which);
        Access::edges(result)[index] =
            clientSegment(frames, pels, street.track.extent, {lines.u0, lines.offset[e], lines.slope[e]});
        Access::edgeDeviations(result)[index] =
            deviationOf(varianceOf(lines, edgeAt(e, fromU0)), std::hypot(street.track.shapeDeviation[e], grid)) *
            cosine * across;
    }
    if (!both) return result;
    Access::centre(result) = clientSegment(frames, pels, street.track.extent, centre);
    Access::centreDeviation(result) =
        deviationOf(varianceOf(lines, centreAt(fromU0)), centreShapeOf(street.track)) * cosine * across;
    Access::width(result) = valueOf(lines, widthAt(fromU0)) * cosine * across;
    const double shape = street.track.shapeDeviation[0] + street.track.shapeDeviation[1];
    Access::widthDeviation(result) =
        deviationOf(varianceOf(lines, widthAt(fromU0)), std::hypot(shape, 2.0 * grid)) * cosine * across;
    return result;
}

/// A street's centre line in the window as a * x + b * y = c, with the variance of c at a point.
struct CentreEquation {
    double a, b, c;
    const qv_MeasuredTrack* street;

    explicit CentreEquation(const qv_MeasuredTrack& track) : street(&track) {
        const qv_UvLine centre = qf_centreOf(track.track.lines, 2);
        const qvVector<2> normal = track.pels.exchange(qvVector<2>(-centre.slope, 1.0));
        a = normal.x();
        b = normal.y();
        c = centre.v0 - centre.slope * centre.u0;
    }
    double variance(const qvVector<2>& at) const {
        const double fromU0 = street->pels.exchange(at).x() - street->track.lines.u0;
        const double deviation =
            deviationOf(varianceOf(street->track.lines, centreAt(fromU0)), centreShapeOf(street->track));
        return deviation * deviation;
    }
};

/// Stores the crossing of two measured streets; false where they are parallel.
bool cross(const Frames& frames, const qv_MeasuredTrack& first, const qv_MeasuredTrack& second,
           qvStreetMeasurement& result) {
    const CentreEquation p(first);
    const CentreEquation q(second);
    const double determinant = p.a * q.b - q.a * p.b;
    if (!(std::fabs(determinant) > kParallel)) return false;
    const qvVector<2> at((p.c * q.b - q.c * p.b) / determinant, (p.a * q.c - q.a * p.c) / determinant);
    const double pVariance = p.variance(at) / (determinant * determinant);
    const double qVariance = q.variance(at) / (determinant * determinant);
    qv_streetMeasurementAccess::crossing(result) = frames.client(at);
    qv_streetMeasurementAccess::crossingDeviation(result) =
        frames.deviations(q.b * q.b * pVariance + p.b * p.b * qVariance, -q.a * q.b * pVariance - p.a * p.b * qVariance,
                          q.a * q.a * pVariance + p.a * p.a * qVariance);
    return true;
}

enum class Direction { horizontal, vertical };

/// The widths that the parameters give a direction: of a street nearer the horizontal the one measured in y.
void tellWidths(const qvStreetFinderParams& params, Direction direction, Told& told) {
    const bool inY = direction == Direction::horizontal;
    const qvPair<double> range = inY ? params.nominalStreetWidthRangeY() : params.nominalStreetWidthRangeX();
    told.likely = inY ? params.nominalStreetWidth().second : params.nominalStreetWidth().first;
    told.least = range.first;
    told.most = range.second;
}

/// Edges that were found tell the width better than the parameters.
void takeBuiltWidth(double built, Told& told) {
    if (!(built > 0.0)) return;
    told.likely = built;
    told.least = built * (1.0 - kBuiltWidthTolerance);
    told.most = built * (1.0 + kBuiltWidthTolerance);
}

Told toldOf(const qvStreetFinderStreetCrossResult& result, const qvStreetFinderParams& params, Direction direction) {
    Told told;
    told.point = result.crossing();
    told.angle = direction == Direction::horizontal ? result.horizontalAngle() : result.verticalAngle();
    tellWidths(params, direction, told);
    if (result.statusFlags() != qvStreetFinderDefs::eStreetFromEdges) return told;
    // Halfway along the sides of the quadrangle of its corners.
    const qvVector<2> low = direction == Direction::horizontal ? (result.ulCorner() + result.urCorner()) * 0.5
                                                               : (result.ulCorner() + result.llCorner()) * 0.5;
    const qvVector<2> high = direction == Direction::horizontal ? (result.llCorner() + result.lrCorner()) * 0.5
                                                                : (result.urCorner() + result.lrCorner()) * 0.5;
    takeBuiltWidth(std::fabs(qvFLine(told.angle, low).distanceFrom(high)), told);
    return told;
}

/// Of a single street: the middle of its segments.
Told toldOf(const qvStreetFinderSingleStreetResult& result, const Frames& frames, const qvStreetFinderParams& params) {
    Told told;
    told.angle = result.angle();
    const qvVector<2> along = frames.windowVector(qvVector<2>(1.0, told.angle));
    const bool level = std::fabs(along.x()) >= std::fabs(along.y());
    tellWidths(params, level ? Direction::horizontal : Direction::vertical, told);
    const std::vector<qvLineSeg>& segments = result.lineSegs();
    if (segments.empty()) {
        told.point = qvVector<2>(std::numeric_limits<double>::quiet_NaN(), 0.0);
        return told;
    }
    qvVector<2> sum(0.0, 0.0);
    for (const qvLineSeg& segment : segments) sum = sum + (segment.p1() + segment.p2()) * 0.5;
    told.point = sum * (1.0 / static_cast<double>(segments.size()));
    if (result.statusFlags() == qvStreetFinderDefs::eStreetFromEdges && segments.size() == 2) {
        const qvVector<2> other = (segments[1].p1() + segments[1].p2()) * 0.5;
        takeBuiltWidth(std::fabs(qvFLine(told.angle, (segments[0].p1() + segments[0].p2()) * 0.5).distanceFrom(other)),
                       told);
    }
    return told;
}

/// A street as it is told, in client units and in the pels of the window.
struct ToldStreet {
    Told told;
    qv_UvPels pels;
    qv_StreetPrediction prediction;
    bool inWindow = false;
};

/// The two streets of a crossing.
struct ToldCrossing {
    std::array<ToldStreet, 2> streets;
    bool inWindow() const { return streets[0].inWindow && streets[1].inWindow; }
};

ToldStreet inPels(const qv_StreetMeasurer& measurer, const Told& told) {
    ToldStreet street;
    street.told = told;
    street.pels = measurer.pelsAlong(told);
    street.inWindow = measurer.predict(told, street.pels, street.prediction);
    return street;
}

/// Half of what a street takes of another that it crosses, pels along u.
double crossingHalf(const qv_StreetPrediction& crossing) {
    return 0.5 * (kCrossingShare * crossing.likelyWidth + kCrossingPels);
}

/// Where streets of the other direction cross this one, as far as the results tell.
std::vector<qv_UvRange> crossingsOf(const std::vector<ToldCrossing>& all, const ToldCrossing& one, std::size_t street) {
    std::vector<qv_UvRange> ranges;
    const ToldStreet& own = one.streets[street];
    for (const ToldCrossing& other : all) {
        const ToldStreet& same = other.streets[street];
        if (!other.inWindow() || same.pels.swapped != own.pels.swapped) continue;
        const qv_UvLine& centre = same.prediction.centre;
        const double aside = std::fabs(own.prediction.centre.at(centre.u0) - centre.v0);
        if (aside > own.prediction.likelyWidth + own.prediction.reach) continue;
        const double half = crossingHalf(other.streets[1 - street].prediction);
        ranges.push_back({centre.u0 - half, centre.u0 + half});
    }
    return ranges;
}

/// Where the streets of the other direction cross this one.
std::vector<qv_UvRange> crossingsOf(const std::vector<ToldStreet>& all, const ToldStreet& one) {
    std::vector<qv_UvRange> ranges;
    const qv_UvLine& along = one.prediction.centre;
    for (const ToldStreet& other : all) {
        if (!other.inWindow || other.pels.swapped == one.pels.swapped) continue;
        // Of the other street u and v have changed places: u = at(v).
        const qv_UvLine& across = other.prediction.centre;
        const double parallel = 1.0 - across.slope * along.slope;
        if (!(std::fabs(parallel) > kParallel)) continue;
        const double u = (across.v0 + across.slope * (along.v0 - along.slope * along.u0 - across.u0)) / parallel;
        const double half = crossingHalf(other.prediction);
        ranges.push_back({u - half, u + half});
    }
    return ranges;
}

void summarise(qvStreetMeasurement& result) {
    using Access = qv_streetMeasurementAccess;
    const qvStreetLineMeasurement& horizontal = result.horizontal();
    const qvStreetLineMeasurement& vertical = result.vertical();
    const bool any = horizontal.status() != Defs::eNotMeasured || vertical.status() != Defs::eNotMeasured;
    const bool all = horizontal.status() == Defs::eMeasured && vertical.status() == Defs::eMeasured;
    Access::status(result) = all ? Defs::eMeasured : any ? Defs::ePartlyMeasured : Defs::eNotMeasured;
    Access::reason(result) = horizontal.reason() != Defs::eNoReason ? horizontal.reason() : vertical.reason();
}

}  // namespace

void qf_measureCrosses(const qvPelBuffer_const<unsigned char>& image,
                       const std::vector<qvStreetFinderStreetCrossResult>& results, const qvStreetMeasureParams& params,
                       std::vector<qvStreetMeasurement>& measured, std::vector<qv_MeasuredTrack>* tracks) {
    using Access = qv_streetMeasurementAccess;
    if (!image.isBound()) throw qvStreetFinderDefs::UnboundImage(L"Image is unbound.");
    qv_StreetMeasurer measurer(image, params);
    std::vector<ToldCrossing> all;
    for (const qvStreetFinderStreetCrossResult& result : results) {
        const ToldCrossing crossing{{inPels(measurer, toldOf(result, params.streets(), Direction::horizontal)),
                                     inPels(measurer, toldOf(result, params.streets(), Direction::vertical))}};
        all.push_back(crossing);
    }
    // First every street, from whichever of its crossings shows it; then what each crossing says.
    std::vector<std::array<std::size_t, 2>> streets;
    for (const ToldCrossing& one : all) {
        std::array<std::size_t, 2> numbers{};
        for (std::size_t s = 0; s < 2 && one.inWindow(); ++s)
            numbers[s] = measurer.follow(crossingsOf(all, one, s), one.streets[s].pels, one.streets[s].prediction);
        streets.push_back(numbers);
    }
    measurer.shareDirections();
    std::vector<qvStreetMeasurement> list;
    for (std::size_t i = 0; i < all.size(); ++i) {
        qvStreetMeasurement result;
        if (all[i].inWindow()) {
            const std::array<ToldStreet, 2>& told = all[i].streets;
            const qv_MeasuredTrack& horizontal = measurer.best(streets[i][0]);
            const qv_MeasuredTrack& vertical = measurer.best(streets[i][1]);
            Access::horizontal(result) =
                describe(measurer.frames(), horizontal, told[0].told, told[0].prediction.centre.u0);
            Access::vertical(result) =
                describe(measurer.frames(), vertical, told[1].told, told[1].prediction.centre.u0);
            summarise(result);
            const bool both = result.status() == Defs::eMeasured;
            if (both && !cross(measurer.frames(), horizontal, vertical, result)) {
                Access::status(result) = Defs::ePartlyMeasured;
                Access::reason(result) = Defs::eNoCrossing;
            }
        } else {
            Access::reason(Access::horizontal(result)) = Defs::eOutsideImage;
            Access::reason(Access::vertical(result)) = Defs::eOutsideImage;
            summarise(result);
        }
        list.push_back(result);
    }
    measured.swap(list);
    if (tracks != nullptr) *tracks = measurer.takeTracks();
}

void qf_measureStreets(const qvPelBuffer_const<unsigned char>& image,
                       const std::vector<qvStreetFinderSingleStreetResult>& results,
                       const qvStreetMeasureParams& params, std::vector<qvStreetLineMeasurement>& measured,
                       std::vector<qv_MeasuredTrack>* tracks) {
    using Access = qv_streetMeasurementAccess;
    if (!image.isBound()) throw qvStreetFinderDefs::UnboundImage(L"Image is unbound.");
    qv_StreetMeasurer measurer(image, params);
    std::vector<ToldStreet> all;
    for (const qvStreetFinderSingleStreetResult& result : results)
        all.push_back(inPels(measurer, toldOf(result, measurer.frames(), params.streets())));
    std::vector<std::size_t> numbers;
    for (const ToldStreet& one : all)
        numbers.push_back(one.inWindow ? measurer.follow(crossingsOf(all, one), one.pels, one.prediction) : kNoStreet);
    measurer.shareDirections();
    std::vector<qvStreetLineMeasurement> list;
    for (std::size_t i = 0; i < all.size(); ++i) {
        if (numbers[i] != kNoStreet) {
            list.push_back(
                describe(measurer.frames(), measurer.best(numbers[i]), all[i].told, all[i].prediction.centre.u0));
            continue;
        }
        list.emplace_back();
        Access::reason(list.back()) = Defs::eOutsideImage;
    }
    measured.swap(list);
    if (tracks != nullptr) *tracks = measurer.takeTracks();
}

void qfStreetMeasureCrosses(const qvPelBuffer_const<unsigned char>& image,
                            const std::vector<qvStreetFinderStreetCrossResult>& results,
                            const qvStreetMeasureParams& params, std::vector<qvStreetMeasurement>& measured) {
    qf_measureCrosses(image, results, params, measured, nullptr);
}

void qfStreetMeasureStreets(const qvPelBuffer_const<unsigned char>& image,
                            const std::vector<qvStreetFinderSingleStreetResult>& results,
                            const qvStreetMeasureParams& params, std::vector<qvStreetLineMeasurement>& measured) {
    qf_measureStreets(image, results, params, measured, nullptr);
}
