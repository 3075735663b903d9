#include "qvstreet/blankregion/blank_region_params.h"

#include <algorithm>
#include <cstddef>

#include "qvstreet/platform/rect.h"

namespace {

using Defs = qvStreetBlankRegionFinderDefs;
using BadParams = qvStreetBlankRegionFinderDefs::BadParams;

constexpr std::size_t kGreyLevels = 256;

/// The value that is stored, or the refusal.
std::int32_t positive(long value, const wchar_t* message) {
    if (value <= 0) throw BadParams(message);
    return static_cast<std::int32_t>(qfSaturate32(value));
}

/// Written so that NaN is no weight.
bool isWeight(double value) { return value >= 0.0 && value <= 1.0; }

}  // namespace

qvStreetBlankRegionFinderParams::qvStreetBlankRegionFinderParams(long streetWidthPels, long minLengthPels,
                                                                 long numResults,
                                                                 std::vector<double> greyLevelScoringFilter,
                                                                 Defs::streetDirection direction) {
    // Not the order of the arguments: it decides which message a caller sees who has several of them wrong.
    this->direction(direction);
    this->streetWidthPels(streetWidthPels);
    this->minLengthPels(minLengthPels);
    this->numResults(numResults);
    this->greyLevelScoringFilter(greyLevelScoringFilter);
}

void qvStreetBlankRegionFinderParams::streetWidthPels(long value) {
    streetWidthPels_ = positive(value, L"streetWidthPels must be > 0");
}

void qvStreetBlankRegionFinderParams::minLengthPels(long value) {
    minLengthPels_ = positive(value, L"minLengthPels must be > 0");
}

void qvStreetBlankRegionFinderParams::direction(Defs::streetDirection value) {
    const auto number = static_cast<std::int32_t>(value);
    if (number < Defs::eHorizontal || number > Defs::eVertical)
        throw BadParams(L"direction must be a value in qvStreetBlankRegionFinderDefs::streetDirection");
    direction_ = value;
}

void qvStreetBlankRegionFinderParams::numResults(long value) {
    numResults_ = positive(value, L"numResults must be > 0");
}

void qvStreetBlankRegionFinderParams::greyLevelScoringFilter(std::vector<double>& value) {
    if (value.size() != kGreyLevels) throw BadParams(L"greyLevelScoringFilter must contain exactly 256 elements");
    if (!std::all_of(value.begin(), value.end(), isWeight))
        throw BadParams(L"All values in greyLevelScoringFilter must be between 0 and 1 inclusive.");
    greyLevelScoringFilter_ = value;
}

bool operator==(const qvStreetBlankRegionFinderParams& a, const qvStreetBlankRegionFinderParams& b) {
    return a.streetWidthPels_ == b.streetWidthPels_ && a.minLengthPels_ == b.minLengthPels_ &&
           a.direction_ == b.direction_ && a.numResults_ == b.numResults_ &&
           a.greyLevelScoringFilter_ == b.greyLevelScoringFilter_;
}
