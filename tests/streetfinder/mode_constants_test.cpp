#include "qvstreet/streetfinder/mode_constants.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using Defs = qvStreetFinderDefs;

/// What the four columns of constants differ in.
struct Column {
    double narrowSigma;
    double wideSigma;
    double innerRadiusFraction;
    double outerRadiusFraction;
    double highThreshold;
    double thresholdRatio;
    std::vector<double> scoreWeights;
};

const Column edgePair = {
    3.0, 10.0, 0.5, 0.75, 40.0, 0.5, {1.126, 0.019, 0.0875, 0.2909, 0.5771, 0.5416, 1.0, 1.0, 1.0, 1.0}};
const Column ridgeAnyOrDark = {
    3.0, 10.0, 0.25, 0.5, 80.0, 0.6, {1.0, 1.0, 1.0, 1.0, 1.0, 1.0, 18.5416, 410.8981, 1.0, 1.0}};
const Column ridgeOther = {
    3.0, 10.0, 0.5, 0.75, 100.0, 0.7, {1.0, 1.0, 1.0, 1.0, 1.0, 1.0, 18.5416, 410.8981, 1.0, 1.0}};
const Column coarseRidge = {
    5.0, 0.0, 0.25, 0.75, 80.0, 0.6, {1.0, 1.0, 1.0, 1.0, 1.0, 1.0, 18.9781, 460.4807, 1.0, 1.0}};

Defs::streetPolarity polarityOf(int value) { return static_cast<Defs::streetPolarity>(value); }
Defs::waferType modeOf(int value) { return static_cast<Defs::waferType>(value); }

/// A record in which nothing has the value that a mode gives it.
qv_streetFinderImpl dirtyRecord() {
    qv_streetFinderImpl impl;
    impl.angleParams = {-1.0, -2.0, -3.0, -4.0, -5.0, -6};
    impl.ridgeParams.spec.kind = 4;
    impl.ridgeParams.spec.angle = qvDegree(33.0);
    impl.ridgeParams.spec.spread = 0.5;
    impl.ridgeParams.spec.band = qvPair<double>(7.0, 8.0);
    impl.ridgeParams.spec.ratio = 3.0;
    impl.ridgeParams.lineGroup = {-7.0, -8.0, 2, 9, 5};
    impl.ridgeParams.keepPoints = true;
    impl.angleScoreRatio = -9.0;
    impl.tolerances.lineGapTolerance = -10.0;
    impl.tolerances.angleTolerance = -11.0;
    impl.tolerances.minLineLengthFraction = -12.0;
    impl.tolerances.reservedRange = qvPair<double>(-13.0, -14.0);
    impl.tolerances.nominalWidth = qvPair<double>(18.0, 30.0);
    impl.tolerances.widthUpper = qvPair<double>(27.0, 45.0);
    impl.tolerances.widthLower = qvPair<double>(9.0, 15.0);
    impl.scoreWeights = {1.0, 2.0, 3.0};
    impl.filterScale = -15.0;
    return impl;
}

void expectColumn(const qv_streetFinderImpl& impl, const Column& column) {
    EXPECT_EQ(impl.angleParams.narrowSigma, column.narrowSigma);
    EXPECT_EQ(impl.angleParams.wideSigma, column.wideSigma);
    EXPECT_EQ(impl.angleParams.peakThreshold, 1000.0);
    EXPECT_EQ(impl.angleParams.innerRadiusFraction, column.innerRadiusFraction);
    EXPECT_EQ(impl.angleParams.outerRadiusFraction, column.outerRadiusFraction);
    EXPECT_EQ(impl.angleParams.samplesPerDegree, 2);
    EXPECT_EQ(impl.ridgeParams.lineGroup.highThreshold, column.highThreshold);
    EXPECT_EQ(impl.ridgeParams.lineGroup.thresholdRatio, column.thresholdRatio);
    EXPECT_EQ(impl.ridgeParams.lineGroup.grayGateMode, 0);
    EXPECT_EQ(impl.ridgeParams.lineGroup.grayGateFlag, 0);
    EXPECT_EQ(impl.ridgeParams.lineGroup.responseSelect, 1);
    EXPECT_EQ(impl.scoreWeights, column.scoreWeights);
    EXPECT_EQ(impl.angleScoreRatio, 0.5);
    EXPECT_EQ(impl.tolerances.lineGapTolerance, 10.0);
    EXPECT_EQ(impl.tolerances.angleTolerance, 10.0);
    EXPECT_EQ(impl.tolerances.minLineLengthFraction, 0.15);
    EXPECT_EQ(impl.tolerances.reservedRange, qvPair<double>(0.7, 1.3));
    EXPECT_EQ(impl.filterScale, 1.0);
}

void expectColumn(Defs::waferType mode, int polarity, const Column& column) {
    SCOPED_TRACE(testing::Message() << "mode " << mode << ", polarity " << polarity);
    qv_streetFinderImpl impl = dirtyRecord();
    setModeConstants(impl, mode, polarityOf(polarity));
    expectColumn(impl, column);
}

}  // namespace

TEST(ModeConstants, RecordIsConstructedWithoutAMode) {
    const qv_streetFinderImpl impl;
    EXPECT_FALSE(impl.imageBound);
    EXPECT_EQ(impl.angleParams.narrowSigma, 3.0);
    EXPECT_EQ(impl.angleParams.wideSigma, 10.0);
    EXPECT_EQ(impl.angleParams.peakThreshold, 1000.0);
    EXPECT_EQ(impl.angleParams.innerRadiusFraction, 0.5);
    EXPECT_EQ(impl.angleParams.outerRadiusFraction, 1.0);
    EXPECT_EQ(impl.angleParams.samplesPerDegree, 2);
    EXPECT_EQ(impl.ridgeParams.lineGroup.highThreshold, 40.0);
    EXPECT_EQ(impl.ridgeParams.lineGroup.thresholdRatio, 0.5);
    EXPECT_EQ(impl.ridgeParams.lineGroup.grayGateMode, 0);
    EXPECT_EQ(impl.ridgeParams.lineGroup.grayGateFlag, 0);
    EXPECT_EQ(impl.ridgeParams.lineGroup.responseSelect, 0);
    EXPECT_EQ(impl.spectrumParams.fftSize, 256);
    EXPECT_EQ(impl.spectrumParams.padWidth, 10);
    EXPECT_EQ(impl.spectrumParams.rectMargin, 5);
    EXPECT_TRUE(impl.spectrumParams.usePadding);
    EXPECT_FALSE(impl.spectrum.prepared);
    EXPECT_TRUE(impl.lines.empty());
    EXPECT_EQ(impl.tolerances.lineGapTolerance, 0.0);
    EXPECT_EQ(impl.tolerances.angleTolerance, 0.0);
    EXPECT_EQ(impl.tolerances.minLineLengthFraction, 0.0);
    EXPECT_EQ(impl.tolerances.reservedRange, qvPair<double>(0.0, 0.0));
    EXPECT_EQ(impl.tolerances.nominalWidth, qvPair<double>(0.0, 0.0));
    EXPECT_TRUE(impl.scoreWeights.empty());
    EXPECT_TRUE(impl.angles.empty());
    EXPECT_TRUE(impl.angleScores.empty());
    EXPECT_TRUE(impl.streetAngles.empty());
    EXPECT_FALSE(impl.image.isBound());
    EXPECT_EQ(impl.imageSize, qvPair<long>(0, 0));
    EXPECT_EQ(impl.imageOffset, qvPair<long>(0, 0));
    EXPECT_EQ(impl.clientFromImage, qvXform<2>());
    EXPECT_EQ(impl.trace, nullptr);
    EXPECT_EQ(impl.flags, 0U);
}

TEST(ModeConstants, EdgePairWaferIgnoresThePolarity) {
    for (const int polarity : {0, 1, 2, 7}) expectColumn(Defs::eEdgePairWafer, polarity, edgePair);
}

TEST(ModeConstants, RidgeWaferHasOneColumnForAnyAndDark) {
    expectColumn(Defs::eRidgeWafer, Defs::eAnyPolarity, ridgeAnyOrDark);
    expectColumn(Defs::eRidgeWafer, Defs::eDarkOnLight, ridgeAnyOrDark);
}

TEST(ModeConstants, RidgeWaferHasAnotherColumnForEveryOtherPolarity) {
    for (const int polarity : {2, 3, 7, -1}) expectColumn(Defs::eRidgeWafer, polarity, ridgeOther);
}

TEST(ModeConstants, CoarseRidgeWaferIgnoresThePolarity) {
    for (const int polarity : {0, 1, 2, 7}) expectColumn(Defs::eCoarseRidgeWafer, polarity, coarseRidge);
}

TEST(ModeConstants, FilterSpecAndKeepPointsGoBackToTheirDefaults) {
    for (const int mode : {0, 1, 2}) {
        qv_streetFinderImpl impl = dirtyRecord();
        setModeConstants(impl, modeOf(mode), Defs::eAnyPolarity);
        EXPECT_EQ(impl.ridgeParams.spec.kind, 0);
        EXPECT_EQ(impl.ridgeParams.spec.angle, qvDegree(0.0));
        EXPECT_EQ(impl.ridgeParams.spec.spread, 0.17);
        EXPECT_EQ(impl.ridgeParams.spec.band, qvPair<double>(0.0625, 0.03125));
        EXPECT_EQ(impl.ridgeParams.spec.ratio, 0.0);
        EXPECT_FALSE(impl.ridgeParams.keepPoints);
    }
}

TEST(ModeConstants, StreetWidthsOfTheTolerancesAreNotTouched) {
    qv_streetFinderImpl impl = dirtyRecord();
    setModeConstants(impl, Defs::eEdgePairWafer, Defs::eAnyPolarity);
    EXPECT_EQ(impl.tolerances.nominalWidth, qvPair<double>(18.0, 30.0));
    EXPECT_EQ(impl.tolerances.widthUpper, qvPair<double>(27.0, 45.0));
    EXPECT_EQ(impl.tolerances.widthLower, qvPair<double>(9.0, 15.0));
}

TEST(ModeConstants, SpecialIsRefusedAndChangesNothing) {
    qv_streetFinderImpl impl = dirtyRecord();
    try {
        setModeConstants(impl, Defs::eSpecial, Defs::eAnyPolarity);
        FAIL() << "eSpecial was accepted";
    } catch (const Defs::BadParams& error) {
        EXPECT_EQ(error.message(), L" Cannot set runMode to eSpecial");
    }
    EXPECT_EQ(impl.filterScale, -15.0);
    EXPECT_EQ(impl.ridgeParams.lineGroup.responseSelect, 5);
}

TEST(ModeConstants, ModeWithoutANameSetsFilterScaleAndResponseOnly) {
    for (const int mode : {4, 1000, -1}) {
        qv_streetFinderImpl impl = dirtyRecord();
        setModeConstants(impl, modeOf(mode), Defs::eDarkOnLight);
        EXPECT_EQ(impl.filterScale, 1.0) << mode;
        EXPECT_EQ(impl.ridgeParams.lineGroup.responseSelect, 1) << mode;
        EXPECT_EQ(impl.angleParams.narrowSigma, -1.0) << mode;
        EXPECT_EQ(impl.angleParams.samplesPerDegree, -6) << mode;
        EXPECT_EQ(impl.ridgeParams.spec.kind, 4) << mode;
        EXPECT_TRUE(impl.ridgeParams.keepPoints) << mode;
        EXPECT_EQ(impl.ridgeParams.lineGroup.highThreshold, -7.0) << mode;
        EXPECT_EQ(impl.ridgeParams.lineGroup.thresholdRatio, -8.0) << mode;
        EXPECT_EQ(impl.ridgeParams.lineGroup.grayGateMode, 2) << mode;
        EXPECT_EQ(impl.ridgeParams.lineGroup.grayGateFlag, 9) << mode;
        EXPECT_EQ(impl.angleScoreRatio, -9.0) << mode;
        EXPECT_EQ(impl.tolerances.lineGapTolerance, -10.0) << mode;
        EXPECT_EQ(impl.tolerances.minLineLengthFraction, -12.0) << mode;
        EXPECT_EQ(impl.tolerances.reservedRange, qvPair<double>(-13.0, -14.0)) << mode;
        EXPECT_EQ(impl.scoreWeights, (std::vector<double>{1.0, 2.0, 3.0})) << mode;
    }
}
