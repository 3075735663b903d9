#ifndef QVSTREET_TESTS_SUPPORT_STRIP_SCENE_H
#define QVSTREET_TESTS_SUPPORT_STRIP_SCENE_H

#include <cstdint>
#include <string>
#include <vector>

#include "qvstreet/platform/pel_buffer.h"

// Images of one street with known blank stretches, the same on every machine.
//
//     across      ,,,,,,,,,,,,,,,,,,,,,,,,,,,,,,,,,,,   die (only with `dies`)
//       |         -----------------------------------
//       |         ####            ##            #####   street: blank stretches between structure
//       v         ####            ##            #####
//                 -----------------------------------
//                 ,,,,,,,,,,,,,,,,,,,,,,,,,,,,,,,,,,,   die
//                 ----> along
//
// Without dies the structure takes the whole height. A vertical street is the same picture transposed.

namespace qvtest {

/// What fills the street between its blank stretches.
enum class StripStructure {
    bars,     ///< 3 pels wide, across the street, in tones that do not repeat at once
    checker,  ///< squares of 4 pels
    pads      ///< boxes of 5 by 4 pels in random tones
};

/// Columns [begin, end) along the street that hold nothing but noise.
struct BlankStretch {
    long begin;
    long end;
    int grey;
};

struct StripScene {
    std::string name;
    long length = 400;
    long across = 40;
    bool vertical = false;
    /// What the finder is told.
    long streetWidth = 24;
    long minLength = 40;
    StripStructure structure = StripStructure::bars;
    /// Grey levels by which structure differs from 128, at least.
    int contrast = 40;
    /// Whether the rows outside the street's width show dies all along.
    bool dies = false;
    /// Sigma of the noise, in grey levels.
    double noise = 0.0;
    std::uint64_t seed = 1;
    std::vector<BlankStretch> blanks;
};

/// The picture, with offset (0, 0). Blank stretches of a scene with noise stay away from 0 and 255 by themselves or are
/// clipped there.
qvPelBuffer<unsigned char> renderStrip(const StripScene& scene);

/// A mask of the scene's picture: 0 in the columns [begin, end) along the street, 255 elsewhere; for a vertical street
/// as the finder takes it, with columns for the picture's rows, which needs a square picture.
qvPelBuffer<unsigned char> renderStripMask(const StripScene& scene, long begin, long end);

/// A found region along the street.
struct AlongStreet {
    long begin;
    long end;
};
AlongStreet alongStreet(const StripScene& scene, const qvPelRect& rect);

/// Common length over joint length, 0 to 1.
double overlapAlong(const AlongStreet& a, const AlongStreet& b);

/// At least 40 scenes: every structure with every noise of 0 to 6, both directions, with and without dies, uniform ones.
std::vector<StripScene> stripScenes();

}  // namespace qvtest

#endif
