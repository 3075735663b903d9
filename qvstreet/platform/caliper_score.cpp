// What a caliper is asked for, and how it judges what it finds.
#include <cmath>
#include <limits>
#include <utility>

#include "qvstreet/platform/caliper.h"

qvCaliperScore::qvCaliperScore(double x0, double x1, double xc, double y0, double y1)
    : x0_(x0), x1_(x1), xc_(xc), y0_(y0), y1_(y1) {}

qvCaliperScore::~qvCaliperScore() = default;

double qvCaliperScore::scoreOfMeasure(double measure) const {
    if (std::isnan(measure)) return 0.0;
    const bool upward = x1_ >= x0_;
    if (upward ? measure > xc_ : measure < xc_) return 0.0;
    if (upward ? measure <= x0_ : measure >= x0_) return y0_;
    if (upward ? measure >= x1_ : measure <= x1_) return y1_;
    const double score = y0_ + (measure - x0_) / (x1_ - x0_) * (y1_ - y0_);
    return std::isnan(score) ? 0.0 : score;
}

qvScoreContrast::qvScoreContrast(double x0, double x1, double xc, double y0, double y1)
    : qvCaliperScore(x0, x1, xc, y0, y1) {}

double qvScoreContrast::measure(const qvCaliperFeatures& features) const {
    const double sum = std::fabs(features.contrasts.first) + std::fabs(features.contrasts.second);
    return sum / features.numEdges;
}

qvScoreSizeDiffNorm::qvScoreSizeDiffNorm(double x0, double x1, double xc, double y0, double y1)
    : qvCaliperScore(x0, x1, xc, y0, y1) {}

double qvScoreSizeDiffNorm::measure(const qvCaliperFeatures& features) const {
    if (features.numEdges == 1) return 0.0;
    const double found = std::fabs(features.positions.second - features.positions.first);
    const double asked = std::fabs(features.askedPositions.second - features.askedPositions.first);
    const double difference = std::fabs(found - asked);
    if (asked == 0.0 && difference > 0.0) return std::numeric_limits<double>::infinity();
    return asked == 0.0 ? 0.0 : difference / asked;
}

qvCaliperRunParams::qvCaliperRunParams(double position, qvCaliperDefs::qeEdgePolarity polarity)
    : numEdges_(1), position0_(position), polarity0_(polarity) {}

qvCaliperRunParams::qvCaliperRunParams(double position0, qvCaliperDefs::qeEdgePolarity polarity0, double position1,
                                       qvCaliperDefs::qeEdgePolarity polarity1)
    : numEdges_(2), position0_(position0), position1_(position1), polarity0_(polarity0), polarity1_(polarity1) {}

qvCaliperRunParams::~qvCaliperRunParams() = default;

void qvCaliperRunParams::filterHalfSize(short samples) {
    if (samples < 1) throw qvPel::BadSize(L"a caliper's filter half size must be at least 1");
    filterHalfSize_ = samples;
}

void qvCaliperRunParams::maxNumResults(short count) {
    if (count < 1) throw qvPel::BadSize(L"a caliper's number of results must be at least 1");
    maxNumResults_ = count;
}

void qvCaliperRunParams::scoringMethods(const std::vector<qvCaliperScore*>& methods) {
    std::vector<qvCaliperScore*> present;
    for (qvCaliperScore* method : methods)
        if (method != nullptr) present.push_back(method);
    scoringMethods_ = std::move(present);
}
