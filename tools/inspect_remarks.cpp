// What stands beside the verdict: results that a user would misread without a word, and the settings behind them.
#include "tools/inspection.h"
#include "tools/search_hints.h"
#include "tools/text.h"

#include <algorithm>

namespace qvtool {
namespace {

// The streets of a wafer are nearly square to each other; what leans more are two directions of the same streets.
constexpr double kLeastAngleOfStreets = 60.0;

// True streets score far more, as a rule above one half.
constexpr double kHardlyAnyScore = 0.1;

bool isInside(const qvPelBuffer_const<unsigned char>& image, const qvVector<2>& clientPoint) {
    const qvVector<2> point = image.imageFromClientXform().mapPoint(clientPoint);
    const double x = point.x() - static_cast<double>(image.offset().first);
    const double y = point.y() - static_cast<double>(image.offset().second);
    return x >= 0.0 && y >= 0.0 && x <= static_cast<double>(image.width()) && y <= static_cast<double>(image.height());
}

std::size_t crossingsInside(const Inspection& inspection) {
    const auto& crossings = inspection.results.crossings;
    return static_cast<std::size_t>(
        std::count_if(crossings.begin(), crossings.end(), [&](const qvStreetFinderStreetCrossResult& crossing) {
            return isInside(inspection.image, crossing.crossing());
        }));
}

std::string angleRemark(const qvDiagObject& records) {
    const std::optional<double> angle = angleBetweenDirections(records);
    if (!angle || *angle >= kLeastAngleOfStreets) return {};
    return "The two directions are only " + withDigits(*angle, 1) +
           " degrees apart, so they are hardly those of flat and upright streets: see Angle Profile.";
}

std::string placeRemark(const Inspection& inspection) {
    const std::size_t all = inspection.results.crossings.size();
    const std::size_t outside = all - crossingsInside(inspection);
    if (outside == 0) return {};
    return std::to_string(outside) + " of " + std::to_string(all) +
           (all == 1       ? " crossing lies"
            : outside == 1 ? " crossings lies"
                           : " crossings lie") +
           " outside the image.";
}

std::string scoreRemark(const Inspection& inspection) {
    if (inspection.results.crossings.empty()) return {};
    const double best = inspection.results.crossings.front().score();
    return best < kHardlyAnyScore ? "The best score is only " + withDigits(best, 4) + "." : "";
}

std::string countRemark(const CommandOptions& options, const Inspection& inspection) {
    const std::size_t all = inspection.results.crossings.size();
    if (all == 0 || all < static_cast<std::size_t>(options.maxResults)) return {};
    return "There are as many crossings as --max allows, so there may be more.";
}

std::string projectionRemark(const CommandOptions& options, const Inspection& inspection) {
    LinesInImage lines;
    lines.inBothDirections = keepsLinesOfBothDirections(inspection.records);
    lines.isSquare = inspection.image.width() == inspection.image.height();
    for (const std::optional<double>& angle : lineAngles(inspection.records))
        if (angle) lines.tilt = std::max(lines.tilt, tiltOf(inspection.image.imageFromClientXform(), *angle));
    lines.unjudged = linesBeyondProjection(inspection.records);
    return linesLostSentence(options, lines);
}

std::string widthRemark(const CommandOptions& options, const Inspection& inspection) {
    if (options.mode != Mode::edge || !inspection.results.crossings.empty()) return {};
    // What has no lines has no edges that could run together.
    if (!keepsLinesOfBothDirections(inspection.records)) return {};
    return edgeLimitSentence(options,
                             {filterLengthAcross(inspection.records, 0), filterLengthAcross(inspection.records, 1)});
}

}  // namespace

bool hasCrossingInside(const Inspection& inspection) { return crossingsInside(inspection) > 0; }

std::vector<std::string> remarksOf(const CommandOptions& options, const Inspection& inspection) {
    if (!inspection.refusal.empty()) return {};
    std::vector<std::string> remarks = {angleRemark(inspection.records),
                                        placeRemark(inspection),
                                        scoreRemark(inspection),
                                        countRemark(options, inspection),
                                        projectionRemark(options, inspection),
                                        widthRemark(options, inspection)};
    remarks.erase(std::remove(remarks.begin(), remarks.end(), std::string()), remarks.end());
    return remarks;
}

}  // namespace qvtool
