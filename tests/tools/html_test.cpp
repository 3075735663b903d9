#include "tools/html_page.h"
#include "tools/html_plot.h"

#include <gtest/gtest.h>

#include <limits>
#include <random>

using qvtool::htmlPage;
using qvtool::Page;
using qvtool::PageLayer;
using qvtool::writePlot;

namespace {

using Image = qvPelBuffer_const<unsigned char>;

bool contains(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

std::size_t countOf(const std::string& text, const std::string& part) {
    std::size_t count = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + part.size())) ++count;
    return count;
}

qvPelBuffer<unsigned char> greyImage(long width, long height, unsigned char level) {
    qvPelBuffer<unsigned char> image(width, height, 32);
    for (long y = 0; y < height; ++y) {
        for (long x = 0; x < width; ++x) *image.pointToPel(x, y) = level;
    }
    return image;
}

qvPelBuffer<unsigned char> noiseImage(long width, long height, unsigned seed) {
    qvPelBuffer<unsigned char> image(width, height, 32);
    std::mt19937 noise(seed);
    for (long y = 0; y < height; ++y) {
        for (long x = 0; x < width; ++x) *image.pointToPel(x, y) = static_cast<unsigned char>(noise() & 255U);
    }
    return image;
}

qvUISketch lineSketch(long count) {
    qvUITablet tablet;
    for (long i = 0; i < count; ++i) {
        tablet.drawLineSeg({0.0, static_cast<double>(i)}, {30.0, 5.0}, qvColor::redColor, qvUITablet::eOverlayLayer);
    }
    return tablet.sketch();
}

std::string plotHtml(const qvDiagPlot& plot) {
    std::string html;
    writePlot(html, plot);
    return html;
}

qvDiagPlot plotOf(std::vector<double> values) {
    qvDiagPlot plot;
    qvDiagCurve curve;
    curve.values = std::move(values);
    plot.curves.push_back(std::move(curve));
    return plot;
}

}  // namespace

TEST(HtmlPage, EveryTextThatComesFromOutsideIsEscaped) {
    const std::wstring evil = L"<b>&\"'";
    qvDiagObject records;
    qvDiagRecord& record = records.newDiagRecord();
    record.recordAnnotation(evil);
    record.image(greyImage(8, 6, 40), false);
    record.text(evil, L"label " + evil);
    record.sketch(lineSketch(1), qvDisplay::eImageCoordinates, evil);
    qvDiagTable table;
    table.label = evil;
    table.heading = {evil};
    table.rows = {{evil}};
    record.table(table);
    qvDiagPlot plot = plotOf({1.0, 2.0});
    plot.label = plot.xTitle = plot.yTitle = plot.curves[0].name = evil;
    plot.marks.push_back({qvDiagMark::ePosition, 0.5, 0.0, qvColor::redColor, evil});
    record.plot(plot);
    Page page;
    page.title = page.subtitle = page.verdict = "</script><b>&\"'";
    page.findings = {"<b>&\"'"};
    page.records = &records;
    page.results = {table};

    const std::string html = htmlPage(page);
    EXPECT_FALSE(contains(html, "<b>"));
    EXPECT_FALSE(contains(html, "&\""));
    EXPECT_EQ(countOf(html, "</script>"), 1U);
    EXPECT_TRUE(contains(html, "<title>&lt;/script&gt;&lt;b&gt;&amp;&quot;"));
    EXPECT_TRUE(contains(html, "<h2>1. &lt;b&gt;&amp;&quot;"));
}

TEST(HtmlPage, BytesThatAreNoTextAreReplaced) {
    Page page;
    page.title = "a\xFF\x01.png";
    EXPECT_TRUE(contains(htmlPage(page), "<h1>a\xEF\xBF\xBD\xEF\xBF\xBD.png</h1>"));
}

TEST(HtmlPage, NothingIsFetched) {
    Page page;
    page.view.image = greyImage(8, 6, 9);
    const std::string html = htmlPage(page);
    EXPECT_TRUE(contains(html, "content=\"default-src 'none'; img-src data:;"));
    EXPECT_FALSE(contains(html, "http:"));
    EXPECT_FALSE(contains(html, "https:"));
    EXPECT_FALSE(contains(html, "src="));
    EXPECT_EQ(countOf(html, "href=\"data:image/png;base64,"), 1U);
}

TEST(HtmlPage, EqualPicturesAreEmbeddedOnceWhateverTheirOffset) {
    qvDiagObject records;
    Image moved = greyImage(8, 6, 9);
    moved.offset(3, 5);
    records.newDiagRecord().image(moved, true);
    records.newDiagRecord().image(greyImage(8, 6, 9), false);
    records.newDiagRecord().image(greyImage(6, 8, 9), false);
    Page page;
    page.view.image = greyImage(8, 6, 9);
    page.records = &records;

    const std::string html = htmlPage(page);
    EXPECT_EQ(countOf(html, "data:image/png"), 2U);
    EXPECT_TRUE(contains(html, "<image id=\"img1\" width=\"6\" height=\"8\""));
    EXPECT_TRUE(contains(html, "viewBox=\"3 5 8 6\""));
    EXPECT_TRUE(contains(html, "<use href=\"#img0\" x=\"3\" y=\"5\"/>"));
    EXPECT_EQ(countOf(html, "<use href=\"#img0\" x=\"0\" y=\"0\"/>"), 2U);
}

TEST(HtmlPage, LayersHaveButtonsWithKeysUpToNine) {
    Page page;
    page.view.image = greyImage(40, 30, 9);
    for (int i = 0; i < 11; ++i) {
        page.view.layers.push_back({L"Layer", lineSketch(i == 3 ? 0 : 1), qvDisplay::eImageCoordinates, i != 5});
    }
    const std::string html = htmlPage(page);
    EXPECT_EQ(countOf(html, "data-layer=\"view0layer"), 10U) << "one of the eleven has no shape";
    EXPECT_EQ(countOf(html, " data-off>"), 1U);
    EXPECT_TRUE(contains(html, "Layer <kbd>9</kbd></button>"));
    EXPECT_FALSE(contains(html, "<kbd>10</kbd>"));
    EXPECT_TRUE(contains(html, "<g id=\"view0layer10\">"));
    EXPECT_TRUE(contains(html, "aria-pressed=\"true\" data-layer=\"view0layer5\" data-off>"));
}

TEST(HtmlPage, TheViewKnowsTheClientFrameOfItsImage) {
    Page page;
    Image image = greyImage(8, 6, 9);
    image.clientFromImageXform(qvXform<2>(qvMatrix<2>(0.5, 0.25, 0.125, -2.0), qvVector<2>(7.0, -3.5)));
    page.view.image = image;
    EXPECT_TRUE(contains(htmlPage(page), "data-client=\"0.5 0.25 0.125 -2 7 -3.5\""));
}

TEST(HtmlPage, SketchesInClientUnitsAreMappedToTheImage) {
    Page page;
    Image image = greyImage(80, 60, 9);
    image.clientFromImageXform(qvXform<2>(qvMatrix<2>(0.5, 0.0, 0.0, 2.0), qvVector<2>(100.0, 0.0)));
    page.view.image = image;
    qvUITablet tablet;
    tablet.drawLineSeg({105.0, 20.0}, {110.0, 40.0}, qvColor::redColor, 0);
    page.view.layers.push_back({L"Line", tablet.sketch(), qvDisplay::eClientCoordinates, true});
    EXPECT_TRUE(contains(htmlPage(page), "d=\"M10.00 10.00L20.00 20.00\""));
}

TEST(HtmlPage, WhatWasDroppedIsDrawnBelowWhatWasKept) {
    qvDiagObject records;
    qvDiagRecord& record = records.newDiagRecord();
    record.image(greyImage(40, 30, 9), false);
    record.sketch(lineSketch(1), qvDisplay::eImageCoordinates, L"Kept");
    record.sketch(lineSketch(1), qvDisplay::eImageCoordinates, L"Dropped");
    Page page;
    page.records = &records;
    const std::string html = htmlPage(page);
    EXPECT_LT(html.find("Dropped <kbd>"), html.find("Kept <kbd>"));
}

TEST(HtmlPage, ALabelThatRepeatsItsTextIsShownOnce) {
    qvDiagObject records;
    records.newDiagRecord().text(L"No region found", L"No region found");
    Page page;
    page.records = &records;
    EXPECT_TRUE(contains(htmlPage(page), "<dt></dt><dd>No region found</dd>"));
}

TEST(HtmlPage, LongTablesSayHowManyRowsAreLeftOut) {
    qvDiagTable table;
    table.heading = {L"n"};
    table.rows.assign(307, {L"4.5"});
    Page page;
    page.results = {table};
    const std::string html = htmlPage(page);
    EXPECT_EQ(countOf(html, "<td class=\"n\">4.5</td>"), 300U);
    EXPECT_TRUE(contains(html, "7 more rows are left out."));
}

TEST(HtmlPage, StaysBelowFiveMillionBytesWhateverIsRecorded) {
    const qvPelBuffer<unsigned char> noise = noiseImage(4096, 4096, 1);
    qvDiagObject records;
    qvDiagTable table;
    table.rows.assign(400, std::vector<std::wstring>(8, std::wstring(40, L'x')));
    for (unsigned i = 0; i < 30; ++i) {
        qvDiagRecord& record = records.newDiagRecord();
        record.image(noiseImage(700, 500, i), false);
        record.sketch(lineSketch(3000), qvDisplay::eImageCoordinates, L"Lines");
        record.table(table);
    }
    Page page;
    page.view.image = noise;
    page.view.layers.push_back({L"Many", lineSketch(20000), qvDisplay::eImageCoordinates, true});
    page.records = &records;
    const std::string html = htmlPage(page);
    EXPECT_LT(html.size(), 5000000U);
    EXPECT_TRUE(contains(html, "Many: the first "));
    EXPECT_TRUE(contains(html, " of 20000 shapes are drawn."));
    EXPECT_TRUE(contains(html, " further records are left out, to keep the page small."));
}

TEST(HtmlPlot, APlotWithoutValuesSaysSo) {
    EXPECT_TRUE(contains(plotHtml({}), "No values."));
    const double nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_TRUE(contains(plotHtml(plotOf({nan, nan})), "No values."));
}

TEST(HtmlPlot, ValuesThatAreNotFiniteLeaveGaps) {
    const double infinity = std::numeric_limits<double>::infinity();
    const std::string html = plotHtml(plotOf({1.0, 2.0, infinity, 3.0, std::nan(""), 2.0, -1e300, 1.0, 4.0}));
    const std::size_t start = html.find("<path class=\"curve\" d=\"") + 23;
    const std::string path = html.substr(start, html.find('"', start) - start);
    EXPECT_EQ(countOf(path, "M"), 4U);
    EXPECT_FALSE(contains(html, "nan"));
    EXPECT_FALSE(contains(html, "inf"));
}

TEST(HtmlPlot, RangesThatCannotBeDividedStillHaveFewTicks) {
    for (const double value : {0.0, 1e15, -3e99, 5e-324}) {
        const std::string html = plotHtml(plotOf({value, value, std::nextafter(value, 1e300)}));
        EXPECT_LT(countOf(html, "class=\"grid\""), 40U) << value;
        EXPECT_GT(countOf(html, "class=\"grid\""), 2U) << value;
    }
}

TEST(HtmlPlot, LongCurvesKeepTheirExtremes) {
    std::vector<double> values(20000, 1.0);
    values[7777] = 9.0;
    values[7779] = -9.0;
    const std::string html = plotHtml(plotOf(values));
    EXPECT_LT(html.size(), 40000U);
    // 9 and -9 with a twentieth of their distance above and below: 254 units of 18 * 1.1.
    EXPECT_TRUE(contains(html, " 19.5"));
    EXPECT_TRUE(contains(html, " 250.5"));
}

TEST(HtmlPlot, CurvesDifferByDashesAndAreNamedInALegend) {
    qvDiagPlot plot = plotOf({1.0, 2.0});
    plot.curves.push_back(plot.curves[0]);
    plot.curves[0].name = L"first";
    plot.curves[1].name = L"second";
    const std::string html = plotHtml(plot);
    EXPECT_TRUE(contains(html, "stroke-dasharray=\"7 3\"><title>second</title>"));
    EXPECT_TRUE(contains(html, "</svg> first</li>"));
    EXPECT_FALSE(contains(plotHtml(plotOf({1.0, 2.0})), "legend"));
}

TEST(HtmlPlot, LightColoursAreDarkenedForWhitePaper) {
    qvDiagPlot plot = plotOf({1.0, 2.0});
    plot.curves[0].color = qvColor::yellowColor;
    // Yellow has a lightness of 0.886 * 255; 130 is left.
    EXPECT_TRUE(contains(plotHtml(plot), "stroke=\"rgb(146,146,0)\""));
    plot.curves[0].color = qvColor::blueColor;
    EXPECT_TRUE(contains(plotHtml(plot), "stroke=\"rgb(0,0,255)\""));
}

TEST(HtmlPlot, CaptionsWithoutRoomAreListedBelow) {
    qvDiagPlot plot = plotOf({1.0, 2.0, 3.0});
    for (int i = 0; i < 6; ++i) {
        plot.marks.push_back({qvDiagMark::ePosition, 1.0, 0.0, qvColor::redColor, L"mark " + std::to_wstring(i)});
    }
    const std::string html = plotHtml(plot);
    const std::string below = html.substr(html.find("</svg>"));
    EXPECT_EQ(countOf(below, "<li>"), 2U);
    EXPECT_TRUE(contains(below, "<li>mark 4: 1.00</li><li>mark 5: 1.00</li>"));
    EXPECT_FALSE(contains(html.substr(0, html.find("</svg>")), ">mark 4<"));
    EXPECT_TRUE(contains(html.substr(0, html.find("</svg>")), ">mark 3<"));
}

TEST(HtmlPlot, MarksOfAllKindsAreDrawn) {
    qvDiagPlot plot = plotOf({0.0, 10.0});
    plot.marks.push_back({qvDiagMark::eRange, 0.25, 0.75, qvColor::greenColor, L"range"});
    plot.marks.push_back({qvDiagMark::eLevel, 4.0, 0.0, qvColor::redColor, L"level"});
    plot.marks.push_back({qvDiagMark::ePoint, 0.5, 5.0, qvColor::blueColor, L"point"});
    const std::string html = plotHtml(plot);
    EXPECT_EQ(countOf(html, "class=\"range\""), 1U);
    EXPECT_EQ(countOf(html, "class=\"level\""), 1U);
    EXPECT_EQ(countOf(html, "class=\"point\""), 1U);
    for (const char* caption : {">range</text>", ">level</text>", ">point</text>"}) {
        EXPECT_TRUE(contains(html, caption)) << caption;
    }
}
