#include "tests/support/wafer_artwork.h"

#include <algorithm>
#include <cmath>

#include "tests/support/wafer_random.h"

// Artwork is laid out in the lattice frame, in pels, for one die with its upper left corner at (0, 0), and then set
// into every die. Sizes grow with the die (`unit`), as they would under a stronger objective. Of two random numbers in
// one expression each compiler draws its own first, so no call takes two.

namespace qvtest {

namespace {

constexpr std::uint64_t dieStream = 0x64696573u;
constexpr std::uint64_t streetStream = 0x73747265u;

/// Artwork keeps this far from a street's edge, so that blurred surfaces do not overlap and the edge stays an edge
/// between two plain levels. Streets leave less room than dies.
double dieClearance(const Scene& scene) { return 3.0 + 5.0 * scene.blurSigma; }
double streetClearance(const Scene& scene) { return 1.5 + 4.0 * scene.blurSigma; }

struct Box {
    double s0, s1, t0, t1;
    double width() const { return s1 - s0; }
    double height() const { return t1 - t0; }
    Box inset(double by) const { return {s0 + by, s1 - by, t0 + by, t1 - by}; }
};

/// Collects the patches of one die.
class DiePainter {
 public:
    DiePainter(const Scene& scene, double width, double height)
        : scene_(scene),
          random_(scene.seed * 977 + dieStream),
          die_{0.0, width, 0.0, height},
          unit_(std::clamp(std::min(width, height) / 260.0, 1.0, 4.0)) {}

    std::vector<Patch> paint() {
        const Box ground = die_.inset(dieClearance(scene_));
        if (ground.width() < 12.0 || ground.height() < 12.0) return patches_;
        if (scene_.dieArtwork == DieArtwork::blocks) paintBlocks(ground.inset(6.0 * unit_));
        if (scene_.dieArtwork == DieArtwork::circuit) paintCircuit(ground);
        return patches_;
    }

 private:
    void add(const Box& box, double delta, bool round = false) {
        if (box.width() <= 0.0 || box.height() <= 0.0) return;
        patches_.push_back({box.s0, box.s1, box.t0, box.t1, scene_.dieGrey + delta * scene_.dieArtworkContrast, round});
    }

    void addFrame(const Box& box, double line, double delta) {
        add({box.s0, box.s1, box.t0, box.t0 + line}, delta);
        add({box.s0, box.s1, box.t1 - line, box.t1}, delta);
        add({box.s0, box.s0 + line, box.t0 + line, box.t1 - line}, delta);
        add({box.s1 - line, box.s1, box.t0 + line, box.t1 - line}, delta);
    }

    void paintBlocks(const Box& core) {
        if (core.width() < 20.0 || core.height() < 20.0) return;
        for (int i = 0; i < 5; ++i) {
            const double s = random_.uniform(core.s0, core.s1 - core.width() / 4.0);
            const double t = random_.uniform(core.t0, core.t1 - core.height() / 4.0);
            const double width = random_.uniform(core.width() / 5.0, core.s1 - s);
            const double height = random_.uniform(core.height() / 5.0, core.t1 - t);
            add({s, s + width, t, t + height}, random_.uniform(-16.0, 16.0));
        }
    }

    void paintCircuit(const Box& ground) {
        addFrame(ground, 1.6 * unit_, -16.0);
        const double pad = 8.0 * unit_;
        const Box padRing = ground.inset(4.0 * unit_);
        paintPads(padRing, pad);
        const Box core = padRing.inset(pad + 5.0 * unit_);
        if (core.width() > 16.0 && core.height() > 16.0) split(core, 0);
    }

    void paintPads(const Box& ring, double pad) {
        const double pitch = 1.9 * pad;
        const auto countAlong = [&](double length) {
            return std::max(0, static_cast<int>((length - 2.5 * pad) / pitch));
        };
        const int columns = countAlong(ring.width());
        const int rows = countAlong(ring.height());
        const double firstS = ring.s0 + 0.5 * (ring.width() - (columns - 1) * pitch - pad);
        const double firstT = ring.t0 + 0.5 * (ring.height() - (rows - 1) * pitch - pad);
        for (int i = 0; i < columns; ++i) {
            paintPad(firstS + i * pitch, ring.t0, pad);
            paintPad(firstS + i * pitch, ring.t1 - pad, pad);
        }
        for (int i = 0; i < rows; ++i) {
            paintPad(ring.s0, firstT + i * pitch, pad);
            paintPad(ring.s1 - pad, firstT + i * pitch, pad);
        }
    }

    void paintPad(double s, double t, double pad) {
        if (random_.below(11) == 0) return;  // here and there a place without a pad
        const Box box{s, s + pad, t, t + pad};
        add(box, -22.0);
        add(box.inset(unit_), 58.0);
        const double mark = 0.3 * pad;  // the scratch that a probe needle leaves
        const double markS = s + random_.uniform(0.2 * pad, 0.5 * pad);
        const double markT = t + random_.uniform(0.2 * pad, 0.5 * pad);
        add({markS, markS + mark, markT, markT + mark}, 22.0, true);
    }

    /// Cuts the core into blocks with a wiring channel between them, until they are small enough for one function.
    void split(const Box& box, int depth) {
        const double channel = 3.0 * unit_;
        const double longSide = std::max(box.width(), box.height());
        const bool small = longSide < 55.0 * unit_ || std::min(box.width(), box.height()) < 20.0 * unit_;
        if (small || depth >= 5 || (depth >= 2 && random_.below(4) == 0)) return paintFunction(box);
        const double at = random_.uniform(0.34, 0.66);
        if (box.width() > box.height()) {
            const double s = box.s0 + at * box.width();
            split({box.s0, s - channel / 2.0, box.t0, box.t1}, depth + 1);
            split({s + channel / 2.0, box.s1, box.t0, box.t1}, depth + 1);
        } else {
            const double t = box.t0 + at * box.height();
            split({box.s0, box.s1, box.t0, t - channel / 2.0}, depth + 1);
            split({box.s0, box.s1, t + channel / 2.0, box.t1}, depth + 1);
        }
    }

    void paintFunction(const Box& box) {
        const int kind = random_.below(8);
        if (kind <= 1) return paintMemory(box);
        if (kind <= 4) return paintLogic(box);
        if (kind == 5) return paintAnalog(box);
        if (kind == 6) return paintWiring(box);
        add(box, random_.uniform(-26.0, 14.0));
    }

    void paintMemory(const Box& box) {
        const double ground = random_.uniform(-24.0, -6.0);
        add(box, ground);
        const double line = 1.5 * unit_;
        const double pitch = (3.5 + random_.below(3)) * unit_;
        const double bright = ground + random_.uniform(12.0, 22.0);
        const Box inner = box.inset(2.0 * unit_);
        const int banks = 2 + random_.below(2);
        for (int bank = 0; bank < banks; ++bank) {
            const double from = inner.s0 + bank * inner.width() / banks;
            const double to = from + inner.width() / banks - 3.0 * unit_;
            for (double t = inner.t0; t + line < inner.t1; t += pitch) add({from, to, t, t + line}, bright);
        }
    }

    /// Rows of cells of different length, as a place-and-route program lays them.
    void paintLogic(const Box& box) {
        const double ground = random_.uniform(-14.0, 4.0);
        add(box, ground);
        const double row = (5.0 + random_.below(3)) * unit_;
        for (double t = box.t0 + unit_; t + row < box.t1; t += row) {
            double s = box.s0 + unit_;
            while (true) {
                const double length = random_.uniform(3.0, 13.0) * unit_;
                if (s + length > box.s1 - unit_) break;
                const double height = row - random_.uniform(1.5, 3.5) * unit_;
                add({s, s + length, t, t + height}, ground + random_.uniform(-22.0, 26.0));
                s += length + random_.uniform(1.0, 4.0) * unit_;
            }
        }
    }

    void paintAnalog(const Box& box) {
        const double ground = random_.uniform(-10.0, 10.0);
        add(box, ground);
        const int count = 3 + random_.below(3);
        for (int i = 0; i < count; ++i) {
            const double side = random_.uniform(0.2, 0.45) * std::min(box.width(), box.height());
            const double s = random_.uniform(box.s0 + unit_, box.s1 - side - unit_);
            const double t = random_.uniform(box.t0 + unit_, box.t1 - side - unit_);
            const Box device{s, s + side, t, t + side};
            add(device, ground - 20.0);
            const double tone = ground + random_.uniform(5.0, 30.0);
            add(device.inset(1.5 * unit_), tone, random_.below(4) == 0);
        }
    }

    void paintWiring(const Box& box) {
        const double ground = random_.uniform(-18.0, -4.0);
        add(box, ground);
        const double pitch = (4.0 + random_.below(2)) * unit_;
        const double line = 0.45 * pitch;
        const bool alongS = box.width() > box.height();
        const double length = alongS ? box.width() : box.height();
        const double across = alongS ? box.height() : box.width();
        for (double offset = unit_; offset + line < across; offset += pitch) {
            const double from = random_.uniform(0.0, 0.3) * length;
            const double to = random_.uniform(0.7, 1.0) * length;
            const Box wire = alongS ? Box{box.s0 + from, box.s0 + to, box.t0 + offset, box.t0 + offset + line}
                                    : Box{box.s0 + offset, box.s0 + offset + line, box.t0 + from, box.t0 + to};
            add(wire, ground + 26.0);
        }
    }

    const Scene& scene_;
    RandomStream random_;
    Box die_;
    double unit_;
    std::vector<Patch> patches_;
};

/// Puts test structures into one street, laid out along `u` (along the street) and `v` (across, 0 on the centre line).
class StreetPainter {
 public:
    StreetPainter(const Scene& scene, int direction, double offset, std::uint64_t seed, std::vector<Patch>& patches)
        : scene_(scene),
          family_(scene.families[static_cast<std::size_t>(direction)]),
          direction_(direction),
          offset_(offset),
          room_(family_.widthPels / 2.0 - streetClearance(scene)),
          random_(seed),
          patches_(patches) {}

    void paint(const Gap& stretch) {
        if (room_ < 1.5) return;  // too narrow for anything that is clear of both edges
        const double from = stretch.low + 2.0 * dieClearance(scene_);
        const double to = stretch.high - 2.0 * dieClearance(scene_);
        if (scene_.streetArtwork == StreetArtwork::fewPads) {
            const double start = random_.uniform(from, 0.5 * (from + to));
            paintPadRow(start, to, 3 + random_.below(3));
            return;
        }
        double u = from + random_.uniform(0.0, 2.0 * room_);
        while (u < to) {
            u = random_.below(3) == 0 ? paintComb(u, to) : paintPadRow(u, to, 3 + random_.below(6));
            u += random_.uniform(2.0, 9.0) * room_;
        }
    }

    void paintMark(double crossing) {
        if (room_ < 2.5) return;
        const double line = std::max(1.2, 0.22 * room_);
        add(crossing - room_, crossing + room_, -line, line, 0.6);
        add(crossing - line, crossing + line, -room_, room_, 0.6);
    }

 private:
    /// `tone` 0 is the street's own grey, 1 that of the dies.
    void add(double u0, double u1, double v0, double v1, double tone) {
        const double grey = family_.grey + tone * scene_.streetArtworkContrast * (scene_.dieGrey - family_.grey);
        if (direction_ == 0) {
            patches_.push_back({u0, u1, offset_ + v0, offset_ + v1, grey, false});
        } else {
            patches_.push_back({offset_ + v0, offset_ + v1, u0, u1, grey, false});
        }
    }

    double paintPadRow(double u, double end, int count) {
        const double half = std::min(room_, 9.0);
        for (int i = 0; i < count && u + 2.0 * half < end; ++i) {
            add(u, u + 2.0 * half, -half, half, 0.45);
            add(u + 1.0, u + 2.0 * half - 1.0, -half + 1.0, half - 1.0, 0.95);
            u += 3.2 * half;
        }
        return u;
    }

    double paintComb(double u, double end) {
        const int teeth = 5 + random_.below(6);
        for (int i = 0; i < teeth && u + 2.0 < end; ++i) {
            add(u, u + 1.8, -room_, room_, 0.55);
            u += 4.0;
        }
        return u;
    }

    const Scene& scene_;
    const StreetFamily& family_;
    int direction_;
    double offset_;
    double room_;
    RandomStream random_;
    std::vector<Patch>& patches_;
};

}  // namespace

std::vector<Gap> gapsOf(const Scene& scene, int direction) {
    const StreetFamily& family = scene.families[static_cast<std::size_t>(direction)];
    const Lattice lattice(scene);
    double low = 1e300;
    double high = -1e300;
    for (const double x : {0.0, static_cast<double>(scene.width)}) {
        for (const double y : {0.0, static_cast<double>(scene.height)}) {
            const double position = direction == 0 ? lattice.t({x, y}) : lattice.s({x, y});
            low = std::min(low, position);
            high = std::max(high, position);
        }
    }
    if (family.offsets.empty()) return {{low, high}};
    const double half = family.widthPels / 2.0;
    std::vector<Gap> gaps;
    for (std::size_t i = 0; i + 1 < family.offsets.size(); ++i) {
        gaps.push_back({family.offsets[i] + half, family.offsets[i + 1] - half});
    }
    // The outermost dies are as large as their neighbours wherever that reaches the image's corners.
    const double firstSize = gaps.empty() ? 0.0 : gaps.front().high - gaps.front().low;
    const double lastSize = gaps.empty() ? 0.0 : gaps.back().high - gaps.back().low;
    const double firstEnd = family.offsets.front() - half;
    const double lastStart = family.offsets.back() + half;
    gaps.insert(gaps.begin(), {std::min(low, firstEnd - firstSize), firstEnd});
    gaps.push_back({lastStart, std::max(high, lastStart + lastSize)});
    return gaps;
}

std::vector<Patch> dieArtwork(const Scene& scene) {
    std::vector<Patch> patches;
    if (scene.dieArtwork == DieArtwork::plain) return patches;
    for (const Gap& t : gapsOf(scene, 0)) {
        for (const Gap& s : gapsOf(scene, 1)) {
            // Sizes in whole pels: dies that differ only by rounding of their offsets carry the same artwork.
            DiePainter painter(scene, std::floor(s.high - s.low + 1e-6), std::floor(t.high - t.low + 1e-6));
            for (Patch patch : painter.paint()) {
                patch.s0 += s.low;
                patch.s1 += s.low;
                patch.t0 += t.low;
                patch.t1 += t.low;
                patches.push_back(patch);
            }
        }
    }
    return patches;
}

std::vector<Patch> streetArtwork(const Scene& scene) {
    std::vector<Patch> patches;
    if (scene.streetArtwork == StreetArtwork::none) return patches;
    std::uint64_t seed = scene.seed * 1009 + streetStream;
    for (int direction = 0; direction < 2; ++direction) {
        const StreetFamily& family = scene.families[static_cast<std::size_t>(direction)];
        for (const double offset : family.offsets) {
            StreetPainter painter(scene, direction, offset, ++seed, patches);
            for (const Gap& stretch : gapsOf(scene, 1 - direction)) painter.paint(stretch);
            if (direction == 0 && scene.streetArtwork == StreetArtwork::manyPads) {
                for (const double crossing : scene.families[1].offsets) painter.paintMark(crossing);
            }
        }
    }
    return patches;
}

}  // namespace qvtest
