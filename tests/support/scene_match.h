#ifndef QVSTREET_TESTS_SUPPORT_SCENE_MATCH_H
#define QVSTREET_TESTS_SUPPORT_SCENE_MATCH_H

#include <cstddef>
#include <string>
#include <vector>

#include "tests/support/wafer_scene.h"

// Holds crossings that were found against the truth of their scene.

namespace qvtest {

/// A crossing as a run reports it: client frame, degrees.
struct FoundCrossing {
    Point2 position;
    double horizontalAngleDegrees = 0.0;
    double verticalAngleDegrees = 0.0;
};

/// A sample pel is 1/246 of the image's width or height: the grid on which streets are looked for. Errors in sample
/// pels are measured on that grid, so their two axes differ on an oblong image.
constexpr double sampleGridSize = 246.0;

/// One found crossing that was matched with its truth.
struct CrossingMatch {
    std::size_t found = 0;
    /// Index into `SceneTruth::crossings`.
    std::size_t truth = 0;
    bool expected = false;
    /// found minus true, image frame, pels.
    Point2 offset;
    double errorPels = 0.0;
    double errorSamplePels = 0.0;
    /// The worse of the two directions, compared as undirected lines in the client frame.
    double angleErrorDegrees = 0.0;
};

/// How a run did. Every crossing found is counted once: in `found`, `surplus`, `duplicates` or `falseFound`.
struct MatchReport {
    /// Crossings more than a street width inside the image, and how many of them were found.
    int expected = 0;
    int found = 0;
    int missed = 0;
    /// True crossings nearer the border or outside the image: nobody asked for them, and they are right.
    int surplus = 0;
    /// Near a true crossing that a nearer one was matched with.
    int duplicates = 0;
    /// Near no crossing of the scene's streets, inside the image or outside; also those that are not finite.
    int falseFound = 0;
    /// Over the expected ones that were found; 0 where there is none.
    double worstErrorPels = 0.0;
    double worstErrorSamplePels = 0.0;
    double medianErrorSamplePels = 0.0;
    double worstAngleErrorDegrees = 0.0;
    /// Nearest pair first.
    std::vector<CrossingMatch> matches;
    /// Indices into `SceneTruth::crossings` of the missed ones, and into the found ones of the false ones.
    std::vector<std::size_t> missedTruth;
    std::vector<std::size_t> falseIndices;
};

/// `found` in the client frame of the scene. A found crossing counts for a true one within 3 sample pels or half the
/// wider street's width, whichever reaches further; each true one counts once, for the nearest.
MatchReport matchCrossings(const Scene& scene, const std::vector<FoundCrossing>& found);

/// "expected 9 found 9 missed 0 false 1 surplus 3 duplicates 0 worst 0.41 pel 0.10 sample pel angle 0.052 deg".
std::string summary(const MatchReport& report);

}  // namespace qvtest

#endif
