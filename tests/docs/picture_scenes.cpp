// picture_scenes FOLDER   draws one wafer of each kind that docs/choosing.md tells of
//
// Small and with little noise, so that the pictures with results drawn in stay small files.
#include <cstdint>
#include <exception>
#include <iostream>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/make_samples/png_file.h"
#include "tests/support/make_samples/street_strip.h"
#include "tests/support/wafer_render.h"
#include "tests/support/wafer_scene.h"

namespace {

using qvtest::centredFamily;
using qvtest::Scene;

constexpr double kNoise = 0.5;

Scene plainScene(long width, long height, double dieGrey, std::uint64_t seed) {
    Scene scene;
    scene.width = width;
    scene.height = height;
    scene.dieGrey = dieGrey;
    scene.dieArtwork = qvtest::DieArtwork::circuit;
    scene.dieArtworkContrast = 1.1;
    scene.noiseSigma = kNoise;
    scene.seed = seed;
    return scene;
}

/// Dark streets, the upright ones 26 pels wide and the level ones 20: each shows two edges.
Scene broadScene() {
    Scene scene = plainScene(440, 400, 150.0, 5);
    scene.families[0] = centredFamily(1.6, 180.0, 2, 6.0, 20.0, 58.0);
    scene.families[1] = centredFamily(91.6, 200.0, 2, -12.0, 26.0, 58.0);
    scene.crossingGrey = 54.0;
    return scene;
}

/// Light lanes, 10 pels wide, between dark dies.
Scene lightScene() {
    Scene scene = plainScene(420, 400, 84.0, 6);
    scene.families[0] = centredFamily(-2.2, 128.0, 3, 9.0, 10.0, 196.0);
    scene.families[1] = centredFamily(87.8, 140.0, 3, 14.0, 10.0, 196.0);
    return scene;
}

/// Dark lines, 4 pels wide.
Scene thinScene() {
    Scene scene = plainScene(400, 400, 160.0, 7);
    scene.families[0] = centredFamily(3.0, 130.0, 3, -7.0, 4.0, 40.0);
    scene.families[1] = centredFamily(93.0, 120.0, 3, 11.0, 4.0, 40.0);
    return scene;
}

/// An oblong overview with many small dies; streets 9 pels wide.
Scene denseScene() {
    Scene scene = plainScene(540, 280, 150.0, 8);
    scene.dieArtworkContrast = 0.6;
    scene.families[0] = centredFamily(-1.2, 62.0, 5, 4.0, 9.0, 56.0);
    scene.families[1] = centredFamily(88.8, 76.0, 7, 7.0, 9.0, 56.0);
    return scene;
}

/// A stretch of the sample street with two of its blank regions.
qvtest::GreyImage stripScene() {
    constexpr long kFirst = 180;
    constexpr long kWidth = 920;
    const qvtest::GreyImage strip = qvtest::streetStrip();
    qvtest::GreyImage part;
    part.width = part.stride = kWidth;
    part.height = strip.height;
    for (long j = 0; j < strip.height; ++j)
        part.pels.insert(part.pels.end(), strip.row(j) + kFirst, strip.row(j) + kFirst + kWidth);
    return part;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "picture_scenes FOLDER\n";
        return 2;
    }
    try {
        const std::vector<std::pair<std::string, Scene>> scenes = {
            {"broad", broadScene()}, {"light", lightScene()}, {"thin", thinScene()}, {"dense", denseScene()}};
        for (const auto& [name, scene] : scenes)
            qvtest::writePng(std::string(argv[1]) + "/" + name + ".png", qvtest::renderScene(scene));
        qvtest::writePng(std::string(argv[1]) + "/strip.png", stripScene());
    } catch (const std::exception& error) {
        std::cerr << error.what() << "\n";
        return 1;
    }
    return 0;
}
