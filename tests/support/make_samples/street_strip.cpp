#include "tests/support/make_samples/street_strip.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <iterator>
#include <vector>

#include "tests/support/wafer_random.h"
#include "tests/support/wafer_scene.h"

// The dies and the ground of the street come from the wafer renderer, without noise. The structures are boxes with
// sides along the rows and columns, so each is painted as the product of two blurred intervals; then come noise and
// rounding. All lengths are in pels of the image.

namespace qvtest {

namespace {

constexpr long kWidth = 2048;
constexpr long kHeight = 136;
constexpr double kStreetWidth = 64.0;
constexpr double kStreetTop = 36.0;
constexpr double kStreetGrey = 74.0;
constexpr double kBlur = 0.8;
constexpr double kNoise = 1.6;
constexpr std::uint64_t kSeed = 71;

struct Box {
    double x0, x1, y0, y1;
    double grey;
};

/// The structures between one blank stretch and the next.
struct Group {
    double start;
    double end;
};

// Unequal groups and gaps. The image's sides cut the first and the last group. The shortest blank stretch, from 1410 to
// 1496, is too short to be reported.
constexpr Group kGroups[] = {{-16, 232}, {560, 842}, {1062, 1410}, {1496, 1590}, {1968, 2062}};
constexpr long kMinLength = 110;

Scene ground() {
    Scene scene;
    scene.width = kWidth;
    scene.height = kHeight;
    // Offsets count from the image's centre.
    const double middle = kStreetTop + kStreetWidth / 2.0 - static_cast<double>(kHeight) / 2.0;
    scene.families[0] = evenFamily(0.0, middle, 1.0, 1, kStreetWidth, kStreetGrey);
    scene.families[1] = evenFamily(90.0, -880.0, 574.0, 4, 52.0, kStreetGrey);
    scene.dieGrey = 138.0;
    scene.dieArtwork = DieArtwork::circuit;
    scene.dieArtworkContrast = 1.4;
    scene.blurSigma = kBlur;
    scene.noiseSigma = 0.0;
    scene.seed = kSeed;
    return scene;
}

/// Probe pads as large as the street allows, each with its opening and the mark that a needle left.
void addPad(double x, RandomStream& random, std::vector<Box>& boxes) {
    const double top = kStreetTop + 12.0;
    const double grey = random.uniform(176.0, 196.0);
    boxes.push_back({x, x + 40.0, top, top + 40.0, grey});
    boxes.push_back({x + 4.0, x + 36.0, top + 4.0, top + 36.0, grey + 22.0});
    const double needleX = x + random.uniform(12.0, 22.0);
    const double needleY = top + random.uniform(10.0, 20.0);
    boxes.push_back({needleX, needleX + 7.0, needleY, needleY + 4.0, grey - 70.0});
}

/// Two bars with teeth between them.
void addComb(double x, std::vector<Box>& boxes) {
    const double top = kStreetTop + 10.0;
    boxes.push_back({x, x + 34.0, top, top + 4.0, 168.0});
    boxes.push_back({x, x + 34.0, top + 40.0, top + 44.0, 168.0});
    for (int tooth = 0; tooth < 6; ++tooth) {
        const double left = x + 2.0 + 5.5 * tooth;
        const double shift = tooth % 2 == 0 ? 4.0 : 8.0;
        boxes.push_back({left, left + 2.5, top + shift, top + shift + 32.0, 156.0});
    }
}

/// A cross in a frame.
void addMark(double x, std::vector<Box>& boxes) {
    const double top = kStreetTop + 14.0;
    boxes.push_back({x, x + 36.0, top, top + 36.0, 52.0});
    boxes.push_back({x + 15.0, x + 21.0, top + 4.0, top + 32.0, 182.0});
    boxes.push_back({x + 4.0, x + 32.0, top + 15.0, top + 21.0, 182.0});
}

/// Side by side from the group's start; the last is set against its end, so that the group ends where it says.
std::vector<Box> structuresOf(const Group& group, RandomStream& random) {
    std::vector<Box> boxes;
    double x = group.start;
    for (int i = 0; x + 48.0 <= group.end - 40.0; ++i) {
        if (i % 3 == 1) {
            addComb(x, boxes);
            x += 34.0;
        } else if (i % 5 == 2) {
            addMark(x, boxes);
            x += 36.0;
        } else {
            addPad(x, random, boxes);
            x += 40.0;
        }
        x += random.uniform(8.0, 14.0);
    }
    addPad(group.end - 40.0, random, boxes);
    return boxes;
}

/// How much of the pel at `i` lies between two borders.
double coverage(const EdgeResponse& edge, double low, double high, long i) {
    const double centre = static_cast<double>(i) + 0.5;
    return edge.at(centre - low) - edge.at(centre - high);
}

void paint(const Box& box, const EdgeResponse& edge, std::vector<float>& pels) {
    const double reach = edge.reach() + 1.0;
    const long left = std::max(0L, static_cast<long>(box.x0 - reach));
    const long right = std::min(kWidth, static_cast<long>(box.x1 + reach));
    const long top = static_cast<long>(box.y0 - reach);
    const long bottom = static_cast<long>(box.y1 + reach);
    for (long j = top; j < bottom; ++j) {
        const double down = coverage(edge, box.y0, box.y1, j);
        for (long i = left; i < right; ++i) {
            float& pel = pels[static_cast<std::size_t>(j * kWidth + i)];
            const double part = down * coverage(edge, box.x0, box.x1, i);
            pel = static_cast<float>((1.0 - part) * static_cast<double>(pel) + part * box.grey);
        }
    }
}

}  // namespace

GreyImage streetStrip() {
    std::vector<float> pels = renderUnrounded(ground());
    const EdgeResponse edge(0.0, kBlur);
    RandomStream random(kSeed);
    for (const Group& group : kGroups) {
        for (const Box& box : structuresOf(group, random)) paint(box, edge, pels);
    }
    GreyImage image;
    image.width = kWidth;
    image.height = kHeight;
    image.stride = kWidth;
    image.pels.resize(pels.size());
    for (std::size_t i = 0; i < pels.size(); ++i) {
        const double grey = static_cast<double>(pels[i]) + kNoise * randomNormal(kSeed, i);
        image.pels[i] = static_cast<unsigned char>(std::clamp(std::floor(grey + 0.5), 0.0, 255.0));
    }
    return image;
}

std::string streetStripTruth() {
    std::string regions;
    for (std::size_t i = 0; i + 1 < std::size(kGroups); ++i) {
        const long start = static_cast<long>(kGroups[i].end);
        const long length = static_cast<long>(kGroups[i + 1].start) - start;
        if (length < kMinLength) continue;
        regions += regions.empty() ? "" : ",\n";
        regions += "    {\"x\": " + std::to_string(start) +
                   ", \"y\": " + std::to_string(static_cast<long>(kStreetTop)) +
                   ", \"width\": " + std::to_string(length) +
                   ", \"height\": " + std::to_string(static_cast<long>(kStreetWidth)) + "}";
    }
    const std::string width = std::to_string(static_cast<long>(kStreetWidth));
    return "{\n  \"image\": \"street_strip.png\",\n  \"about\": \"One street, " + width +
           " pels wide, with probe pads, combs and alignment marks in groups; three long blank stretches between "
           "them\",\n  \"frame\": \"Pel (i, j) covers [i, i+1) by [j, j+1); x right, y down; lengths in pels. Listed "
           "from "
           "the left.\",\n  \"command\": \"qvstreet blank examples/images/street_strip.png --street-width " +
           width + " --min-length " + std::to_string(kMinLength) + "\",\n  \"width\": " + std::to_string(kWidth) +
           ",\n  \"height\": " + std::to_string(kHeight) + ",\n  \"blankRegions\": [\n" + regions + "\n  ]\n}\n";
}

}  // namespace qvtest
