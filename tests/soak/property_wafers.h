/// @file
/// Wafers whose crossings are known, for the properties that hold but for sampling and rounding.
#ifndef QVSTREET_TESTS_SOAK_PROPERTY_WAFERS_H
#define QVSTREET_TESTS_SOAK_PROPERTY_WAFERS_H

#include <algorithm>

#include "qvstreet/streetfinder/street_finder.h"
#include "tests/support/noise_image.h"
#include "tests/support/wafer_render.h"

namespace qvtest {

/// A wafer in an identity frame, with the parameters of somebody who knows it.
struct Wafer {
    Scene scene;
    SceneTruth truth;
    qvPelBuffer<unsigned char> image;
    double widthX = 0.0;
    double widthY = 0.0;
    qvStreetFinderDefs::waferType mode = qvStreetFinderDefs::eEdgePairWafer;
    qvStreetFinderDefs::streetPolarity polarity = qvStreetFinderDefs::eAnyPolarity;

    /// Widths change places where the image was turned.
    qvStreetFinderParams params(bool turned = false) const {
        const double x = turned ? widthY : widthX;
        const double y = turned ? widthX : widthY;
        return qvStreetFinderParams(qvPair<double>(x, y), qvPair<double>(0.5 * x, 1.5 * x),
                                    qvPair<double>(0.5 * y, 1.5 * y), mode, 3.0, polarity, 200);
    }
};

inline qvPelBuffer<unsigned char> bufferOf(const GreyImage& grey) {
    qvPelBuffer<unsigned char> image(grey.width, grey.height);
    for (long y = 0; y < grey.height; ++y) std::copy_n(grey.row(y), grey.width, image.pointToRow(y));
    return image;
}

/// All modes. Square with the right polarity, oblong with any, for a polarity loses streets of an oblong image.
inline Wafer drawWafer(Noise& noise, long number) {
    Wafer wafer;
    wafer.mode = static_cast<qvStreetFinderDefs::waferType>(number % 3);
    const bool square = number % 2 == 0;
    const bool light = noise.whole(0, 1) == 1;
    Scene& scene = wafer.scene;
    scene.width = noise.whole(150, 280);
    scene.height = square ? scene.width : noise.whole(150, 280);
    if (square) wafer.polarity = light ? qvStreetFinderDefs::eLightOnDark : qvStreetFinderDefs::eDarkOnLight;
    const double tilt = noise.real(-2.5, 2.5);
    wafer.widthX = noise.real(12.0, 20.0);
    wafer.widthY = noise.real(12.0, 20.0);
    const double streetGrey = light ? noise.real(88.0, 115.0) : noise.real(20.0, 45.0);
    scene.dieGrey = light ? noise.real(25.0, 50.0) : noise.real(75.0, 110.0);
    scene.families[0] =
        centredFamily(tilt, noise.real(65.0, 110.0), 7, noise.real(-30.0, 30.0), wafer.widthY, streetGrey);
    scene.families[1] =
        centredFamily(90.0 + tilt, noise.real(65.0, 110.0), 7, noise.real(-30.0, 30.0), wafer.widthX, streetGrey);
    scene.noiseSigma = noise.real(0.0, 3.0);
    scene.blurSigma = noise.real(0.5, 1.2);
    scene.seed = noise.bits();
    wafer.truth = truthOf(scene);
    wafer.image = bufferOf(renderScene(scene));
    return wafer;
}

}  // namespace qvtest

#endif
