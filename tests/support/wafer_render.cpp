#include "tests/support/wafer_render.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <utility>

#include "tests/support/wafer_artwork.h"
#include "tests/support/wafer_random.h"

namespace qvtest {

namespace {

/// Beyond this many sigmas a blurred border is flat to 3e-7 of its contrast.
constexpr double reachInSigmas = 5.0;
constexpr unsigned char paddingByte = 0xA5;

/// A pel's square seen along the border's normal: the border response is averaged over an interval of the longer of
/// |cos|, |sin| and then over one of the shorter.
struct PelFootprint {
    double longer;
    double shorter;
};

/// Share of the square beyond an unblurred border at distance d.
double sharpResponse(double d, const PelFootprint& foot) {
    const double inner = (foot.longer - foot.shorter) / 2.0;
    const double outer = (foot.longer + foot.shorter) / 2.0;
    const double magnitude = std::abs(d);
    double beyond = 1.0;
    if (magnitude <= inner) {
        beyond = 0.5 + magnitude / foot.longer;
    } else if (magnitude < outer) {
        beyond = 1.0 - (outer - magnitude) * (outer - magnitude) / (2.0 * foot.longer * foot.shorter);
    }
    return d < 0.0 ? 1.0 - beyond : beyond;
}

/// Integral of the Gaussian distribution function from minus infinity to d.
double distributionIntegral(double d, double sigma) {
    const double z = d / sigma;
    const double distribution = 0.5 * std::erfc(-z * 0.7071067811865476);
    const double density = 0.3989422804014327 * std::exp(-0.5 * z * z);
    return sigma * (z * distribution + density);
}

double blurredResponse(double d, double sigma, const PelFootprint& foot) {
    const auto overLonger = [&](double at) {
        return (distributionIntegral(at + foot.longer / 2.0, sigma) -
                distributionIntegral(at - foot.longer / 2.0, sigma)) /
               foot.longer;
    };
    constexpr int intervals = 32;  // Simpson's rule; the integrand has no feature shorter than sigma >= 0.1
    double sum = overLonger(d - foot.shorter / 2.0) + overLonger(d + foot.shorter / 2.0);
    for (int i = 1; i < intervals; ++i) {
        sum += (i % 2 == 1 ? 4.0 : 2.0) * overLonger(d + foot.shorter * (static_cast<double>(i) / intervals - 0.5));
    }
    return sum / (3.0 * intervals);
}

/// Pel indices [first, last) of a row.
struct Span {
    long first;
    long last;
};

/// Where start + slope * i lies strictly within (low, high), cut to `within`.
Span spanWhere(double start, double slope, double low, double high, Span within) {
    if (std::abs(slope) < 1e-12) return start > low && start < high ? within : Span{0, 0};
    const double a = (low - start) / slope;
    const double b = (high - start) / slope;
    const double first =
        std::clamp(std::floor(std::min(a, b)), static_cast<double>(within.first), static_cast<double>(within.last));
    const double last = std::clamp(std::ceil(std::max(a, b)) + 1.0, static_cast<double>(within.first),
                                   static_cast<double>(within.last));
    return {static_cast<long>(first), static_cast<long>(last)};
}

/// Paints into a picture of grey levels.
class Canvas {
 public:
    explicit Canvas(const Scene& scene)
        : scene_(scene),
          lattice_(scene),
          across0_(scene.families[0].angleDegrees, scene.blurSigma),
          across1_(scene.families[1].angleDegrees, scene.blurSigma),
          pels_(static_cast<std::size_t>(scene.width) * static_cast<std::size_t>(scene.height),
                static_cast<float>(scene.dieGrey)) {}

    void paint(const Patch& patch) {
        const Span rows = rowsOf(patch);
        for (long j = rows.first; j < rows.last; ++j) paintRow(patch, j);
    }

    void paintStreets() {
        std::vector<double> coverage0(static_cast<std::size_t>(scene_.width));
        std::vector<double> coverage1(static_cast<std::size_t>(scene_.width));
        const double grey0 = scene_.families[0].grey;
        const double grey1 = scene_.families[1].grey;
        const double both = scene_.crossingGrey < 0.0 ? 0.5 * (grey0 + grey1) : scene_.crossingGrey;
        for (long j = 0; j < scene_.height; ++j) {
            const bool any0 = coverRow(scene_.families[0], across0_, tAt(j), lattice_.tx, coverage0);
            const bool any1 = coverRow(scene_.families[1], across1_, sAt(j), lattice_.sx, coverage1);
            if (!any0 && !any1) continue;
            float* row = rowOf(j);
            for (long i = 0; i < scene_.width; ++i) {
                const double c0 = coverage0[static_cast<std::size_t>(i)];
                const double c1 = coverage1[static_cast<std::size_t>(i)];
                const double die = static_cast<double>(row[i]);
                row[i] = static_cast<float>((1.0 - c0) * ((1.0 - c1) * die + c1 * grey1) +
                                            c0 * ((1.0 - c1) * grey0 + c1 * both));
            }
        }
    }

    void illuminate() {
        if (scene_.gradientX == 0.0 && scene_.gradientY == 0.0 && scene_.vignette == 0.0) return;
        for (long j = 0; j < scene_.height; ++j) {
            const double v = (2.0 * static_cast<double>(j) + 1.0) / static_cast<double>(scene_.height) - 1.0;
            float* row = rowOf(j);
            for (long i = 0; i < scene_.width; ++i) {
                const double u = (2.0 * static_cast<double>(i) + 1.0) / static_cast<double>(scene_.width) - 1.0;
                const double light =
                    1.0 + scene_.gradientX * u + scene_.gradientY * v - scene_.vignette * (u * u + v * v);
                row[i] = static_cast<float>(static_cast<double>(row[i]) * light);
            }
        }
    }

    std::vector<float> take() { return std::move(pels_); }

 private:
    float* rowOf(long j) { return pels_.data() + j * scene_.width; }

    /// s and t at the centre of the first pel of row j.
    double sAt(long j) const { return lattice_.s({0.5, static_cast<double>(j) + 0.5}); }
    double tAt(long j) const { return lattice_.t({0.5, static_cast<double>(j) + 0.5}); }

    Span rowsOf(const Patch& patch) const {
        double low = 1e300;
        double high = -1e300;
        for (const double s : {patch.s0 - across1_.reach(), patch.s1 + across1_.reach()}) {
            for (const double t : {patch.t0 - across0_.reach(), patch.t1 + across0_.reach()}) {
                const double y = lattice_.toImage(s, t).y;
                low = std::min(low, y);
                high = std::max(high, y);
            }
        }
        return spanWhere(0.5, 1.0, low, high, {0, scene_.height});
    }

    void paintRow(const Patch& patch, long j) {
        const double s = sAt(j);
        const double t = tAt(j);
        Span span =
            spanWhere(s, lattice_.sx, patch.s0 - across1_.reach(), patch.s1 + across1_.reach(), {0, scene_.width});
        span = spanWhere(t, lattice_.tx, patch.t0 - across0_.reach(), patch.t1 + across0_.reach(), span);
        float* row = rowOf(j);
        for (long i = span.first; i < span.last; ++i) {
            const double x = static_cast<double>(i);
            const double coverage = coverageAt(patch, s + lattice_.sx * x, t + lattice_.tx * x);
            const double under = static_cast<double>(row[i]);
            row[i] = static_cast<float>(under + coverage * (patch.grey - under));
        }
    }

    double coverageAt(const Patch& patch, double s, double t) const {
        if (patch.round) {
            const double ds = s - 0.5 * (patch.s0 + patch.s1);
            const double dt = t - 0.5 * (patch.t0 + patch.t1);
            return across0_.at(0.5 * (patch.s1 - patch.s0) - std::sqrt(ds * ds + dt * dt));
        }
        return (across1_.at(s - patch.s0) - across1_.at(s - patch.s1)) *
               (across0_.at(t - patch.t0) - across0_.at(t - patch.t1));
    }

    /// How much of each pel of a row lies in streets of the family, 0 to 1; false where none does.
    bool coverRow(const StreetFamily& family, const EdgeResponse& across, double start, double slope,
                  std::vector<double>& coverage) const {
        std::fill(coverage.begin(), coverage.end(), 0.0);
        const double half = family.widthPels / 2.0;
        bool any = false;
        for (const double offset : family.offsets) {
            const Span span = spanWhere(start, slope, offset - half - across.reach(), offset + half + across.reach(),
                                        {0, scene_.width});
            for (long i = span.first; i < span.last; ++i) {
                const double d = start + slope * static_cast<double>(i) - offset;
                coverage[static_cast<std::size_t>(i)] += across.at(d + half) - across.at(d - half);
                any = true;
            }
        }
        return any;
    }

    const Scene& scene_;
    Lattice lattice_;
    /// Borders that run along direction 0 (positions in t) and along direction 1 (positions in s).
    EdgeResponse across0_;
    EdgeResponse across1_;
    std::vector<float> pels_;
};

}  // namespace

EdgeResponse::EdgeResponse(double angleDegrees, double blurSigma) {
    if (!(blurSigma == 0.0 || (blurSigma >= 0.1 && blurSigma <= 100.0))) {
        throw std::invalid_argument("blur sigma must be 0 or in [0.1, 100]");
    }
    constexpr double pi = 3.141592653589793;
    const double c = std::abs(std::cos(angleDegrees * pi / 180.0));
    const double s = std::abs(std::sin(angleDegrees * pi / 180.0));
    const PelFootprint foot{std::max(c, s), std::min(c, s)};
    const double steps = std::ceil(((foot.longer + foot.shorter) / 2.0 + reachInSigmas * blurSigma) * stepsPerPel);
    reach_ = steps / stepsPerPel;
    last_ = 2.0 * steps;
    table_.resize(static_cast<std::size_t>(2.0 * steps) + 1);
    for (std::size_t i = 0; i < table_.size(); ++i) {
        const double d = (static_cast<double>(i) - steps) / stepsPerPel;
        table_[i] = blurSigma == 0.0 ? sharpResponse(d, foot) : blurredResponse(d, blurSigma, foot);
    }
}

std::vector<float> renderUnrounded(const Scene& scene) {
    if (scene.width <= 0 || scene.height <= 0) throw std::invalid_argument("a scene needs a size");
    Canvas canvas(scene);
    for (const Patch& patch : dieArtwork(scene)) canvas.paint(patch);
    canvas.paintStreets();
    for (const Patch& patch : streetArtwork(scene)) canvas.paint(patch);
    canvas.illuminate();
    return canvas.take();
}

GreyImage renderScene(const Scene& scene) {
    const std::vector<float> grey = renderUnrounded(scene);
    GreyImage image;
    image.width = scene.width;
    image.height = scene.height;
    image.stride = scene.width + scene.rowPadding;
    image.pels.assign(static_cast<std::size_t>(image.stride * image.height), paddingByte);
    std::uint64_t index = 0;
    for (long j = 0; j < image.height; ++j) {
        unsigned char* row = image.pels.data() + j * image.stride;
        for (long i = 0; i < image.width; ++i, ++index) {
            const double noisy = static_cast<double>(grey[index]) + scene.noiseSigma * randomNormal(scene.seed, index);
            row[i] = static_cast<unsigned char>(std::clamp(noisy + 0.5, 0.0, 255.0));
        }
    }
    return image;
}

std::uint64_t pelHash(const GreyImage& image) {
    std::uint64_t hash = 0xCBF29CE484222325u;
    for (long j = 0; j < image.height; ++j) {
        for (long i = 0; i < image.width; ++i) hash = (hash ^ image.row(j)[i]) * 0x100000001B3u;
    }
    return hash;
}

}  // namespace qvtest
