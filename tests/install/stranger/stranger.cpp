// A host that knows nothing of this repository but its public headers: draws a wafer, finds its streets, and says on
// standard error what is not as drawn.
#include "qvstreet/qvstreet.h"

#include <cmath>
#include <cstdio>
#include <vector>

namespace {

constexpr long kWidth = 600;
constexpr long kHeight = 440;
constexpr double kStreetWidth = 20.0;
// Centres of the dark streets: upright ones in x, level ones in y.
constexpr double kUpright[] = {160.0, 400.0};
constexpr double kLevel[] = {120.0, 310.0};

bool inStreet(double position, const double (&centres)[2]) {
    return std::fabs(position - centres[0]) < kStreetWidth / 2 || std::fabs(position - centres[1]) < kStreetWidth / 2;
}

/// Rows of 640 bytes, bottom row first, as some cameras deliver them.
struct Picture {
    long rowUpdate = -640;
    std::vector<unsigned char> bytes{std::vector<unsigned char>(640 * kHeight, 170)};
    unsigned char* top() { return bytes.data() + 640 * (kHeight - 1); }
};

Picture draw() {
    Picture picture;
    for (long y = 0; y < kHeight; ++y) {
        for (long x = 0; x < kWidth; ++x) {
            const bool dark =
                inStreet(static_cast<double>(x) + 0.5, kUpright) || inStreet(static_cast<double>(y) + 0.5, kLevel);
            picture.top()[y * picture.rowUpdate + x] = dark ? 60 : 170;
        }
    }
    return picture;
}

bool near(double a, double b) { return std::fabs(a - b) < 1.5; }

/// The same crossings once more, now to a small part of a pel.
int wrongMeasurements(const qvPelBuffer_const<unsigned char>& image,
                      const std::vector<qvStreetFinderStreetCrossResult>& crossings,
                      const qvStreetFinderParams& params) {
    std::vector<qvStreetMeasurement> measured;
    qfStreetMeasureCrosses(image, crossings, qvStreetMeasureParams(params), measured);
    int wrong = measured.size() == crossings.size() ? 0 : 1;
    for (const qvStreetMeasurement& one : measured) {
        const double x = one.crossing().x() < 280.0 ? kUpright[0] : kUpright[1];
        const double y = one.crossing().y() < 215.0 ? kLevel[0] : kLevel[1];
        // Also true for what was not measured, which is NaN.
        if (!(std::hypot(one.crossing().x() - x, one.crossing().y() - y) < 0.1) ||
            !(std::fabs(one.horizontalWidth() - kStreetWidth) < 0.1)) {
            std::fprintf(stderr, "stranger: the crossing at (%g, %g) was measured at (%g, %g), width %g: %ls\n", x, y,
                         one.crossing().x(), one.crossing().y(), one.horizontalWidth(),
                         qfStreetMeasureReasonText(one.reason()).c_str());
            ++wrong;
        }
    }
    return wrong;
}

}  // namespace

int main() {
    Picture picture = draw();
    qvStreetFinderParams params;
    params.nominalStreetWidth({kStreetWidth, kStreetWidth}, {15.0, 25.0}, {15.0, 25.0});
    params.runMode(qvStreetFinderDefs::eCoarseRidgeWafer);
    params.streetPolarity(qvStreetFinderDefs::eDarkOnLight);
    params.maxResults(50);

    qvStreetFinder finder(params);
    const qvPelBuffer_const<unsigned char> image(picture.top(), kWidth, kHeight, picture.rowUpdate);
    finder.setImage(image);
    std::vector<qvStreetFinderStreetCrossResult> crossings;
    finder.find(crossings);

    int wrong = 0;
    if (crossings.size() != 4) {
        std::fprintf(stderr, "stranger: %zu crossings were found, 4 are drawn\n", crossings.size());
        ++wrong;
    }
    for (const double x : kUpright) {
        for (const double y : kLevel) {
            int count = 0;
            for (const auto& found : crossings) count += near(found.crossing().x(), x) && near(found.crossing().y(), y);
            if (count != 1) {
                std::fprintf(stderr, "stranger: the crossing at (%g, %g) was found %d times, not once\n", x, y, count);
                ++wrong;
            }
        }
    }
    wrong += wrongMeasurements(image, crossings, params);
    std::printf("%zu crossings\n", crossings.size());
    return wrong == 0 ? 0 : 1;
}
