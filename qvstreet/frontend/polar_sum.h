/// @file
/// Sums over a ring of an image, one for each direction, with a table of the samples that is kept from one image to the
/// next.
#ifndef QVSTREET_FRONTEND_POLAR_SUM_H
#define QVSTREET_FRONTEND_POLAR_SUM_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include "qvstreet/platform/pel_buffer.h"

/// The ring of the frequencies that tell street angles, and its sums. Copies share nothing.
class qv_polarSum {
 public:
    /// Sums `magnitude` over the ring from radius `r0` to `r1` (pels) around its centre, for `angularSamples` directions
    /// from -135 to +135 degrees. The table of the samples is made anew only for other numbers or another size of the
    /// image.
    /// @param profile  receives one row, one element a direction. One of that size is filled in place, any other is
    ///                 replaced by a new image.
    /// @throws qvPel::BadSize when the ring holds no sample
    void sum(const qvPelBuffer_const<double>& magnitude, short angularSamples, long r0, long r1,
             qvPelBuffer<double>& profile);

    /// How often a table was made.
    long tablesMade() const { return tablesMade_; }

 private:
    struct Ring {
        long width = 0;
        long height = 0;
        long rowUpdate = 0;
        long angularSamples = 0;
        long r0 = 0;
        long r1 = 0;
    };
    friend bool operator==(const Ring& a, const Ring& b) {
        return a.width == b.width && a.height == b.height && a.rowUpdate == b.rowUpdate &&
               a.angularSamples == b.angularSamples && a.r0 == b.r0 && a.r1 == b.r1;
    }

    void makeTable(const Ring& ring);
    void sumAtBorders(const qvPelBuffer_const<double>& magnitude, double* sums) const;

    Ring ring_;
    long tablesMade_ = 0;
    std::size_t directions_ = 0;
    std::size_t radii_ = 0;
    /// Whether all four neighbours of every sample are pels of the image.
    bool isInside_ = false;
    /// As in `qv_PolarSamples`, the last group filled up with the first pel.
    std::vector<std::int32_t> offsets_;
    std::vector<double> fractionsX_;
    std::vector<double> fractionsY_;
    /// The pel at the upper left of each sample, which may lie outside, for rings that are not inside.
    std::vector<std::int32_t> columns_;
    std::vector<std::int32_t> rows_;
    std::vector<double> sums_;
};

#endif
