#include "qvstreet/streetfinder/candidate_search.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "tests/candidates/literal_context.h"
#include "tests/candidates/literal_lines.h"
#include "tests/candidates/stage_run.h"

namespace {

using Crossings = std::vector<qvStreetFinderStreetCrossResult>;
using Defs = qvStreetFinderDefs;
using Point = qvVector<2>;
using qvtest::brokenCross;
using qvtest::recordWith;
using qvtest::StageRun;
using qvtest::unbrokenCross;

qvLineFinderResults storedLine(const LiteralLine& l) {
    return qvLineFinderResults(qvLineSeg(Point(l.x1, l.y1), Point(l.x2, l.y2)), 0.0, false);
}

qvStreetFinderParams paramsOf(long maxResults = 20, Defs::streetPolarity polarity = Defs::eAnyPolarity) {
    return qvStreetFinderParams(qvPair<double>(18.0, 30.0), qvPair<double>(9.0, 27.0), qvPair<double>(15.0, 45.0),
                                Defs::eEdgePairWafer, 5.0, polarity, maxResults);
}

Crossings crossesOf(const qv_streetFinderImpl& impl, const qvStreetFinderParams& params = paramsOf()) {
    Crossings results;
    findEdgePairCrosses(impl, params, results);
    return results;
}

/// Switches the trace of a record on and gives back what a search wrote.
class TracedRecord {
 public:
    explicit TracedRecord(qv_streetFinderImpl& impl) : impl_(impl) {
        impl_.trace = std::make_unique<qv_streetTrace>(*capture_.trace());
    }
    std::string text() { return capture_.text(); }

 private:
    TraceCapture capture_;
    qv_streetFinderImpl& impl_;
};

bool contains(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

/// Every "%Test pair - a b" of a trace.
std::set<std::pair<long, long>> testedPairs(const std::string& text) {
    static const std::string head = "%Test pair - ";
    std::set<std::pair<long, long>> pairs;
    for (std::size_t at = text.find(head); at != std::string::npos; at = text.find(head, at + 1)) {
        std::size_t read = 0;
        const std::string rest = text.substr(at + head.size(), 40);
        const long first = std::stol(rest, &read);
        const long second = std::stol(rest.substr(read));
        pairs.emplace(std::min(first, second), std::max(first, second));
    }
    return pairs;
}

}  // namespace

TEST(MakeRidgeLine, FlatLineRunsRightwards) {
    const qvLineFinderResults stored(qvLineSeg(Point(20.0, 150.0), Point(195.0, 150.0)), 0.75, true);
    const qv_ridgeLine line = makeRidgeLine(stored, 6);
    EXPECT_EQ(line.p1, Point(20.0, 150.0));
    EXPECT_EQ(line.p2, Point(195.0, 150.0));
    EXPECT_EQ(line.line.distance(), 150.0);
    EXPECT_EQ(line.angle.toDouble(), 0.0);
    EXPECT_EQ(line.startAlong, 20.0);
    EXPECT_EQ(line.endAlong, 195.0);
    EXPECT_EQ(line.extent, 175.0);
    EXPECT_EQ(line.lineQuality, 0.75);
    EXPECT_EQ(line.lineKey, 6);
    EXPECT_TRUE(line.polarity);
    EXPECT_TRUE(line.points.empty());
}

TEST(MakeRidgeLine, UprightLineRunsUpwardsAgainstItsOwnEnds) {
    const qv_ridgeLine line = makeRidgeLine(storedLine({200.0, 10.0, 200.0, 145.0}), 0);
    EXPECT_EQ(line.p1, Point(200.0, 10.0));
    EXPECT_EQ(line.p2, Point(200.0, 145.0));
    EXPECT_EQ(line.line.distance(), 200.0);
    EXPECT_DOUBLE_EQ(qvDegree(line.angle).toDouble(), -90.0);
    EXPECT_EQ(line.startAlong, -10.0);
    EXPECT_EQ(line.endAlong, -145.0);
    EXPECT_EQ(line.extent, -135.0);
    EXPECT_FALSE(line.polarity);
}

TEST(MakeRidgeLine, UprightLinesOfBothLeaningsRunUpwards) {
    for (const double lean : {15.0, -15.0}) {
        const qv_ridgeLine line = makeRidgeLine(storedLine({200.0, 10.0, 200.0 + lean, 110.0}), 0);
        EXPECT_LT(line.line.sinAngle(), -0.9);
        EXPECT_EQ(line.angle, line.line.angle());
        EXPECT_NEAR(qvDegree(line.angle).toDouble(), lean > 0.0 ? -98.5307656 : -81.4692344, 1e-6);
        EXPECT_NEAR(line.extent, -std::sqrt(100.0 * 100.0 + 15.0 * 15.0), 1e-9);
    }
}

TEST(MakeRidgeLine, StatisticsOfTheLineAreNotNeeded) {
    EXPECT_EQ(storedLine({0.0, 0.0, 1.0, 0.0}).statsMask(), 0);
    EXPECT_NO_THROW(makeRidgeLine(storedLine({0.0, 0.0, 1.0, 0.0}), 0));
}

TEST(CandidateSearch, KeysRunThroughBothDirections) {
    // 3 and 4 lines: direction 0 has the keys 0 to 2, direction 1 the keys 3 to 6.
    qv_streetFinderImpl impl = recordWith({{20.0, 50.0, 400.0, 50.0},
                                           {22.0, 150.0, 398.0, 150.0},
                                           {24.0, 250.0, 396.0, 250.0},
                                           {50.0, 10.0, 50.0, 290.0},
                                           {150.0, 12.0, 150.0, 288.0},
                                           {250.0, 14.0, 250.0, 286.0},
                                           {350.0, 16.0, 350.0, 284.0}},
                                          3);
    TracedRecord traced(impl);
    crossesOf(impl);
    EXPECT_EQ(testedPairs(traced.text()), (std::set<std::pair<long, long>>{
                                              {0, 1}, {0, 2}, {1, 2}, {3, 4}, {3, 5}, {3, 6}, {4, 5}, {4, 6}, {5, 6}}));
}

TEST(CandidateSearch, FindsTheCrossOfBrokenAndOfUnbrokenEdges) {
    for (const bool broken : {true, false}) {
        const Crossings results =
            broken ? crossesOf(recordWith(brokenCross(), 4)) : crossesOf(recordWith(unbrokenCross(), 2));
        ASSERT_EQ(results.size(), 1U) << broken;
        EXPECT_LT(results[0].crossing().distance(Point(209.0, 165.0)), 1e-9);
        EXPECT_LT(results[0].ulCorner().distance(Point(200.0, 150.0)), 1e-9);
        EXPECT_LT(results[0].lrCorner().distance(Point(218.0, 180.0)), 1e-9);
        EXPECT_EQ(results[0].lineSegs().size(), 8U);
        EXPECT_EQ(results[0].statusFlags(), Defs::eStreetFromEdges);
    }
}

TEST(CandidateSearch, PolarityOfTheParametersIsAsked) {
    const qv_streetFinderImpl impl = recordWith(brokenCross(), 4);
    EXPECT_EQ(crossesOf(impl, paramsOf(20, Defs::eDarkOnLight)).size(), 1U);
    EXPECT_TRUE(crossesOf(impl, paramsOf(20, Defs::eLightOnDark)).empty());
}

TEST(CandidateSearch, WidthsOfTheParametersAreAsked) {
    const qv_streetFinderImpl impl = recordWith(unbrokenCross(), 2);
    const auto crosses = [&](double lowX, double highX, double lowY, double highY) {
        return crossesOf(impl, qvStreetFinderParams(qvPair<double>(18.5, 30.5), qvPair<double>(lowX, highX),
                                                    qvPair<double>(lowY, highY), Defs::eEdgePairWafer, 5.0,
                                                    Defs::eAnyPolarity, 20))
            .size();
    };
    EXPECT_EQ(crosses(18.0, 19.0, 30.0, 31.0), 1U);
    EXPECT_EQ(crosses(18.1, 19.0, 30.0, 31.0), 0U);
    EXPECT_EQ(crosses(18.0, 19.0, 30.1, 31.0), 0U);
}

TEST(CandidateSearch, WidthsOfTheParametersEnterTheScore) {
    StageRun direct(brokenCross(), 4);
    direct.runOnce();
    ASSERT_EQ(direct.results.size(), 1U);
    const qv_streetFinderImpl impl = recordWith(brokenCross(), 4);
    const Crossings results = crossesOf(impl);
    ASSERT_EQ(results.size(), 1U);
    EXPECT_EQ(results[0].score(), direct.results[0].score());
    const qvStreetFinderParams otherNominal(qvPair<double>(16.0, 25.0), qvPair<double>(9.0, 27.0),
                                            qvPair<double>(15.0, 45.0), Defs::eEdgePairWafer, 5.0, Defs::eAnyPolarity,
                                            20);
    const Crossings others = crossesOf(impl, otherNominal);
    ASSERT_EQ(others.size(), 1U);
    // 2.0 * 0.5 * (2 / 11 + 5 / 20) / 7 more cost.
    EXPECT_NEAR(std::log(results[0].score() / others[0].score()), (2.0 / 11.0 + 5.0 / 20.0) / 7.0, 1e-9);
}

TEST(CandidateSearch, DirectionWithoutLinesGivesNothing) {
    const std::vector<LiteralLine> all = brokenCross();
    EXPECT_TRUE(crossesOf(recordWith(std::vector<LiteralLine>(all.begin(), all.begin() + 4), 4)).empty());
    EXPECT_TRUE(crossesOf(recordWith(std::vector<LiteralLine>(all.begin() + 4, all.end()), 0)).empty());
    EXPECT_TRUE(crossesOf(recordWith({}, 0)).empty());
}

TEST(CandidateSearch, RecordOfABindingThatBrokeOffGivesNothing) {
    qv_streetFinderImpl impl = recordWith(brokenCross(), 4);
    impl.lines.clear();
    impl.scoreWeights.clear();
    Crossings results(2);
    findEdgePairCrosses(impl, paramsOf(), results);
    EXPECT_EQ(results.size(), 2U);
}

TEST(CandidateSearch, ResultsAreAppendedAndTheFormerOnesCount) {
    const qv_streetFinderImpl impl = recordWith(brokenCross(), 4);
    Crossings results(1);
    findEdgePairCrosses(impl, paramsOf(), results);
    ASSERT_EQ(results.size(), 2U);
    EXPECT_EQ(results[0].lineSegs().size(), 0U);
    EXPECT_LT(results[1].crossing().distance(Point(209.0, 165.0)), 1e-9);
    findEdgePairCrosses(impl, paramsOf(), results);
    EXPECT_EQ(results.size(), 2U) << "the same crossing is 0 from itself";
    Crossings full(1);
    findEdgePairCrosses(impl, paramsOf(1), full);
    EXPECT_EQ(full.size(), 1U);
    EXPECT_EQ(full[0].lineSegs().size(), 0U);
}

TEST(CandidateSearch, NormalRunMergesNothing) {
    // The arms along y are 41 apart, and merged there would be no quad of them.
    std::vector<qv_ridgeLine> lines = flatLines(brokenCross());
    std::vector<long> counts = {4, 4};
    Crossings results;
    runCandidateSearch(recordWith(brokenCross(), 4), lines, counts, Defs::eEdgePairWafer, Defs::eAnyPolarity, results,
                       qvPair<double>(18.0, 30.0), qvPair<double>(9.0, 27.0), qvPair<double>(15.0, 45.0), 20);
    EXPECT_EQ(lines.size(), 8U);
    EXPECT_EQ(counts, (std::vector<long>{4, 4}));
    EXPECT_EQ(results.size(), 1U);
}

TEST(CandidateSearch, NormalRunKeepsAHundredQuads) {
    // Four lines within 3 of each other at either edge, above and below the crossing: 16 pairs above, 16 below, and
    // every upper pair makes a quad with every lower one.
    std::vector<LiteralLine> literals = brokenCross();
    literals.resize(4);
    for (const double x : {200.0, 218.0})
        for (const double shift : {0.0, 1.0, 2.0, 3.0}) {
            literals.push_back({x + shift, 10.0 + shift + (x - 200.0) / 4.0, x + shift, 145.0});
            literals.push_back({x + shift, 186.0, x + shift, 290.0 - shift - (x - 200.0) / 4.0});
        }
    qv_streetFinderImpl impl = recordWith(literals, 4);
    TracedRecord traced(impl);
    crossesOf(impl);
    const std::string text = traced.text();
    EXPECT_TRUE(contains(text, "\n%Add quad#256\n"));
    EXPECT_TRUE(contains(text, "%Considering Quads: 99 0\n"));
    EXPECT_FALSE(contains(text, "%Considering Quads: 100 0\n"));
}

TEST(CandidateSearch, ReservedModeMergesAndTakesKnownWidths) {
    // The lower left arm along x in two pieces, 20 apart; the right arms are 44 and 45 behind the left ones, beyond
    // 1.5 * 18.
    std::vector<LiteralLine> literals = brokenCross();
    literals.insert(literals.begin() + 4, {20.0, 180.0, 80.0, 180.0});
    literals[2] = {100.0, 180.0, 196.0, 180.0};
    literals[3] = {240.0, 180.0, 398.0, 180.0};
    literals[1] = {240.0, 150.0, 400.0, 150.0};
    std::vector<qv_ridgeLine> lines = flatLines(literals);
    std::vector<long> counts = {5, 4};
    Crossings results;
    runCandidateSearch(recordWith(literals, 5), lines, counts, Defs::eSpecial, Defs::eAnyPolarity, results,
                       qvPair<double>(18.0, 30.0), qvPair<double>(9.0, 27.0), qvPair<double>(15.0, 45.0), 20);
    // Along y the arms are 41 apart, within 1.5 * 30, and become one line each.
    EXPECT_EQ(counts, (std::vector<long>{4, 2}));
    ASSERT_EQ(lines.size(), 6U);
    EXPECT_EQ(lines[2].p1, Point(20.0, 180.0));
    EXPECT_EQ(lines[2].p2, Point(196.0, 180.0));
    for (std::size_t key = 0; key < lines.size(); ++key) EXPECT_EQ(lines[key].lineKey, static_cast<long>(key));
}

TEST(CandidateSearch, UnknownWidthsRunTheStagesOnNothing) {
    qv_streetFinderImpl impl = recordWith(brokenCross(), 4);
    impl.flags = 0;
    TracedRecord traced(impl);
    Crossings results(1);
    findEdgePairCrosses(impl, paramsOf(), results);
    EXPECT_EQ(results.size(), 1U);
    EXPECT_EQ(traced.text(), "\n%%Gen and score\n%centerx,centery, score, linsegments1-8(x,y)\nres=[\n];\n");
}

TEST(CandidateSearch, TraceIsOpenedAndClosedAndAppends) {
    qv_streetFinderImpl impl = recordWith({}, 0);
    TracedRecord traced(impl);
    crossesOf(impl);
    EXPECT_FALSE(impl.trace->stream.is_open());
    const std::string once =
        "\n%%Generate hpairs_\n\n%%Generate vpairs_\n\n%%Generate hquads_\n\n%%Generate vquads_\n"
        "\n%%Gen and score\n%centerx,centery, score, linsegments1-8(x,y)\nres=[\n];\n";
    EXPECT_EQ(traced.text(), once);
    crossesOf(impl);
    EXPECT_EQ(traced.text(), once + once);
}

TEST(CandidateSearch, TracingChangesNoResult) {
    qv_streetFinderImpl impl = recordWith(brokenCross(), 4);
    const Crossings plain = crossesOf(impl);
    TracedRecord traced(impl);
    const Crossings again = crossesOf(impl);
    ASSERT_EQ(again.size(), plain.size());
    EXPECT_EQ(again[0].crossing(), plain[0].crossing());
    EXPECT_EQ(again[0].score(), plain[0].score());
    EXPECT_EQ(again[0].lineSegs(), plain[0].lineSegs());
}
