#include "bench/strip_images.h"

#include <map>
#include <utility>

#include "tests/support/wafer_render.h"

namespace qvbench {

namespace {

qvtest::GreyImage renderedStrip(long width, long height) {
    const double streetWidth = 0.8 * static_cast<double>(height);
    const double pitch = 0.23 * static_cast<double>(width);
    qvtest::Scene scene;
    scene.width = width;
    scene.height = height;
    scene.families[0] = qvtest::evenFamily(0.0, 0.0, 1.0, 1, streetWidth, 70.0);
    scene.families[1] = qvtest::centredFamily(90.0, pitch, 5, 0.1 * pitch, streetWidth, 70.0);
    scene.dieArtwork = qvtest::DieArtwork::circuit;
    scene.streetArtwork = qvtest::StreetArtwork::fewPads;
    scene.noiseSigma = 2.0;
    return qvtest::renderScene(scene);
}

}  // namespace

const qvPelBuffer_const<unsigned char>& stripImage(long width, long height) {
    struct Kept {
        qvtest::GreyImage pels;
        qvPelBuffer_const<unsigned char> view;
    };
    static std::map<std::pair<long, long>, Kept> images;
    Kept& kept = images[{width, height}];
    if (!kept.view.isBound()) {
        kept.pels = renderedStrip(width, height);
        kept.view = qvPelBuffer_const<unsigned char>(kept.pels.pels.data(), width, height, kept.pels.stride);
    }
    return kept.view;
}

}  // namespace qvbench
