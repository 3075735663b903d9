// How far the wafer is turned, and which crossings to believe: theta from lines through crossings that lie far apart,
// the crossings tested against the die pitch.
//
//     theta_host [IMAGE.pgm WIDTH dark|light PITCH_X PITCH_Y]      lengths in pels

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <map>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "qvstreet/qvstreet.h"
#include "sample_wafer.h"

namespace {

constexpr double kDegreesPerRadian = 180.0 / 3.14159265358979323846;
/// What a result's angle may be off, radians: a third of a degree.
constexpr double kRoughTolerance = 0.006;
/// How far a crossing may lie from its place on the grid, pels.
constexpr double kGridTolerance = 3.0;

/// What is known of the wafer, lengths in client units.
struct Wafer {
    double streetWidth;
    qvStreetFinderDefs::streetPolarity polarity;
    double pitchX;  ///< from upright street to upright street
    double pitchY;  ///< from level street to level street
};

/// A crossing that stands on the grid, in the column and row so many streets from the anchor.
struct GridCrossing {
    long column;
    long row;
    qvVector<2> position;
};

struct Theta {
    double radians = 0.0;
    std::vector<GridCrossing> used;
};

std::vector<qvStreetFinderStreetCrossResult> findCrossings(const Frame& frame, const Wafer& wafer) {
    qvStreetFinderParams params;
    const double w = wafer.streetWidth;
    params.nominalStreetWidth({w, w}, {0.5 * w, 1.5 * w}, {0.5 * w, 1.5 * w});
    params.runMode(qvStreetFinderDefs::eRidgeWafer);
    params.streetPolarity(wafer.polarity);
    params.maxResults(200);
    qvStreetFinder finder(params);
    finder.setImage(qvPelBuffer_const<unsigned char>(frame.pels.data(), frame.width, frame.height, frame.width));
    std::vector<qvStreetFinderStreetCrossResult> crossings;
    finder.find(crossings);
    return crossings;
}

/// The same street in [-90, 90) degrees: a line has no direction of its own.
double foldedRadians(const qvRadian& angle) { return std::remainder(angle.toDouble(), 180.0 / kDegreesPerRadian); }

/// From pels to the stage, in micrometres: 5 a pel; the stage stands at (12000, 3500). Not the image's client transform,
/// because the finder works best in units of about a pel.
qvXform<2> stageFromImage() { return qvXform<2>(qvMatrix<2>(5.0, 0.0, 0.0, 5.0), qvVector<2>(12000.0, 3500.0)); }

/// Those that lie whole pitches from `anchor`, on axes turned by `theta`. The farther off, the more a theta that is off
/// by `thetaTolerance` moves them.
std::vector<GridCrossing> onGrid(const std::vector<qvVector<2>>& positions, const qvVector<2>& anchor, double theta,
                                 double thetaTolerance, const Wafer& wafer) {
    std::vector<GridCrossing> fitting;
    for (const qvVector<2>& p : positions) {
        const double dx = p.x() - anchor.x();
        const double dy = p.y() - anchor.y();
        const double along = dx * std::cos(theta) + dy * std::sin(theta);
        const double across = dy * std::cos(theta) - dx * std::sin(theta);
        const double column = std::nearbyint(along / wafer.pitchX);
        const double row = std::nearbyint(across / wafer.pitchY);
        const double off = std::hypot(along - column * wafer.pitchX, across - row * wafer.pitchY);
        if (off <= kGridTolerance + thetaTolerance * std::hypot(dx, dy))
            fitting.push_back({static_cast<long>(column), static_cast<long>(row), p});
    }
    return fitting;
}

/// The grid that most crossings agree on.
std::vector<GridCrossing> bestGrid(const std::vector<qvVector<2>>& positions, double theta, double thetaTolerance,
                                   const Wafer& wafer) {
    std::vector<GridCrossing> best;
    for (const qvVector<2>& anchor : positions) {
        std::vector<GridCrossing> fitting = onGrid(positions, anchor, theta, thetaTolerance, wafer);
        if (fitting.size() > best.size()) best = std::move(fitting);
    }
    return best;
}

/// One slope for all level streets by least squares: each row of crossings about its own centre, so that a row of two
/// crossings helps as much as it can and a row of one does not disturb.
double fittedTheta(const std::vector<GridCrossing>& crossings, double rough) {
    std::map<long, std::vector<qvVector<2>>> rows;
    for (const GridCrossing& c : crossings) rows[c.row].push_back(c.position);
    double products = 0.0;
    double squares = 0.0;
    for (const auto& row : rows) {
        qvVector<2> centre(0.0, 0.0);
        for (const qvVector<2>& p : row.second) centre = centre + p * (1.0 / static_cast<double>(row.second.size()));
        for (const qvVector<2>& p : row.second) {
            const qvVector<2> d = p - centre;
            const double along = d.x() * std::cos(rough) + d.y() * std::sin(rough);
            const double across = d.y() * std::cos(rough) - d.x() * std::sin(rough);
            products += along * across;
            squares += along * along;
        }
    }
    if (squares == 0.0) throw std::runtime_error("no street has two crossings");
    return rough + std::atan(products / squares);
}

Theta measureTheta(const std::vector<qvStreetFinderStreetCrossResult>& crossings, const Wafer& wafer) {
    if (crossings.empty()) throw std::runtime_error("no crossings");
    std::vector<qvVector<2>> positions;
    for (const qvStreetFinderStreetCrossResult& c : crossings) positions.push_back(c.crossing());

    Theta theta;
    const double rough = foldedRadians(crossings.front().horizontalAngle());
    theta.radians = fittedTheta(bestGrid(positions, rough, kRoughTolerance, wafer), rough);
    // Once more with the better angle, which lets less pass.
    theta.used = bestGrid(positions, theta.radians, 0.0, wafer);
    theta.radians = fittedTheta(theta.used, theta.radians);
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
    const std::vector<qvStreetFinderStreetCrossResult> crossings = findCrossings(frame, wafer);
    const Theta theta = measureTheta(crossings, wafer);
    std::printf("%d crossings, %d of them on the grid of the dies\n", static_cast<int>(crossings.size()),
                static_cast<int>(theta.used.size()));
    std::printf("best result's horizontalAngle() %7.3f degrees\n",
                foldedRadians(crossings.front().horizontalAngle()) * kDegreesPerRadian);
    std::printf("theta                           %7.3f degrees\n", theta.radians * kDegreesPerRadian);

    const qvVector<2> onStage = stageFromImage().mapPoint(theta.used.front().position);
    std::printf("the best one of them on the stage %.1f %.1f um\n", onStage.x(), onStage.y());
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
