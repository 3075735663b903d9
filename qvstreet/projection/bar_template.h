/// @file
/// Bar template: what a narrow street, both of its edges at once, looks like in the sums of a block, and the fit of it.
#ifndef QVSTREET_PROJECTION_BAR_TEMPLATE_H
#define QVSTREET_PROJECTION_BAR_TEMPLATE_H

#include <array>
#include <cstddef>
#include <map>
#include <memory>
#include <utility>

#include "qvstreet/projection/edge_template.h"

/// A street about its centre line: 1 inside, 0 outside, blurred by a Gaussian. Its two sides have levels of their own.
class qv_BarTemplate {
 public:
    /// @param sigma  blur along v, pels, the pel's own size included; from 0.3
    /// @param width  of the street along v, pels; above 0, and at most 8 for enough of the sides to be seen
    qv_BarTemplate(double sigma, double width);

    double sigma() const { return sigma_; }
    double width() const { return width_; }

    /// All pels are looked at.
    static constexpr std::size_t first() { return 0; }
    static constexpr std::size_t last() { return kEdgePels; }

    /// Fits the levels of the two sides, the contrast of the street and its offset from the line at once, as an edge is
    /// fitted; `level` is the mean of the sides.
    /// @returns false where the pels do not determine the four, or the contrast is 0
    bool fit(const qv_EdgeSums& block, qv_EdgeFit& result) const;

    /// Mean squared difference of a stack of blocks from the template, at the levels and the contrast that fit best.
    double misfit(const qv_EdgeStack& stack) const;

 private:
    /// Of the level, the difference of the sides, the contrast and the offset.
    static constexpr std::size_t kUnknowns = 4;
    using Columns = std::array<double, kUnknowns>;

    double sigma_;
    double width_;
    std::array<std::array<Columns, kEdgePels>, kEdgePhases> columns_;
    std::array<std::array<Columns, kUnknowns>, kEdgePhases> normal_;
};

/// Bar templates of the blurs and widths that are told apart, each made when it is first asked for.
class qv_BarTemplates {
 public:
    /// Blurs as `qv_EdgeTemplates`; widths in steps of a quarter of a pel from one pel on.
    static constexpr long kWidths = 29;
    static double widthOf(long step) { return 1.0 + 0.25 * static_cast<double>(step); }

    /// @param sigmaStep  0 to qv_EdgeTemplates::kCount - 1
    /// @param widthStep  0 to kWidths - 1
    const qv_BarTemplate& of(long sigmaStep, long widthStep);
    /// Whichever width is next to a number of pels.
    static long stepOfWidth(double pels);

    /// What a stack fits best.
    struct Best {
        const qv_BarTemplate* shape;
        /// Between the widths of the templates, pels.
        double width;
    };
    Best best(const qv_EdgeStack& stack);

 private:
    std::map<std::pair<long, long>, std::unique_ptr<qv_BarTemplate>> templates_;
};

#endif
