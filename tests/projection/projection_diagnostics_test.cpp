// Records of the projections and of the tests on them.
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <numeric>
#include <string>
#include <vector>

#include "qvstreet/projection/projection_polarity.h"
#include "qvstreet/projection/projection_records.h"
#include "qvstreet/projection/single_street.h"
#include "qvstreet/projection/single_street_records.h"
#include "qvstreet/streetfinder/street_finder_impl.h"
#include "tests/projection/literal_profile.h"
#include "tests/support/recorded.h"

namespace {

using Defs = qvStreetFinderDefs;
using Point = qvVector<2>;
using qvtest::bareLine;
using qvtest::binsAlongX;
using qvtest::binsAlongY;
using qvtest::columnOf;
using qvtest::literalProfile;
using qvtest::plotOf;
using qvtest::recordOf;
using qvtest::ridgeLine;
using qvtest::shapesOf;
using qvtest::streetProfile;
using qvtest::tableOf;
using qvtest::textOf;
using qvtest::titlesOf;
using Cells = std::vector<std::wstring>;

qvStreetFinderParams paramsFor(Defs::waferType mode, Defs::streetPolarity polarity, long maxResults = 20) {
    return qvStreetFinderParams(qvPair<double>(18.0, 20.0), qvPair<double>(9.0, 27.0), qvPair<double>(15.0, 45.0), mode,
                                5.0, polarity, maxResults);
}

/// Flat lines at 50 and 20 over a dark street in bins 45 to 55 of 100, and an upright one outside its profile.
qv_streetFinderImpl darkStreet() {
    qv_streetFinderImpl impl;
    impl.projectionAlong0 = literalProfile(streetProfile(100, 100.0, 45, 55, 40.0), binsAlongY());
    impl.projectionAlong1 = literalProfile(std::vector<double>(30, 100.0), binsAlongX());
    impl.projectionAlong1.tiles[0][0].counts[7] = 0.0;
    impl.lines = {
        {ridgeLine(Point(10.0, 50.0), Point(90.0, 50.0), 0.0), ridgeLine(Point(10.0, 20.0), Point(90.0, 20.0), 0.0)},
        {ridgeLine(Point(200.0, 90.0), Point(200.0, 10.0), 0.0)}};
    impl.streetAngles = {qvDegree(0.0), qvDegree(90.0)};
    impl.spectrum.workImage = qvPelBuffer<unsigned char>(400, 300);
    return impl;
}

/// What the search for single streets tells of the pairs of these flat lines, on the dark street.
qvDiagTable edgePairsOf(const std::vector<qvLineFinderResults>& flat, Defs::streetPolarity polarity) {
    qv_streetFinderImpl impl = darkStreet();
    impl.lines[0] = flat;
    impl.lines[1].clear();
    std::vector<qvStreetFinderSingleStreetResult> results;
    qvDiagObject diagObject;
    findSingleStreetFromEdges(impl, paramsFor(Defs::eEdgePairWafer, polarity), results, &diagObject);
    return tableOf(recordOf(diagObject, L"Single Streets"), L"Pairs of Edges");
}

}  // namespace

TEST(ProjectionRecords, ProfileIsTheMeanOfEachBin) {
    qvDiagObject diagObject;
    recordProjection(qv_projectionParams(), literalProfile({1.0, 11.0, 21.5}, binsAlongY(), 4.0), diagObject);
    const qvDiagPlot& plot = plotOf(diagObject.diagRecord(0), L"Profile");
    EXPECT_EQ(plot.yTitle, L"mean grey level");
    ASSERT_EQ(plot.curves.size(), 1U);
    EXPECT_EQ(plot.curves[0].values, (std::vector<double>{1.0, 11.0, 21.5}));
    EXPECT_EQ(plot.curves[0].start, 0.5);
    EXPECT_EQ(plot.curves[0].step, 1.0);
}

TEST(ProjectionRecords, ProjectionOfAnImageIsRecordedWithItsDirections) {
    qvPelBuffer<unsigned char> image(40, 30);
    for (long y = 0; y < 30; ++y)
        for (long x = 0; x < 40; ++x) image.put(x, y, 70);
    qv_projectionParams params;
    params.mode = 1;
    params.primaryAngle = qvDegree(90.0);
    params.crossAngle = qvDegree(0.0);
    params.tileCounts = qvPair<long>(1, 1);
    qvTiledProjectionResult result;
    qvDiagObject diagObject;
    computeStreetProjection(image, params, result, &diagObject);
    const qvDiagRecord& record = recordOf(diagObject, L"Projection");
    EXPECT_EQ(textOf(record, L"Directions"),
              L"bins follow one another along 90.0000, each sums along 0.0000 client degrees");
    const qvDiagCurve& curve = plotOf(record, L"Profile").curves.at(0);
    // The tile is as many bins long as the image is wide; those beyond its 30 rows stay empty.
    ASSERT_EQ(curve.values.size(), 40U);
    EXPECT_EQ(curve.values[0], 70.0);
    EXPECT_EQ(curve.values[29], 70.0);
    EXPECT_TRUE(std::isnan(curve.values[30]));
    EXPECT_EQ(textOf(record, L"Profile"), L"30 of 40 bins hold pels of the image");
}

TEST(ProjectionRecords, EveryTileHasItsPlot) {
    qv_projectionParams params;
    qvTiledProjectionResult result;
    result.tiles = {{literalProfile({1.0}).tiles[0][0], literalProfile({2.0, 3.0}).tiles[0][0]}};
    qvDiagObject diagObject;
    recordProjection(params, result, diagObject);
    EXPECT_EQ(plotOf(diagObject.diagRecord(0), L"Profile of tile 0, 0").curves.at(0).values.size(), 1U);
    EXPECT_EQ(plotOf(diagObject.diagRecord(0), L"Profile of tile 0, 1").curves.at(0).values.size(), 2U);
}

TEST(ProjectionRecords, BinWithoutSamplesIsAGap) {
    const qv_streetFinderImpl impl = darkStreet();
    const qvDiagCurve curve = meanGreyCurve(impl.projectionAlong1.tile(0, 0));
    EXPECT_TRUE(std::isnan(curve.values.at(7)));
    EXPECT_EQ(curve.values.at(8), 100.0);
}

TEST(PolarityRecords, RangesMeansAndVerdictsOfEveryLine) {
    const qv_streetFinderImpl impl = darkStreet();
    std::vector<std::vector<qvDIPair>> lists;
    qvDiagObject diagObject;
    classifyStreetLines(impl.lines, lists, paramsFor(Defs::eRidgeWafer, Defs::eDarkOnLight), impl, &diagObject);
    EXPECT_EQ(titlesOf(diagObject), (Cells{L"Polarity Test, direction 0", L"Polarity Test, direction 1"}));
    const qvDiagRecord& flat = diagObject.diagRecord(0);
    EXPECT_EQ(textOf(flat, L"Polarity asked for"), L"dark streets: darker than both sides");
    EXPECT_EQ(textOf(flat, L"Found"), L"1 of 2 lines pass");
    const qvDiagTable& table = tableOf(flat, L"Lines");
    // A half width of 10 bins: the centre takes bins 45 to 55, the left side 29 to 50, the right one 51 to 71.
    EXPECT_EQ(columnOf(table, L"mean of the street"), (Cells{L"40.0000", L"100.0000"}));
    EXPECT_EQ(columnOf(table, L"mean left"), (Cells{L"83.6364", L"100.0000"}));
    EXPECT_EQ(columnOf(table, L"mean right"), (Cells{L"85.7143", L"100.0000"}));
    EXPECT_EQ(columnOf(table, L"verdict"), (Cells{L"1: dark  on light", L"0: no pol"}));
    EXPECT_EQ(columnOf(table, L"use"), (Cells{L"kept", L"dropped: polarity"}));
    const std::vector<qvDiagMark>& marks = plotOf(flat, L"Ranges").marks;
    ASSERT_EQ(marks.size(), 6U);
    EXPECT_EQ(marks[0].kind, qvDiagMark::eRange);
    EXPECT_EQ(marks[0].from, 29.0);
    EXPECT_EQ(marks[0].to, 51.0);
    EXPECT_EQ(marks[1].from, 51.0);
    EXPECT_EQ(marks[1].to, 72.0);
    EXPECT_EQ(marks[2].from, 45.0);
    EXPECT_EQ(marks[2].to, 56.0);
    EXPECT_EQ(marks[2].caption, L"line 0 street");
    EXPECT_EQ(marks[2].color, qvColor::greenColor);
    EXPECT_EQ(marks[5].color, qvColor::redColor);
}

TEST(PolarityRecords, LineOutsideTheProjectionSaysSo) {
    const qv_streetFinderImpl impl = darkStreet();
    std::vector<std::vector<qvDIPair>> lists;
    qvDiagObject diagObject;
    classifyStreetLines(impl.lines, lists, paramsFor(Defs::eRidgeWafer, Defs::eLightOnDark), impl, &diagObject);
    const qvDiagRecord& upright = diagObject.diagRecord(1);
    EXPECT_EQ(textOf(upright, L"Polarity asked for"), L"light streets: lighter than both sides");
    EXPECT_EQ(columnOf(tableOf(upright, L"Lines"), L"mean left"), (Cells{L"no pels"}));
    EXPECT_EQ(columnOf(tableOf(upright, L"Lines"), L"verdict"), (Cells{L"0: no pol, outside the projection"}));
}

// Without a pel under the street its mean lies above any grey level, so the classification takes the line for a light one.
TEST(PolarityRecords, VerdictIsTheClassificationsAlsoWhereNoPelLiesUnderTheStreet) {
    qv_streetFinderImpl impl = darkStreet();
    qvTiledProjectionOneResult& tile = impl.projectionAlong0.tiles[0][0];
    for (std::size_t bin = 45; bin <= 55; ++bin) tile.counts[bin] = tile.sums[bin] = 0.0;
    std::partial_sum(tile.counts.begin(), tile.counts.end(), tile.cumCounts.begin());
    std::partial_sum(tile.sums.begin(), tile.sums.end(), tile.cumSums.begin());
    std::vector<std::vector<qvDIPair>> lists;
    qvDiagObject diagObject;
    classifyStreetLines(impl.lines, lists, paramsFor(Defs::eRidgeWafer, Defs::eLightOnDark), impl, &diagObject);
    ASSERT_EQ(lists[0].size(), 1U);
    const qvDiagTable& table = tableOf(diagObject.diagRecord(0), L"Lines");
    EXPECT_EQ(columnOf(table, L"mean of the street"), (Cells{L"no pels", L"100.0000"}));
    EXPECT_EQ(columnOf(table, L"mean left"), (Cells{L"100.0000", L"100.0000"}));
    EXPECT_EQ(columnOf(table, L"verdict"), (Cells{L"2: light on dark, outside the projection", L"0: no pol"}));
    EXPECT_EQ(columnOf(table, L"use"), (Cells{L"kept", L"dropped: polarity"}));
}

TEST(PolarityRecords, AnyPolarityNeedsNoProjection) {
    qv_streetFinderImpl impl = darkStreet();
    impl.projectionAlong0 = qvTiledProjectionResult();
    std::vector<std::vector<qvDIPair>> lists;
    qvDiagObject diagObject;
    classifyStreetLines(impl.lines, lists, paramsFor(Defs::eRidgeWafer, Defs::eAnyPolarity), impl, &diagObject);
    EXPECT_EQ(textOf(diagObject.diagRecord(0), L"Polarity asked for"), L"any: no line is tested");
    EXPECT_EQ(textOf(diagObject.diagRecord(0), L"Found"), L"2 of 2 lines pass");
    EXPECT_EQ(diagObject.diagRecord(0).entries().size(), 2U);
}

TEST(PolarityRecords, SecondSearchOfARunAddsNone) {
    const qv_streetFinderImpl impl = darkStreet();
    const qvStreetFinderParams params = paramsFor(Defs::eRidgeWafer, Defs::eDarkOnLight);
    std::vector<std::vector<qvDIPair>> lists;
    std::vector<qvDIJPair> ranked;
    qvDiagObject diagObject;
    classifyStreetLines(impl.lines, lists, params, impl, &diagObject);
    rankStreetLines(impl.lines, ranked, params, impl, &diagObject);
    EXPECT_EQ(diagObject.numRecords(), 2);
    diagObject.newDiagRecord().recordAnnotation(L"Sampled Square");
    rankStreetLines(impl.lines, ranked, params, impl, &diagObject);
    EXPECT_EQ(diagObject.numRecords(), 5) << "another run";
}

TEST(PolarityRecords, OnlyTheFirstFortyLinesAreMarked) {
    qv_streetFinderImpl impl = darkStreet();
    impl.lines[0].assign(45, ridgeLine(Point(10.0, 50.0), Point(90.0, 50.0), 0.0));
    std::vector<std::vector<qvDIPair>> lists;
    qvDiagObject diagObject;
    classifyStreetLines(impl.lines, lists, paramsFor(Defs::eRidgeWafer, Defs::eDarkOnLight), impl, &diagObject);
    EXPECT_EQ(plotOf(diagObject.diagRecord(0), L"Ranges").marks.size(), 120U);
    EXPECT_EQ(tableOf(diagObject.diagRecord(0), L"Lines").rows.size(), 45U);
}

TEST(SingleStreetRecords, LinesComeInTheOrderOfTheSearchWithTheirTerms) {
    qv_streetFinderImpl impl = darkStreet();
    // Deviation 0 of the image: an even line has no roughness. 400 by 300: shortness 1 - 80 / 800, 1 - 160 / 800.
    impl.lines[0][1] = ridgeLine(Point(10.0, 20.0), Point(170.0, 20.0), 0.0);
    impl.lines[1].clear();
    std::vector<qvStreetFinderSingleStreetResult> results;
    qvDiagObject diagObject;
    findSingleStreetFromLines(impl, paramsFor(Defs::eRidgeWafer, Defs::eAnyPolarity, 1), results, &diagObject);
    ASSERT_EQ(results.size(), 1U);
    const qvDiagRecord& record = recordOf(diagObject, L"Single Streets");
    const qvDiagTable& table = tableOf(record, L"Candidates");
    EXPECT_EQ(columnOf(table, L"lines"), (Cells{L"1", L"0"}));
    EXPECT_EQ(columnOf(table, L"shortness"), (Cells{L"0.8000", L"0.9000"}));
    EXPECT_EQ(columnOf(table, L"roughness"), (Cells{L"0.0000", L"0.0000"}));
    EXPECT_EQ(columnOf(table, L"cost"), (Cells{L"0.2667", L"0.3000"}));
    EXPECT_EQ(columnOf(table, L"score"), (Cells{L"0.7659", L"0.7408"}));
    EXPECT_EQ(columnOf(table, L"use"), (Cells{L"kept", L"dropped: beyond the number asked for"}));
    EXPECT_EQ(textOf(record, L"Found"), L"1 of 2 candidates are kept");
    ASSERT_EQ(shapesOf(record, L"Kept").size(), 1U);
    EXPECT_EQ(shapesOf(record, L"Kept")[0].p2, Point(170.0, 20.0));
    EXPECT_EQ(shapesOf(record, L"Dropped").size(), 1U);
}

TEST(SingleStreetRecords, PairsOfEdgesSayHowTheyFell) {
    qv_streetFinderImpl impl = darkStreet();
    // Distances 20, 4 and 24 within the first three; the fourth lies beside none of them.
    impl.lines[0] = {bareLine(Point(10.0, 40.0), Point(90.0, 40.0)), bareLine(Point(10.0, 60.0), Point(90.0, 60.0)),
                     bareLine(Point(10.0, 64.0), Point(90.0, 64.0)), bareLine(Point(300.0, 50.0), Point(390.0, 50.0))};
    impl.lines[1].clear();
    std::vector<qvStreetFinderSingleStreetResult> results;
    qvDiagObject diagObject;
    findSingleStreetFromEdges(impl, paramsFor(Defs::eEdgePairWafer, Defs::eLightOnDark), results, &diagObject);
    EXPECT_TRUE(results.empty());
    const qvDiagRecord& record = recordOf(diagObject, L"Single Streets");
    const qvDiagTable& table = tableOf(record, L"Pairs of Edges");
    EXPECT_EQ(columnOf(table, L"width range (client)"), (Cells{L"9.0000 to 27.0000", L"15.0000 to 45.0000"}));
    EXPECT_EQ(columnOf(table, L"pairs"), (Cells{L"6", L"0"}));
    EXPECT_EQ(columnOf(table, L"never side by side"), (Cells{L"3", L"0"}));
    EXPECT_EQ(columnOf(table, L"width outside the range"), (Cells{L"1", L"0"}));
    EXPECT_EQ(columnOf(table, L"nearest of these"), (Cells{L"4.0000", L""}));
    EXPECT_EQ(columnOf(table, L"wrong polarity"), (Cells{L"2", L"0"}));
    EXPECT_EQ(columnOf(table, L"candidates"), (Cells{L"0", L"0"}));
}

TEST(SingleStreetRecords, NearestWidthOutsideTheRangeIsTheOneThatMissesItByLeast) {
    // Range 9 to 27: distances 30, three too wide, 4, five too narrow, and 26.
    const qvDiagTable table =
        edgePairsOf({bareLine(Point(10.0, 40.0), Point(90.0, 40.0)), bareLine(Point(10.0, 70.0), Point(90.0, 70.0)),
                     bareLine(Point(10.0, 44.0), Point(90.0, 44.0))},
                    Defs::eLightOnDark);
    EXPECT_EQ(columnOf(table, L"width outside the range"), (Cells{L"2", L"0"}));
    EXPECT_EQ(columnOf(table, L"nearest of these"), (Cells{L"30.0000", L""}));
}

TEST(SingleStreetRecords, EdgesThatLieSideBySideForLessThanAUnitCountAsThat) {
    const qvDiagTable table =
        edgePairsOf({bareLine(Point(10.0, 40.0), Point(90.0, 40.0)), bareLine(Point(89.5, 60.0), Point(170.0, 60.0))},
                    Defs::eAnyPolarity);
    EXPECT_EQ(columnOf(table, L"never side by side"), (Cells{L"0", L"0"}));
    EXPECT_EQ(columnOf(table, L"wrong polarity"), (Cells{L"0", L"0"}));
    EXPECT_EQ(columnOf(table, L"candidates"), (Cells{L"1", L"0"}));
}

TEST(SingleStreetRecords, PairsThatAreCandidatesAreMarkedOnTheirProjection) {
    qv_streetFinderImpl impl = darkStreet();
    impl.lines[0] = {bareLine(Point(10.0, 40.0), Point(90.0, 40.0)), bareLine(Point(10.0, 60.0), Point(90.0, 60.0))};
    impl.lines[1].clear();
    std::vector<qvStreetFinderSingleStreetResult> results;
    qvDiagObject diagObject;
    findSingleStreetFromEdges(impl, paramsFor(Defs::eEdgePairWafer, Defs::eAnyPolarity), results, &diagObject);
    ASSERT_EQ(results.size(), 1U);
    const qvDiagRecord& record = recordOf(diagObject, L"Single Streets");
    const qvDiagTable& table = tableOf(record, L"Candidates");
    EXPECT_EQ(columnOf(table, L"lines"), (Cells{L"0 and 1"}));
    EXPECT_EQ(columnOf(table, L"width"), (Cells{L"20.0000"}));
    EXPECT_EQ(columnOf(table, L"shortness"), (Cells{L"0.8000"}));
    EXPECT_EQ(columnOf(table, L"skew"), (Cells{L"0.0000"}));
    // A tenth of 2 / 9: 18 wide would be right, 27 too wide.
    EXPECT_EQ(columnOf(table, L"width error"), (Cells{L"0.0222"}));
    // A gap of 20: 2 left out at each edge, 4 taken in beyond.
    const std::vector<qvDiagMark>& marks = plotOf(record, L"Candidates on the projection, direction 0").marks;
    ASSERT_EQ(marks.size(), 3U);
    EXPECT_EQ(marks[0].from, 34.0);
    EXPECT_EQ(marks[0].to, 38.0);
    EXPECT_EQ(marks[1].from, 62.0);
    EXPECT_EQ(marks[1].to, 66.0);
    EXPECT_EQ(marks[2].from, 42.0);
    EXPECT_EQ(marks[2].to, 58.0);
}

TEST(SingleStreetRecords, MarksOfAPairNameItsLinesAndTheStretch) {
    qv_streetFinderImpl impl = darkStreet();
    impl.lines[0] = {bareLine(Point(10.0, 40.0), Point(90.0, 40.0)), bareLine(Point(10.0, 60.0), Point(90.0, 60.0))};
    impl.lines[1].clear();
    std::vector<qvStreetFinderSingleStreetResult> results;
    qvDiagObject diagObject;
    findSingleStreetFromEdges(impl, paramsFor(Defs::eEdgePairWafer, Defs::eAnyPolarity), results, &diagObject);
    Cells captions;
    for (const qvDiagMark& mark :
         plotOf(recordOf(diagObject, L"Single Streets"), L"Candidates on the projection, direction 0").marks)
        captions.push_back(mark.caption);
    EXPECT_EQ(captions, (Cells{L"0 and 1 left", L"0 and 1 right", L"0 and 1 street"}));
}

TEST(ProjectionRecords, TilesInOneColumnOrOneRowAreNumberedAndTilesWithoutCountsSayTheirUnit) {
    qv_projectionParams params;
    qvTiledProjectionResult result;
    const qvTiledProjectionOneResult counted = literalProfile({1.0}).tiles[0][0];
    qvTiledProjectionOneResult bare;
    bare.sums = {5.0, 6.0};
    result.tiles = {{counted}, {bare}};
    qvDiagObject diagObject;
    recordProjection(params, result, diagObject);
    const qvDiagRecord& record = diagObject.diagRecord(0);
    EXPECT_EQ(plotOf(record, L"Profile of tile 0, 0").yTitle, L"mean grey level");
    EXPECT_EQ(plotOf(record, L"Profile of tile 1, 0").yTitle, L"grey level, sum or mean");
    EXPECT_EQ(plotOf(record, L"Profile of tile 1, 0").curves.at(0).values, (std::vector<double>{5.0, 6.0}));
}

TEST(SingleStreetRecords, CandidatesWhoseCostDoesNotCountComeLastAndAreDropped) {
    std::vector<qv_singleStreetRow> rows(4);
    const wchar_t* const names[] = {L"a", L"b", L"c", L"d"};
    for (std::size_t i = 0; i < rows.size(); ++i) rows[i].lines = names[i];
    rows[0].hasCost = false;
    rows[1].cost = 0.5;
    rows[2].hasCost = false;
    rows[2].cost = -1.0;
    rows[3].cost = 0.25;
    qvDiagObject diagObject;
    recordSingleStreets(qvPelBuffer<unsigned char>(), rows, {}, 3, diagObject);
    const qvDiagTable& table = tableOf(recordOf(diagObject, L"Single Streets"), L"Candidates");
    EXPECT_EQ(columnOf(table, L"lines"), (Cells{L"d", L"b", L"a", L"c"}));
    EXPECT_EQ(columnOf(table, L"use"),
              (Cells{L"kept", L"kept", L"dropped: cost not above 0", L"dropped: cost not above 0"}));
}

TEST(SingleStreetRecords, OnlyTheFirstFortyPairsOfADirectionAreMarked) {
    qv_streetFinderImpl impl = darkStreet();
    qv_singleStreetRow row;
    row.segments = {qvLineSeg(Point(10.0, 40.0), Point(90.0, 40.0)), qvLineSeg(Point(10.0, 60.0), Point(90.0, 60.0))};
    const std::vector<qv_singleStreetRow> rows(42, row);
    const std::array<qv_edgePairCounts, 2> counts;
    const std::array<qvPair<double>, 2> ranges;
    const std::array<const qvTiledProjectionResult*, 2> projections = {&impl.projectionAlong0, &impl.projectionAlong1};
    qvDiagObject diagObject;
    recordEdgePairs(counts, ranges, rows, projections, 0.1, 0.2, diagObject);
    EXPECT_EQ(diagObject.numRecords(), 0) << "nothing to add to";
    recordSingleStreets(qvPelBuffer<unsigned char>(), rows, {}, 3, diagObject);
    recordEdgePairs(counts, ranges, rows, projections, 0.1, 0.2, diagObject);
    const qvDiagRecord& record = recordOf(diagObject, L"Single Streets");
    EXPECT_EQ(plotOf(record, L"Candidates on the projection, direction 0").marks.size(), 120U);
}
