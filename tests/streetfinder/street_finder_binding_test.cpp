// What `setImage` makes of one image after the other: refused ones, ones that fail half-way, ones of odd sizes, and the
// same image in other memory, under another offset or in a copied finder.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "qvstreet/streetfinder/street_finder_access.h"
#include "tests/streetfinder/finder_runs.h"

namespace {

using Access = qv_streetFinderAccess;
using Defs = qvStreetFinderDefs;
using Image = qvPelBuffer_const<unsigned char>;
using Numbers = std::vector<double>;
using Point = qvVector<2>;
using qvtest::allNumbersFrom;
using qvtest::allNumbersOf;
using qvtest::clientFrame;
using qvtest::crossingsFrom;
using qvtest::finderParams;
using qvtest::oblongWafer;
using qvtest::PaintedWafer;
using qvtest::streetsFrom;
using qvtest::uniformImage;

const Defs::waferType allModes[] = {Defs::eEdgePairWafer, Defs::eRidgeWafer, Defs::eCoarseRidgeWafer};

const PaintedWafer& wafer() {
    static const PaintedWafer painted = oblongWafer(3.0);
    return painted;
}
const Image& goodImage() {
    static const Image image = wafer().image();
    return image;
}

template <class Error>
std::wstring messageOf(qvStreetFinder& finder, const Image& image) {
    try {
        finder.setImage(image);
    } catch (const Error& error) {
        return error.message();
    }
    return L"accepted";
}

/// Whether the image could be bound; if not, it was refused with an exception of the library.
bool binds(qvStreetFinder& finder, const Image& image) {
    try {
        finder.setImage(image);
    } catch (const qvException&) {
        return false;
    }
    return true;
}

Image withFrame(Image image, const qvXform<2>& clientFromImage) {
    image.clientFromImageXform(clientFromImage);
    return image;
}

qvXform<2> matrix(double a, double b, double c, double d) {
    return qvXform<2>(qvMatrix<2>(a, b, c, d), Point(0.0, 0.0));
}

/// An image that passes the checks of `setImage` and fails behind them: no inverse of the client transform.
Image lateFailure() { return withFrame(goodImage(), matrix(1.0, 2.0, 0.0, 0.0)); }

void expectFindsNothing(qvStreetFinder& finder) {
    qvtest::Streets streets(3);
    finder.findSingleStreet(streets);
    EXPECT_TRUE(streets.empty());
    qvtest::Crossings crossings(3);
    finder.find(crossings);
    // Crossings of edge pairs are appended, those of lines replace what was there.
    EXPECT_EQ(crossings.size(), finder.runParams().runMode() == Defs::eEdgePairWafer ? 3U : 0U);
}

/// The pels of the wafer at `firstPel` of some memory, `rowUpdate` apart.
struct OtherMemory {
    std::vector<unsigned char> bytes;
    Image image;
};

OtherMemory copiedTo(long lead, long rowUpdate) {
    const long width = wafer().width;
    const long height = wafer().height;
    const long step = rowUpdate < 0 ? -rowUpdate : rowUpdate;
    OtherMemory memory;
    memory.bytes.assign(static_cast<std::size_t>(lead + step * height), 0xA5);
    for (long y = 0; y < height; ++y) {
        const long row = rowUpdate < 0 ? height - 1 - y : y;
        std::copy_n(goodImage().pointToRow(y), width, memory.bytes.data() + lead + step * row);
    }
    const long firstRow = rowUpdate < 0 ? height - 1 : 0;
    memory.image = Image(memory.bytes.data() + lead + step * firstRow, width, height, rowUpdate);
    return memory;
}

}  // namespace

TEST(StreetFinderBinding, UnboundImageIsRefused) {
    qvStreetFinder finder(finderParams(Defs::eCoarseRidgeWafer));
    EXPECT_EQ(messageOf<Defs::UnboundImage>(finder, Image()), L"Image is unbound.");
    EXPECT_FALSE(qf_finderRecord(finder).imageBound);
    EXPECT_THROW(streetsFrom(finder), Defs::UnboundImage);
}

TEST(StreetFinderBinding, RotationAboveFiveDegreesIsRefused) {
    qvStreetFinder finder(finderParams(Defs::eCoarseRidgeWafer));
    for (const qvXform<2>& frame : {clientFrame(5.1, 1.0, false), clientFrame(-5.1, 1.0, true),
                                    clientFrame(180.0, 1.0, false), matrix(-1.0, 0.0, 0.0, 1.0)}) {
        EXPECT_EQ(messageOf<Defs::BadParams>(finder, withFrame(goodImage(), frame)),
                  L"Image rotation greater then 5 degree");
        EXPECT_FALSE(qf_finderRecord(finder).imageBound);
    }
}

TEST(StreetFinderBinding, RotationOfExactlyFiveDegreesIsAccepted) {
    for (const double degrees : {5.0, -5.0}) {
        qvStreetFinder finder(finderParams(Defs::eCoarseRidgeWafer));
        finder.setImage(withFrame(goodImage(), clientFrame(degrees, 1.0, false)));
        EXPECT_EQ(crossingsFrom(finder).size(), 6U);
    }
}

TEST(StreetFinderBinding, UnboundImageIsTestedBeforeTheRotation) {
    qvStreetFinder finder;
    EXPECT_EQ(messageOf<Defs::UnboundImage>(finder, withFrame(Image(), clientFrame(90.0, 1.0, false))),
              L"Image is unbound.");
}

TEST(StreetFinderBinding, RefusedImageLeavesTheFormerOneUsable) {
    for (const Defs::waferType mode : allModes) {
        qvStreetFinder finder(finderParams(mode));
        finder.setImage(goodImage());
        const Numbers before = allNumbersFrom(finder);
        ASSERT_GT(before.size(), 10U);
        for (const Image& bad : {Image(), withFrame(uniformImage(90, 50, 9), clientFrame(5.1, 1.0, false)),
                                 withFrame(uniformImage(90, 50, 9), matrix(-1.0, 0.0, 0.0, 1.0))}) {
            EXPECT_FALSE(binds(finder, bad));
            EXPECT_EQ(allNumbersFrom(finder), before);
            EXPECT_EQ(qf_finderRecord(finder).image.pointToOffset(), goodImage().pointToOffset());
        }
    }
}

TEST(StreetFinderBinding, LateFailureLeavesAFinderThatFindsNothing) {
    for (const Defs::waferType mode : allModes) {
        qvStreetFinder finder(finderParams(mode, Defs::eDarkOnLight));
        EXPECT_THROW(finder.setImage(lateFailure()), qvMatrixErr::Singular);
        EXPECT_TRUE(qf_finderRecord(finder).imageBound);
        expectFindsNothing(finder);
        std::vector<qvRadian> angles;
        EXPECT_NO_THROW(finder.getAngles(10, angles));
    }
}

TEST(StreetFinderBinding, LateFailureTakesTheFormerResultsAwayAndAGoodImageMakesTheFinderWhole) {
    for (const Defs::waferType mode : allModes) {
        const qvStreetFinderParams params = finderParams(mode);
        qvStreetFinder finder(params);
        finder.setImage(goodImage());
        EXPECT_THROW(finder.setImage(lateFailure()), qvMatrixErr::Singular);
        expectFindsNothing(finder);
        finder.setImage(goodImage());
        EXPECT_EQ(allNumbersFrom(finder), allNumbersOf(params, goodImage()));
    }
}

TEST(StreetFinderBinding, FramesThatAreNoNumbersEndInATypedError) {
    const double notANumber = std::nan("");
    for (const qvXform<2>& frame :
         {matrix(notANumber, 0.0, 0.0, 1.0), matrix(1.0, notANumber, 0.0, 1.0), matrix(1.0, 0.0, 0.0, notANumber),
          matrix(1.0, 0.0, 0.0, HUGE_VAL), matrix(0.0, 0.0, 0.0, 0.0), matrix(1e-300, 0.0, 0.0, 1e-300),
          matrix(1e300, 0.0, 0.0, 1e300), qvXform<2>(qvMatrix<2>(), Point(notANumber, HUGE_VAL))}) {
        for (const Defs::waferType mode : {Defs::eEdgePairWafer, Defs::eCoarseRidgeWafer}) {
            const qvStreetFinderParams params = finderParams(mode, Defs::eDarkOnLight);
            qvStreetFinder finder(params);
            if (!binds(finder, withFrame(goodImage(), frame))) expectFindsNothing(finder);
            EXPECT_NO_THROW(streetsFrom(finder));
            EXPECT_NO_THROW(crossingsFrom(finder));
            finder.setImage(goodImage());
            EXPECT_EQ(allNumbersFrom(finder), allNumbersOf(params, goodImage()));
        }
    }
}

TEST(StreetFinderBinding, EverySizeEndsInAResultOrATypedError) {
    struct Size {
        long width;
        long height;
    };
    const Image good = uniformImage(64, 48, 7);
    for (const Defs::waferType mode : allModes)
        for (const Size size :
             {Size{1, 1}, Size{1, 2}, Size{2, 2}, Size{4, 4}, Size{5, 5}, Size{6, 5}, Size{6, 6}, Size{2, 5000},
              Size{5000, 2}, Size{40000, 3}, Size{3, 40000}, Size{32767, 1}, Size{32768, 8}, Size{8, 65537}}) {
            SCOPED_TRACE(testing::Message() << size.width << " x " << size.height << ", mode " << mode);
            qvStreetFinder finder(finderParams(mode, Defs::eDarkOnLight));
            const qvPelBuffer<unsigned char> image(size.width, size.height);
            for (long y = 0; y < size.height; ++y)
                for (long x = 0; x < size.width; ++x)
                    image.put(x, y, static_cast<unsigned char>((x * 7 + y * 13 + (x / 30) * 50) % 251));
            if (!binds(finder, image)) expectFindsNothing(finder);
            EXPECT_NO_THROW(streetsFrom(finder));
            EXPECT_NO_THROW(crossingsFrom(finder));
        }
}

TEST(StreetFinderBinding, SideBeyondSixteenBitsIsALateFailure) {
    for (const bool wide : {true, false}) {
        qvStreetFinder finder(finderParams(Defs::eCoarseRidgeWafer));
        finder.setImage(goodImage());
        EXPECT_THROW(finder.setImage(wide ? uniformImage(40000, 9, 7) : uniformImage(9, 40000, 7)), qvPel::BadSize);
        expectFindsNothing(finder);
        finder.setImage(goodImage());
        EXPECT_EQ(crossingsFrom(finder).size(), 6U);
    }
}

TEST(StreetFinderBinding, ViewWithoutPelsIsATypedError) {
    for (const Defs::waferType mode : allModes) {
        Image empty = goodImage();
        empty.window(1000, 1000, 5, 5, false);
        qvStreetFinder finder(finderParams(mode));
        EXPECT_FALSE(binds(finder, empty));
        expectFindsNothing(finder);
    }
}

TEST(StreetFinderBinding, NextImageOwesNothingToTheFormer) {
    for (const Defs::waferType mode : allModes) {
        const qvStreetFinderParams params = finderParams(mode);
        const Image other = oblongWafer(-2.0).image(clientFrame(3.0, 0.7, true));
        qvStreetFinder finder(params);
        finder.setImage(other);
        EXPECT_EQ(allNumbersFrom(finder), allNumbersOf(params, other));
        finder.setImage(uniformImage(90, 50, 9));
        expectFindsNothing(finder);
        finder.setImage(goodImage());
        EXPECT_EQ(allNumbersFrom(finder), allNumbersOf(params, goodImage()));
    }
}

TEST(StreetFinderBinding, SameSearchTwiceGivesTheSameBits) {
    for (const Defs::waferType mode : allModes) {
        qvStreetFinder finder(finderParams(mode, Defs::eDarkOnLight));
        finder.setImage(goodImage());
        const Numbers once = allNumbersFrom(finder);
        ASSERT_GT(once.size(), 10U);
        EXPECT_EQ(allNumbersFrom(finder), once);
        finder.setImage(goodImage());
        EXPECT_EQ(allNumbersFrom(finder), once);
    }
}

TEST(StreetFinderBinding, PelsInOtherMemoryGiveTheSameBits) {
    for (const Defs::waferType mode : allModes) {
        const qvStreetFinderParams params = finderParams(mode, Defs::eDarkOnLight);
        const Numbers expected = allNumbersOf(params, goodImage());
        ASSERT_GT(expected.size(), 10U);
        const long width = wafer().width;
        for (const long rowUpdate : {width, width + 1, width + 64, -width, -(width + 13)})
            for (const long lead : {0L, 1L, 7L}) {
                const OtherMemory memory = copiedTo(lead, rowUpdate);
                EXPECT_EQ(allNumbersOf(params, memory.image), expected) << rowUpdate << ", " << lead;
            }
    }
}

TEST(StreetFinderBinding, WindowOfALargerImageGivesTheSameBits) {
    const PaintedWafer& painted = wafer();
    const qvPelBuffer<unsigned char> larger(painted.width + 50, painted.height + 31);
    for (long y = 0; y < larger.height(); ++y) std::fill_n(larger.pointToRow(y), larger.width(), std::uint8_t{255});
    for (long y = 0; y < painted.height; ++y)
        std::copy_n(goodImage().pointToRow(y), painted.width, larger.pointToPel(17, y + 20));
    Image window = larger;
    ASSERT_TRUE(window.window(17, 20, painted.width, painted.height, false));
    window.offset(0, 0);
    for (const Defs::waferType mode : allModes)
        EXPECT_EQ(allNumbersOf(finderParams(mode), window), allNumbersOf(finderParams(mode), goodImage()));
}

TEST(StreetFinderBinding, OffsetMovesTheResultsThroughTheClientTransform) {
    for (const Defs::waferType mode : allModes)
        for (const qvXform<2>& frame : {qvXform<2>(), clientFrame(3.0, 0.5, true)}) {
            const bool scaled = frame != qvXform<2>();
            const qvStreetFinderParams params = finderParams(mode, Defs::eAnyPolarity, 20, scaled ? 0.5 : 1.0);
            Image moved = withFrame(goodImage(), frame);
            qvStreetFinder plain(params);
            plain.setImage(moved);
            moved.offset(37, -110);
            qvStreetFinder offset(params);
            offset.setImage(moved);
            const Point by = frame.mapVector(Point(37.0, -110.0));

            const qvtest::Streets streets = streetsFrom(plain);
            const qvtest::Streets movedStreets = streetsFrom(offset);
            ASSERT_EQ(movedStreets.size(), streets.size());
            ASSERT_FALSE(streets.empty());
            for (std::size_t k = 0; k < streets.size(); ++k)
                for (std::size_t s = 0; s < streets[k].lineSegs().size(); ++s) {
                    const qvLineSeg& a = streets[k].lineSegs()[s];
                    const qvLineSeg& b = movedStreets[k].lineSegs()[s];
                    EXPECT_LT((a.p1() + by).distance(b.p1()), 1e-9);
                    EXPECT_LT((a.p2() + by).distance(b.p2()), 1e-9);
                }
            const qvtest::Crossings crossings = crossingsFrom(plain);
            const qvtest::Crossings movedCrossings = crossingsFrom(offset);
            ASSERT_EQ(movedCrossings.size(), 6U);
            for (std::size_t k = 0; k < 6; ++k) {
                EXPECT_LT((crossings[k].crossing() + by).distance(movedCrossings[k].crossing()), 1e-9);
                // A score that is not a number stays so.
                const double score = crossings[k].score();
                const double movedScore = movedCrossings[k].score();
                EXPECT_TRUE(std::isnan(score) ? std::isnan(movedScore) : std::fabs(score - movedScore) < 1e-12);
            }
        }
}

TEST(StreetFinderBinding, OffsetDoesNotChangeThePolarityVerdicts) {
    qvStreetFinder plain(finderParams(Defs::eRidgeWafer, Defs::eDarkOnLight));
    plain.setImage(goodImage());
    Image moved = goodImage();
    moved.offset(1000, -5000);
    qvStreetFinder offset(finderParams(Defs::eRidgeWafer, Defs::eDarkOnLight));
    offset.setImage(moved);
    const qvtest::Crossings crossings = crossingsFrom(plain);
    const qvtest::Crossings movedCrossings = crossingsFrom(offset);
    ASSERT_GE(crossings.size(), 4U);
    ASSERT_EQ(movedCrossings.size(), crossings.size());
    for (std::size_t k = 0; k < crossings.size(); ++k)
        EXPECT_LT((crossings[k].crossing() + Point(1000.0, -5000.0)).distance(movedCrossings[k].crossing()), 1e-9);
}

TEST(StreetFinderBinding, ImageSharesTheCallersPels) {
    auto pels = std::make_shared<std::vector<unsigned char>>(wafer().pels(3));
    qvStreetFinder finder(finderParams(Defs::eCoarseRidgeWafer));
    finder.setImage(Image(pels->data(), wafer().width, wafer().height, wafer().width + 3, pels));
    EXPECT_EQ(qf_finderRecord(finder).image.pointToOffset(), pels->data());
    EXPECT_GT(pels.use_count(), 1);
    EXPECT_EQ(allNumbersFrom(finder), allNumbersOf(finderParams(Defs::eCoarseRidgeWafer), goodImage()));
    finder.setImage(goodImage());
    EXPECT_EQ(pels.use_count(), 1);
}

TEST(StreetFinderBinding, SearchesReadNoPel) {
    for (const Defs::waferType mode : {Defs::eEdgePairWafer, Defs::eCoarseRidgeWafer}) {
        OtherMemory memory = copiedTo(0, wafer().width);
        qvStreetFinder finder(finderParams(mode, Defs::eDarkOnLight));
        finder.setImage(memory.image);
        const Numbers before = allNumbersFrom(finder);
        std::fill(memory.bytes.begin(), memory.bytes.end(), std::uint8_t{0});
        EXPECT_EQ(allNumbersFrom(finder), before);
    }
}

TEST(StreetFinderBinding, CopyAnswersTheSameAndGoesItsOwnWay) {
    for (const Defs::waferType mode : allModes) {
        qvStreetFinder finder(finderParams(mode, Defs::eDarkOnLight, 7));
        finder.setImage(goodImage());
        const Numbers expected = allNumbersFrom(finder);
        const std::unique_ptr<qvStreetFinder> copy = Access::copy(finder);
        EXPECT_EQ(copy->runParams().maxResults(), 7);
        EXPECT_EQ(allNumbersFrom(*copy), expected);
        copy->setImage(oblongWafer(-3.0).image());
        EXPECT_NE(allNumbersFrom(*copy), expected);
        EXPECT_EQ(allNumbersFrom(finder), expected);
        finder.setImage(uniformImage(90, 50, 9));
        EXPECT_EQ(allNumbersFrom(*copy),
                  allNumbersOf(finderParams(mode, Defs::eDarkOnLight, 7), oblongWafer(-3.0).image()));
    }
}

TEST(StreetFinderBinding, CopyOutlivesItsOriginal) {
    auto finder = std::make_unique<qvStreetFinder>(finderParams(Defs::eCoarseRidgeWafer));
    finder->setImage(wafer().image());
    const Numbers expected = allNumbersFrom(*finder);
    const std::unique_ptr<qvStreetFinder> copy = Access::copy(*finder);
    finder.reset();
    EXPECT_EQ(allNumbersFrom(*copy), expected);
}

TEST(StreetFinderBinding, AssignmentReplacesParametersAndRecord) {
    qvStreetFinder source(finderParams(Defs::eCoarseRidgeWafer, Defs::eAnyPolarity, 3));
    source.setImage(goodImage());
    const Numbers expected = allNumbersFrom(source);
    qvStreetFinder target(finderParams(Defs::eRidgeWafer, Defs::eLightOnDark, 9));
    target.setImage(oblongWafer(-3.0).image());
    Access::assign(target, source);
    EXPECT_EQ(target.runParams().runMode(), Defs::eCoarseRidgeWafer);
    EXPECT_EQ(target.runParams().maxResults(), 3);
    EXPECT_EQ(allNumbersFrom(target), expected);
    EXPECT_NE(&qf_finderRecord(target), &qf_finderRecord(source));

    const qv_streetFinderImpl* const record = &qf_finderRecord(source);
    Access::assign(source, source);
    EXPECT_EQ(&qf_finderRecord(source), record);
    EXPECT_EQ(allNumbersFrom(source), expected);

    const qvStreetFinder unbound(finderParams(Defs::eRidgeWafer));
    Access::assign(target, unbound);
    EXPECT_THROW(streetsFrom(target), Defs::UnboundImage);
}

TEST(StreetFinderBinding, EveryFieldOfTheRecordIsCopied) {
    qvStreetFinder finder(finderParams(Defs::eCoarseRidgeWafer));
    finder.setImage(goodImage());
    qv_streetFinderImpl& record = Access::record(finder);
    record.imageOffset = qvPair<long>(5, 6);
    record.filterScale = 0.25;
    record.angleScoreRatio = 0.75;
    record.tolerances.nominalWidth = qvPair<double>(18.0, 30.0);
    record.spectrumParams.padWidth = 12;
    record.flags = 6;
    const qv_streetFinderImpl copy(record);
    EXPECT_TRUE(copy.imageBound);
    EXPECT_EQ(copy.angleParams.narrowSigma, 5.0);
    EXPECT_EQ(copy.ridgeParams.lineGroup.highThreshold, 80.0);
    EXPECT_EQ(copy.spectrumParams.padWidth, 12);
    EXPECT_TRUE(copy.spectrum.prepared);
    EXPECT_EQ(copy.spectrum.workImage.width(), 420);
    EXPECT_EQ(copy.angleScoreRatio, 0.75);
    EXPECT_EQ(copy.lines[0].size(), record.lines[0].size());
    EXPECT_EQ(copy.lines[1].size(), record.lines[1].size());
    EXPECT_EQ(copy.tolerances.nominalWidth, qvPair<double>(18.0, 30.0));
    EXPECT_EQ(copy.scoreWeights, record.scoreWeights);
    EXPECT_EQ(copy.angles, record.angles);
    EXPECT_EQ(copy.angleScores, record.angleScores);
    EXPECT_EQ(copy.streetAngles, record.streetAngles);
    EXPECT_EQ(copy.image.pointToOffset(), record.image.pointToOffset());
    EXPECT_EQ(copy.projectionAlong0.tile(0, 0).sums, record.projectionAlong0.tile(0, 0).sums);
    EXPECT_EQ(copy.projectionAlong1.tile(0, 0).cumSums, record.projectionAlong1.tile(0, 0).cumSums);
    EXPECT_EQ(copy.imageDeviation, record.imageDeviation);
    EXPECT_EQ(copy.filterScale, 0.25);
    EXPECT_EQ(copy.imageSize, qvPair<long>(420, 300));
    EXPECT_EQ(copy.imageOffset, qvPair<long>(5, 6));
    EXPECT_EQ(copy.clientFromImage, record.clientFromImage);
    EXPECT_EQ(copy.trace, nullptr);
    EXPECT_EQ(copy.flags, 6U);
}

TEST(StreetFinderBinding, CopyTracesIntoTheSameFileThroughAStreamOfItsOwn) {
    const std::filesystem::path file =
        std::filesystem::temp_directory_path() / ("qvstreet_binding_" + std::to_string(getpid()) + ".trace");
    const std::string name = file.string();
    {
        qvStreetFinder finder(finderParams(Defs::eCoarseRidgeWafer));
        qv_streetFinderImpl& record = Access::record(finder);
        record.trace = std::make_unique<qv_streetTrace>();
        record.trace->enabled = true;
        record.trace->narrowName.assign(name.begin(), name.end());
        record.trace->stream.open(name);
        const std::unique_ptr<qvStreetFinder> copy = Access::copy(finder);
        const qv_streetFinderImpl& copied = Access::record(*copy);
        ASSERT_NE(copied.trace, nullptr);
        EXPECT_NE(copied.trace, record.trace);
        EXPECT_TRUE(copied.trace->enabled);
        EXPECT_EQ(copied.trace->narrowName, record.trace->narrowName);
        EXPECT_FALSE(copied.trace->stream.is_open());
        EXPECT_TRUE(record.trace->stream.is_open());

        qvStreetFinder off(finderParams(Defs::eCoarseRidgeWafer));
        Access::assign(*copy, off);
        EXPECT_EQ(Access::record(*copy).trace, nullptr);
    }
    EXPECT_TRUE(std::filesystem::remove(file));
}

TEST(StreetFinderBinding, LineExtractionOpensTheTraceAndClosesIt) {
    const std::filesystem::path file =
        std::filesystem::temp_directory_path() / ("qvstreet_extraction_" + std::to_string(getpid()) + ".trace");
    const std::string name = file.string();
    qvStreetFinder finder(finderParams(Defs::eCoarseRidgeWafer));
    qv_streetFinderImpl& record = Access::record(finder);
    record.trace = std::make_unique<qv_streetTrace>();
    record.trace->enabled = true;
    record.trace->narrowName.assign(name.begin(), name.end());
    EXPECT_THROW(finder.setImage(lateFailure()), qvMatrixErr::Singular);
    EXPECT_FALSE(std::filesystem::exists(file));
    finder.setImage(goodImage());
    EXPECT_TRUE(std::filesystem::exists(file));
    EXPECT_FALSE(record.trace->stream.is_open());
    EXPECT_TRUE(std::filesystem::remove(file));
}
