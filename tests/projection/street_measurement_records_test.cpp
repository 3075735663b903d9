// Records of the street measurement, from streets put together by hand.
#include "qvstreet/projection/street_measurement_records.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "tests/support/recorded.h"

namespace {

using Defs = qvStreetMeasureDefs;
using qvtest::columnOf;
using qvtest::plotOf;
using qvtest::recordOf;
using qvtest::shapesOf;
using qvtest::tableOf;
using qvtest::textOf;
using qvtest::titlesOf;
using Cells = std::vector<std::wstring>;

qv_EdgePoint pointOf(std::int32_t edge, double u, double v, double contrast, bool used) {
    qv_EdgePoint point;
    point.edge = edge;
    point.u = u;
    point.v = v;
    point.contrast = contrast;
    point.used = used;
    return point;
}

/// Nearer the horizontal: v = 90 + (u - 100) / 100 and 12.5 beyond it, from u 8 to 392.
qv_MeasuredTrack levelStreet() {
    qv_MeasuredTrack street;
    street.pels.uSize = 400;
    street.pels.vSize = 300;
    street.prediction.centre = {100.0, 97.0, 0.0};
    street.prediction.leastWidth = 6.0;
    street.prediction.likelyWidth = 12.0;
    street.prediction.mostWidth = 18.0;
    street.prediction.reach = 7.5;
    street.edges.found = qv_EdgesFound::both;
    street.edges.offset = {-7.0, 5.5};
    street.edges.contrast = {-50.0, 48.0};
    street.edges.profile = {100.0, 60.0, 55.0, 105.0};
    street.edges.firstOffset = -1.5;
    street.track.end = qv_TrackEnd::fitted;
    street.track.edges = 2;
    street.track.lines.u0 = 100.0;
    street.track.lines.offset = {90.0, 102.5};
    street.track.lines.slope = {0.01, 0.01};
    street.track.lines.scatter = {0.125, 0.0625};
    street.track.lines.used = {3, 1};
    street.track.lines.refused = {2, 0};
    street.track.extent = {8.0, 392.0};
    street.track.blur = 0.85;
    // 0.25 and 0.5 beyond the upper edge's line, on it, 2 pels before it and 3 beyond it.
    street.track.points = {pointOf(0, 100.0, 90.25, -51.0, true), pointOf(0, 200.0, 91.5, -52.0, true),
                           pointOf(0, 300.0, 92.0, -56.0, true),  pointOf(0, 120.0, 88.2, -5.0, false),
                           pointOf(0, 140.0, 93.4, -5.0, false),  pointOf(1, 150.0, 103.0, 47.0, true)};
    return street;
}

/// Nearer the vertical, with its right edge only.
qv_MeasuredTrack uprightEdge() {
    qv_MeasuredTrack street;
    street.pels.uSize = 300;
    street.pels.vSize = 400;
    street.pels.swapped = true;
    street.prediction.centre = {150.0, 200.0, 0.0};
    street.reason = Defs::eOneEdge;
    street.edges.found = qv_EdgesFound::one;
    street.edges.which = 1;
    street.edges.offset = {9.0, 0.0};
    street.edges.profile = {1.0, 2.0};
    street.track.edges = 1;
    street.track.lines.u0 = 150.0;
    street.track.lines.offset = {209.0, 0.0};
    street.track.lines.slope = {0.0, 0.0};
    street.track.lines.used = {1, 0};
    street.track.extent = {10.0, 290.0};
    street.track.points = {pointOf(0, 20.0, 209.0, 30.0, true)};
    return street;
}

/// Found, but followed to no line.
qv_MeasuredTrack lostStreet() {
    qv_MeasuredTrack street = levelStreet();
    street.reason = Defs::eTooFewPoints;
    street.track.end = qv_TrackEnd::tooFew;
    street.track.lines = qv_EdgeLines();
    return street;
}

qvPelBuffer_const<unsigned char> windowAt(long left, long top) {
    const qvPelBuffer<unsigned char> whole(500, 400);
    qvPelBuffer_const<unsigned char> view = whole;
    view.window(left, top, 400, 300, false);
    return view;
}

qvDiagObject recorded(const std::vector<qv_MeasuredTrack>& tracks) {
    qvDiagObject records;
    recordMeasurement(windowAt(0, 0), tracks, records);
    return records;
}

std::vector<qvDiagMark> marksOf(const qvDiagPlot& plot, qvDiagMark::qeKind kind) {
    std::vector<qvDiagMark> found;
    for (const qvDiagMark& mark : plot.marks)
        if (mark.kind == kind) found.push_back(mark);
    return found;
}

}  // namespace

TEST(StreetMeasurementRecords, OneForAllStreetsAndOneForEach) {
    EXPECT_EQ(
        titlesOf(recorded({levelStreet(), uprightEdge(), lostStreet()})),
        (Cells{L"Measurement", L"Measured Street 1, flat", L"Measured Street 2, upright", L"Measured Street 3, flat"}));
    EXPECT_EQ(titlesOf(recorded({})), Cells{L"Measurement"});
}

TEST(StreetMeasurementRecords, TheTableTellsTheResultOfEachStreet) {
    const qvDiagObject records = recorded({levelStreet(), uprightEdge(), lostStreet()});
    const qvDiagRecord& record = recordOf(records, L"Measurement");
    EXPECT_EQ(record.image().width(), 400);
    EXPECT_EQ(textOf(record, L"Found"), L"1 of 3 streets are measured");
    const qvDiagTable& table = tableOf(record, L"Streets");
    EXPECT_EQ(columnOf(table, L"street"), (Cells{L"1", L"2", L"3"}));
    EXPECT_EQ(columnOf(table, L"direction"), (Cells{L"flat", L"upright", L"flat"}));
    EXPECT_EQ(columnOf(table, L"result"), (Cells{L"measured", L"one edge only", L"too few edge points"}));
    EXPECT_EQ(columnOf(table, L"blur"), (Cells{L"0.8500", L"0.0000", L""}));
    EXPECT_EQ(columnOf(table, L"points used"), (Cells{L"4", L"1", L"4"}));
    EXPECT_EQ(columnOf(table, L"refused"), (Cells{L"2", L"0", L"2"}));
    EXPECT_EQ(textOf(recordOf(recorded({uprightEdge()}), L"Measurement"), L"Found"), L"0 of 1 street is measured");
}

TEST(StreetMeasurementRecords, LinesAndPointsLieInTheFrameOfTheImage) {
    qvDiagObject records;
    recordMeasurement(windowAt(30, 20), {levelStreet(), uprightEdge(), lostStreet()}, records);
    const qvDiagRecord& record = recordOf(records, L"Measurement");
    const std::vector<qvShape>& lines = shapesOf(record, L"Edges as measured");
    ASSERT_EQ(lines.size(), 3U) << "none of the street that was lost";
    EXPECT_NEAR(lines[0].p1.x(), 38.0, 1e-9);
    EXPECT_NEAR(lines[0].p1.y(), 109.08, 1e-9);
    EXPECT_NEAR(lines[1].p2.x(), 422.0, 1e-9);
    EXPECT_NEAR(lines[1].p2.y(), 125.42, 1e-9);
    EXPECT_NEAR(lines[2].p1.x(), 239.0, 1e-9) << "u and v change places in an upright street";
    EXPECT_NEAR(lines[2].p1.y(), 30.0, 1e-9);
    const std::vector<qvShape>& used = shapesOf(record, L"Points used");
    ASSERT_EQ(used.size(), 9U);
    EXPECT_EQ(used[0].p1, qvVector<2>(130.0, 110.25));
    EXPECT_EQ(used[0].color, qvColor::greenColor);
    EXPECT_EQ(used[4].p1, qvVector<2>(239.0, 40.0));
    const std::vector<qvShape>& refused = shapesOf(record, L"Points refused");
    ASSERT_EQ(refused.size(), 4U);
    EXPECT_EQ(refused[0].p1, qvVector<2>(150.0, 108.2));
    EXPECT_EQ(refused[0].color, qvColor::redColor);
}

TEST(StreetMeasurementRecords, TheProfileHasTheEdgesAndWhatTheFinderSays) {
    const qvDiagObject records = recorded({levelStreet(), uprightEdge()});
    const qvDiagRecord& level = recordOf(records, L"Measured Street 1, flat");
    EXPECT_EQ(textOf(level, L"Result"), L"measured");
    EXPECT_EQ(textOf(level, L"As the finder says"),
              L"about 100.0000, 97.0000 pels, 12.0000 wide (6.0000 to 18.0000), its middle off by at most 7.5000");
    const qvDiagPlot& plot = plotOf(level, L"Profile across the street");
    EXPECT_EQ(plot.curves.at(0).start, -1.5);
    EXPECT_EQ(plot.curves.at(0).values, (std::vector<double>{100.0, 60.0, 55.0, 105.0}));
    const auto ranges = marksOf(plot, qvDiagMark::eRange);
    ASSERT_EQ(ranges.size(), 1U);
    EXPECT_EQ(ranges[0].from, -6.0);
    EXPECT_EQ(ranges[0].to, 6.0);
    const auto edges = marksOf(plot, qvDiagMark::ePosition);
    ASSERT_EQ(edges.size(), 2U);
    EXPECT_EQ(edges[0].from, -7.0);
    EXPECT_EQ(edges[0].caption, L"upper edge");
    EXPECT_EQ(edges[1].from, 5.5);
    EXPECT_EQ(edges[1].caption, L"lower edge");

    const qvDiagRecord& upright = recordOf(records, L"Measured Street 2, upright");
    EXPECT_EQ(textOf(upright, L"Result"), L"partly measured: one edge only");
    const auto edge = marksOf(plotOf(upright, L"Profile across the street"), qvDiagMark::ePosition);
    ASSERT_EQ(edge.size(), 1U);
    EXPECT_EQ(edge[0].from, 9.0);
    EXPECT_EQ(edge[0].caption, L"right edge");
}

TEST(StreetMeasurementRecords, PointsStandAgainstTheirLineUsedOnesGreenAndRefusedOnesRed) {
    const qvDiagObject records = recorded({levelStreet()});
    const qvDiagRecord& record = recordOf(records, L"Measured Street 1, flat");
    const qvDiagPlot& plot = plotOf(record, L"Points of the upper edge: used green, refused red");
    EXPECT_EQ(plot.yTitle, L"pels from the line");
    const auto points = marksOf(plot, qvDiagMark::ePoint);
    ASSERT_EQ(points.size(), 5U);
    // Six times the scatter of 0.125 is the height; what lies further aside stands at the rim.
    EXPECT_NEAR(points[0].to, -0.75, 1e-9);
    EXPECT_NEAR(points[1].to, 0.75, 1e-9);
    EXPECT_EQ(points[0].color, qvColor::redColor);
    EXPECT_EQ(points[1].color, qvColor::redColor);
    EXPECT_EQ(points[2].from, 100.0);
    EXPECT_NEAR(points[2].to, 0.25, 1e-9);
    EXPECT_NEAR(points[3].to, 0.5, 1e-9);
    EXPECT_NEAR(points[4].to, 0.0, 1e-9);
    EXPECT_EQ(points[4].color, qvColor::greenColor);
    EXPECT_EQ(marksOf(plot, qvDiagMark::eLevel).size(), 1U);
    const qvDiagPlot& lower = plotOf(record, L"Points of the lower edge: used green, refused red");
    EXPECT_EQ(marksOf(lower, qvDiagMark::ePoint).size(), 1U);

    const qvDiagTable& table = tableOf(record, L"Lines");
    EXPECT_EQ(columnOf(table, L"line"), (Cells{L"upper edge", L"lower edge"}));
    EXPECT_EQ(columnOf(table, L"contrast"), (Cells{L"-52.0000", L"47.0000"})) << "the median of the used points";
    EXPECT_EQ(columnOf(table, L"scatter"), (Cells{L"0.1250", L"0.0625"}));
    EXPECT_EQ(columnOf(table, L"used"), (Cells{L"3", L"1"}));
    EXPECT_EQ(columnOf(table, L"refused"), (Cells{L"2", L"0"}));
    // The arc tangent of 0.01, in degrees.
    EXPECT_EQ(columnOf(table, L"angle"), (Cells{L"0.5729", L"0.5729"}));
    EXPECT_EQ(textOf(record, L"Blur of the edges"), L"0.8500 pels, standard deviation");
    EXPECT_EQ(textOf(record, L"Edges are parallel"), L"yes");
}

TEST(StreetMeasurementRecords, AnUprightStreetHasItsAngleInTheImage) {
    const qvDiagObject records = recorded({uprightEdge()});
    const qvDiagTable& table = tableOf(recordOf(records, L"Measured Street 1, upright"), L"Lines");
    EXPECT_EQ(columnOf(table, L"line"), Cells{L"right edge"});
    EXPECT_EQ(columnOf(table, L"angle"), Cells{L"90.0000"});
}

TEST(StreetMeasurementRecords, APlotHoldsAtMost160PointsOfEachKindEvenlySpread) {
    qv_MeasuredTrack street = levelStreet();
    street.track.points.clear();
    for (int i = 0; i < 320; ++i) street.track.points.push_back(pointOf(0, i, 89.0 + 0.01 * i, -50.0, true));
    for (int i = 0; i < 161; ++i) street.track.points.push_back(pointOf(0, 1000 + i, 91.0, -50.0, false));
    const qvDiagObject records = recorded({street});
    const auto points = marksOf(
        plotOf(recordOf(records, L"Measured Street 1, flat"), L"Points of the upper edge: used green, refused red"),
        qvDiagMark::ePoint);
    ASSERT_EQ(points.size(), 320U);
    EXPECT_EQ(points[160].from, 0.0);
    EXPECT_EQ(points[161].from, 2.0);
    EXPECT_EQ(points[319].from, 318.0);
}

TEST(StreetMeasurementRecords, APlotIsNeverLowerThanAFiftiethOfAPelAndHoldsEveryUsedPoint) {
    qv_MeasuredTrack street = levelStreet();
    street.track.lines.scatter = {0.001, 0.001};
    street.track.points = {pointOf(0, 100.0, 91.0, -50.0, false), pointOf(0, 100.0, 90.0, -50.0, true),
                           pointOf(1, 100.0, 99.5, 50.0, false), pointOf(1, 100.0, 102.75, 50.0, true)};
    const qvDiagObject records = recorded({street});
    const qvDiagRecord& record = recordOf(records, L"Measured Street 1, flat");
    const auto upper =
        marksOf(plotOf(record, L"Points of the upper edge: used green, refused red"), qvDiagMark::ePoint);
    EXPECT_NEAR(upper.at(0).to, 0.02, 1e-12);
    const auto lower =
        marksOf(plotOf(record, L"Points of the lower edge: used green, refused red"), qvDiagMark::ePoint);
    EXPECT_NEAR(lower.at(0).to, -0.25, 1e-12);
    EXPECT_NEAR(lower.at(1).to, 0.25, 1e-12);
}

TEST(StreetMeasurementRecords, ThePictureHoldsAtMost1000PointsEvenlySpread) {
    qv_MeasuredTrack street = levelStreet();
    street.track.points.clear();
    for (int i = 0; i < 2000; ++i) street.track.points.push_back(pointOf(0, 0.125 * i, 90.0, -50.0, true));
    const qvDiagObject records = recorded({street});
    const std::vector<qvShape>& used = shapesOf(recordOf(records, L"Measurement"), L"Points used");
    ASSERT_EQ(used.size(), 1000U);
    EXPECT_EQ(used[999].p1, qvVector<2>(249.75, 90.0));
}

TEST(StreetMeasurementRecords, PointsOfNoLineStandAgainstWhatTheFinderSays) {
    const qvDiagObject records = recorded({lostStreet()});
    const qvDiagRecord& record = recordOf(records, L"Measured Street 1, flat");
    EXPECT_EQ(textOf(record, L"Result"), L"not measured: too few edge points");
    const qvDiagPlot& plot = plotOf(record, L"Points of the upper edge: used green, refused red");
    EXPECT_EQ(plot.yTitle, L"pels from the middle that the finder says");
    EXPECT_TRUE(marksOf(plot, qvDiagMark::eLevel).empty());
    const auto points = marksOf(plot, qvDiagMark::ePoint);
    ASSERT_EQ(points.size(), 5U);
    EXPECT_NEAR(points[0].to, -8.8, 1e-9);
    EXPECT_NEAR(points[2].to, -6.75, 1e-9);
    EXPECT_EQ(columnOf(tableOf(record, L"Lines"), L"scatter"), (Cells{L"", L""}));
}

TEST(StreetMeasurementRecords, AStreetThatWasNotFollowedHasItsProfileAlone) {
    qv_MeasuredTrack street;
    street.reason = Defs::eAmbiguousEdges;
    street.edges.found = qv_EdgesFound::ambiguous;
    street.edges.profile = {1.0, 2.0, 1.0};
    const qvDiagObject records = recorded({street});
    const qvDiagRecord& record = recordOf(records, L"Measured Street 1, flat");
    EXPECT_EQ(textOf(record, L"Result"), L"not measured: several pairs of edges");
    EXPECT_TRUE(marksOf(plotOf(record, L"Profile across the street"), qvDiagMark::ePosition).empty());
    EXPECT_EQ(record.entries().size(), 3U);
    street.edges.profile.clear();
    EXPECT_EQ(recorded({street}).diagRecord(1).entries().size(), 2U) << "no plot of nothing";
}

TEST(StreetMeasurementRecords, ANarrowStreetHasThePointsOfItsMiddle) {
    qv_MeasuredTrack street = levelStreet();
    street.track.barWidth = 2.5;
    street.track.points = {pointOf(0, 100.0, 96.5, -40.0, true), pointOf(0, 200.0, 97.0, -40.0, true)};
    const qvDiagObject records = recorded({street});
    const qvDiagRecord& record = recordOf(records, L"Measured Street 1, flat");
    EXPECT_EQ(textOf(record, L"Followed by"), L"the whole street at once, 2.5000 pels wide");
    EXPECT_EQ(columnOf(tableOf(record, L"Lines"), L"line"), Cells{L"middle"});
    // The middle is v = 96.25 + (u - 100) / 100.
    const auto points = marksOf(plotOf(record, L"Points of the middle: used green, refused red"), qvDiagMark::ePoint);
    ASSERT_EQ(points.size(), 2U);
    EXPECT_NEAR(points[0].to, 0.25, 1e-9);
    EXPECT_NEAR(points[1].to, -0.25, 1e-9);
}

TEST(StreetMeasurementRecords, FortyStreetsHaveARecordOfTheirOwnAndAllARowInTheTable) {
    const qvDiagObject records = recorded(std::vector<qv_MeasuredTrack>(41, uprightEdge()));
    EXPECT_EQ(records.numRecords(), 41);
    EXPECT_EQ(tableOf(records.diagRecord(0), L"Streets").rows.size(), 41U);
}
