// Records of the length filter and of the crossing of single lines.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "qvstreet/streetfinder/line_crossings.h"
#include "qvstreet/streetfinder/line_records.h"
#include "tests/support/recorded.h"

namespace {

using Defs = qvStreetFinderDefs;
using Point = qvVector<2>;
using qvtest::columnOf;
using qvtest::recordOf;
using qvtest::shapesOf;
using qvtest::tableOf;
using qvtest::textOf;
using Cells = std::vector<std::wstring>;

qvLineFinderResults line(double x1, double y1, double x2, double y2, bool polarity = false) {
    return qvLineFinderResults(qvLineSeg(Point(x1, y1), Point(x2, y2)), 0.0, polarity);
}

qvLineFinderResults evenLine(double x1, double y1, double x2, double y2) {
    qvLineFinderResults result = line(x1, y1, x2, y2);
    result.statistics(100.0, 0.0, 0.0, 10);
    return result;
}

/// 400 by 300 pels; three flat lines, of which two lie 4 apart, and one upright one.
qv_streetFinderImpl crossedLines() {
    qv_streetFinderImpl impl;
    impl.imageSize = qvPair<long>(400, 300);
    impl.imageDeviation = 20.0;
    impl.lines = {
        {evenLine(50.0, 100.0, 250.0, 100.0), evenLine(50.0, 104.0, 240.0, 104.0), evenLine(50.0, 200.0, 150.0, 200.0)},
        {evenLine(120.0, 40.0, 120.0, 140.0)}};
    return impl;
}

qvStreetFinderParams paramsFor(long maxResults) {
    return qvStreetFinderParams(qvPair<double>(18.0, 30.0), qvPair<double>(9.0, 27.0), qvPair<double>(15.0, 45.0),
                                Defs::eCoarseRidgeWafer, 5.0, Defs::eAnyPolarity, maxResults);
}

}  // namespace

TEST(LineRecords, LinesKeepTheirNumbersAndComeLongestFirst) {
    qvLineFinderResults withGrey = line(0.0, 30.0, 50.0, 30.0, true);
    withGrey.statistics(77.5, 0.0, 0.0, 3);
    const std::vector<std::vector<qvLineFinderResults>> found = {
        {line(0.0, 0.0, 10.0, 0.0), line(0.0, 0.0, 0.0, 0.0), withGrey, line(0.0, 5.0, 40.0, 5.0)},
        {line(3.0, 0.0, 3.0, 20.0)}};
    qvDiagObject diagObject;
    recordLines(qvPelBuffer_const<unsigned char>(), found, {10.0, 20.5}, diagObject);
    const qvDiagRecord& record = recordOf(diagObject, L"Lines");
    const qvDiagTable& table = tableOf(record, L"Lines, direction 0");
    // A line of exactly the least length is too short.
    EXPECT_EQ(columnOf(table, L"line"), (Cells{L"0", L"1", L"", L""}));
    EXPECT_EQ(columnOf(table, L"from (client)"),
              (Cells{L"0.0000, 30.0000", L"0.0000, 5.0000", L"0.0000, 0.0000", L"0.0000, 0.0000"}));
    EXPECT_EQ(columnOf(table, L"length"), (Cells{L"50.0000", L"40.0000", L"10.0000", L"0.0000"}));
    EXPECT_EQ(columnOf(table, L"polarity vote"), (Cells{L"positive", L"negative", L"negative", L"negative"}));
    EXPECT_EQ(columnOf(table, L"mean grey"), (Cells{L"77.5000", L"", L"", L""}));
    EXPECT_EQ(columnOf(table, L"use"), (Cells{L"kept", L"kept", L"dropped: too short", L"dropped: outside the image"}));
    EXPECT_EQ(textOf(record, L"Lines, direction 0"), L"2 of 4 are longer than 10.0000 client units");
    EXPECT_EQ(textOf(record, L"Lines, direction 1"), L"0 of 1 are longer than 20.5000 client units");
    ASSERT_EQ(shapesOf(record, L"Kept, direction 0").size(), 2U);
    EXPECT_EQ(shapesOf(record, L"Kept, direction 0")[0].color, qvColor::greenColor);
    EXPECT_EQ(shapesOf(record, L"Kept, direction 0")[0].p2, Point(50.0, 30.0));
    EXPECT_EQ(shapesOf(record, L"Dropped, direction 0").size(), 2U);
    ASSERT_EQ(shapesOf(record, L"Dropped, direction 1").size(), 1U);
    EXPECT_EQ(shapesOf(record, L"Dropped, direction 1")[0].color, qvColor::redColor);
}

TEST(LineCrossingRecords, EveryCrossingHasItsTermsAndItsFate) {
    const qv_streetFinderImpl impl = crossedLines();
    std::vector<qvStreetFinderStreetCrossResult> results;
    qvDiagObject diagObject;
    crossStreetLines(impl, paramsFor(20), results, &diagObject);
    ASSERT_EQ(results.size(), 2U);
    const qvDiagRecord& record = recordOf(diagObject, L"Crossings");
    const qvDiagTable& table = tableOf(record, L"Candidates");
    EXPECT_EQ(columnOf(table, L"line of direction 0"), (Cells{L"0", L"1", L"2"}));
    EXPECT_EQ(columnOf(table, L"line of direction 1"), (Cells{L"0", L"0", L"0"}));
    EXPECT_EQ(columnOf(table, L"crossing (client)"),
              (Cells{L"120.0000, 100.0000", L"120.0000, 104.0000", L"120.0000, 200.0000"}));
    // exp(-(2500 / 2800) / 3), exp(-(2510 / 2800) / 3), exp(-(2600 / 2800 + 1) / 3).
    EXPECT_EQ(columnOf(table, L"score"), (Cells{L"0.7426", L"0.7417", L"0.5258"}));
    EXPECT_EQ(columnOf(table, L"missing length"), (Cells{L"0.8929", L"0.8964", L"0.9286"}));
    EXPECT_EQ(columnOf(table, L"beyond a line's end"), (Cells{L"0.0000", L"0.0000", L"1.0000"}));
    EXPECT_EQ(columnOf(table, L"use"), (Cells{L"kept", L"dropped: nearer than 5 to a better one", L"kept"}));
    EXPECT_EQ(textOf(record, L"Found"), L"3 lines of direction 0 and 1 of direction 1 cross in 3 places, 2 are kept");
    ASSERT_EQ(shapesOf(record, L"Dropped").size(), 1U);
    EXPECT_EQ(shapesOf(record, L"Dropped")[0].p1, Point(120.0, 104.0));
    EXPECT_EQ(shapesOf(record, L"Kept").size(), 2U);
}

TEST(LineCrossingRecords, CrossingsBeyondTheNumberAskedForSaySo) {
    std::vector<qvStreetFinderStreetCrossResult> results;
    qvDiagObject diagObject;
    crossStreetLines(crossedLines(), paramsFor(1), results, &diagObject);
    ASSERT_EQ(results.size(), 1U);
    EXPECT_EQ(columnOf(tableOf(recordOf(diagObject, L"Crossings"), L"Candidates"), L"use"),
              (Cells{L"kept", L"dropped: beyond the number asked for", L"dropped: beyond the number asked for"}));
}
