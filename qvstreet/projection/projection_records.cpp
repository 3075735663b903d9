#include "qvstreet/projection/projection_records.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "qvstreet/platform/diagnostic_cells.h"

namespace {

using Defs = qvStreetFinderDefs;

// Marks of more lines could not be told apart.
constexpr std::size_t kMostMarkedLines = 40;

qvDiagPlot profilePlot(const qvTiledProjectionOneResult& tile, const std::wstring& label) {
    qvDiagPlot plot;
    plot.label = label;
    plot.xTitle = L"bin of the profile";
    plot.yTitle = L"mean grey level";
    plot.curves.push_back(meanGreyCurve(tile));
    return plot;
}

// What `rangeMean` says of a range without samples; no grey level comes near it.
constexpr double kNoSamples = 1e12;

std::wstring meanCell(double mean) { return mean >= kNoSamples ? L"no pels" : qf_cell(mean); }

/// The number and the words of a verdict.
std::wstring verdictCell(Defs::streetPolarity verdict, double centreMean) {
    const std::wstring cell = qf_cell(static_cast<int>(verdict)) + L": " + polarityText(verdict);
    return centreMean >= kNoSamples ? cell + L", outside the projection" : cell;
}

/// `rangeMean` takes the bins behind the first one.
qvDiagMark binMark(const qvPair<long>& bins, const qvColor& color, const std::wstring& caption) {
    return rangeMark(static_cast<double>(bins.first) + 1.0, static_cast<double>(bins.second) + 1.0, color, caption);
}

}  // namespace

qvDiagMark rangeMark(double from, double to, const qvColor& color, const std::wstring& caption) {
    qvDiagMark mark;
    mark.kind = qvDiagMark::eRange;
    mark.from = from;
    mark.to = to;
    mark.color = color;
    mark.caption = caption;
    return mark;
}

qvDiagCurve meanGreyCurve(const qvTiledProjectionOneResult& tile) {
    qvDiagCurve curve;
    curve.name = L"mean grey";
    // Bin b covers [b, b + 1).
    curve.start = 0.5;
    curve.color = qvColor::blueColor;
    curve.values = tile.sums;
    const bool hasCounts = tile.counts.size() == tile.sums.size();
    for (std::size_t bin = 0; hasCounts && bin < curve.values.size(); ++bin)
        curve.values[bin] =
            tile.counts[bin] > 0.0 ? tile.sums[bin] / tile.counts[bin] : std::numeric_limits<double>::quiet_NaN();
    return curve;
}

void recordProjection(const qv_projectionParams& params, const qvTiledProjectionResult& result,
                      qvDiagObject& diagObject) {
    qvDiagRecord& record = diagObject.newDiagRecord();
    record.recordAnnotation(L"Projection");
    record.text(L"bins follow one another along " + qf_cell(params.primaryAngle.toDouble()) + L", each sums along " +
                    qf_cell(params.crossAngle.toDouble()) + L" client degrees",
                L"Directions");
    for (std::size_t x = 0; x < result.tiles.size(); ++x)
        for (std::size_t y = 0; y < result.tiles[x].size(); ++y) {
            const qvTiledProjectionOneResult& tile = result.tiles[x][y];
            const bool isOnly = result.tiles.size() == 1 && result.tiles[x].size() == 1;
            qvDiagPlot plot =
                profilePlot(tile, isOnly ? L"Profile" : L"Profile of tile " + qf_cell(x) + L", " + qf_cell(y));
            if (!tile.counts.empty()) {
                const auto filled =
                    std::count_if(tile.counts.begin(), tile.counts.end(), [](double count) { return count > 0.0; });
                record.text(qf_cell(static_cast<long>(filled)) + L" of " + qf_cell(tile.counts.size()) +
                                L" bins hold pels of the image",
                            plot.label);
            }
            if (tile.counts.empty()) plot.yTitle = L"grey level, sum or mean";
            record.plot(plot);
        }
}

void recordLinePolarity(const std::vector<qvLineFinderResults>& lines, const std::vector<qvDIPair>& passed,
                        long direction, double width, Defs::streetPolarity asked, const qvXform<2>& clientTransform,
                        const qvTiledProjectionResult& projection, qvDiagObject& diagObject) {
    const std::wstring title = L"Polarity Test, direction " + qf_cell(direction);
    if (qf_lastRecord(diagObject, title) != nullptr) return;
    qvDiagRecord& record = diagObject.newDiagRecord();
    record.recordAnnotation(title);
    record.text(asked == Defs::eAnyPolarity   ? L"any: no line is tested"
                : asked == Defs::eDarkOnLight ? L"dark streets: darker than both sides"
                                              : L"light streets: lighter than both sides",
                L"Polarity asked for");
    record.text(qf_cell(passed.size()) + L" of " + qf_cell(lines.size()) + L" lines pass", L"Found");
    if (asked == Defs::eAnyPolarity || lines.empty()) return;

    const qvTiledProjectionOneResult& tile = projection.tile(0, 0);
    qvDiagPlot plot = profilePlot(tile, L"Ranges");
    qvDiagTable table;
    table.label = L"Lines";
    table.heading = qf_cells(L"line", L"mean of the street", L"mean left", L"mean right", L"verdict", L"use");
    for (std::size_t i = 0; i < lines.size(); ++i) {
        const bool isKept = std::any_of(passed.begin(), passed.end(),
                                        [i](const qvDIPair& entry) { return entry.index == static_cast<long>(i); });
        const qv_lineBins bins = lineProfileBins(lines[i], width, clientTransform, projection);
        double centre = 0.0;
        const Defs::streetPolarity verdict =
            linePolarity(lines[i], width, qvLineSpareFraction, qvLineMargin, clientTransform, projection, centre);
        const double left = rangeMean(tile, bins.left);
        const double right = rangeMean(tile, bins.right);
        table.rows.push_back(qf_cells(i, meanCell(centre), meanCell(left), meanCell(right),
                                      verdictCell(verdict, centre), isKept ? L"kept" : L"dropped: polarity"));
        if (i >= kMostMarkedLines) continue;
        const std::wstring name = L"line " + qf_cell(i);
        plot.marks.push_back(binMark(bins.left, qvColor::yellowColor, name + L" left"));
        plot.marks.push_back(binMark(bins.right, qvColor::yellowColor, name + L" right"));
        plot.marks.push_back(binMark(bins.centre, isKept ? qvColor::greenColor : qvColor::redColor, name + L" street"));
    }
    record.plot(plot);
    qf_attachTable(record, table);
}
