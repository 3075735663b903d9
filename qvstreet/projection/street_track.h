/// @file
/// Street track: follows the edges of a street from one place along the whole image and fits lines to them.
#ifndef QVSTREET_PROJECTION_STREET_TRACK_H
#define QVSTREET_PROJECTION_STREET_TRACK_H

#include <array>
#include <vector>

#include "qvstreet/projection/bar_template.h"
#include "qvstreet/projection/edge_line_fit.h"
#include "qvstreet/projection/edge_template.h"
#include "qvstreet/projection/street_edge_search.h"

/// How far to follow.
struct qv_TrackRange {
    /// Along u, pels: no further than this from the start.
    double reach = 0.0;
    /// Stretches to be left out: the areas of the crossings.
    std::vector<qv_UvRange> crossings;
};

enum class qv_TrackEnd : std::int32_t {
    fitted,    ///< lines that most points agree on
    tooShort,  ///< too few blocks between the crossings and the image's sides
    tooFew,    ///< too many blocks without the edge
    unsteady   ///< the points do not follow a line
};

struct qv_StreetTrack {
    qv_TrackEnd end = qv_TrackEnd::tooShort;
    /// 1 or 2 edges, in order of v.
    long edges = 0;
    qv_EdgeLines lines;
    /// Every point of the last pass, also the refused ones.
    std::vector<qv_EdgePoint> points;
    /// Along u, the first and the last used point.
    qv_UvRange extent;
    /// Of a narrow street, which was followed by its centre line: its width along v, pels; the points are those of the
    /// centre line then, all of edge 0, and `lines.used` and `lines.refused` count them there. 0 for others.
    double barWidth = 0.0;
    /// Of the blocks beyond the reach, up to half as far again, the share that shows the edges where the lines lead; 1
    /// where the reach goes to the image's sides.
    double shareBeyond = 1.0;
    /// Standard deviation, pels, that is added to the position of each line where no template has the edges' blur:
    /// edges sharper than the pel grid can show, of level or upright streets, which see one phase of it only, and edges
    /// blurred by more than 3 pels. 0 for all others.
    double gridDeviation = 0.0;
    /// Blur of the edges along v, standard deviation in pels.
    double blur = 0.0;
    /// Standard deviation, pels, that structures beside the edges add to the position of each, to both alike inwards or
    /// outwards.
    std::array<double, 2> shapeDeviation{};
};

/// Templates that the streets of an image share.
struct qv_StreetTemplates {
    qv_EdgeTemplates edges;
    qv_BarTemplates bars;
};

/// Starts with the edges near `centre.u0`, fits, goes further along the line, and ends with all blocks at once on the
/// template of the blur that the edges show.
qv_StreetTrack qf_trackStreet(const qv_UvPels& pels, const qv_UvLine& centre, const qv_StreetEdges& edges,
                              const qv_TrackRange& range, qv_StreetTemplates& templates);

#endif
