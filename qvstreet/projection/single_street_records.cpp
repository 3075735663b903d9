#include "qvstreet/projection/single_street_records.h"

#include <algorithm>
#include <cmath>

#include "qvstreet/platform/diagnostic_cells.h"
#include "qvstreet/projection/projection_records.h"

namespace {

constexpr long kOverlay = qvUITablet::eOverlayLayer;
// Marks of more pairs could not be told apart.
constexpr std::size_t kMostMarkedPairs = 40;

/// The order of the search: by cost, those without one at the end.
bool comesFirst(const qv_singleStreetRow& a, const qv_singleStreetRow& b) {
    if (a.hasCost != b.hasCost) return a.hasCost;
    return a.hasCost && qf_ascending(a.cost, b.cost);
}

void markPair(const qv_singleStreetRow& row, const qvTiledProjectionResult& projection, double centreMargin,
              double sideMargin, qvDiagPlot& plot) {
    qvRange centre;
    qvRange left;
    qvRange right;
    pairProfileRanges(row.segments[0], row.segments[1], projection, centreMargin, sideMargin, centre, left, right);
    plot.marks.push_back(rangeMark(left.start(), left.end(), qvColor::yellowColor, row.lines + L" left"));
    plot.marks.push_back(rangeMark(right.start(), right.end(), qvColor::yellowColor, row.lines + L" right"));
    plot.marks.push_back(rangeMark(centre.start(), centre.end(), qvColor::greenColor, row.lines + L" street"));
}

}  // namespace

void recordSingleStreets(const qvPelBuffer_const<unsigned char>& image, std::vector<qv_singleStreetRow> rows,
                         const std::vector<std::wstring>& termNames, long maxResults, qvDiagObject& diagObject) {
    std::stable_sort(rows.begin(), rows.end(), comesFirst);
    qvDiagTable table;
    table.label = L"Candidates";
    table.heading = qf_cells(L"direction", L"lines", L"width");
    table.heading.insert(table.heading.end(), termNames.begin(), termNames.end());
    for (const wchar_t* const name : {L"cost", L"score", L"use"}) table.heading.push_back(name);
    qvUITablet keptOnes;
    qvUITablet droppedOnes;
    long kept = 0;
    for (const qv_singleStreetRow& row : rows) {
        const bool isKept = row.hasCost && kept < maxResults;
        if (isKept) ++kept;
        std::vector<std::wstring> cells = qf_cells(row.direction, row.lines, row.separation);
        for (const double term : row.terms) cells.push_back(qf_cell(term));
        cells.push_back(qf_cell(row.cost));
        cells.push_back(qf_cell(std::exp(-row.cost)));
        cells.push_back(isKept         ? L"kept"
                        : !row.hasCost ? L"dropped: cost not above 0"
                                       : L"dropped: beyond the number asked for");
        table.rows.push_back(cells);
        for (const qvLineSeg& segment : row.segments) {
            qvUITablet& tablet = isKept ? keptOnes : droppedOnes;
            tablet.draw(segment, isKept ? qvColor::greenColor : qvColor::redColor, kOverlay);
            tablet.hint(L"lines " + row.lines + L", score " + qf_cell(std::exp(-row.cost)));
        }
    }
    qvDiagRecord& record = diagObject.newDiagRecord();
    record.recordAnnotation(L"Single Streets");
    if (image.isBound()) record.image(image, true);
    record.text(qf_cell(kept) + L" of " + qf_cell(rows.size()) + L" candidates are kept", L"Found");
    record.text(L"exp(-cost); the cost is the mean of the terms", L"Score");
    record.sketch(keptOnes.sketch(), qvDisplay::eClientCoordinates, L"Kept");
    record.sketch(droppedOnes.sketch(), qvDisplay::eClientCoordinates, L"Dropped");
    qf_attachTable(record, table);
}

void recordEdgePairs(const std::array<qv_edgePairCounts, 2>& counts, const std::array<qvPair<double>, 2>& ranges,
                     const std::vector<qv_singleStreetRow>& rows,
                     const std::array<const qvTiledProjectionResult*, 2>& projections, double centreMargin,
                     double sideMargin, qvDiagObject& diagObject) {
    qvDiagRecord* const record = qf_lastRecord(diagObject, L"Single Streets");
    if (record == nullptr) return;
    qvDiagTable table;
    table.label = L"Pairs of Edges";
    table.heading = qf_cells(L"direction", L"width range (client)", L"pairs", L"never side by side",
                             L"width outside the range", L"nearest of these", L"wrong polarity", L"candidates");
    for (std::size_t d = 0; d < counts.size(); ++d)
        table.rows.push_back(
            qf_cells(d, qf_cell(ranges[d].first) + L" to " + qf_cell(ranges[d].second), counts[d].tried,
                     counts[d].withoutOverlap, counts[d].outsideRange,
                     std::isnan(counts[d].nearestOutside) ? std::wstring() : qf_cell(counts[d].nearestOutside),
                     counts[d].wrongPolarity, counts[d].kept));
    record->table(table);
    for (std::size_t d = 0; d < counts.size(); ++d) {
        qvDiagPlot plot;
        plot.label = L"Candidates on the projection, direction " + qf_cell(d);
        plot.xTitle = L"bin of the profile";
        plot.yTitle = L"mean grey level";
        std::size_t marked = 0;
        for (const qv_singleStreetRow& row : rows) {
            if (row.direction != static_cast<long>(d) || marked == kMostMarkedPairs) continue;
            markPair(row, *projections[d], centreMargin, sideMargin, plot);
            ++marked;
        }
        if (marked == 0) continue;
        plot.curves.push_back(meanGreyCurve(projections[d]->tile(0, 0)));
        record->plot(plot);
    }
}
