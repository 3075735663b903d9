/// @file
/// What a search tells beside its results: that the options cannot see what was asked for, and why there is nothing.
#ifndef QVSTREET_TOOLS_SEARCH_HINTS_H
#define QVSTREET_TOOLS_SEARCH_HINTS_H

#include "qvstreet/streetfinder/street_finder.h"
#include "tools/command_line.h"
#include "tools/grey_image.h"
#include "tools/report.h"

#include <array>
#include <cstddef>
#include <optional>
#include <string>

namespace qvtool {

/// A sentence for streets too narrow for `edge` mode; empty where they are not, or in another mode.
/// @param lengths  of the line filter across the streets of each direction, client units; none where it is not known
std::string edgeLimitSentence(const CommandOptions& options, const std::array<std::optional<double>, 2>& lengths);

/// How the lines of an image lie in it.
struct LinesInImage {
    /// The image.
    bool isSquare = true;
    /// Each direction has a line.
    bool inBothDirections = false;
    /// Of the street directions against the image's sides, the greater one: 0 to 45 degrees.
    double tilt = 0.0;
    /// Lines of `ridge` and `coarse` mode where no grey level was there to judge the polarity.
    std::size_t unjudged = 0;
};

/// Of a direction of the client frame, 0 to 45 degrees.
double tiltOf(const qvXform<2>& imageFromClient, double clientDegrees);

/// A sentence for lines whose polarity could not be measured; empty for none.
std::string linesLostSentence(const CommandOptions& options, const LinesInImage& lines);

/// The hints of a finder that has searched an image for crossings or streets. Takes no second search.
SearchHints hintsOf(const CommandOptions& options, const qvStreetFinder& finder, bool foundAny);

/// What a polarity costs in an image of that size, for the whole call; empty where it costs nothing.
std::string oblongSentence(const CommandOptions& options, long width, long height);

/// Why a search of that image found nothing, in a sentence, by a second search with all stages recorded. Empty where the
/// records do not tell.
std::string diagnosedReason(const CommandOptions& options, const GreyImage& image);

}  // namespace qvtool

#endif
