#ifndef QVSTREET_BENCH_STRIP_IMAGES_H
#define QVSTREET_BENCH_STRIP_IMAGES_H

#include "qvstreet/platform/pel_buffer.h"

// Images of one street as the blank region search sees them: the street along the middle, four fifths of the image's
// height wide, with rows of test pads, dies above and below, cross streets, a little blur and noise. Rendered once a size
// and kept.

namespace qvbench {

/// The window that a street 100 pels wide and a least length of 64 pels give.
constexpr long kWindowWidth = 64;
constexpr long kWindowHeight = 75;

/// A strip of that size, in pels.
const qvPelBuffer_const<unsigned char>& stripImage(long width, long height);

}  // namespace qvbench

#endif
