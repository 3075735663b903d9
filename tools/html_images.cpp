// Pictures as data: URLs. In: 8-bit images of any size. Out: grey PNGs in base64 whose lengths together stay within a
// budget, because a page has to travel by mail. Noise does not compress, so a picture's length is only known once it is
// made: each gets a share of what is left, and is made smaller until it fits.
#include "tools/html_images.h"

#include "tools/write_png.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <string_view>

namespace qvtool {
namespace {

using Image = PageImages::Image;
using Bytes = std::vector<unsigned char>;

// About what a large screen shows, and 1.6 million characters where nothing compresses.
constexpr double kMostPels = 1.2e6;

// Browsers refuse or scale down pictures of longer sides.
constexpr double kLongestSide = 16000.0;

// The first image is the one that everything is drawn on.
constexpr std::size_t kFirstWeight = 3;

// Each attempt has about three fifths of the pels of the one before.
constexpr double kShrink = 1.3;

// No picture is made smaller than this many pels, whatever its share: it would show nothing.
constexpr double kLeastPels = 1024.0;

struct Picture {
    long width = 0;
    long height = 0;
    Bytes pels;
};

std::uint64_t hashOf(const Image& image) {
    std::uint64_t hash = 14695981039346656037U;
    for (long y = 0; y < image.height(); ++y) {
        const unsigned char* row = image.pointToRow(y);
        for (long x = 0; x < image.width(); ++x) hash = (hash ^ row[x]) * 1099511628211U;
    }
    return hash;
}

bool samePels(const Image& a, const Image& b) {
    if (a.width() != b.width() || a.height() != b.height()) return false;
    for (long y = 0; y < a.height(); ++y) {
        if (std::memcmp(a.pointToRow(y), b.pointToRow(y), static_cast<std::size_t>(a.width())) != 0) return false;
    }
    return true;
}

/// The first source pel of each target pel, and the end behind the last.
std::vector<long> boundsOf(long source, long target) {
    std::vector<long> bounds;
    for (long i = 0; i <= target; ++i) bounds.push_back(i * source / target);
    return bounds;
}

/// Each pel the mean of the pels that it stands for, rounded.
Picture reduced(const Image& image, long width, long height) {
    Picture picture{width, height, {}};
    picture.pels.reserve(static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
    const std::vector<long> xs = boundsOf(image.width(), width);
    const std::vector<long> ys = boundsOf(image.height(), height);
    std::vector<std::uint64_t> sums(static_cast<std::size_t>(width));
    for (std::size_t j = 0; j + 1 < ys.size(); ++j) {
        std::fill(sums.begin(), sums.end(), 0);
        for (long y = ys[j]; y < ys[j + 1]; ++y) {
            const unsigned char* row = image.pointToRow(y);
            for (std::size_t i = 0; i < sums.size(); ++i) {
                for (long x = xs[i]; x < xs[i + 1]; ++x) sums[i] += row[x];
            }
        }
        for (std::size_t i = 0; i < sums.size(); ++i) {
            const auto count = static_cast<std::uint64_t>((xs[i + 1] - xs[i]) * (ys[j + 1] - ys[j]));
            picture.pels.push_back(static_cast<unsigned char>((sums[i] + count / 2) / count));
        }
    }
    return picture;
}

long reducedSide(long side, double factor) {
    return std::max(1L, static_cast<long>(std::floor(static_cast<double>(side) / factor)));
}

Bytes pngOf(const Picture& picture) {
    Bytes png;
    const auto columns = static_cast<std::size_t>(picture.width);
    writePng([&](const unsigned char* data, std::size_t size) { png.insert(png.end(), data, data + size); },
             picture.width, picture.height, 1,
             [&](long y) { return picture.pels.data() + static_cast<std::size_t>(y) * columns; });
    return png;
}

std::size_t base64Length(const Bytes& bytes) { return (bytes.size() + 2) / 3 * 4; }

void appendBase64(std::string& text, const Bytes& bytes) {
    static constexpr std::string_view kAlphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    for (std::size_t at = 0; at < bytes.size(); at += 3) {
        const std::size_t held = std::min<std::size_t>(3, bytes.size() - at);
        std::uint32_t bits = 0;
        for (std::size_t i = 0; i < 3; ++i) bits = bits << 8 | (i < held ? bytes[at + i] : 0U);
        for (std::size_t i = 0; i < 4; ++i) text += i <= held ? kAlphabet[bits >> (18 - 6 * i) & 63U] : '=';
    }
}

/// A PNG of the image that takes at most `share` characters, unless it has become too small to be made smaller.
Bytes pngWithin(const Image& image, std::size_t share) {
    const double pels = static_cast<double>(image.width()) * static_cast<double>(image.height());
    const double longest = static_cast<double>(std::max(image.width(), image.height()));
    double factor = std::max({1.0, std::sqrt(pels / kMostPels), longest / kLongestSide});
    for (;;) {
        Bytes png = pngOf(reduced(image, reducedSide(image.width(), factor), reducedSide(image.height(), factor)));
        if (base64Length(png) <= share || pels / (factor * factor) < kLeastPels) return png;
        factor *= kShrink;
    }
}

bool hasPels(const Image& image) { return image.isBound() && image.width() > 0 && image.height() > 0; }

}  // namespace

void PageImages::add(const Image& image) {
    if (!hasPels(image)) return;
    const std::uint64_t hash = hashOf(image);
    if (indexOf(image, hash) == entries_.size()) entries_.push_back({image, hash});
}

void PageImages::writeDefinitions(std::string& html) const {
    std::vector<Bytes> pngs(entries_.size());
    std::size_t left = budget_;
    std::size_t weights = entries_.size() + kFirstWeight - 1;
    // The first image comes last here, so that it gets what the others leave.
    for (std::size_t i = entries_.size(); i-- > 0;) {
        const std::size_t weight = i == 0 ? kFirstWeight : 1;
        pngs[i] = pngWithin(entries_[i].image, left / weights * weight);
        left -= std::min(left, base64Length(pngs[i]));
        weights -= weight;
    }
    for (std::size_t i = 0; i < entries_.size(); ++i) {
        html += "<image id=\"img" + std::to_string(i) + "\" width=\"" + std::to_string(entries_[i].image.width()) +
                "\" height=\"" + std::to_string(entries_[i].image.height()) +
                "\" preserveAspectRatio=\"none\" href=\"data:image/png;base64,";
        appendBase64(html, pngs[i]);
        html += "\"/>\n";
    }
}

void PageImages::writeUse(std::string& html, const Image& image) const {
    if (!hasPels(image)) return;
    const std::size_t index = indexOf(image, hashOf(image));
    if (index == entries_.size()) return;
    html += "<use href=\"#img" + std::to_string(index) + "\" x=\"" + std::to_string(image.offset().first) + "\" y=\"" +
            std::to_string(image.offset().second) + "\"/>";
}

std::size_t PageImages::indexOf(const Image& image, std::uint64_t hash) const {
    std::size_t i = 0;
    while (i < entries_.size() && (entries_[i].hash != hash || !samePels(entries_[i].image, image))) ++i;
    return i;
}

}  // namespace qvtool
