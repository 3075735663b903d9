#include "qvstreet/frontend/response_records.h"

#include <algorithm>

#include "qvstreet/platform/diagnostic_cells.h"

namespace {

constexpr long kOverlay = qvUITablet::eOverlayLayer;
// Chains are nearly straight: every eighth point shows where they run.
constexpr std::size_t kPointStride = 8;
constexpr std::size_t kFewestPoints = 6;

qvPelBuffer_const<unsigned char> greyPicture(const qvPelBuffer_const<double>& response) {
    qvPelBuffer<unsigned char> picture(response.width(), response.height());
    for (long y = 0; y < response.height(); ++y)
        for (long x = 0; x < response.width(); ++x) {
            const long grey = qfTruncate(response.pointToRow(y)[x] + 0.5);
            picture.pointToRow(y)[x] = static_cast<unsigned char>(std::clamp(grey, 0L, 255L));
        }
    return picture;
}

void drawChain(const std::vector<qvVector<2>>& points, const qvColor& color, qvUITablet& tablet) {
    std::size_t from = 0;
    while (from + 1 < points.size()) {
        const std::size_t to = std::min(from + kPointStride, points.size() - 1);
        tablet.drawLineSeg(points[from], points[to], color, kOverlay);
        from = to;
    }
    if (points.size() == 1) tablet.drawPointIcon(points.front(), color, kOverlay);
}

void drawChains(const std::vector<std::vector<qvVector<2>>>& chains, qvDiagRecord& record) {
    qvUITablet used;
    qvUITablet dropped;
    for (const std::vector<qvVector<2>>& chain : chains)
        if (chain.size() < kFewestPoints) {
            drawChain(chain, qvColor::redColor, dropped);
        } else {
            drawChain(chain, qvColor::yellowColor, used);
        }
    record.sketch(used.sketch(), qvDisplay::eImageCoordinates, L"Ridges");
    record.sketch(dropped.sketch(), qvDisplay::eImageCoordinates, L"Ridges of fewer than 6 points");
}

void describeFilter(const qv_ridgeFinderParams& params, const qv_lineFinderRun& run, std::size_t direction,
                    qvDiagRecord& record) {
    const qv_gaborSpec& spec = params.spec;
    const bool hasLengths = spec.kind >= 1 && spec.kind <= 4;
    record.text(hasLengths ? L"across the street " + qf_cell(spec.band.first) + L", along it " +
                                 qf_cell(spec.band.second) + L" client units"
                           : L"given by its frequencies",
                L"Filter lengths");
    const qvPair<double>& sigmas = run.filterSizes[direction];
    record.text(L"centre " + qf_cell(run.filterFrequencies[direction]) + L", sigma across " + qf_cell(sigmas.first) +
                    L", along " + qf_cell(sigmas.second) + L" cycles per pel of the sampled square",
                L"Filter band");
    record.text(qf_cell(run.filterAngles[direction].toDouble()) + L" degrees in the sampled square",
                L"Filter orientation, across the lines");
    const double high = run.extraction.highThreshold;
    record.text(L"a ridge starts above " + qf_cell(high) + L" and goes on above " +
                    qf_cell(high * run.extraction.thresholdRatio) + L", of 255",
                L"Thresholds");
}

}  // namespace

void recordResponses(const qv_spectrumState& state, const qv_ridgeFinderParams& params, const qv_lineFinderRun& run,
                     const std::vector<qv_responseView>& views, const std::vector<qv_ridgeLine>& lines,
                     const std::vector<long>& counts, long firstDirection, qvDiagObject& diagObject) {
    const qvVector<2> offset(static_cast<double>(state.imageOffset.first),
                             static_cast<double>(state.imageOffset.second));
    const qvXform<2> clientFromSample =
        state.clientFromImage * qvXform<2>(run.imageFromSample.matrix(), run.imageFromSample.trans() + offset);
    const qvXform<2> sampleFromImage = run.imageFromSample.inverse();
    auto line = lines.cbegin();
    for (std::size_t direction = 0; direction < views.size(); ++direction) {
        qvDiagRecord& record = diagObject.newDiagRecord();
        record.recordAnnotation(L"Response, direction " + qf_cell(firstDirection + static_cast<long>(direction)));
        qvPelBuffer_const<unsigned char> picture = greyPicture(views[direction].response);
        picture.clientFromImageXform(clientFromSample);
        record.image(picture, true);
        describeFilter(params, run, direction, record);
        record.text(qf_cell(views[direction].chains.size()) + L" ridges, " + qf_cell(counts[direction]) + L" lines",
                    L"Found");
        drawChains(views[direction].chains, record);
        qvUITablet fitted;
        for (long i = 0; i < counts[direction]; ++i, ++line)
            fitted.drawLineSeg(sampleFromImage * line->p1, sampleFromImage * line->p2, qvColor::greenColor, kOverlay);
        record.sketch(fitted.sketch(), qvDisplay::eImageCoordinates, L"Lines");
    }
}
