// The search that measures first and gathers afterwards: line segments of the image, those that lie in line put together
// to edges, edges to streets.
//
// Tuned on the wafers of the table: both reductions, the least length of a segment, how far out of line the segments of
// one edge may be, and how much of the image's side they have to cover.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <memory>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#include <vector>

#include "bench/peers/opencv_view.h"
#include "bench/peers/street_pairs.h"

namespace qvbench {

namespace {

using qvtest::Point2;

constexpr double kPi = CV_PI;

/// Shorter segments are left out; street widths.
constexpr double kLeastLength = 0.5;
/// Segments of one edge lie within this of the next one; street widths, and pels at least.
constexpr double kInLine = 0.12;
constexpr double kInLinePels = 1.5;
/// An edge has segments on this part of the shorter side.
constexpr double kLeastCover = 0.2;
/// How far a segment may be out of parallel to its family, and the families out of square.
constexpr double kFamilySpread = 2.0 * kPi / 180.0;
constexpr double kOutOfSquare = 4.0 * kPi / 180.0;

struct Segment {
    Point2 p1;
    Point2 p2;
    double length = 0.0;
    double radians = 0.0;
};

/// A segment in the frame of its family.
struct Piece {
    double u = 0.0;
    double u1 = 0.0, v1 = 0.0, u2 = 0.0, v2 = 0.0;
    double length = 0.0;
};

/// The direction, in radians, with the most length of segments around it that is within `reach` of `wanted`; a reach of
/// pi takes any. A histogram of single degrees finds it, the mean of what lies near refines it.
double commonDirection(const std::vector<Segment>& segments, double wanted, double reach) {
    std::array<double, 180> lengths{};
    for (const Segment& s : segments) {
        if (std::abs(lineTurn(wanted, s.radians)) > reach) continue;
        const long bin = std::lround(s.radians * 180.0 / kPi);
        lengths[static_cast<std::size_t>(((bin % 180) + 180) % 180)] += s.length;
    }
    std::size_t best = 0;
    const auto around = [&](std::size_t i) { return lengths[(i + 179) % 180] + lengths[i] + lengths[(i + 1) % 180]; };
    for (std::size_t i = 1; i < lengths.size(); ++i)
        if (around(i) > around(best)) best = i;
    const double centre = static_cast<double>(best) * kPi / 180.0;
    double turned = 0.0;
    double weight = 0.0;
    for (const Segment& s : segments) {
        const double turn = lineTurn(centre, s.radians);
        if (std::abs(turn) > kFamilySpread) continue;
        turned += s.length * s.length * turn;
        weight += s.length * s.length;
    }
    return weight > 0.0 ? centre + turned / weight : centre;
}

/// Least squares through both ends of every piece, weighted by length.
FamilyLine lineThrough(const std::vector<Piece>& pieces, std::size_t begin, std::size_t end) {
    double w = 0.0, v = 0.0, u = 0.0, vv = 0.0, uv = 0.0;
    for (std::size_t i = begin; i < end; ++i) {
        const Piece& piece = pieces[i];
        w += 2.0 * piece.length;
        u += piece.length * (piece.u1 + piece.u2);
        v += piece.length * (piece.v1 + piece.v2);
    }
    u /= w;
    v /= w;
    for (std::size_t i = begin; i < end; ++i) {
        const Piece& piece = pieces[i];
        vv += piece.length * ((piece.v1 - v) * (piece.v1 - v) + (piece.v2 - v) * (piece.v2 - v));
        uv += piece.length * ((piece.v1 - v) * (piece.u1 - u) + (piece.v2 - v) * (piece.u2 - u));
    }
    const double slope = vv > 0.0 ? uv / vv : 0.0;
    return {u - slope * v, slope};
}

struct LsdSearch {
    LsdSearch(const qvPelBuffer_const<unsigned char>& image, double streetWidthPels, const LsdTuning& tuningUsed);
    void find(Crossings& crossings);

    void reduce();
    void detect();
    void addEdges(std::vector<Piece>& pieces, bool rising, std::vector<EdgeLine>& edges) const;
    std::vector<EdgeLine> edgesOf(const FamilyFrame& frame, double along) const;

    cv::Mat source, reduced;
    double streetWidth;
    LsdTuning tuning;
    cv::Ptr<cv::LineSegmentDetector> detector;
    std::vector<cv::Vec4f> found;
    std::vector<Segment> segments;
};

LsdSearch::LsdSearch(const qvPelBuffer_const<unsigned char>& image, double streetWidthPels, const LsdTuning& tuningUsed)
    : source(viewOf(image)),
      streetWidth(streetWidthPels),
      tuning(tuningUsed),
      detector(cv::createLineSegmentDetector(cv::LSD_REFINE_STD, tuning.detectorScale)) {}

void LsdSearch::reduce() {
    const int longest = std::max(source.cols, source.rows);
    if (tuning.longestSide > 0 && longest > tuning.longestSide) {
        const double factor = static_cast<double>(longest) / tuning.longestSide;
        cv::resize(source, reduced, cv::Size(cvRound(source.cols / factor), cvRound(source.rows / factor)), 0.0, 0.0,
                   cv::INTER_AREA);
    } else {
        reduced = source;
    }
}

/// The segments in pels of the source, the short ones left out.
void LsdSearch::detect() {
    found.clear();
    detector->detect(reduced, found);
    segments.clear();
    // The detector counts from half a pel of its own reduced image.
    const double shift = 0.5 / tuning.detectorScale;
    const double factorX = static_cast<double>(source.cols) / reduced.cols;
    const double factorY = static_cast<double>(source.rows) / reduced.rows;
    for (const cv::Vec4d s : found) {
        Segment segment{{factorX * (s[0] + shift), factorY * (s[1] + shift)},
                        {factorX * (s[2] + shift), factorY * (s[3] + shift)}};
        segment.length = std::hypot(segment.p2.x - segment.p1.x, segment.p2.y - segment.p1.y);
        segment.radians = std::atan2(segment.p2.y - segment.p1.y, segment.p2.x - segment.p1.x);
        if (segment.length >= kLeastLength * streetWidth) segments.push_back(segment);
    }
}

/// Puts together what lies in line and keeps what is long enough.
void LsdSearch::addEdges(std::vector<Piece>& pieces, bool rising, std::vector<EdgeLine>& edges) const {
    std::stable_sort(pieces.begin(), pieces.end(), [](const Piece& a, const Piece& b) { return a.u < b.u; });
    const double gap = std::max(kInLinePels, kInLine * streetWidth);
    const double least = kLeastCover * std::min(source.cols, source.rows);
    std::size_t begin = 0;
    double cover = 0.0;
    for (std::size_t i = 0; i < pieces.size(); ++i) {
        cover += pieces[i].length;
        if (i + 1 < pieces.size() && pieces[i + 1].u - pieces[i].u <= gap) continue;
        if (cover >= least) edges.push_back({lineThrough(pieces, begin, i + 1), rising});
        begin = i + 1;
        cover = 0.0;
    }
}

std::vector<EdgeLine> LsdSearch::edgesOf(const FamilyFrame& frame, double along) const {
    std::vector<Piece> pieces[2];
    for (const Segment& s : segments) {
        if (std::abs(lineTurn(along, s.radians)) > kFamilySpread) continue;
        Piece piece;
        piece.u1 = frame.u(s.p1);
        piece.v1 = frame.v(s.p1);
        piece.u2 = frame.u(s.p2);
        piece.v2 = frame.v(s.p2);
        piece.u = 0.5 * (piece.u1 + piece.u2);
        piece.length = s.length;
        // A segment runs so that the light side is on its left as seen in the image.
        pieces[piece.v2 > piece.v1 ? 1 : 0].push_back(piece);
    }
    std::vector<EdgeLine> edges;
    for (const bool rising : {false, true}) addEdges(pieces[rising ? 1 : 0], rising, edges);
    return edges;
}

void LsdSearch::find(Crossings& crossings) {
    crossings.clear();
    reduce();
    detect();
    if (segments.empty()) return;
    const double along0 = commonDirection(segments, 0.0, kPi);
    const double along1 = commonDirection(segments, along0 + 0.5 * kPi, kOutOfSquare);
    const Point2 middle{0.5 * source.cols, 0.5 * source.rows};
    const FamilyFrame frame0(middle, along0 - 0.5 * kPi);
    const FamilyFrame frame1(middle, along1 - 0.5 * kPi);
    crossStreets(frame0, pairedStreets(edgesOf(frame0, along0), streetWidth), frame1,
                 pairedStreets(edgesOf(frame1, along1), streetWidth), source.cols, source.rows, crossings);
}

}  // namespace

Search lsdSearch(const qvPelBuffer_const<unsigned char>& image, double streetWidth, const LsdTuning& tuning) {
    const auto search = std::make_shared<LsdSearch>(image, streetWidth, tuning);
    return [=](Crossings& crossings) { search->find(crossings); };
}

}  // namespace qvbench
