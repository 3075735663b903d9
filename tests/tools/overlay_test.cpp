#include "tools/overlay.h"

#include "tests/tools/image_encoders.h"
#include "tools/image_file.h"
#include "tools/sketch_svg.h"
#include "tools/stroke_font.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>

using namespace qvtool;

namespace {

const std::array<double, 6> kIdentity = {1, 0, 0, 1, 0, 0};

/// A report of one crossing of lines at (200, 100) with its score, as the finder's run leaves it.
ImageReport crossingReport(long width, long height, const qvVector<2>& at = {200, 100}) {
    ImageReport report;
    report.image = "a<b>&\"c\".png";
    report.mode = Mode::coarse;
    report.width = width;
    report.height = height;
    report.crossings.emplace(1);
    qvUITablet tablet;
    tablet.drawLineSeg({200, 0}, {200, 300}, qvColor::greenColor, qvUITablet::eOverlayLayer);
    tablet.drawPointIcon(at, qvColor::redColor, qvUITablet::eOverlayLayer);
    tablet.drawText(at, L"0.82", qvColor::yellowColor, qvUITablet::eLabelLayer);
    report.drawing.layers.push_back({"crossings", tablet.sketch(), qvDisplay::eClientCoordinates});
    report.drawing.legend.push_back({{qvShape::ePointIcon}, qvColor::redColor, "1 crossing, with score"});
    return report;
}

template <typename T>
std::vector<T> marksOfKind(const Overlay& overlay, long width, long height) {
    std::vector<T> found;
    for (const MarkedSketch& sketch : overlayMarks(overlay, width, height)) {
        for (const MarkedLayer& layer : sketch.layers) {
            for (const Mark& mark : layer.marks) {
                if (const T* one = std::get_if<T>(&mark)) found.push_back(*one);
            }
        }
    }
    return found;
}

template <typename T>
std::vector<T> marksOfKind(const ImageReport& report) {
    return marksOfKind<T>(layOutOverlay(report, kIdentity), report.width, report.height);
}

bool hasText(const ImageReport& report, const std::string& text) {
    const auto texts = marksOfKind<TextMark>(report);
    return std::any_of(texts.begin(), texts.end(), [&](const TextMark& mark) { return mark.text == text; });
}

/// An overlay of what is drawn in pels of the image, without a legend.
Overlay overlayOf(const qvUITablet& tablet) {
    Overlay overlay;
    overlay.layers.push_back({"test", tablet.sketch(), qvDisplay::eImageCoordinates});
    return overlay;
}

GreyImage uniform(long width, long height, unsigned char grey) {
    GreyImage image;
    image.width = width;
    image.height = height;
    image.pels.assign(static_cast<std::size_t>(width * height), grey);
    return image;
}

ByteSink into(std::vector<unsigned char>& bytes) {
    return [&bytes](const unsigned char* data, std::size_t size) { bytes.insert(bytes.end(), data, data + size); };
}

std::vector<unsigned char> pngOf(const GreyImage& image, const Overlay& overlay) {
    std::vector<unsigned char> bytes;
    writeOverlayPng(into(bytes), image, overlay);
    return bytes;
}

std::string svgOf(const GreyImage& image, const Overlay& overlay) {
    std::vector<unsigned char> bytes;
    writeOverlaySvg(into(bytes), image, overlay);
    return {bytes.begin(), bytes.end()};
}

unsigned char pelOf(const GreyImage& image, long x, long y) {
    return image.pels.at(static_cast<std::size_t>(y * image.width + x));
}

std::size_t countOf(const std::string& text, const std::string& word) {
    std::size_t count = 0;
    for (std::size_t at = text.find(word); at != std::string::npos; at = text.find(word, at + 1)) ++count;
    return count;
}

/// Whether every opened element is closed in order. Enough for a document without comments and entities in its markup.
bool isBalanced(const std::string& xml) {
    std::vector<std::string> open;
    for (std::size_t at = xml.find('<'); at != std::string::npos; at = xml.find('<', at + 1)) {
        const std::size_t end = xml.find('>', at);
        if (end == std::string::npos) return false;
        const std::string tag = xml.substr(at + 1, end - at - 1);
        if (tag[0] == '?') continue;
        if (tag[0] == '/') {
            if (open.empty() || open.back() != tag.substr(1)) return false;
            open.pop_back();
        } else if (tag.back() != '/') {
            open.push_back(tag.substr(0, tag.find(' ')));
        }
    }
    return open.empty();
}

}  // namespace

TEST(Overlay, ShowsTheReportsDrawingUnderALegend) {
    const ImageReport report = crossingReport(800, 600);
    EXPECT_EQ(marksOfKind<RingMark>(report).at(0).centre.x, 200);
    EXPECT_TRUE(hasText(report, "0.82"));
    EXPECT_TRUE(hasText(report, "1 crossing, with score"));
    EXPECT_TRUE(hasText(report, "qvstreet find, mode coarse"));
    const auto sketches = overlayMarks(layOutOverlay(report, kIdentity), 800, 600);
    ASSERT_EQ(sketches.size(), 2U);
    EXPECT_EQ(sketches[0].name, "crossings");
    EXPECT_EQ(sketches[1].name, "legend");
}

TEST(Overlay, BlankRegionsHaveNoMode) {
    ImageReport report;
    report.subcommand = Subcommand::blank;
    report.width = 1000;
    report.height = 600;
    report.blankRegions.emplace({BlankRegion{30, 10, 200, 48, 0.75, 1.0}});
    EXPECT_TRUE(hasText(report, "qvstreet blank"));
    EXPECT_TRUE(hasText(report, "1 blank region, with score"));
}

TEST(Overlay, AScoreStandsInTheMiddleOfItsBlankRegion) {
    ImageReport report;
    report.subcommand = Subcommand::blank;
    report.width = 1600;
    report.height = 400;
    report.blankRegions.emplace({BlankRegion{300, 100, 200, 48, 0.75, 1.0}});
    const TextMark score = marksOfKind<TextMark>(report).at(0);
    EXPECT_EQ(score.text, "0.75");
    EXPECT_NEAR(score.baseline.x + 0.5 * textWidth(score.text, score.size), 400, 1e-9);
    EXPECT_NEAR(score.baseline.y - 0.36 * score.size, 124, 1e-9);
}

TEST(Overlay, AnglesAreDrawnFromTheReport) {
    ImageReport report;
    report.subcommand = Subcommand::angles;
    report.width = 800;
    report.height = 600;
    const std::vector<ScoredAngle> angles = {{45.0, 10.0}};
    report.angles = angles;
    EXPECT_TRUE(hasText(report, "45.0"));
    EXPECT_TRUE(hasText(report, "best two angles, degrees"));
}

TEST(Overlay, ClientResultsAreDrawnInTheImageFrame) {
    // client = [2 0; 0.5 -4] * image + (100, 50): image (30, 20) is client (160, -15).
    const ImageReport report = crossingReport(800, 600, {160, -15});
    const Overlay overlay = layOutOverlay(report, {2, 0, 0.5, -4, 100, 50});
    EXPECT_DOUBLE_EQ(marksOfKind<RingMark>(overlay, 800, 600).at(0).centre.x, 30);
    EXPECT_DOUBLE_EQ(marksOfKind<RingMark>(overlay, 800, 600).at(0).centre.y, 20);
}

TEST(Overlay, TheLegendAvoidsResultsAndIsLeftOutOfSmallImages) {
    const PanelMark usual = marksOfKind<PanelMark>(crossingReport(1000, 1000)).at(0);
    EXPECT_LT(usual.upperLeft.x, 500);
    EXPECT_GT(usual.upperLeft.y, 500);
    const PanelMark moved = marksOfKind<PanelMark>(crossingReport(1000, 1000, {20, 980})).at(0);
    EXPECT_GT(moved.upperLeft.x, 500);
    EXPECT_TRUE(marksOfKind<PanelMark>(crossingReport(100, 100)).empty());
    EXPECT_TRUE(marksOfKind<PanelMark>(crossingReport(40000, 3)).empty());
}

TEST(Overlay, ALargeLegendHidesNoResult) {
    const auto withRows = [](long width, long height) {
        ImageReport report = crossingReport(width, height);
        for (int i = 0; i < 3; ++i) report.drawing.legend.push_back({{qvShape::eCross}, qvColor::blueColor, "more"});
        return report;
    };
    const auto crowded = [&](long width, long height) {
        ImageReport report = withRows(width, height);
        qvUITablet tablet;
        for (const long x : {20L, width - 20}) {
            for (const long y : {20L, height - 20}) {
                tablet.drawPointIcon({static_cast<double>(x), static_cast<double>(y)}, qvColor::redColor, 0);
            }
        }
        report.drawing.layers[0].sketch = tablet.sketch();
        return report;
    };
    EXPECT_TRUE(marksOfKind<PanelMark>(crowded(320, 240)).empty());
    EXPECT_EQ(marksOfKind<PanelMark>(crowded(1000, 1000)).size(), 1U);
    EXPECT_EQ(marksOfKind<PanelMark>(withRows(320, 240)).size(), 1U);
}

TEST(Overlay, WithoutLegendRowsThereIsNoLegend) {
    ImageReport report = crossingReport(1000, 1000);
    report.drawing.legend.clear();
    EXPECT_TRUE(marksOfKind<PanelMark>(report).empty());
}

TEST(Overlay, ALegendRowShowsItsSigns) {
    ImageReport report = crossingReport(1000, 1000);
    report.drawing.legend = {{{qvShape::eLineSeg, qvShape::eCircle}, qvColor::yellowColor, "arms"},
                             {{qvShape::eRect}, qvColor::greenColor, "frames"},
                             {{qvShape::eCross}, qvColor::blueColor, "corners"}};
    const auto sketches = overlayMarks(layOutOverlay(report, kIdentity), 1000, 1000);
    const auto& legend = sketches.at(1).layers.at(0).marks;
    const auto panel = std::get<PanelMark>(legend.at(0));
    const auto line = std::get<PathMark>(legend.at(2));
    const auto ring = std::get<RingMark>(legend.at(3));
    EXPECT_EQ(line.points.at(1).x, ring.centre.x);
    EXPECT_EQ(std::get<TextMark>(legend.at(4)).text, "arms");
    EXPECT_EQ(std::get<PathMark>(legend.at(5)).form, PathMark::Form::outline);
    EXPECT_EQ(std::get<PathMark>(legend.at(7)).points.size(), 4U);
    for (const Position& p : line.points) {
        EXPECT_GT(p.x, panel.upperLeft.x);
        EXPECT_LT(p.x, panel.upperLeft.x + panel.width);
    }
}

TEST(Overlay, SizesFollowTheImage) {
    const double small = marksOfKind<RingMark>(crossingReport(1000, 1000))[0].radius;
    const double large = marksOfKind<RingMark>(crossingReport(4000, 4000))[0].radius;
    EXPECT_DOUBLE_EQ(large, 4.0 * small);
    EXPECT_DOUBLE_EQ(displayScale(1000, 1000), 1.0);
    EXPECT_DOUBLE_EQ(displayScale(256, 256), 0.6);
    // A strip counts by four times its short side.
    EXPECT_DOUBLE_EQ(displayScale(8000, 200), 0.8);
    EXPECT_DOUBLE_EQ(displayScale(40000, 40000), 12.0);
}

TEST(Overlay, PositionsThatAreNotFiniteAreLeftOut) {
    const ImageReport report = crossingReport(800, 600, {std::numeric_limits<double>::quiet_NaN(), 5});
    EXPECT_FALSE(hasText(report, "0.82"));
    const auto bytes = pngOf(uniform(800, 600, 90), layOutOverlay(report, kIdentity));
    EXPECT_EQ(decodeImage({bytes.data(), bytes.size()}).width, 800);
}

TEST(OverlayPng, HasTheImagesSizeAndItsPelsWhereNothingIsDrawn) {
    const GreyImage image = uniform(801, 599, 77);
    const auto bytes = pngOf(image, layOutOverlay(crossingReport(801, 599), kIdentity));
    const GreyImage read = decodeImage({bytes.data(), bytes.size()});
    EXPECT_EQ(read.width, 801);
    EXPECT_EQ(read.height, 599);
    EXPECT_EQ(pelOf(read, 600, 400), 77);
    EXPECT_NE(pelOf(read, 200, 290), 77);
    EXPECT_TRUE(qvtest::hasNote(read, "colour"));
}

TEST(OverlayPng, ALineCoversThePelsOfItsWidthAndItsRimIsDark) {
    // In an image of 1000 by 1000 lines are 2 pels wide with a rim of 1.1: rows 100 and 101 white, rows 99 and 102 dark.
    qvUITablet tablet;
    tablet.drawLineSeg({-5, 101}, {1005, 101}, qvColor(255), 0);
    const auto bytes = pngOf(uniform(1000, 1000, 200), overlayOf(tablet));
    const GreyImage read = decodeImage({bytes.data(), bytes.size()});
    EXPECT_EQ(pelOf(read, 500, 100), 255);
    EXPECT_EQ(pelOf(read, 500, 101), 255);
    EXPECT_EQ(pelOf(read, 500, 99), 80);
    EXPECT_EQ(pelOf(read, 500, 102), 80);
    EXPECT_EQ(pelOf(read, 500, 97), 200);
    EXPECT_EQ(pelOf(read, 500, 104), 200);
}

TEST(OverlayPng, HalfCoveredPelsAreBlended) {
    // From y 100.5 to 102.5.
    qvUITablet tablet;
    tablet.drawLineSeg({-5, 101.5}, {1005, 101.5}, qvColor(255), 0);
    const auto bytes = pngOf(uniform(1000, 1000, 0), overlayOf(tablet));
    const GreyImage read = decodeImage({bytes.data(), bytes.size()});
    EXPECT_EQ(pelOf(read, 500, 99), 0);
    EXPECT_EQ(pelOf(read, 500, 100), 128);
    EXPECT_EQ(pelOf(read, 500, 101), 255);
    EXPECT_EQ(pelOf(read, 500, 102), 128);
}

TEST(OverlayPng, ARectangleIsItsOutline) {
    qvUITablet tablet;
    tablet.draw(qvRect(qvVector<2>(100, 200), qvVector<2>(300, 50)), qvColor(255), 0);
    const auto bytes = pngOf(uniform(1000, 1000, 0), overlayOf(tablet));
    const GreyImage read = decodeImage({bytes.data(), bytes.size()});
    for (const auto& [x, y] :
         {std::pair(250L, 199L), std::pair(250L, 200L), std::pair(250L, 249L), std::pair(250L, 250L),
          std::pair(99L, 220L), std::pair(100L, 220L), std::pair(399L, 220L), std::pair(400L, 220L)}) {
        EXPECT_EQ(pelOf(read, x, y), 255) << x << " " << y;
    }
    for (const auto& [x, y] :
         {std::pair(250L, 198L), std::pair(250L, 225L), std::pair(250L, 251L), std::pair(401L, 220L)}) {
        EXPECT_EQ(pelOf(read, x, y), 0) << x << " " << y;
    }
}

TEST(OverlayPng, AFilledRectangleLetsTheImageThrough) {
    qvGraphicList list;
    list.append(qvPtrHandle<qvGraphic>(new qvGraphicWithFill<qvRect, qvGenRect>(
                    qvRect(qvVector<2>(100, 200), qvVector<2>(300, 50)), qvColor(255), true)),
                false);
    Overlay overlay;
    overlay.layers.push_back({"test", list.sketch(0), qvDisplay::eImageCoordinates});
    const auto bytes = pngOf(uniform(1000, 1000, 100), overlay);
    const GreyImage read = decodeImage({bytes.data(), bytes.size()});
    // 100 + 0.35 * 155
    EXPECT_EQ(pelOf(read, 250, 225), 154);
    EXPECT_EQ(pelOf(read, 250, 190), 100);
    EXPECT_EQ(pelOf(read, 450, 225), 100);
}

TEST(OverlayPng, ALargeRingIsDrawnAtItsRadiusAndNowhereElse) {
    qvUITablet tablet;
    tablet.drawCircle({500, 1500}, 1300.0, qvColor(255), 0, false);
    const auto bytes = pngOf(uniform(1000, 1000, 0), overlayOf(tablet));
    const GreyImage read = decodeImage({bytes.data(), bytes.size()});
    for (long y = 0; y < 1000; y += 3) {
        for (long x = 0; x < 1000; x += 7) {
            const double off =
                std::abs(std::hypot(static_cast<double>(x) + 0.5 - 500, static_cast<double>(y) + 0.5 - 1500) - 1300);
            if (off < 0.5) {
                EXPECT_EQ(pelOf(read, x, y), 255) << x << " " << y;
            } else if (off > 1.5) {
                EXPECT_EQ(pelOf(read, x, y), 0) << x << " " << y;
            }
        }
    }
}

TEST(OverlayPng, ARimDoesNotCutAnotherLine) {
    qvUITablet tablet;
    tablet.drawLineSeg({0, 500}, {1000, 500}, qvColor(255), 0);
    tablet.drawLineSeg({500, 0}, {500, 1000}, qvColor(255), 0);
    const auto bytes = pngOf(uniform(1000, 1000, 0), overlayOf(tablet));
    const GreyImage read = decodeImage({bytes.data(), bytes.size()});
    for (long x = 400; x < 600; ++x) EXPECT_EQ(pelOf(read, x, 500), 255) << x;
}

TEST(OverlayPng, ShapesThatCrossBandsAreSeamless) {
    // A slanted line over 300 rows looks alike on every row but for its shift of one pel in two rows.
    qvUITablet tablet;
    tablet.drawLineSeg({20, -10}, {180, 310}, qvColor(255), 0);
    const auto bytes = pngOf(uniform(200, 300, 50), overlayOf(tablet));
    const GreyImage read = decodeImage({bytes.data(), bytes.size()});
    for (long y = 2; y < 300; ++y) {
        for (long x = 1; x < 200; ++x) EXPECT_EQ(pelOf(read, x, y), pelOf(read, x - 1, y - 2)) << x << " " << y;
    }
}

TEST(OverlayPng, TextsThatCrossBandsAreWhole) {
    // Bands are 64 rows: the same text at rows 100 and 128 gives the same pels.
    const auto inked = [](double y) {
        qvUITablet tablet;
        tablet.drawText({400, y}, L"8", qvColor(255), 1);
        const auto bytes = pngOf(uniform(1000, 1000, 0), overlayOf(tablet));
        const GreyImage read = decodeImage({bytes.data(), bytes.size()});
        return std::count(read.pels.begin(), read.pels.end(), 255);
    };
    EXPECT_EQ(inked(100), inked(140));
    EXPECT_GT(inked(140), 20);
}

TEST(OverlayPng, ShapesFarOutsideAreHarmless) {
    qvUITablet tablet;
    tablet.drawLineSeg({-1e300, -1e300}, {1e300, 1e300}, qvColor::redColor, 0);
    tablet.drawLineSeg({-1e11, -1e11}, {1e11, 1e11}, qvColor::redColor, 0);
    tablet.drawCircle({1e12, -1e12}, 5.0, qvColor::redColor, 0, true);
    tablet.drawCircle({0, 0}, 9e5, qvColor::redColor, 0, false);
    tablet.draw(qvRect(qvVector<2>(-1e9, -1e9), qvVector<2>(2e9, 2e9)), qvColor::redColor, 0);
    tablet.drawText({-1e5, 5}, L"12", qvColor::redColor, 0);
    const auto bytes = pngOf(uniform(40, 30, 0), overlayOf(tablet));
    const GreyImage read = decodeImage({bytes.data(), bytes.size()});
    EXPECT_NE(pelOf(read, 15, 15), 0);
    EXPECT_EQ(pelOf(read, 35, 3), 0);
}

TEST(OverlaySvg, IsWellFormedAndEscapesTheTitle) {
    const std::string svg = svgOf(uniform(800, 600, 90), layOutOverlay(crossingReport(800, 600), kIdentity));
    EXPECT_TRUE(isBalanced(svg));
    EXPECT_NE(svg.find("<title>a&lt;b&gt;&amp;&quot;c&quot;.png</title>"), std::string::npos);
    EXPECT_NE(svg.find("viewBox=\"0 0 800 600\""), std::string::npos);
    EXPECT_EQ(countOf(svg, "<image "), 1U);
}

TEST(OverlaySvg, EachDisplayListIsANamedGroup) {
    Overlay overlay = layOutOverlay(crossingReport(800, 600), kIdentity);
    overlay.layers[0].name = "a<b";
    const std::string svg = svgOf(uniform(800, 600, 90), overlay);
    EXPECT_EQ(countOf(svg, "data-name=\"a&lt;b\""), 1U);
    EXPECT_EQ(countOf(svg, "data-name=\"legend\""), 1U);
    EXPECT_LT(svg.find("data-name=\"a&lt;b\""), svg.find("data-name=\"legend\""));
}

TEST(OverlaySvg, EmbedsTheImageAsAPngInBase64) {
    GreyImage image = uniform(5, 3, 9);
    image.pels[7] = 200;
    const std::string svg = svgOf(image, Overlay());
    const std::string mark = "base64,";
    const std::size_t start = svg.find(mark) + mark.size();
    const std::string text = svg.substr(start, svg.find('"', start) - start);
    ASSERT_EQ(text.size() % 4, 0U);
    const std::string alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::vector<unsigned char> bytes;
    for (std::size_t i = 0; i < text.size(); i += 4) {
        std::uint32_t group = 0;
        for (std::size_t k = 0; k < 4; ++k) {
            const std::size_t digit = alphabet.find(text[i + k]);
            group = group << 6 | static_cast<std::uint32_t>(text[i + k] == '=' ? 0 : digit);
        }
        for (unsigned shift : {16U, 8U, 0U}) bytes.push_back(static_cast<unsigned char>(group >> shift & 255U));
    }
    EXPECT_EQ(decodeImage({bytes.data(), bytes.size()}).pels, image.pels);
}

TEST(StrokeFont, EveryLetterOfTheLegendHasStrokes) {
    for (const char letter : std::string("0123456789.,:-+=()/abcdefghijklmnopqrstuvwxyz")) {
        EXPECT_FALSE(textStrokes(std::string(1, letter), {0, 0}, 10.0).empty()) << letter;
    }
    EXPECT_TRUE(textStrokes(" ", {0, 0}, 10.0).empty());
}

TEST(StrokeFont, CapitalsLookLikeSmallLetters) {
    EXPECT_EQ(textStrokes("Q", {0, 0}, 10.0).size(), textStrokes("q", {0, 0}, 10.0).size());
    EXPECT_EQ(textWidth("SCORE", 10.0), textWidth("score", 10.0));
}

TEST(StrokeFont, DigitsStandOnTheBaselineAndAre072OfTheSizeHigh) {
    for (const char digit : std::string("0123456789")) {
        double top = 1e9;
        double bottom = -1e9;
        for (const Segment& stroke : textStrokes(std::string(1, digit), {3, 50}, 100.0)) {
            top = std::min({top, stroke.p1.y, stroke.p2.y});
            bottom = std::max({bottom, stroke.p1.y, stroke.p2.y});
        }
        EXPECT_DOUBLE_EQ(bottom, 50.0) << digit;
        EXPECT_NEAR(top, 50.0 - 72.0, 1e-9) << digit;
    }
}

TEST(StrokeFont, ATextIsAsWideAsItsStrokesReach) {
    double right = 0.0;
    for (const Segment& stroke : textStrokes("0.84", {0, 0}, 50.0)) right = std::max({right, stroke.p1.x, stroke.p2.x});
    EXPECT_NEAR(textWidth("0.84", 50.0), right, 1e-9);
    EXPECT_EQ(textWidth("", 50.0), 0.0);
}
