#include "tests/support/make_samples/sample_scenes.h"

namespace qvtest {

namespace {

/// Broad dark streets with two clear edges between finished dies.
Sample edgeSample() {
    Sample sample;
    sample.name = "wafer_edge";
    sample.about = "Dark streets, 28 pels wide, each with two clear edges; bond pads, circuits and test structures";
    sample.options = "--mode edge --width 28 --range-x 20,36 --range-y 20,36 --sharpness 4";
    Scene& scene = sample.scene;
    scene.width = 1024;
    scene.height = 1024;
    scene.families[0] = centredFamily(1.3, 336.0, 3, 22.4, 28.0, 62.0);
    scene.families[1] = centredFamily(91.3, 388.0, 3, -41.7, 28.0, 62.0);
    scene.crossingGrey = 60.0;
    scene.dieGrey = 144.0;
    scene.dieArtwork = DieArtwork::circuit;
    scene.dieArtworkContrast = 1.5;
    scene.streetArtwork = StreetArtwork::manyPads;
    scene.streetArtworkContrast = 0.8;
    scene.blurSigma = 0.9;
    scene.noiseSigma = 2.0;
    scene.seed = 11;
    scene.gradientX = 0.05;
    scene.gradientY = -0.03;
    scene.vignette = 0.04;
    return sample;
}

/// Narrow light lanes, each about as wide as its one line.
Sample ridgeSample() {
    Sample sample;
    sample.name = "wafer_ridge";
    sample.about = "Light lanes, 14 pels wide, between dark dies; turned by -2.4 degrees";
    sample.options = "--mode ridge --width 14 --range-x 7,21 --range-y 7,21 --sharpness 4";
    Scene& scene = sample.scene;
    scene.width = 1024;
    scene.height = 1024;
    scene.families[0] = centredFamily(-2.4, 262.0, 4, 13.3, 14.0, 204.0);
    scene.families[1] = centredFamily(87.6, 304.0, 3, 35.8, 14.0, 204.0);
    scene.dieGrey = 90.0;
    scene.dieArtwork = DieArtwork::circuit;
    scene.dieArtworkContrast = 1.1;
    scene.streetArtwork = StreetArtwork::manyPads;
    scene.streetArtworkContrast = 0.5;
    scene.blurSigma = 0.8;
    scene.noiseSigma = 2.2;
    scene.seed = 23;
    scene.gradientX = -0.06;
    scene.gradientY = 0.04;
    scene.vignette = 0.05;
    return sample;
}

/// An oblong overview with small dies.
Sample coarseSample() {
    Sample sample;
    sample.name = "wafer_coarse";
    sample.about = "Dark streets, 20 pels wide, in an oblong picture; turned by 3.1 degrees and out of square by 0.6";
    sample.options = "--mode coarse --width 20 --range-x 10,30 --range-y 10,30";
    Scene& scene = sample.scene;
    scene.width = 1280;
    scene.height = 960;
    scene.families[0] = centredFamily(3.1, 250.0, 4, -8.6, 20.0, 48.0);
    scene.families[1] = centredFamily(93.7, 292.0, 4, 17.9, 20.0, 48.0);
    scene.dieGrey = 148.0;
    scene.dieArtwork = DieArtwork::circuit;
    scene.dieArtworkContrast = 1.4;
    scene.streetArtwork = StreetArtwork::manyPads;
    scene.streetArtworkContrast = 0.5;
    scene.blurSigma = 0.8;
    scene.noiseSigma = 2.0;
    scene.seed = 37;
    scene.gradientX = 0.04;
    scene.gradientY = 0.05;
    scene.vignette = 0.05;
    return sample;
}

}  // namespace

std::vector<Sample> sampleScenes() { return {edgeSample(), ridgeSample(), coarseSample()}; }

}  // namespace qvtest
