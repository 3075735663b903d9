/// @file
/// One-dimensional grey-level profiles of an image along a chosen direction, with running sums, so that the mean and
/// the variance of any span of the profile cost a few subtractions.
///
///     primary angle    the bins of a profile follow one another in this direction
///     cross angle      each bin sums the image along this direction
///     profile frame    x is the bin index, bin b covering [b, b + 1)
///
/// A street along the cross angle is thus a narrow feature of the profile.
#ifndef QVSTREET_PROJECTION_TILED_PROJECTION_H
#define QVSTREET_PROJECTION_TILED_PROJECTION_H

#include <cstdint>
#include <vector>

#include "qvstreet/platform/geometry.h"
#include "qvstreet/platform/pel_buffer.h"

class qvDiagObject;

/// What to project and how.
struct qv_projectionParams {
    /// Bits of `mode`. The value 1 has no effect.
    static constexpr std::uint32_t kInscribed = 2;
    static constexpr std::uint32_t kRunningSums = 4;

    /// With `kInscribed` the rectangle that is projected lies within the image as far as two directions allow, without
    /// it around the image. With `kRunningSums` bins get square sums and counts, and running sums are built; without it
    /// bins hold sums or means alone.
    std::uint32_t mode = 0;
    /// Direction along which the bins run; client frame.
    qvDegree primaryAngle;
    /// Direction along which each bin sums; client frame.
    qvDegree crossAngle;
    /// Not read.
    qvVector<2> reservedVector;
    /// Not read.
    qvPair<double> reservedPair;
    /// Number of tiles along the primary (first) and the cross direction (second); 1 or more. Read through
    /// `checkedTileCounts`.
    qvPair<long> tileCounts;
    /// Must be 0.
    std::int32_t tileSelector = 0;
    /// Without running sums: the fraction of a tile's height that a bin must cover to count.
    double overlap = 0.0;

    /// @throws qvInvariantFailure when `tileSelector` is not 0
    const qvPair<long>& checkedTileCounts() const;
};

/// The profile of one tile. All sums are of grey levels of samples one pel apart.
struct qvTiledProjectionOneResult {
    /// Per bin, the sum of the grey levels; without running sums, for a tile partly outside the image, their mean, or
    /// -1.0 for a bin with too few samples.
    std::vector<double> sums;
    /// Per bin, the sum of the squared grey levels; with running sums only, as are the following.
    std::vector<double> squareSums;
    /// Per bin, the number of samples inside the image.
    std::vector<double> counts;
    /// Sums of all bins up to and including each.
    std::vector<double> cumSums;
    std::vector<double> cumSquareSums;
    std::vector<double> cumCounts;
    /// From (bin, 0) to the client frame of the image.
    qvXform<2> clientFromProfile;
    /// 0 when the tile is valid; not so before it is filled.
    std::int32_t status = 1;

    /// `sums`. @throws qvInvariantFailure for a tile that is not valid
    const std::vector<double>& checkedSums() const;
};

/// The profiles of all tiles. Holds no reference to the image.
struct qvTiledProjectionResult {
    /// Outer index along the primary direction, inner index along the cross direction.
    std::vector<std::vector<qvTiledProjectionOneResult>> tiles;

    /// @throws qvInvariantFailure for a tile that does not exist
    const qvTiledProjectionOneResult& tile(long x, long y) const;
};

/// Projects the image's window along the primary angle and replaces `result`.
/// @param diagObject  gets the profile of each tile; null for none
/// @throws qvPel::UnboundWindow for an unbound image; qvPel::BadSize for tile counts below 1 and for a tile whose
///         number of samples along a side is 0 or, after narrowing to 16 bits, negative; qvMatrixErr::Singular for a client
///         transform without inverse; qvInvariantFailure for a `tileSelector` other than 0
void computeTiledProjection(const qvPelBuffer_const<unsigned char>& image, const qv_projectionParams& params,
                            qvTiledProjectionResult& result, qvDiagObject* diagObject);

/// The same with the inscribed rectangle and running sums, whatever the mode of `params`.
void computeStreetProjection(const qvPelBuffer_const<unsigned char>& image, const qv_projectionParams& params,
                             qvTiledProjectionResult& result, qvDiagObject* diagObject);

/// Mean grey level of the bins behind range.first up to and including range.second; the same for a reversed range.
/// @returns 1e12, above every grey level, for a span without samples
/// @throws qvInvariantFailure for a bin that does not exist
double rangeMean(const qvTiledProjectionOneResult& tile, const qvPair<long>& range);

/// Variance of the grey levels of the same bins.
/// @returns 0.0 for a reversed range, 1e12 for a span without samples
/// @throws qvInvariantFailure for a bin that does not exist
double rangeVariance(const qvTiledProjectionOneResult& tile, const qvPair<long>& range);

/// Differences of the running sums, range.second minus range.first: sum of squared grey levels, sum of grey levels,
/// number of samples. @returns -1.0 when a bin of the range does not exist
double spanSquareSum(const qvTiledProjectionOneResult& tile, const qvPair<long>& range);
double spanSum(const qvTiledProjectionOneResult& tile, const qvPair<long>& range);
double spanCount(const qvTiledProjectionOneResult& tile, const qvPair<long>& range);

/// Brings two bin indices into a profile of `size` bins: a start before it to its first bin, an end behind it to its
/// last, a range that lies outside as a whole to the nearest bin.
qvPair<long> clampBinRange(long first, long second, long size);

#endif
