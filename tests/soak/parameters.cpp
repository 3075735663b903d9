// Parameters, client transforms and masks of every kind: what is not a number, without bounds, far too large or small.
//
// Each case draws a set of arguments, compares what the tools say to it with a list of the rules, and runs what they take on
// a small image. A case that takes more than two seconds of the processor ends the program.
#include <algorithm>
#include <cmath>
#include <limits>

#include "tests/soak/answers.h"
#include "tests/soak/parameter_rules.h"
#include "tests/soak/soak_main.h"
#include "tests/soak/watchdog.h"
#include "tests/support/noise_image.h"
#include "tests/support/refusal.h"

namespace {

using namespace qvtest;
using Defs = qvStreetFinderDefs;
using BlankDefs = qvStreetBlankRegionFinderDefs;

// Ridge mode measures with two samples per client unit over 4 by 12 widths, at most 2^30 of them to a street: documented to
// take long for streets of hundreds of units.
constexpr unsigned kMostSecondsOfCalipers = 30;
constexpr double kLongCaliper = 300.0;
constexpr double kMostRotation = 5.0;
constexpr const char* kRotated = "setImage: 268468993 Image rotation greater then 5 degree";
constexpr const char* kNoInverse = ": 268436225 the matrix has no inverse";
constexpr const char* kCaliperTooLong = "find: 268435970 a number of samples must be 1 to 32767";
constexpr const char* kNoStatistics = "findSingleStreet: 268435457 the line carries no statistics";

// --- Random numbers.

class Draw : public Noise {
 public:
    explicit Draw(std::uint64_t seed) : Noise(seed) {}

    bool oneIn(long count) { return whole(1, count) == 1; }

    /// A number that interfaces are not made for.
    double strange() {
        constexpr double kMost = std::numeric_limits<double>::max();
        constexpr double kInfinity = std::numeric_limits<double>::infinity();
        constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
        const double numbers[] = {kNaN,        -kNaN,  kInfinity, -kInfinity, 0.0,    -0.0,  5e-324,
                                  -5e-324,     1e-310, kMost,     -kMost,     1e-300, 1e300, 2147483648.,
                                  -2147483649, 1e10,   -1.0,      1e-9,       1365.,  1366., 2730.5,
                                  65536.,      1e155,  1e-155,    340.,       -0.5,   4095.9};
        return numbers[static_cast<std::size_t>(whole(0, static_cast<long>(std::size(numbers)) - 1))];
    }
    long strangeWhole() {
        constexpr long kMost = std::numeric_limits<long>::max();
        const long numbers[] = {-kMost - 1, kMost,        -1, 0,     kMost32, kMost32 + 1,
                                -kMost32,   -kMost32 - 2, 1,  65536, 32768};
        return numbers[static_cast<std::size_t>(whole(0, static_cast<long>(std::size(numbers)) - 1))];
    }
    /// `usual`, or once in `rarity` something strange.
    double mostly(double usual, long rarity) { return oneIn(rarity) ? strange() : usual; }
    long mostly(long usual, long rarity) { return oneIn(rarity) ? strangeWhole() : usual; }
};

StreetArguments drawStreetArguments(Draw& draw) {
    // One set in four is as it should be, the others have one strange number in five, ten or two.
    const long rarities[] = {1000000, 5, 10, 2};
    const long rarity = rarities[draw.whole(0, 3)];
    StreetArguments a{};
    for (int axis = 0; axis < 2; ++axis) {
        const double width = draw.mostly(draw.real(1.0, 24.0), rarity);
        a.width[axis] = width;
        a.range[axis][0] = draw.mostly(width * draw.real(0.0, 1.0), rarity);
        a.range[axis][1] = draw.mostly(width * draw.real(1.0, 2.0), rarity);
        // A range without extent, and one that is the wrong way round.
        if (draw.oneIn(16)) a.range[axis][0] = a.range[axis][1] = width;
        if (draw.oneIn(16)) std::swap(a.range[axis][0], a.range[axis][1]);
    }
    const long strangeModes[] = {3, 4, -1, kMost32, -kMost32 - 1};
    a.mode = draw.oneIn(rarity) ? strangeModes[draw.whole(0, 4)] : draw.whole(0, 2);
    a.polarity = draw.oneIn(rarity) ? strangeModes[draw.whole(0, 4)] : draw.whole(0, 2);
    a.sharpness = draw.mostly(draw.real(0.5, 8.0), rarity);
    a.maxResults = draw.mostly(draw.whole(1, 30), rarity);
    return a;
}

BlankArguments drawBlankArguments(Draw& draw) {
    const long rarities[] = {1000000, 5, 10, 2};
    const long rarity = rarities[draw.whole(0, 3)];
    BlankArguments a{};
    a.streetWidth = draw.mostly(draw.whole(1, 40), rarity);
    a.minLength = draw.mostly(draw.whole(1, 40), rarity);
    a.numResults = draw.mostly(draw.whole(1, 8), rarity);
    a.weights.assign(static_cast<std::size_t>(draw.oneIn(rarity) ? draw.whole(0, 300) : 256), 0.0);
    for (double& weight : a.weights) weight = draw.real(0.0, 1.0);
    if (!a.weights.empty()) {
        // Bounds included.
        a.weights.front() = 1.0;
        a.weights.back() = 0.0;
        if (draw.oneIn(rarity))
            a.weights[static_cast<std::size_t>(draw.whole(0, 255)) % a.weights.size()] = draw.strange();
    }
    const long strangeDirections[] = {2, -1, kMost32, -kMost32 - 1};
    a.direction = draw.oneIn(rarity) ? strangeDirections[draw.whole(0, 3)] : draw.whole(0, 1);
    return a;
}

/// Streets, noise, or one grey level.
qvPelBuffer<unsigned char> drawImage(Draw& draw, long least) {
    const long width = draw.whole(least, 64);
    const long height = draw.whole(least, 64);
    const long kind = draw.whole(0, 5);
    const long pitchX = draw.whole(9, 40);
    const long pitchY = draw.whole(9, 40);
    const long street = draw.whole(2, 8);
    qvPelBuffer<unsigned char> image(width, height);
    for (long y = 0; y < height; ++y)
        for (long x = 0; x < width; ++x) {
            const bool inStreet = x % pitchX < street || y % pitchY < street;
            const long noise = draw.whole(0, 7);
            const long grey = kind == 0 ? draw.whole(0, 255) : kind == 1 ? 90 : (inStreet ? 40 : 160) + noise;
            image.put(x, y, static_cast<unsigned char>(grey));
        }
    if (draw.oneIn(3)) image.offset(draw.whole(-50, 50), draw.whole(-50, 50));
    if (draw.oneIn(40)) image.offset(draw.strangeWhole(), draw.strangeWhole());
    return image;
}

/// How far a client transform is from what anybody would use.
enum class FrameKind { tame, far, wild };

struct DrawnFrame {
    FrameKind kind;
    qvXform<2> clientFromImage;
};

DrawnFrame drawFrame(Draw& draw) {
    const long choice = draw.whole(0, 9);
    const double scale = draw.oneIn(2) ? 1.0 : draw.real(0.2, 4.0);
    const double turn = draw.real(-6.0, 6.0) * (choice < 3 ? 0.0 : 1.0);
    const double flip = draw.oneIn(4) ? -1.0 : 1.0;
    const double c = scale * qfCos(qvDegree(turn));
    const double s = scale * qfSin(qvDegree(turn));
    const double shear = draw.oneIn(6) ? draw.real(-0.5, 0.5) : 0.0;
    if (choice <= 6) {
        const double mirror = draw.oneIn(30) ? -1.0 : 1.0;
        return {FrameKind::tame, qvXform<2>(qvMatrix<2>(mirror * c, -s * flip + shear, mirror * s, c * flip),
                                            qvVector<2>(draw.real(-1e3, 1e3), draw.real(-1e3, 1e3)))};
    }
    if (choice <= 7) {
        // Large, small, far from the origin: nothing overflows, but little may be left of the digits.
        const double unit = std::pow(10.0, draw.real(-6.0, 6.0));
        return {FrameKind::far, qvXform<2>(qvMatrix<2>(unit, 0.0, 0.0, flip * unit * draw.real(0.5, 2.0)),
                                           qvVector<2>(draw.real(-1e12, 1e12), draw.real(-1e12, 1e12)))};
    }
    const long rarity = choice == 8 ? 2 : 4;
    const double unit = std::pow(10.0, draw.real(-300.0, 300.0));
    const bool singular = draw.oneIn(3);
    const double a = draw.mostly(unit, rarity);
    const double b = draw.mostly(0.0, rarity);
    const double cc = draw.mostly(0.0, rarity);
    const double d = singular ? (a == 0.0 ? draw.strange() : b * (cc / a)) : draw.mostly(flip * unit, rarity);
    return {FrameKind::wild,
            qvXform<2>(qvMatrix<2>(a, b, cc, d), qvVector<2>(draw.mostly(0.0, rarity), draw.mostly(1e5, rarity)))};
}

// --- One case.

struct Figures {
    long refusedSets = 0;
    long runs = 0;
    long refusedRuns = 0;
    long results = 0;
    long scoresThatAreNoNumber = 0;
    long regions = 0;
};

/// The first of `value` and the fields of `params` that differ, compared by their bits.
std::string differenceOf(const qvStreetFinderParams& params, const qvStreetFinderParams& value) {
    const auto text = [](const qvStreetFinderParams& p) {
        std::string all;
        for (const qvPair<double>& pair :
             {p.nominalStreetWidth(), p.nominalStreetWidthRangeX(), p.nominalStreetWidthRangeY()})
            all += hexOf(pair.first) + hexOf(pair.second);
        return all + hexOf(p.edgeSharpness()) + std::to_string(p.runMode()) + " " + std::to_string(p.streetPolarity()) +
               " " + std::to_string(p.maxResults());
    };
    return text(params) == text(value) ? std::string() : text(params) + " in place of " + text(value);
}

void requireStored(const qvStreetFinderParams& params, const StreetArguments& a) {
    const auto same = [](double stored, double given) { return hexOf(stored) == hexOf(given); };
    for (int axis = 0; axis < 2; ++axis) {
        const qvPair<double> range = axis == 0 ? params.nominalStreetWidthRangeX() : params.nominalStreetWidthRangeY();
        soakRequire(same(range.first, lowerBound(a.range[axis])) && same(range.second, a.range[axis][1]),
                    "a range was not stored");
    }
    soakRequire(same(params.nominalStreetWidth().first, a.width[0]) &&
                    same(params.nominalStreetWidth().second, a.width[1]) && same(params.edgeSharpness(), a.sharpness),
                "a width was not stored");
    soakRequire(params.runMode() == a.mode && params.streetPolarity() == a.polarity &&
                    params.maxResults() == std::min(a.maxResults, kMost32),
                "a number was not stored");
}

std::wstring orAccepted(const std::wstring& refusal) { return refusal.empty() ? L"accepted" : refusal; }

void requireSame(const std::wstring& said, const std::wstring& expected, const char* where) {
    soakRequire(said == expected, std::string(where) + ": \"" + std::string(said.begin(), said.end()) +
                                      "\" in place of \"" + std::string(expected.begin(), expected.end()) + "\"");
}

/// Each setter by itself: it takes its value, or says why not and changes nothing.
void checkSetters(const StreetArguments& a) {
    const qvStreetFinderParams before;
    const auto check = [&](const char* name, const std::wstring& expected, const auto& set) {
        qvStreetFinderParams params = before;
        requireSame(refusalOf<Defs::BadParams>([&] { set(params); }), orAccepted(expected), name);
        if (!expected.empty())
            soakRequire(differenceOf(params, before).empty(), std::string(name) + " changed something");
    };
    check("nominalStreetWidth", refusalOfWidths(a),
          [&](qvStreetFinderParams& params) { params.nominalStreetWidth(a.widths(), a.bounds(0), a.bounds(1)); });
    check("edgeSharpness", refusalOfSharpness(a.sharpness),
          [&](qvStreetFinderParams& params) { params.edgeSharpness(a.sharpness); });
    check("runMode", refusalOfMode(a.mode), [&](qvStreetFinderParams& params) { params.runMode(a.modeValue()); });
    check("streetPolarity", std::wstring(),
          [&](qvStreetFinderParams& params) { params.streetPolarity(a.polarityValue()); });
    check("maxResults", a.maxResults <= 0 ? L"maxResults is not positive" : L"",
          [&](qvStreetFinderParams& params) { params.maxResults(a.maxResults); });
    if (!refusalOf(a).empty()) return;
    qvStreetFinderParams params;
    params.nominalStreetWidth(a.widths(), a.bounds(0), a.bounds(1));
    params.edgeSharpness(a.sharpness);
    params.runMode(a.modeValue());
    params.streetPolarity(a.polarityValue());
    params.maxResults(a.maxResults);
    requireStored(params, a);
}

/// Whether a caliper across a street, 4 by 12 widths at two samples per unit, cannot be sampled.
bool caliperIsTooLong(const StreetArguments& a) {
    for (const double width : a.width) {
        const double side = std::max(width, 3.0) * 2.0;
        if (hasNoSamples(4.0 * side) || hasNoSamples(12.0 * side)) return true;
    }
    return false;
}

/// Whether the client frame is so far off that a pel has few digits left in it.
bool pelIsLost(const qvXform<2>& clientFromImage) {
    constexpr double kDigits = 1e-10;
    const qvMatrix<2>& m = clientFromImage.matrix();
    const double pel = std::min(std::fabs(m.element(0, 0)), std::fabs(m.element(1, 1)));
    return pel < kDigits * std::max(std::fabs(clientFromImage.trans().x()), std::fabs(clientFromImage.trans().y()));
}

/// Whether the exception is one that the interface names for such an image.
bool mayRefuse(const std::string& refusal, qvStreetFinder& finder, const Image& image, const StreetArguments& a,
               FrameKind kind) {
    // The mapped x axis; an element without bounds makes it no number, and then it is not turned.
    const qvVector<2> axis = image.clientFromImageXform().matrix() * qvVector<2>(1.0, 0.0);
    const double turn = qvDegree(qvRadian(std::atan2(axis.y(), axis.x()))).toDouble();
    const bool turned = std::fabs(turn) > kMostRotation;
    if (turned || refusal == kRotated) return turned && refusal == kRotated;
    if (image.width() == kMarginsOnly || image.height() == kMarginsOnly) return refusal == kMarginsRefusal;
    // Where the digits of a direction are lost, lines run together: the searches may come upon that first.
    if (refusal.find(kNoInverse) != std::string::npos)
        return kind == FrameKind::wild || pelIsLost(image.clientFromImageXform());
    if (refusal == kUnprojectable) return kind == FrameKind::wild || mayBeUnprojectable(finder, image);
    if (refusal == kCaliperTooLong) return a.mode == Defs::eRidgeWafer && caliperIsTooLong(a);
    // A mode without a name is stored, and searched as edges by the one search and as lines by the other.
    if (refusal == kNoStatistics) return a.mode < 0 || a.mode > Defs::eSpecial;
    return refusal.empty();
}

void runStreets(const StreetArguments& a, Draw& draw, Figures& figures) {
    qvPelBuffer<unsigned char> image = drawImage(draw, 6);
    const DrawnFrame frame = drawFrame(draw);
    image.clientFromImageXform(frame.clientFromImage);
    qvStreetFinder finder(a.params());
    requireStored(finder.runParams(), a);
    std::vector<qvRadian> angles;
    const long count = draw.mostly(3L, 3);
    requireSame(refusalOf<Defs::Errors>([&] { finder.getAngles(count, angles); }),
                count <= 0 ? L"cnt must be positive." : L"Need to call setImage.", "getAngles");

    if (a.mode == Defs::eRidgeWafer && std::max(a.width[0], a.width[1]) > kLongCaliper)
        allowSeconds(kMostSecondsOfCalipers);
    const StreetAnswer answer = searchStreets(finder, image);
    ++figures.runs;
    figures.refusedRuns += answer.refusal.empty() ? 0 : 1;
    figures.results += static_cast<long>(answer.found.crossings.size() + answer.found.streets.size());
    for (const auto& crossing : answer.found.crossings)
        figures.scoresThatAreNoNumber += std::isnan(crossing.score()) ? 1 : 0;
    soakRequire(mayRefuse(answer.refusal, finder, image, a, frame.kind), "refused: \"" + answer.refusal + "\"");
    const std::string wrong = whatIsWrong(answer.found, a.maxResults);
    const bool finiteOnly = wrong.find("not finite") != std::string::npos;
    soakRequire(wrong.empty() || (finiteOnly && frame.kind == FrameKind::wild), wrong);
}

void runBlankRegions(const BlankArguments& a, Draw& draw, Figures& figures) {
    const qvPelBuffer<unsigned char> image = drawImage(draw, 8);
    // A mask of the same window, of another one, or with a grey level.
    qvPelBuffer<unsigned char> mask;
    const long kind = draw.whole(0, 9);
    if (kind < 5) {
        const long wider = kind == 0 ? draw.whole(1, 2) : 0;
        mask = qvPelBuffer<unsigned char>(image.width() + wider, image.height());
        for (long y = 0; y < mask.height(); ++y)
            for (long x = 0; x < mask.width(); ++x) mask.put(x, y, draw.oneIn(9) ? 0 : 255);
        if (kind == 1) mask.put(draw.whole(0, mask.width() - 1), draw.whole(0, mask.height() - 1), 7);
        mask.offset(image.offset());
        if (kind == 2) mask.offset(qfSaturate32(image.offset().first / 2 + 1), image.offset().second);
    }
    const long along = a.direction == 1 ? image.height() : image.width();
    const long across = a.direction == 1 ? image.width() : image.height();
    const auto street = static_cast<std::uint32_t>(std::min(a.streetWidth, kMost32));
    const long window = static_cast<std::int32_t>(street * 3u) / 4;

    std::string expected;
    if (mask.isBound() && mask.window() != image.window()) {
        expected = "run: 268470273 Mask dimensions must match image dimensions";
    } else if (window < 0) {
        expected = "run: 268435970 the strip height is negative";
    } else if (std::min(a.minLength, kMost32) > along || window > across) {
        expected = "run: 268435970 width and height of an image must be positive";
    } else if (mask.isBound() && kind == 1) {
        expected = "run: 268470273 Mask must only contain 0 and 255";
    } else if (mask.isBound() && a.direction == 1 && along != across) {
        expected = "run: 268435971 the two images differ in size";
    }
    const BlankAnswer answer = searchBlankRegions(image, mask, a.params());
    ++figures.runs;
    figures.refusedRuns += answer.refusal.empty() ? 0 : 1;
    figures.regions += answer.found.numResults();
    soakRequire(answer.refusal == expected, "\"" + answer.refusal + "\" in place of \"" + expected + "\"");
    const std::string wrong = whatIsWrong(answer.found, a.numResults);
    soakRequire(wrong.empty(), wrong);
}

void runCase(Draw& draw, Figures& figures) {
    if (draw.oneIn(4)) {
        const BlankArguments a = drawBlankArguments(draw);
        const std::wstring expected = refusalOf(a);
        requireSame(refusalOf<BlankDefs::BadParams>([&] { a.params(); }), orAccepted(expected), "constructor");
        figures.refusedSets += expected.empty() ? 0 : 1;
        if (expected.empty()) runBlankRegions(a, draw, figures);
        return;
    }
    const StreetArguments a = drawStreetArguments(draw);
    const std::wstring expected = refusalOf(a);
    requireSame(refusalOf<Defs::BadParams>([&] { a.params(); }), orAccepted(expected), "constructor");
    checkSetters(a);
    figures.refusedSets += expected.empty() ? 0 : 1;
    if (expected.empty()) runStreets(a, draw, figures);
}

std::string run(const SoakOptions& options) {
    const long cases = options.count(2000, 200000);
    Figures figures;
    for (long number = 0; number < cases; ++number) {
        if (!options.wants(number)) continue;
        const std::string place = "seed " + std::to_string(options.seed) + ", case " + std::to_string(number);
        watch(kMostSeconds, place);
        Draw draw(options.seed * 1000003 + static_cast<std::uint64_t>(number));
        try {
            runCase(draw, figures);
        } catch (const std::exception& error) {
            throw SoakFailure(place + ": " + error.what());
        }
    }
    stopWatching();
    soakRequire(!options.isWhole() || (figures.results > 0 && figures.regions > 0), "nothing was found");
    return std::to_string(cases) + " sets, " + std::to_string(figures.refusedSets) + " refused, " +
           std::to_string(figures.runs) + " runs, " + std::to_string(figures.refusedRuns) + " refused, " +
           std::to_string(figures.results) + " crossings and streets, " +
           std::to_string(figures.scoresThatAreNoNumber) + " scores not a number, " + std::to_string(figures.regions) +
           " regions";
}

}  // namespace

int main(int count, char** arguments) { return soakMain("parameters", count, arguments, run); }
