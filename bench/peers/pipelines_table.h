#ifndef QVSTREET_BENCH_PEERS_PIPELINES_TABLE_H
#define QVSTREET_BENCH_PEERS_PIPELINES_TABLE_H

#include <functional>
#include <iosfwd>
#include <string>
#include <vector>

#include "bench/peers/measurement.h"

namespace qvbench {

/// What one method made of one wafer. Errors are distances from the true crossing in pels of the image.
struct MeasuredSearch {
    std::string method;
    Timing timing;
    /// Crossings further inside the image than a street is wide, and how many of these were found.
    std::size_t expected = 0;
    std::size_t found = 0;
    /// Results further than half a street width from any true crossing, and second ones at the same crossing.
    std::size_t wrong = 0;
    double rootMeanSquare = 0.0;
    double worst = 0.0;
};

struct MeasuredScene {
    std::string name;
    std::string title;
    std::vector<MeasuredSearch> searches;
};

/// The names of the wafers, "pipelines_512" and so on.
std::vector<std::string> pipelineNames();

/// Whole searches, ours and those made of OpenCV's parts, on the wafers that `isWanted`; all searches of a wafer are
/// timed in the same rounds.
std::vector<MeasuredScene> measurePipelines(const std::function<bool(const std::string&)>& isWanted, int rounds);

/// A line for each search.
void printPipelines(std::ostream& out, const std::vector<MeasuredScene>& scenes);

/// For the pages of the project: a short table with a line for each wafer, then that with a line for each search, each
/// between two lines of comment. `head` stands above each.
void printPipelinesMarkdown(std::ostream& out, const std::string& head, const std::vector<MeasuredScene>& scenes);

}  // namespace qvbench

#endif
