// Records of a blank region run.
//
// In:  what the stages have at hand; rectangles counted from the upper left pel of their image's window.
// Out: records in a diagnostics object, with rectangles in image coordinates.
//
//     "Input Image"
//     "Foreground"
//     "Regional Deviation"   with its threshold
//     "Coarse Region"     \  for every pass
//     "Result Candidate"  /
//     "Results"
#include "qvstreet/blankregion/blank_region_diagnostics.h"

#include <string>

#include "qvstreet/platform/display.h"
#include "qvstreet/platform/text.h"

namespace {

using Image = qvPelBuffer_const<unsigned char>;

/// What a caliper is told where intermediate stages are asked for: its results are an intermediate stage of this run.
constexpr std::uint32_t kCaliperFlags = 0x120000;

/// Digits behind the point of scores in texts.
constexpr int kScoreDigits = 4;

qvDiagRecord& newRecord(qvDiagObject& diagObject, const Image& image, const wchar_t* title) {
    qvDiagRecord& record = diagObject.newDiagRecord();
    // A copy: the foreground changes when the mask is added, the caller's image after the run.
    record.image(image, false);
    record.recordAnnotation(title);
    return record;
}

/// A rectangle in image coordinates.
void addOutline(qvDiagRecord& record, const qvPelRect& rect, const qvColor& color, const wchar_t* label) {
    const qvVector<2> corner(static_cast<double>(rect.ul().first), static_cast<double>(rect.ul().second));
    const qvVector<2> size(static_cast<double>(rect.width()), static_cast<double>(rect.height()));
    qvGraphicList list;
    list.append(qvPtrHandle<qvGraphic>(new qvGraphicWithFill<qvRect, qvGenRect>(qvRect(corner, size), color, false)),
                true);
    record.graphics(list, qvDisplay::eImageCoordinates, label);
}

void addScores(qvDiagRecord& record, double blankness, double score) {
    record.text(L"Blankness Score = " + qfDbl(blankness, kScoreDigits, false) + L"\nScore = " +
                    qfDbl(score, kScoreDigits, false),
                L"Score");
}

/// From the window of `image` to its image coordinates.
qvPelRect inImage(const Image& image, const qvPelRect& rect) {
    const qvPair<long> offset = image.offset();
    return qvPelRect(qfSaturate32(std::int64_t{rect.ul().first} + offset.first),
                     qfSaturate32(std::int64_t{rect.ul().second} + offset.second), rect.width(), rect.height());
}

}  // namespace

qv_BlankRegionRecorder::qv_BlankRegionRecorder(qvDiagObject* diagObject, std::uint32_t flags)
    : input_(qvDiagObject::shouldRecord(flags, qvDiagDefs::eInput) ? diagObject : nullptr),
      results_(qvDiagObject::shouldRecord(flags, qvDiagDefs::eResults) ? diagObject : nullptr),
      intermediate_(qvDiagObject::shouldRecord(flags, qvDiagDefs::eIntermediate) ? diagObject : nullptr),
      caliperFlags_(qvDiagObject::shouldRecord(flags, qvDiagDefs::eIntermediate) ? kCaliperFlags : 0) {}

void qv_BlankRegionRecorder::recordInput(const Image& image) const { newRecord(*input_, image, L"Input Image"); }

void qv_BlankRegionRecorder::recordForeground(const Image& foreground) const {
    newRecord(*intermediate_, foreground, L"Foreground");
}

void qv_BlankRegionRecorder::recordDeviation(const Image& deviation) const {
    newRecord(*intermediate_, deviation, L"Regional Deviation");
}

void qv_BlankRegionRecorder::recordThreshold(unsigned char threshold) const {
    intermediate_->diagRecord(intermediate_->numRecords() - 1).text(qfStr(threshold), L"Threshold");
}

void qv_BlankRegionRecorder::recordCoarseRegion(const Image& working, const qvPelRect& region) const {
    qvDiagRecord& record = newRecord(*intermediate_, working, L"Coarse Region");
    addOutline(record, inImage(working, region), qvColor::greenColor, L"Coarse Region");
}

void qv_BlankRegionRecorder::recordCandidate(const Image& image, const qvPelRect& region, double blankness,
                                             double score) const {
    qvDiagRecord& record = newRecord(*intermediate_, image, L"Result Candidate");
    if (score != 0.0) {
        addOutline(record, inImage(image, region), qvColor::yellowColor, L"Found Region");
    } else {
        record.text(L"Region rejected", L"Region rejected");
    }
    addScores(record, blankness, score);
}

void qv_BlankRegionRecorder::recordResults(const Image& image,
                                           const std::vector<qvStreetBlankRegionFinderResult>& results) const {
    qvDiagRecord& record = newRecord(*results_, image, L"Results");
    if (results.empty()) record.text(L"No region found", L"No region found");
    for (const qvStreetBlankRegionFinderResult& result : results) {
        const bool isBest = &result == &results.front();
        addOutline(record, result.blankRect(), isBest ? qvColor::greenColor : qvColor::dkGreenColor, L"Found Region");
        addScores(record, result.blanknessScore(), result.score());
    }
}
