// What stands beside the verdict: results that a user would misread without a word, and the settings behind them.
#include "qvstreet/candidates/pair_test.h"
#include "qvstreet/platform/diagnostic_cells.h"
#include "qvstreet/streetfinder/candidate_search.h"
#include "qvstreet/streetfinder/street_finder_access.h"
#include "qvstreet/streetfinder/street_finder_impl.h"
#include "tools/finder_run.h"
#include "tools/inspection.h"
#include "tools/text.h"

#include <algorithm>

namespace qvtool {
namespace {

// Edges nearer than this many lengths of the line filter run together in its response.
constexpr double kFilterLengthsBetweenEdges = 2.5;

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
    if (options.polarity == Polarity::any) return {};
    const std::size_t lost = linesBeyondProjection(inspection.records);
    if (lost == 0) return {};
    return (lost == 1 ? "1 line lies" : std::to_string(lost) + " lines lie") +
           " too far along the longer side of the image for " + (lost == 1 ? "its" : "their") +
           " polarity to be measured, and " + (lost == 1 ? "is" : "are") +
           " lost: try --polarity any, or a crop nearer to a square.";
}

std::string widthRemark(const CommandOptions& options, const Inspection& inspection) {
    if (options.mode != Mode::edge || !inspection.results.crossings.empty()) return {};
    // What has no lines has no edges that could run together.
    if (!keepsLinesOfBothDirections(inspection.records)) return {};
    for (std::size_t direction = 0; direction < 2; ++direction) {
        const std::optional<double> length = filterLengthAcross(inspection.records, direction);
        if (!length) continue;
        const double least = kFilterLengthsBetweenEdges * *length;
        const double width = direction == 0 ? options.widthY : options.widthX;
        if (width >= least) continue;
        return "In edge mode the two edges of a street narrower than about " + withDigits(least, 1) +
               " client units run together, and --width is " + shortest(width) + ": try --mode ridge or coarse.";
    }
    return {};
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

void recordPairsOfAnyPolarity(const CommandOptions& options, const qvStreetFinder& finder, qvDiagObject& records) {
    if (options.mode != Mode::edge || options.polarity == Polarity::any) return;
    qvDiagRecord* const record = qf_lastRecord(records, L"Candidates");
    if (record == nullptr) return;
    const qv_streetFinderImpl& impl = qf_finderRecord(finder);
    qv_candidateTolerances tolerances = impl.tolerances;
    tolerances.widthLower = qvPair<double>(options.rangeX.low, options.rangeY.low);
    tolerances.widthUpper = qvPair<double>(options.rangeX.high, options.rangeY.high);
    for (std::size_t direction = 0; direction < impl.lines.size() && direction < 2; ++direction) {
        std::vector<qv_ridgeLine> lines;
        for (const qvLineFinderResults& line : impl.lines[direction]) {
            lines.push_back(makeRidgeLine(line, static_cast<long>(lines.size())));
        }
        std::vector<qv_candPair> pairs;
        // Without a polarity to test, the projection and the three lengths are not looked at.
        generatePairs(lines, 0, static_cast<long>(lines.size()), pairs, tolerances,
                      direction == 0 ? eHorizontalPair : eVerticalPair, impl.projectionAlong0,
                      qvStreetFinderDefs::eAnyPolarity, 0.0, 0.0, 0.0, nullptr);
        const std::wstring asked = options.polarity == Polarity::dark ? L"dark" : L"light";
        record->text(qfStr(static_cast<long>(pairs.size())) + (pairs.size() == 1 ? L" pair" : L" pairs") +
                         L"; asked for were " + asked + L" ones",
                     pairsOfAnyPolarityLabel(direction));
    }
}

}  // namespace qvtool
