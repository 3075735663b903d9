#include "tools/sketch_marks.h"

#include "tools/stroke_font.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

using namespace qvtool;

namespace {

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

// Image from client: x' = 2x + 10, y' = -4y + 100. It mirrors y, and stretches it twice as much as x.
const qvXform<2> kMirrored(qvMatrix<2>(2, 0, 0, -4), qvVector<2>(10, 100));

SketchView viewWith(const qvXform<2>& imageFromSketch, double scale) {
    SketchView view;
    view.imageFromSketch = imageFromSketch;
    view.scale = scale;
    return view;
}

std::vector<Mark> marksOn(const qvUITablet& tablet, const SketchView& view) {
    std::vector<Mark> marks;
    for (const MarkedLayer& layer : marksOf(tablet.sketch(), view)) {
        marks.insert(marks.end(), layer.marks.begin(), layer.marks.end());
    }
    return marks;
}

void expectAt(const Position& p, double x, double y, double tolerance = 1e-9) {
    EXPECT_NEAR(p.x, x, tolerance);
    EXPECT_NEAR(p.y, y, tolerance);
}

}  // namespace

TEST(SketchMarks, ALineIsMappedToTheImageAndItsWidthFollowsTheScale) {
    qvUITablet tablet;
    tablet.drawLineSeg({1, 2}, {30, 40}, qvColor::greenColor, 0);
    const auto marks = marksOn(tablet, viewWith(kMirrored, 3.0));
    ASSERT_EQ(marks.size(), 1U);
    const auto& line = std::get<PathMark>(marks[0]);
    expectAt(line.points.at(0), 12, 92);
    expectAt(line.points.at(1), 70, -60);
    EXPECT_DOUBLE_EQ(line.width, 6.0);
    EXPECT_EQ(line.form, PathMark::Form::pairs);
    EXPECT_EQ(line.colour.green, 255);
}

TEST(SketchMarks, ACrossKeepsItsSizeAndTurnsWithTheFrame) {
    qvUITablet tablet;
    tablet.drawCross({5, 10}, qvRadian(std::atan2(1.0, 2.0)), qvColor::redColor, 0);
    const auto marks = marksOn(tablet, viewWith(kMirrored, 2.0));
    const auto& cross = std::get<PathMark>(marks.at(0));
    // The direction (2, 1) becomes (4, -4), that is up and right by 45 degrees; arms are 7 pels of the display.
    const double arm = 14.0 * std::sqrt(0.5);
    ASSERT_EQ(cross.points.size(), 4U);
    expectAt(cross.points[0], 20 - arm, 60 + arm);
    expectAt(cross.points[1], 20 + arm, 60 - arm);
    expectAt(cross.points[2], 20 - arm, 60 - arm);
    expectAt(cross.points[3], 20 + arm, 60 + arm);
}

TEST(SketchMarks, APointIconIsARingWithADotWhateverTheFrame) {
    qvUITablet tablet;
    tablet.drawPointIcon({5, 10}, qvColor::yellowColor, 0);
    tablet.hint(L"here");
    const auto marks = marksOn(tablet, viewWith(kMirrored, 2.0));
    ASSERT_EQ(marks.size(), 2U);
    const auto& ring = std::get<RingMark>(marks[0]);
    expectAt(ring.centre, 20, 60);
    EXPECT_DOUBLE_EQ(ring.radius, 13.0);
    EXPECT_FALSE(ring.isFilled);
    EXPECT_EQ(ring.hint, "here");
    const auto& dot = std::get<RingMark>(marks[1]);
    EXPECT_DOUBLE_EQ(dot.radius, 3.0);
    EXPECT_TRUE(dot.isFilled);
}

TEST(SketchMarks, ACircleOfDisplaySizeIgnoresTheFrameAndAnotherFollowsIt) {
    // Three times larger and turned by a right angle: circles stay circles.
    const qvXform<2> turned(qvMatrix<2>(0, -3, 3, 0), qvVector<2>(7, 8));
    qvUITablet tablet;
    tablet.drawCircle({1, 2}, 4.0, qvColor::redColor, 0, true);
    tablet.drawCircle({1, 2}, 4.0, qvColor::redColor, 0, false);
    const auto marks = marksOn(tablet, viewWith(turned, 1.5));
    EXPECT_DOUBLE_EQ(std::get<RingMark>(marks.at(0)).radius, 6.0);
    EXPECT_DOUBLE_EQ(std::get<RingMark>(marks.at(1)).radius, 12.0);
    expectAt(std::get<RingMark>(marks.at(1)).centre, 1, 11);
}

TEST(SketchMarks, ACircleInAStretchedFrameIsAnEllipse) {
    qvUITablet tablet;
    tablet.drawCircle({5, 10}, 3.0, qvColor::redColor, 0, false);
    const auto marks = marksOn(tablet, viewWith(kMirrored, 1.0));
    const auto& ellipse = std::get<PathMark>(marks.at(0));
    EXPECT_EQ(ellipse.form, PathMark::Form::outline);
    for (const Position& p : ellipse.points) {
        EXPECT_NEAR(std::hypot((p.x - 20) / 6, (p.y - 60) / 12), 1.0, 1e-12);
    }
    EXPECT_GE(ellipse.points.size(), 32U);
}

TEST(SketchMarks, ARectangleIsItsFourMappedCorners) {
    qvUITablet tablet;
    tablet.draw(qvRect(qvVector<2>(1, 2), qvVector<2>(3, 5)), qvColor::greenColor, 0);
    const auto marks = marksOn(tablet, viewWith(qvXform<2>(qvMatrix<2>(1, 1, 0, 2), qvVector<2>(0, 0)), 1.0));
    const auto& rect = std::get<PathMark>(marks.at(0));
    ASSERT_EQ(rect.points.size(), 4U);
    expectAt(rect.points[0], 3, 4);
    expectAt(rect.points[1], 6, 4);
    expectAt(rect.points[2], 11, 14);
    expectAt(rect.points[3], 8, 14);
    EXPECT_FALSE(rect.isFilled);
}

TEST(SketchMarks, AFilledRectangleStaysFilled) {
    qvGraphicList list;
    list.append(qvPtrHandle<qvGraphic>(new qvGraphicWithFill<qvRect, qvGenRect>(
                    qvRect(qvVector<2>(1, 2), qvVector<2>(3, 5)), qvColor::greenColor, true)),
                false);
    std::vector<Mark> marks;
    appendMarks(marks, list.sketch(0).shapes().at(0), SketchView());
    EXPECT_TRUE(std::get<PathMark>(marks.at(0)).isFilled);
}

TEST(SketchMarks, ATextStandsToTheUpperRightOfItsPoint) {
    qvUITablet tablet;
    tablet.drawText({100, 200}, L"0.5", qvColor::yellowColor, 1);
    const auto marks = marksOn(tablet, viewWith(qvXform<2>(), 2.0));
    const auto& text = std::get<TextMark>(marks.at(0));
    EXPECT_EQ(text.text, "0.5");
    EXPECT_DOUBLE_EQ(text.size, 42.0);
    expectAt(text.baseline, 122, 182);
}

TEST(SketchMarks, LinesOfATextStandBelowOneAnother) {
    qvUITablet tablet;
    tablet.drawText({100, 200}, L"one\n\ntwo", qvColor::yellowColor, 1);
    const auto marks = marksOn(tablet, viewWith(qvXform<2>(), 1.0));
    ASSERT_EQ(marks.size(), 2U);
    expectAt(std::get<TextMark>(marks[0]).baseline, 111, 191 - 2 * 1.25 * 21);
    expectAt(std::get<TextMark>(marks[1]).baseline, 111, 191);
}

TEST(SketchMarks, TextsStayInsideThePicture) {
    SketchView view;
    view.width = 400;
    view.height = 300;
    for (const qvVector<2>& corner :
         {qvVector<2>(0, 0), qvVector<2>(399, 1), qvVector<2>(2, 299), qvVector<2>(398, 298)}) {
        qvUITablet tablet;
        tablet.drawText(corner, L"0.12", qvColor::yellowColor, 1);
        const auto marks = marksOn(tablet, view);
        const auto& text = std::get<TextMark>(marks.at(0));
        EXPECT_GE(text.baseline.x, 0.0);
        EXPECT_LE(text.baseline.x + textWidth("0.12", 21), 400.0);
        EXPECT_GE(text.baseline.y - 0.72 * 21, 0.0);
        EXPECT_LT(text.baseline.y, 300.0);
        // Nor does it cover its point.
        const bool covers = text.baseline.x < corner.x() && text.baseline.x + textWidth("0.12", 21) > corner.x() &&
                            text.baseline.y > corner.y() && text.baseline.y - 0.72 * 21 < corner.y();
        EXPECT_FALSE(covers);
    }
}

TEST(SketchMarks, TextsOfPointsWellOutsideAreNotPulledIn) {
    SketchView view;
    view.width = 400;
    view.height = 300;
    qvUITablet tablet;
    tablet.drawText({900, 100}, L"1", qvColor::yellowColor, 1);
    EXPECT_GT(std::get<TextMark>(marksOn(tablet, view).at(0)).baseline.x, 880.0);
}

TEST(SketchMarks, TextsKeepOffOneAnother) {
    qvUITablet tablet;
    for (const double x : {100.0, 110.0, 120.0, 105.0}) tablet.drawText({x, 200}, L"0.12", qvColor::yellowColor, 1);
    const auto marks = marksOn(tablet, viewWith(qvXform<2>(), 1.0));
    const double width = textWidth("0.12", 21);
    for (std::size_t i = 0; i < 4; ++i) {
        for (std::size_t k = 0; k < i; ++k) {
            const Position a = std::get<TextMark>(marks[i]).baseline;
            const Position b = std::get<TextMark>(marks[k]).baseline;
            EXPECT_TRUE(std::abs(a.x - b.x) >= width || std::abs(a.y - b.y) >= 0.72 * 21) << i << " " << k;
        }
    }
}

TEST(SketchMarks, ATextKeepsOffTheIconOfAnotherPoint) {
    qvUITablet tablet;
    tablet.drawText({100, 200}, L"0.12", qvColor::yellowColor, 1);
    tablet.drawPointIcon({130, 184}, qvColor::redColor, 0);
    const auto layers = marksOf(tablet.sketch(), SketchView());
    ASSERT_EQ(layers.size(), 2U);
    EXPECT_GT(std::get<TextMark>(layers[1].marks.at(0)).baseline.y, 200.0);
}

TEST(SketchMarks, LayersComeFromTheLowestUpWithTheirOwnOrder) {
    qvUITablet tablet;
    tablet.drawCircle({1, 1}, 1.0, qvColor::redColor, 3, true);
    tablet.drawCircle({2, 1}, 1.0, qvColor::redColor, -2, true);
    tablet.drawCircle({3, 1}, 1.0, qvColor::redColor, 3, true);
    const auto layers = marksOf(tablet.sketch(), SketchView());
    ASSERT_EQ(layers.size(), 2U);
    EXPECT_EQ(layers[0].layer, -2);
    EXPECT_EQ(layers[1].layer, 3);
    EXPECT_EQ(std::get<RingMark>(layers[1].marks.at(0)).centre.x, 1);
    EXPECT_EQ(std::get<RingMark>(layers[1].marks.at(1)).centre.x, 3);
}

TEST(SketchMarks, ShapesWithoutAFinitePlaceAreLeftOut) {
    for (const double bad : {kNan, kInfinity, -kInfinity, 1e300}) {
        qvUITablet tablet;
        tablet.drawLineSeg({bad, 2}, {3, 4}, qvColor::redColor, 0);
        tablet.drawLineSeg({1, 2}, {3, bad}, qvColor::redColor, 0);
        tablet.drawCross({1, bad}, qvRadian(0.0), qvColor::redColor, 0);
        tablet.drawPointIcon({bad, 2}, qvColor::redColor, 0);
        tablet.drawCircle({bad, 2}, 3, qvColor::redColor, 0, false);
        tablet.drawCircle({1, 2}, bad, qvColor::redColor, 0, true);
        tablet.drawCircle({1, 2}, bad, qvColor::redColor, 0, false);
        tablet.draw(qvRect(qvVector<2>(1, 2), qvVector<2>(3, bad)), qvColor::redColor, 0);
        tablet.drawText({1, bad}, L"text", qvColor::redColor, 0);
        EXPECT_TRUE(marksOn(tablet, viewWith(kMirrored, 1.0)).empty()) << bad;
    }
    qvUITablet tablet;
    tablet.drawCross({1, 2}, qvRadian(kNan), qvColor::redColor, 0);
    tablet.drawCircle({1, 2}, -1.0, qvColor::redColor, 0, true);
    EXPECT_TRUE(marksOn(tablet, SketchView()).empty());
}

TEST(SketchMarks, LongLinesAreCutAMillionPelsFromTheImage) {
    qvUITablet tablet;
    tablet.drawLineSeg({-1e9, -2e9}, {1e9, 2e9}, qvColor::redColor, 0);
    tablet.drawLineSeg({5, -1e9}, {5, 1e9}, qvColor::redColor, 0);
    tablet.drawLineSeg({2e6, 0}, {3e6, 7}, qvColor::redColor, 0);
    const auto marks = marksOn(tablet, SketchView());
    ASSERT_EQ(marks.size(), 2U);
    expectAt(std::get<PathMark>(marks[0]).points[0], -5e5, -1e6, 1e-3);
    expectAt(std::get<PathMark>(marks[0]).points[1], 5e5, 1e6, 1e-3);
    expectAt(std::get<PathMark>(marks[1]).points[0], 5, -1e6, 1e-3);
    expectAt(std::get<PathMark>(marks[1]).points[1], 5, 1e6, 1e-3);
}

TEST(SketchMarks, DarkColoursAreMadeLighterAndLightOnesStay) {
    const auto luminance = [](Colour c) { return 0.299 * c.red + 0.587 * c.green + 0.114 * c.blue; };
    for (const qvColor& dark : {qvColor::blueColor, qvColor::dkGreenColor, qvColor::redColor, qvColor()}) {
        EXPECT_NEAR(luminance(shownColour(dark)), 110.0, 1.0);
    }
    const Colour blue = shownColour(qvColor::blueColor);
    EXPECT_EQ(blue.blue, 255);
    EXPECT_EQ(blue.red, blue.green);
    EXPECT_LT(blue.red, 100);
    const Colour yellow = shownColour(qvColor::yellowColor);
    EXPECT_EQ(yellow.red, 255);
    EXPECT_EQ(yellow.green, 255);
    EXPECT_EQ(yellow.blue, 0);
}

TEST(SketchMarks, TextsBecomeUtf8) {
    EXPECT_EQ(utf8Of(L"a\u00b0\u20ac"), "a\xC2\xB0\xE2\x82\xAC");
    EXPECT_EQ(utf8Of(std::wstring(1, static_cast<wchar_t>(0x1F600))), "\xF0\x9F\x98\x80");
    EXPECT_EQ(utf8Of(std::wstring(1, static_cast<wchar_t>(0xD800))), "\xEF\xBF\xBD");
    EXPECT_EQ(utf8Of(std::wstring(1, static_cast<wchar_t>(0x110000))), "\xEF\xBF\xBD");
}
