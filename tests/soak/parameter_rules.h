/// @file
/// What the two tools accept, and what they say to the rest: the rules of the interface once more, written as a list.
#ifndef QVSTREET_TESTS_SOAK_PARAMETER_RULES_H
#define QVSTREET_TESTS_SOAK_PARAMETER_RULES_H

#include <algorithm>
#include <string>
#include <vector>

#include "tests/soak/soak_scenes.h"

namespace qvtest {

constexpr long kMost32 = 2147483647;

/// What a caller hands to the constructor of the street finder's parameters.
struct StreetArguments {
    double width[2];
    double range[2][2];  ///< lower and upper bound, of the width in x, then of that in y
    long mode;
    double sharpness;
    long polarity;
    long maxResults;

    qvPair<double> widths() const { return qvPair<double>(width[0], width[1]); }
    qvPair<double> bounds(int axis) const { return qvPair<double>(range[axis][0], range[axis][1]); }
    qvStreetFinderDefs::waferType modeValue() const { return static_cast<qvStreetFinderDefs::waferType>(mode); }
    qvStreetFinderDefs::streetPolarity polarityValue() const {
        return static_cast<qvStreetFinderDefs::streetPolarity>(polarity);
    }
    qvStreetFinderParams params() const {
        return qvStreetFinderParams(widths(), bounds(0), bounds(1), modeValue(), sharpness, polarityValue(),
                                    maxResults);
    }
};

/// A bound below which nothing may be, once a reversed range has become its upper bound.
inline double lowerBound(const double range[2]) { return range[0] > range[1] ? range[1] : range[0]; }

/// The message for widths and ranges that are refused; empty for good ones. Only comparisons with a NaN that are told apart
/// below need care: a width that is none passes as positive and lies in no range, a lower bound that is none bounds
/// nothing, an upper one holds nothing.
inline std::wstring refusalOfWidths(const StreetArguments& a) {
    for (const double width : a.width)
        if (width <= 0.0) return L"nominal street width must be positive.";
    for (const auto& range : a.range)
        if (lowerBound(range) < 0.0 || range[1] < 0.0) return L"nominal street width ranges must be non-negative.";
    for (int axis = 0; axis < 2; ++axis) {
        const bool tooSmall = a.width[axis] < lowerBound(a.range[axis]);
        const bool fits = a.width[axis] <= a.range[axis][1];
        if (tooSmall || !fits) return L"nominal street width is outside valid range.";
    }
    return std::wstring();
}

inline std::wstring refusalOfMode(long mode) { return mode == 3 ? L"runMode cannot be eSpecial." : std::wstring(); }

inline std::wstring refusalOfSharpness(double sharpness) {
    return sharpness > 0.0 ? std::wstring() : L"edges sharpness must be positive.";
}

/// The first rule that is broken decides.
inline std::wstring refusalOf(const StreetArguments& a) {
    if (a.maxResults <= 0) return L"maxResults must be positive.";
    for (const std::wstring& refusal : {refusalOfWidths(a), refusalOfMode(a.mode), refusalOfSharpness(a.sharpness)})
        if (!refusal.empty()) return refusal;
    return std::wstring();
}

/// What a caller hands to the constructor of the blank region finder's parameters.
struct BlankArguments {
    long streetWidth;
    long minLength;
    long numResults;
    std::vector<double> weights;
    long direction;

    qvStreetBlankRegionFinderParams params() const {
        return qvStreetBlankRegionFinderParams(streetWidth, minLength, numResults, weights,
                                               static_cast<qvStreetBlankRegionFinderDefs::streetDirection>(direction));
    }
};

inline std::wstring refusalOf(const BlankArguments& a) {
    if (a.direction != 0 && a.direction != 1)
        return L"direction must be a value in qvStreetBlankRegionFinderDefs::streetDirection";
    if (a.streetWidth <= 0) return L"streetWidthPels must be > 0";
    if (a.minLength <= 0) return L"minLengthPels must be > 0";
    if (a.numResults <= 0) return L"numResults must be > 0";
    if (a.weights.size() != 256) return L"greyLevelScoringFilter must contain exactly 256 elements";
    for (const double weight : a.weights)
        if (!(0.0 <= weight && weight <= 1.0))
            return L"All values in greyLevelScoringFilter must be between 0 and 1 inclusive.";
    return std::wstring();
}

}  // namespace qvtest

#endif
