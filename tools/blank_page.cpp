// A blank region search as a page: the regions on the image, what became of each coarse region, then the records of the
// search as they are.
#include "tools/blank_page.h"

#include "qvstreet/platform/text.h"
#include "tools/sketch_results.h"
#include "tools/text.h"

#include <algorithm>

namespace qvtool {
namespace {

qvPelBuffer_const<unsigned char> bufferOf(const GreyImage& image) {
    return qvPelBuffer_const<unsigned char>(image.pels.data(), image.width, image.height, image.width);
}

/// What the page needs to know of all candidates.
struct Candidates {
    std::size_t coarse = 0;
    std::size_t rejected = 0;  ///< an end could not be set
    std::string threshold;     ///< of the regional deviation
    std::vector<qvShape> coarseShapes;
};

/// The search works on the transposed image where the street is upright, and coarse regions are recorded there.
qvShape inImage(qvShape shape, bool vertical) {
    if (!vertical) return shape;
    shape.p1 = qvVector<2>(shape.p1.y(), shape.p1.x());
    shape.p2 = qvVector<2>(shape.p2.y(), shape.p2.x());
    return shape;
}

Candidates candidatesIn(const qvDiagObject& records, bool vertical) {
    Candidates found;
    for (long i = 0; i < records.numRecords(); ++i) {
        const qvDiagRecord& record = records.diagRecord(i);
        if (record.recordAnnotation() == L"Coarse Region") ++found.coarse;
        for (const qvDiagEntry& entry : record.entries()) {
            if (entry.kind == qvDiagEntry::eText && entry.text == L"Region rejected") ++found.rejected;
            if (entry.kind == qvDiagEntry::eText && entry.label == L"Threshold") found.threshold = qfUtf8(entry.text);
            if (entry.kind != qvDiagEntry::eGraphics || entry.label != L"Coarse Region") continue;
            for (const qvShape& shape : entry.sketch.shapes()) found.coarseShapes.push_back(inImage(shape, vertical));
        }
    }
    return found;
}

std::string counted(std::size_t count, const char* what) {
    return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
}

// The search tells that a region was rejected, not which of these it was.
const char* const kRejectedFor = "shorter than wanted once the ends were set, too uneven, or of a grey without weight";

std::string verdictOf(const ImageReport& report, const Candidates& candidates) {
    if (!report.error.empty()) return "The image " + report.error + ".";
    const std::size_t count = report.blankRegions ? report.blankRegions->size() : 0;
    if (count > 0) return counted(count, "blank region") + " found.";
    if (candidates.coarse == 0) {
        return "No blank region found: no window of the least length and three quarters of the street's width has a "
               "regional deviation below the threshold.";
    }
    if (candidates.rejected == candidates.coarse) {
        return "No blank region found: " +
               (candidates.coarse == 1
                    ? std::string("the only coarse region was rejected, as ")
                    : "all " + std::to_string(candidates.coarse) + " coarse regions were rejected, as ") +
               kRejectedFor + ".";
    }
    return "No blank region found: of " + counted(candidates.coarse, "coarse region") + " " +
           std::to_string(candidates.rejected) + (candidates.rejected == 1 ? " was" : " were") +
           " rejected and the rest scored nothing.";
}

std::vector<std::string> findingsOf(const ImageReport& report, const Candidates& candidates) {
    std::vector<std::string> findings;
    if (!candidates.threshold.empty())
        findings.push_back("Threshold of the regional deviation: " + candidates.threshold);
    findings.push_back(counted(candidates.coarse, "coarse region") + " below the threshold");
    if (candidates.coarse > 0) {
        findings.push_back(candidates.rejected == 0
                               ? std::string("none of them rejected")
                               : std::to_string(candidates.rejected) + " of them rejected, as " + kRejectedFor);
    }
    if (report.blankRegions) findings.push_back(std::to_string(report.blankRegions->size()) + " kept");
    return findings;
}

qvDiagTable regionsTable(const ImageReport& report) {
    qvDiagTable table;
    table.label = L"Blank regions, best first (pels)";
    table.heading = {L"x", L"y", L"width", L"height", L"score", L"blankness"};
    if (!report.blankRegions) return table;
    for (const BlankRegion& region : *report.blankRegions) {
        table.rows.push_back({qfStr(region.x), qfStr(region.y), qfStr(region.width), qfStr(region.height),
                              qfDbl(region.score, 4, false), qfDbl(region.blankness, 4, false)});
    }
    return table;
}

qvDiagTable optionsTable(const CommandOptions& options) {
    qvDiagTable table;
    table.label = L"Options";
    table.heading = {L"option", L"value", L"meaning"};
    const bool vertical = options.direction == Direction::vertical;
    const auto fileOr = [](const std::string& file, const wchar_t* none) {
        return file.empty() ? std::wstring(none) : L"given";
    };
    table.rows = {
        {L"--street-width", qfStr(options.streetWidth), L"width of the street, pels"},
        {L"--min-length", qfStr(options.minLength), L"shortest blank stretch worth reporting, pels"},
        {L"--direction", vertical ? L"v" : L"h", L"the street runs along the rows (h) or the columns (v)"},
        {L"--max", qfStr(options.maxResults), L"most results"},
        {L"--mask", fileOr(options.mask, L"none"), L"pels that count as structure"},
        {L"--grey-weights", fileOr(options.greyWeights, L"all 1"), L"weights of the mean grey levels"},
    };
    return table;
}

qvDiagTable timesTable(const ImageReport& report) {
    qvDiagTable table;
    table.label = L"Time";
    table.heading = {L"stage", L"milliseconds"};
    if (report.seconds) {
        table.rows.push_back({L"search, recording included", qfDbl(1000.0 * report.seconds->search, 3, false)});
    }
    return table;
}

}  // namespace

Page blankPage(const CommandOptions& options, const GreyImage& image, const ImageReport& report,
               const qvDiagObject& records) {
    const Candidates candidates = candidatesIn(records, options.direction == Direction::vertical);
    Page page;
    page.title = report.image;
    page.subtitle = "qvstreet blank, " + std::to_string(image.width) + " x " + std::to_string(image.height) + " pels";
    page.isGood = report.blankRegions && !report.blankRegions->empty();
    page.verdict = verdictOf(report, candidates);
    page.findings = findingsOf(report, candidates);
    page.view.image = bufferOf(image);
    page.view.layers.push_back(
        {L"Coarse regions", qvUISketch(candidates.coarseShapes), qvDisplay::eImageCoordinates, !page.isGood});
    if (report.blankRegions) {
        const ResultDrawing drawing = drawBlankRegions(*report.blankRegions, pageViewScale(image.width, image.height));
        for (const SketchLayer& layer : drawing.layers) {
            page.view.layers.push_back({L"Blank regions", layer.sketch, layer.system, true});
        }
    }
    page.results = {regionsTable(report)};
    page.records = &records;
    page.appendix = {optionsTable(options), timesTable(report)};
    return page;
}

}  // namespace qvtool
