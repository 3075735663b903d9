// Records of the candidate stages and of the final score.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "qvstreet/candidates/candidate_search_records.h"
#include "qvstreet/candidates/final_selection.h"
#include "tests/candidates/scored_cross.h"
#include "tests/support/recorded.h"

namespace {

using Crosses = std::vector<qvStreetFinderStreetCrossResult>;
using qvtest::columnOf;
using qvtest::recordOf;
using qvtest::scoredCross;
using qvtest::shapesOf;
using qvtest::tableOf;
using Cells = std::vector<std::wstring>;

/// 300 by 400 pels: four diagonals are 2000.
qv_candidateContext contextFor(long maxResults) {
    qv_candidateContext context;
    context.maxResults = maxResults;
    context.imageSize = {300, 400};
    context.tolerances = qvtest::crossTolerances();
    return context;
}

/// The cross moved along x, its lower right arm longer, which betters its score.
qvStreetFinderStreetCrossResult crossAt(double dx, double longer) {
    qvStreetFinderStreetCrossResult cross = scoredCross(dx, 0.0);
    const auto& s = qvtest::kCrossSegments[7];
    qv_streetResultAccess::lineSegs(cross)[7] = qvtest::seg(s[0] + dx, s[1], s[2] + dx + longer, s[3]);
    return cross;
}

struct Selected {
    Crosses out;
    qvDiagObject diagObject;

    Selected(Crosses pairCrosses, Crosses quadCrosses, long maxResults) {
        selectFinalCrosses(out, pairCrosses, quadCrosses, contextFor(maxResults), qvtest::evenImage(), nullptr,
                           &diagObject);
    }
    const qvDiagRecord& record() const { return recordOf(diagObject, L"Final Scores"); }
    const qvDiagTable& table() const { return tableOf(record(), L"Crosses"); }
};

}  // namespace

TEST(CandidateRecords, CountsAreOfTheListsThatWereKept) {
    qv_candidateStore store;
    store.hpairs_.resize(1);
    store.vpairs_.resize(2);
    store.hquads_.resize(3);
    store.vquads_.resize(4);
    qv_candidateContext context = contextFor(1);
    context.maxPairs = 11;
    context.maxQuads = 12;
    qvDiagObject diagObject;
    recordCandidateCounts(store, {5, 6}, 7, 8, context, diagObject);
    const qvDiagRecord& record = recordOf(diagObject, L"Candidates");
    EXPECT_EQ(columnOf(tableOf(record, L"Counts"), L"direction 0"), (Cells{L"5", L"1", L"3"}));
    EXPECT_EQ(columnOf(tableOf(record, L"Counts"), L"direction 1"), (Cells{L"6", L"2", L"4"}));
    EXPECT_EQ(columnOf(tableOf(record, L"Counts"), L"at most"), (Cells{L"", L"11", L"12"}));
    EXPECT_EQ(columnOf(tableOf(record, L"Crosses"), L"number"), (Cells{L"7", L"8"}));
    EXPECT_EQ(qvtest::textOf(record, L"Street widths"), L"X 5.0000 to 16.0000, Y 3.0000 to 9.0000 client units");
}

TEST(FinalScoreRecords, CrossesComeInTheOrderInWhichTheyAreLookedAt) {
    // Equal scores at 0 and 50: the one of eight lines first. The one at 54 is too near, the last one too many.
    const Selected run({crossAt(50.0, 0.0), crossAt(100.0, 20.0)}, {crossAt(0.0, 0.0), crossAt(104.0, 10.0)}, 2);
    EXPECT_EQ(run.out.size(), 2U);
    EXPECT_EQ(columnOf(run.table(), L"rank"), (Cells{L"1", L"2", L"3", L"4"}));
    EXPECT_EQ(columnOf(run.table(), L"made of"), (Cells{L"four lines", L"eight lines", L"eight lines", L"four lines"}));
    EXPECT_EQ(columnOf(run.table(), L"crossing (client)"),
              (Cells{L"200.0000, 60.0000", L"204.0000, 60.0000", L"100.0000, 60.0000", L"150.0000, 60.0000"}));
    EXPECT_EQ(columnOf(run.table(), L"use"), (Cells{L"kept", L"dropped: nearer than 5 to a better one", L"kept",
                                                    L"dropped: beyond the number asked for"}));
    // A kept cross shows its crossing and its eight segments, a dropped one its crossing.
    EXPECT_EQ(shapesOf(run.record(), L"Kept").size(), 18U);
    EXPECT_EQ(shapesOf(run.record(), L"Dropped").size(), 2U);
}

TEST(FinalScoreRecords, TermsAreThoseOfTheScore) {
    const Selected run({}, {crossAt(0.0, 0.0)}, 1);
    // 450 of 2000 are there; everything else is perfect.
    EXPECT_EQ(columnOf(run.table(), L"missing length (x 2)"), (Cells{L"0.7750"}));
    EXPECT_EQ(columnOf(run.table(), L"score"), (Cells{L"0.8014"}));
    for (const wchar_t* const term : {L"residual / 10", L"orthogonality", L"width (x 2)", L"contrast"})
        EXPECT_EQ(columnOf(run.table(), term), (Cells{L"0.0000"})) << term;
    EXPECT_EQ(columnOf(run.table(), L"parallelism (x 10)"), (Cells{L"0.0000"}));
}

TEST(FinalScoreRecords, ResultsAreTheSameWithoutThem) {
    const Selected run({crossAt(50.0, 0.0), crossAt(100.0, 20.0)}, {crossAt(0.0, 0.0), crossAt(104.0, 10.0)}, 3);
    Crosses plain;
    Crosses pairCrosses = {crossAt(50.0, 0.0), crossAt(100.0, 20.0)};
    Crosses quadCrosses = {crossAt(0.0, 0.0), crossAt(104.0, 10.0)};
    selectFinalCrosses(plain, pairCrosses, quadCrosses, contextFor(3), qvtest::evenImage(), nullptr, nullptr);
    ASSERT_EQ(plain.size(), run.out.size());
    for (std::size_t i = 0; i < plain.size(); ++i) {
        EXPECT_EQ(plain[i].score(), run.out[i].score());
        EXPECT_EQ(plain[i].crossing(), run.out[i].crossing());
    }
}

TEST(FinalScoreRecords, SegmentsOfTheFirstFortyCrossesAreDrawn) {
    Crosses crosses;
    for (int i = 0; i < 42; ++i) crosses.push_back(crossAt(6.0 * i, 0.0));
    const Selected run(crosses, {}, 50);
    ASSERT_EQ(run.out.size(), 42U);
    EXPECT_EQ(shapesOf(run.record(), L"Kept").size(), 42U + 40U * 8U);
}
