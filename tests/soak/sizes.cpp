// Images of every size and in every layout of memory.
//
// A size works or is refused with an exception that the interface names; a layout changes no bit. Rows lie at any distance,
// upwards and downwards, at any address, in pages that can only be read, and beside pages that cannot be touched, so that a
// read one pel too far ends the program.
#include <sys/mman.h>

#include <algorithm>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "tests/soak/answers.h"
#include "tests/soak/guard_pages.h"
#include "tests/soak/laid_pels.h"
#include "tests/soak/soak_main.h"
#include "tests/support/noise_image.h"

namespace {

using namespace qvtest;
using Defs = qvStreetFinderDefs;
using BlankDefs = qvStreetBlankRegionFinderDefs;

constexpr long kMostResults = 20;
constexpr long kMostRegions = 3;

constexpr long kMostSamples = 32767;
constexpr const char* kReduction = "setImage: 268435970 a reduction factor must be at most 32767";
constexpr const char* kEnds = "run: 268435970 a number of samples must be 1 to 32767";
constexpr const char* kNoWindow = "run: 268435970 width and height of an image must be positive";
constexpr const char* kNoColumn = "run: 268435970 the analysis window has no size that a window can have";

// In windows of some hundred columns 32-bit sums wrap, and the search works each position out from scratch, as it does the
// first window of each row: hours for a million of them. So larger windows only where there are few positions.
constexpr long kLongestWindow = 1200;
constexpr long kLongestOfMany = 120;
constexpr long kManyPels = 1000000;

std::string sizeText(long width, long height) { return std::to_string(width) + " by " + std::to_string(height); }

qvStreetFinderParams streetParams(long number) {
    const auto mode = static_cast<Defs::waferType>(number % 3);
    const auto polarity = static_cast<Defs::streetPolarity>(number / 3 % 3);
    return qvStreetFinderParams(qvPair<double>(9.0, 11.0), qvPair<double>(4.0, 14.0), qvPair<double>(5.0, 17.0), mode,
                                3.0, polarity, kMostResults);
}

/// Dark streets over noise, so that there is something to find wherever there is room for it.
unsigned char pelAt(long x, long y, Noise& noise) {
    const bool street = x % 61 < 9 || y % 47 < 11;
    return static_cast<unsigned char>((street ? 60 : 150) + static_cast<long>(noise.bits() >> 28));
}

void paint(unsigned char* row, long width, long y, Noise& noise) {
    for (long x = 0; x < width; ++x) row[x] = pelAt(x, y, noise);
}

qvPelBuffer<unsigned char> painted(long width, long height, std::uint64_t seed) {
    qvPelBuffer<unsigned char> image(width, height, 0);
    Noise noise(seed);
    for (long y = 0; y < height; ++y) paint(image.pointToRow(y), width, y, noise);
    return image;
}

class Sizes {
 public:
    explicit Sizes(const SoakOptions& options) : options_(options) {}

    /// One case: an image in pages of its own, each row before (or behind) a closed page.
    void size(long width, long height, long mode) {
        if (!next(sizeText(width, height))) return;
        const qvPelBuffer<unsigned char> image = painted(width, height, options_.seed * 1000003 + asSeed(number_));
        const StreetAnswer answer = search(mode, image);
        // Every row in pages of its own takes much address space where there are many rows.
        if (height > 1000) return;
        const GuardedRows guarded(image,
                                  number_ % 2 == 0 ? GuardedSide::beforeAClosedPage : GuardedSide::behindAClosedPage,
                                  number_ % 3 == 0);
        require(searchStreets(streetParams(mode), guarded.view()).hex() == answer.hex(), width, height,
                "other results beside closed pages");
    }

    /// One case of the blank region finder: a window of about `share` of the image, a street along the rows or columns.
    void blankSize(long width, long height, double share, bool vertical) {
        if (!next(sizeText(width, height))) return;
        const qvPelBuffer<unsigned char> image = painted(width, height, options_.seed * 1000033 + asSeed(number_));
        const BlankAnswer answer = blankAnswer(image, share, vertical);
        if (height > 1000) return;
        const GuardedRows guarded(image,
                                  number_ % 2 == 0 ? GuardedSide::beforeAClosedPage : GuardedSide::behindAClosedPage,
                                  number_ % 3 == 0);
        require(blankAnswer(guarded.view(), share, vertical).hex() == answer.hex(), width, height,
                "other regions beside closed pages");
    }

    BlankAnswer blankAnswer(const Image& image, double share, bool vertical) {
        const long along = vertical ? image.height() : image.width();
        const long across = vertical ? image.width() : image.height();
        const long longest = along * across >= kManyPels ? kLongestOfMany : kLongestWindow;
        const long length = std::clamp(qfTruncate(share * static_cast<double>(along)), 1L, longest);
        const long street = std::clamp(qfTruncate(share * static_cast<double>(across)), 1L, longest);
        const qvStreetBlankRegionFinderParams params(street, length, kMostRegions, std::vector<double>(256, 1.0),
                                                     vertical ? BlankDefs::eVertical : BlankDefs::eHorizontal);
        const BlankAnswer answer = searchBlankRegions(image, Image(), params);
        ++counts_[answer.refusal];
        const bool fits = length <= along && street * 3 / 4 >= 1;
        const bool allowed = answer.refusal.empty() || (answer.refusal == kEnds && along > kMostSamples) ||
                             ((answer.refusal == kNoWindow || answer.refusal == kNoColumn) && !fits);
        require(allowed, image.width(), image.height(), "refused: " + answer.refusal);
        const std::string wrong = whatIsWrong(answer.found, kMostRegions);
        require(wrong.empty(), image.width(), image.height(), wrong);
        require(areInside(answer.found, image), image.width(), image.height(), "a region beyond the image");
        results_ += answer.found.numResults();
        return answer;
    }

    /// The answer to one image, once it is certain that it is one that the interface allows.
    StreetAnswer search(long mode, const Image& image) {
        qvStreetFinder finder(streetParams(mode));
        StreetAnswer answer = searchStreets(finder, image);
        ++counts_[answer.refusal];
        const long width = image.width();
        const long height = image.height();
        if (answer.refusal.empty()) {
            require(width != kMarginsOnly && height != kMarginsOnly, width, height, "not refused");
        } else if (answer.refusal == kMarginsRefusal) {
            require(width == kMarginsOnly || height == kMarginsOnly, width, height, "refused: " + answer.refusal);
        } else if (answer.refusal == kReduction) {
            require(std::max(width, height) / 256 > kMostSamples, width, height, "refused: " + answer.refusal);
        } else {
            const bool allowed = answer.refusal == kUnprojectable && mayBeUnprojectable(finder, image);
            require(allowed, width, height, "refused: " + answer.refusal);
        }
        const std::string wrong = whatIsWrong(answer.found, kMostResults);
        require(wrong.empty(), width, height, wrong);
        results_ += static_cast<long>(answer.found.crossings.size() + answer.found.streets.size());
        return answer;
    }

    /// Whether the next case is one that runs; `what` says what it is.
    bool next(const std::string& what) {
        const bool wanted = options_.wants(++number_);
        soakPlace("case " + std::to_string(number_) + ", " + what);
        cases_ += wanted ? 1 : 0;
        return wanted;
    }

    void require(bool isTrue, long width, long height, const std::string& what) const {
        soakRequire(isTrue, "case " + std::to_string(number_) + ", " + sizeText(width, height) + ": " + what);
    }

    long cases() const { return cases_; }
    long layouts() const { return layouts_; }
    /// Crossings, streets and regions of the sizes.
    long results() const { return results_; }
    void countLayout() { ++layouts_; }
    const SoakOptions& options() const { return options_; }

    std::string refusals() const {
        std::string text;
        for (const auto& [refusal, count] : counts_)
            if (!refusal.empty()) text += "; refused " + std::to_string(count) + " \"" + refusal + "\"";
        return text;
    }

 private:
    static std::uint64_t asSeed(long number) { return static_cast<std::uint64_t>(number); }

    SoakOptions options_;
    long number_ = -1;
    long cases_ = 0;
    long layouts_ = 0;
    long results_ = 0;
    std::map<std::string, long> counts_;
};

// --- Sizes.

void smallSizes(Sizes& sizes) {
    for (long width = 1; width <= 17; ++width)
        for (long height = 1; height <= 17; ++height) {
            if (sizes.options().isShort) {
                sizes.size(width, height, width + 5 * height);
            } else {
                for (long mode = 0; mode < 9; ++mode) sizes.size(width, height, mode);
            }
            sizes.blankSize(width, height, 0.1 * static_cast<double>((width * 3 + height) % 10 + 1), width % 2 == 0);
        }
}

void primeSizes(Sizes& sizes) {
    std::vector<long> primes;
    for (long n = 2; n < 200; ++n) {
        const bool prime = std::none_of(primes.begin(), primes.end(), [n](long p) { return n % p == 0; });
        if (prime) primes.push_back(n);
    }
    const std::size_t step = sizes.options().isShort ? 5 : 1;
    for (std::size_t i = 0; i < primes.size(); i += step)
        for (std::size_t j = 0; j < primes.size(); j += step) {
            const auto mode = static_cast<long>(i / step + 2 * (j / step));
            sizes.size(primes[i], primes[j], mode);
            sizes.blankSize(primes[i], primes[j], 0.1 * static_cast<double>((i + 3 * j) % 9 + 1), j % 2 == 0);
        }
}

void thinSizes(Sizes& sizes) {
    std::vector<long> lengths = {18, 100, 255, 256, 257, 1000, 4095, 4097, 10000, 32767, 32768, 65535, 65536, 65540};
    if (sizes.options().isShort) {
        lengths = {18, 257, 4097, 32767, 32768, 65540};
    } else {
        for (long n = 19; n < 100; ++n) lengths.push_back(n);
        lengths.push_back(1000000);
        lengths.push_back(9000000);
    }
    for (const long length : lengths)
        for (const long other : {1L, 2L, 7L}) {
            for (long mode = 0; mode < 3; ++mode) {
                sizes.size(length, other, mode);
                sizes.size(other, length, mode + 3);
            }
            for (const bool vertical : {false, true}) {
                sizes.blankSize(length, other, 0.3, vertical);
                sizes.blankSize(other, length, 0.3, vertical);
            }
        }
}

void largeSize(Sizes& sizes) {
    if (sizes.options().isShort) return;
    sizes.size(16384, 16384, 0);
    sizes.size(16384, 16384, 7);
    sizes.blankSize(16384, 16384, 0.007, false);
    sizes.size(20011, 9973, 5);
}

// --- More pels than 32 bits count.

void hugeSizes(Sizes& sizes) {
    if (sizes.options().isShort) return;
    constexpr long kRow = 98304;
    constexpr long kRows = 256;
    constexpr long kTimes = 130;
    constexpr long kHeight = kRows * kTimes;
    Noise noise(7);
    const RepeatedPels memory(kRow, kRows, kTimes, [&](unsigned char* row, long y) { paint(row, kRow, y, noise); });
    const auto mustWork = [&](const Image& image, long mode) {
        const StreetAnswer answer = sizes.search(mode, image);
        sizes.require(answer.refusal.empty(), image.width(), image.height(), "refused: " + answer.refusal);
        return answer.hex();
    };
    // Three times 2^30 pels. As numbers of samples are narrowed to 16 bits, the second size is one that can be searched.
    if (sizes.next("huge")) sizes.search(2, Image(memory.pels(), kRow, kHeight, kRow));
    if (sizes.next("huge, searched")) mustWork(Image(memory.pels(), 95536, 32000, kRow), 2);
    // Rows that lie across 2^31 bytes, downwards and upwards.
    if (sizes.next("huge, rows apart")) {
        const std::string expected = mustWork(Image(memory.pels(), 30000, 32767, kRow), 2);
        mustWork(Image(memory.pels() + 32766 * kRow, 30000, 32767, -kRow), 2);
        qvPelBuffer<unsigned char> copy(30000, 32767, 0);
        for (long y = 0; y < 32767; ++y) std::copy_n(memory.pels() + y * kRow, 30000, copy.pointToRow(y));
        sizes.require(mustWork(copy, 2) == expected, 30000, 32767, "a copy has other results");
    }
    if (sizes.next("huge, blank regions")) sizes.blankAnswer(Image(memory.pels(), 65536, kHeight, kRow), 0.002, false);

    // As long as a row can be, over pages of zeros.
    constexpr long kLongest = 2147483647;
    void* const zeros =
        mmap(nullptr, 2 * (kLongest + 1), PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    soakRequire(zeros != MAP_FAILED, "no address space");
    const auto* const dark = static_cast<const unsigned char*>(zeros);
    for (const long other : {1L, 2L}) {
        if (sizes.next("the longest row")) sizes.search(other, Image(dark, kLongest, other, kLongest));
        if (sizes.next("the longest column")) sizes.search(other, Image(dark, other, kLongest, other));
    }
    munmap(zeros, 2 * (kLongest + 1));
}

// --- Layouts.

/// `answerTo` of one image in every layout.
template <typename AnswerTo>
void everyLayout(Sizes& sizes, const std::string& name, const Image& image, const AnswerTo& answerTo) {
    const long width = image.width();
    const std::string expected = answerTo(image);
    const auto same = [&](const Image& laid, const std::string& how) {
        soakPlace(name + " with " + how);
        soakRequire(answerTo(laid) == expected, name + ": other results with " + how);
        sizes.countLayout();
    };
    const bool isShort = sizes.options().isShort;
    std::vector<long> rowUpdates;
    for (long extra = 0; extra <= 64; extra += isShort ? 7 : 1) rowUpdates.push_back(width + extra);
    for (long pages = 1; pages <= (isShort ? 1 : 3); ++pages) rowUpdates.push_back((width / 4096 + pages) * 4096);
    for (const bool bottomUp : {false, true}) {
        const std::string direction = bottomUp ? ", the last row first" : "";
        for (const long rowUpdate : rowUpdates)
            same(Laid(image, rowUpdate, rowUpdate % 64, bottomUp, rowUpdate % 2 == 0 ? 0 : 255).view(),
                 "rows " + std::to_string(rowUpdate) + " apart" + direction);
        for (long alignment = 0; alignment < 64; alignment += isShort ? 9 : 1)
            same(Laid(image, width + 64 - width % 64, alignment, bottomUp, 77).view(),
                 "alignment " + std::to_string(alignment) + direction);
        for (const GuardedSide side : {GuardedSide::behindAClosedPage, GuardedSide::beforeAClosedPage}) {
            same(GuardedRows(image, side, bottomUp).view(), "a closed page at every row" + direction);
            for (const long rowUpdate : {width, width + 13, 4096L * (width / 4096 + 1)})
                same(GuardedBlock(image, rowUpdate, side, bottomUp).view(), "a closed page at an end" + direction);
        }
    }
    same(asWindow(image, 11, 5), "a window of a larger image");
}

void streetLayouts(Sizes& sizes, const SoakScene& scene) {
    if (!sizes.next(scene.name)) return;
    everyLayout(sizes, scene.name, scene.image,
                [&](const Image& image) { return searchStreets(scene.params, image).hex(); });
}

void layouts(Sizes& sizes) {
    // All modes and polarities; some of them for a look.
    const std::vector<SoakScene>& scenes = soakScenes();
    for (std::size_t i = 0; i < scenes.size(); i += sizes.options().isShort ? 4 : 1) streetLayouts(sizes, scenes[i]);
    // Rows as long as a page: a closed page at both ends of every row.
    streetLayouts(sizes, {"a page wide", painted(pageBytes(), 33, 5), streetParams(2)});
    // Reduced before it is searched.
    if (!sizes.options().isShort) streetLayouts(sizes, {"reduced", painted(1031, 613, 6), streetParams(7)});

    for (std::uint64_t number = 0; number < (sizes.options().isShort ? 4 : 12); ++number) {
        const SoakStrip strip = soakStrip(number);
        if (!sizes.next(strip.name)) continue;
        everyLayout(sizes, strip.name, strip.image,
                    [&](const Image& image) { return searchBlankRegions(image, strip.mask, strip.params).hex(); });
        if (!strip.mask.isBound()) continue;
        everyLayout(sizes, strip.name + ", mask", strip.mask,
                    [&](const Image& mask) { return searchBlankRegions(strip.image, mask, strip.params).hex(); });
    }
}

std::string run(const SoakOptions& options) {
    Sizes sizes(options);
    smallSizes(sizes);
    primeSizes(sizes);
    thinSizes(sizes);
    layouts(sizes);
    largeSize(sizes);
    hugeSizes(sizes);
    soakRequire(!options.isWhole() || sizes.results() > 0, "nothing was found");
    return std::to_string(sizes.cases()) + " cases, " + std::to_string(sizes.results()) + " results, " +
           std::to_string(sizes.layouts()) + " layouts" + sizes.refusals();
}

}  // namespace

int main(int count, char** arguments) { return soakMain("sizes", count, arguments, run); }
