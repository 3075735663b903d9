#include <benchmark/benchmark.h>

#include "bench/bench_images.h"
#include "qvstreet/candidates/eight_line_crosses.h"
#include "qvstreet/candidates/four_line_crosses.h"
#include "qvstreet/candidates/stage_order.h"
#include "qvstreet/streetfinder/candidate_search.h"
#include "qvstreet/streetfinder/street_finder_access.h"

// The crossing search of the edge mode with 100 lines a direction, far more than a wafer image has: as 50 streets whose edges
// run through, and as 25 streets whose edges are broken in the middle. The time to compare with is `setImage` at 1024.

namespace {

using qvbench::waferImage;
using qvbench::waferParams;

constexpr long kSide = 1024;
constexpr double kWidth = 8.0;

using Lines = std::vector<std::vector<qvLineFinderResults>>;

/// Streets `pitch` apart; each edge in `pieces` pieces with a gap of three widths between them.
Lines gridLines(int streets, double pitch, int pieces) {
    const double side = static_cast<double>(kSide);
    const double gap = 3.0 * kWidth;
    const double length = (side - 10.0 - gap * (pieces - 1)) / pieces;
    Lines lines(2);
    for (int street = 0; street < streets; ++street)
        for (const double offset : {0.0, kWidth})
            for (int piece = 0; piece < pieces; ++piece) {
                const double across = 12.0 + pitch * street + offset;
                // Two edges with the same ends do not count as facing each other.
                const double from = 5.0 + (length + gap) * piece + 0.1 * offset;
                const double to = from + length;
                lines[0].emplace_back(qvLineSeg(qvVector<2>(from, across), qvVector<2>(to, across)), 0.0, false);
                lines[1].emplace_back(qvLineSeg(qvVector<2>(across, from), qvVector<2>(across, to)), 0.0, false);
            }
    return lines;
}

void findEdgeCrosses(benchmark::State& state, int streets, double pitch, int pieces) {
    qvStreetFinderParams params = waferParams(kSide, qvStreetFinderDefs::eEdgePairWafer);
    params.nominalStreetWidth({kWidth, kWidth}, {0.5 * kWidth, 1.5 * kWidth}, {0.5 * kWidth, 1.5 * kWidth});
    params.maxResults(state.range(0));
    qvStreetFinder finder(params);
    finder.setImage(waferImage(kSide));
    qv_streetFinderAccess::record(finder).lines = gridLines(streets, pitch, pieces);
    std::size_t found = 0;
    for (auto _ : state) {
        std::vector<qvStreetFinderStreetCrossResult> results;
        finder.find(results);
        found = results.size();
    }
    state.counters["crossings"] = static_cast<double>(found);
}

BENCHMARK_CAPTURE(findEdgeCrosses, through_100_lines, 50, 20.0, 1)->Unit(benchmark::kMillisecond)->Arg(13)->Arg(100);
BENCHMARK_CAPTURE(findEdgeCrosses, broken_100_lines, 25, 40.0, 2)->Unit(benchmark::kMillisecond)->Arg(13)->Arg(100);

}  // namespace
