#ifndef QVSTREET_BENCH_BENCH_IMAGES_H
#define QVSTREET_BENCH_BENCH_IMAGES_H

#include "qvstreet/platform/pel_buffer.h"
#include "qvstreet/streetfinder/street_finder_params.h"

// The images that are timed: dark streets of 2 % of the side, three a direction, tilted by 1.3 degrees, a little blur and
// noise. Rendered once a side and kept.

namespace qvbench {

/// A square image of `side` pels.
const qvPelBuffer_const<unsigned char>& waferImage(long side);

/// What a user would ask for on that image.
qvStreetFinderParams waferParams(long side, qvStreetFinderDefs::waferType mode);

}  // namespace qvbench

#endif
