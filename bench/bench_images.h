#ifndef QVSTREET_BENCH_BENCH_IMAGES_H
#define QVSTREET_BENCH_BENCH_IMAGES_H

#include <cstddef>

#include "qvstreet/platform/pel_buffer.h"
#include "qvstreet/streetfinder/street_finder_params.h"
#include "tests/support/wafer_scene.h"

// The images that are timed, square ones. Each is rendered once and kept.

namespace qvbench {

/// By how much the streets of the usual image lean, in degrees.
constexpr double kUsualTilt = 1.3;

/// Crossings in the usual and in the noisy image.
constexpr std::size_t kUsualCrossings = 9;

/// The side of the dense image, and the crossings that coarse and edge mode find there; the outermost streets leave the
/// image half-way and show no pair of edges.
constexpr long kDenseSide = 2048;
constexpr std::size_t kDenseCrossings = 221;
constexpr std::size_t kDenseEdgeCrossings = 195;

/// The usual wafer of `side` pels: dark streets of 2 % of the side, three a direction, a little blur and noise.
/// @param tiltDegrees  -45 to 45, by how much all streets lean
qvtest::Scene usualScene(long side, double tiltDegrees = kUsualTilt);
const qvPelBuffer_const<unsigned char>& waferImage(long side, double tiltDegrees = kUsualTilt);

/// The same streets between dies full of circuits, in noise of 25 grey levels.
const qvPelBuffer_const<unsigned char>& noisyImage(long side);

/// Small dies: streets 34 pels wide, 13 of them 151 pels apart downwards and 17 of them 128 pels apart across.
qvtest::Scene denseScene();
const qvPelBuffer_const<unsigned char>& denseImage();

/// What a user would ask for on the usual and on the noisy image, and on the dense one.
qvStreetFinderParams waferParams(long side, qvStreetFinderDefs::waferType mode);
qvStreetFinderParams denseParams(qvStreetFinderDefs::waferType mode);

}  // namespace qvbench

#endif
