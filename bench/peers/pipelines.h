#ifndef QVSTREET_BENCH_PEERS_PIPELINES_H
#define QVSTREET_BENCH_PEERS_PIPELINES_H

#include <functional>
#include <vector>

#include "qvstreet/platform/pel_buffer.h"
#include "tests/support/wafer_scene.h"

// Whole searches, from the image to the crossings. All points are in pels of the image, with the corner of the first pel
// at (0, 0).

namespace qvbench {

using Crossings = std::vector<qvtest::Point2>;

/// One search of the image that it was made for; replaces what `crossings` holds. Keeps its buffers from run to run.
using Search = std::function<void(Crossings& crossings)>;

/// What an engineer would build from OpenCV's parts, told that streets are dark and how wide; `image` has to stay.
///
/// Edges: on the image reduced to 512, Canny; lines: HoughLines, then each line again to a fraction of a pel.
/// @param streetWidth  pels, above 0
Search houghSearch(const qvPelBuffer_const<unsigned char>& image, double streetWidth);

/// How much of the image the line segment detector sees.
struct LsdTuning {
    /// An image with a longer side is reduced to it first; 0 leaves every image as it is.
    int longestSide;
    /// The detector's own reduction. Smaller is quicker and sees through more noise, up to where edges run together.
    double detectorScale;
};

/// The quickest settings that find every crossing of the mixed wafers, with the full image and with a reduced one. The
/// detector's own setting, 0.8, takes several times as long and loses crossings in noise.
constexpr LsdTuning kLsdFull = {0, 0.3};
constexpr LsdTuning kLsdReduced = {512, 0.4};

/// The same with the line segment detector; segments that lie in line make an edge.
Search lsdSearch(const qvPelBuffer_const<unsigned char>& image, double streetWidth, const LsdTuning& tuning);

}  // namespace qvbench

#endif
