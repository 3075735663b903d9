// What a finder takes from the heap: everything on the first image, nothing on the next one of the same size, and never
// much.
#include <gtest/gtest.h>
#include <malloc.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <new>
#include <vector>

#include "qvstreet/streetfinder/street_finder_access.h"
#include "tests/streetfinder/finder_runs.h"

namespace {

std::atomic<bool> isCounting{false};
std::atomic<long> allocations{0};
std::atomic<long> heldBytes{0};
std::atomic<long> mostHeldBytes{0};

void* counted(void* memory) {
    if (memory == nullptr) throw std::bad_alloc();
    if (isCounting) {
        ++allocations;
        heldBytes += static_cast<long>(malloc_usable_size(memory));
        mostHeldBytes = std::max(mostHeldBytes.load(), heldBytes.load());
    }
    return memory;
}

void release(void* memory) {
    if (isCounting && memory != nullptr) heldBytes -= static_cast<long>(malloc_usable_size(memory));
    std::free(memory);
}

/// Counts from its construction on. What was taken before and is given back now counts as negative.
class HeapWatch {
 public:
    HeapWatch() {
        allocations = 0;
        heldBytes = 0;
        mostHeldBytes = 0;
        isCounting = true;
    }
    ~HeapWatch() { isCounting = false; }
    HeapWatch(const HeapWatch&) = delete;
    HeapWatch& operator=(const HeapWatch&) = delete;

    long taken() const { return allocations; }
    long mostBytes() const { return mostHeldBytes; }
};

}  // namespace

void* operator new(std::size_t size) { return counted(std::malloc(std::max<std::size_t>(size, 1))); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    if (isCounting) ++allocations;
    return std::malloc(std::max<std::size_t>(size, 1));
}
void* operator new(std::size_t size, std::align_val_t alignment) {
    const auto unit = static_cast<std::size_t>(alignment);
    return counted(std::aligned_alloc(unit, (size + unit - 1) / unit * unit));
}
void operator delete(void* memory) noexcept { release(memory); }
void operator delete(void* memory, std::size_t) noexcept { release(memory); }
void operator delete(void* memory, const std::nothrow_t&) noexcept { release(memory); }
void operator delete(void* memory, std::align_val_t) noexcept { release(memory); }
void operator delete(void* memory, std::size_t, std::align_val_t) noexcept { release(memory); }

namespace {

using Defs = qvStreetFinderDefs;
using Crosses = std::vector<qvStreetFinderStreetCrossResult>;

qvStreetFinderParams paramsOf(Defs::waferType mode, Defs::streetPolarity polarity = Defs::eAnyPolarity) {
    return qvtest::finderParams(mode, polarity, 13);
}

std::size_t linesOf(const qvStreetFinder& finder) {
    std::size_t lines = 0;
    for (const auto& list : qf_finderRecord(finder).lines) lines += list.size();
    return lines;
}

class Allocation : public ::testing::TestWithParam<Defs::waferType> {};

TEST_P(Allocation, theSecondImageOfTheSameSizeTakesNothingAndMakesNoTable) {
    const auto first = qvtest::oblongWafer(1.5).image();
    const auto second = qvtest::oblongWafer(1.5).image();
    qvStreetFinder finder(paramsOf(GetParam()));
    finder.setImage(first);
    const std::size_t lines = linesOf(finder);
    ASSERT_GT(lines, 4u);
    HeapWatch watch;
    finder.setImage(second);
    EXPECT_EQ(watch.taken(), 0);
    EXPECT_EQ(linesOf(finder), lines);
    EXPECT_EQ(qf_finderRecord(finder).scratch.orientation.ring.tablesMade(), 1);
}

TEST_P(Allocation, anImageOfAnotherSizeInBetweenChangesNothing) {
    const auto large = qvtest::oblongWafer(1.5).image();
    auto smallWafer = qvtest::oblongWafer(1.5);
    smallWafer.width -= 13;
    const auto small = smallWafer.image();
    qvStreetFinder finder(paramsOf(GetParam()));
    Crosses expected;
    Crosses found;
    finder.setImage(large);
    finder.find(expected);
    finder.setImage(small);
    finder.setImage(large);
    finder.find(found);
    EXPECT_EQ(qvtest::numbersOf(found), qvtest::numbersOf(expected));
}

TEST_P(Allocation, aCopyOfAFinderKeepsItsImageWhenTheOtherOneGetsAnother) {
    const auto image = qvtest::oblongWafer(1.5).image();
    const auto other = qvtest::oblongWafer(-2.0).image();
    qvStreetFinder finder(paramsOf(GetParam()));
    finder.setImage(image);
    Crosses expected;
    finder.find(expected);
    const auto copy = qv_streetFinderAccess::copy(finder);
    const unsigned char corner = qf_finderRecord(*copy).spectrum.fftImage.get(100, 60);
    std::vector<int> before;
    for (long x = 0; x < 256; ++x) before.push_back(qf_finderRecord(*copy).spectrum.fftImage.get(x, 100));
    finder.setImage(other);
    std::vector<int> after;
    for (long x = 0; x < 256; ++x) after.push_back(qf_finderRecord(*copy).spectrum.fftImage.get(x, 100));
    EXPECT_EQ(after, before);
    EXPECT_EQ(qf_finderRecord(*copy).spectrum.fftImage.get(100, 60), corner);
    Crosses found;
    copy->find(found);
    EXPECT_EQ(qvtest::numbersOf(found), qvtest::numbersOf(expected));
}

INSTANTIATE_TEST_SUITE_P(Modes, Allocation,
                         ::testing::Values(Defs::eCoarseRidgeWafer, Defs::eRidgeWafer, Defs::eEdgePairWafer));

TEST(FinderMemory, findInCoarseModeTakesNothingWhenItsResultsAreThereAlready) {
    const auto image = qvtest::oblongWafer(1.5).image();
    for (const auto polarity : {Defs::eAnyPolarity, Defs::eDarkOnLight}) {
        qvStreetFinder finder(paramsOf(Defs::eCoarseRidgeWafer, polarity));
        Crosses results;
        finder.setImage(image);
        finder.find(results);
        const std::size_t count = results.size();
        ASSERT_GE(count, 4u);
        HeapWatch watch;
        finder.setImage(image);
        finder.find(results);
        EXPECT_EQ(watch.taken(), 0);
        EXPECT_EQ(results.size(), count);
    }
}

TEST(FinderMemory, findInEdgeModeTakesOnlyTheSegmentsOfItsResults) {
    const auto image = qvtest::oblongWafer(1.5).image();
    qvStreetFinder finder(paramsOf(Defs::eEdgePairWafer));
    Crosses results;
    finder.setImage(image);
    finder.find(results);
    ASSERT_EQ(results.size(), 6u);
    results.clear();
    HeapWatch watch;
    finder.setImage(image);
    finder.find(results);
    EXPECT_EQ(watch.taken(), 6);
    EXPECT_EQ(results.size(), 6u);
}

TEST(FinderMemory, aFinderHoldsLessThan24MegabytesOnALargeImage) {
    const long side = 4096;
    const qvPelBuffer<unsigned char> image(side, side);
    for (long y = 0; y < side; ++y)
        for (long x = 0; x < side; ++x) {
            const bool isStreet = (x + y / 40 + 300) % 1200 < 80 || (y - x / 40 + 500) % 1200 < 80;
            image.put(x, y, static_cast<unsigned char>(isStreet ? 60 : 150 + (x * 7 + y * 3) % 11));
        }
    const qvPair<double> range(40.0, 120.0);
    for (const auto mode : {Defs::eCoarseRidgeWafer, Defs::eEdgePairWafer}) {
        HeapWatch watch;
        qvStreetFinder finder(
            qvStreetFinderParams(qvPair<double>(80.0, 80.0), range, range, mode, 5.0, Defs::eAnyPolarity, 13));
        Crosses results;
        finder.setImage(image);
        finder.find(results);
        EXPECT_GE(results.size(), 4u);
        EXPECT_GT(watch.mostBytes(), 100000);
        EXPECT_LT(watch.mostBytes(), 24L << 20);
    }
}

}  // namespace
