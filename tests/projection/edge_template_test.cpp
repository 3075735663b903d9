#include "qvstreet/projection/edge_template.h"

#include <gtest/gtest.h>

#include <cmath>
#include <memory>

#include "tests/projection/drawn_street.h"

using namespace qvtest;

namespace {

/// A blurred edge `offset` pels beyond its line, as sums of 64 columns an eighth. Sums are whole, which leaves an error of
/// 1/128 of a grey level.
struct DrawnBlock {
    double level = 60.0;
    double contrast = 100.0;
    double offset = 0.0;
    double sigma = 0.8;
    double phaseShift = 0.0;
    std::array<std::uint32_t, kEdgePhases> counts{64, 64, 64, 64, 64, 64, 64, 64};
    /// Added to each pel, grey levels.
    std::array<double, kEdgePels> pads{};

    qv_EdgeSums sums() const {
        qv_EdgeSums block{};
        block.counts = counts;
        block.phaseShift = phaseShift;
        for (std::size_t q = 0; q < kEdgePhases; ++q)
            for (std::size_t k = 0; k < kEdgePels; ++k) {
                const double f = (static_cast<double>(q) + 0.5) / 8.0 - 0.5 + phaseShift;
                const double distance = static_cast<double>(k) - 7.5 - f - offset;
                const double grey = level + contrast * normalBelow(distance / sigma) + pads[k];
                block.sums[q][k] = static_cast<std::uint16_t>(std::floor(grey * static_cast<double>(counts[q]) + 0.5));
            }
        return block;
    }
};

qv_EdgeFit fitOf(const DrawnBlock& drawn, std::size_t first = 0, std::size_t last = kEdgePels) {
    const qv_EdgeTemplate edge(0.8);
    qv_EdgeFit fit;
    EXPECT_TRUE(qv_EdgeWindow(edge, first, last).fit(drawn.sums(), fit));
    return fit;
}

qv_EdgeStack stackOf(const DrawnBlock& drawn) {
    qv_EdgeStack stack;
    qv_EdgeFit fit;
    fit.level = drawn.level;
    fit.contrast = drawn.contrast;
    stack.add(drawn.sums(), fit);
    return stack;
}

}  // namespace

TEST(EdgeTemplate, isTheBlurredStepAndItsDerivativeByDistanceFromTheLine) {
    const qv_EdgeTemplate edge(1.0);
    EXPECT_EQ(edge.sigma(), 1.0);
    // In the first eighth the line passes 7/16 of a pel above a pel border, in the last as far below.
    EXPECT_NEAR(edge.edge(0, 7), 0.4750823310, 1e-7);
    EXPECT_NEAR(edge.slope(0, 7), 0.3981638567, 1e-7);
    EXPECT_NEAR(edge.edge(7, 8), 0.5249176690, 1e-7);
    const qv_EdgeTemplate sharp(0.8);
    // 0.4375 + 0.125 pels before the line.
    EXPECT_NEAR(sharp.edge(4, 7), 0.2409889268, 1e-7);
    EXPECT_NEAR(sharp.slope(4, 7), 0.3894626289, 1e-7);
}

TEST(EdgeTemplate, rises) {
    const qv_EdgeTemplate edge(1.2);
    for (std::size_t q = 0; q < kEdgePhases; ++q) {
        EXPECT_NEAR(edge.edge(q, 0), 0.0, 1e-6);
        EXPECT_NEAR(edge.edge(q, 15), 1.0, 1e-6);
        for (std::size_t k = 0; k + 1 < kEdgePels; ++k) EXPECT_LE(edge.edge(q, k), edge.edge(q, k + 1));
    }
}

TEST(EdgeTemplate, anEdgeNearItsLineIsFoundToAThousandthInEveryEighthAndPolarity) {
    for (std::size_t q = 0; q < kEdgePhases; ++q)
        for (const double contrast : {100.0, -45.0})
            for (const double offset : {-0.08, -0.03, 0.0, 0.05, 0.1})
                for (const double phaseShift : {-0.0625, 0.0, 0.04}) {
                    DrawnBlock drawn;
                    drawn.contrast = contrast;
                    drawn.offset = offset;
                    drawn.phaseShift = phaseShift;
                    drawn.counts = {};
                    drawn.counts[q] = 64;
                    const qv_EdgeFit fit = fitOf(drawn);
                    EXPECT_NEAR(fit.offset, offset, 0.001) << q << ", " << contrast << ", " << phaseShift;
                    EXPECT_NEAR(fit.contrast, contrast, 0.01 * std::fabs(contrast));
                    EXPECT_NEAR(fit.level, 60.0, 0.01 * std::fabs(contrast));
                }
}

TEST(EdgeTemplate, columnsOfUnequalNumbersCountByTheirNumber) {
    DrawnBlock drawn;
    drawn.counts = {1, 0, 7, 0, 0, 64, 3, 11};
    drawn.offset = 0.06;
    EXPECT_NEAR(fitOf(drawn).offset, 0.06, 0.002);
}

TEST(EdgeTemplate, theLevelIsFree) {
    DrawnBlock drawn;
    drawn.offset = 0.04;
    const qv_EdgeFit before = fitOf(drawn);
    drawn.level += 37.0;
    const qv_EdgeFit after = fitOf(drawn);
    EXPECT_NEAR(after.offset, before.offset, 1e-5);
    EXPECT_NEAR(after.level, before.level + 37.0, 1e-3);
    EXPECT_NEAR(after.contrast, before.contrast, 1e-3);
}

TEST(EdgeTemplate, pelsOutsideTheWindowDoNotCount) {
    DrawnBlock drawn;
    drawn.offset = -0.05;
    const qv_EdgeFit clean = fitOf(drawn, 3, 12);
    for (const std::size_t k : {0u, 1u, 2u, 12u, 13u, 14u, 15u}) drawn.pads[k] = 60.0;
    const qv_EdgeFit padded = fitOf(drawn, 3, 12);
    EXPECT_EQ(padded.offset, clean.offset);
    EXPECT_EQ(padded.contrast, clean.contrast);
    EXPECT_EQ(padded.misfit, clean.misfit);
    EXPECT_NEAR(padded.offset, -0.05, 0.001);
    // The same pads are in the way of the whole window.
    EXPECT_GT(fitOf(drawn).misfit, 100.0);
}

TEST(EdgeTemplate, aWindowCutOnOneSideIsNoLessExact) {
    for (const double offset : {-0.08, 0.02, 0.09})
        for (const std::size_t side : {0u, 1u}) {
            DrawnBlock drawn;
            drawn.offset = offset;
            for (std::size_t k = 0; k < 5; ++k) drawn.pads[side == 0 ? k : 15 - k] = -50.0;
            EXPECT_NEAR(fitOf(drawn, side == 0 ? 5 : 0, side == 0 ? 16 : 11).offset, offset, 0.001);
        }
}

TEST(EdgeTemplate, theMisfitIsTheMeanSquareOfWhatIsLeft) {
    EXPECT_LT(fitOf(DrawnBlock()).misfit, 1e-3);
    DrawnBlock drawn;
    drawn.pads[1] = 16.0;
    // Of the 16^2 / 16 the level before the edge, of some seven pels, takes a seventh upon itself.
    EXPECT_NEAR(fitOf(drawn).misfit, 13.7, 0.2);
}

TEST(EdgeTemplate, withoutContrastThereIsNoOffset) {
    const qv_EdgeTemplate edge(0.8);
    DrawnBlock drawn;
    drawn.contrast = 0.0;
    qv_EdgeFit fit;
    EXPECT_FALSE(qv_EdgeWindow(edge, 0, kEdgePels).fit(drawn.sums(), fit));
}

TEST(EdgeTemplate, pelsBesideTheEdgeAloneDetermineNothing) {
    const qv_EdgeTemplate edge(0.45);
    qv_EdgeFit fit;
    EXPECT_FALSE(qv_EdgeWindow(edge, 0, 3).fit(DrawnBlock().sums(), fit));
    EXPECT_FALSE(qv_EdgeWindow(edge, 13, 16).fit(DrawnBlock().sums(), fit));
    EXPECT_TRUE(qv_EdgeWindow(edge, 5, 11).fit(DrawnBlock().sums(), fit));
}

TEST(EdgeTemplate, aWindowKnowsItsPels) {
    const qv_EdgeTemplate edge(0.8);
    const qv_EdgeWindow window(edge, 2, 11);
    EXPECT_EQ(window.first(), 2u);
    EXPECT_EQ(window.last(), 11u);
}

TEST(EdgeStack, withoutBlocksHasNoMisfit) { EXPECT_EQ(qv_EdgeStack().misfit(qv_EdgeTemplate(0.8)), 0.0); }

TEST(EdgeStack, blocksOfOtherLevelsAndPolaritiesShowTheSameEdge) {
    DrawnBlock drawn;
    qv_EdgeStack stack = stackOf(drawn);
    drawn.level = 210.0;
    drawn.contrast = -80.0;
    qv_EdgeFit fit;
    fit.level = drawn.level;
    fit.contrast = drawn.contrast;
    stack.add(drawn.sums(), fit);
    EXPECT_LT(stack.misfit(qv_EdgeTemplate(0.8)), 1e-7);
    EXPECT_GT(stack.misfit(qv_EdgeTemplate(1.1)), 1e-4);
    EXPECT_GT(stack.misfit(qv_EdgeTemplate(0.5)), 1e-4);
}

TEST(EdgeStack, theMisfitIsFreeOfLevelAndContrast) {
    // Added with a fit that was wrong about both.
    qv_EdgeStack stack;
    qv_EdgeFit fit;
    fit.level = 50.0;
    fit.contrast = 80.0;
    stack.add(DrawnBlock().sums(), fit);
    EXPECT_LT(stack.misfit(qv_EdgeTemplate(0.8)), 1e-7);
}

TEST(EdgeStack, padsAreLeftOutFromWhereTheyBegin) {
    const qv_EdgeTemplate edge(0.8);
    DrawnBlock drawn;
    qv_EdgeStack::Pels pels = stackOf(drawn).likeEdge(edge);
    EXPECT_EQ(pels.first, 0u);
    EXPECT_EQ(pels.last, 16u);
    drawn.pads[13] = 5.0;
    pels = stackOf(drawn).likeEdge(edge);
    EXPECT_EQ(pels.first, 0u);
    EXPECT_EQ(pels.last, 13u);
    drawn.pads[2] = -5.0;
    pels = stackOf(drawn).likeEdge(edge);
    EXPECT_EQ(pels.first, 3u);
    EXPECT_EQ(pels.last, 13u);
}

TEST(EdgeStack, aFiftiethOfTheContrastIsNoPad) {
    const qv_EdgeTemplate edge(0.8);
    DrawnBlock drawn;
    drawn.pads[13] = 1.95;
    EXPECT_EQ(stackOf(drawn).likeEdge(edge).last, 16u);
    drawn.pads[13] = 2.05;
    EXPECT_EQ(stackOf(drawn).likeEdge(edge).last, 13u);
}

TEST(EdgeStack, theEdgeItselfIsKeptWhateverIsThere) {
    const auto keptAt = [](double sigma) {
        DrawnBlock drawn;
        drawn.sigma = sigma;
        for (const std::size_t k : {0u, 1u, 2u, 3u, 12u, 13u, 14u, 15u}) drawn.pads[k] = 90.0;
        return stackOf(drawn).likeEdge(qv_EdgeTemplate(sigma));
    };
    // 2.2 * 0.45 and 2.2 * 0.8, rounded up, and one more; three at least.
    DrawnBlock drawn;
    drawn.sigma = 0.45;
    drawn.pads[4] = drawn.pads[11] = 90.0;
    const qv_EdgeStack::Pels sharp = stackOf(drawn).likeEdge(qv_EdgeTemplate(0.45));
    EXPECT_GE(sharp.first, 5u);
    EXPECT_LE(sharp.last, 11u);
    EXPECT_EQ(keptAt(0.8).first, 4u);
    EXPECT_EQ(keptAt(0.8).last, 12u);
    // 2.2 * 3 rounded up, and one more: all eight.
    EXPECT_EQ(keptAt(3.0).first, 0u);
    EXPECT_EQ(keptAt(3.0).last, 16u);
}

TEST(EdgeTemplates, areMadeOnceInStepsOfATwentiethFromNineTwentieths) {
    qv_EdgeTemplates templates;
    EXPECT_EQ(qv_EdgeTemplates::sigmaOf(0), 0.45);
    EXPECT_NEAR(templates.of(7).sigma(), 0.8, 1e-12);
    EXPECT_NEAR(templates.of(qv_EdgeTemplates::kCount - 1).sigma(), 3.0, 1e-12);
    EXPECT_EQ(&templates.of(7), &templates.of(7));
    EXPECT_NE(&templates.of(7), &templates.of(8));
}

TEST(EdgeTemplates, theBlurOfTheStackIsFound) {
    for (const long step : {0L, 3L, 7L, 20L, 37L}) {
        DrawnBlock first;
        first.sigma = qv_EdgeTemplates::sigmaOf(step);
        DrawnBlock second = first;
        second.level = 200.0;
        second.contrast = -70.0;
        qv_EdgeTemplates templates;
        EXPECT_EQ(templates.bestStep({stackOf(first), stackOf(second)}), step);
        EXPECT_EQ(templates.bestStep({stackOf(first), qv_EdgeStack()}), step);
    }
}
