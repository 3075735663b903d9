// Images of every content: what no camera gives, and what it gives when something is wrong.
//
// One grey level, noise, checkers, single lines and pels, ramps, saturated streets; in all modes, by finders that have seen
// all the images before. The answer has to be in order, not more than asked for and finite, and that of a new finder.
#include <algorithm>
#include <array>
#include <cmath>
#include <memory>

#include "tests/soak/answers.h"
#include "tests/soak/soak_main.h"
#include "tests/soak/watchdog.h"
#include "tests/support/noise_image.h"

namespace {

using namespace qvtest;
using Defs = qvStreetFinderDefs;
using BlankDefs = qvStreetBlankRegionFinderDefs;

constexpr long kModes = 3;
constexpr long kPolarities = 3;
// One image in so many is searched by a new finder as well; prime, so that all contents come to it.
constexpr long kComparedPeriod = 7;

constexpr std::array<const char*, 12> kContents = {"one level",     "noise",  "few greys", "checkers",
                                                   "thin checkers", "a line", "one pel",   "saturated",
                                                   "inverted",      "ramp",   "rings",     "bars"};

/// The grey levels of one image, at random within its kind.
qvPelBuffer<unsigned char> drawContent(Noise& noise, std::size_t kind) {
    // As many small as large ones; one in ten strips of a few rows or columns.
    long width = noise.whole(1, noise.whole(0, 1) == 0 ? 24 : 72);
    long height = noise.whole(1, noise.whole(0, 1) == 0 ? 24 : 72);
    if (noise.whole(0, 9) == 0) (noise.whole(0, 1) == 0 ? width : height) = noise.whole(1, 4);
    const long a = noise.whole(0, 255);
    const long b = noise.whole(0, 255);
    const long period = noise.whole(2, 19);
    const long street = noise.whole(1, 8);
    const double angle = noise.real(-0.2, 3.3);
    const double x0 = noise.real(0.0, static_cast<double>(width));
    const double y0 = noise.real(0.0, static_cast<double>(height));
    const double thickness = noise.real(0.3, 4.0);
    const auto grey = [&](long x, long y) -> long {
        const double dx = static_cast<double>(x) - x0;
        const double dy = static_cast<double>(y) - y0;
        const double across = std::fabs(dx * std::sin(angle) - dy * std::cos(angle));
        const bool inStreet = x % (period + street) < street || y % (period + 2 * street) < street;
        switch (kind) {
            case 0:
                return a;
            case 1:
                return noise.whole(0, 255);
            case 2:
                return a + noise.whole(0, 1) * (b > a ? 1 : -1);
            case 3:
                return ((x / period) + (y / period)) % 2 == 0 ? a : b;
            case 4:
                return (x + y) % 2 == 0 ? a : b;
            case 5:
                return across < thickness ? a : b;
            case 6:
                return x == static_cast<long>(x0) && y == static_cast<long>(y0) ? a : b;
            case 7:
                return inStreet ? 0 : 255;
            case 8:
                return inStreet ? 255 : 0;
            case 9:
                return (a * x + b * y) / (width + height);
            case 10:
                return static_cast<long>(std::sqrt(dx * dx + dy * dy) / thickness) % 2 == 0 ? a : b;
            default:
                return x % period == 0 ? a : b;
        }
    };
    qvPelBuffer<unsigned char> image(width, height);
    for (long y = 0; y < height; ++y)
        for (long x = 0; x < width; ++x) image.put(x, y, static_cast<unsigned char>(std::clamp(grey(x, y), 0L, 255L)));
    return image;
}

struct Figures {
    long runs = 0;
    long refused = 0;
    long crossings = 0;
    long streets = 0;
    long regions = 0;
    long scoresThatAreNoNumber = 0;
};

qvStreetFinderParams paramsOf(long mode, long polarity, long maxResults) {
    return qvStreetFinderParams(qvPair<double>(5.0, 6.0), qvPair<double>(1.0, 12.0), qvPair<double>(2.0, 14.0),
                                static_cast<Defs::waferType>(mode), 2.0, static_cast<Defs::streetPolarity>(polarity),
                                maxResults);
}

/// A finder of each mode and polarity, used again and again.
class Finders {
 public:
    Finders() {
        for (long mode = 0; mode < kModes; ++mode)
            for (long polarity = 0; polarity < kPolarities; ++polarity)
                finders_.push_back(std::make_unique<qvStreetFinder>(paramsOf(mode, polarity, 1 + 3 * mode + polarity)));
    }
    qvStreetFinder& of(long number) { return *finders_[static_cast<std::size_t>(number) % finders_.size()]; }

 private:
    std::vector<std::unique_ptr<qvStreetFinder>> finders_;
};

/// The searches after a refused image; nothing is left of the one before it.
void requireNothingFound(qvStreetFinder& finder) {
    Crossings crossings;
    Streets streets;
    finder.find(crossings);
    finder.findSingleStreet(streets);
    soakRequire(crossings.empty() && streets.empty(), "something was found in a refused image");
}

void runStreets(qvStreetFinder& finder, const Image& image, bool compare, Figures& figures) {
    const qvStreetFinderParams& params = finder.runParams();
    const StreetAnswer answer = searchStreets(finder, image);
    ++figures.runs;
    figures.refused += answer.refusal.empty() ? 0 : 1;
    figures.crossings += static_cast<long>(answer.found.crossings.size());
    figures.streets += static_cast<long>(answer.found.streets.size());
    const bool marginsOnly = image.width() == kMarginsOnly || image.height() == kMarginsOnly;
    soakRequire(marginsOnly
                    ? answer.refusal == kMarginsRefusal
                    : answer.refusal.empty() || (answer.refusal == kUnprojectable && mayBeUnprojectable(finder, image)),
                "refused: " + answer.refusal);
    if (!answer.refusal.empty()) requireNothingFound(finder);
    const std::string wrong = whatIsWrong(answer.found, params.maxResults());
    soakRequire(wrong.empty(), wrong);
    const bool asLines = params.runMode() != Defs::eEdgePairWafer;
    for (const qvStreetFinderStreetCrossResult& crossing : answer.found.crossings) {
        const double score = crossing.score();
        figures.scoresThatAreNoNumber += std::isnan(score) ? 1 : 0;
        soakRequire(asLines ? score >= 0.0 && score <= 1.0 : score >= 0.0 || std::isnan(score),
                    "a score that cannot be: " + std::to_string(score));
        soakRequire(asLines ? crossing.lineSegs().size() == 2 : crossing.lineSegs().size() <= 8, "lines of a crossing");
    }
    for (const qvStreetFinderSingleStreetResult& street : answer.found.streets)
        soakRequire(street.lineSegs().size() == (asLines ? 1u : 2u), "lines of a street");
    if (compare) soakRequire(searchStreets(params, image).hex() == answer.hex(), "a new finder answers otherwise");
}

void runBlankRegions(const Image& image, Noise& noise, Figures& figures) {
    const long direction = noise.whole(0, 1);
    const long along = direction == 1 ? image.height() : image.width();
    const long across = direction == 1 ? image.width() : image.height();
    const qvStreetBlankRegionFinderParams params(noise.whole(1, across), noise.whole(1, along), noise.whole(1, 5),
                                                 std::vector<double>(256, 1.0),
                                                 static_cast<BlankDefs::streetDirection>(direction));
    const BlankAnswer answer = searchBlankRegions(image, Image(), params);
    ++figures.runs;
    figures.regions += answer.found.numResults();
    soakRequire(answer.refusal.empty(), "refused: " + answer.refusal);
    const std::string wrong = whatIsWrong(answer.found, params.numResults());
    soakRequire(wrong.empty(), wrong);
    soakRequire(areInside(answer.found, image), "a region beyond the image");
}

std::string run(const SoakOptions& options) {
    const long cases = options.count(1500, 100000);
    Figures figures;
    Finders finders;
    for (long number = 0; number < cases; ++number) {
        if (!options.wants(number)) continue;
        const std::size_t kind = static_cast<std::size_t>(number) % kContents.size();
        const std::string place =
            "seed " + std::to_string(options.seed) + ", case " + std::to_string(number) + ", " + kContents[kind];
        watch(kMostSeconds, place);
        Noise noise(options.seed * 1000003 + static_cast<std::uint64_t>(number));
        qvPelBuffer<unsigned char> image = drawContent(noise, kind);
        if (noise.whole(0, 3) == 0) image.offset(noise.whole(-99, 99), noise.whole(-99, 99));
        try {
            runStreets(finders.of(noise.whole(0, kModes * kPolarities - 1)), image, number % kComparedPeriod == 0,
                       figures);
            runBlankRegions(image, noise, figures);
        } catch (const std::exception& error) {
            throw SoakFailure(place + ", " + std::to_string(image.width()) + " by " + std::to_string(image.height()) +
                              ": " + error.what());
        }
    }
    stopWatching();
    soakRequire(!options.isWhole() || (figures.crossings > 0 && figures.streets > 0 && figures.regions > 0),
                "nothing was found");
    return std::to_string(cases) + " images, " + std::to_string(figures.runs) + " runs, " +
           std::to_string(figures.refused) + " refused, " + std::to_string(figures.crossings) + " crossings, " +
           std::to_string(figures.streets) + " streets, " + std::to_string(figures.scoresThatAreNoNumber) +
           " scores not a number, " + std::to_string(figures.regions) + " regions";
}

}  // namespace

int main(int count, char** arguments) { return soakMain("content", count, arguments, run); }
