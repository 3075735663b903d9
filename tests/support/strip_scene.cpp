#include "tests/support/strip_scene.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>

#include "qvstreet/platform/pel_ops.h"
#include "tests/support/wafer_random.h"

namespace qvtest {

namespace {

constexpr int kMiddleGrey = 128;
constexpr std::uint64_t kPadStream = 0x5ADu;
constexpr std::uint64_t kNoiseStream = 0x0153u;

/// A tone darker or lighter than the middle grey by `contrast` and up to 40 more.
int tone(const StripScene& scene, std::uint64_t index) {
    const std::uint64_t bits = randomBits(scene.seed ^ (kPadStream << 32), index);
    const int distance = scene.contrast + static_cast<int>((bits >> 8) % 41);
    return (bits & 1u) == 0 ? kMiddleGrey - distance : kMiddleGrey + distance;
}

int padTone(const StripScene& scene, long x, long y) {
    return tone(scene, static_cast<std::uint64_t>(x / 5) * 4096u + static_cast<std::uint64_t>(y / 4));
}

int structureTone(const StripScene& scene, long x, long y) {
    // No two neighbouring bars are alike, and no tone is the most common one.
    constexpr std::array<int, 5> bars = {-20, 25, -35, 0, 40};
    const long bar = x / 3;
    switch (scene.structure) {
        case StripStructure::bars: {
            const int side = bar % 2 == 0 ? -1 : 1;
            return kMiddleGrey + side * (scene.contrast + std::abs(bars[static_cast<std::size_t>(bar % 5)]));
        }
        case StripStructure::checker:
            return kMiddleGrey + ((x / 4 + y / 4) % 2 == 0 ? -scene.contrast : scene.contrast);
        case StripStructure::pads:
            return padTone(scene, x, y);
    }
    return kMiddleGrey;
}

int cleanGrey(const StripScene& scene, long x, long y) {
    if (scene.dies) {
        const long top = (scene.across - scene.streetWidth) / 2;
        if (y < top || y >= top + scene.streetWidth) return padTone(scene, x, y + 100);
    }
    for (const BlankStretch& blank : scene.blanks)
        if (x >= blank.begin && x < blank.end) return blank.grey;
    return structureTone(scene, x, y);
}

std::string sceneName(const StripScene& scene) {
    constexpr std::array<const char*, 3> structures = {"bars", "checker", "pads"};
    std::string name = structures[static_cast<std::size_t>(scene.structure)];
    name += scene.vertical ? ", vertical" : ", horizontal";
    if (scene.dies) name += ", dies";
    return name + ", noise " + std::to_string(static_cast<int>(scene.noise));
}

}  // namespace

qvPelBuffer<unsigned char> renderStrip(const StripScene& scene) {
    qvPelBuffer<unsigned char> image(scene.length, scene.across, 32);
    for (long y = 0; y < scene.across; ++y) {
        for (long x = 0; x < scene.length; ++x) {
            const std::uint64_t index = static_cast<std::uint64_t>(y * scene.length + x);
            const double noise = scene.noise * randomNormal(scene.seed ^ (kNoiseStream << 32), index);
            const double grey = std::floor(cleanGrey(scene, x, y) + noise + 0.5);
            image.put(x, y, static_cast<unsigned char>(std::clamp(grey, 0.0, 255.0)));
        }
    }
    return scene.vertical ? qfPelTranspose(image) : image;
}

qvPelBuffer<unsigned char> renderStripMask(const StripScene& scene, long begin, long end) {
    qvPelBuffer<unsigned char> mask(scene.length, scene.across, 32);
    for (long y = 0; y < scene.across; ++y)
        for (long x = 0; x < scene.length; ++x)
            mask.put(x, y, static_cast<unsigned char>(x >= begin && x < end ? 0 : 255));
    return mask;
}

AlongStreet alongStreet(const StripScene& scene, const qvPelRect& rect) {
    if (scene.vertical) return {rect.ul().second, rect.lr().second};
    return {rect.ul().first, rect.lr().first};
}

double overlapAlong(const AlongStreet& a, const AlongStreet& b) {
    const long common = std::min(a.end, b.end) - std::max(a.begin, b.begin);
    const long joint = std::max(a.end, b.end) - std::min(a.begin, b.begin);
    return common <= 0 ? 0.0 : static_cast<double>(common) / static_cast<double>(joint);
}

std::vector<StripScene> stripScenes() {
    std::vector<StripScene> scenes;
    std::uint64_t seed = 100;
    for (const StripStructure structure : {StripStructure::bars, StripStructure::checker, StripStructure::pads}) {
        for (int noise = 0; noise <= 6; ++noise) {
            for (const bool vertical : {false, true}) {
                StripScene scene;
                scene.seed = ++seed;
                RandomStream random(seed);
                scene.vertical = vertical;
                scene.structure = structure;
                scene.noise = noise;
                scene.across = 36 + random.below(30);
                scene.dies = (noise + (vertical ? 1 : 0)) % 3 == 2;
                scene.streetWidth = 22 + random.below(8);
                if (scene.dies) scene.streetWidth += (scene.across - scene.streetWidth) % 2;
                // Stretches of different lengths, with structure of 30 pels and more before, between and behind.
                long x = 30 + random.below(40);
                for (int i = 0; i < 3; ++i) {
                    const long end = x + 70 + random.below(120);
                    scene.blanks.push_back({x, end, 118 + random.below(20)});
                    x = end + 30 + random.below(40);
                }
                scene.length = x;
                scene.name = sceneName(scene);
                scenes.push_back(scene);
            }
        }
    }
    for (const int grey : {0, 128, 255}) {
        for (const bool vertical : {false, true}) {
            StripScene scene;
            scene.vertical = vertical;
            scene.length = vertical ? 210 : 330;
            scene.across = vertical ? 33 : 40;
            scene.blanks = {{0, scene.length, grey}};
            scene.name = std::string("uniform ") + std::to_string(grey) + (vertical ? ", vertical" : ", horizontal");
            scenes.push_back(scene);
        }
    }
    return scenes;
}

}  // namespace qvtest
