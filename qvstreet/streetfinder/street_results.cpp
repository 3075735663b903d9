#include "qvstreet/streetfinder/street_results.h"

qvStreetFinderStreetCrossResult::qvStreetFinderStreetCrossResult() = default;

qvVector<2> qvStreetFinderStreetCrossResult::crossing() const { return crossing_; }
qvRadian qvStreetFinderStreetCrossResult::verticalAngle() const { return verticalAngle_; }
qvRadian qvStreetFinderStreetCrossResult::horizontalAngle() const { return horizontalAngle_; }
double qvStreetFinderStreetCrossResult::score() const { return score_; }
qvVector<2> qvStreetFinderStreetCrossResult::ulCorner() const { return ulCorner_; }
qvVector<2> qvStreetFinderStreetCrossResult::urCorner() const { return urCorner_; }
qvVector<2> qvStreetFinderStreetCrossResult::llCorner() const { return llCorner_; }
qvVector<2> qvStreetFinderStreetCrossResult::lrCorner() const { return lrCorner_; }
const std::vector<qvLineSeg>& qvStreetFinderStreetCrossResult::lineSegs() const { return lineSegs_; }
qvStreetFinderDefs::resultType qvStreetFinderStreetCrossResult::statusFlags() const { return statusFlags_; }

qvStreetFinderSingleStreetResult::qvStreetFinderSingleStreetResult() = default;

double qvStreetFinderSingleStreetResult::score() const { return score_; }
const std::vector<qvLineSeg>& qvStreetFinderSingleStreetResult::lineSegs() const { return lineSegs_; }
qvRadian qvStreetFinderSingleStreetResult::angle() const { return angle_; }
qvStreetFinderDefs::resultType qvStreetFinderSingleStreetResult::statusFlags() const { return statusFlags_; }
