/// @file
/// The longest quiet rectangle of a regional deviation image.
#ifndef QVSTREET_BLANKREGION_COARSE_REGION_H
#define QVSTREET_BLANKREGION_COARSE_REGION_H

#include "qvstreet/platform/pel_buffer.h"

/// Grey level of the regional deviation image for a deviation of 1 grey level of the street's image.
constexpr long kDeviationScale = 10;

/// The level up to which a pel of the regional deviation image is quiet.
/// @param lowest  the lowest pel of that image
/// @returns 22 for a `lowest` up to 11, twice `lowest` up to 127, and twice `lowest` less 256 above that. Always even,
///          so at most 254.
unsigned char quietThreshold(unsigned char lowest);

/// Finds the longest quiet run of the middle row and grows it, row by row upwards and downwards at once, as long as its
/// ends lose little.
///
/// @param image         regional deviation image in which found regions are painted out with 255; its window counts,
///                      whatever its offset
/// @param threshold     a pel of the middle row up to this level is quiet
/// @param wantedHeight  height in rows that the rectangle has before it grows; raised by 1 where it would not lie evenly
///                      about the middle row, and cut to the image's height
/// @returns the rectangle, counted from the window's upper left pel; empty at (0, 0) if no pel of the middle row is
///          quiet
qvPelRect findCoarseRegion(const qvPelBuffer_const<unsigned char>& image, unsigned char threshold, long wantedHeight);

#endif
