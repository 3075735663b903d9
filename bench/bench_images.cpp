#include "bench/bench_images.h"

#include <functional>
#include <map>
#include <string>

#include "tests/support/wafer_render.h"

namespace qvbench {

namespace {

constexpr int kStreets = 3;
constexpr double kDenseWidth = 34.0;

double streetWidth(long side) { return 0.02 * static_cast<double>(side); }

}  // namespace

qvtest::Scene usualScene(long side, double tiltDegrees) {
    const double pitch = 0.29 * static_cast<double>(side);
    qvtest::Scene scene;
    scene.width = side;
    scene.height = side;
    scene.families[0] = qvtest::centredFamily(tiltDegrees, pitch, kStreets, 0.01 * pitch, streetWidth(side), 60.0);
    scene.families[1] =
        qvtest::centredFamily(90.0 + tiltDegrees, pitch, kStreets, 0.02 * pitch, streetWidth(side), 60.0);
    scene.noiseSigma = 3.0;
    return scene;
}

qvtest::Scene denseScene() {
    qvtest::Scene scene = usualScene(kDenseSide, kUsualTilt);
    scene.families[0] = qvtest::centredFamily(kUsualTilt, 151.0, 13, 0.0, kDenseWidth, 60.0);
    scene.families[1] = qvtest::centredFamily(90.0 + kUsualTilt, 128.0, 17, 0.0, kDenseWidth, 60.0);
    return scene;
}

namespace {

qvtest::Scene noisyScene(long side) {
    qvtest::Scene scene = usualScene(side, kUsualTilt);
    scene.dieArtwork = qvtest::DieArtwork::circuit;
    scene.noiseSigma = 25.0;
    return scene;
}

qvStreetFinderParams paramsFor(double width, qvStreetFinderDefs::waferType mode, long maxResults) {
    const qvPair<double> range(0.5 * width, 1.5 * width);
    return qvStreetFinderParams(qvPair<double>(width, width), range, range, mode, 5.0, qvStreetFinderDefs::eAnyPolarity,
                                maxResults);
}

const qvPelBuffer_const<unsigned char>& kept(const std::string& name, const std::function<qvtest::Scene()>& scene) {
    struct Kept {
        qvtest::GreyImage pels;
        qvPelBuffer_const<unsigned char> view;
    };
    static std::map<std::string, Kept> images;
    Kept& image = images[name];
    if (!image.view.isBound()) {
        image.pels = qvtest::renderScene(scene());
        image.view = qvPelBuffer_const<unsigned char>(image.pels.pels.data(), image.pels.width, image.pels.height,
                                                      image.pels.stride);
    }
    return image.view;
}

}  // namespace

const qvPelBuffer_const<unsigned char>& waferImage(long side, double tiltDegrees) {
    return kept("usual " + std::to_string(side) + " " + std::to_string(tiltDegrees),
                [=] { return usualScene(side, tiltDegrees); });
}

const qvPelBuffer_const<unsigned char>& noisyImage(long side) {
    return kept("noisy " + std::to_string(side), [=] { return noisyScene(side); });
}

const qvPelBuffer_const<unsigned char>& denseImage() { return kept("dense", denseScene); }

qvStreetFinderParams waferParams(long side, qvStreetFinderDefs::waferType mode) {
    return paramsFor(streetWidth(side), mode, 13);
}

qvStreetFinderParams denseParams(qvStreetFinderDefs::waferType mode) { return paramsFor(kDenseWidth, mode, 300); }

}  // namespace qvbench
