/// @file
/// One run of a tool as one value: everything that it answered, or the refusal that it answered with.
#ifndef QVSTREET_TESTS_SOAK_ANSWERS_H
#define QVSTREET_TESTS_SOAK_ANSWERS_H

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <string>
#include <vector>

#include "tests/soak/soak_scenes.h"

namespace qvtest {

using Image = qvPelBuffer_const<unsigned char>;
using Crossings = std::vector<qvStreetFinderStreetCrossResult>;
using Streets = std::vector<qvStreetFinderSingleStreetResult>;

/// A side of so many pels is nothing but margins of the spectrum, so that nothing of it can be sampled.
constexpr long kMarginsOnly = 5;
/// What `setImage` says to it.
constexpr const char* kMarginsRefusal = "setImage: 268436225 the matrix has no inverse";
/// What `setImage` says where no rectangle fits between the two directions of the content.
constexpr const char* kUnprojectable = "setImage: 268435970 a number of samples must be 1 to 32767";

/// Number and text of an exception, with the call that threw it in front.
inline std::string refusalText(const char* call, const qvException& error) {
    return std::string(call) + ": " + std::to_string(error.errorNumber()) + " " + error.what();
}

/// What the street finder answered to one image.
struct StreetAnswer {
    /// The exception that ended the run; empty for a run to the end.
    std::string refusal;
    /// What it answered up to then.
    SoakOutcome found;

    std::string hex() const { return refusal + "\n" + hexOf(found); }
};

/// Binds the image and asks for everything. Exceptions of other families than the library's get through.
inline StreetAnswer searchStreets(qvStreetFinder& finder, const Image& image) {
    StreetAnswer answer;
    const char* call = "setImage";
    try {
        finder.setImage(image);
        call = "getAngles";
        finder.getAngles(1000, answer.found.angles);
        call = "findSingleStreet";
        finder.findSingleStreet(answer.found.streets);
        call = "find";
        finder.find(answer.found.crossings);
    } catch (const qvException& error) {
        answer.refusal = refusalText(call, error);
    }
    return answer;
}

inline StreetAnswer searchStreets(const qvStreetFinderParams& params, const Image& image) {
    qvStreetFinder finder(params);
    return searchStreets(finder, image);
}

/// What the blank region finder answered.
struct BlankAnswer {
    std::string refusal;
    qvStreetBlankRegionFinderResultSet found;

    std::string hex() const { return refusal + "\n" + hexOf(found); }
};

/// @param mask  unbound for none
inline BlankAnswer searchBlankRegions(const Image& image, const Image& mask,
                                      const qvStreetBlankRegionFinderParams& params) {
    BlankAnswer answer;
    try {
        if (mask.isBound()) {
            qfStreetBlankRegionFinderRun(image, mask, params, answer.found, nullptr, 0);
        } else {
            qfStreetBlankRegionFinderRun(image, params, answer.found, nullptr, 0);
        }
    } catch (const qvException& error) {
        answer.refusal = refusalText("run", error);
    }
    return answer;
}

// --- What makes a projection impossible.

/// What is added to a side before its fraction is cut off.
constexpr double kRoundingOfSide = 1e-9;

/// Whether a side of that length has no sample, or more than 16 bits count, after the number was narrowed to them.
inline bool hasNoSamples(double side) {
    return static_cast<std::int16_t>(static_cast<std::uint16_t>(qfTruncate(side))) <= 0;
}

/// Whether a projection of an image of that size, along or across a street that runs at `angle` in the image, has a side
/// that cannot be sampled. A side ends where the nearer corners of the image do: nothing is left of it where the street
/// runs along a diagonal.
inline bool cannotBeProjected(long width, long height, qvRadian angle) {
    const double c = std::fabs(std::cos(angle.toDouble()));
    const double s = std::fabs(std::sin(angle.toDouble()));
    return hasNoSamples(std::fabs(static_cast<double>(width) * c - static_cast<double>(height) * s) + kRoundingOfSide);
}

/// Whether `setImage` may have refused that image because of a projection: some candidate angle of the bound image, or its
/// perpendicular, cannot be projected.
inline bool mayBeUnprojectable(qvStreetFinder& finder, const Image& image) {
    std::vector<qvRadian> angles;
    finder.getAngles(1000, angles);
    const qvXform<2> imageFromClient = image.imageFromClientXform();
    const qvRadian right = qvDegree(90.0);
    // An offset near the 32-bit limits leaves the window less than its size.
    const qvPelRect window = image.window();
    const long width = window.lr().first - window.ul().first;
    const long height = window.lr().second - window.ul().second;
    // Without any the streets are looked for along the axes of the image.
    std::vector<qvRadian> directions = {qvRadian(0.0), right};
    for (const qvRadian angle : angles)
        for (const qvRadian direction : {imageFromClient.mapAngle(angle), imageFromClient.mapAngle(angle + right),
                                         imageFromClient.mapAngle(angle) + right})
            directions.push_back(direction);
    return std::any_of(directions.begin(), directions.end(),
                       [&](qvRadian direction) { return cannotBeProjected(width, height, direction); });
}

// --- What every answer has to be.

/// Best score first, and those that are no number last.
template <typename Results>
bool isBestFirst(const Results& results) {
    for (std::size_t i = 1; i < results.size(); ++i) {
        const double before = results[i - 1].score();
        const double score = results[i].score();
        if (std::isnan(before) ? !std::isnan(score) : score > before) return false;
    }
    return true;
}

inline bool isFinite(const qvVector<2>& point) { return std::isfinite(point.x()) && std::isfinite(point.y()); }

inline bool isFinite(const std::vector<qvLineSeg>& segments) {
    for (const qvLineSeg& segment : segments)
        if (!isFinite(segment.p1()) || !isFinite(segment.p2())) return false;
    return true;
}

/// Every coordinate and angle; the score is another matter.
inline bool isFinite(const qvStreetFinderStreetCrossResult& result) {
    for (const qvVector<2>& point :
         {result.crossing(), result.ulCorner(), result.urCorner(), result.llCorner(), result.lrCorner()})
        if (!isFinite(point)) return false;
    return isFinite(result.lineSegs()) && std::isfinite(result.horizontalAngle().toDouble()) &&
           std::isfinite(result.verticalAngle().toDouble());
}

inline bool isFinite(const qvStreetFinderSingleStreetResult& result) {
    return isFinite(result.lineSegs()) && std::isfinite(result.angle().toDouble());
}

/// Nothing but finite coordinates and angles, best first, no more than asked for. The first thing that is not so, or
/// nothing.
inline std::string whatIsWrong(const SoakOutcome& found, long maxResults) {
    if (static_cast<long>(found.crossings.size()) > maxResults) return "too many crossings";
    if (static_cast<long>(found.streets.size()) > maxResults) return "too many streets";
    if (!isBestFirst(found.crossings)) return "crossings out of order";
    if (!isBestFirst(found.streets)) return "streets out of order";
    for (const qvStreetFinderStreetCrossResult& crossing : found.crossings)
        if (!isFinite(crossing)) return "a crossing with a coordinate that is not finite";
    for (const qvStreetFinderSingleStreetResult& street : found.streets)
        if (!isFinite(street)) return "a street with a coordinate that is not finite";
    for (const qvRadian angle : found.angles)
        if (!std::isfinite(angle.toDouble())) return "an angle that is not finite";
    return std::string();
}

/// The same of blank regions: no more than asked for, best first, scores within their ranges.
inline std::string whatIsWrong(const qvStreetBlankRegionFinderResultSet& found, long maxResults) {
    if (found.numResults() > maxResults) return "too many regions";
    if (!isBestFirst(found.results())) return "regions out of order";
    for (const qvStreetBlankRegionFinderResult& region : found.results()) {
        const bool isScore = region.score() > 0.0 && region.score() <= 1.0;
        if (!isScore || !(region.blanknessScore() >= 0.0 && region.blanknessScore() <= 1.0))
            return "a score that cannot be";
    }
    return std::string();
}

/// Whether every region has pels, and only such of the image.
inline bool areInside(const qvStreetBlankRegionFinderResultSet& found, const Image& image) {
    const qvPelRect window = image.window();
    const std::vector<qvStreetBlankRegionFinderResult>& regions = found.results();
    return std::all_of(regions.begin(), regions.end(), [&](const qvStreetBlankRegionFinderResult& region) {
        const qvPelRect& rect = region.blankRect();
        return rect.width() > 0 && rect.height() > 0 && rect.ul().first >= window.ul().first &&
               rect.ul().second >= window.ul().second && rect.lr().first <= window.lr().first &&
               rect.lr().second <= window.lr().second;
    });
}

}  // namespace qvtest

#endif
