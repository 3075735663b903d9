#include "qvstreet/candidates/candidate_search_records.h"

#include "qvstreet/candidates/final_selection.h"
#include "qvstreet/platform/diagnostic_cells.h"

namespace {

using Cross = qvStreetFinderStreetCrossResult;

constexpr long kOverlay = qvUITablet::eOverlayLayer;
// The segments of crosses further down the list would only hide the better ones.
constexpr std::size_t kMostDrawnCrosses = 40;

}  // namespace

void recordCandidateCounts(const qv_candidateStore& store, const std::vector<long>& lineCounts, std::size_t quadCrosses,
                           std::size_t pairCrosses, const qv_candidateContext& context, qvDiagObject& diagObject) {
    const qv_candidateTolerances& t = context.tolerances;
    qvDiagRecord& record = diagObject.newDiagRecord();
    record.recordAnnotation(L"Candidates");
    record.text(L"X " + qf_cell(t.widthLower.first) + L" to " + qf_cell(t.widthUpper.first) + L", Y " +
                    qf_cell(t.widthLower.second) + L" to " + qf_cell(t.widthUpper.second) + L" client units",
                L"Street widths");
    qvDiagTable table;
    table.label = L"Counts";
    table.heading = qf_cells(L"stage", L"direction 0", L"direction 1", L"at most");
    table.rows.push_back(qf_cells(L"lines", lineCounts.at(0), lineCounts.at(1), L""));
    table.rows.push_back(qf_cells(L"pairs of edges", store.hpairs_.size(), store.vpairs_.size(), context.maxPairs));
    table.rows.push_back(
        qf_cells(L"quads: two pairs end to end", store.hquads_.size(), store.vquads_.size(), context.maxQuads));
    record.table(table);

    qvDiagTable crosses;
    crosses.label = L"Crosses";
    crosses.heading = qf_cells(L"kind", L"number");
    crosses.rows.push_back(qf_cells(L"of eight lines: quad with quad", quadCrosses));
    crosses.rows.push_back(qf_cells(L"of four lines: pair with pair", pairCrosses));
    record.table(crosses);
}

void qv_finalScoreRecord::note(const Cross& cross, const wchar_t* kind, double maxLength,
                               const qv_candidateTolerances& tolerances, const qv_streetFinderImpl& impl) {
    const qv_finalCrossTerms terms = finalCrossTerms(cross, maxLength, tolerances, impl);
    rows_.push_back(qf_cells(rows_.size() + 1, kind, cross.crossing(), cross.score(), terms.residual,
                             terms.orthogonality, terms.length, terms.width, terms.contrast, terms.parallelism));
    crossings_.push_back(cross.crossing());
    segments_.push_back(cross.lineSegs());
}

void qv_finalScoreRecord::begin(const std::vector<Cross>& quadCrosses, const std::vector<Cross>& pairCrosses,
                                double maxLength, const qv_candidateTolerances& tolerances,
                                const qv_streetFinderImpl& impl) {
    image_ = impl.image;
    std::size_t quad = 0;
    std::size_t pair = 0;
    while (quad < quadCrosses.size() || pair < pairCrosses.size()) {
        const bool isPair = quad == quadCrosses.size() ||
                            (pair < pairCrosses.size() && qf_scoreOrder(pairCrosses[pair], quadCrosses[quad]));
        if (isPair) {
            note(pairCrosses[pair++], L"four lines", maxLength, tolerances, impl);
        } else {
            note(quadCrosses[quad++], L"eight lines", maxLength, tolerances, impl);
        }
    }
}

void qv_finalScoreRecord::end() const {
    qvDiagTable table;
    table.label = L"Crosses";
    table.heading = qf_cells(L"rank", L"made of", L"crossing (client)", L"score", L"residual / 10", L"orthogonality",
                             L"missing length (x 2)", L"width (x 2)", L"contrast", L"parallelism (x 10)", L"use");
    qvUITablet keptOnes;
    qvUITablet droppedOnes;
    for (std::size_t i = 0; i < rows_.size(); ++i) {
        const bool isDecided = i < isKept_.size();
        const bool isKept = isDecided && isKept_[i];
        table.rows.push_back(rows_[i]);
        table.rows.back().push_back(isKept      ? L"kept"
                                    : isDecided ? L"dropped: nearer than 5 to a better one"
                                                : L"dropped: beyond the number asked for");
        qvUITablet& tablet = isKept ? keptOnes : droppedOnes;
        const qvColor color = isKept ? qvColor::greenColor : qvColor::redColor;
        tablet.drawPointIcon(crossings_[i], color, kOverlay);
        tablet.hint(L"score " + rows_[i][3]);
        if (!isKept || i >= kMostDrawnCrosses) continue;
        for (const qvLineSeg& segment : segments_[i]) tablet.draw(segment, color, kOverlay);
    }
    qvDiagRecord& record = diagObject_->newDiagRecord();
    record.recordAnnotation(L"Final Scores");
    if (image_.isBound()) record.image(image_, true);
    record.text(L"exp(-(sum of the weighted terms) / 7)", L"Score");
    record.sketch(keptOnes.sketch(), qvDisplay::eClientCoordinates, L"Kept");
    record.sketch(droppedOnes.sketch(), qvDisplay::eClientCoordinates, L"Dropped");
    qf_attachTable(record, table);
}
