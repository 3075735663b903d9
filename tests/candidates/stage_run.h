/// @file
/// One run of the candidate stages on literal lines, with everything that it reads and writes.
#ifndef QVSTREET_TESTS_CANDIDATES_STAGE_RUN_H
#define QVSTREET_TESTS_CANDIDATES_STAGE_RUN_H

#include <cstddef>
#include <string>
#include <vector>

#include "qvstreet/candidates/stage_order.h"
#include "qvstreet/streetfinder/candidate_search.h"
#include "tests/candidates/literal_context.h"
#include "tests/candidates/literal_lines.h"

namespace qvtest {

/// The literal record with these lines, the first `count0` of them of direction 0.
inline qv_streetFinderImpl recordWith(const std::vector<LiteralLine>& literals, std::size_t count0) {
    qv_streetFinderImpl impl(literalRecord());
    for (std::size_t i = 0; i < literals.size(); ++i) {
        const LiteralLine& l = literals[i];
        const qvLineSeg segment(qvVector<2>(l.x1, l.y1), qvVector<2>(l.x2, l.y2));
        impl.lines[i < count0 ? 0 : 1].push_back(qvLineFinderResults(segment, 0.0, false));
    }
    return impl;
}

/// All parts may be changed before one of the stages is run.
struct StageRun {
    qv_streetFinderImpl impl;
    qv_candidateContext context;
    qv_candidateStore store;
    std::vector<qv_ridgeLine> lines;
    std::vector<long> counts;
    std::vector<qvStreetFinderStreetCrossResult> results;

    StageRun(const std::vector<LiteralLine>& literals, std::size_t count0)
        : impl(recordWith(literals, count0)),
          context(literalContext(impl)),
          lines(flatLines(literals)),
          counts{static_cast<long>(count0), static_cast<long>(literals.size() - count0)} {}

    void pairsAndQuads(qv_streetTrace* trace = nullptr) {
        generatePairsAndQuads(store, lines, counts, context, impl, trace);
    }
    void dispatch(qv_streetTrace* trace = nullptr) {
        dispatchCandidates(store, results, lines, counts, context, impl, trace);
    }
    std::string tracedDispatch() {
        TraceCapture capture;
        dispatch(capture.trace());
        return capture.text();
    }
    void runOnce() { runCandidatesOnce(store, results, lines, counts, context, impl, nullptr); }
};

}  // namespace qvtest

#endif
