#include "qvstreet/platform/pel_buffer.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <type_traits>
#include <utility>
#include <vector>

#if defined(__linux__)
#include <sys/mman.h>
#endif

namespace {

using Image = qvPelBuffer<unsigned char>;
using View = qvPelBuffer_const<unsigned char>;

constexpr long kLowest = -2147483647L - 1L;
constexpr long kHighest = 2147483647L;

static_assert(std::is_convertible_v<Image, View>);
static_assert(!std::is_convertible_v<View, Image>, "what is read-only stays so");
static_assert(std::is_same_v<decltype(std::declval<View>().pointToPel(0, 0)), const unsigned char*>);
static_assert(std::is_same_v<decltype(std::declval<Image>().pointToPel(0, 0)), unsigned char*>);

/// An image whose pel at column x, row y is 10 * y + x; small enough for both to be read off.
Image numbered(long width, long height) {
    const Image image(width, height, 32);
    for (long y = 0; y < height; ++y)
        for (long x = 0; x < width; ++x) image.put(x, y, static_cast<unsigned char>(10 * y + x));
    return image;
}

TEST(PelBuffer, DefaultIsUnbound) {
    const Image image;
    EXPECT_FALSE(image.isBound());
    EXPECT_EQ(image.width(), 0);
    EXPECT_EQ(image.height(), 0);
    EXPECT_EQ(image.rowUpdate(), 0);
    EXPECT_EQ(image.window(), qvPelRect(0, 0, 0, 0));
    EXPECT_EQ(image.offset(), qvPair<long>(0, 0));
    EXPECT_EQ(image.clientFromImageXform(), qvXform<2>());
}

TEST(PelBuffer, UnboundRefusesWhatNeedsPels) {
    Image image;
    EXPECT_THROW(image.get(0, 0), qvPel::UnboundWindow);
    EXPECT_THROW(image.put(0, 0, 1), qvPel::UnboundWindow);
    EXPECT_THROW(image.window(0, 0, 1, 1, true), qvPel::UnboundWindow);
    EXPECT_THROW(image.setEntire(), qvPel::UnboundWindow);
    EXPECT_THROW(qf_SetSubWindow(image, 0, 0, 1, 1), qvPel::Errors);
}

TEST(PelBuffer, UnboundBecomesBoundByAssignment) {
    Image image;
    image = Image(7, 3, 32);
    EXPECT_TRUE(image.isBound());
    EXPECT_EQ(image.window(), qvPelRect(0, 0, 7, 3));
}

TEST(PelBuffer, NewImageHasItsSizeNoOffsetAndTheIdentity) {
    const Image image(7, 3, 32);
    EXPECT_TRUE(image.isBound());
    EXPECT_EQ(image.width(), 7);
    EXPECT_EQ(image.height(), 3);
    EXPECT_EQ(image.offset(), qvPair<long>(0, 0));
    EXPECT_EQ(image.clientFromImageXform(), qvXform<2>());
}

TEST(PelBuffer, RowsStartOnMultiplesOfTheAlignment) {
    EXPECT_EQ(Image(7, 3, 32).rowUpdate(), 32);
    EXPECT_EQ(Image(32, 3, 32).rowUpdate(), 32);
    EXPECT_EQ(Image(33, 3, 64).rowUpdate(), 64);
    EXPECT_EQ(qvPelBuffer<double>(7, 3, 32).rowUpdate(), 8) << "counted in pels, not bytes";
    const qvPelBuffer<double> doubles(7, 3, 32);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(doubles.pointToRow(2)) % 32, 0u);
}

TEST(PelBuffer, AnAlignmentThatIsNoUseIsIgnored) {
    for (const long alignment : {0L, 1L, -32L, 4096L, LONG_MAX, LONG_MIN})
        EXPECT_EQ(Image(7, 3, alignment).rowUpdate(), 7) << alignment;
    EXPECT_EQ(qvPelBuffer<double>(7, 3, 8).rowUpdate(), 7);
}

TEST(PelBuffer, SizesOfZeroOrLessAreRefused) {
    EXPECT_THROW(Image(0, 5, 32), qvPel::BadSize);
    EXPECT_THROW(Image(5, 0, 32), qvPel::BadSize);
    EXPECT_THROW(Image(-1, 5, 32), qvPel::BadSize);
    EXPECT_THROW(Image(5, LONG_MIN, 32), qvPel::BadSize);
    EXPECT_NO_THROW(Image(1, 1, 32));
}

TEST(PelBuffer, SizesThatOverflowAreRefused) {
    EXPECT_THROW(qvPelBuffer<double>(kHighest, kHighest, 32), qvPel::BadSize);
    EXPECT_THROW(qvPelBuffer<double>(1L << 30, 1L << 30, 32), qvPel::BadSize);
#if LONG_MAX > 2147483647L
    EXPECT_THROW(Image(1L << 31, 1, 32), qvPel::BadSize) << "a size is not cut to 32 bits";
    EXPECT_THROW(Image(1, 1L << 31, 32), qvPel::BadSize);
    EXPECT_THROW(Image(LONG_MAX, LONG_MAX, 32), qvPel::BadSize);
    EXPECT_THROW(Image((1L << 32) + 5, 3, 32), qvPel::BadSize) << "nor wrapped to 5";
#endif
}

TEST(PelBuffer, BadSizeSaysWhatIsWrong) {
    try {
        Image(0, 5, 32);
        FAIL();
    } catch (const qvException& failure) {
        EXPECT_STREQ(failure.what(), "width and height of an image must be positive");
    }
}

TEST(PelBuffer, PelsCountFromTheWindowsUpperLeftPel) {
    const Image image = numbered(9, 5);
    EXPECT_EQ(image.get(7, 4), 47);
    EXPECT_EQ(*image.pointToPel(7, 4), 47);
    EXPECT_EQ(image.pointToRow(3)[2], 32);
    EXPECT_EQ(*image.pointToOffset(), 0);
    EXPECT_EQ(image.pointToPel(0, 1) - image.pointToPel(0, 0), image.rowUpdate());
    image.put(7, 4, 200);
    EXPECT_EQ(image.get(7, 4), 200);
    EXPECT_EQ(image.get(6, 4), 46);
}

TEST(PelBuffer, GetAndPutRefusePelsOutsideTheWindow) {
    Image image = numbered(9, 5);
    image.window(2, 1, 4, 3, false);
    EXPECT_EQ(image.get(3, 2), 35);
    EXPECT_THROW(image.get(4, 2), qvInvariantFailure) << "the pel exists, but not in the window";
    EXPECT_THROW(image.get(3, 3), qvInvariantFailure);
    EXPECT_THROW(image.get(-1, 0), qvInvariantFailure);
    EXPECT_THROW(image.put(0, -1, 0), qvInvariantFailure);
    EXPECT_THROW(image.get(LONG_MAX, 0), qvInvariantFailure);
}

TEST(PelBuffer, CopiesShareThePels) {
    const Image image = numbered(9, 5);
    const View copy = image;
    image.put(3, 2, 99);
    EXPECT_EQ(copy.get(3, 2), 99);
}

TEST(PelBuffer, CopiesKeepWindowOffsetAndTransform) {
    Image image = numbered(9, 5);
    image.offset(100, 200);
    image.window(102, 201, 4, 3, false);
    const qvXform<2> xform(qvMatrix<2>(0.5, 0.0, 0.0, -0.25), qvVector<2>(7.0, 8.0));
    image.clientFromImageXform(xform);
    View assigned;
    assigned = image;
    EXPECT_EQ(assigned.window(), qvPelRect(102, 201, 4, 3));
    EXPECT_EQ(assigned.clientFromImageXform(), xform);
    EXPECT_EQ(assigned.get(0, 0), 12);
    assigned.setEntire();
    EXPECT_EQ(assigned.window(), qvPelRect(100, 200, 9, 5));
}

TEST(PelBuffer, ACopysWindowOffsetAndTransformAreItsOwn) {
    const Image image = numbered(9, 5);
    Image copy = image;
    copy.window(2, 1, 4, 3, false);
    copy.offset(50, 60);
    copy.clientFromImageXform(qvXform<2>(qvMatrix<2>(2.0, 0.0, 0.0, 2.0), qvVector<2>()));
    EXPECT_EQ(image.window(), qvPelRect(0, 0, 9, 5));
    EXPECT_EQ(image.clientFromImageXform(), qvXform<2>());
}

TEST(PelBuffer, AMovedFromHandleKeepsItsPels) {
    Image image = numbered(9, 5);
    {
        const Image taker = std::move(image);
        EXPECT_EQ(taker.get(3, 2), 23);
    }
    ASSERT_TRUE(image.isBound());  // NOLINT(bugprone-use-after-move)
    EXPECT_EQ(image.get(3, 2), 23);
}

TEST(PelBuffer, PelsLiveAsLongAsTheLastHandle) {
    View last;
    {
        Image image = numbered(9, 5);
        image.window(2, 1, 4, 3, false);
        last = image;
    }
    EXPECT_EQ(last.get(1, 1), 23);
    last.setEntire();
    EXPECT_EQ(last.get(8, 4), 48);
}

TEST(PelBufferWindow, NarrowsInImageCoordinatesOffsetIncluded) {
    Image image = numbered(9, 5);
    image.offset(-3, 1000);
    EXPECT_TRUE(image.window(-1, 1001, 4, 3, false));
    EXPECT_EQ(image.window(), qvPelRect(-1, 1001, 4, 3));
    EXPECT_EQ(image.offset(), qvPair<long>(-1, 1001));
    EXPECT_EQ(image.get(0, 0), 12);
    EXPECT_EQ(image.get(3, 2), 35);
    EXPECT_EQ(image.rowUpdate(), 32);
}

TEST(PelBufferWindow, IsTakenFromTheEntireImageNotFromTheWindow) {
    Image image = numbered(9, 5);
    image.window(6, 3, 2, 1, false);
    EXPECT_TRUE(image.window(1, 1, 3, 2, false));
    EXPECT_EQ(image.get(0, 0), 11);
    EXPECT_TRUE(image.window(0, 0, 9, 5, false));
    EXPECT_EQ(image.get(8, 4), 48);
}

TEST(PelBufferWindow, SetEntireUndoesItAndKeepsTheOffset) {
    Image image = numbered(9, 5);
    image.offset(100, 200);
    image.window(102, 201, 4, 3, false);
    image.setEntire();
    EXPECT_EQ(image.window(), qvPelRect(100, 200, 9, 5));
    EXPECT_EQ(image.get(0, 0), 0);
}

TEST(PelBufferWindow, ClipCutsToTheEntireImage) {
    Image image = numbered(9, 5);
    image.offset(100, 200);
    EXPECT_TRUE(image.window(95, 203, 10, 10, true));
    EXPECT_EQ(image.window(), qvPelRect(100, 203, 5, 2));
    EXPECT_EQ(image.get(0, 0), 30);
    EXPECT_TRUE(image.window(107, 190, 100, 12, true));
    EXPECT_EQ(image.window(), qvPelRect(107, 200, 2, 2));
    EXPECT_EQ(image.get(0, 0), 7);
}

TEST(PelBufferWindow, WithoutClipARectangleThatReachesOutLeavesAnEmptyView) {
    const qvPelRect reachingOut[] = {qvPelRect(99, 200, 3, 3), qvPelRect(100, 199, 3, 3), qvPelRect(107, 200, 3, 3),
                                     qvPelRect(100, 203, 3, 3), qvPelRect(500, 500, 3, 3)};
    for (const qvPelRect& rect : reachingOut) {
        Image image = numbered(9, 5);
        image.offset(100, 200);
        EXPECT_FALSE(image.window(rect, false));
        EXPECT_EQ(image.width(), 0);
        EXPECT_EQ(image.height(), 0);
        EXPECT_TRUE(image.isBound()) << "an empty view is bound";
    }
}

TEST(PelBufferWindow, WithoutAreaLeavesAnEmptyViewClippedOrNot) {
    for (const bool clip : {false, true})
        for (const qvPelRect& rect : {qvPelRect(2, 2, 0, 2), qvPelRect(2, 2, 2, 0), qvPelRect(2, 2, -1, 2),
                                      qvPelRect(9, 0, 3, 3), qvPelRect(-5, 0, 5, 3)}) {
            Image image = numbered(9, 5);
            EXPECT_FALSE(image.window(rect, clip));
            EXPECT_EQ(image.window().size(), qvPair<long>(0, 0));
        }
}

TEST(PelBufferWindow, AnEmptyViewShowsPelsAgainWhenAsked) {
    Image image = numbered(9, 5);
    image.window(50, 50, 3, 3, true);
    EXPECT_THROW(image.get(0, 0), qvInvariantFailure);
    EXPECT_TRUE(image.window(2, 1, 4, 3, false));
    EXPECT_EQ(image.get(0, 0), 12);
    image.window(50, 50, 3, 3, true);
    image.setEntire();
    EXPECT_EQ(image.get(8, 4), 48);
}

TEST(PelBufferWindow, LargeNumbersSaturateWithoutOverflow) {
    Image image = numbered(9, 5);
    EXPECT_FALSE(image.window(kLowest, 2, kHighest, 1, true)) << "ends left of the image";
    EXPECT_TRUE(image.window(7, 3, kHighest, kHighest, true));
    EXPECT_EQ(image.window(), qvPelRect(7, 3, 2, 2));
    image.setEntire();
    image.offset(kHighest, kLowest);
    EXPECT_TRUE(image.window(kHighest, kLowest, 4, 2, false));
    EXPECT_EQ(image.get(3, 1), 13);
    EXPECT_FALSE(image.window(kLowest, kHighest, kHighest, kHighest, true));
}

#if LONG_MAX > 2147483647L
TEST(PelBufferWindow, NumbersBeyond32BitsSaturate) {
    Image image = numbered(9, 5);
    EXPECT_TRUE(image.window(7, 3, 1L << 40, LONG_MAX, true));
    EXPECT_EQ(image.window(), qvPelRect(7, 3, 2, 2));
    EXPECT_FALSE(image.window(LONG_MIN, LONG_MIN, LONG_MAX, LONG_MAX, true));
    EXPECT_FALSE(image.window(LONG_MAX, 0, LONG_MAX, 5, true));
    image.setEntire();
    image.offset(1L << 40, -(1L << 40));
    EXPECT_EQ(image.offset(), qvPair<long>(kHighest, kLowest));
    EXPECT_EQ(image.width(), 9);
}
#endif

TEST(PelBufferOffset, RenamesCoordinatesAndKeepsThePelsInView) {
    Image image = numbered(9, 5);
    image.window(2, 1, 4, 3, false);
    image.offset(qvPair<long>(70, -80));
    EXPECT_EQ(image.window(), qvPelRect(70, -80, 4, 3));
    EXPECT_EQ(image.get(0, 0), 12) << "pels count from the window whatever the offset";
    image.setEntire();
    EXPECT_EQ(image.offset(), qvPair<long>(68, -81));
}

TEST(PelBufferOffset, LeavesTheTransformAsItIs) {
    Image image = numbered(9, 5);
    const qvXform<2> xform(qvMatrix<2>(0.5, 0.0, 0.0, 0.25), qvVector<2>(7.0, 8.0));
    image.clientFromImageXform(xform);
    image.offset(70, -80);
    EXPECT_EQ(image.clientFromImageXform(), xform);
}

TEST(PelBufferOffset, SaturatesAtTheLimits) {
    Image image = numbered(9, 5);
    image.offset(kHighest, kLowest);
    qf_SetSubWindow(image, 3, 2, 4, 1);
    EXPECT_EQ(image.offset(), qvPair<long>(kHighest, kLowest + 2));
    EXPECT_EQ(image.get(0, 0), 23);
    image.offset(kLowest, kHighest);
    image.setEntire();
    EXPECT_EQ(image.offset(), qvPair<long>(kLowest, kHighest - 2)) << "the column to the left has no name any more";
}

TEST(PelBufferTransform, ImageFromClientIsItsInverse) {
    Image image(9, 5, 32);
    image.clientFromImageXform(qvXform<2>(qvMatrix<2>(0.0, -2.0, 4.0, 0.0), qvVector<2>(10.0, 20.0)));
    EXPECT_EQ(image.clientFromImageXform() * qvVector<2>(1.0, 3.0), qvVector<2>(4.0, 24.0));
    EXPECT_EQ(image.imageFromClientXform() * qvVector<2>(4.0, 24.0), qvVector<2>(1.0, 3.0));
    image.clientFromImageXform(qvXform<2>(qvMatrix<2>(1.0, 1.0, 1.0, 1.0), qvVector<2>()));
    EXPECT_THROW(image.imageFromClientXform(), qvMatrixErr::Singular);
}

TEST(SetSubWindow, CountsFromTheWindowWhateverTheOffset) {
    Image image = numbered(9, 5);
    image.offset(100, 200);
    image.window(102, 201, 6, 4, false);
    qf_SetSubWindow(image, 1, 2, 3, 1);
    EXPECT_EQ(image.window(), qvPelRect(103, 203, 3, 1));
    EXPECT_EQ(image.get(0, 0), 33);
    qf_SetSubWindow(image, 0, 0, 3, 1);
    EXPECT_EQ(image.window(), qvPelRect(103, 203, 3, 1)) << "the whole window is a sub-window";
}

TEST(SetSubWindow, RefusesWhatIsEmptyOrNotInsideTheWindow) {
    Image image = numbered(9, 5);
    image.window(2, 1, 4, 3, false);
    EXPECT_THROW(qf_SetSubWindow(image, 1, 0, 4, 1), qvPel::BadSize);
    EXPECT_THROW(qf_SetSubWindow(image, 0, 1, 1, 3), qvPel::BadSize);
    EXPECT_THROW(qf_SetSubWindow(image, -1, 0, 2, 2), qvPel::BadSize);
    EXPECT_THROW(qf_SetSubWindow(image, 0, -1, 2, 2), qvPel::BadSize);
    EXPECT_THROW(qf_SetSubWindow(image, 0, 0, 0, 2), qvPel::BadSize);
    EXPECT_THROW(qf_SetSubWindow(image, 0, 0, 2, -2), qvPel::BadSize);
    EXPECT_THROW(qf_SetSubWindow(image, LONG_MAX, 0, LONG_MAX, 1), qvPel::BadSize);
    EXPECT_THROW(qf_SetSubWindow(image, 0, 1, 1, LONG_MAX), qvPel::BadSize);
    EXPECT_EQ(image.window(), qvPelRect(2, 1, 4, 3)) << "nothing changed";
}

TEST(HostMemory, IsReadInPlaceWithItsRowDistance) {
    std::vector<unsigned char> memory(3 * 7);
    for (std::size_t i = 0; i < memory.size(); ++i) memory[i] = static_cast<unsigned char>(i);
    const View view(memory.data(), 5, 3, 7);
    EXPECT_EQ(view.window(), qvPelRect(0, 0, 5, 3));
    EXPECT_EQ(view.rowUpdate(), 7);
    EXPECT_EQ(view.get(4, 2), 18);
    memory[18] = 200;
    EXPECT_EQ(view.get(4, 2), 200);
    EXPECT_EQ(view.pointToOffset(), memory.data());
}

TEST(HostMemory, StoredBottomUpHasANegativeRowDistance) {
    // Rows of 4 pels in memory: the bottom one first.
    const unsigned char memory[] = {30, 31, 32, 99, 20, 21, 22, 99, 10, 11, 12, 99, 0, 1, 2, 99};
    View view(memory + 12, 3, 4, -4);
    EXPECT_EQ(view.rowUpdate(), -4);
    EXPECT_EQ(view.get(0, 0), 0);
    EXPECT_EQ(view.get(2, 1), 12);
    EXPECT_EQ(view.get(1, 3), 31);
    EXPECT_TRUE(view.window(1, 2, 2, 5, true));
    EXPECT_EQ(view.window(), qvPelRect(1, 2, 2, 2));
    EXPECT_EQ(view.get(0, 0), 21);
    EXPECT_EQ(view.get(1, 1), 32);
    EXPECT_EQ(view.pointToRow(1) - view.pointToRow(0), -4);
    view.setEntire();
    EXPECT_EQ(view.get(2, 0), 2);
}

TEST(HostMemory, SizesThatCannotBeAreRefused) {
    const unsigned char memory[64] = {};
    EXPECT_NO_THROW(View(memory, 8, 8, 8));
    EXPECT_NO_THROW(View(memory + 56, 8, 8, -8));
    EXPECT_THROW(View(memory, 8, 8, 7), qvPel::BadSize) << "rows would overlap";
    EXPECT_THROW(View(memory + 56, 8, 8, -7), qvPel::BadSize);
    EXPECT_THROW(View(memory, 0, 8, 8), qvPel::BadSize);
    EXPECT_THROW(View(memory, 8, -1, 8), qvPel::BadSize);
    EXPECT_THROW(View(memory, 8, 8, 0), qvPel::BadSize);
    EXPECT_THROW(View(memory, 8, 1, LONG_MIN), qvPel::BadSize);
    EXPECT_THROW(View(nullptr, 8, 8, 8), qvPel::BadSize);
    const double doubles[1] = {};
    EXPECT_THROW(qvPelBuffer_const<double>(doubles, kHighest, kHighest, kHighest), qvPel::BadSize);
#if LONG_MAX > 2147483647L
    EXPECT_THROW(View(memory, 8, 8, 1L << 31), qvPel::BadSize) << "a row distance is not cut to 32 bits";
    EXPECT_THROW(View(memory, (1L << 32) + 8, 8, 1L << 33), qvPel::BadSize);
    EXPECT_THROW(View(memory, 8, (1L << 32) + 8, 8), qvPel::BadSize);
#endif
}

TEST(HostMemory, AnOwnerKeepsItAliveUntilTheLastCopyIsGone) {
    auto memory = std::make_shared<std::vector<unsigned char>>(12, static_cast<unsigned char>(5));
    const std::weak_ptr<std::vector<unsigned char>> watch = memory;
    View last;
    {
        const View view(memory->data(), 4, 3, 4, memory);
        memory.reset();
        EXPECT_FALSE(watch.expired());
        last = view;
        last.window(1, 1, 2, 2, false);
    }
    EXPECT_FALSE(watch.expired()) << "a copy still shows it";
    EXPECT_EQ(last.get(1, 1), 5);
    last = View();
    EXPECT_TRUE(watch.expired());
}

TEST(HostMemory, AnOwnerOfRefusedMemoryIsReleased) {
    auto memory = std::make_shared<std::vector<unsigned char>>(12);
    EXPECT_THROW(View(memory->data(), 4, 3, 3, memory), qvPel::BadSize);
    EXPECT_EQ(memory.use_count(), 1);
}

#if defined(__linux__) && LONG_MAX > 2147483647L
TEST(HostMemory, PelsBeyond32BitsOfBytesAreAddressed) {
    // Address space only: of these 4 GiB and a bit, the three pages that are touched take memory.
    constexpr long kRow = 1L << 30;
    constexpr std::size_t kBytes = 4 * static_cast<std::size_t>(kRow) + 4096;
    void* const memory =
        mmap(nullptr, kBytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (memory == MAP_FAILED) GTEST_SKIP() << "no address space";
    auto* const pels = static_cast<unsigned char*>(memory);
    pels[(std::size_t{1} << 31) + 5] = 77;
    pels[(std::size_t{1} << 32) + 6] = 88;
    View view(pels, 4096, 5, kRow);
    EXPECT_EQ(view.get(5, 2), 77);
    EXPECT_EQ(view.get(6, 4), 88);
    EXPECT_EQ(view.pointToRow(4) - view.pointToRow(0), 4 * kRow);
    EXPECT_TRUE(view.window(6, 4, 1, 1, false));
    EXPECT_EQ(*view.pointToOffset(), 88);
    const View bottomUp(pels + (std::size_t{1} << 32), 4096, 5, -kRow);
    EXPECT_EQ(bottomUp.get(6, 0), 88);
    EXPECT_EQ(bottomUp.get(5, 2), 77);
    munmap(memory, kBytes);
}
#endif

TEST(PelTypes, CountsAndResponsesHaveTheirOwnWidth) {
    const qvPelBuffer<unsigned long> counts(3, 2, 32);
    counts.put(2, 1, 4000000000UL);
    EXPECT_EQ(counts.get(2, 1), 4000000000UL);
    qvPelBuffer<double> responses(5, 4, 32);
    responses.put(4, 3, -0.125);
    responses.window(4, 2, 1, 2, false);
    EXPECT_EQ(responses.get(0, 1), -0.125);
}

}  // namespace

TEST(SetSubWindow, RefusesAPlaceBeyondTheWindowInEachDirection) {
    Image image = numbered(9, 5);
    image.window(2, 1, 4, 3, false);
    EXPECT_THROW(qf_SetSubWindow(image, 5, 0, 1, 1), qvPel::BadSize);
    EXPECT_THROW(qf_SetSubWindow(image, 4, 0, 1, 1), qvPel::BadSize);
    EXPECT_THROW(qf_SetSubWindow(image, 0, 4, 1, 1), qvPel::BadSize);
    EXPECT_THROW(qf_SetSubWindow(image, 0, 3, 1, 1), qvPel::BadSize);
    EXPECT_EQ(image.window(), qvPelRect(2, 1, 4, 3)) << "nothing changed";
}
