/// @file
/// An inspected image: what the street finder gave and what its stages recorded.
#ifndef QVSTREET_TOOLS_INSPECTION_H
#define QVSTREET_TOOLS_INSPECTION_H

#include "qvstreet/platform/diagnostics.h"
#include "qvstreet/platform/pel_buffer.h"
#include "qvstreet/streetfinder/diagnosed_run.h"
#include "tools/command_line.h"
#include "tools/grey_image.h"
#include "tools/html_page.h"
#include "tools/measured_run.h"
#include "tools/report.h"

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace qvtool {

struct Inspection {
    qvPelBuffer_const<unsigned char> image;  ///< shares the pels of the image that was searched
    qvDiagObject records;
    qv_diagnosedResults results;
    std::optional<Measurement> measurement;  ///< of the crossings, or of single streets where there is none
    std::vector<qvDiagTable> constants;      ///< of the mode, as the finder had them
    std::string refusal;                     ///< why the finder gave up; empty if it did not
};

/// Searches the image for crossings and single streets with all stages recorded, and adds crossings and time to the
/// report. The image has to outlive the inspection.
/// @throws Refusal for every failure of the finder; the inspection then holds the reason and the records so far.
void runInspection(const CommandOptions& options, const GreyImage& image, ImageReport& report, Inspection& inspection);

/// The page that shows the inspection. `report` is the one that the run has filled in.
Page inspectionPage(const CommandOptions& options, const ImageReport& report, const Inspection& inspection);

/// What was found, in a line: "9 crossings, 6 single streets", or the first stage that had nothing to hand on.
std::string verdictOf(const Inspection& inspection);

/// How the stages came to it, a line each.
std::vector<std::string> findingsOf(const qvDiagObject& records);

/// The first stage of the way to crossings that had nothing to hand on, in a sentence; empty if the records show none.
std::string firstFailure(const qvDiagObject& records);

/// What a user should know beside the verdict, a sentence each: crossings that can hardly be those of streets, a width
/// that the mode cannot see, more results than were let through.
std::vector<std::string> remarksOf(const CommandOptions& options, const Inspection& inspection);

/// Whether a crossing lies inside the image: streets of nearly the same direction meet far outside.
bool hasCrossingInside(const Inspection& inspection);

/// In `edge` mode with a polarity asked for, adds to the record of the candidates how many pairs of lines are as far
/// apart as the edges of a street: of those, only the pairs of the right polarity are in its counts.
void recordPairsOfAnyPolarity(const CommandOptions& options, const qvStreetFinder& finder, qvDiagObject& records);

/// The label of that text; direction 0 or 1.
std::wstring pairsOfAnyPolarityLabel(std::size_t direction);

/// In `edge` mode, adds to the record of the candidates how many pairs of lines are as far apart as the edges of a
/// street and were refused nevertheless, and why: nothing where there are none.
void recordRefusedPairs(const CommandOptions& options, const qvStreetFinder& finder, qvDiagObject& records);

/// The label of that text; direction 0 or 1.
std::wstring refusedPairsLabel(std::size_t direction);

/// Width of the line filter across the streets of that direction, 0 or 1, in client units.
std::optional<double> filterLengthAcross(const qvDiagObject& records, std::size_t direction);

/// Whether each direction has a line that is long enough.
bool keepsLinesOfBothDirections(const qvDiagObject& records);

/// How many lines of `ridge` and `coarse` mode lie where no grey level was there to judge their polarity.
std::size_t linesBeyondProjection(const qvDiagObject& records);

/// Of the two street directions, degrees of the client frame, (-90, 90].
std::array<std::optional<double>, 2> lineAngles(const qvDiagObject& records);

/// Between the two street directions, 0 to 90 degrees.
std::optional<double> angleBetweenDirections(const qvDiagObject& records);

}  // namespace qvtool

#endif
