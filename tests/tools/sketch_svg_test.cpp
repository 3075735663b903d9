#include "tools/sketch_svg.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

using namespace qvtool;

namespace {

std::string svgOf(const qvUITablet& tablet, qvDisplay::CoordinateSystem system = qvDisplay::eImageCoordinates,
                  const qvXform<2>& imageFromClient = qvXform<2>(), double scale = 1.0) {
    std::string svg;
    writeSketchSvg(svg, tablet.sketch(), system, imageFromClient, scale);
    return svg;
}

bool contains(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

}  // namespace

TEST(SketchSvg, AnEmptySketchIsAnEmptyGroupAppendedToTheText) {
    std::string svg = "before ";
    writeSketchSvg(svg, qvUISketch(), qvDisplay::eImageCoordinates, qvXform<2>(), 1.0);
    EXPECT_EQ(svg.rfind("before <g class=\"sketch\"", 0), 0U);
    EXPECT_FALSE(contains(svg, "layer"));
    EXPECT_EQ(svg.substr(svg.size() - 5), "</g>\n");
}

TEST(SketchSvg, ALineHasARimAndItsOwnColour) {
    qvUITablet tablet;
    tablet.drawLineSeg({1, 2}, {3.5, -4.25}, qvColor::greenColor, 0);
    const std::string svg = svgOf(tablet);
    EXPECT_TRUE(contains(svg,
                         "<path stroke=\"#000\" stroke-opacity=\".6\" stroke-width=\"4.20\" "
                         "d=\"M1.00 2.00L3.50 -4.25\"/>\n"
                         "<path stroke=\"#00ff00\" stroke-width=\"2.00\" d=\"M1.00 2.00L3.50 -4.25\"/>"))
        << svg;
}

TEST(SketchSvg, AllRimsOfALayerLieUnderItsLines) {
    qvUITablet tablet;
    tablet.drawLineSeg({1, 2}, {3, 4}, qvColor::greenColor, 0);
    tablet.drawCircle({3, 4}, 3.0, qvColor::redColor, 0, true);
    const std::string svg = svgOf(tablet);
    EXPECT_LT(svg.rfind("stroke=\"#000\""), svg.find("stroke=\"#00ff00\""));
}

TEST(SketchSvg, OnlyClientSketchesGoThroughTheTransform) {
    const qvXform<2> imageFromClient(qvMatrix<2>(2, 0, 0, -4), qvVector<2>(10, 100));
    qvUITablet tablet;
    tablet.drawLineSeg({1, 2}, {30, 40}, qvColor::greenColor, 0);
    EXPECT_TRUE(contains(svgOf(tablet, qvDisplay::eClientCoordinates, imageFromClient), "M12.00 92.00L70.00 -60.00"));
    EXPECT_TRUE(contains(svgOf(tablet, qvDisplay::eImageCoordinates, imageFromClient), "M1.00 2.00L30.00 40.00"));
}

TEST(SketchSvg, SizesFollowTheScale) {
    qvUITablet tablet;
    tablet.drawCircle({3, 4}, 5.0, qvColor::redColor, 0, true);
    tablet.drawCircle({3, 4}, 5.0, qvColor::redColor, 0, false);
    tablet.drawText({3, 4}, L"a", qvColor::yellowColor, 0);
    const std::string svg = svgOf(tablet, qvDisplay::eImageCoordinates, qvXform<2>(), 0.5);
    EXPECT_TRUE(contains(svg, "r=\"2.50\""));
    EXPECT_TRUE(contains(svg, "r=\"5.00\""));
    EXPECT_TRUE(contains(svg, "font-size=\"10.50\""));
    EXPECT_TRUE(contains(svg, "stroke-width=\"1.00\""));
}

TEST(SketchSvg, OnlyShapesOfDisplaySizeAreIcons) {
    qvUITablet icons;
    icons.drawPointIcon({3, 4}, qvColor::redColor, 0);
    icons.drawCross({3, 4}, qvRadian(0.0), qvColor::blueColor, 0);
    icons.drawCircle({3, 4}, 3.0, qvColor::redColor, 0, true);
    std::string svg = svgOf(icons);
    std::size_t elements = 0;
    for (std::size_t at = svg.find("class=\"icon\""); at != std::string::npos;
         at = svg.find("class=\"icon\"", at + 1)) {
        ++elements;
    }
    // Ring, dot, cross and circle, each with its rim.
    EXPECT_EQ(elements, 8U);
    qvUITablet others;
    others.drawCircle({3, 4}, 3.0, qvColor::redColor, 0, false);
    others.drawLineSeg({1, 2}, {3, 4}, qvColor::greenColor, 0);
    others.draw(qvRect(qvVector<2>(1, 2), qvVector<2>(3, 5)), qvColor::greenColor, 0);
    EXPECT_FALSE(contains(svgOf(others), "icon"));
}

TEST(SketchSvg, EachLayerIsAGroupFromTheLowestUp) {
    qvUITablet tablet;
    tablet.drawText({3, 4}, L"label", qvColor::yellowColor, qvUITablet::eLabelLayer);
    tablet.drawLineSeg({1, 2}, {3, 4}, qvColor::greenColor, qvUITablet::eOverlayLayer);
    const std::string svg = svgOf(tablet);
    ASSERT_TRUE(contains(svg, "<g class=\"layer0\">"));
    ASSERT_TRUE(contains(svg, "<g class=\"layer1\">"));
    EXPECT_LT(svg.find("layer0"), svg.find("layer1"));
    EXPECT_LT(svg.find("<path"), svg.find("layer1"));
    EXPECT_GT(svg.find("label</text>"), svg.find("layer1"));
}

TEST(SketchSvg, TextsAndHintsAreEscaped) {
    qvUITablet tablet;
    tablet.drawText({3, 4}, L"a<b&\"c'", qvColor::yellowColor, 0);
    tablet.hint(L"<script>");
    tablet.drawPointIcon({3, 4}, qvColor::redColor, 0);
    tablet.hint(L"x & y");
    const std::string svg = svgOf(tablet);
    EXPECT_TRUE(contains(svg, ">a&lt;b&amp;&quot;c&apos;<title>&lt;script&gt;</title></text>"));
    EXPECT_TRUE(contains(svg, "<title>x &amp; y</title></circle>"));
    EXPECT_FALSE(contains(svg, "<script>"));
}

TEST(SketchSvg, NoElementHasAnId) {
    qvUITablet tablet;
    tablet.drawPointIcon({3, 4}, qvColor::redColor, 0);
    tablet.drawText({3, 4}, L"a", qvColor::yellowColor, 1);
    EXPECT_FALSE(contains(svgOf(tablet), "id=\""));
}

TEST(SketchSvg, AnUprightRectangleIsARectAndATurnedOneAPath) {
    qvUITablet tablet;
    tablet.draw(qvRect(qvVector<2>(5, 4), qvVector<2>(20, 10.5)), qvColor::greenColor, 0);
    tablet.hint(L"a < b");
    EXPECT_TRUE(contains(svgOf(tablet),
                         "<rect stroke=\"#00ff00\" stroke-width=\"2.00\" pointer-events=\"all\" "
                         "x=\"5.00\" y=\"4.00\" width=\"20.00\" height=\"10.50\">"
                         "<title>a &lt; b</title></rect>"));
    const qvXform<2> turned(qvMatrix<2>(0, -1, 1, 0), qvVector<2>(0, 0));
    EXPECT_TRUE(contains(svgOf(tablet, qvDisplay::eClientCoordinates, turned),
                         "d=\"M-4.00 5.00L-4.00 25.00L-14.50 25.00L-14.50 5.00Z\""));
}

TEST(SketchSvg, FilledShapesLetTheImageThrough) {
    qvGraphicList list;
    list.append(qvPtrHandle<qvGraphic>(new qvGraphicWithFill<qvRect, qvGenRect>(
                    qvRect(qvVector<2>(1, 2), qvVector<2>(3, 5)), qvColor::greenColor, true)),
                false);
    std::string svg;
    writeSketchSvg(svg, list.sketch(0), qvDisplay::eImageCoordinates, qvXform<2>(), 1.0);
    EXPECT_TRUE(contains(svg, "fill=\"#00ff00\" fill-opacity=\"0.35\""));
}

TEST(SketchSvg, NothingThatIsNotFiniteIsWritten) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double infinity = std::numeric_limits<double>::infinity();
    qvUITablet tablet;
    tablet.drawLineSeg({nan, 2}, {3, 4}, qvColor::redColor, 0);
    tablet.drawPointIcon({1, -infinity}, qvColor::redColor, 0);
    tablet.drawText({nan, nan}, L"t", qvColor::redColor, 0);
    tablet.drawCircle({1, 1}, nan, qvColor::redColor, 0, false);
    const std::string svg = svgOf(tablet);
    EXPECT_FALSE(contains(svg, "nan"));
    EXPECT_FALSE(contains(svg, "inf"));
    EXPECT_FALSE(contains(svg, "<path"));
    EXPECT_FALSE(contains(svg, "<circle"));
    EXPECT_FALSE(contains(svg, "<text"));
}
