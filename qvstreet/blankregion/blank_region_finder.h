/// @file
/// The blank region finder: the longest stretches without structure in the image of one street.
///
/// The street runs along the middle of the image. Up to `numResults` rectangles come back, best score first, each at
/// least `minLengthPels` long, in pels of the caller's image, offset included; the client transform plays no part. A run
/// keeps nothing: runs in several threads do not disturb each other.
///
/// A region counts where the grey levels in a window of `minLengthPels` by three quarters of `streetWidthPels` vary
/// little. Its score is its blankness (1 for a deviation of up to 2 grey levels, 0 from 6 on), times 1 less 0.9 of the
/// least area per its own, times the weight of its mean grey level.
#ifndef QVSTREET_BLANKREGION_BLANK_REGION_FINDER_H
#define QVSTREET_BLANKREGION_BLANK_REGION_FINDER_H

#include <cstdint>

#include "qvstreet/blankregion/blank_region_params.h"
#include "qvstreet/blankregion/blank_region_results.h"
#include "qvstreet/platform/export.h"
#include "qvstreet/platform/pel_buffer.h"

class qvDiagObject;

/// Finds blank regions where the mask allows them.
/// @param image       8-bit image of one street along its middle
/// @param mask        same window as `image`; 255 where a region may lie, 0 where none may. For a street along the
///                    columns the mask's row i belongs to the image's column i, so image and mask must then be square
/// @param params      the street, and how many regions are wanted
/// @param resultSet   receives the answer; keeps its former content if the run throws. Empty if nothing was found
/// @param diagObject  receives records of the stages; may be null. A run that throws leaves those it had come to. The
///                    answer is the same with and without; its time includes the recording
/// @param diagFlags   which stages are recorded: any of `qvDiagDefs::What` together
/// @throws qvStreetBlankRegionFinderDefs::BadParams for windows that differ ("Mask dimensions must match image
///         dimensions"), which is tested before all else, and for a mask pel other than 0 and 255 ("Mask must only
///         contain 0 and 255"); qvPel::UnboundWindow; qvPel::BadSize for a window of analysis larger than the image, and
///         for a blank stretch of 32768 to 65536 pels, margins included, the ends of which no caliper can sample;
///         qvPel::SizeMismatch for a street along the columns with a mask that is not square
QV_EXPORT void qfStreetBlankRegionFinderRun(const qvPelBuffer_const<unsigned char>& image,
                                            const qvPelBuffer_const<unsigned char>& mask,
                                            const qvStreetBlankRegionFinderParams& params,
                                            qvStreetBlankRegionFinderResultSet& resultSet, qvDiagObject* diagObject,
                                            std::uint32_t diagFlags);

/// Finds blank regions anywhere in the image; otherwise as above.
QV_EXPORT void qfStreetBlankRegionFinderRun(const qvPelBuffer_const<unsigned char>& image,
                                            const qvStreetBlankRegionFinderParams& params,
                                            qvStreetBlankRegionFinderResultSet& resultSet, qvDiagObject* diagObject,
                                            std::uint32_t diagFlags);

#endif
