// Street edge search.
//
// In:  an image seen along a street, a centre line that may be pels off, the widths that the street may have.
// Out: where the two edges lie, to about half a pel, or why they cannot be told.
//
//      |stretch|stretch|stretch| crossing |stretch|stretch|stretch|      u ->
//
// Each stretch is summed along the predicted direction into a profile; the median of the profiles, bin by bin, is what
// most of them agree on.
#include "qvstreet/projection/street_edge_search.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <optional>

namespace {

constexpr long kStretchColumns = 16;
// Of which every second is enough.
constexpr long kColumnStep = 2;
constexpr long kStretches = 6;
// Of both sides together, twice as many stretches are looked at; those in crossings do not count, for a crossing may be
// wider than that.
constexpr long kFarthestStretch = 24;
constexpr long kFewestStretches = 2;

// The derivative of a Gaussian with a sigma of 1.5 pels, scaled so that a step answers with its height: wide enough
// for streets of 4 pels, smooth enough for a noise of a tenth of the contrast.
constexpr long kTaps = 4;
constexpr double kSmoothing = 1.5;

// A pair whose score comes this near to the best one's, elsewhere, leaves the choice open.
constexpr double kAsGood = 0.7;
// The weaker edge of a street has this share of the other's contrast: one with less is something beside the street.
constexpr double kLeastContrastRatio = 0.25;
// Pairs whose edges are both nearer than this are the same.
constexpr double kSamePels = 2.0;
// A width off by this share of the likely one halves a pair's score.
constexpr double kHalvingWidth = 0.2;
// Streets narrower than this are no pair of edges any more.
constexpr double kLeastWidthPels = 2.0;

struct Peak {
    double offset;
    double contrast;
};

struct Pair {
    Peak first;
    Peak second;
    double score = 0.0;
};

/// Sums of the pels of one stretch by whole pels from the centre line; false where some lie outside the image.
class StretchProfiles {
 public:
    StretchProfiles(const qv_UvPels& pels, const qv_UvLine& centre, long halfSize)
        : pels_(pels), centre_(centre), halfSize_(halfSize) {}

    void add(long first) {
        std::vector<double> sums(static_cast<std::size_t>(2 * halfSize_ + 1), 0.0);
        for (long i = 0; i < kStretchColumns; i += kColumnStep) {
            const long u = first + i;
            // The pel in which the centre line runs.
            const long middle = static_cast<long>(std::floor(centre_.at(static_cast<double>(u) + 0.5)));
            const long low = std::max(0L, middle - halfSize_);
            const long high = std::min(pels_.vSize, middle + halfSize_ + 1);
            if (i == 0) {
                low_ = low - middle;
                high_ = high - middle;
            }
            low_ = std::max(low_, low - middle);
            high_ = std::min(high_, high - middle);
            const unsigned char* pel = pels_.pel(u, low);
            for (long v = low; v < high; ++v, pel += pels_.vStep)
                sums[static_cast<std::size_t>(v - middle + halfSize_)] += static_cast<double>(*pel);
        }
        for (long k = -halfSize_; k <= halfSize_; ++k) {
            double& sum = sums[static_cast<std::size_t>(k + halfSize_)];
            sum = k >= low_ && k < high_ ? sum / static_cast<double>(kStretchColumns / kColumnStep)
                                         : std::numeric_limits<double>::quiet_NaN();
        }
        stretches_.push_back(std::move(sums));
    }

    long count() const { return static_cast<long>(stretches_.size()); }

    /// The median of what most of them have; NaN where fewer than half have a value.
    std::vector<double> median() const {
        std::vector<double> result(static_cast<std::size_t>(2 * halfSize_ + 1));
        std::vector<double> values;
        for (std::size_t k = 0; k < result.size(); ++k) {
            values.clear();
            for (const std::vector<double>& stretch : stretches_)
                if (!std::isnan(stretch[k])) values.push_back(stretch[k]);
            if (2 * values.size() < stretches_.size() || values.empty()) {
                result[k] = std::numeric_limits<double>::quiet_NaN();
                continue;
            }
            std::sort(values.begin(), values.end());
            const std::size_t middle = values.size() / 2;
            result[k] = values.size() % 2 == 1 ? values[middle] : 0.5 * (values[middle - 1] + values[middle]);
        }
        return result;
    }

 private:
    const qv_UvPels& pels_;
    qv_UvLine centre_;
    long halfSize_;
    long low_ = 0;
    long high_ = 0;
    std::vector<std::vector<double>> stretches_;
};

/// Stretches free of crossings, the nearest to the start first, alternately on its two sides.
void addNearestStretches(const qv_UvPels& pels, const qv_UvLine& centre, const std::vector<qv_UvRange>& crossings,
                         StretchProfiles& profiles) {
    // Beyond the image's ends there is nothing to start from.
    const double start = std::clamp(centre.u0, 0.0, static_cast<double>(pels.uSize));
    const long middle = static_cast<long>(start);
    const long beyondTheImage = 2 * (pels.uSize / kStretchColumns + 1);
    long looked = 0;
    for (long step = 0; step < beyondTheImage && looked < 2 * kFarthestStretch && profiles.count() < kStretches;
         ++step) {
        const long first =
            step % 2 == 0 ? middle + (step / 2) * kStretchColumns : middle - (step / 2 + 1) * kStretchColumns;
        if (qf_meetsRange(crossings, first, kStretchColumns)) continue;
        ++looked;
        if (first < 0 || first + kStretchColumns > pels.uSize) continue;
        const double v = centre.at(static_cast<double>(first) + 0.5 * static_cast<double>(kStretchColumns));
        if (!(v > 0.0 && v < static_cast<double>(pels.vSize))) continue;
        profiles.add(first);
    }
}

std::vector<double> smoothedDerivative(const std::vector<double>& profile) {
    std::array<double, 2 * kTaps + 1> taps{};
    double answer = 0.0;
    for (long j = -kTaps; j <= kTaps; ++j) {
        const double x = static_cast<double>(j);
        taps[static_cast<std::size_t>(j + kTaps)] = x * std::exp(-0.5 * x * x / (kSmoothing * kSmoothing));
        if (j > 0) answer += taps[static_cast<std::size_t>(j + kTaps)];
    }
    std::vector<double> result(profile.size(), std::numeric_limits<double>::quiet_NaN());
    for (std::size_t k = kTaps; k + kTaps < profile.size(); ++k) {
        double sum = 0.0;
        for (std::size_t j = 0; j < taps.size(); ++j) sum += taps[j] * profile[k + j - kTaps];
        result[k] = sum / answer;
    }
    return result;
}

/// Local extremes of sufficient magnitude, in order of position.
std::vector<Peak> peaksOf(const std::vector<double>& derivative, double firstOffset, double leastContrast) {
    std::vector<Peak> peaks;
    for (std::size_t k = 1; k + 1 < derivative.size(); ++k) {
        const double before = std::fabs(derivative[k - 1]);
        const double here = std::fabs(derivative[k]);
        const double after = std::fabs(derivative[k + 1]);
        // Nothing is compared with a NaN in a way that passes.
        const bool highest = here >= leastContrast && here > before && here >= after;
        if (!highest) continue;
        const double bend = before - 2.0 * here + after;
        const double shift = bend < 0.0 ? 0.5 * (before - after) / bend : 0.0;
        peaks.push_back({firstOffset + static_cast<double>(k) + shift, derivative[k]});
    }
    return peaks;
}

bool polarityFits(const Peak& first, qvStreetFinderDefs::streetPolarity polarity) {
    if (polarity == qvStreetFinderDefs::eDarkOnLight) return first.contrast < 0.0;
    if (polarity == qvStreetFinderDefs::eLightOnDark) return first.contrast > 0.0;
    return true;
}

double halvedAt(double value, double half) { return 1.0 / (1.0 + (value / half) * (value / half)); }

/// Calls `each` with every pair of peaks that may be the street; in a broad noisy profile there are millions.
template <class Each>
void forEachPair(const std::vector<Peak>& peaks, const qv_StreetPrediction& prediction, const Each& each) {
    for (std::size_t i = 0; i < peaks.size(); ++i)
        for (std::size_t j = i + 1; j < peaks.size(); ++j) {
            const Peak& first = peaks[i];
            const Peak& second = peaks[j];
            if ((first.contrast < 0.0) == (second.contrast < 0.0) || !polarityFits(first, prediction.polarity))
                continue;
            const double width = second.offset - first.offset;
            const double middle = 0.5 * (first.offset + second.offset);
            // The profile tells an edge to a pel.
            if (width < std::max(prediction.leastWidth - 1.0, kLeastWidthPels) || width > prediction.mostWidth + 1.0)
                continue;
            if (std::fabs(middle) > prediction.reach) continue;
            const double weaker = std::min(std::fabs(first.contrast), std::fabs(second.contrast));
            const double stronger = std::max(std::fabs(first.contrast), std::fabs(second.contrast));
            if (weaker < kLeastContrastRatio * stronger) continue;
            // The two edges of a street are about equally strong; twice as strong costs a third, ten times four fifths.
            const double strength = weaker * 2.0 * weaker / (weaker + stronger);
            each(
                Pair{first, second,
                     strength * halvedAt(width - prediction.likelyWidth, kHalvingWidth * prediction.likelyWidth + 1.0) *
                         halvedAt(middle, 0.75 * prediction.reach)});
        }
}

bool samePlace(const Pair& a, const Pair& b) {
    return std::fabs(a.first.offset - b.first.offset) < kSamePels &&
           std::fabs(a.second.offset - b.second.offset) < kSamePels;
}

void chooseSingle(const std::vector<Peak>& peaks, const qv_StreetPrediction& prediction, qv_StreetEdges& edges) {
    // Where an edge of a street of the likely width would be, and as steep as the street's polarity asks.
    double best = 0.0;
    for (const Peak& peak : peaks)
        for (std::int32_t which = 0; which < 2; ++which) {
            const double expected = (which == 0 ? -0.5 : 0.5) * prediction.likelyWidth;
            const double aside = peak.offset - expected;
            const Peak asFirst{peak.offset, which == 0 ? peak.contrast : -peak.contrast};
            if (std::fabs(aside) > prediction.reach || !polarityFits(asFirst, prediction.polarity)) continue;
            const double score = std::fabs(peak.contrast) * halvedAt(aside, 0.25 * prediction.reach);
            if (score <= best) continue;
            best = score;
            edges.found = qv_EdgesFound::one;
            edges.offset[0] = peak.offset;
            edges.contrast[0] = peak.contrast;
            edges.which = which;
        }
}

}  // namespace

bool qf_meetsRange(const std::vector<qv_UvRange>& ranges, long first, long count) {
    const double low = static_cast<double>(first);
    const double high = static_cast<double>(first + count);
    return std::any_of(ranges.begin(), ranges.end(),
                       [low, high](const qv_UvRange& range) { return range.low < high && range.high > low; });
}

qv_StreetEdges qf_findStreetEdges(const qv_UvPels& pels, const qv_StreetPrediction& prediction,
                                  const std::vector<qv_UvRange>& crossings, double leastContrast) {
    qv_StreetEdges edges;
    const double halfSize =
        std::min(std::ceil(0.5 * prediction.mostWidth + prediction.reach) + static_cast<double>(kTaps) + 2.0,
                 static_cast<double>(pels.vSize));
    StretchProfiles profiles(pels, prediction.centre, static_cast<long>(halfSize));
    addNearestStretches(pels, prediction.centre, crossings, profiles);
    if (profiles.count() < kFewestStretches) {
        edges.found = qv_EdgesFound::outside;
        return edges;
    }
    edges.profile = profiles.median();
    // The pel in which the centre line runs has its middle on it, over many columns.
    edges.firstOffset = -halfSize;
    const std::vector<Peak> peaks = peaksOf(smoothedDerivative(edges.profile), edges.firstOffset, leastContrast);
    std::optional<Pair> best;
    forEachPair(peaks, prediction, [&best](const Pair& pair) {
        if (!best || pair.score > best->score) best = pair;
    });
    if (!best) {
        chooseSingle(peaks, prediction, edges);
        return edges;
    }
    bool contested = false;
    forEachPair(peaks, prediction, [&](const Pair& pair) {
        contested = contested || (pair.score >= kAsGood * best->score && !samePlace(pair, *best));
    });
    edges.found = contested ? qv_EdgesFound::ambiguous : qv_EdgesFound::both;
    edges.offset = {best->first.offset, best->second.offset};
    edges.contrast = {best->first.contrast, best->second.contrast};
    return edges;
}
