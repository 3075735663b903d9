#include "bench/bench_images.h"

#include <map>

#include "tests/support/wafer_render.h"

namespace qvbench {

namespace {

constexpr double kTiltDegrees = 1.3;
constexpr int kStreets = 3;

double streetWidth(long side) { return 0.02 * static_cast<double>(side); }

qvtest::GreyImage renderedWafer(long side) {
    const double pitch = 0.29 * static_cast<double>(side);
    qvtest::Scene scene;
    scene.width = side;
    scene.height = side;
    scene.families[0] = qvtest::centredFamily(kTiltDegrees, pitch, kStreets, 0.01 * pitch, streetWidth(side), 60.0);
    scene.families[1] =
        qvtest::centredFamily(90.0 + kTiltDegrees, pitch, kStreets, 0.02 * pitch, streetWidth(side), 60.0);
    scene.noiseSigma = 3.0;
    return qvtest::renderScene(scene);
}

}  // namespace

const qvPelBuffer_const<unsigned char>& waferImage(long side) {
    struct Kept {
        qvtest::GreyImage pels;
        qvPelBuffer_const<unsigned char> view;
    };
    static std::map<long, Kept> images;
    Kept& kept = images[side];
    if (!kept.view.isBound()) {
        kept.pels = renderedWafer(side);
        kept.view = qvPelBuffer_const<unsigned char>(kept.pels.pels.data(), side, side, kept.pels.stride);
    }
    return kept.view;
}

qvStreetFinderParams waferParams(long side, qvStreetFinderDefs::waferType mode) {
    const double width = streetWidth(side);
    const qvPair<double> range(0.5 * width, 1.5 * width);
    return qvStreetFinderParams(qvPair<double>(width, width), range, range, mode, 5.0, qvStreetFinderDefs::eAnyPolarity,
                                13);
}

}  // namespace qvbench
