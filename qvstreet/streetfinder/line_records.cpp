#include "qvstreet/streetfinder/line_records.h"

#include <algorithm>

#include "qvstreet/candidates/candidate_records.h"
#include "qvstreet/platform/diagnostic_cells.h"

namespace {

constexpr long kOverlay = qvUITablet::eOverlayLayer;

struct Row {
    const qvLineFinderResults* line = nullptr;
    bool isKept = false;
    /// Among the kept ones.
    long number = 0;
};

std::vector<Row> rowsOf(const std::vector<qvLineFinderResults>& lines, double minLength) {
    std::vector<Row> rows;
    long kept = 0;
    for (const qvLineFinderResults& line : lines) {
        const qvVector<2> d = line.segment().p2() - line.segment().p1();
        const bool isKept = d * d > minLength * minLength;
        rows.push_back({&line, isKept, kept});
        if (isKept) ++kept;
    }
    return rows;
}

qvUISketch sketchOf(const std::vector<Row>& rows, bool isKept, const qvColor& color) {
    qvUITablet tablet;
    for (const Row& row : rows) {
        if (row.isKept != isKept) continue;
        tablet.draw(row.line->segment(), color, kOverlay);
        tablet.hint((isKept ? L"line " + qf_cell(row.number) + L", " : L"") + L"length " +
                    qf_cell(row.line->segment().len()));
    }
    return tablet.sketch();
}

}  // namespace

void recordLines(const qvPelBuffer_const<unsigned char>& image,
                 const std::vector<std::vector<qvLineFinderResults>>& found, const std::array<double, 2>& minLengths,
                 qvDiagObject& diagObject) {
    qvDiagRecord& record = diagObject.newDiagRecord();
    record.recordAnnotation(L"Lines");
    record.image(image, true);
    const std::array<qvColor, 2> colors = {qvColor::greenColor, qvColor::blueColor};
    for (std::size_t direction = 0; direction < colors.size(); ++direction) {
        std::vector<Row> rows = rowsOf(found[direction], minLengths[direction]);
        const std::wstring where = L", direction " + qf_cell(direction);
        record.sketch(sketchOf(rows, true, colors[direction]), qvDisplay::eClientCoordinates, L"Kept" + where);
        record.sketch(sketchOf(rows, false, qvColor::redColor), qvDisplay::eClientCoordinates, L"Dropped" + where);

        const auto kept = std::count_if(rows.begin(), rows.end(), [](const Row& row) { return row.isKept; });
        record.text(qf_cell(static_cast<long>(kept)) + L" of " + qf_cell(rows.size()) + L" are longer than " +
                        qf_cell(minLengths[direction]) + L" client units",
                    L"Lines" + where);

        std::stable_sort(rows.begin(), rows.end(), [](const Row& a, const Row& b) {
            return qf_descending(a.line->segment().len(), b.line->segment().len());
        });
        qvDiagTable table;
        table.label = L"Lines" + where;
        table.heading = qf_cells(L"line", L"from (client)", L"to (client)", L"length", L"longer than", L"polarity vote",
                                 L"mean grey", L"use");
        for (const Row& row : rows) {
            const qvLineSeg& segment = row.line->segment();
            table.rows.push_back(qf_cells(row.isKept ? qf_cell(row.number) : std::wstring(), segment.p1(), segment.p2(),
                                          segment.len(), minLengths[direction],
                                          row.line->unguardedPolarity() ? L"positive" : L"negative",
                                          row.line->statsMask() != 0 ? qf_cell(row.line->meanGrey()) : std::wstring(),
                                          row.isKept             ? L"kept"
                                          : segment.len() == 0.0 ? L"dropped: outside the image"
                                                                 : L"dropped: too short"));
        }
        qf_attachTable(record, table);
    }
}
