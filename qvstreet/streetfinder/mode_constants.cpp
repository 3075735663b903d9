// The tuning constants of the run modes.
//
//                          edge pair   ridge, any or dark   ridge, other   coarse ridge
//     angle profile        3, 10       3, 10                3, 10          5, none         Gaussian sigmas, samples
//     ring of frequencies  0.5-0.75    0.25-0.5             0.5-0.75       0.25-0.75       of the highest frequency
//     chain thresholds     40, 0.5     80, 0.6              100, 0.7       80, 0.6         of 255; fraction to go on
#include "qvstreet/streetfinder/mode_constants.h"

#include <algorithm>
#include <array>

namespace {

using Defs = qvStreetFinderDefs;

constexpr double kFilterScale = 1.0;
constexpr long kRidgeScan = 1;
constexpr double kAngleScoreRatio = 0.5;
constexpr double kLineGapTolerance = 10.0;
constexpr double kAngleTolerance = 10.0;
constexpr double kMinLineLengthFraction = 0.15;
constexpr double kPeakThreshold = 1000.0;
constexpr long kSamplesPerDegree = 2;
constexpr std::size_t kWeights = 10;
constexpr std::array<double, 6> kEdgeWeights = {1.126, 0.019, 0.0875, 0.2909, 0.5771, 0.5416};

struct ModeRow {
    double narrowSigma;
    double wideSigma;
    double innerRadiusFraction;
    double outerRadiusFraction;
    double highThreshold;
    double thresholdRatio;
    double weight6;
    double weight7;
};

constexpr ModeRow kEdgePair = {3.0, 10.0, 0.5, 0.75, 40.0, 0.5, 1.0, 1.0};
constexpr ModeRow kRidgeAnyOrDark = {3.0, 10.0, 0.25, 0.5, 80.0, 0.6, 18.5416, 410.8981};
constexpr ModeRow kRidgeOther = {3.0, 10.0, 0.5, 0.75, 100.0, 0.7, 18.5416, 410.8981};
constexpr ModeRow kCoarseRidge = {5.0, 0.0, 0.25, 0.75, 80.0, 0.6, 18.9781, 460.4807};

const ModeRow& rowOf(Defs::waferType runMode, Defs::streetPolarity polarity) {
    if (runMode == Defs::eEdgePairWafer) return kEdgePair;
    if (runMode == Defs::eCoarseRidgeWafer) return kCoarseRidge;
    return polarity == Defs::eAnyPolarity || polarity == Defs::eDarkOnLight ? kRidgeAnyOrDark : kRidgeOther;
}

void setWeights(Defs::waferType runMode, const ModeRow& row, std::vector<double>& weights) {
    weights.assign(kWeights, 1.0);
    if (runMode == Defs::eEdgePairWafer) std::copy(kEdgeWeights.begin(), kEdgeWeights.end(), weights.begin());
    weights[6] = row.weight6;
    weights[7] = row.weight7;
}

void setKnownMode(qv_streetFinderImpl& impl, Defs::waferType runMode, const ModeRow& row) {
    impl.angleParams = {row.narrowSigma,         row.wideSigma,           kPeakThreshold,
                        row.innerRadiusFraction, row.outerRadiusFraction, kSamplesPerDegree};
    impl.ridgeParams = qv_ridgeFinderParams();
    impl.ridgeParams.lineGroup.highThreshold = row.highThreshold;
    impl.ridgeParams.lineGroup.thresholdRatio = row.thresholdRatio;
    impl.angleScoreRatio = kAngleScoreRatio;
    impl.tolerances.lineGapTolerance = kLineGapTolerance;
    impl.tolerances.angleTolerance = kAngleTolerance;
    impl.tolerances.minLineLengthFraction = kMinLineLengthFraction;
    impl.tolerances.reservedRange = qvPair<double>(0.7, 1.3);
    setWeights(runMode, row, impl.scoreWeights);
}

}  // namespace

void setModeConstants(qv_streetFinderImpl& impl, Defs::waferType runMode, Defs::streetPolarity polarity) {
    switch (runMode) {
        case Defs::eSpecial:
            throw Defs::BadParams(L" Cannot set runMode to eSpecial");
        case Defs::eEdgePairWafer:
        case Defs::eRidgeWafer:
        case Defs::eCoarseRidgeWafer:
            setKnownMode(impl, runMode, rowOf(runMode, polarity));
            break;
    }
    impl.filterScale = kFilterScale;
    impl.ridgeParams.lineGroup.responseSelect = kRidgeScan;
}
