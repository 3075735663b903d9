#ifndef QVSTREET_TESTS_SUPPORT_WAFER_ARTWORK_H
#define QVSTREET_TESTS_SUPPORT_WAFER_ARTWORK_H

#include <vector>

#include "tests/support/wafer_scene.h"

namespace qvtest {

/// A surface of one grey level, bounded in the lattice frame: the box [s0, s1] by [t0, t1], or the disc inscribed in
/// it.
struct Patch {
    double s0 = 0.0;
    double s1 = 0.0;
    double t0 = 0.0;
    double t1 = 0.0;
    double grey = 0.0;
    bool round = false;
};

/// The interval of s or t between two neighbouring streets, or between the outermost street and the image's side.
struct Gap {
    double low = 0.0;
    double high = 0.0;
};

/// The gaps of one direction (0: in t, 1: in s), covering the whole image; one gap where there is no street.
std::vector<Gap> gapsOf(const Scene& scene, int direction);

/// What lies on the dies, in painting order. Dies of equal size carry equal artwork, and nothing comes so near to a
/// street that its edge would be changed.
std::vector<Patch> dieArtwork(const Scene& scene);

/// What stands in the streets, to be painted after them, likewise clear of the edges.
std::vector<Patch> streetArtwork(const Scene& scene);

}  // namespace qvtest

#endif
