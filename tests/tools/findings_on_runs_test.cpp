// The verdict is read from texts and columns that the stages record. Here real runs record them: a heading that is
// called otherwise some day would silence a reason, and these tests notice.
#include "tests/streetfinder/painted_wafer.h"
#include "tools/finder_run.h"
#include "tools/inspection.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

using qvtest::oblongWafer;
using qvtest::PaintedWafer;
using qvtool::CommandOptions;
using qvtool::findingsOf;
using qvtool::GreyImage;
using qvtool::ImageReport;
using qvtool::Inspection;
using qvtool::Mode;
using qvtool::Polarity;

namespace {

GreyImage greyImage(const PaintedWafer& wafer) {
    GreyImage image;
    image.width = wafer.width;
    image.height = wafer.height;
    image.pels = wafer.pels();
    return image;
}

GreyImage uniform(long width, long height) {
    GreyImage image;
    image.width = width;
    image.height = height;
    image.pels.assign(static_cast<std::size_t>(width * height), 90);
    return image;
}

/// Widths 18 in x and 30 in y, those of the painted streets, each allowed from half to one and a half times.
CommandOptions optionsOf(Mode mode, Polarity polarity = Polarity::any, double scale = 1.0) {
    CommandOptions options;
    options.mode = mode;
    options.polarity = polarity;
    options.widthX = 18.0 * scale;
    options.widthY = 30.0 * scale;
    options.rangeX = {0.5 * options.widthX, 1.5 * options.widthX};
    options.rangeY = {0.5 * options.widthY, 1.5 * options.widthY};
    return options;
}

class FindingsOnRuns : public testing::Test {
 protected:
    void run(const CommandOptions& options, const GreyImage& scene) {
        image_ = scene;
        ImageReport report;
        runInspection(options, image_, report, inspection);
        verdict = verdictOf(inspection);
        remarks.clear();
        for (const std::string& remark : remarksOf(options, inspection)) remarks += "[" + remark + "]";
    }

    /// The finding that begins like this, without that beginning.
    std::string finding(const std::string& beginning) const {
        for (const std::string& line : findingsOf(inspection.records)) {
            if (line.rfind(beginning, 0) == 0) return line.substr(beginning.size());
        }
        return "no such finding";
    }

    bool verdictSays(const std::string& part) const { return verdict.find(part) != std::string::npos; }

    Inspection inspection;
    std::string verdict;
    std::string remarks;

 private:
    GreyImage image_;
};

}  // namespace

TEST_F(FindingsOnRuns, AUniformImageHasNoLineInEitherDirection) {
    for (const Mode mode : {Mode::edge, Mode::ridge, Mode::coarse}) {
        inspection = Inspection();
        run(optionsOf(mode), uniform(300, 200));
        EXPECT_EQ(verdict,
                  "No crossing found, 0 single streets. No line was found in either direction: the image shows none, "
                  "since the angle profile has no peak that reaches its threshold.");
        EXPECT_EQ(finding("Street directions: "),
                  "No angle: the axes of the image stand in; flat at 0 degrees, upright at 90 degrees; 0 of 0 "
                  "angles are strong enough");
    }
}

TEST_F(FindingsOnRuns, StreetsThatAreTooWideAreNoPairsOfEdges) {
    run(optionsOf(Mode::edge, Polarity::any, 0.25), greyImage(oblongWafer(2.0)));
    EXPECT_EQ(verdict,
              "No crossing found, 0 single streets. No two lines of direction 0 (flat) are as far apart as the two "
              "edges of a street; allowed widths are X 2.25 to 6.75, Y 3.75 to 11.25 client units.");
    // The filter is as wide as the sharpness of 5 there.
    EXPECT_EQ(remarks,
              "[In edge mode the two edges of a street narrower than about 12.5 client units run together, and --width "
              "is 7.5: try --mode ridge or coarse.]");
}

TEST_F(FindingsOnRuns, StreetsThatAreTooNarrowAreNoPairsOfEdges) {
    CommandOptions options = optionsOf(Mode::edge);
    options.widthX = options.widthY = 52.0;
    options.rangeX = options.rangeY = {50.0, 55.0};
    run(options, greyImage(oblongWafer(2.0)));
    EXPECT_TRUE(verdictSays("No two lines of direction ")) << verdict;
    EXPECT_TRUE(verdictSays("allowed widths are X 50 to 55, Y 50 to 55 client units.")) << verdict;
    EXPECT_EQ(remarks, "");
}

TEST_F(FindingsOnRuns, EdgesOfADrawnPictureThatEndAtTheSamePlacesAreRefusedForThat) {
    // Four streets each way on dies of one grey: every edge runs from border to border, to the same pel.
    PaintedWafer wafer;
    wafer.width = wafer.height = 1024;
    for (const double at : {128.0, 384.0, 640.0, 896.0}) {
        wafer.flat.push_back({qvVector<2>(512.0, at), 0.0, 28.0});
        wafer.upright.push_back({qvVector<2>(at, 512.0), 90.0, 28.0});
    }
    GreyImage image = greyImage(wafer);
    for (unsigned char& pel : image.pels) pel = pel < 100 ? 60 : 150;
    CommandOptions options = optionsOf(Mode::edge);
    options.widthX = options.widthY = 28.0;
    options.rangeX = {14.0, 41.0};
    options.rangeY = {14.0, 42.0};
    run(options, image);
    EXPECT_EQ(
        verdict,
        "No crossing found, 8 single streets. All pairs of lines of direction 1 (upright) that are as far apart as "
        "the two edges of a street were refused by the overlap test: 4 pairs; in 4 of them both edges end at exactly "
        "the same places, as in a drawn picture; a grey level of noise parts such ends.");

    // One grey level of noise.
    std::uint32_t noise = 1;
    for (unsigned char& pel : image.pels) {
        noise = noise * 1664525U + 1013904223U;
        pel = static_cast<unsigned char>(pel + (noise >> 31));
    }
    inspection = Inspection();
    run(options, image);
    EXPECT_EQ(verdict.rfind("16 crossings and ", 0), 0U) << verdict;
}

TEST_F(FindingsOnRuns, TheWrongPolarityOfEdgesIsNotTakenForAWrongWidth) {
    run(optionsOf(Mode::edge, Polarity::light), greyImage(oblongWafer(2.0)));
    EXPECT_TRUE(
        verdictSays("No pair of lines of direction 0 (flat) has the polarity that was asked for: as far apart "
                    "as the two edges of a street are "))
        << verdict;
    EXPECT_TRUE(verdictSays("; asked for were light ones.")) << verdict;
    inspection = Inspection();
    run(optionsOf(Mode::edge, Polarity::light, 0.25), greyImage(oblongWafer(2.0)));
    EXPECT_TRUE(verdictSays("No two lines of direction 0 (flat) are as far apart")) << verdict;
}

TEST_F(FindingsOnRuns, TheWrongPolarityOfLinesIsNamedWithTheirTrueOne) {
    for (const Mode mode : {Mode::ridge, Mode::coarse}) {
        inspection = Inspection();
        run(optionsOf(mode, Polarity::light), greyImage(oblongWafer(2.0)));
        EXPECT_EQ(verdict,
                  "No crossing found, 0 single streets. No line of direction 0 (flat) passed the polarity test; asked "
                  "for were light streets: lighter than both sides, but of 2 lines 2 are dark and 0 light.");
        EXPECT_EQ(finding("Polarity, direction 1 (upright): "),
                  "light streets: lighter than both sides; 0 of 3 lines pass");
    }
}

TEST_F(FindingsOnRuns, LinesThatAreAllTooShortAreNamedWithTheLongest) {
    // Two bars across the space between the flat streets, of 10 rows and of 20.
    PaintedWafer wafer = oblongWafer(0.0);
    wafer.upright.clear();
    GreyImage image = greyImage(wafer);
    const auto paint = [&](long left, long top, long bottom) {
        for (long row = top; row < bottom; ++row) {
            for (long column = left; column < left + 18; ++column) {
                image.pels[static_cast<std::size_t>(row * image.width + column)] = 60;
            }
        }
    };
    paint(100, 138, 148);
    paint(300, 135, 155);
    run(optionsOf(Mode::edge), image);
    const std::string before = "No line of direction 1 (upright) survived the length limit: the longest measures ";
    ASSERT_TRUE(verdictSays(before)) << verdict;
    // 3 of 20 parts of the width of 420.
    EXPECT_TRUE(verdictSays(" client units, and more than 63 are needed.")) << verdict;
    const double longest = std::stod(verdict.substr(verdict.find(before) + before.size()));
    EXPECT_GT(longest, 16.0);
    EXPECT_LT(longest, 63.0);
}

TEST_F(FindingsOnRuns, AGoodSceneIsCountedAndNeedsNoRemark) {
    for (const Mode mode : {Mode::ridge, Mode::coarse}) {
        inspection = Inspection();
        run(optionsOf(mode), greyImage(oblongWafer(2.0)));
        EXPECT_EQ(verdict, "6 crossings and 5 single streets found.");
        EXPECT_EQ(remarks, "");
        EXPECT_TRUE(hasCrossingInside(inspection));
        EXPECT_EQ(finding("Crossings: "), "2 lines of direction 0 and 3 of direction 1 cross in 6 places, 6 are kept");
    }
}

TEST_F(FindingsOnRuns, LinesBeyondTheProjectionAreSaidToBeLost) {
    // The third upright street stands 310 pels along an image of 300 rows.
    run(optionsOf(Mode::coarse, Polarity::dark), greyImage(oblongWafer(2.0)));
    EXPECT_EQ(verdict, "4 crossings and 4 single streets found.");
    EXPECT_EQ(
        remarks,
        "[1 line lies too far along the longer side of the image for its polarity to be measured, and is lost: try "
        "--polarity any, or a crop nearer to a square.]");
}

TEST_F(FindingsOnRuns, EdgeModeTellsTheWayFromLinesToCrosses) {
    run(optionsOf(Mode::edge, Polarity::dark), greyImage(oblongWafer(2.0)));
    EXPECT_FALSE(verdictSays("No crossing")) << verdict;
    EXPECT_EQ(finding("Edges to streets (flat and upright): ").rfind("lines ", 0), 0U);
    EXPECT_NE(finding("Crosses: "), "no such finding");
    EXPECT_NE(finding("Final selection: ").find(" crosses are kept"), std::string::npos);
}

TEST_F(FindingsOnRuns, AsManyAsWereLetThroughMayNotBeAll) {
    CommandOptions options = optionsOf(Mode::coarse);
    options.maxResults = 4;
    run(options, greyImage(oblongWafer(2.0)));
    EXPECT_EQ(remarks, "[There are as many crossings as --max allows, so there may be more.]");
}

TEST_F(FindingsOnRuns, DirectionsThatAreNotSquareToEachOtherAreSaid) {
    PaintedWafer wafer = oblongWafer(0.0);
    for (qvtest::PaintedStreet& street : wafer.flat) street.angleDegrees = 50.0;
    run(optionsOf(Mode::coarse), greyImage(wafer));
    EXPECT_EQ(remarks.rfind("[The two directions are only 39.7 degrees apart", 0), 0U) << remarks;
    EXPECT_NE(remarks.find(" of 9 crossings lie outside the image."), std::string::npos) << remarks;
}
