// Street measurer.
//
// In:  an image, and one by one the places and directions of streets, good to some pels and tenths of a degree.
// Out: each street followed along the whole image, or why it could not be.
//
// Crossings of one street ask for the same street; whoever comes first has it followed. Streets that run side by side
// are parallel on a wafer, so in the end each takes in the direction of the others.
#include "qvstreet/projection/street_measurer.h"

#include <algorithm>
#include <cmath>

namespace {

using Defs = qvStreetMeasureDefs;

// The finder's square of samples has this many to a side; its crossings are good to a sample or two.
constexpr double kSamplesToASide = 246.0;

constexpr double kReachSamples = 2.0;
constexpr double kReachPels = 2.0;
// Of a broad street they may lie nearer one edge: this share of the width on top.
constexpr double kReachWidths = 0.25;
// A street whose direction differs by more than this from what the finder says, as a slope, is another one.
constexpr double kOtherSlope = 0.035;
// Beyond this many pels from the window nothing is looked for.
constexpr double kFarAway = 1e6;
// Streets of one direction whose slopes scatter by so much more than they should are not parallel.
constexpr double kFanSigmas = 3.0;
// A street bends if its points bow aside by so many standard deviations and by so many pels at its ends, or if
// neighbouring residuals are this much alike and this great.
constexpr double kBendSigmas = 4.0;
constexpr double kBendPels = 0.1;
// Edges sharper than the grid seem to wave by as much as they are uncertain, this many times.
constexpr double kBendGridDeviations = 5.0;
constexpr double kWavyLikeness = 0.5;
constexpr double kWavyPels = 0.1;
// Of the blocks beyond, the share that has to show a street that was followed over a part only.
constexpr double kLeastShareBeyond = 0.75;
// What the widths of a street that was measured may lie outside the range that was asked for, pels: the search for the
// edges tells them to that.
constexpr double kWidthSlack = 1.5;
// The shortest reach, pels, that a bent street is followed over.
constexpr double kShortestReach = 60.0;

bool isBent(const qv_StreetTrack& track) {
    const double half = 0.5 * (track.extent.high - track.extent.low);
    const bool bowed =
        std::fabs(track.lines.bend) > kBendSigmas * track.lines.bendDeviation &&
        std::fabs(track.lines.bend) * half * half > kBendPels + kBendGridDeviations * track.gridDeviation;
    const double scatter = std::max(track.lines.scatter[0], track.lines.scatter[1]);
    return bowed || (track.lines.likeness > kWavyLikeness && scatter > kWavyPels);
}

double slopeVarianceOf(const qv_MeasuredTrack& street) {
    const double least = kLeastLineDeviationPels / std::max(1.0, street.track.extent.high - street.track.extent.low);
    return qf_slopeVarianceOf(street.track.lines, 2) + least * least;
}

void shareDirection(const std::vector<qv_MeasuredTrack*>& group) {
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

Defs::measureReason reasonOf(const qv_MeasuredTrack& street) {
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
    const qv_UvLine line = qf_centreOf(street.track.lines, street.track.edges);
    const double expected = street.track.edges == 2 ? told.centre.v0 : told.centre.v0 + street.edges.offset[0];
    if (std::fabs(line.slope - told.centre.slope) > kOtherSlope ||
        std::fabs(line.at(told.centre.u0) - expected) > told.reach)
        return Defs::eElsewhere;
    if (street.track.edges != 2) return Defs::eOneEdge;
    const double fromU0 = told.centre.u0 - street.track.lines.u0;
    const double width = street.track.lines.offset[1] - street.track.lines.offset[0] +
                         fromU0 * (street.track.lines.slope[1] - street.track.lines.slope[0]);
    const bool fits = width >= told.leastWidth - kWidthSlack && width <= told.mostWidth + kWidthSlack;
    return fits ? Defs::eNoReason : Defs::eNoEdges;
}

}  // namespace

qv_UvLine qf_centreOf(const qv_EdgeLines& lines, long edges) {
    const bool both = edges == 2;
    return {lines.u0, both ? 0.5 * (lines.offset[0] + lines.offset[1]) : lines.offset[0],
            both ? 0.5 * (lines.slope[0] + lines.slope[1]) : lines.slope[0]};
}

qv_StreetMeasurer::qv_StreetMeasurer(const qvPelBuffer_const<unsigned char>& image, const qvStreetMeasureParams& params)
    : image_(image), params_(params), frames_(image) {
    const double side = static_cast<double>(std::max(image.width(), image.height()));
    searchReach_ = kReachSamples * side / kSamplesToASide + kReachPels;
    const double width = static_cast<double>(image.width());
    const double height = static_cast<double>(image.height());
    const double farthest = std::max(frames_.clientVector(qvVector<2>(width, height)).len(),
                                     frames_.clientVector(qvVector<2>(width, -height)).len());
    wholeImage_ = params.reach() >= farthest;
}

qv_UvPels qv_StreetMeasurer::pelsAlong(const qv_ToldStreet& told) const {
    return qf_uvPels(image_, frames_.windowVector(qvVector<2>(1.0, told.angle)));
}

bool qv_StreetMeasurer::predict(const qv_ToldStreet& told, const qv_UvPels& pels,
                                qv_StreetPrediction& prediction) const {
    const qvVector<2> along = pels.exchange(frames_.windowVector(qvVector<2>(1.0, told.angle)));
    const qvVector<2> at = pels.exchange(frames_.window(told.point));
    const double slope = along.y() / along.x();
    // Also false for what is not a number.
    if (!(std::fabs(slope) <= 1.0 && std::fabs(at.x()) <= kFarAway && std::fabs(at.y()) <= kFarAway)) return false;
    prediction.centre = {at.x(), at.y(), slope};
    const double pelsAcross = 1.0 / (frames_.across(pels.exchange(along.unit())) * prediction.centre.cosine());
    const double widest = static_cast<double>(pels.vSize);
    prediction.likelyWidth = told.likely * pelsAcross;
    prediction.leastWidth = told.least * pelsAcross;
    prediction.mostWidth = std::min(told.most * pelsAcross, widest);
    prediction.reach = searchReach_ + kReachWidths * prediction.likelyWidth;
    prediction.polarity = params_.streets().streetPolarity();
    return prediction.likelyWidth > 0.0 && prediction.likelyWidth <= kFarAway && prediction.mostWidth >= 0.0;
}

std::size_t qv_StreetMeasurer::follow(const std::vector<qv_UvRange>& crossings, const qv_UvPels& pels,
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

void qv_StreetMeasurer::shareDirections() {
    if (!wholeImage_) return;
    for (const bool swapped : {false, true}) {
        std::vector<qv_MeasuredTrack*> group;
        for (qv_MeasuredTrack& one : streets_)
            if (one.reason == Defs::eNoReason && !one.isLocal && one.pels.swapped == swapped) group.push_back(&one);
        if (group.size() >= 2) shareDirection(group);
    }
}

const qv_MeasuredTrack& qv_StreetMeasurer::best(std::size_t street) const {
    const qv_MeasuredTrack& own = streets_[street];
    if (own.reason == Defs::eNoReason) return own;
    const std::size_t same = known(own.pels, own.prediction);
    return same < streets_.size() ? streets_[same] : own;
}

/// A street that was measured and passes where this one is said to be; the number of streets for none. Streets that
/// were followed over a part of the image only are each crossing's own.
std::size_t qv_StreetMeasurer::known(const qv_UvPels& pels, const qv_StreetPrediction& prediction) const {
    if (!wholeImage_) return streets_.size();
    for (std::size_t i = 0; i < streets_.size(); ++i) {
        const qv_MeasuredTrack& one = streets_[i];
        if (one.reason != Defs::eNoReason || one.isLocal || one.pels.swapped != pels.swapped) continue;
        const qv_UvLine centre = qf_centreOf(one.track.lines, 2);
        const double aside = std::fabs(centre.at(prediction.centre.u0) - prediction.centre.v0);
        const double near = std::max(0.5 * prediction.likelyWidth, 0.5 * prediction.reach);
        if (aside <= std::min(near, prediction.reach) &&
            std::fabs(centre.slope - prediction.centre.slope) <= kOtherSlope)
            return i;
    }
    return streets_.size();
}

void qv_StreetMeasurer::measure(const std::vector<qv_UvRange>& crossings, qv_MeasuredTrack& street) {
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
    const qvVector<2> along = street.pels.exchange(qvVector<2>(1.0, told.centre.slope).unit());
    double reach = std::min(params_.reach() / frames_.along(along), kFarAway);
    street.track = qf_trackStreet(street.pels, told.centre, street.edges, {reach, crossings}, templates_);
    // Optics bow straight streets. Near the place that was asked for each is straight enough.
    reach = std::min(reach, static_cast<double>(street.pels.uSize));
    while ((street.track.end != qv_TrackEnd::fitted || isBent(street.track)) && reach > 2.0 * kShortestReach) {
        reach *= 0.5;
        street.track = qf_trackStreet(street.pels, told.centre, street.edges, {reach, crossings}, templates_);
        street.isLocal = true;
    }
    if (street.track.end == qv_TrackEnd::fitted && isBent(street.track)) street.track.end = qv_TrackEnd::unsteady;
    // A street goes on; what ends soon behind the reach is something on a die.
    if (street.isLocal && street.track.shareBeyond < kLeastShareBeyond) street.track.end = qv_TrackEnd::tooFew;
    street.reason = reasonOf(street);
}
