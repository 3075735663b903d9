#include "qvstreet/blankregion/blank_region_results.h"

namespace {

bool neitherIsGreater(double a, double b) { return !(a < b) && !(a > b); }

}  // namespace

void qvStreetBlankRegionFinderResult::init(double score, double blanknessScore, const qvPelRect& rect) {
    score_ = score;
    blanknessScore_ = blanknessScore;
    blankRect_ = rect;
}

bool operator==(const qvStreetBlankRegionFinderResult& a, const qvStreetBlankRegionFinderResult& b) {
    // deliberate: not ==, so that a NaN score equals any; pinned by BlankRegionResult.NanScoresCompareEqual
    return neitherIsGreater(a.score_, b.score_) && neitherIsGreater(a.blanknessScore_, b.blanknessScore_) &&
           a.blankRect_ == b.blankRect_;
}

void qvStreetBlankRegionFinderResultSet::init(const std::vector<qvStreetBlankRegionFinderResult>& results,
                                              double time) {
    results_ = results;
    time_ = time;
}

bool operator==(const qvStreetBlankRegionFinderResultSet& a, const qvStreetBlankRegionFinderResultSet& b) {
    return a.results_ == b.results_;
}
