#include "qvstreet/frontend/orientation.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "qvstreet/platform/geometry.h"
#include "qvstreet/platform/pel_ops.h"

namespace {

// A kernel of (0, 1, 0): leaves the profile as it is and moves it by 1.5 samples.
constexpr double kNoSmoothing = 0.01;

/// Streets of grey level 60 on 180, two families, their centre lines through the image's middle.
qvPelBuffer<unsigned char> wafer(long width, long height, double flatAngle, double uprightAngle, double pitch,
                                 double streetWidth) {
    const qvVector<2> middle(static_cast<double>(width) / 2.0, static_cast<double>(height) / 2.0);
    const qvFLine flat(qvDegree(flatAngle), middle);
    const qvFLine upright(qvDegree(uprightAngle), middle);
    const auto streetShare = [&](const qvFLine& line, const qvVector<2>& point) {
        const double distance = std::fabs(std::remainder(line.distanceFrom(point), pitch));
        return std::clamp(0.5 + streetWidth / 2.0 - distance, 0.0, 1.0);
    };
    qvPelBuffer<unsigned char> image(width, height, 32);
    for (long y = 0; y < height; ++y)
        for (long x = 0; x < width; ++x) {
            const qvVector<2> point(static_cast<double>(x) + 0.5, static_cast<double>(y) + 0.5);
            const double share = std::max(streetShare(flat, point), streetShare(upright, point));
            image.put(x, y, static_cast<unsigned char>(qfTruncate(180.5 - 120.0 * share)));
        }
    return image;
}

struct Found {
    std::vector<qvDegree> angles;
    std::vector<double> scores;
};

const qv_angleFinderParams kEdgeMode = {3.0, 10.0, 1000.0, 0.5, 0.75, 2};
const qv_angleFinderParams kRidgeMode = {3.0, 10.0, 1000.0, 0.25, 0.5, 2};
const qv_angleFinderParams kCoarseMode = {5.0, 0.0, 1000.0, 0.25, 0.75, 2};

Found anglesOf(const qvPelBuffer_const<unsigned char>& image, const qv_angleFinderParams& params) {
    qv_spectrumState state;
    prepareSpectrum(state, image, qv_spectrumParams());
    Found found;
    findDominantAngles(state, params, found.angles, found.scores);
    return found;
}

/// Distance to the nearest of the first two angles, without any folding.
double missOf(const Found& found, double degrees) {
    double miss = 1e9;
    for (std::size_t i = 0; i < std::min<std::size_t>(found.angles.size(), 2); ++i)
        miss = std::min(miss, std::fabs(found.angles[i].toDouble() - degrees));
    return miss;
}

/// A spectrum with single strong elements, in centred coordinates relative to zero frequency.
struct Element {
    long u;
    long v;
    double magnitude;
};

qvFrequencyBuffer spectrumOf(long size, const std::vector<Element>& elements) {
    qvFrequencyBuffer spectrum(size, size);
    for (const Element& element : elements)
        spectrum.put(size / 2 + element.u, size / 2 + element.v, qvPair<double>(0.0, -element.magnitude), true);
    return spectrum;
}

std::vector<qv_candAngle> plainPeaks(const qvFrequencyBuffer& spectrum, double inner, double outer,
                                     long samplesPerDegree = 2) {
    return findAnglePeaks(spectrum, kNoSmoothing, 0.0, 1000.0, inner, outer, samplesPerDegree);
}

/// Whether the ring of these fractions holds an element `radius` to the right of zero frequency.
bool ringHolds(long radius, double inner, double outer) {
    return !plainPeaks(spectrumOf(256, {{radius, 0, 1e6}}), inner, outer).empty();
}

qvPelBuffer<double> profileOf(const std::vector<double>& values) {
    qvPelBuffer<double> profile(static_cast<long>(values.size()), 1, 32);
    for (long i = 0; i < profile.width(); ++i) profile.put(i, 0, values[static_cast<std::size_t>(i)]);
    return profile;
}

std::vector<double> impulse(std::size_t length, std::size_t at, double height) {
    std::vector<double> values(length, 0.0);
    values[at] = height;
    return values;
}

std::vector<qvDegree> degrees(const std::vector<double>& values) {
    std::vector<qvDegree> angles;
    for (const double value : values) angles.emplace_back(value);
    return angles;
}

qvXform<2> rotated(double degreesTurned, double scale = 1.0) {
    const double c = scale * qfCos(qvDegree(degreesTurned));
    const double s = scale * qfSin(qvDegree(degreesTurned));
    return qvXform<2>(qvMatrix<2>(c, -s, s, c), qvVector<2>(12.0, -40.0));
}

qvXform<2> scaled(double x, double y) { return qvXform<2>(qvMatrix<2>(x, 0.0, 0.0, y), qvVector<2>(5.0, 6.0)); }

}  // namespace

TEST(Orientation, ParamsDefaults) {
    const qv_angleFinderParams params;
    EXPECT_EQ(params.narrowSigma, 3.0);
    EXPECT_EQ(params.wideSigma, 10.0);
    EXPECT_EQ(params.peakThreshold, 1000.0);
    EXPECT_EQ(params.innerRadiusFraction, 0.5);
    EXPECT_EQ(params.outerRadiusFraction, 1.0);
    EXPECT_EQ(params.samplesPerDegree, 2);
}

TEST(Orientation, CandidatesSortByScoreBestFirstNanLast) {
    EXPECT_TRUE((qv_candAngle{80.0, 3.0} < qv_candAngle{-10.0, 2.0}));
    EXPECT_FALSE((qv_candAngle{-10.0, 2.0} < qv_candAngle{80.0, 3.0}));
    EXPECT_FALSE((qv_candAngle{1.0, 2.0} < qv_candAngle{2.0, 2.0}));
    const double nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_TRUE((qv_candAngle{1.0, -5.0} < qv_candAngle{2.0, nan}));
    EXPECT_FALSE((qv_candAngle{2.0, nan} < qv_candAngle{1.0, -5.0}));
}

// ---- the ring ----

TEST(Orientation, OnlyTheInnerRadiusHasPlusOne) {
    // Radii 64 and 95 in 256: samples at 64.5 to 94.5, each taking in the elements beside it.
    EXPECT_FALSE(ringHolds(63, 0.5, 0.75));
    EXPECT_TRUE(ringHolds(64, 0.5, 0.75));
    EXPECT_TRUE(ringHolds(95, 0.5, 0.75));
    EXPECT_FALSE(ringHolds(96, 0.5, 0.75));
}

TEST(Orientation, RidgeModeRingGoesFrom32To63) {
    EXPECT_FALSE(ringHolds(31, 0.25, 0.5));
    EXPECT_TRUE(ringHolds(32, 0.25, 0.5));
    EXPECT_TRUE(ringHolds(63, 0.25, 0.5));
    EXPECT_FALSE(ringHolds(64, 0.25, 0.5));
}

TEST(Orientation, CoarseModeRingGoesFrom32To95) {
    EXPECT_FALSE(ringHolds(31, 0.25, 0.75));
    EXPECT_TRUE(ringHolds(32, 0.25, 0.75));
    EXPECT_TRUE(ringHolds(95, 0.25, 0.75));
    EXPECT_FALSE(ringHolds(96, 0.25, 0.75));
}

TEST(Orientation, PolarSamplingTakesPointsAroundTheMiddlePel) {
    // Directions -90, 0 and 90 degrees at radius 1.5 around pel (4, 4): half way between two pels each.
    qvPelBuffer<double> magnitude(8, 8, 32);
    qfPelSet(magnitude, 0.0);
    magnitude.put(4, 2, 10.0);
    magnitude.put(4, 3, 30.0);
    magnitude.put(5, 4, 4.0);
    magnitude.put(6, 4, 6.0);
    magnitude.put(4, 5, 100.0);
    magnitude.put(4, 6, 300.0);
    const qvPelBuffer<double> profile = polarSampleMagnitude(magnitude, 3, 1, 2);
    ASSERT_EQ(profile.width(), 3);
    ASSERT_EQ(profile.height(), 1);
    EXPECT_NEAR(profile.get(0, 0), 20.0, 1e-12);
    EXPECT_NEAR(profile.get(1, 0), 5.0, 1e-12);
    EXPECT_NEAR(profile.get(2, 0), 200.0, 1e-12);
}

TEST(Orientation, PolarSamplingSumsOverTheRadii) {
    // Radii 1.5 and 2.5; the column of the middle holds 1, 2, 3, 4, 5, 6, 7, 8.
    qvPelBuffer<double> magnitude(8, 8, 32);
    for (long y = 0; y < 8; ++y)
        for (long x = 0; x < 8; ++x) magnitude.put(x, y, x == 4 ? static_cast<double>(y + 1) : 0.0);
    const qvPelBuffer<double> profile = polarSampleMagnitude(magnitude, 3, 1, 3);
    EXPECT_NEAR(profile.get(0, 0), 3.5 + 2.5, 1e-12);  // rows 2.5 and 1.5
    EXPECT_NEAR(profile.get(1, 0), 0.0, 1e-12);
    EXPECT_NEAR(profile.get(2, 0), 6.5 + 7.5, 1e-12);  // rows 5.5 and 6.5
}

TEST(Orientation, PolarSamplingWeighsFourPelsBilinearly) {
    // One direction, 0 degrees, of odd width 9: middle pel (4, 4). Radius 1.25 at (5.25, 4).
    qvPelBuffer<double> magnitude(9, 9, 32);
    qfPelSet(magnitude, 0.0);
    magnitude.put(5, 4, 80.0);
    magnitude.put(6, 4, 40.0);
    magnitude.put(5, 5, 1000.0);
    const qvPelBuffer<double> profile = polarSampleMagnitude(magnitude, 1, 0, 2);  // radii 0.5 and 1.5
    EXPECT_NEAR(profile.get(0, 0), 40.0 + 60.0, 1e-9);
}

TEST(Orientation, PolarSamplingHonoursWindowAndRowUpdate) {
    qvPelBuffer<double> large(13, 11, 32);
    qfPelSet(large, 1e9);
    qvPelBuffer<double> magnitude = large;
    magnitude.window(3, 2, 8, 8, false);
    qfPelSet(magnitude, 0.0);
    magnitude.put(5, 4, 4.0);
    magnitude.put(6, 4, 6.0);
    EXPECT_NEAR(polarSampleMagnitude(magnitude, 3, 1, 2).get(1, 0), 5.0, 1e-12);
}

TEST(Orientation, RingWithoutSamplesIsRefused) {
    qvPelBuffer<double> magnitude(8, 8, 32);
    qfPelSet(magnitude, 1.0);
    EXPECT_THROW(polarSampleMagnitude(magnitude, 3, 2, 2), qvPel::BadSize);
}

TEST(Orientation, TheProfileIsThatOfTheWholeMagnitudeImage) {
    // Oblong spectra, too: the ring's centre is at half the width in both directions.
    for (const auto& [width, height] : {qvPair<long>(64, 64), qvPair<long>(48, 70), qvPair<long>(70, 40)}) {
        qvFrequencyBuffer spectrum(width, height);
        for (long y = 0; y < height; ++y)
            for (long x = 0; x < width; ++x)
                spectrum.put(x, y, qvPair<double>(static_cast<double>((x * 37 + y * 91) % 113), static_cast<double>(x)),
                             false);
        qv_orientationScratch scratch;
        findAnglePeaks(spectrum, {kNoSmoothing, 0.0, 1.0, 0.25, 0.75, 2}, scratch);
        const qvPair<long> radii = ringRadii(width, 0.25, 0.75);
        const qvPelBuffer<double> whole =
            polarSampleMagnitude(spectrum.getMagnitudeImage(true), 540, radii.first, radii.second);
        ASSERT_EQ(scratch.profile.width(), 540);
        for (long i = 0; i < 540; ++i) ASSERT_EQ(scratch.profile.get(i, 0), whole.get(i, 0)) << width << ", " << i;
    }
}

TEST(Orientation, ScratchOfAnotherSpectrumAndOtherParametersChangesNothing) {
    qv_orientationScratch scratch;
    const auto first = spectrumOf(256, {{70, 3, 1e6}, {-4, 80, 2e6}});
    const auto second = spectrumOf(128, {{30, 9, 1e6}, {-9, 30, 3e6}});
    for (const qvFrequencyBuffer* const spectrum : {&first, &second, &first})
        for (const qv_angleFinderParams& params : {kEdgeMode, kCoarseMode, kRidgeMode}) {
            findAnglePeaks(*spectrum, params, scratch);
            const std::vector<qv_candAngle> fresh =
                findAnglePeaks(*spectrum, params.narrowSigma, params.wideSigma, params.peakThreshold,
                               params.innerRadiusFraction, params.outerRadiusFraction, params.samplesPerDegree);
            ASSERT_EQ(scratch.candidates.size(), fresh.size());
            for (std::size_t i = 0; i < fresh.size(); ++i) {
                EXPECT_EQ(scratch.candidates[i].angle, fresh[i].angle);
                EXPECT_EQ(scratch.candidates[i].score, fresh[i].score);
            }
        }
}

// ---- the profile's filters ----

TEST(Orientation, DifferenceOfTwoGaussiansIsAlignedAtTheProfilesPosition) {
    // Kernels of 5 and 9 coefficients; at the impulse 100 * (0.786571 - 0.398943), beside it 100 * (0.106451 -
    // 0.241971).
    std::vector<qvPeak1D> peaks;
    EXPECT_EQ(bandPassPeaks(profileOf(impulse(21, 9, 100.0)), 0.5, 10.0, 1.0, peaks), 3);
    ASSERT_EQ(peaks.size(), 3u);
    EXPECT_NEAR(peaks[0].height, -13.5520, 1e-4);
    EXPECT_NEAR(peaks[1].height, 38.7627, 1e-4);
    EXPECT_NEAR(peaks[1].position, 9.5, 1e-12);
    EXPECT_NEAR(peaks[2].height, -13.5520, 1e-4);
}

TEST(Orientation, WithoutWideFilterThePositionCarriesTheNarrowOffset) {
    for (const double wideSigma : {0.0, -1.0, std::numeric_limits<double>::quiet_NaN()}) {
        std::vector<qvPeak1D> peaks;
        ASSERT_EQ(bandPassPeaks(profileOf(impulse(21, 9, 100.0)), 0.5, 10.0, wideSigma, peaks), 1);
        EXPECT_NEAR(peaks[0].position, 9.5, 1e-12);
        EXPECT_NEAR(peaks[0].height, 78.6571, 1e-4);
    }
}

TEST(Orientation, WideFilterOffsetIsFortyAndAHalf) {
    // Sigmas 3 and 10: 0.132985 - 0.039896. The peak stands at 100.5 = 60 + 40.5.
    std::vector<qvPeak1D> peaks;
    bandPassPeaks(profileOf(impulse(540, 100, 1e5)), 3.0, 1000.0, 10.0, peaks);
    const auto top = std::max_element(peaks.begin(), peaks.end(),
                                      [](const qvPeak1D& a, const qvPeak1D& b) { return a.height < b.height; });
    ASSERT_NE(top, peaks.end());
    EXPECT_NEAR(top->position, 100.5, 1e-9);
    EXPECT_NEAR(top->height, 9308.83, 0.01);
}

TEST(Orientation, CoarseModeOffsetIsTwentyAndAHalf) {
    std::vector<qvPeak1D> peaks;
    ASSERT_EQ(bandPassPeaks(profileOf(impulse(540, 25, 1e5)), 5.0, 1000.0, 0.0, peaks), 1);
    EXPECT_NEAR(peaks[0].position, 25.5, 1e-9);
    EXPECT_NEAR(peaks[0].height, 7979.17, 0.01);
}

TEST(Orientation, HeightMustReachTheThreshold) {
    std::vector<qvPeak1D> peaks;
    EXPECT_EQ(bandPassPeaks(profileOf(impulse(21, 9, 100.0)), kNoSmoothing, 100.0, 0.0, peaks), 1);
    peaks.clear();
    EXPECT_EQ(bandPassPeaks(profileOf(impulse(21, 9, 100.0)), kNoSmoothing, 100.5, 0.0, peaks), 0);
}

TEST(Orientation, ProfileTooShortForTheWideFilterIsRefused) {
    std::vector<qvPeak1D> peaks;
    EXPECT_THROW(bandPassPeaks(profileOf(impulse(80, 9, 100.0)), 3.0, 10.0, 10.0, peaks), qvFiltErr::BadImageSize);
}

TEST(Orientation, ProfileTooShortForThePeakSearchIsRefused) {
    std::vector<qvPeak1D> peaks;
    EXPECT_THROW(bandPassPeaks(profileOf({1.0, 2.0, 3.0, 2.0}), kNoSmoothing, 1.0, 0.0, peaks),
                 qvPeak1dErr::ImageTooSmall);
}

// ---- peaks to candidate angles ----

TEST(Orientation, MiddleOfTheProfileIsZeroDegrees) {
    for (const long samplesPerDegree : {1L, 2L, 3L, 4L}) {
        const std::vector<qv_candAngle> found =
            plainPeaks(spectrumOf(256, {{80, 0, 1e6}}), 0.5, 0.75, samplesPerDegree);
        ASSERT_EQ(found.size(), 1u) << samplesPerDegree;
        EXPECT_NEAR(found[0].angle, 0.0, 1e-9) << samplesPerDegree;
    }
}

TEST(Orientation, AnglesTurnFromXTowardsY) {
    const std::vector<qv_candAngle> found =
        findAnglePeaks(spectrumOf(256, {{57, 57, 1e6}, {66, -38, 2e6}}), 3.0, 10.0, 1000.0, 0.5, 0.75, 2);
    ASSERT_EQ(found.size(), 2u);
    EXPECT_NEAR(found[0].angle, -29.932, 0.02);  // atan2(-38, 66), the stronger one
    EXPECT_NEAR(found[1].angle, 45.0, 0.02);
    EXPECT_GT(found[0].score, found[1].score);
}

TEST(Orientation, ValleysAreDropped) {
    // The difference of the two filters is below -1000 at both sides of the peak.
    const std::vector<qv_candAngle> found =
        findAnglePeaks(spectrumOf(256, {{80, 0, 1e7}}), 3.0, 10.0, 1000.0, 0.5, 0.75, 2);
    ASSERT_EQ(found.size(), 1u);
    EXPECT_NEAR(found[0].angle, 0.0, 1e-9);
    EXPECT_GT(found[0].score, 0.0);
}

TEST(Orientation, PeakAtMinus90DegreesIsAcceptedAndAtPlus90Refused) {
    // One element straight above or below zero frequency: the two samples beside it are equal, so the peak lies exactly
    // between them, at position 90 or 450 of 540.
    const double inner = 0.5;
    const double outer = 17.5 / 31.0;  // radii 16 and 17 in 64
    const std::vector<qv_candAngle> above = plainPeaks(spectrumOf(64, {{0, -16, 5e4}, {0, -15, 5e4}}), inner, outer);
    ASSERT_EQ(above.size(), 1u);
    EXPECT_EQ(above[0].angle, -90.0);
    EXPECT_TRUE(plainPeaks(spectrumOf(64, {{0, 16, 5e4}, {0, 17, 5e4}}), inner, outer).empty());
}

TEST(Orientation, PeaksBeyondTheHalfTurnAreRefused) {
    // 45 degrees comes once although the opposite direction, -135, lies on the profile's border; 120 degrees is left to
    // its opposite, -60, which holds nothing here.
    EXPECT_TRUE(plainPeaks(spectrumOf(256, {{-40, 69, 1e6}}), 0.5, 0.75).empty());
    EXPECT_TRUE(plainPeaks(spectrumOf(256, {{-40, -69, 1e6}}), 0.5, 0.75).empty());
    EXPECT_EQ(plainPeaks(spectrumOf(256, {{40, 69, 1e6}}), 0.5, 0.75).size(), 1u);
}

TEST(Orientation, CandidatesComeBestFirstAndEqualOnesInOrderOfPosition) {
    const std::vector<qv_candAngle> found =
        plainPeaks(spectrumOf(256, {{80, 0, 1e6}, {56, 56, 3e6}, {56, -56, 3e6}}), 0.5, 0.75);
    ASSERT_EQ(found.size(), 3u);
    EXPECT_NEAR(found[2].angle, 0.0, 1e-9);
    EXPECT_NEAR(std::fabs(found[0].angle), 45.0, 0.01);
    EXPECT_GE(found[0].score, found[1].score);
    EXPECT_GT(found[1].score, found[2].score);
}

// ---- whole images ----

TEST(Orientation, UnpreparedStateIsABrokenPromise) {
    Found found;
    EXPECT_THROW(findDominantAngles(qv_spectrumState(), kEdgeMode, found.angles, found.scores), qvInvariantFailure);
}

TEST(Orientation, UniformImageHasNoAngleAndGetsTheImageAxes) {
    qvPelBuffer<unsigned char> image(300, 260, 32);
    qfPelSet(image, static_cast<unsigned char>(128));
    Found found{degrees({1.0, 2.0}), {3.0, 4.0}};  // former contents are replaced
    qv_spectrumState state;
    prepareSpectrum(state, image, qv_spectrumParams());
    findDominantAngles(state, kCoarseMode, found.angles, found.scores);
    EXPECT_TRUE(found.angles.empty());
    EXPECT_TRUE(found.scores.empty());
    qvDegree horizontal;
    qvDegree vertical;
    EXPECT_FALSE(selectStreetAngles(found.angles, found.scores, 0.5, qvXform<2>(), horizontal, vertical));
    EXPECT_EQ(horizontal.toDouble(), 0.0);
    EXPECT_EQ(vertical.toDouble(), 90.0);
}

TEST(Orientation, StreetAnglesOfAnOblongImageAreNotFolded) {
    for (const qv_angleFinderParams& mode : {kEdgeMode, kRidgeMode, kCoarseMode}) {
        const Found found = anglesOf(wafer(1000, 700, 1.1, 91.1, 150.0, 12.0), mode);
        ASSERT_GE(found.angles.size(), 2u);
        EXPECT_LT(missOf(found, -178.9), 0.2);
        EXPECT_LT(missOf(found, -88.9), 0.2);
    }
}

TEST(Orientation, StreetsLeaningTheOtherWayComeOutAroundZero) {
    const Found found = anglesOf(wafer(700, 1000, -2.3, 87.7, 150.0, 12.0), kEdgeMode);
    ASSERT_GE(found.angles.size(), 2u);
    EXPECT_LT(missOf(found, -2.3), 0.2);
    EXPECT_LT(missOf(found, -92.3), 0.2);
}

TEST(Orientation, StretchedSquareDoesNotBendLargeAngles) {
    // In the sampled square the streets of this 2 to 1 image lie at 21.2 and 96.1 degrees.
    const Found found = anglesOf(wafer(1024, 515, 11.0, 102.0, 120.0, 10.0), kRidgeMode);
    ASSERT_GE(found.angles.size(), 2u);
    EXPECT_LT(missOf(found, -169.0), 0.1);
    EXPECT_LT(missOf(found, -78.0), 0.1);
}

TEST(Orientation, AnglesAreInTheClientFrameRotatedBy3Degrees) {
    qvPelBuffer_const<unsigned char> image = wafer(1000, 700, 1.1, 90.4, 150.0, 12.0);
    image.clientFromImageXform(rotated(3.0, 0.5));
    const Found found = anglesOf(image, kEdgeMode);
    ASSERT_GE(found.angles.size(), 2u);
    EXPECT_LT(missOf(found, -175.9), 0.2);
    EXPECT_LT(missOf(found, -86.6), 0.2);
}

TEST(Orientation, AnglesAreInTheClientFrameMirroredInY) {
    qvPelBuffer_const<unsigned char> image = wafer(1000, 700, 1.1, 92.0, 150.0, 12.0);
    image.clientFromImageXform(scaled(0.5, -0.5));
    const Found found = anglesOf(image, kEdgeMode);
    ASSERT_GE(found.angles.size(), 2u);
    EXPECT_LT(missOf(found, 178.9), 0.2);
    EXPECT_LT(missOf(found, 88.0), 0.2);
}

TEST(Orientation, ScoresStandBesideTheirAnglesBestFirst) {
    const Found found = anglesOf(wafer(512, 512, 3.0, 93.0, 100.0, 9.0), kEdgeMode);
    ASSERT_EQ(found.angles.size(), found.scores.size());
    ASSERT_GE(found.scores.size(), 2u);
    EXPECT_TRUE(std::is_sorted(found.scores.rbegin(), found.scores.rend()));
    EXPECT_GE(found.scores.back(), 1000.0);
}
