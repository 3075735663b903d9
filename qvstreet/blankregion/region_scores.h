/// @file
/// How blank a region of a street is, and what it is worth.
#ifndef QVSTREET_BLANKREGION_REGION_SCORES_H
#define QVSTREET_BLANKREGION_REGION_SCORES_H

#include "qvstreet/blankregion/blank_region_params.h"
#include "qvstreet/platform/pel_buffer.h"

/// How free of structure a rectangle is, from the deviation of its grey levels.
/// @param image      the street along the rows
/// @param rect       inside the window, counted from its upper left pel
/// @param rowWeight  weight of the deviation along the street, at most 1; the deviation across gets the rest
/// @returns 1 up to a deviation of 2 grey levels, 0 from 6 on and for a deviation that is no number, linear between
double computeBlanknessScore(const qvPelBuffer_const<unsigned char>& image, const qvPelRect& rect, double rowWeight);

/// Weighs a blankness by the size of the region and by its mean grey level.
/// @param blankness  0 to 1
/// @param rect       counted from the window's upper left pel, in the orientation of `image`
/// @param image      the caller's image
/// @returns blankness * (1 - 0.9 * least area / area) * weight of the rounded mean grey level, negative for a region
///          of less than nine tenths of the least area, which is shortest length times street width; for a region
///          without area the blankness itself
double computeRegionScore(double blankness, const qvPelRect& rect, const qvPelBuffer_const<unsigned char>& image,
                          const qvStreetBlankRegionFinderParams& params);

#endif
