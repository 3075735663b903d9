// The search that first comes to mind: reduce, find edge pels, vote for lines, measure each line again, pair.
//
// Tuned on the wafers of the table: the size of the reduced image, the smoothing before the derivatives, a threshold that
// follows the noise of the image, steps and least votes of the accumulator, and the second measurement of the lines,
// without which crossings are off by half a reduced pel.
#include <algorithm>
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

constexpr int kReducedSide = 512;
constexpr double kSmoothing = 1.0;

/// The upper threshold of Canny over the median of the derivatives, which is that of noise, and its least value; sums of
/// the amounts of both Sobel derivatives.
constexpr double kNoiseFactor = 3.5;
constexpr double kLeastThreshold = 40.0;
constexpr double kLowerThreshold = 0.4;

constexpr double kAngleStep = kPi / 180.0;
/// A line has to have edge pels on this part of the shorter side.
constexpr double kLeastVotes = 0.2;
/// How far the lines of one family may be out of parallel, and the families out of square.
constexpr double kFamilySpread = 2.0 * kPi / 180.0;
constexpr double kOutOfSquare = 4.0 * kPi / 180.0;
/// Lines that come nearer to a stronger one than this are the same edge; pels of the reduced image, before and after
/// they are measured again.
constexpr double kSameLine = 2.5;
constexpr double kSameEdge = 1.5;

/// How far from the line the edge is looked for, first and second time; pels of the reduced image.
constexpr int kSearchReach[] = {3, 2};

struct HoughSearch {
    HoughSearch(const qvPelBuffer_const<unsigned char>& image, double streetWidthPels);
    void find(Crossings& crossings);

    void reduce();
    void findEdgePels();
    std::vector<EdgeLine> edgesOf(const FamilyFrame& frame, double normalRadians);
    bool measureAgain(const FamilyFrame& frame, int reach, EdgeLine& edge);

    cv::Mat source;
    double streetWidth;
    cv::Mat reduced, smooth, dx, dy, edgePels;
    double lowerThreshold = 0.0;
    std::vector<cv::Vec2f> foundLines;
    std::vector<cv::Vec2d> lines;
    std::vector<cv::Point2f> onEdge;
};

HoughSearch::HoughSearch(const qvPelBuffer_const<unsigned char>& image, double streetWidthPels)
    : source(viewOf(image)), streetWidth(streetWidthPels) {}

void HoughSearch::reduce() {
    const double factor = std::max(1.0, static_cast<double>(std::max(source.cols, source.rows)) / kReducedSide);
    if (factor > 1.0)
        cv::resize(source, reduced, cv::Size(cvRound(source.cols / factor), cvRound(source.rows / factor)), 0.0, 0.0,
                   cv::INTER_AREA);
    else
        reduced = source;
}

/// The median of the sums of both derivatives, from every fourth row.
double medianStrength(const cv::Mat& dx, const cv::Mat& dy) {
    std::vector<int> counts(16 * 256, 0);
    int total = 0;
    for (int j = 0; j < dx.rows; j += 4) {
        const short* const x = dx.ptr<short>(j);
        const short* const y = dy.ptr<short>(j);
        for (int i = 0; i < dx.cols; ++i)
            ++counts[static_cast<std::size_t>(std::min(std::abs(x[i]) + std::abs(y[i]), 16 * 256 - 1))];
        total += dx.cols;
    }
    int below = 0;
    std::size_t strength = 0;
    while (strength + 1 < counts.size() && 2 * (below + counts[strength]) < total) below += counts[strength++];
    return static_cast<double>(strength);
}

void HoughSearch::findEdgePels() {
    cv::GaussianBlur(reduced, smooth, cv::Size(5, 5), kSmoothing);
    cv::Sobel(smooth, dx, CV_16S, 1, 0, 3);
    cv::Sobel(smooth, dy, CV_16S, 0, 1, 3);
    const double upper = std::max(kLeastThreshold, kNoiseFactor * medianStrength(dx, dy));
    lowerThreshold = kLowerThreshold * upper;
    cv::Canny(dx, dy, edgePels, lowerThreshold, upper);
}

/// Where a parabola through three values a step apart has its maximum, from the middle one.
double peakShift(double before, double at, double after) {
    const double bend = before - 2.0 * at + after;
    return bend < 0.0 ? 0.5 * (before - after) / bend : 0.0;
}

/// Takes the strongest derivative near the line in each row (or column, for a line that runs along the rows) and puts a
/// line through these points. False where there are too few of them.
bool HoughSearch::measureAgain(const FamilyFrame& frame, int reach, EdgeLine& edge) {
    const bool acrossX = std::abs(frame.normal.x) > std::abs(frame.normal.y);
    const cv::Mat& derivative = acrossX ? dx : dy;
    const int count = acrossX ? dx.rows : dx.cols;
    const int end = acrossX ? dx.cols : dx.rows;
    // a . (p - middle) = offset, as an equation for x at y or for y at x.
    const Point2 a{frame.normal.x + edge.line.slope * frame.normal.y,
                   frame.normal.y - edge.line.slope * frame.normal.x};
    const double across = acrossX ? a.x : a.y;
    const double along = acrossX ? a.y : a.x;
    const double middleAcross = acrossX ? frame.middle.x : frame.middle.y;
    const double middleAlong = acrossX ? frame.middle.y : frame.middle.x;

    onEdge.clear();
    long balance = 0;
    for (int k = 0; k < count; ++k) {
        const double centre = middleAcross + (edge.line.offset - along * (k - middleAlong)) / across;
        const int first = static_cast<int>(std::lround(centre)) - reach;
        if (first < 1 || first + 2 * reach > end - 2) continue;
        const auto strength = [&](int i) {
            return static_cast<int>(acrossX ? derivative.at<short>(k, i) : derivative.at<short>(i, k));
        };
        int best = first;
        for (int i = first; i <= first + 2 * reach; ++i)
            if (std::abs(strength(i)) > std::abs(strength(best))) best = i;
        const int sign = strength(best) < 0 ? -1 : 1;
        if (sign * strength(best) < lowerThreshold || best == first || best == first + 2 * reach) continue;
        const auto place = static_cast<float>(
            best + peakShift(sign * strength(best - 1), sign * strength(best), sign * strength(best + 1)));
        balance += sign;
        onEdge.emplace_back(acrossX ? place : static_cast<float>(k), acrossX ? static_cast<float>(k) : place);
    }
    if (static_cast<double>(onEdge.size()) < kLeastVotes * count) return false;

    cv::Vec4f fittedFloats;
    cv::fitLine(onEdge, fittedFloats, cv::DIST_HUBER, 0.0, 0.01, 0.001);
    const cv::Vec4d fitted = fittedFloats;
    const Point2 direction{fitted[0], fitted[1]};
    const Point2 point{fitted[2], fitted[3]};
    const Point2 farther{point.x + direction.x, point.y + direction.y};
    const double slope = (frame.u(farther) - frame.u(point)) / (frame.v(farther) - frame.v(point));
    edge.line = {frame.u(point) - slope * frame.v(point), slope};
    edge.rising = (balance > 0) == ((acrossX ? frame.normal.x : frame.normal.y) > 0.0);
    return true;
}

bool hasNear(const std::vector<EdgeLine>& edges, double offset, double reach) {
    return std::any_of(edges.begin(), edges.end(),
                       [&](const EdgeLine& edge) { return std::abs(edge.line.offset - offset) < reach; });
}

/// The edges among the lines along the family; lines come with the most votes first.
std::vector<EdgeLine> HoughSearch::edgesOf(const FamilyFrame& frame, double normalRadians) {
    std::vector<EdgeLine> candidates;
    for (const cv::Vec2d& line : lines) {
        const double turn = lineTurn(normalRadians, line[1]);
        if (std::abs(turn) > kFamilySpread) continue;
        const double nx = std::cos(line[1]);
        const double ny = std::sin(line[1]);
        const double distance = line[0] - nx * frame.middle.x - ny * frame.middle.y;
        const double facing = nx * frame.normal.x + ny * frame.normal.y < 0.0 ? -1.0 : 1.0;
        EdgeLine edge;
        edge.line = {facing * distance / std::cos(turn), -std::tan(turn)};
        if (!hasNear(candidates, edge.line.offset, kSameLine)) candidates.push_back(edge);
    }
    std::vector<EdgeLine> edges;
    for (EdgeLine& edge : candidates) {
        const bool good = std::all_of(std::begin(kSearchReach), std::end(kSearchReach),
                                      [&](int reach) { return measureAgain(frame, reach, edge); });
        if (good && !hasNear(edges, edge.line.offset, kSameEdge)) edges.push_back(edge);
    }
    return edges;
}

void HoughSearch::find(Crossings& crossings) {
    crossings.clear();
    reduce();
    findEdgePels();
    const int shorter = std::min(reduced.cols, reduced.rows);
    cv::HoughLines(edgePels, foundLines, 1.0, kAngleStep, cvRound(kLeastVotes * shorter));
    lines.assign(foundLines.begin(), foundLines.end());
    if (lines.empty()) return;
    const double normal0 = lines.front()[1];
    const auto square = std::find_if(lines.begin(), lines.end(), [&](const cv::Vec2d& line) {
        return std::abs(lineTurn(normal0 + 0.5 * kPi, line[1])) < kOutOfSquare;
    });
    if (square == lines.end()) return;
    const double normal1 = (*square)[1];

    // In the reduced image whole numbers are centres of pels.
    const double factorX = static_cast<double>(source.cols) / reduced.cols;
    const double factorY = static_cast<double>(source.rows) / reduced.rows;
    const Point2 middle{0.5 * (reduced.cols - 1), 0.5 * (reduced.rows - 1)};
    const FamilyFrame frame0(middle, normal0);
    const FamilyFrame frame1(middle, normal1);
    crossStreets(frame0, pairedStreets(edgesOf(frame0, normal0), streetWidth / factorX), frame1,
                 pairedStreets(edgesOf(frame1, normal1), streetWidth / factorX), reduced.cols, reduced.rows, crossings);
    for (Point2& p : crossings) p = {(p.x + 0.5) * factorX, (p.y + 0.5) * factorY};
}

}  // namespace

Search houghSearch(const qvPelBuffer_const<unsigned char>& image, double streetWidth) {
    const auto search = std::make_shared<HoughSearch>(image, streetWidth);
    return [=](Crossings& crossings) { search->find(crossings); };
}

}  // namespace qvbench
