/// @file
/// What a blank region run leaves in a diagnostics object, for a person who tunes it.
#ifndef QVSTREET_BLANKREGION_BLANK_REGION_DIAGNOSTICS_H
#define QVSTREET_BLANKREGION_BLANK_REGION_DIAGNOSTICS_H

#include <cstdint>
#include <vector>

#include "qvstreet/blankregion/blank_region_results.h"
#include "qvstreet/platform/diagnostics.h"
#include "qvstreet/platform/pel_buffer.h"

/// Records the stages of one run, in the order of the functions below; the last two of the loop once per pass. Where a
/// stage is not asked for, its function is one test of a pointer.
///
/// Rectangles come counted from the upper left pel of the window of the image they are shown on, and are recorded in
/// that image's coordinates, offset included.
class qv_BlankRegionRecorder {
 public:
    /// @param diagObject  null records nothing
    /// @param flags       the `qvDiagDefs::What` stages that are asked for
    qv_BlankRegionRecorder(qvDiagObject* diagObject, std::uint32_t flags);

    void input(const qvPelBuffer_const<unsigned char>& image) const {
        if (input_ != nullptr) recordInput(image);
    }
    /// @param foreground  as it is now: a mask that is added later does not show
    void foreground(const qvPelBuffer_const<unsigned char>& foreground) const {
        if (intermediate_ != nullptr) recordForeground(foreground);
    }
    void deviation(const qvPelBuffer_const<unsigned char>& deviation) const {
        if (intermediate_ != nullptr) recordDeviation(deviation);
    }
    /// Goes into the record before. @param threshold  grey level of the deviation image
    void threshold(unsigned char threshold) const {
        if (intermediate_ != nullptr) recordThreshold(threshold);
    }
    /// @param working  the image with the street along its rows
    /// @param region   before its ends are moved
    void coarseRegion(const qvPelBuffer_const<unsigned char>& working, const qvPelRect& region) const {
        if (intermediate_ != nullptr) recordCoarseRegion(working, region);
    }
    /// A score of 0 shows as rejected; any other shows the region, also a negative one, which no result has.
    /// @param image   the caller's
    /// @param region  in the orientation of `image`
    void candidate(const qvPelBuffer_const<unsigned char>& image, const qvPelRect& region, double blankness,
                   double score) const {
        if (intermediate_ != nullptr) recordCandidate(image, region, blankness, score);
    }
    /// @param results  best first; their rectangles are in image coordinates already
    void results(const qvPelBuffer_const<unsigned char>& image,
                 const std::vector<qvStreetBlankRegionFinderResult>& results) const {
        if (results_ != nullptr) recordResults(image, results);
    }

    /// The flags of the caliper that moves the ends.
    std::uint32_t caliperFlags() const { return caliperFlags_; }

 private:
    void recordInput(const qvPelBuffer_const<unsigned char>& image) const;
    void recordForeground(const qvPelBuffer_const<unsigned char>& foreground) const;
    void recordDeviation(const qvPelBuffer_const<unsigned char>& deviation) const;
    void recordThreshold(unsigned char threshold) const;
    void recordCoarseRegion(const qvPelBuffer_const<unsigned char>& working, const qvPelRect& region) const;
    void recordCandidate(const qvPelBuffer_const<unsigned char>& image, const qvPelRect& region, double blankness,
                         double score) const;
    void recordResults(const qvPelBuffer_const<unsigned char>& image,
                       const std::vector<qvStreetBlankRegionFinderResult>& results) const;

    // The recorder for each stage, null where it is not asked for.
    qvDiagObject* input_;
    qvDiagObject* results_;
    qvDiagObject* intermediate_;
    std::uint32_t caliperFlags_;
};

#endif
