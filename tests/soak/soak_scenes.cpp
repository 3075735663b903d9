#include "tests/soak/soak_scenes.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "tests/support/wafer_random.h"

namespace qvtest {

namespace {

using Defs = qvStreetFinderDefs;
using BlankDefs = qvStreetBlankRegionFinderDefs;

// --- Wafers.

/// Streets of one direction, evenly spaced. `slope` is the tangent of the tilt against the direction's own axis.
struct Family {
    double slope = 0.0;
    double first = 0.0;
    double pitch = 1.0;
    double width = 1.0;

    /// How much of a pel at (along, across), its middle, belongs to a street of the family: 0 to 1.
    double cover(double along, double across) const {
        const double position = (across - slope * along - first) / pitch;
        const double offAxis =
            std::fabs(position - std::floor(position + 0.5)) * pitch / std::sqrt(1.0 + slope * slope);
        return std::clamp(width / 2.0 - offAxis + 0.5, 0.0, 1.0);
    }
};

struct Wafer {
    long width = 0;
    long height = 0;
    Family flat;
    Family upright;
    double dieGrey = 150.0;
    double streetGrey = 60.0;
    /// Most by which noise moves a pel.
    double noise = 0.0;
    std::uint64_t seed = 0;

    unsigned char pel(long column, long row) const {
        const double x = static_cast<double>(column) + 0.5;
        const double y = static_cast<double>(row) + 0.5;
        const double covered = std::max(flat.cover(x, y), upright.cover(y, x));
        const double chequer = ((column / 7) + (row / 5)) % 2 == 0 ? 4.0 : -4.0;
        const std::uint64_t bits = randomBits(seed, static_cast<std::uint64_t>(row * width + column));
        const double unit = static_cast<double>(bits >> 11) * 0x1p-52 - 1.0;
        const double grey = (dieGrey + chequer) * (1.0 - covered) + streetGrey * covered + noise * unit;
        return static_cast<unsigned char>(std::clamp(grey + 0.5, 0.0, 255.0));
    }
};

template <typename Pel>
qvPelBuffer_const<unsigned char> painted(long width, long height, const Pel& pel) {
    const qvPelBuffer<unsigned char> buffer(width, height);
    for (long row = 0; row < height; ++row)
        for (long column = 0; column < width; ++column) buffer.put(column, row, pel(column, row));
    return buffer;
}

qvPelBuffer_const<unsigned char> painted(const Wafer& wafer) {
    return painted(wafer.width, wafer.height, [&](long column, long row) { return wafer.pel(column, row); });
}

/// `unitsPerPel` per pel, turned by twice the angle of which `halfTangent` is the tangent, y mirrored where asked for.
qvXform<2> frame(double unitsPerPel, double halfTangent, bool mirrored, double tx, double ty) {
    const double square = halfTangent * halfTangent;
    const double c = unitsPerPel * (1.0 - square) / (1.0 + square);
    const double s = unitsPerPel * 2.0 * halfTangent / (1.0 + square);
    const double flip = mirrored ? -1.0 : 1.0;
    return qvXform<2>(qvMatrix<2>(c, -s * flip, s, c * flip), qvVector<2>(tx, ty));
}

qvStreetFinderParams paramsFor(const Wafer& wafer, double unitsPerPel, Defs::waferType mode,
                               Defs::streetPolarity polarity, long most) {
    const double x = wafer.upright.width * unitsPerPel;
    const double y = wafer.flat.width * unitsPerPel;
    return qvStreetFinderParams(qvPair<double>(x, y), qvPair<double>(0.5 * x, 1.5 * x),
                                qvPair<double>(0.5 * y, 1.5 * y), mode, 3.0 * unitsPerPel, polarity, most);
}

/// Streets of width 18 and 24 in an image of 300 by 220, or that picture in another size.
Wafer fixedWafer(long width, long height, double slope, bool light) {
    Wafer wafer;
    wafer.width = width;
    wafer.height = height;
    const double unitX = static_cast<double>(width) / 300.0;
    const double unitY = static_cast<double>(height) / 220.0;
    wafer.flat = {slope, 60.0 * unitY, 105.0 * unitY, std::max(5.0, 24.0 * unitY)};
    wafer.upright = {-slope, 70.0 * unitX, 120.0 * unitX, std::max(4.0, 18.0 * unitX)};
    wafer.dieGrey = light ? 90.0 : 150.0;
    wafer.streetGrey = light ? 190.0 : 60.0;
    wafer.noise = 3.0;
    wafer.seed = static_cast<std::uint64_t>(width * 1000 + height);
    return wafer;
}

constexpr Defs::waferType kModes[] = {Defs::eEdgePairWafer, Defs::eRidgeWafer, Defs::eCoarseRidgeWafer};
constexpr Defs::streetPolarity kPolarities[] = {Defs::eAnyPolarity, Defs::eDarkOnLight, Defs::eLightOnDark};
const char* const kModeNames[] = {"edge", "ridge", "coarse"};
const char* const kPolarityNames[] = {"any", "dark", "light"};

std::vector<SoakScene> makeScenes() {
    std::vector<SoakScene> scenes;
    for (int mode = 0; mode < 3; ++mode)
        for (int polarity = 0; polarity < 3; ++polarity) {
            const int number = mode * 3 + polarity;
            const bool light = polarity == 2 || (polarity == 0 && mode == 1);
            const Wafer wafer = fixedWafer(300 - 9 * number, 220 + 7 * number, 0.004 * (number - 4), light);
            const double unitsPerPel = polarity == 0 ? 1.0 : 0.37 * polarity;
            qvPelBuffer_const<unsigned char> image = painted(wafer);
            if (polarity == 1) image.clientFromImageXform(frame(unitsPerPel, 0.011, false, 1000.0, -500.0));
            if (polarity == 2) image.clientFromImageXform(frame(unitsPerPel, -0.02, true, -7.25, 1e4));
            image.offset(3 * mode - 2, 5 * polarity);
            scenes.push_back({std::string("wafer ") + kModeNames[mode] + " " + kPolarityNames[polarity], image,
                              paramsFor(wafer, unitsPerPel, kModes[mode], kPolarities[polarity], 7 + 2 * number)});
        }
    // Found in an image this small as well, by the mode that asks least of it.
    const Wafer little = fixedWafer(61, 96, 0.01, false);
    scenes.push_back(
        {"wafer small", painted(little), paramsFor(little, 1.0, Defs::eCoarseRidgeWafer, Defs::eDarkOnLight, 30)});
    const Wafer tiny = fixedWafer(40, 47, 0.0, true);
    scenes.push_back({"tiny", painted(tiny), paramsFor(tiny, 1.0, Defs::eRidgeWafer, Defs::eAnyPolarity, 3)});
    for (int mode = 0; mode < 3; ++mode) {
        Wafer noise = fixedWafer(170 + 20 * mode, 150 - 11 * mode, 0.0, false);
        const auto params = paramsFor(noise, 1.0, kModes[mode], kPolarities[mode], 5);
        noise.dieGrey = noise.streetGrey = 128.0;
        noise.noise = 127.0;
        scenes.push_back({std::string("noise ") + kModeNames[mode], painted(noise), params});
    }
    const Wafer blank = fixedWafer(200, 130, 0.0, false);
    scenes.push_back({"blank", painted(200, 130, [](long, long) { return static_cast<unsigned char>(77); }),
                      paramsFor(blank, 1.0, Defs::eEdgePairWafer, Defs::eAnyPolarity, 4)});
    return scenes;
}

// --- Text.

void append(std::string& text, const qvVector<2>& point) { text += hexOf(point.x()) + hexOf(point.y()); }

void append(std::string& text, const std::vector<qvLineSeg>& segments) {
    text += "[";
    for (const qvLineSeg& segment : segments) {
        append(text, segment.p1());
        append(text, segment.p2());
    }
    text += "]";
}

template <typename Result>
std::string hexOfList(const std::vector<Result>& results) {
    std::string text = std::to_string(results.size()) + "{";
    for (const Result& result : results) text += hexOf(result) + "\n";
    return text + "}";
}

}  // namespace

const std::vector<SoakScene>& soakScenes() {
    static const std::vector<SoakScene> scenes = makeScenes();
    return scenes;
}

SoakScene soakScene(std::uint64_t number) {
    RandomStream random(number * 2 + 1);
    const auto mode = static_cast<int>(number % 3);
    const auto polarity = static_cast<int>(number / 3 % 3);
    const auto kind = static_cast<int>(number / 9 % 8);
    Wafer wafer;
    wafer.width = 40 + random.below(261);
    wafer.height = 40 + random.below(261);
    const auto shorter = static_cast<double>(std::min(wafer.width, wafer.height));
    const double slope = random.uniform(-0.05, 0.05);
    const double pitchX = random.uniform(0.3, 0.9) * static_cast<double>(wafer.width);
    const double pitchY = random.uniform(0.3, 0.9) * static_cast<double>(wafer.height);
    const double widest = std::min({24.0, pitchX / 3.0, pitchY / 3.0, std::max(5.0, shorter / 8.0)});
    wafer.flat = {slope, random.uniform(0.0, pitchY), pitchY, random.uniform(4.0, std::max(4.5, widest))};
    wafer.upright = {-slope + random.uniform(-0.01, 0.01), random.uniform(0.0, pitchX), pitchX,
                     random.uniform(4.0, std::max(4.5, widest))};
    const bool light = polarity == 2 || (polarity == 0 && random.below(2) == 1);
    wafer.dieGrey = light ? random.uniform(60.0, 110.0) : random.uniform(130.0, 190.0);
    wafer.streetGrey = light ? random.uniform(140.0, 240.0) : random.uniform(10.0, 100.0);
    wafer.noise = random.uniform(0.0, 12.0);
    wafer.seed = number;

    const double unitsPerPel = random.below(3) == 0 ? random.uniform(0.05, 12.0) : 1.0;
    const bool mirrored = random.below(4) == 0;
    const double halfTangent = random.below(3) == 0 ? random.uniform(-0.04, 0.04) : 0.0;
    const double tx = random.below(2) == 0 ? random.uniform(-1000.0, 1000.0) : 0.0;
    const double ty = random.uniform(-100.0, 100.0);
    const auto params =
        paramsFor(wafer, unitsPerPel, kModes[mode], kPolarities[polarity], 1 + random.below(random.below(3) + 20));
    const char* name = "wafer";
    if (kind == 6) {
        name = "noise";
        wafer.streetGrey = wafer.dieGrey;
        wafer.noise = 100.0;
    }
    qvPelBuffer_const<unsigned char> image;
    if (kind == 7) {
        name = "blank";
        const auto grey = static_cast<unsigned char>(random.below(256));
        image = painted(wafer.width, wafer.height, [grey](long, long) { return grey; });
    } else {
        image = painted(wafer);
    }
    image.clientFromImageXform(frame(unitsPerPel, halfTangent, mirrored, tx, ty));
    // One after the other: compilers differ in the order in which they work out arguments.
    const long left = random.below(41) - 20;
    const long top = random.below(41) - 20;
    image.offset(left, top);
    return {std::string(name) + " " + std::to_string(number) + " " + kModeNames[mode] + " " + kPolarityNames[polarity],
            image, params};
}

SoakStrip soakStrip(std::uint64_t number) {
    RandomStream random(number * 2 + 2);
    const bool vertical = number % 2 == 1;
    const bool masked = number / 2 % 2 == 1;
    const long length = 90 + random.below(211);
    // A mask of a street along the columns needs a square picture.
    const long across = vertical && masked ? length : 20 + random.below(41);
    const long streetWidth = 8 + random.below(12);
    const long minLength = 16 + random.below(24);
    const int kind = static_cast<int>(number / 4 % 6);  // 0: all blank, 1: no blank stretch
    const long begin = random.below(static_cast<int>(length / 3));
    const long end = std::min(length, begin + minLength + 10 + random.below(static_cast<int>(length / 2)));
    const int blankGrey = 30 + random.below(196);
    const int noise = 1 + random.below(5);
    const auto tone = [=](long along, long side) {
        const std::uint64_t bits = randomBits(number, static_cast<std::uint64_t>(along * 512 + side));
        const int ripple = static_cast<int>(bits >> 40) % noise;
        const bool isBlank = kind == 0 || (kind != 1 && along >= begin && along < end);
        if (isBlank) return static_cast<unsigned char>(blankGrey + ripple);
        const int bar = static_cast<int>(randomBits(number + 77, static_cast<std::uint64_t>(along / 3)) >> 40) % 200;
        return static_cast<unsigned char>(20 + bar + ripple);
    };
    const auto picture = [vertical](long rows, long columns, const auto& pelAt) {
        return vertical ? painted(columns, rows, [&](long column, long row) { return pelAt(row, column); })
                        : painted(rows, columns, [&](long column, long row) { return pelAt(column, row); });
    };
    qvPelBuffer_const<unsigned char> image = picture(length, across, tone);
    qvPelBuffer_const<unsigned char> mask;
    if (masked) {
        // The mask of a street along the columns has columns for the image's rows.
        const long forbidden = begin + (end - begin) / 2;
        mask = painted(image.width(), image.height(), [=](long column, long) {
            return static_cast<unsigned char>(column >= forbidden && column < forbidden + 9 ? 0 : 255);
        });
    }
    const long dx = random.below(31) - 15;
    image.offset(dx, 4);
    if (masked) mask.offset(dx, 4);
    std::vector<double> weights(256);
    for (std::size_t grey = 0; grey < weights.size(); ++grey) weights[grey] = 1.0 - static_cast<double>(grey) / 512.0;
    return {"strip " + std::to_string(number), image, mask,
            qvStreetBlankRegionFinderParams(streetWidth, minLength, 1 + random.below(5), weights,
                                            vertical ? BlankDefs::eVertical : BlankDefs::eHorizontal)};
}

SoakOutcome soakSearches(qvStreetFinder& finder) {
    SoakOutcome outcome;
    finder.getAngles(1000, outcome.angles);
    finder.find(outcome.crossings);
    finder.findSingleStreet(outcome.streets);
    return outcome;
}

SoakOutcome soakRun(qvStreetFinder& finder, const qvPelBuffer_const<unsigned char>& image) {
    std::string refusal;
    try {
        finder.setImage(image);
    } catch (const qvPel::BadSize& error) {
        refusal = error.what();
    }
    SoakOutcome outcome = soakSearches(finder);
    outcome.refusal = refusal;
    return outcome;
}

SoakOutcome soakRun(const SoakScene& scene) {
    qvStreetFinder finder(scene.params);
    return soakRun(finder, scene.image);
}

qvStreetBlankRegionFinderResultSet soakRun(const SoakStrip& strip) {
    qvStreetBlankRegionFinderResultSet results;
    if (strip.mask.isBound())
        qfStreetBlankRegionFinderRun(strip.image, strip.mask, strip.params, results, nullptr, 0);
    else
        qfStreetBlankRegionFinderRun(strip.image, strip.params, results, nullptr, 0);
    return results;
}

std::string hexDigits(std::uint64_t bits) {
    std::string text(16, '0');
    for (std::size_t digit = 0; digit < 16; ++digit) text[digit] = "0123456789abcdef"[bits >> (60 - 4 * digit) & 15];
    return text;
}

std::string hexOf(double value) {
    if (std::isnan(value)) return "nan ";
    std::uint64_t bits = 0;
    std::memcpy(&bits, &value, sizeof bits);
    return hexDigits(bits) + " ";
}

std::string hexOf(const qvStreetFinderStreetCrossResult& result) {
    std::string text;
    for (const qvVector<2>& point :
         {result.crossing(), result.ulCorner(), result.urCorner(), result.llCorner(), result.lrCorner()})
        append(text, point);
    text += hexOf(result.score()) + hexOf(result.horizontalAngle().toDouble()) +
            hexOf(result.verticalAngle().toDouble()) + std::to_string(result.statusFlags());
    append(text, result.lineSegs());
    return text;
}

std::string hexOf(const qvStreetFinderSingleStreetResult& result) {
    std::string text = hexOf(result.score()) + hexOf(result.angle().toDouble()) + std::to_string(result.statusFlags());
    append(text, result.lineSegs());
    return text;
}

std::string hexOf(const std::vector<qvRadian>& angles) {
    std::string text = std::to_string(angles.size()) + "{";
    for (const qvRadian angle : angles) text += hexOf(angle.toDouble()) + "\n";
    return text + "}";
}

std::string hexOf(const std::vector<qvStreetFinderStreetCrossResult>& results) { return hexOfList(results); }
std::string hexOf(const std::vector<qvStreetFinderSingleStreetResult>& results) { return hexOfList(results); }

std::string hexOf(const SoakOutcome& outcome) {
    return outcome.refusal + hexOf(outcome.angles) + hexOf(outcome.crossings) + hexOf(outcome.streets);
}

std::string hexOf(const qvStreetBlankRegionFinderResultSet& results) {
    std::string text = std::to_string(results.numResults()) + "{";
    for (const qvStreetBlankRegionFinderResult& result : results.results()) {
        const qvPelRect& rect = result.blankRect();
        text += hexOf(result.score()) + hexOf(result.blanknessScore());
        for (const long number : {rect.ul().first, rect.ul().second, rect.width(), rect.height()})
            text += " " + std::to_string(number);
        text += "\n";
    }
    return text + "}";
}

std::uint64_t hashOf(const std::string& text, std::uint64_t before) {
    std::uint64_t hash = before;
    for (const char letter : text) hash = (hash ^ static_cast<unsigned char>(letter)) * 1099511628211u;
    return hash;
}

}  // namespace qvtest
