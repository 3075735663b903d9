#include "tools/overlay.h"

#include "tests/tools/image_encoders.h"
#include "tools/image_file.h"
#include "tools/stroke_font.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>

using namespace qvtool;

namespace {

const std::array<double, 6> kIdentity = {1, 0, 0, 1, 0, 0};

ImageReport crossingReport(long width, long height) {
    ImageReport report;
    report.image = "a<b>&\"c\".png";
    report.mode = Mode::coarse;
    report.width = width;
    report.height = height;
    Crossing crossing;
    crossing.centre = {200, 100};
    crossing.ul = crossing.ur = crossing.ll = crossing.lr = crossing.centre;
    crossing.score = 0.816;
    crossing.segments = {{{200, 0}, {200, 300}}, {{0, 100}, {400, 100}}};
    crossing.fromEdges = false;
    report.crossings.emplace({crossing});
    return report;
}

template <typename T>
std::vector<T> shapesOf(const Overlay& overlay) {
    std::vector<T> found;
    for (const Shape& shape : overlay.shapes) {
        if (const T* one = std::get_if<T>(&shape)) found.push_back(*one);
    }
    return found;
}

bool hasText(const Overlay& overlay, const std::string& text) {
    const auto texts = shapesOf<TextShape>(overlay);
    return std::any_of(texts.begin(), texts.end(), [&](const TextShape& shape) { return shape.text == text; });
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

TEST(Overlay, CrossingsHaveTheirStreetsARingAndTheirScore) {
    const Overlay overlay = layOutOverlay(crossingReport(800, 600), kIdentity);
    const auto rings = shapesOf<RingShape>(overlay);
    ASSERT_GE(rings.size(), 1U);
    EXPECT_EQ(rings[0].centre.x, 200);
    EXPECT_EQ(rings[0].centre.y, 100);
    EXPECT_EQ(rings[0].hint, "x 200, y 100, score 0.816");
    EXPECT_TRUE(hasText(overlay, "0.82"));
    EXPECT_TRUE(hasText(overlay, "1 crossing, with score"));
    EXPECT_TRUE(hasText(overlay, "qvstreet find, mode coarse"));
    EXPECT_FALSE(hasText(overlay, "corner"));
}

TEST(Overlay, ClientResultsAreDrawnInTheImageFrame) {
    // client = [2 0; 0.5 -4] * image + (100, 50): image (30, 20) is client (160, -15).
    ImageReport report = crossingReport(800, 600);
    report.crossings->front().centre = {160, -15};
    const Overlay overlay = layOutOverlay(report, {2, 0, 0.5, -4, 100, 50});
    EXPECT_DOUBLE_EQ(shapesOf<RingShape>(overlay)[0].centre.x, 30);
    EXPECT_DOUBLE_EQ(shapesOf<RingShape>(overlay)[0].centre.y, 20);
}

TEST(Overlay, ALineSharedByCrossingsIsDrawnOnce) {
    ImageReport report = crossingReport(800, 600);
    const std::size_t one = shapesOf<LineShape>(layOutOverlay(report, kIdentity)).size();
    report.crossings->push_back(report.crossings->front());
    EXPECT_EQ(shapesOf<LineShape>(layOutOverlay(report, kIdentity)).size(), one);
}

TEST(Overlay, CrossingsFromEdgesShowTheirCorners) {
    ImageReport report = crossingReport(800, 600);
    report.crossings->front().fromEdges = true;
    EXPECT_TRUE(hasText(layOutOverlay(report, kIdentity), "corner"));
}

TEST(Overlay, StreetsShowSegmentsAndScores) {
    ImageReport report;
    report.subcommand = Subcommand::streets;
    report.width = 800;
    report.height = 600;
    Street street;
    street.score = 0.5;
    street.segments = {{{0, 100}, {400, 100}}, {{0, 110}, {400, 110}}};
    report.streets.emplace({street, street});
    const Overlay overlay = layOutOverlay(report, kIdentity);
    EXPECT_TRUE(hasText(overlay, "0.50"));
    EXPECT_TRUE(hasText(overlay, "2 streets, with score"));
    const auto lines = shapesOf<LineShape>(overlay);
    EXPECT_EQ(lines.at(1).from.y, 110);
}

TEST(Overlay, BlankRegionsAreBoxesWithTheirScoresInTheMiddle) {
    ImageReport report;
    report.subcommand = Subcommand::blank;
    report.width = 800;
    report.height = 300;
    BlankRegion region;
    region.x = 100;
    region.y = 50;
    region.width = 400;
    region.height = 80;
    region.score = 0.816;
    region.blankness = 0.5;
    report.blankRegions.emplace({region});
    // Pels of the image, so a client transform plays no part.
    const Overlay overlay = layOutOverlay(report, {2, 0, 0, 3, 5, 7});
    const auto boxes = shapesOf<BoxShape>(overlay);
    ASSERT_EQ(boxes.size(), 1U);
    EXPECT_EQ(boxes[0].upperLeft.x, 100);
    EXPECT_EQ(boxes[0].upperLeft.y, 50);
    EXPECT_EQ(boxes[0].width, 400);
    EXPECT_EQ(boxes[0].height, 80);
    EXPECT_EQ(boxes[0].hint, "x 100, y 50, 400 by 80, score 0.816, blankness 0.5");
    const TextShape label = shapesOf<TextShape>(overlay).at(0);
    EXPECT_EQ(label.text, "0.82");
    EXPECT_NEAR(label.baseline.x + 0.5 * textWidth(label.text, label.size), 300, 1e-9);
    EXPECT_NEAR(label.baseline.y - 0.36 * label.size, 90, 1e-9);
    EXPECT_TRUE(hasText(overlay, "1 blank region, with score"));
    EXPECT_TRUE(hasText(overlay, "qvstreet blank"));
}

TEST(Overlay, TheScoreOfAStreetStandsNearItsUpperLeftEndWhicheverWayItRuns) {
    ImageReport report;
    report.subcommand = Subcommand::streets;
    report.width = 1000;
    report.height = 1000;
    Street street;
    street.segments = {{{1000, 400}, {0, 400}}};
    report.streets.emplace({street});
    const TextShape label = shapesOf<TextShape>(layOutOverlay(report, kIdentity)).at(0);
    EXPECT_GT(label.baseline.x, 50);
    EXPECT_LT(label.baseline.x, 150);
    EXPECT_LT(label.baseline.y, 400);
}

TEST(Overlay, AnglesRunThroughTheImageCentreAndMirroredFramesMirrorThem) {
    ImageReport report;
    report.subcommand = Subcommand::angles;
    report.width = 800;
    report.height = 600;
    const std::vector<ScoredAngle> angles = {{45.0, 10.0}};
    report.angles = angles;
    const LineShape plain = shapesOf<LineShape>(layOutOverlay(report, kIdentity)).at(0);
    EXPECT_NEAR(plain.from.x + plain.to.x, 800, 1e-9);
    EXPECT_NEAR(plain.from.y + plain.to.y, 600, 1e-9);
    EXPECT_NEAR((plain.to.y - plain.from.y) / (plain.to.x - plain.from.x), 1.0, 1e-12);
    const LineShape mirrored = shapesOf<LineShape>(layOutOverlay(report, {1, 0, 0, -1, 0, 0})).at(0);
    EXPECT_NEAR((mirrored.to.y - mirrored.from.y) / (mirrored.to.x - mirrored.from.x), -1.0, 1e-12);
    EXPECT_TRUE(hasText(layOutOverlay(report, kIdentity), "45.0"));
}

TEST(Overlay, OfManyAnglesTwelveAreDrawn) {
    ImageReport report;
    report.subcommand = Subcommand::angles;
    report.width = 1000;
    report.height = 1000;
    std::vector<ScoredAngle> angles;
    for (int i = 0; i < 40; ++i) angles.push_back({i * 4.0, 100.0 - i});
    report.angles = angles;
    const Overlay overlay = layOutOverlay(report, kIdentity);
    // Twelve directions and the two lines of the legend.
    EXPECT_EQ(shapesOf<LineShape>(overlay).size(), 14U);
    EXPECT_TRUE(hasText(overlay, "12 of 40 angles in all"));
}

TEST(Overlay, TheLegendAvoidsResultsAndIsLeftOutOfSmallImages) {
    ImageReport report = crossingReport(1000, 1000);
    const PanelShape usual = shapesOf<PanelShape>(layOutOverlay(report, kIdentity)).at(0);
    EXPECT_LT(usual.upperLeft.x, 500);
    EXPECT_GT(usual.upperLeft.y, 500);
    report.crossings->front().centre = {20, 980};
    const PanelShape moved = shapesOf<PanelShape>(layOutOverlay(report, kIdentity)).at(0);
    EXPECT_GT(moved.upperLeft.x, 500);
    EXPECT_TRUE(shapesOf<PanelShape>(layOutOverlay(crossingReport(100, 100), kIdentity)).empty());
    EXPECT_TRUE(shapesOf<PanelShape>(layOutOverlay(crossingReport(40000, 3), kIdentity)).empty());
}

TEST(Overlay, SizesFollowTheImage) {
    const double small = shapesOf<RingShape>(layOutOverlay(crossingReport(1000, 1000), kIdentity))[0].radius;
    const double large = shapesOf<RingShape>(layOutOverlay(crossingReport(4000, 4000), kIdentity))[0].radius;
    EXPECT_DOUBLE_EQ(large, 4.0 * small);
}

TEST(Overlay, LabelsStayInsideTheImage) {
    ImageReport report = crossingReport(1000, 1000);
    report.crossings->front().centre = {998, 2};
    const auto texts = shapesOf<TextShape>(layOutOverlay(report, kIdentity));
    const TextShape& label = texts.at(0);
    EXPECT_EQ(label.text, "0.82");
    EXPECT_LT(label.baseline.x + textWidth(label.text, label.size), 1000);
    EXPECT_GT(label.baseline.y - 0.72 * label.size, 0);
}

TEST(Overlay, PositionsThatAreNotFiniteAreLeftOut) {
    ImageReport report = crossingReport(800, 600);
    report.crossings->front().centre = {std::numeric_limits<double>::quiet_NaN(), 5};
    report.crossings->front().segments = {{{0, std::numeric_limits<double>::infinity()}, {1, 1}}};
    const Overlay overlay = layOutOverlay(report, kIdentity);
    EXPECT_FALSE(hasText(overlay, "0.82"));
    EXPECT_EQ(
        decodeImage({pngOf(uniform(800, 600, 90), overlay).data(), pngOf(uniform(800, 600, 90), overlay).size()}).width,
        800);
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

TEST(OverlayPng, ALineCoversThePelsThatItsWidthSays) {
    // From y 10 to y 13 over the whole width, in pure white without a rim: rows 10, 11 and 12 and no other.
    Overlay overlay;
    overlay.halo = 0.0;
    overlay.shapes.emplace_back(LineShape{{-5, 11.5}, {45, 11.5}, 3.0, {255, 255, 255}});
    const auto bytes = pngOf(uniform(40, 30, 0), overlay);
    const GreyImage read = decodeImage({bytes.data(), bytes.size()});
    EXPECT_EQ(pelOf(read, 20, 9), 0);
    EXPECT_EQ(pelOf(read, 20, 10), 255);
    EXPECT_EQ(pelOf(read, 20, 12), 255);
    EXPECT_EQ(pelOf(read, 20, 13), 0);
}

TEST(OverlayPng, ABoxIsItsOutline) {
    // From (5, 4) to (25, 14), sides two pels wide.
    Overlay overlay;
    overlay.halo = 0.0;
    overlay.shapes.emplace_back(BoxShape{{5, 4}, 20, 10, 2.0, {255, 255, 255}, ""});
    const auto bytes = pngOf(uniform(40, 30, 0), overlay);
    const GreyImage read = decodeImage({bytes.data(), bytes.size()});
    for (const auto& [x, y] : {std::pair(15L, 3L), std::pair(15L, 4L), std::pair(15L, 13L), std::pair(15L, 14L),
                               std::pair(4L, 9L), std::pair(5L, 9L), std::pair(24L, 9L), std::pair(25L, 9L)}) {
        EXPECT_EQ(pelOf(read, x, y), 255) << x << " " << y;
    }
    for (const auto& [x, y] :
         {std::pair(15L, 2L), std::pair(15L, 5L), std::pair(15L, 15L), std::pair(6L, 9L), std::pair(26L, 9L)}) {
        EXPECT_EQ(pelOf(read, x, y), 0) << x << " " << y;
    }
}

TEST(OverlayPng, HalfCoveredPelsAreBlended) {
    Overlay overlay;
    overlay.halo = 0.0;
    overlay.shapes.emplace_back(LineShape{{-5, 12}, {45, 12}, 3.0, {255, 255, 255}});
    const auto bytes = pngOf(uniform(40, 30, 0), overlay);
    const GreyImage read = decodeImage({bytes.data(), bytes.size()});
    EXPECT_EQ(pelOf(read, 20, 9), 0);
    EXPECT_EQ(pelOf(read, 20, 10), 128);
    EXPECT_EQ(pelOf(read, 20, 11), 255);
    EXPECT_EQ(pelOf(read, 20, 13), 128);
}

TEST(OverlayPng, ShapesThatCrossBandsAreSeamless) {
    // A slanted line over 300 rows looks alike on every row but for its shift of one pel in two rows.
    Overlay overlay;
    overlay.halo = 1.0;
    overlay.shapes.emplace_back(LineShape{{20, -10}, {180, 310}, 4.0, {255, 255, 255}});
    const auto bytes = pngOf(uniform(200, 300, 50), overlay);
    const GreyImage read = decodeImage({bytes.data(), bytes.size()});
    for (long y = 2; y < 300; ++y) {
        for (long x = 1; x < 200; ++x) EXPECT_EQ(pelOf(read, x, y), pelOf(read, x - 1, y - 2)) << x << " " << y;
    }
}

TEST(OverlayPng, ShapesFarOutsideAreHarmless) {
    Overlay overlay;
    overlay.shapes.emplace_back(LineShape{{-1e300, -1e300}, {1e300, 1e300}, 2.0, {255, 0, 0}});
    overlay.shapes.emplace_back(RingShape{{1e12, -1e12}, 5.0, 1.0, {255, 0, 0}, ""});
    overlay.shapes.emplace_back(TextShape{{-1e9, 5}, 12.0, "12", {255, 0, 0}});
    EXPECT_FALSE(pngOf(uniform(40, 30, 0), overlay).empty());
}

TEST(OverlaySvg, IsWellFormedAndEscapesTheTitle) {
    const std::string svg = svgOf(uniform(800, 600, 90), layOutOverlay(crossingReport(800, 600), kIdentity));
    EXPECT_TRUE(isBalanced(svg));
    EXPECT_NE(svg.find("<title>a&lt;b&gt;&amp;&quot;c&quot;.png</title>"), std::string::npos);
    EXPECT_NE(svg.find("viewBox=\"0 0 800 600\""), std::string::npos);
    EXPECT_EQ(countOf(svg, "<image "), 1U);
    EXPECT_EQ(countOf(svg, "<circle class=\"halo\""), 2U);
}

TEST(OverlaySvg, ABoxHasARimAndItsHint) {
    Overlay overlay;
    overlay.halo = 1.0;
    overlay.shapes.emplace_back(BoxShape{{5, 4}, 20, 10.5, 2.0, {255, 0, 16}, "a < b"});
    const std::string svg = svgOf(uniform(40, 30, 0), overlay);
    EXPECT_TRUE(isBalanced(svg));
    const std::string where = " x=\"5.00\" y=\"4.00\" width=\"20.00\" height=\"10.50\"";
    EXPECT_NE(svg.find("<rect class=\"box halo\" stroke-width=\"4.00\"" + where + "/>"), std::string::npos);
    EXPECT_NE(svg.find("stroke=\"#ff0010\" stroke-width=\"2.00\"" + where + "><title>a &lt; b</title></rect>"),
              std::string::npos);
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
