#include "qvstreet/platform/pel_sharing.h"

#include <gtest/gtest.h>

#include <vector>

TEST(PelSharing, CountsTheHandlesOnThePelsNotOnTheWindow) {
    EXPECT_EQ(qf_pelHandles(qvPelBuffer<double>()), 0);
    const qvPelBuffer<unsigned char> image(4, 3);
    EXPECT_EQ(qf_pelHandles(image), 1);
    {
        qvPelBuffer_const<unsigned char> part = image;
        part.window(1, 1, 2, 2, false);
        EXPECT_EQ(qf_pelHandles(image), 2);
        EXPECT_EQ(qf_pelHandles(part), 2);
    }
    EXPECT_EQ(qf_pelHandles(image), 1);
    const std::vector<unsigned char> host(12, 0);
    EXPECT_EQ(qf_pelHandles(qvPelBuffer_const<unsigned char>(host.data(), 4, 3, 4)), 0);
}

TEST(PelSharing, PelsThatNobodyElseShowsAreProvidedAgain) {
    qvPelBuffer<unsigned char> image;
    qf_provideOwnPels(image, 5, 4, 32);
    const unsigned char* const memory = image.pointToRow(0);
    qf_provideOwnPels(image, 5, 4, 32);
    EXPECT_EQ(image.pointToRow(0), memory);
    const qvPelBuffer_const<unsigned char> own = image;
    qf_provideOwnPels(image, 5, 4, 32, 2);
    EXPECT_EQ(image.pointToRow(0), memory);
}

TEST(PelSharing, PelsThatSomebodyElseShowsAreLeftAlone) {
    qvPelBuffer<unsigned char> image;
    qf_provideOwnPels(image, 5, 4, 32);
    image.put(2, 1, 77);
    const qvPelBuffer_const<unsigned char> other = image;
    qf_provideOwnPels(image, 5, 4, 32);
    image.put(2, 1, 3);
    EXPECT_EQ(other.get(2, 1), 77);
}

TEST(PelSharing, AnotherSizeIsANewImage) {
    qvPelBuffer<unsigned char> image;
    qf_provideOwnPels(image, 5, 4, 32);
    qf_provideOwnPels(image, 4, 5, 32);
    EXPECT_EQ(image.width(), 4);
    EXPECT_EQ(image.height(), 5);
}
