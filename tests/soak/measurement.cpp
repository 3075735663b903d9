// The street measurement, on a thousand wafers and on inputs that no finder would give.
//
// Wafers: errors are divided by the deviations that were stated with them. Over many wafers their rms is about 1; a single
// one far beyond would be a wrong street that was called measured, which must not happen. Of what is called a measured
// crossing, hardly any is none: a row of blocks that goes on from die to die, as wide as a street may be and as straight.
//
// Damaged inputs: results, parameters, client frames and images of any kind. Each call ends, with an exception that the
// interface names or with answers that agree with themselves; memory beside the pels is closed, and other layouts of the
// same pels give the same bits.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <limits>
#include <string>
#include <vector>

#include "qvstreet/projection/street_measurement.h"
#include "qvstreet/streetfinder/street_results_access.h"
#include "tests/endtoend/measurement_scenes.h"
#include "tests/soak/guard_pages.h"
#include "tests/soak/soak_main.h"
#include "tests/soak/watchdog.h"
#include "tests/support/noise_image.h"

namespace {

using namespace qvtest;
using Defs = qvStreetMeasureDefs;
using Image = qvPelBuffer_const<unsigned char>;
using Cross = qvStreetFinderStreetCrossResult;
using Single = qvStreetFinderSingleStreetResult;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

// --- Wafers.

constexpr double kLeastRms = 0.7;
constexpr double kMostRms = 1.4;
// Beyond so many stated deviations an error is no chance.
constexpr double kMostDeviations = 12.0;
// A crossing further than this from all true ones, pels, is none.
constexpr double kSameCrossing = 1.0;
// The share of the measured crossings that may be none.
constexpr double kMostFalse = 0.01;
// So few wafers say little about an rms.
constexpr long kFewWafers = 200;

/// Squares of errors over their deviations.
struct Squares {
    double sum = 0.0;
    double count = 0.0;
    double worst = 0.0;

    void add(double normalised) {
        sum += normalised * normalised;
        count += 1.0;
        // A NaN is the worst of all.
        if (!(std::fabs(normalised) <= worst)) worst = std::fabs(normalised);
    }
    double rms() const { return count > 0.0 ? std::sqrt(sum / count) : 0.0; }
};

struct WaferTotals {
    Squares crossing;
    Squares angle;
    Squares width;
    long expected = 0;
    long measured = 0;
    /// Of all crossings that were called measured, also those that lie near the image's sides, those that are none.
    long called = 0;
    long none = 0;
};

/// Whether a measured crossing is one, however far from it the finder said it was.
bool isTrueCrossing(const SceneTruth& truth, const qvVector<2>& at) {
    return std::any_of(truth.crossings.begin(), truth.crossings.end(), [&at](const CrossingTruth& one) {
        return std::hypot(one.crossing.x - at.x(), one.crossing.y - at.y()) <= kSameCrossing;
    });
}

void measureWafer(std::uint64_t seed, const std::string& place, WaferTotals& totals) {
    const Scene scene = randomMeasurementScene(seed);
    const MeasurementOutcome outcome = runMeasurement(scene, renderScene(scene), qvStreetFinderDefs::eCoarseRidgeWafer);
    const SceneTruth truth = truthOf(scene);
    for (const qvStreetMeasurement& one : outcome.measurements) {
        if (one.status() != Defs::eMeasured) continue;
        ++totals.called;
        if (isTrueCrossing(truth, one.crossing())) continue;
        ++totals.none;
        std::printf("%s: no crossing at (%.2f, %.2f)\n", place.c_str(), one.crossing().x(), one.crossing().y());
    }
    totals.expected += outcome.expected;
    totals.measured += outcome.measured;
    for (const CrossingError& error : outcome.errors) {
        Squares own;
        for (const double normalised : {error.normalised.x, error.normalised.y}) {
            totals.crossing.add(normalised);
            own.add(normalised);
        }
        for (std::size_t k = 0; k < 2; ++k) {
            totals.angle.add(error.normalisedAngle[k]);
            totals.width.add(error.normalisedWidth[k]);
            own.add(error.normalisedAngle[k]);
            own.add(error.normalisedWidth[k]);
        }
        soakRequire(own.worst <= kMostDeviations, place + ": off by " + std::to_string(own.worst) + " deviations");
    }
}

void printSquares(const char* name, const Squares& squares) {
    std::printf("%-10s %8.0f values, normalised error rms %.3f, worst %.2f\n", name, squares.count, squares.rms(),
                squares.worst);
}

std::string measureWafers(const SoakOptions& options) {
    WaferTotals totals;
    const long count = options.count(8, 1000);
    std::string failures;
    for (long number = 0; number < count; ++number) {
        if (!options.wants(number)) continue;
        const std::string place = "--case " + std::to_string(number) + " wafer";
        watch(60, place);
        try {
            measureWafer(options.seed * 100000 + static_cast<std::uint64_t>(number), place, totals);
        } catch (const SoakFailure& failure) {
            // All of them, because one wafer says little about what is wrong.
            std::printf("%s\n", failure.what());
            if (failures.empty()) failures = failure.what();
        }
    }
    stopWatching();
    printSquares("crossing", totals.crossing);
    printSquares("angle", totals.angle);
    printSquares("width", totals.width);
    soakRequire(failures.empty(), failures);
    if (options.isWhole() && count >= kFewWafers)
        for (const Squares& squares : {totals.crossing, totals.angle, totals.width})
            soakRequire(squares.rms() >= kLeastRms && squares.rms() <= kMostRms,
                        "stated deviations are not what errors scatter by");
    if (options.isWhole()) soakRequire(2 * totals.measured > totals.expected, "too few crossings measured");
    if (options.isWhole())
        soakRequire(static_cast<double>(totals.none) <= kMostFalse * static_cast<double>(totals.called),
                    std::to_string(totals.none) + " measured crossings are none");
    return std::to_string(totals.measured) + " of " + std::to_string(totals.expected) + " crossings measured, " +
           std::to_string(totals.none) + " of " + std::to_string(totals.called) + " called so are none";
}

// --- Damaged inputs.

template <typename Value, std::size_t N>
Value oneOf(Noise& noise, const std::array<Value, N>& values) {
    return values[static_cast<std::size_t>(noise.whole(0, static_cast<long>(N) - 1))];
}

double wildNumber(Noise& noise) {
    return oneOf<double>(noise, std::array<double, 16>{0.0, -0.0, kNaN, kInfinity, -kInfinity, 1e300, -1e300, 1e-310,
                                                       1e9, -2147483649.0, 1e6, -1e6, 0.5, -40.0, 1e154, 1e20});
}

/// Mostly sensible.
double damaged(Noise& noise, double value) { return noise.whole(0, 19) == 0 ? wildNumber(noise) : value; }

// Where streets are drawn, pels.
constexpr double kPitchX = 73.0;
constexpr double kPitchY = 61.0;
constexpr double kStreetPels = 12.0;

/// Noise up to 40 pels to a side, or dark streets over noise up to 200.
qvPelBuffer<unsigned char> drawImage(Noise& noise) {
    if (noise.whole(0, 2) == 0) return noiseImage(noise.whole(1, 40), noise.whole(1, 40), noise.bits());
    qvPelBuffer<unsigned char> image(noise.whole(20, 200), noise.whole(20, 200));
    const double tilt = noise.real(-0.04, 0.04);
    const long roughness = noise.whole(0, 60);
    const bool plain = noise.whole(0, 9) == 0;
    for (long y = 0; y < image.height(); ++y)
        for (long x = 0; x < image.width(); ++x) {
            const double v = static_cast<double>(y) - tilt * static_cast<double>(x);
            const double u = static_cast<double>(x) + tilt * static_cast<double>(y);
            const bool street = std::fmod(v + 10.0 * kPitchY, kPitchY) < kStreetPels ||
                                std::fmod(u + 10.0 * kPitchX, kPitchX) < kStreetPels;
            const long grey = (street && !plain ? 60 : 150) + noise.whole(0, roughness);
            image.put(x, y, static_cast<unsigned char>(grey));
        }
    return image;
}

struct ClientFrame {
    qvXform<2> xform;
    /// Client units a pel, about.
    double unit = 1.0;
    /// Positions and lengths in it are within the range of a double with room to spare.
    bool isModerate = true;
};

ClientFrame drawFrame(Noise& noise) {
    const double turn = noise.real(-3.2, 3.2);
    const double c = std::cos(turn);
    const double s = std::sin(turn);
    const qvVector<2> far(noise.real(-1e4, 1e4), noise.real(-1e4, 1e4));
    switch (noise.whole(0, 9)) {
        case 0:
            return {qvXform<2>(qvMatrix<2>(-1.0, 0.0, 0.0, 1.0), far), 1.0, true};
        case 1:
            return {qvXform<2>(qvMatrix<2>(c, -s, s, c), far), 1.0, true};
        case 2: {
            const double unit = oneOf<double>(noise, std::array<double, 4>{1e-9, 1e-3, 1e3, 1e9});
            return {qvXform<2>(qvMatrix<2>(unit * c, unit * s, unit * s, -unit * c), far), unit, true};
        }
        case 3:
            return {qvXform<2>(qvMatrix<2>(0.3, 0.1, -0.2, 4.0), far), 1.0, true};
        case 4: {
            const double unit = oneOf<double>(noise, std::array<double, 6>{1e-300, 1e-160, 1e-80, 1e80, 1e160, 1e300});
            return {qvXform<2>(qvMatrix<2>(unit * c, -unit * s, unit * s, unit * c), qvVector<2>(0.0, 0.0)), unit,
                    false};
        }
        case 5:
            return {
                qvXform<2>(qvMatrix<2>(wildNumber(noise), damaged(noise, 0.0), damaged(noise, 0.0), wildNumber(noise)),
                           qvVector<2>(wildNumber(noise), damaged(noise, 0.0))),
                1.0, false};
        default:
            return {qvXform<2>(), 1.0, true};
    }
}

qvStreetMeasureParams drawParams(Noise& noise, double unit) {
    const double x = unit * (noise.whole(0, 1) == 0 ? kStreetPels : noise.real(2.0, 30.0));
    const double y = unit * (noise.whole(0, 1) == 0 ? kStreetPels : noise.real(2.0, 30.0));
    const auto polarity = static_cast<qvStreetFinderDefs::streetPolarity>(noise.whole(0, 2));
    const double reach =
        oneOf<double>(noise, std::array<double, 8>{1e30, 1e30, 1e30, 1e30, 1e30, kInfinity, 1e-300, 60.0 * unit});
    const double contrast =
        oneOf<double>(noise, std::array<double, 8>{3.0, 3.0, 3.0, 3.0, 20.0, 20.0, 1e-300, kInfinity});
    try {
        const qvStreetFinderParams streets({x, y}, {0.4 * x, 1.7 * x}, {0.0, 4.0 * y},
                                           qvStreetFinderDefs::eCoarseRidgeWafer, 5.0, polarity);
        return qvStreetMeasureParams(streets, reach, contrast);
    } catch (const qvStreetFinderDefs::BadParams&) {
        // Units so small or large that widths in them are none.
        return qvStreetMeasureParams();
    }
}

/// Draws what a finder might have told of an image, and worse.
class Told {
 public:
    Told(Noise& noise, const Image& image, const ClientFrame& frame) : noise_(noise), image_(image), frame_(frame) {}

    Cross cross() {
        using Access = qv_streetResultAccess;
        Cross result;
        Access::crossing(result) = point();
        Access::horizontalAngle(result) = angle(0.0);
        Access::verticalAngle(result) = angle(1.5707963);
        Access::score(result) = wildNumber(noise_);
        Access::ulCorner(result) = point();
        Access::urCorner(result) = point();
        Access::llCorner(result) = point();
        Access::lrCorner(result) = point();
        Access::lineSegs(result) = segments();
        Access::statusFlags(result) = flags();
        return result;
    }

    Single single() {
        using Access = qv_streetResultAccess;
        Single result;
        Access::angle(result) = angle(noise_.whole(0, 1) == 0 ? 0.0 : 1.5707963);
        Access::lineSegs(result) = segments();
        Access::statusFlags(result) = flags();
        return result;
    }

 private:
    qvVector<2> point() {
        const double column = static_cast<double>(noise_.whole(0, image_.width() / static_cast<long>(kPitchX)));
        const double row = static_cast<double>(noise_.whole(0, image_.height() / static_cast<long>(kPitchY)));
        const double x = 0.5 * kStreetPels + column * kPitchX + noise_.real(-9.0, 9.0);
        const double y = 0.5 * kStreetPels + row * kPitchY + noise_.real(-9.0, 9.0);
        const qvVector<2> offset(static_cast<double>(image_.offset().first),
                                 static_cast<double>(image_.offset().second));
        const qvVector<2> client = frame_.xform * (qvVector<2>(x, y) + offset);
        return qvVector<2>(damaged(noise_, client.x()), damaged(noise_, client.y()));
    }
    qvRadian angle(double inImage) {
        if (noise_.whole(0, 7) == 0) return qvRadian(damaged(noise_, noise_.real(-10.0, 10.0)));
        const double near = inImage + noise_.real(-0.05, 0.05);
        return frame_.xform.mapVector(qvVector<2>(std::cos(near), std::sin(near))).angle();
    }
    std::vector<qvLineSeg> segments() {
        std::vector<qvLineSeg> list;
        for (long i = noise_.whole(0, 4); i > 0; --i) {
            const qvVector<2> begin = point();
            list.emplace_back(begin, point());
        }
        return list;
    }
    qvStreetFinderDefs::resultType flags() {
        return static_cast<qvStreetFinderDefs::resultType>(
            oneOf<std::int32_t>(noise_, std::array<std::int32_t, 5>{0, 0, 1, 1, -7}));
    }

    Noise& noise_;
    const Image& image_;
    const ClientFrame& frame_;
};

// What the answers must agree with.

bool isNone(double value) { return std::isnan(value); }
bool isNone(const qvVector<2>& p) { return isNone(p.x()) && isNone(p.y()); }
bool isNone(const qvLineSeg& s) { return isNone(s.p1()) && isNone(s.p2()); }

void requireValue(double value, double deviation, bool isMeasured, bool isModerate, const char* name) {
    if (!isMeasured) soakRequire(isNone(value) && isNone(deviation), std::string(name) + " of what was not measured");
    if (isMeasured && isModerate)
        soakRequire(std::isfinite(value) && std::isfinite(deviation) && deviation > 0.0,
                    std::string(name) + " is " + std::to_string(value) + " +- " + std::to_string(deviation));
}

void checkStreet(const qvStreetLineMeasurement& m, bool isModerate) {
    const bool all = m.status() == Defs::eMeasured;
    const bool any = all || m.status() == Defs::ePartlyMeasured;
    soakRequire(all == (m.reason() == Defs::eNoReason), "a street's reason does not go with its status");
    soakRequire((any && !all) == (m.reason() == Defs::eOneEdge), "one edge does not go with the status");
    requireValue(m.angle().toDouble(), m.angleDeviation().toDouble(), any, isModerate, "angle");
    requireValue(m.width(), m.widthDeviation(), all, isModerate, "width");
    requireValue(m.centre().p1().x(), m.centreDeviation(), all, isModerate, "centre");
    soakRequire(all || isNone(m.centre()), "a centre line without two edges");
    long edges = 0;
    for (const long e : {0L, 1L}) {
        soakRequire(isNone(m.edge(e)) == isNone(m.edgeDeviation(e)) || !isModerate, "an edge without a deviation");
        if (!isNone(m.edgeDeviation(e))) ++edges;
    }
    soakRequire(edges == (all ? 2 : any ? 1 : 0) || !isModerate, "a wrong number of edges");
    soakRequire(m.usedPoints() >= 0 && m.refusedPoints() >= 0, "points below 0");
    soakRequire(!all || !isModerate || m.width() > 0.0, "a width below 0");
}

void checkAnswer(const qvStreetLineMeasurement& m, bool isModerate) { checkStreet(m, isModerate); }

void checkAnswer(const qvStreetMeasurement& m, bool isModerate) {
    checkStreet(m.horizontal(), isModerate);
    checkStreet(m.vertical(), isModerate);
    const bool both = m.horizontal().status() == Defs::eMeasured && m.vertical().status() == Defs::eMeasured;
    const bool any = m.horizontal().status() != Defs::eNotMeasured || m.vertical().status() != Defs::eNotMeasured;
    const bool crosses = both && m.reason() != Defs::eNoCrossing;
    soakRequire(m.status() == (crosses ? Defs::eMeasured
                               : any   ? Defs::ePartlyMeasured
                                       : Defs::eNotMeasured),
                "a crossing's status does not go with its streets");
    requireValue(m.crossing().x(), m.crossingDeviation().x(), crosses, isModerate, "crossing x");
    requireValue(m.crossing().y(), m.crossingDeviation().y(), crosses, isModerate, "crossing y");
}

std::string hex(double value) {
    std::array<char, 40> text{};
    std::snprintf(text.data(), text.size(), "%a ", value);
    return text.data();
}
std::string hexOf(const qvLineSeg& s) { return hex(s.p1().x()) + hex(s.p1().y()) + hex(s.p2().x()) + hex(s.p2().y()); }
std::string hexOf(const qvStreetLineMeasurement& m) {
    return std::to_string(m.status()) + std::to_string(m.reason()) + hex(m.angle().toDouble()) +
           hex(m.angleDeviation().toDouble()) + hex(m.width()) + hex(m.widthDeviation()) + hexOf(m.centre()) +
           hex(m.centreDeviation()) + hexOf(m.edge(0)) + hexOf(m.edge(1)) + hex(m.edgeDeviation(0)) +
           hex(m.edgeDeviation(1)) + std::to_string(m.usedPoints()) + " " + std::to_string(m.refusedPoints()) + "\n";
}
std::string hexOf(const qvStreetMeasurement& m) {
    return std::to_string(m.status()) + std::to_string(m.reason()) + hex(m.crossing().x()) + hex(m.crossing().y()) +
           hex(m.crossingDeviation().x()) + hex(m.crossingDeviation().y()) + hexOf(m.horizontal()) +
           hexOf(m.vertical());
}

void measureAll(const Image& image, const std::vector<Cross>& results, const qvStreetMeasureParams& params,
                std::vector<qvStreetMeasurement>& measured) {
    qfStreetMeasureCrosses(image, results, params, measured);
}
void measureAll(const Image& image, const std::vector<Single>& results, const qvStreetMeasureParams& params,
                std::vector<qvStreetLineMeasurement>& measured) {
    qfStreetMeasureStreets(image, results, params, measured);
}

struct DamagedTotals {
    long measured = 0;
    long notMeasured = 0;
    long refused = 0;
};

template <typename Result, typename Measurement>
void checkResults(const Image& image, const std::vector<Result>& results, const qvStreetMeasureParams& params,
                  bool isModerate, long number, DamagedTotals& totals) {
    constexpr std::size_t kBefore = 9;
    std::vector<Measurement> measured(kBefore);
    try {
        measureAll(image, results, params, measured);
    } catch (const qvMatrixErr::Singular&) {
        soakRequire(!isModerate, "a sound client frame was refused");
        soakRequire(measured.size() == kBefore, "a refused call changed the list");
        ++totals.refused;
        return;
    }
    soakRequire(measured.size() == results.size(), "not one answer to a result");
    std::string text;
    for (const Measurement& one : measured) {
        checkAnswer(one, isModerate);
        ++(one.status() == Defs::eNotMeasured ? totals.notMeasured : totals.measured);
        text += hexOf(one);
    }
    const GuardedRows guarded(image, number % 2 == 0 ? GuardedSide::beforeAClosedPage : GuardedSide::behindAClosedPage,
                              number % 3 == 0);
    std::vector<Measurement> again;
    measureAll(guarded.view(), results, params, again);
    std::string textAgain;
    for (const Measurement& one : again) textAgain += hexOf(one);
    soakRequire(text == textAgain, "other bits in another layout of the memory");
}

void checkDamaged(long number, std::uint64_t seed, DamagedTotals& totals) {
    Noise noise(seed * 1000003 + static_cast<std::uint64_t>(number));
    qvPelBuffer<unsigned char> image = drawImage(noise);
    if (noise.whole(0, 3) == 0) image.offset(noise.whole(-3000, 3000), noise.whole(-3000, 3000));
    const ClientFrame frame = drawFrame(noise);
    image.clientFromImageXform(frame.xform);
    const qvStreetMeasureParams params = drawParams(noise, frame.unit);
    Told told(noise, image, frame);
    std::vector<Cross> crosses;
    std::vector<Single> singles;
    for (long i = noise.whole(0, 5); i > 0; --i) crosses.push_back(told.cross());
    for (long i = noise.whole(0, 5); i > 0; --i) singles.push_back(told.single());
    checkResults<Cross, qvStreetMeasurement>(image, crosses, params, frame.isModerate, number, totals);
    checkResults<Single, qvStreetLineMeasurement>(image, singles, params, frame.isModerate, number, totals);
}

std::string measureDamaged(const SoakOptions& options) {
    DamagedTotals totals;
    const long count = options.count(1500, 60000);
    for (long number = 0; number < count; ++number) {
        if (!options.wants(number)) continue;
        const std::string place = "--case " + std::to_string(number) + " damaged";
        watch(kMostSeconds, place);
        try {
            checkDamaged(number, options.seed, totals);
        } catch (const SoakFailure& failure) {
            throw SoakFailure(place + ": " + failure.what());
        }
    }
    stopWatching();
    if (options.isWhole())
        soakRequire(totals.measured > 0 && totals.notMeasured > 0 && totals.refused > 0, "nothing was put to the test");
    return std::to_string(totals.measured) + " of " + std::to_string(totals.measured + totals.notMeasured) +
           " damaged results measured, " + std::to_string(totals.refused) + " calls refused";
}

std::string run(const SoakOptions& options) {
    const std::string damagedFigures = measureDamaged(options);
    return damagedFigures + "; " + measureWafers(options);
}

}  // namespace

int main(int count, char** arguments) { return soakMain("measurement", count, arguments, run); }
