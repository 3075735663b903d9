#include "qvstreet/streetfinder/crossing_records.h"

#include <algorithm>

#include "qvstreet/candidates/canonical_cross.h"
#include "qvstreet/platform/diagnostic_cells.h"
#include "qvstreet/streetfinder/line_crossings.h"

namespace {

using Cross = qvStreetFinderStreetCrossResult;

constexpr long kOverlay = qvUITablet::eOverlayLayer;

/// A crossing and the two lines that made it.
struct Row {
    const Cross* cross = nullptr;
    qvDIPair line0;
    qvDIPair line1;
};

std::vector<Row> rowsOf(const std::vector<std::vector<qvDIPair>>& lists, const std::vector<Cross>& scored) {
    std::vector<Row> rows;
    rows.reserve(scored.size());
    std::size_t k = 0;
    for (const qvDIPair& line0 : lists[0])
        for (const qvDIPair& line1 : lists[1]) rows.push_back({&scored[k++], line0, line1});
    std::stable_sort(rows.begin(), rows.end(),
                     [](const Row& a, const Row& b) { return qf_scoreOrder(*a.cross, *b.cross); });
    return rows;
}

}  // namespace

void recordLineCrossings(const qv_streetFinderImpl& impl, const std::vector<std::vector<qvDIPair>>& lists,
                         const std::vector<Cross>& scored, long maxResults, qvDiagObject& diagObject) {
    qvDiagRecord& record = diagObject.newDiagRecord();
    record.recordAnnotation(L"Crossings");
    record.image(impl.image, true);
    qvDiagTable table;
    table.label = L"Candidates";
    table.heading = qf_cells(L"line of direction 0", L"line of direction 1", L"crossing (client)", L"score",
                             L"missing length", L"texture (x 0.1)", L"grey", L"beyond a line's end", L"use");
    qvUITablet keptOnes;
    qvUITablet droppedOnes;
    std::vector<Cross> kept;
    for (const Row& row : rowsOf(lists, scored)) {
        const qvVector<2> crossing = row.cross->crossing();
        const bool isFull = static_cast<long>(kept.size()) >= maxResults;
        const bool isKept = !isFull && isFarFromAll(kept, crossing, qvLeastCrossSeparation);
        if (isKept) kept.push_back(*row.cross);
        qvUITablet& tablet = isKept ? keptOnes : droppedOnes;
        tablet.drawPointIcon(crossing, isKept ? qvColor::greenColor : qvColor::redColor, kOverlay);
        tablet.hint(L"score " + qf_cell(row.cross->score()));
        const qv_lineCrossingTerms terms =
            lineCrossingTerms(impl.lines[0][static_cast<std::size_t>(row.line0.index)], row.line0.value,
                              impl.lines[1][static_cast<std::size_t>(row.line1.index)], row.line1.value, impl);
        table.rows.push_back(qf_cells(row.line0.index, row.line1.index, crossing, row.cross->score(), terms.length,
                                      terms.texture, terms.grey, terms.outside,
                                      isKept   ? L"kept"
                                      : isFull ? L"dropped: beyond the number asked for"
                                               : L"dropped: nearer than 5 to a better one"));
    }
    record.text(qf_cell(lists[0].size()) + L" lines of direction 0 and " + qf_cell(lists[1].size()) +
                    L" of direction 1 cross in " + qf_cell(scored.size()) + L" places, " + qf_cell(kept.size()) +
                    L" are kept",
                L"Found");
    record.sketch(keptOnes.sketch(), qvDisplay::eClientCoordinates, L"Kept");
    record.sketch(droppedOnes.sketch(), qvDisplay::eClientCoordinates, L"Dropped");
    qf_attachTable(record, table);
}
