#include "qvstreet/streetfinder/street_finder_params.h"

#include <limits>

namespace {

using BadParams = qvStreetFinderDefs::BadParams;

/// A `long` may have 64 bits; the stored value has 32.
std::int32_t saturated(long value) {
    constexpr long least = std::numeric_limits<std::int32_t>::min();
    constexpr long most = std::numeric_limits<std::int32_t>::max();
    return static_cast<std::int32_t>(value < least ? least : value > most ? most : value);
}

// deliberate: the bigger bound is lost, not swapped; pinned by
// StreetFinderParams.ReversedRangeCollapsesOntoItsUpperBound
qvPair<double> normalised(const qvPair<double>& range) {
    return range.first > range.second ? qvPair<double>(range.second, range.second) : range;
}

bool hasNegativeBound(const qvPair<double>& range) { return range.first < 0.0 || range.second < 0.0; }

// Two forms of comparison, so that a NaN width is outside every range.
// deliberate: not symmetric; pinned by StreetFinderParams.NanWidthFailsTheRangeTestAndNotThePositiveTest
bool isOutside(double width, const qvPair<double>& range) { return range.first > width || !(range.second >= width); }

/// The tests on widths and normalised ranges, in the order that decides which message a caller sees.
void checkWidths(const qvPair<double>& width, const qvPair<double>& rangeX, const qvPair<double>& rangeY) {
    if (0.0 >= width.first || 0.0 >= width.second) throw BadParams(L"nominal street width must be positive.");
    if (hasNegativeBound(rangeX) || hasNegativeBound(rangeY)) {
        throw BadParams(L"nominal street width ranges must be non-negative.");
    }
    if (isOutside(width.first, rangeX) || isOutside(width.second, rangeY)) {
        throw BadParams(L"nominal street width is outside valid range.");
    }
}

void checkRunMode(qvStreetFinderDefs::waferType runMode) {
    if (runMode == qvStreetFinderDefs::eSpecial) throw BadParams(L"runMode cannot be eSpecial.");
}

/// Written so that NaN is refused.
void checkEdgeSharpness(double edgeSharpness) {
    if (!(edgeSharpness > 0.0)) throw BadParams(L"edges sharpness must be positive.");
}

}  // namespace

qvStreetFinderParams::qvStreetFinderParams(const qvPair<double>& nominalStreetWidth,
                                           const qvPair<double>& nominalStreetWidthRangeX,
                                           const qvPair<double>& nominalStreetWidthRangeY,
                                           qvStreetFinderDefs::waferType runMode, double edgeSharpness,
                                           qvStreetFinderDefs::streetPolarity streetPolarity, long maxResults)
    : nominalStreetWidth_(nominalStreetWidth),
      nominalStreetWidthRangeX_(normalised(nominalStreetWidthRangeX)),
      nominalStreetWidthRangeY_(normalised(nominalStreetWidthRangeY)),
      edgeSharpness_(edgeSharpness),
      runMode_(runMode),
      streetPolarity_(streetPolarity),
      maxResults_(saturated(maxResults)) {
    if (maxResults_ <= 0) throw BadParams(L"maxResults must be positive.");
    checkWidths(nominalStreetWidth_, nominalStreetWidthRangeX_, nominalStreetWidthRangeY_);
    checkRunMode(runMode_);
    checkEdgeSharpness(edgeSharpness_);
}

void qvStreetFinderParams::nominalStreetWidth(const qvPair<double>& width, const qvPair<double>& rangeX,
                                              const qvPair<double>& rangeY) {
    const qvPair<double> normalisedX = normalised(rangeX);
    const qvPair<double> normalisedY = normalised(rangeY);
    checkWidths(width, normalisedX, normalisedY);
    nominalStreetWidth_ = width;
    nominalStreetWidthRangeX_ = normalisedX;
    nominalStreetWidthRangeY_ = normalisedY;
}

void qvStreetFinderParams::edgeSharpness(double value) {
    checkEdgeSharpness(value);
    edgeSharpness_ = value;
}

void qvStreetFinderParams::runMode(qvStreetFinderDefs::waferType value) {
    checkRunMode(value);
    runMode_ = value;
}

void qvStreetFinderParams::streetPolarity(qvStreetFinderDefs::streetPolarity value) { streetPolarity_ = value; }

void qvStreetFinderParams::maxResults(long value) {
    // deliberate: not the constructor's text; pinned by StreetFinderParams.MaxResultsSetterHasItsOwnMessage
    if (!(value > 0)) throw BadParams(L"maxResults is not positive");
    maxResults_ = saturated(value);
}
