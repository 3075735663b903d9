// Records of the line finder.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "qvstreet/frontend/response_records.h"
#include "tests/support/recorded.h"

namespace {

using Point = qvVector<2>;
using qvtest::recordOf;
using qvtest::shapesOf;
using qvtest::textOf;
using qvtest::titlesOf;

std::vector<Point> chainOf(long count, double y) {
    std::vector<Point> points;
    for (long i = 0; i < count; ++i) points.emplace_back(static_cast<double>(i), y);
    return points;
}

qv_responseView viewOf(const std::vector<std::vector<Point>>& chains) {
    qvPelBuffer<double> response(3, 1);
    response.put(0, 0, 0.0);
    response.put(1, 0, 12.4);
    response.put(2, 0, 254.6);
    return {response, chains};
}

qv_ridgeLine lineOf(const Point& p1, const Point& p2) {
    qv_ridgeLine line;
    line.p1 = p1;
    line.p2 = p2;
    return line;
}

/// A run over two directions, in a sample frame of 2 by 4 image pels.
qv_lineFinderRun twoDirections() {
    qv_lineFinderRun run;
    run.filterSizes = {{0.01, 0.002}, {0.03, 0.004}};
    run.filterFrequencies = {0.05, 0.06};
    run.filterAngles = {qvDegree(90.0), qvDegree(0.5)};
    run.extraction.highThreshold = 40.0;
    run.extraction.thresholdRatio = 0.5;
    run.imageFromSample = qvXform<2>(qvMatrix<2>(2.0, 0.0, 0.0, 4.0), Point(6.0, 8.0));
    return run;
}

}  // namespace

TEST(ResponseRecords, EachDirectionHasItsPictureChainsAndLines) {
    qv_spectrumState state;
    state.imageOffset = qvPair<long>(100, 200);
    qv_ridgeFinderParams params;
    params.spec.kind = 4;
    params.spec.band = {5.0, 4.5};
    qvDiagObject diagObject;
    recordResponses(state, params, twoDirections(), {viewOf({chainOf(5, 1.0), chainOf(18, 2.0)}), viewOf({})},
                    {lineOf(Point(6.0, 8.0), Point(10.0, 12.0))}, {1, 0}, 1, diagObject);
    EXPECT_EQ(titlesOf(diagObject), (std::vector<std::wstring>{L"Response, direction 1", L"Response, direction 2"}));
    const qvDiagRecord& record = diagObject.diagRecord(0);
    EXPECT_EQ(record.image().get(0, 0), 0);
    EXPECT_EQ(record.image().get(1, 0), 12);
    EXPECT_EQ(record.image().get(2, 0), 255);
    EXPECT_EQ(record.image().clientFromImageXform() * Point(1.0, 1.0), Point(108.0, 212.0));
    // Every eighth point and the last one: 0, 8, 16, 17.
    ASSERT_EQ(shapesOf(record, L"Ridges").size(), 3U);
    EXPECT_EQ(shapesOf(record, L"Ridges")[2].p1, Point(16.0, 2.0));
    EXPECT_EQ(shapesOf(record, L"Ridges")[2].p2, Point(17.0, 2.0));
    ASSERT_EQ(shapesOf(record, L"Ridges of fewer than 6 points").size(), 1U);
    EXPECT_EQ(shapesOf(record, L"Ridges of fewer than 6 points")[0].color, qvColor::redColor);
    ASSERT_EQ(shapesOf(record, L"Lines").size(), 1U);
    EXPECT_EQ(shapesOf(record, L"Lines")[0].p1, Point(0.0, 0.0)) << "from the image back into the picture";
    EXPECT_EQ(shapesOf(record, L"Lines")[0].p2, Point(2.0, 1.0));
    EXPECT_TRUE(shapesOf(diagObject.diagRecord(1), L"Lines").empty());
}

TEST(ResponseRecords, FilterAndThresholdsAreTold) {
    qv_ridgeFinderParams params;
    params.spec.kind = 4;
    params.spec.band = {5.0, 4.5};
    qvDiagObject diagObject;
    recordResponses(qv_spectrumState(), params, twoDirections(), {viewOf({}), viewOf({chainOf(6, 0.0)})}, {}, {0, 0}, 0,
                    diagObject);
    const qvDiagRecord& record = recordOf(diagObject, L"Response, direction 1");
    EXPECT_EQ(textOf(record, L"Filter lengths"), L"across the street 5.0000, along it 4.5000 client units");
    EXPECT_EQ(textOf(record, L"Filter band"),
              L"centre 0.0600, sigma across 0.0300, along 0.0040 cycles per pel of the sampled square");
    EXPECT_EQ(textOf(record, L"Filter orientation, across the lines"), L"0.5000 degrees in the sampled square");
    EXPECT_EQ(textOf(record, L"Thresholds"), L"a ridge starts above 40.0000 and goes on above 20.0000, of 255");
    EXPECT_EQ(textOf(record, L"Found"), L"1 ridges, 0 lines");
    EXPECT_EQ(shapesOf(record, L"Ridges").size(), 1U) << "six points are enough";
}

TEST(ResponseRecords, FilterGivenByFrequenciesHasNoLengths) {
    qvDiagObject diagObject;
    recordResponses(qv_spectrumState(), qv_ridgeFinderParams(), twoDirections(), {viewOf({})}, {}, {0}, 0, diagObject);
    EXPECT_EQ(textOf(diagObject.diagRecord(0), L"Filter lengths"), L"given by its frequencies");
}

TEST(ResponseRecords, KindsBeyondTheFourHaveNoLengthsEither) {
    qv_ridgeFinderParams params;
    for (const long kind : {1L, 4L, 5L, -1L}) {
        params.spec.kind = kind;
        qvDiagObject diagObject;
        recordResponses(qv_spectrumState(), params, twoDirections(), {viewOf({})}, {}, {0}, 0, diagObject);
        const bool hasLengths = textOf(diagObject.diagRecord(0), L"Filter lengths") != L"given by its frequencies";
        EXPECT_EQ(hasLengths, kind == 1 || kind == 4) << kind;
    }
}

TEST(ResponseRecords, RidgeOfOnePointIsAPoint) {
    qvDiagObject diagObject;
    recordResponses(qv_spectrumState(), qv_ridgeFinderParams(), twoDirections(), {viewOf({chainOf(1, 7.0)})}, {}, {0},
                    0, diagObject);
    const auto shapes = shapesOf(diagObject.diagRecord(0), L"Ridges of fewer than 6 points");
    ASSERT_EQ(shapes.size(), 1U);
    EXPECT_EQ(shapes[0].p1, Point(0.0, 7.0));
    EXPECT_EQ(shapes[0].color, qvColor::redColor);
}
