/// @file
/// What the command found in one image, free of the library's types but for display lists, so that writers and tests
/// need no finder.
#ifndef QVSTREET_TOOLS_REPORT_H
#define QVSTREET_TOOLS_REPORT_H

#include "tools/sketch_layer.h"

#include <array>
#include <optional>
#include <string>
#include <vector>

namespace qvtool {

enum class Subcommand { find, streets, angles, inspect, blank };
enum class Mode { edge, ridge, coarse };

/// The words of the command line and of the JSON.
const char* nameOf(Subcommand subcommand);
const char* nameOf(Mode mode);

/// A position, in client units unless a name says otherwise.
struct Position {
    double x = 0.0;
    double y = 0.0;
};

struct Segment {
    Position p1;
    Position p2;
};

struct ScoredAngle {
    double degrees = 0.0;
    double score = 0.0;
};

/// A street as the measurement gives it; numbers that were not measured are NaN.
struct MeasuredStreet {
    std::string status;  ///< "measured", "partly" or "not"
    std::string reason;  ///< why not all of it; empty if it was
    double degrees = 0.0;
    double degreesDeviation = 0.0;  ///< standard deviations: in degrees, the others in client units
    double width = 0.0;
    double widthDeviation = 0.0;
    std::optional<Segment> centre;  ///< the middle line
    double centreDeviation = 0.0;
    std::array<std::optional<Segment>, 2> edges;  ///< the upper or left one first
    std::array<double, 2> edgeDeviations{};       ///< of their positions across the street
    long usedPoints = 0;
    long refusedPoints = 0;
};

/// A crossing likewise.
struct MeasuredCrossing {
    std::string status;
    std::string reason;
    Position at;
    Position deviation;
    MeasuredStreet horizontal;
    MeasuredStreet vertical;
    long usedPoints = 0;
    long refusedPoints = 0;
};

struct Crossing {
    Position centre;
    double score = 0.0;
    double horizontalDegrees = 0.0;
    double verticalDegrees = 0.0;
    Position ul, ur, ll, lr;
    std::vector<Segment> segments;
    bool fromEdges = true;  ///< false: from one line per street, corners all equal to the centre
    std::optional<MeasuredCrossing> measured;
};

struct Street {
    double score = 0.0;
    double degrees = 0.0;
    std::vector<Segment> segments;
    bool fromEdges = true;
    std::optional<MeasuredStreet> measured;
};

/// A stretch of a street without structure: whole pels of the image frame, whatever the client units.
struct BlankRegion {
    long x = 0;  ///< first column
    long y = 0;  ///< first row
    long width = 0;
    long height = 0;
    double score = 0.0;
    double blankness = 0.0;  ///< 0 to 1, before size and grey level are weighed in
};

struct Seconds {
    double setImage = 0.0;  ///< stays 0 for `blank`, which has no such step
    double search = 0.0;
    std::optional<double> measure = std::nullopt;  ///< present if the results were measured
};

/// What a search tells beside its results, a sentence each; empty where there is nothing to tell.
struct SearchHints {
    std::string edgeLimit;  ///< `--width` is too narrow for `edge` mode
    std::string linesLost;  ///< lines whose polarity could not be measured
    std::string nothing;    ///< why nothing was found, as far as the lines tell
};

/// Everything that is said about one image. A list is present if the subcommand computes it, be it empty.
struct ImageReport {
    std::string image;  ///< the path as given
    Subcommand subcommand = Subcommand::find;
    Mode mode = Mode::edge;  ///< means nothing for `blank`
    long width = 0;          ///< pels; 0 if the image could not be read
    long height = 0;
    std::string error;  ///< empty if all went well
    std::optional<std::vector<ScoredAngle>> angles;
    std::optional<std::vector<Crossing>> crossings;
    std::optional<std::vector<Street>> streets;
    std::optional<std::vector<BlankRegion>> blankRegions;
    std::optional<Seconds> seconds;
    bool traceFailed = false;  ///< the file of --trace lacks some of it
    SearchHints hints;         ///< for standard error, of `find` and `streets`
    ResultDrawing drawing;     ///< crossings or streets as the library draws them, where a picture is wanted
};

}  // namespace qvtool

#endif
