#include "qvstreet/projection/bar_template.h"

#include <gtest/gtest.h>

#include <cmath>

#include "tests/projection/drawn_street.h"

using namespace qvtest;

namespace {

/// A blurred street whose centre lies `offset` pels beyond the line, as sums of 64 columns an eighth.
struct DrawnBar {
    double before = 140.0;
    double beyond = 140.0;
    double contrast = -70.0;
    double offset = 0.0;
    double sigma = 1.0;
    double width = 5.0;
    double phaseShift = 0.0;
    std::array<std::uint32_t, kEdgePhases> counts{64, 64, 64, 64, 64, 64, 64, 64};

    qv_EdgeSums sums() const {
        qv_EdgeSums block{};
        block.counts = counts;
        block.phaseShift = phaseShift;
        for (std::size_t q = 0; q < kEdgePhases; ++q)
            for (std::size_t k = 0; k < kEdgePels; ++k) {
                const double f = (static_cast<double>(q) + 0.5) / 8.0 - 0.5 + phaseShift;
                const double distance = static_cast<double>(k) - 7.5 - f - offset;
                const double first = normalBelow((distance + 0.5 * width) / sigma);
                const double second = normalBelow((distance - 0.5 * width) / sigma);
                const double sides = before + (beyond - before) * 0.5 * (first + second);
                const double grey = sides + contrast * (first - second);
                block.sums[q][k] = static_cast<std::uint16_t>(std::floor(grey * counts[q] + 0.5));
            }
        return block;
    }
};

qv_EdgeFit fitOf(const DrawnBar& drawn) {
    qv_EdgeFit fit;
    EXPECT_TRUE(qv_BarTemplate(drawn.sigma, drawn.width).fit(drawn.sums(), fit));
    return fit;
}

qv_EdgeStack stackOf(const DrawnBar& drawn) {
    qv_EdgeFit fit;
    fit.level = drawn.before;
    fit.contrast = drawn.contrast;
    qv_EdgeStack stack;
    stack.add(drawn.sums(), fit);
    return stack;
}

}  // namespace

TEST(BarTemplate, aCentreNearItsLineIsFoundToAThousandthInEveryEighthAndPolarity) {
    for (std::size_t q = 0; q < kEdgePhases; ++q)
        for (const double contrast : {60.0, -70.0})
            for (const double offset : {-0.08, 0.0, 0.05, 0.1})
                for (const double phaseShift : {-0.0625, 0.0, 0.04}) {
                    DrawnBar drawn;
                    drawn.contrast = contrast;
                    drawn.offset = offset;
                    drawn.phaseShift = phaseShift;
                    drawn.counts = {};
                    drawn.counts[q] = 64;
                    const qv_EdgeFit fit = fitOf(drawn);
                    EXPECT_NEAR(fit.offset, offset, 0.001) << q << ", " << contrast << ", " << phaseShift;
                    EXPECT_NEAR(fit.contrast, contrast, 0.8);
                    EXPECT_NEAR(fit.level, 140.0, 0.3);
                }
}

TEST(BarTemplate, aBrighterDieOnOneSideDoesNotDrawTheCentreAside) {
    for (const double brighter : {30.0, -40.0}) {
        DrawnBar drawn;
        drawn.beyond += brighter;
        drawn.offset = 0.03;
        const qv_EdgeFit fit = fitOf(drawn);
        EXPECT_NEAR(fit.offset, 0.03, 0.001);
        EXPECT_NEAR(fit.level, 140.0 + 0.5 * brighter, 0.5);
        EXPECT_NEAR(fit.contrast, -70.0, 0.5);
        EXPECT_LT(fit.misfit, 0.1);
    }
}

TEST(BarTemplate, theMisfitIsThatOfTheShape) {
    EXPECT_LT(fitOf(DrawnBar()).misfit, 1e-3);
    qv_EdgeFit fit;
    DrawnBar wider;
    wider.width = 7.0;
    ASSERT_TRUE(qv_BarTemplate(1.0, 5.0).fit(wider.sums(), fit));
    EXPECT_GT(fit.misfit, 10.0);
}

TEST(BarTemplate, withoutContrastThereIsNoCentre) {
    DrawnBar drawn;
    drawn.contrast = 0.0;
    qv_EdgeFit fit;
    const bool fitted = qv_BarTemplate(1.0, 5.0).fit(drawn.sums(), fit);
    EXPECT_TRUE(!fitted || std::fabs(fit.contrast) < 1e-9);
}

TEST(BarTemplate, looksAtAllPels) {
    EXPECT_EQ(qv_BarTemplate::first(), 0u);
    EXPECT_EQ(qv_BarTemplate::last(), kEdgePels);
    EXPECT_EQ(qv_BarTemplate(1.25, 4.5).sigma(), 1.25);
    EXPECT_EQ(qv_BarTemplate(1.25, 4.5).width(), 4.5);
}

TEST(BarTemplates, areMadeOnceInQuartersOfAPelFromOneToEight) {
    EXPECT_EQ(qv_BarTemplates::widthOf(0), 1.0);
    EXPECT_EQ(qv_BarTemplates::widthOf(qv_BarTemplates::kWidths - 1), 8.0);
    qv_BarTemplates templates;
    EXPECT_EQ(templates.of(7, 14).width(), 4.5);
    EXPECT_NEAR(templates.of(7, 14).sigma(), 0.8, 1e-12);
    EXPECT_EQ(&templates.of(7, 14), &templates.of(7, 14));
    EXPECT_NE(&templates.of(7, 14), &templates.of(7, 15));
    EXPECT_NE(&templates.of(7, 14), &templates.of(8, 14));
}

TEST(BarTemplates, theNearestWidthIsTaken) {
    EXPECT_EQ(qv_BarTemplates::stepOfWidth(1.12), 0);
    EXPECT_EQ(qv_BarTemplates::stepOfWidth(1.13), 1);
    EXPECT_EQ(qv_BarTemplates::stepOfWidth(5.0), 16);
    EXPECT_EQ(qv_BarTemplates::stepOfWidth(-3.0), 0);
    EXPECT_EQ(qv_BarTemplates::stepOfWidth(900.0), 28);
}

TEST(BarTemplates, theStacksOwnShapeFitsItBest) {
    DrawnBar drawn;
    drawn.sigma = 0.8;
    drawn.width = 4.5;
    const qv_EdgeStack stack = stackOf(drawn);
    EXPECT_LT(qv_BarTemplate(0.8, 4.5).misfit(stack), 1e-6);
    EXPECT_GT(qv_BarTemplate(0.8, 4.25).misfit(stack), 1e-4);
    EXPECT_GT(qv_BarTemplate(0.8, 4.75).misfit(stack), 1e-4);
    EXPECT_GT(qv_BarTemplate(0.9, 4.5).misfit(stack), 1e-5);
}

TEST(BarTemplates, theWidthIsFoundBetweenTheSteps) {
    for (const double width : {4.9, 5.6, 6.35}) {
        DrawnBar drawn;
        drawn.sigma = 0.95;
        drawn.width = width;
        qv_BarTemplates templates;
        const qv_BarTemplates::Best best = templates.best(stackOf(drawn));
        EXPECT_NEAR(best.width, width, 0.02);
        EXPECT_NEAR(best.shape->sigma(), 0.95, 1e-9);
    }
}
