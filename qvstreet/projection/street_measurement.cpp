// Street measurement.
//
// In:  the image that streets were found in, the finder's results in client units, what is known of the widths.
// Out: the same crossings and streets, measured on the whole image, in client units, with standard deviations.
//
// The finder's results come from a square of 256 samples: some pels aside in a large image, and tenths of a degree. That is
// enough to say where to look. Each street is followed once, however many crossings it has; then
//
//     crossing = where two centre lines meet          centre line = midway between two edges
//
// Everything is in pels of the window until the last step, the mapping to the client frame.
#include "qvstreet/projection/street_measurement.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "qvstreet/projection/street_measurement_access.h"

namespace {

using Image = qvPelBuffer_const<unsigned char>;
using Defs = qvStreetMeasureDefs;

// The finder's square of samples has this many to a side; its crossings are good to a sample or two.
constexpr double kSamplesToASide = 246.0;
constexpr double kReachSamples = 2.0;
constexpr double kReachPels = 2.0;
// Of broad streets they see the nearer edge as well: this share of the width on top.
constexpr double kReachWidths = 0.25;
// Corners that were built from edges tell the width to this share.
constexpr double kBuiltWidthTolerance = 0.35;
// Around a crossing, this share of the other street's width and so many pels are left out, half on either side.
constexpr double kCrossingShare = 1.2;
constexpr double kCrossingPels = 8.0;
// A street whose direction differs by more than this from what the finder says, as a slope, is another one.
constexpr double kOtherSlope = 0.035;
// Beyond this many pels from the window nothing is looked for.
constexpr double kFarAway = 1e6;
// What an edge of an unusual shape, the pel grid and the grey levels' rounding leave in the position of a line, pels, and in
// its slope over the length of the image.
constexpr double kLeastDeviationPels = 0.001;
constexpr double kParallel = 1e-6;
constexpr std::size_t kNoStreet = std::numeric_limits<std::size_t>::max();
// Streets of one direction whose slopes scatter by so much more than they should are not parallel.
constexpr double kFanSigmas = 3.0;
// A reach that leaves nothing out, client units.
constexpr double kWholeImage = 1e30;

/// Between the client frame and the pels of the window.
class Frames {
 public:
    explicit Frames(const Image& image)
        : clientFromWindow_(image.clientFromImageXform() *
                            qvXform<2>(qvMatrix<2>(), qvVector<2>(static_cast<double>(image.offset().first),
                                                                  static_cast<double>(image.offset().second)))),
          windowFromClient_(clientFromWindow_.inverse()) {
        const qvMatrix<2>& m = clientFromWindow_.matrix();
        areaScale_ = std::fabs(m.element(0, 0) * m.element(1, 1) - m.element(0, 1) * m.element(1, 0));
    }

    qvVector<2> window(const qvVector<2>& client) const { return windowFromClient_ * client; }
    qvVector<2> client(const qvVector<2>& window) const { return clientFromWindow_ * window; }
    qvVector<2> windowVector(const qvVector<2>& client) const { return windowFromClient_.mapVector(client); }
    qvVector<2> clientVector(const qvVector<2>& window) const { return clientFromWindow_.mapVector(window); }
    /// Client units per pel along a direction of the window, and at right angles to lines of that direction.
    double along(const qvVector<2>& unitDirection) const { return clientVector(unitDirection).len(); }
    double across(const qvVector<2>& unitDirection) const { return areaScale_ / along(unitDirection); }
    /// Standard deviations in x and y, client frame, of a point with these covariances in the window.
    qvVector<2> deviations(double xx, double xy, double yy) const {
        const qvMatrix<2>& m = clientFromWindow_.matrix();
        const auto row = [&](int r) {
            const double a = m.element(r, 0);
            const double b = m.element(r, 1);
            return std::sqrt(std::max(0.0, a * a * xx + 2.0 * a * b * xy + b * b * yy));
        };
        return qvVector<2>(row(0), row(1));
    }

 private:
    qvXform<2> clientFromWindow_;
    qvXform<2> windowFromClient_;
    double areaScale_ = 0.0;
};

/// A street as the finder tells it, client frame.
struct Told {
    qvVector<2> point;
    qvRadian angle;
    /// Narrowest, likeliest and widest.
    double least = 0.0;
    double likely = 0.0;
    double most = 0.0;
};

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
    return std::sqrt(std::max(0.0, variance) + shape * shape + kLeastDeviationPels * kLeastDeviationPels);
}

/// Of a line v = ... with this slope: the cosine of its angle with the u axis.
double cosineOf(double slope) { return 1.0 / std::sqrt(1.0 + slope * slope); }

qv_UvLine centreOf(const qv_EdgeLines& lines, long edges) {
    const bool both = edges == 2;
    return {lines.u0, both ? 0.5 * (lines.offset[0] + lines.offset[1]) : lines.offset[0],
            both ? 0.5 * (lines.slope[0] + lines.slope[1]) : lines.slope[0]};
}

/// Follows the streets of one image, each once.
class Measurer {
 public:
    Measurer(const Image& image, const qvStreetMeasureParams& params) : image_(image), params_(params), frames_(image) {
        const double side = static_cast<double>(std::max(image.width(), image.height()));
        searchReach_ = kReachSamples * side / kSamplesToASide + kReachPels;
    }

    const Frames& frames() const { return frames_; }

    /// The number of a street that passes where this one is said to be, or of a new one.
    std::size_t follow(const std::vector<qv_UvRange>& crossings, const qv_UvPels& pels,
                       const qv_StreetPrediction& prediction) {
        const std::size_t same = known(pels, prediction);
        if (same < streets_.size()) return same;
        qv_MeasuredTrack street;
        street.pels = pels;
        street.prediction = prediction;
        measure(crossings, street);
        streets_.push_back(std::move(street));
        return streets_.size() - 1;
    }

    /// That street if it was measured, or else one that was and passes at the same place: another crossing may have shown
    /// it better.
    const qv_MeasuredTrack& best(std::size_t street) const {
        const qv_MeasuredTrack& own = streets_[street];
        if (own.reason == Defs::eNoReason) return own;
        const std::size_t same = known(own.pels, own.prediction);
        return same < streets_.size() ? streets_[same] : own;
    }

    qv_UvPels pelsAlong(const Told& told) const {
        return qf_uvPels(image_, frames_.windowVector(qvVector<2>(1.0, told.angle)));
    }

    /// False where the told street has no place in the window.
    bool predict(const Told& told, const qv_UvPels& pels, qv_StreetPrediction& prediction) const {
        const qvVector<2> along = pels.exchange(frames_.windowVector(qvVector<2>(1.0, told.angle)));
        const qvVector<2> at = pels.exchange(frames_.window(told.point));
        const double slope = along.y() / along.x();
        // Also false for what is not a number.
        if (!(std::fabs(slope) <= 1.0 && std::fabs(at.x()) <= kFarAway && std::fabs(at.y()) <= kFarAway)) return false;
        const double pelsAcross = 1.0 / (frames_.across(pels.exchange(along.unit())) * cosineOf(slope));
        const double widest = static_cast<double>(pels.vSize);
        prediction.centre = {at.x(), at.y(), slope};
        prediction.likelyWidth = told.likely * pelsAcross;
        prediction.leastWidth = told.least * pelsAcross;
        prediction.mostWidth = std::min(told.most * pelsAcross, widest);
        prediction.reach = searchReach_ + kReachWidths * prediction.likelyWidth;
        prediction.polarity = params_.streets().streetPolarity();
        return prediction.likelyWidth > 0.0 && prediction.likelyWidth <= kFarAway && prediction.mostWidth >= 0.0;
    }

    /// Parallel streets tell each other their direction, unless the evidence speaks against it.
    void shareDirections() {
        if (params_.reach() < kWholeImage) return;
        for (const bool swapped : {false, true}) {
            std::vector<qv_MeasuredTrack*> group;
            for (qv_MeasuredTrack& one : streets_)
                if (one.reason == Defs::eNoReason && one.pels.swapped == swapped) group.push_back(&one);
            if (group.size() >= 2) shareDirection(group);
        }
    }

    std::vector<qv_MeasuredTrack> takeTracks() { return std::move(streets_); }

 private:
    /// A street that was measured and passes where this one is said to be; the number of streets for none. Streets that
    /// were followed over a part of the image only are each crossing's own.
    std::size_t known(const qv_UvPels& pels, const qv_StreetPrediction& prediction) const {
        if (params_.reach() < kWholeImage) return streets_.size();
        for (std::size_t i = 0; i < streets_.size(); ++i) {
            const qv_MeasuredTrack& one = streets_[i];
            if (one.reason != Defs::eNoReason || one.pels.swapped != pels.swapped) continue;
            const qv_UvLine centre = centreOf(one.track.lines, 2);
            const double aside = std::fabs(centre.at(prediction.centre.u0) - prediction.centre.v0);
            const double near = std::max(0.5 * prediction.likelyWidth, 0.5 * prediction.reach);
            if (aside <= std::min(near, prediction.reach) &&
                std::fabs(centre.slope - prediction.centre.slope) <= kOtherSlope)
                return i;
        }
        return streets_.size();
    }

    static void shareDirection(const std::vector<qv_MeasuredTrack*>& group) {
        double weights = 0.0;
        double weighted = 0.0;
        double squares = 0.0;
        for (const qv_MeasuredTrack* one : group) {
            const double weight = 1.0 / slopeVarianceOf(*one);
            weights += weight;
            weighted += weight * qf_slopeOf(one->track.lines, 2);
        }
        const double mean = weighted / weights;
        for (const qv_MeasuredTrack* one : group) {
            const double aside = qf_slopeOf(one->track.lines, 2) - mean;
            squares += aside * aside / slopeVarianceOf(*one);
        }
        // Expected: the group's size less one, and so much more only by chance.
        const double freedom = static_cast<double>(group.size() - 1);
        if (!(squares <= freedom + kFanSigmas * std::sqrt(2.0 * freedom))) return;
        for (qv_MeasuredTrack* one : group) {
            const double weight = 1.0 / slopeVarianceOf(*one);
            const double others = weights - weight;
            qf_takeInSlope((weighted - weight * qf_slopeOf(one->track.lines, 2)) / others, 1.0 / others, 2,
                           one->track.lines);
        }
    }

    static double slopeVarianceOf(const qv_MeasuredTrack& street) {
        const double least = kLeastDeviationPels / std::max(1.0, street.track.extent.high - street.track.extent.low);
        return qf_slopeVarianceOf(street.track.lines, 2) + least * least;
    }

    void measure(const std::vector<qv_UvRange>& crossings, qv_MeasuredTrack& street) {
        const qv_StreetPrediction& told = street.prediction;
        street.edges = qf_findStreetEdges(street.pels, told, crossings, params_.leastContrast());
        switch (street.edges.found) {
            case qv_EdgesFound::outside:
                street.reason = Defs::eOutsideImage;
                return;
            case qv_EdgesFound::none:
                street.reason = Defs::eNoEdges;
                return;
            case qv_EdgesFound::ambiguous:
                street.reason = Defs::eAmbiguousEdges;
                return;
            case qv_EdgesFound::one:
            case qv_EdgesFound::both:
                break;
        }
        const double pelsAlong =
            params_.reach() / frames_.along(street.pels.exchange(qvVector<2>(1.0, told.centre.slope).unit()));
        street.track = qf_trackStreet(street.pels, told.centre, street.edges,
                                      {std::min(pelsAlong, kFarAway), crossings}, templates_);
        street.reason = reasonOf(street);
    }

    static Defs::measureReason reasonOf(const qv_MeasuredTrack& street) {
        switch (street.track.end) {
            case qv_TrackEnd::tooShort:
                return Defs::eOutsideImage;
            case qv_TrackEnd::tooFew:
                return Defs::eTooFewPoints;
            case qv_TrackEnd::unsteady:
                return Defs::eUnsteadyEdges;
            case qv_TrackEnd::fitted:
                break;
        }
        const qv_StreetPrediction& told = street.prediction;
        const qv_UvLine line = centreOf(street.track.lines, street.track.edges);
        const double expected = street.track.edges == 2 ? told.centre.v0 : told.centre.v0 + street.edges.offset[0];
        if (std::fabs(line.slope - told.centre.slope) > kOtherSlope ||
            std::fabs(line.at(told.centre.u0) - expected) > told.reach)
            return Defs::eElsewhere;
        return street.track.edges == 2 ? Defs::eNoReason : Defs::eOneEdge;
    }

    const Image& image_;
    const qvStreetMeasureParams& params_;
    Frames frames_;
    double searchReach_ = 0.0;
    qv_EdgeTemplates templates_;
    std::vector<qv_MeasuredTrack> streets_;
};

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
    const qv_UvLine centre = centreOf(lines, street.track.edges);
    const double cosine = cosineOf(centre.slope);
    const double fromU0 = u - lines.u0;
    const qvVector<2> along = pels.exchange(qvVector<2>(1.0, centre.slope)).unit();
    const double across = frames.across(along);
    const double length = std::max(1.0, street.track.extent.high - street.track.extent.low);

    Access::angle(result) = runningLike(frames.clientVector(along).angle(), told.angle);
    const double slopeVariance = qf_slopeVarianceOf(lines, street.track.edges);
    const double leastSlope = kLeastDeviationPels / length;
    // Of a small turn, the part across the line counts, by the units across over the units along.
    Access::angleDeviation(result) =
        qvRadian(std::sqrt(slopeVariance + leastSlope * leastSlope) * cosine * cosine * across / frames.along(along));
    for (std::size_t e = 0; e < static_cast<std::size_t>(street.track.edges); ++e) {
        const std::size_t index = both ? e : static_cast<std::size_t>(street.edges.which);
        Access::edges(result)[index] =
            clientSegment(frames, pels, street.track.extent, {lines.u0, lines.offset[e], lines.slope[e]});
        Access::edgeDeviations(result)[index] =
            deviationOf(varianceOf(lines, edgeAt(e, fromU0)), street.track.shapeDeviation[e]) * cosine * across;
    }
    if (!both) return result;
    Access::centre(result) = clientSegment(frames, pels, street.track.extent, centre);
    Access::centreDeviation(result) = deviationOf(varianceOf(lines, centreAt(fromU0))) * cosine * across;
    Access::width(result) = valueOf(lines, widthAt(fromU0)) * cosine * across;
    Access::widthDeviation(result) = deviationOf(varianceOf(lines, widthAt(fromU0)),
                                                 street.track.shapeDeviation[0] + street.track.shapeDeviation[1]) *
                                     cosine * across;
    return result;
}

/// A street's centre line in the window as a * x + b * y = c, with the variance of c at a point.
struct CentreEquation {
    double a, b, c;
    const qv_MeasuredTrack* street;

    explicit CentreEquation(const qv_MeasuredTrack& track) : street(&track) {
        const qv_UvLine centre = centreOf(track.track.lines, 2);
        const qvVector<2> normal = track.pels.exchange(qvVector<2>(-centre.slope, 1.0));
        a = normal.x();
        b = normal.y();
        c = centre.v0 - centre.slope * centre.u0;
    }
    double variance(const qvVector<2>& at) const {
        const double fromU0 = street->pels.exchange(at).x() - street->track.lines.u0;
        const double deviation = deviationOf(varianceOf(street->track.lines, centreAt(fromU0)));
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

/// A crossing as it is told, in the pels of both its streets.
struct ToldCrossing {
    std::array<Told, 2> told;
    std::array<qv_UvPels, 2> pels;
    std::array<qv_StreetPrediction, 2> prediction;
    bool inWindow = false;
};

/// Where streets of the other direction cross this one, as far as the results tell.
std::vector<qv_UvRange> crossingsOf(const std::vector<ToldCrossing>& all, const ToldCrossing& one, std::size_t street) {
    std::vector<qv_UvRange> ranges;
    const qv_StreetPrediction& along = one.prediction[street];
    for (const ToldCrossing& other : all) {
        if (!other.inWindow || other.pels[street].swapped != one.pels[street].swapped) continue;
        const qv_UvLine& centre = other.prediction[street].centre;
        if (std::fabs(along.centre.at(centre.u0) - centre.v0) > along.likelyWidth + along.reach) continue;
        const double half = 0.5 * (kCrossingShare * other.prediction[1 - street].likelyWidth + kCrossingPels);
        ranges.push_back({centre.u0 - half, centre.u0 + half});
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
    Measurer measurer(image, params);
    std::vector<ToldCrossing> all;
    for (const qvStreetFinderStreetCrossResult& result : results) {
        ToldCrossing crossing;
        crossing.inWindow = true;
        for (std::size_t s = 0; s < 2; ++s) {
            crossing.told[s] = toldOf(result, params.streets(), s == 0 ? Direction::horizontal : Direction::vertical);
            crossing.pels[s] = measurer.pelsAlong(crossing.told[s]);
            if (!measurer.predict(crossing.told[s], crossing.pels[s], crossing.prediction[s]))
                crossing.inWindow = false;
        }
        all.push_back(crossing);
    }
    // First every street, from whichever of its crossings shows it; then what each crossing says.
    std::vector<std::array<std::size_t, 2>> streets;
    for (const ToldCrossing& one : all) {
        std::array<std::size_t, 2> numbers{};
        for (std::size_t s = 0; s < 2 && one.inWindow; ++s)
            numbers[s] = measurer.follow(crossingsOf(all, one, s), one.pels[s], one.prediction[s]);
        streets.push_back(numbers);
    }
    measurer.shareDirections();
    std::vector<qvStreetMeasurement> list;
    for (std::size_t i = 0; i < all.size(); ++i) {
        qvStreetMeasurement result;
        if (all[i].inWindow) {
            const qv_MeasuredTrack& horizontal = measurer.best(streets[i][0]);
            const qv_MeasuredTrack& vertical = measurer.best(streets[i][1]);
            Access::horizontal(result) =
                describe(measurer.frames(), horizontal, all[i].told[0], all[i].prediction[0].centre.u0);
            Access::vertical(result) =
                describe(measurer.frames(), vertical, all[i].told[1], all[i].prediction[1].centre.u0);
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
    Measurer measurer(image, params);
    std::vector<Told> told;
    std::vector<qv_StreetPrediction> predictions;
    std::vector<std::size_t> numbers;
    for (const qvStreetFinderSingleStreetResult& result : results) {
        told.push_back(toldOf(result, measurer.frames(), params.streets()));
        const qv_UvPels pels = measurer.pelsAlong(told.back());
        qv_StreetPrediction prediction;
        const bool inWindow = measurer.predict(told.back(), pels, prediction);
        predictions.push_back(prediction);
        numbers.push_back(inWindow ? measurer.follow({}, pels, prediction) : kNoStreet);
    }
    measurer.shareDirections();
    std::vector<qvStreetLineMeasurement> list;
    for (std::size_t i = 0; i < told.size(); ++i) {
        if (numbers[i] != kNoStreet) {
            list.push_back(describe(measurer.frames(), measurer.best(numbers[i]), told[i], predictions[i].centre.u0));
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
