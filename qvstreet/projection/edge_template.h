/// @file
/// Edge template: what an edge looks like in the sums of a block, and the fit of it.
#ifndef QVSTREET_PROJECTION_EDGE_TEMPLATE_H
#define QVSTREET_PROJECTION_EDGE_TEMPLATE_H

#include <array>
#include <cstddef>
#include <memory>

#include "qvstreet/projection/edge_points.h"

/// The answer of the pels around one block.
struct qv_EdgeFit {
    /// Grey level before the edge, and how much more lies beyond it.
    double level = 0.0;
    double contrast = 0.0;
    /// How far, in pels of v, the edge lies beyond the line.
    double offset = 0.0;
    /// Mean over the pels of the squared difference from the template, grey levels squared.
    double misfit = 0.0;
};

/// An edge along its line: 0 before and 1 beyond, blurred by a Gaussian; and its derivative. By eighth and pel, as the
/// sums of a block are.
class qv_EdgeTemplate {
 public:
    /// @param sigma  blur along v, pels, the pel's own size included; from 0.3
    explicit qv_EdgeTemplate(double sigma);

    double sigma() const { return sigma_; }
    double edge(std::size_t phase, std::size_t pel) const { return static_cast<double>(edge_[phase][pel]); }
    double slope(std::size_t phase, std::size_t pel) const { return static_cast<double>(slope_[phase][pel]); }

 private:
    friend class qv_EdgeWindow;
    using Table = std::array<std::array<float, kEdgePels>, kEdgePhases>;

    double sigma_;
    Table edge_;
    Table slope_;
};

/// The pels of a template that are fitted: the others may belong to pads or to other edges.
class qv_EdgeWindow {
 public:
    /// Pels `first` up to but not including `last`. Keeps a reference to the template.
    qv_EdgeWindow(const qv_EdgeTemplate& edge, std::size_t first, std::size_t last);

    std::size_t first() const { return first_; }
    std::size_t last() const { return last_; }

    /// Fits level, contrast and offset at once: least squares of level + contrast * edge(d - offset) about offset 0, in
    /// which the offset enters by the first derivative. Good for offsets well below the blur.
    /// @returns false where the pels do not determine the three, or the contrast is 0
    bool fit(const qv_EdgeSums& block, qv_EdgeFit& result) const;

 private:
    struct Normal {
        double one = 0.0, edge = 0.0, slope = 0.0, edgeEdge = 0.0, edgeSlope = 0.0, slopeSlope = 0.0;
    };

    const qv_EdgeTemplate* edge_;
    std::size_t first_;
    std::size_t last_;
    std::array<Normal, kEdgePhases> normal_;
};

/// Blocks of one edge on top of each other, each as (grey - level) / contrast: what they have in common.
class qv_EdgeStack {
 public:
    void add(const qv_EdgeSums& block, const qv_EdgeFit& fit);
    /// By eighth and pel, and columns by eighth.
    const std::array<std::array<double, kEdgePels>, kEdgePhases>& sums() const { return sums_; }
    const std::array<double, kEdgePhases>& counts() const { return counts_; }

    /// Mean squared difference of the pels about the line from the template, at the level and contrast that fit best.
    double misfit(const qv_EdgeTemplate& edge) const;

    /// The pels, about the line, that look like the edge on either side: [first, last). Always those of the edge
    /// itself, three to eight on either side.
    struct Pels {
        std::size_t first;
        std::size_t last;
    };
    Pels likeEdge(const qv_EdgeTemplate& edge) const;
    /// Those of the edge itself.
    static Pels nearest(const qv_EdgeTemplate& edge);

    /// What structures beside the edge may do to its offset, pels: by how much the offset of the stack depends on
    /// whether all of `pels` are fitted or the nearest only, less what noise makes of that.
    double shapeDeviation(const qv_EdgeTemplate& edge, const Pels& pels) const;

 private:
    struct Levels {
        double level = 0.0;
        double contrast = 1.0;
    };
    /// Of the template that fits best over so many pels on either side.
    Levels levels(const qv_EdgeTemplate& edge, std::size_t reach) const;
    /// Offset of the stack from the template, pels; false where the pels do not determine it.
    bool offset(const qv_EdgeTemplate& edge, const Pels& pels, double& found) const;

    std::array<std::array<double, kEdgePels>, kEdgePhases> sums_{};
    std::array<double, kEdgePhases> counts_{};
};

/// Templates of all blurs that are told apart, each made when it is first asked for.
class qv_EdgeTemplates {
 public:
    /// Blurs from 0.45 pels in steps of 0.05.
    static constexpr long kCount = 52;
    static double sigmaOf(long step) { return 0.45 + 0.05 * static_cast<double>(step); }

    /// @param step  0 to kCount - 1
    const qv_EdgeTemplate& of(long step);
    /// The step whose template the stacks of a street's edges fit best.
    long bestStep(const std::array<qv_EdgeStack, 2>& stacks);

 private:
    std::array<std::unique_ptr<qv_EdgeTemplate>, kCount> templates_;
};

#endif
