/// @file
/// The caliper: finds edges across a sampled rectangle, alone or in pairs, to a fraction of a sample.
///
///       +--------------------------+     The samples of the rectangle are averaged along its y side into a profile
///       |        |////////|        |     along its x side. An edge is a place where the profile changes most.
///       |  light |// dark |  light |
///       |        |////////|        |     Positions are along the x side, in client units from the rectangle's centre.
///       +--------fall----rise------+-> x
///
/// A contrast is a difference of mean grey levels, 0 to 255, with a sign: positive where the profile rises along x.
#ifndef QVSTREET_PLATFORM_CALIPER_H
#define QVSTREET_PLATFORM_CALIPER_H

#include <cstdint>
#include <vector>

#include "qvstreet/platform/export.h"
#include "qvstreet/platform/pel_buffer.h"
#include "qvstreet/platform/sampling.h"

class qvCaliperResultSet;
class qvCaliperRunParams;
class qvDiagObject;
class qvGraphicList;
struct qv_CaliperRun;

/// Runs a caliper over the rectangle of `sampling`.
///
/// Samples outside the image do not count: a column is the mean of its samples inside, and the profile is the run of
/// columns with samples inside around the rectangle's middle. Without such a column at the middle nothing is found.
/// Finding nothing is no error.
/// @param image       any client frame; the rectangle is in that frame
/// @param sampling    interpolation 1 takes the nearest pel, 2 interpolates bilinearly without rounding to grey levels
/// @param params      what to look for; its scoring methods must be alive
/// @param results     replaced as a whole; as before the call if an exception leaves it
/// @param diagObject  like `flags`; may be null
/// @param flags       taken for callers that hand on what they were given, and not read: a run leaves no record. Its
///                    caller has the results and knows what they mean; `qvCaliperResultSet::draw` shows them in a
///                    record of his own
/// @throws qvPel::UnboundWindow, qvMatrixErr::Singular for a client transform without inverse, whatever a scoring
///         method throws
QV_EXPORT void qfCaliperRun(const qvPelBuffer_const<unsigned char>& image, const qvAffineSamplingParams& sampling,
                            const qvCaliperRunParams& params, qvCaliperResultSet& results, qvDiagObject* diagObject,
                            std::uint32_t flags);

/// Scope of the caliper's enumerations.
class QV_EXPORT qvCaliperDefs {
 public:
    /// Direction of an edge, along the rectangle's x side.
    enum qeEdgePolarity : std::int32_t {
        /// From dark to light.
        eRise = 1,
        /// From light to dark.
        eFall = 2,
        /// Any of the two.
        eEither = 3
    };

    /// What `qvCaliperResultSet::draw` shows: any of these together.
    enum qeDraw : std::int32_t {
        /// The rectangle's outline, and an arrow along its middle line in the direction of the x side; green.
        eDrawRegion = 1,
        /// A bar across the middle line at each edge of `resultEdges()`: rises yellow, falls blue.
        eDrawEdges = 2,
        /// The score beside the position of each result, in the colour of its bar.
        eDrawScores = 4,
        /// A bar over the whole y side at the position of each result: the best red, the others dark green.
        eDrawResults = 8
    };
};

/// What a scoring method judges: one edge, or a pair of edges.
struct QV_EXPORT qvCaliperFeatures {
    /// 1 or 2. The second number of each pair below is 0 for a single edge.
    int numEdges = 1;
    /// Found positions, in client units from the rectangle's centre; in order along the x side.
    qvPair<double> positions{0.0, 0.0};
    /// Contrasts of the edges, with their signs.
    qvPair<double> contrasts{0.0, 0.0};
    /// Positions asked for, the first one belonging to the first edge.
    qvPair<double> askedPositions{0.0, 0.0};
};

/// Judges candidates by one number, its measure, which a line with two ends turns into a score. A host may derive its
/// own measures.
///
///     y0 ____                     The score is y0 at x0 and before, y1 at x1 and beyond, and linear between; but 0
///            \                    beyond xc. Beyond is the direction from x0 to x1, which may run either way; with
///             \___ y1             equal x0 and x1 it is upward, and at x0 itself the score is y0.
///           x0 x1  | 0
///                  xc
class QV_EXPORT qvCaliperScore {
 public:
    /// The numbers are stored as given; x0, x1 and xc are in the unit of the measure.
    qvCaliperScore(double x0, double x1, double xc, double y0, double y1);
    virtual ~qvCaliperScore();

    /// The numbers, as given.
    double x0() const { return x0_; }
    double x1() const { return x1_; }
    double xc() const { return xc_; }
    double y0() const { return y0_; }
    double y1() const { return y1_; }

    /// The number that this method looks at.
    virtual double measure(const qvCaliperFeatures& features) const = 0;
    /// The score of a measure; 0 for NaN.
    double scoreOfMeasure(double measure) const;
    /// The score of a candidate.
    double score(const qvCaliperFeatures& features) const { return scoreOfMeasure(measure(features)); }

 protected:
    qvCaliperScore(const qvCaliperScore&) = default;
    qvCaliperScore& operator=(const qvCaliperScore&) = default;

 private:
    double x0_;
    double x1_;
    double xc_;
    double y0_;
    double y1_;
};

/// Judges by strength: the mean magnitude of the contrasts, in grey levels.
class QV_EXPORT qvScoreContrast : public qvCaliperScore {
 public:
    /// (255, 0, 0, 1, 0) gives the contrast's share of the full one.
    qvScoreContrast(double x0, double x1, double xc, double y0, double y1);
    double measure(const qvCaliperFeatures& features) const override;
};

/// Judges by size: the magnitude of the difference between the pair's separation and the asked one, as a share of the
/// asked one. Where both are 0, as for a single edge, the measure is 0; where only the asked one is, it is infinite.
class QV_EXPORT qvScoreSizeDiffNorm : public qvCaliperScore {
 public:
    /// (0, 1, 1, 1, 0) gives 1 for the asked separation and 0 for twice as much or nothing.
    qvScoreSizeDiffNorm(double x0, double x1, double xc, double y0, double y1);
    double measure(const qvCaliperFeatures& features) const override;
};

/// What a caliper looks for: edges of one polarity, or pairs of them.
class QV_EXPORT qvCaliperRunParams {
 public:
    /// Single edges.
    /// @param position  where the edge is asked for, in client units from the rectangle's centre. It moves no result:
    ///                  it is there for scoring methods
    qvCaliperRunParams(double position, qvCaliperDefs::qeEdgePolarity polarity);
    /// Pairs of edges. The positions are relative to the pair's centre, in client units along the x side; the edge with
    /// the smaller one is the first of the pair. With equal positions it is the first named.
    qvCaliperRunParams(double position0, qvCaliperDefs::qeEdgePolarity polarity0, double position1,
                       qvCaliperDefs::qeEdgePolarity polarity1);
    virtual ~qvCaliperRunParams();
    qvCaliperRunParams(const qvCaliperRunParams&) = default;
    qvCaliperRunParams& operator=(const qvCaliperRunParams&) = default;

    /// 1 or 2.
    int numEdges() const { return numEdges_; }
    /// As given; 0 and `eEither` for the second of a single edge.
    double position0() const { return position0_; }
    double position1() const { return position1_; }
    qvCaliperDefs::qeEdgePolarity polarity0() const { return polarity0_; }
    qvCaliperDefs::qeEdgePolarity polarity1() const { return polarity1_; }

    /// The number of samples on each side of an edge whose means are compared. Default 2.
    short filterHalfSize() const { return filterHalfSize_; }
    /// @throws qvPel::BadSize below 1
    void filterHalfSize(short samples);

    /// The smallest magnitude of an edge's contrast, in grey levels, itself included. Default 5.0.
    double contrastThreshold() const { return contrastThreshold_; }
    /// Any value; with NaN nothing is an edge.
    void contrastThreshold(double contrast) { contrastThreshold_ = contrast; }

    /// The largest number of results. Default 1.
    short maxNumResults() const { return maxNumResults_; }
    /// @throws qvPel::BadSize below 1
    void maxNumResults(short count);

    /// A candidate's score is the geometric mean of its scores by these methods; one that is not above 0 drops the
    /// candidate. Without methods, which is the default, the score is the mean magnitude of the contrasts divided by
    /// 255, so that the strongest comes first.
    const std::vector<qvCaliperScore*>& scoringMethods() const { return scoringMethods_; }
    /// The objects stay the caller's and must outlive the run. Null entries are left out.
    void scoringMethods(const std::vector<qvCaliperScore*>& methods);

 private:
    int numEdges_;
    double position0_;
    double position1_ = 0.0;
    qvCaliperDefs::qeEdgePolarity polarity0_;
    qvCaliperDefs::qeEdgePolarity polarity1_ = qvCaliperDefs::eEither;
    short filterHalfSize_ = 2;
    double contrastThreshold_ = 5.0;
    short maxNumResults_ = 1;
    std::vector<qvCaliperScore*> scoringMethods_;
};

/// An edge of the profile.
class QV_EXPORT qvCaliperResultEdge {
 public:
    /// Contrast and position 0.
    qvCaliperResultEdge() = default;
    qvCaliperResultEdge(double contrast, double position) : contrast_(contrast), position_(position) {}

    /// Grey levels; positive for a rise along the rectangle's x side, negative for a fall. Never 0 in a result set.
    double contrast() const { return contrast_; }
    /// Client units along x from the rectangle's centre.
    double position() const { return position_; }

 private:
    double contrast_ = 0.0;
    double position_ = 0.0;
};

/// A scored edge, or a scored pair of edges.
class QV_EXPORT qvCaliperOneResult {
 public:
    /// Position and score 0.
    qvCaliperOneResult() = default;
    qvCaliperOneResult(double position, double score) : position_(position), score_(score) {}

    /// The edge, or the middle between the two edges: client units along x from the rectangle's centre.
    double position() const { return position_; }
    /// Above 0 in a result set; 1 is the best where the scoring methods go no higher.
    double score() const { return score_; }

 private:
    double position_ = 0.0;
    double score_ = 0.0;
};

/// The scored results of a run, and where they lie in the image.
class QV_EXPORT qvCaliperBaseResultSet {
 public:
    /// No results.
    qvCaliperBaseResultSet() = default;
    virtual ~qvCaliperBaseResultSet();
    qvCaliperBaseResultSet(const qvCaliperBaseResultSet&) = default;
    qvCaliperBaseResultSet& operator=(const qvCaliperBaseResultSet&) = default;
    qvCaliperBaseResultSet(qvCaliperBaseResultSet&&) = default;
    qvCaliperBaseResultSet& operator=(qvCaliperBaseResultSet&&) = default;

    /// Best first, at most `maxNumResults`; equal scores in order along the x side, pairs by their first edge.
    const std::vector<qvCaliperOneResult>& results() const { return results_; }

    /// The point on the rectangle's middle line at a position along x, in the client frame of the image that was
    /// searched; (0, 0) before the first run.
    qvVector<2> mapPositionToPoint(double position) const;

 protected:
    /// The rectangle of the run; all corners at (0, 0) before the first.
    const qvAffineRectangle& region() const { return rect_; }

 private:
    friend struct qv_CaliperRun;

    qvAffineRectangle rect_;
    std::vector<qvCaliperOneResult> results_;
};

/// All that a run found.
class QV_EXPORT qvCaliperResultSet : public qvCaliperBaseResultSet {
 public:
    /// All edges of the profile that reach the contrast threshold, whatever their polarity, in order along the x side.
    const std::vector<qvCaliperResultEdge>& resultEdges() const { return resultEdges_; }

    /// Adds the results to `list` as one graphic in the client frame of the image that was searched; bars carry their
    /// numbers as hints. Adds nothing before the first run, and where the flags leave nothing to be shown.
    /// @param flags  what is shown: any of `qvCaliperDefs::qeDraw`; other bits mean nothing
    /// @param size   length of the bars of edges and four times that of the arrow's head, in client units; cut to the
    ///               side that they lie along. 0 for a size below 0 or NaN
    void draw(qvGraphicList& list, std::uint32_t flags, double size) const;

 private:
    friend struct qv_CaliperRun;

    std::vector<qvCaliperResultEdge> resultEdges_;
};

#endif
