/// @file
/// Moves the two ends of a blank region onto edges of the image.
#ifndef QVSTREET_BLANKREGION_REGION_ENDS_H
#define QVSTREET_BLANKREGION_REGION_ENDS_H

#include <cstdint>

#include "qvstreet/platform/pel_buffer.h"

class qvDiagObject;

/// Looks for edges along a street with a caliper and moves the ends of a region to the strongest two of them, where
/// these are a fall at the left and a rise at the right. Without a suitable edge the right end stays and the left end
/// moves in by one pel.
///
/// @param foreground        for every pel its distance from the grey level around it, the street along the rows; masked
///                          pels are 255. Without a client transform; its offset plays no part
/// @param region            counted from the window's upper left pel; replaced. Top and height stay; the width may come
///                          out 0 or negative
/// @param diagObject        handed on to the caliper; may be null
/// @param caliperDiagFlags  likewise
/// @throws qvPel::BadSize where the length that the caliper looks at, narrowed to 16 bits, is 0 or negative (32768 to
///         65536 pels)
void refineRegionEnds(const qvPelBuffer_const<unsigned char>& foreground, qvPelRect& region, qvDiagObject* diagObject,
                      std::uint32_t caliperDiagFlags);

#endif
