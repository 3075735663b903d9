#ifndef QVSTREET_BENCH_PEERS_TASK_SETTINGS_H
#define QVSTREET_BENCH_PEERS_TASK_SETTINGS_H

#include <string>

// Sizes and angles that rows, own tasks and peers have in common.

namespace qvbench {

constexpr long kSides[] = {512, 1024, 2048, 4096};

/// Degrees. Up to `kGentleTilt` the time should hardly depend on the angle.
constexpr double kTilts[] = {0.0, 1.3, 2.5, 3.7, 7.0, 12.0, 20.0, 33.0, 44.0};
constexpr double kGentleTilt = 3.7;
constexpr long kTiltedSide = 1024;

inline std::string tiltName(double degrees) { return std::to_string(degrees).substr(0, degrees < 10.0 ? 3 : 4); }

struct StripSize {
    long width;
    long height;
};
constexpr StripSize kStripSizes[] = {{2048, 100}, {4096, 200}};

inline std::string stripName(const StripSize& size) {
    return std::to_string(size.width) + "x" + std::to_string(size.height);
}

/// The side of the square that is transformed.
constexpr long kTransformSide = 256;

/// The ring of the angular search: directions from -135 to 135 degrees, and the radii, in frequency bins, of a run with
/// the usual parameters.
constexpr short kPolarAngles = 540;
constexpr double kPolarStart = -135.0;
constexpr double kPolarEnd = 135.0;
constexpr long kPolarInner = 64;
constexpr long kPolarOuter = 95;

}  // namespace qvbench

#endif
