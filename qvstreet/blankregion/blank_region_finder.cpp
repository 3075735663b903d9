// Blank region search.
//
// In:  the image of one street, optionally a mask, the parameters.
// Out: scored rectangles in pels of the caller's image.
//
//     image --(transposed for a vertical street)--> working image
//        |-> foreground image          distance from the grey level around; masked pels are 255
//        |-> regional deviation image  one pel per position of the analysis window
//               copy --> coarse region --> ends moved --> blankness --> score --> result
//                 ^                                                       |
//                 +------------------- painted out <----------------------+
//
// Everything inside counts from the upper left pel of the image's window; the offset is added to the results alone.
#include "qvstreet/blankregion/blank_region_finder.h"

#include <algorithm>
#include <cstdint>
#include <vector>

#include "qvstreet/blankregion/blank_region_defs.h"
#include "qvstreet/blankregion/blank_region_diagnostics.h"
#include "qvstreet/blankregion/coarse_region.h"
#include "qvstreet/blankregion/region_ends.h"
#include "qvstreet/blankregion/region_scores.h"
#include "qvstreet/blankregion/regional_images.h"
#include "qvstreet/platform/pel_ops.h"
#include "qvstreet/platform/timer.h"

namespace {

using Defs = qvStreetBlankRegionFinderDefs;
using Image = qvPelBuffer_const<unsigned char>;

/// Structure along the street matters more than structure across it, which the street's own borders show too.
constexpr double kRowWeight = 0.8;

constexpr unsigned char kPaintedOut = 255;
constexpr long kSaturate = 2;

/// Three quarters of the street's width.
/// @throws qvPel::BadSize for a width so large that three times it comes out negative in 32 bits
long stripHeight(long streetWidthPels) {
    const long height = static_cast<std::int32_t>(static_cast<std::uint32_t>(streetWidthPels) * 3u) / 4;
    if (height < 0) throw qvPel::BadSize(L"the strip height is negative");
    return height;
}

void requireBlackAndWhite(const Image& mask) {
    std::vector<unsigned long> counts(256, 0);
    qfPelHistogram(mask, counts);
    const unsigned long pels = static_cast<unsigned long>(mask.width()) * static_cast<unsigned long>(mask.height());
    if (counts[0] + counts[255] != pels) throw Defs::BadParams(L"Mask must only contain 0 and 255");
}

/// The windows of analysis that a rectangle of window positions stands for, taken together.
qvPelRect coveredRegion(const qvPelRect& coarse, long windowWidth, long windowHeight) {
    return qvPelRect(coarse.ul().first, coarse.ul().second, coarse.width() + windowWidth - 1,
                     coarse.height() + windowHeight - 1);
}

qvPelRect transposed(const qvPelRect& rect) {
    return qvPelRect(rect.ul().second, rect.ul().first, rect.height(), rect.width());
}

qvPelRect shifted(const qvPelRect& rect, const qvPair<long>& offset) {
    return qvPelRect(qfSaturate32(std::int64_t{rect.ul().first} + offset.first),
                     qfSaturate32(std::int64_t{rect.ul().second} + offset.second), rect.width(), rect.height());
}

/// Takes every window position away that overlaps what the coarse region stands for.
void paintOut(qvPelBuffer<unsigned char>& search, const qvPelRect& coarse, long windowWidth, long windowHeight) {
    search.window(coarse.ul().first - windowWidth, coarse.ul().second - windowHeight, coarse.width() + 2 * windowWidth,
                  coarse.height() + 2 * windowHeight, true);
    qfPelSet(search, kPaintedOut);
    search.setEntire();
}

/// @param mask  null for none
void runBlankRegionSearch(const Image& image, const Image* mask, const qvStreetBlankRegionFinderParams& params,
                          qvStreetBlankRegionFinderResultSet& resultSet, qvDiagObject* diagObject,
                          std::uint32_t diagFlags) {
    qvTimer timer(false);
    timer.start();
    if (!image.isBound()) throw qvPel::UnboundWindow(L"the image has no pels");
    if (mask != nullptr && !mask->isBound()) throw qvPel::UnboundWindow(L"the mask has no pels");
    const qv_BlankRegionRecorder recorder(diagObject, diagFlags);
    recorder.input(image);

    const bool vertical = params.direction() == Defs::eVertical;
    const Image working = vertical ? Image(qfPelTranspose(image)) : image;
    const long length = params.minLengthPels();
    const long strip = stripHeight(params.streetWidthPels());

    qvPelBuffer<unsigned char> foreground;
    computeForegroundImage(working, length, strip, foreground);
    recorder.foreground(foreground);
    if (mask != nullptr) {
        requireBlackAndWhite(*mask);
        // deliberate: the mask is not transposed with the image; pinned by
        // BlankRegionFinder.MaskOfAVerticalStreetIsAppliedUntransposed
        qfPelAdd(foreground, qfPelInvert_U8(*mask), foreground, kSaturate);
    }
    qvPelBuffer<unsigned char> deviation;
    computeRegionalDeviationImage(working, length, strip, deviation, kDeviationScale, kRowWeight);
    recorder.deviation(deviation);

    const unsigned char threshold = quietThreshold(qfPelMin(deviation));
    recorder.threshold(threshold);
    qvPelBuffer<unsigned char> search = qfPelCopy<unsigned char>(deviation);
    std::vector<qvStreetBlankRegionFinderResult> results;
    for (long remaining = params.numResults(); remaining > 0;) {
        const qvPelRect coarse = findCoarseRegion(search, threshold, params.streetWidthPels() - strip + 1);
        if (coarse.width() == 0 || coarse.height() == 0) break;

        qvPelRect region = coveredRegion(coarse, length, strip);
        recorder.coarseRegion(working, region);
        refineRegionEnds(foreground, region, diagObject, recorder.caliperFlags());
        double blankness = 0.0;
        if (region.width() >= length) blankness = computeBlanknessScore(working, region, kRowWeight);

        if (vertical) region = transposed(region);
        const double score = computeRegionScore(blankness, region, image, params);
        recorder.candidate(image, region, blankness, score);
        if (score > 0.0) {
            qvStreetBlankRegionFinderResult result;
            result.init(score, blankness, shifted(region, image.offset()));
            results.push_back(result);
            --remaining;
        }
        // A region that was dropped must not be found again either.
        if (remaining > 0) paintOut(search, coarse, length, strip);
    }
    std::stable_sort(results.begin(), results.end(),
                     [](const qvStreetBlankRegionFinderResult& a, const qvStreetBlankRegionFinderResult& b) {
                         return a.score() > b.score();
                     });
    recorder.results(image, results);
    timer.stop();
    resultSet.init(results, timer.sec());
}

}  // namespace

void qfStreetBlankRegionFinderRun(const qvPelBuffer_const<unsigned char>& image,
                                  const qvPelBuffer_const<unsigned char>& mask,
                                  const qvStreetBlankRegionFinderParams& params,
                                  qvStreetBlankRegionFinderResultSet& resultSet, qvDiagObject* diagObject,
                                  std::uint32_t diagFlags) {
    if (image.window() != mask.window()) throw Defs::BadParams(L"Mask dimensions must match image dimensions");
    runBlankRegionSearch(image, &mask, params, resultSet, diagObject, diagFlags);
}

void qfStreetBlankRegionFinderRun(const qvPelBuffer_const<unsigned char>& image,
                                  const qvStreetBlankRegionFinderParams& params,
                                  qvStreetBlankRegionFinderResultSet& resultSet, qvDiagObject* diagObject,
                                  std::uint32_t diagFlags) {
    runBlankRegionSearch(image, nullptr, params, resultSet, diagObject, diagFlags);
}
