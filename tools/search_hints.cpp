// A search that finds nothing is no error, and its JSON is an empty list. What a user can do about it is known here:
// from the widths that the filter can tell apart, from the lines that were left, and for a single image from a second
// search with all stages recorded, which takes some ten times as long.
#include "tools/search_hints.h"

#include "qvstreet/projection/projection_polarity.h"
#include "qvstreet/streetfinder/line_sets.h"
#include "qvstreet/streetfinder/street_finder_access.h"
#include "qvstreet/streetfinder/street_finder_impl.h"
#include "tools/finder_run.h"
#include "tools/inspection.h"
#include "tools/text.h"

namespace qvtool {
namespace {

// Edges nearer than this many lengths of the line filter run together in its response.
constexpr double kFilterLengthsBetweenEdges = 2.5;

// From here on, degrees, streets of a square image are lost if a polarity is asked for: the rectangle of the two
// directions that lies inside the image has become that small.
constexpr double kTiltThatCosts = 8.0;

// Means of profiles from here on stand for a stretch without pels.
constexpr double kNoPels = 1e12;

bool looksForStreets(const CommandOptions& options) {
    return options.subcommand == Subcommand::find || options.subcommand == Subcommand::streets;
}

std::array<std::optional<double>, 2> filterLengths(const qvStreetFinder& finder) {
    const qv_streetFinderImpl& impl = qf_finderRecord(finder);
    if (impl.streetAngles.size() != 2) return {};
    const qvStreetFinderParams& params = finder.runParams();
    const std::array<qv_gaborSpec, 2> specs = filterSpecs(impl, params.nominalStreetWidth(), params.runMode(),
                                                          impl.streetAngles, params.edgeSharpness(), impl.filterScale);
    return {specs[0].band.first, specs[1].band.first};
}

std::size_t linesWithoutPolarity(const CommandOptions& options, const qv_streetFinderImpl& impl) {
    if (options.polarity == Polarity::any || options.mode == Mode::edge || impl.lines.size() != 2) return 0;
    const std::array<const qvTiledProjectionResult*, 2> profiles = {&impl.projectionAlong0, &impl.projectionAlong1};
    const std::array<double, 2> widths = {options.widthY, options.widthX};
    std::size_t lost = 0;
    for (std::size_t direction = 0; direction < 2; ++direction) {
        for (const qvLineFinderResults& line : impl.lines[direction]) {
            double mean = 0.0;
            linePolarity(line, widths[direction], qvLineSpareFraction, qvLineMargin, impl.clientFromImage,
                         *profiles[direction], mean);
            lost += mean >= kNoPels ? 1 : 0;
        }
    }
    return lost;
}

LinesInImage linesInImage(const CommandOptions& options, const qv_streetFinderImpl& impl) {
    const qvXform<2> imageFromClient = impl.clientFromImage.inverse();
    LinesInImage lines;
    lines.isSquare = impl.imageSize.first == impl.imageSize.second;
    lines.inBothDirections = impl.lines.size() == 2 && !impl.lines[0].empty() && !impl.lines[1].empty();
    for (const qvDegree& angle : impl.streetAngles)
        lines.tilt = std::max(lines.tilt, tiltOf(imageFromClient, angle.toDouble()));
    lines.unjudged = linesWithoutPolarity(options, impl);
    return lines;
}

/// What the lines tell, without a second search.
std::string reasonInLines(const CommandOptions& options, const qv_streetFinderImpl& impl) {
    const std::size_t flat = impl.lines.empty() ? 0 : impl.lines[0].size();
    const std::size_t upright = impl.lines.size() < 2 ? 0 : impl.lines[1].size();
    if (flat + upright == 0) return "No line in either direction was found that is long enough.";
    const bool needsBoth = options.subcommand == Subcommand::find;
    if (needsBoth && flat == 0) return "No line of direction 0 (flat) was found that is long enough.";
    if (needsBoth && upright == 0) return "No line of direction 1 (upright) was found that is long enough.";
    const std::string lines = "Of " + std::to_string(flat) + " flat and " + std::to_string(upright) + " upright lines ";
    const std::string polarity = options.polarity == Polarity::any    ? ""
                                 : options.polarity == Polarity::dark ? " dark"
                                                                      : " light";
    if (options.mode == Mode::edge)
        return lines + "no two are the edges of a" + polarity + " street of the allowed widths.";
    return lines + (needsBoth ? "none cross as" : "none is a") + polarity + (needsBoth ? " streets." : " street.");
}

}  // namespace

std::string edgeLimitSentence(const CommandOptions& options, const std::array<std::optional<double>, 2>& lengths) {
    if (options.mode != Mode::edge) return {};
    // The search for single streets measures them against the other width.
    const bool swapped = options.subcommand == Subcommand::streets;
    for (std::size_t direction = 0; direction < 2; ++direction) {
        if (!lengths[direction]) continue;
        const double least = kFilterLengthsBetweenEdges * *lengths[direction];
        const double width = (direction == 0) != swapped ? options.widthY : options.widthX;
        if (width >= least) continue;
        return "In edge mode the two edges of a street narrower than about " + withDigits(least, 1) +
               " client units run together, and --width is " + shortest(width) + ": try --mode ridge or coarse.";
    }
    return {};
}

double tiltOf(const qvXform<2>& imageFromClient, double clientDegrees) {
    const qvDegree inImage(imageFromClient.mapAngle(qvDegree(clientDegrees)));
    return std::fabs(std::remainder(inImage.toDouble(), 90.0));
}

std::string linesLostSentence(const CommandOptions& options, const LinesInImage& lines) {
    if (options.polarity == Polarity::any) return {};
    const bool one = lines.unjudged == 1;
    const std::string count = one ? "1 line lies" : std::to_string(lines.unjudged) + " lines lie";
    if (lines.tilt >= kTiltThatCosts) {
        const std::string wayOut = ": try --polarity any, or an image with less tilt.";
        const std::string streets = "streets tilted by " + withDigits(lines.tilt, 1) + " degrees";
        if (options.mode == Mode::edge && lines.inBothDirections)
            return "The polarity of " + streets +
                   " is measured in the middle of the image only; elsewhere they may be lost" + wayOut;
        if (lines.unjudged == 0) return {};
        return count + " too far from the middle of the image for the polarity of " + streets +
               " to be measured, and " + (one ? "is" : "are") + " lost" + wayOut;
    }
    // In a square image of level streets such lines have angles of no streets.
    if (lines.unjudged == 0 || lines.isSquare) return {};
    return count + " too far along the longer side of the image for " + (one ? "its" : "their") +
           " polarity to be measured, and " + (one ? "is" : "are") +
           " lost: try --polarity any, or a crop nearer to a square.";
}

SearchHints hintsOf(const CommandOptions& options, const qvStreetFinder& finder, bool foundAny) {
    if (!looksForStreets(options)) return {};
    const qv_streetFinderImpl& impl = qf_finderRecord(finder);
    SearchHints hints;
    hints.edgeLimit = edgeLimitSentence(options, filterLengths(finder));
    hints.linesLost = linesLostSentence(options, linesInImage(options, impl));
    if (!foundAny) hints.nothing = reasonInLines(options, impl);
    return hints;
}

std::string oblongSentence(const CommandOptions& options, long width, long height) {
    if (!looksForStreets(options) || options.polarity == Polarity::any || width == height) return {};
    return std::string("--polarity ") + nameOf(options.polarity) +
           ": in an image that is not square, streets further from one end of its longer side than the shorter side is "
           "long are not found; which end depends on the tilt of the streets: try --polarity any, or a square crop";
}

std::string diagnosedReason(const CommandOptions& options, const GreyImage& image) {
    CommandOptions again = options;
    again.trace.clear();
    again.overlays.clear();
    again.measure = false;
    ImageReport report;
    Inspection inspection;
    try {
        runInspection(again, image, report, inspection);
    } catch (const Refusal&) {
        return {};
    }
    // Single streets take any two edges of a fitting width; why crossings refused theirs is not their reason.
    const bool isAboutPairs = options.mode == Mode::edge && keepsLinesOfBothDirections(inspection.records);
    if (options.subcommand == Subcommand::streets && isAboutPairs) return {};
    return firstFailure(inspection.records);
}

}  // namespace qvtool
