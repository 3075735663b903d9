// How far the wafer is turned, and which crossings to believe: crossings measured on the whole image and tested against
// the die pitch, and theta from the angles of their streets.
//
//     theta_host [IMAGE.pgm WIDTH dark|light PITCH_X PITCH_Y]      lengths in pels

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "qvstreet/qvstreet.h"
#include "sample_wafer.h"

namespace {

constexpr double kDegreesPerRadian = 180.0 / 3.14159265358979323846;
/// How far a crossing may lie from its place on the grid, pels.
constexpr double kGridTolerance = 3.0;

/// What is known of the wafer, lengths in client units.
struct Wafer {
    double streetWidth;
    qvStreetFinderDefs::streetPolarity polarity;
    double pitchX;  ///< from upright street to upright street
    double pitchY;  ///< from level street to level street
};

struct Theta {
    double radians = 0.0;
    /// Standard deviation.
    double deviation = 0.0;
    /// The crossings on the grid.
    std::vector<qvStreetMeasurement> used;
};

/// What the finder finds, measured on the whole image.
std::vector<qvStreetMeasurement> findCrossings(const Frame& frame, const Wafer& wafer) {
    qvStreetFinderParams params;
    const double w = wafer.streetWidth;
    params.nominalStreetWidth({w, w}, {0.5 * w, 1.5 * w}, {0.5 * w, 1.5 * w});
    params.runMode(qvStreetFinderDefs::eCoarseRidgeWafer);
    params.streetPolarity(wafer.polarity);
    params.maxResults(200);
    const qvPelBuffer_const<unsigned char> image(frame.pels.data(), frame.width, frame.height, frame.width);
    qvStreetFinder finder(params);
    finder.setImage(image);
    std::vector<qvStreetFinderStreetCrossResult> crossings;
    finder.find(crossings);
    std::vector<qvStreetMeasurement> measured;
    qfStreetMeasureCrosses(image, crossings, qvStreetMeasureParams(params), measured);
    return measured;
}

/// The same street in [-90, 90) degrees: a line has no direction of its own.
double foldedRadians(const qvRadian& angle) { return std::remainder(angle.toDouble(), 180.0 / kDegreesPerRadian); }

/// From pels to the stage, in micrometres: 5 a pel; the stage stands at (12000, 3500). Not the image's client transform,
/// because the finder works best in units of about a pel.
qvXform<2> stageFromImage() { return qvXform<2>(qvMatrix<2>(5.0, 0.0, 0.0, 5.0), qvVector<2>(12000.0, 3500.0)); }

/// Those that lie whole pitches from `anchor`, on axes turned as its level street is.
std::vector<qvStreetMeasurement> onGrid(const std::vector<qvStreetMeasurement>& measured,
                                        const qvStreetMeasurement& anchor, const Wafer& wafer) {
    const double theta = foldedRadians(anchor.horizontalAngle());
    std::vector<qvStreetMeasurement> fitting;
    for (const qvStreetMeasurement& m : measured) {
        const qvVector<2> d = m.crossing() - anchor.crossing();
        const double along = d.x() * std::cos(theta) + d.y() * std::sin(theta);
        const double across = d.y() * std::cos(theta) - d.x() * std::sin(theta);
        // False for what was not measured, which is NaN.
        if (std::hypot(std::remainder(along, wafer.pitchX), std::remainder(across, wafer.pitchY)) <= kGridTolerance)
            fitting.push_back(m);
    }
    return fitting;
}

/// From the grid that most crossings agree on.
Theta measureTheta(const std::vector<qvStreetMeasurement>& measured, const Wafer& wafer) {
    Theta theta;
    for (const qvStreetMeasurement& anchor : measured) {
        std::vector<qvStreetMeasurement> fitting = onGrid(measured, anchor, wafer);
        if (fitting.size() > theta.used.size()) theta.used = std::move(fitting);
    }
    if (theta.used.size() < 2) throw std::runtime_error("no two crossings on the grid of the dies");
    // Parallel streets have told each other their direction already: the surest of them says it for all.
    const auto surest = std::min_element(theta.used.begin(), theta.used.end(), [](const auto& a, const auto& b) {
        return a.horizontalAngleDeviation().toDouble() < b.horizontalAngleDeviation().toDouble();
    });
    theta.radians = foldedRadians(surest->horizontalAngle());
    theta.deviation = surest->horizontalAngleDeviation().toDouble();
    return theta;
}

/// The sample wafer, turned by atan(1/64) = 0.8952 degrees, with a groove 20 pels wide that missed its street.
Frame drawWaferWithGroove() {
    Frame frame = drawWafer(1000, 1000, 0);
    for (long y = 0; y < frame.height; ++y)
        for (long x = 0; x < frame.width; ++x)
            if (std::labs(64 * (x - 577) + y) <= 640) frame.pels[static_cast<std::size_t>(y * frame.width + x)] = 80;
    return frame;
}

void run(const Frame& frame, const Wafer& wafer) {
    const std::vector<qvStreetMeasurement> measured = findCrossings(frame, wafer);
    const Theta theta = measureTheta(measured, wafer);
    std::printf("%d crossings, %d of them on the grid of the dies\n", static_cast<int>(measured.size()),
                static_cast<int>(theta.used.size()));
    std::printf("theta %.4f degrees, standard deviation %.4f\n", theta.radians * kDegreesPerRadian,
                theta.deviation * kDegreesPerRadian);

    const qvVector<2> onStage = stageFromImage().mapPoint(theta.used.front().crossing());
    std::printf("the best one of them on the stage %.2f %.2f um\n", onStage.x(), onStage.y());
}

}  // namespace

int main(int argc, char** argv) {
    try {
        if (argc == 1) {
            run(drawWaferWithGroove(), {20.0, qvStreetFinderDefs::eDarkOnLight, 200.0, 150.0});
        } else if (argc == 6) {
            const bool light = std::string(argv[3]) == "light";
            run(readPgm(argv[1]), {std::strtod(argv[2], nullptr),
                                   light ? qvStreetFinderDefs::eLightOnDark : qvStreetFinderDefs::eDarkOnLight,
                                   std::strtod(argv[4], nullptr), std::strtod(argv[5], nullptr)});
        } else {
            std::fprintf(stderr, "theta_host [IMAGE.pgm WIDTH dark|light PITCH_X PITCH_Y]\n");
            return 2;
        }
    } catch (const std::exception& error) {
        std::fprintf(stderr, "theta_host: %s\n", error.what());
        return 1;
    }
    return 0;
}
