#include "qvstreet/platform/fourier_plan.h"

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

namespace {

void expectSameBits(double a, double b) { EXPECT_EQ(0, std::memcmp(&a, &b, sizeof a)) << a << " and " << b; }

}  // namespace

TEST(FourierPlan, OneFor256IsShared) {
    EXPECT_EQ(qv_FourierPlan::forLength(256), qv_FourierPlan::forLength(256));
    EXPECT_EQ(256, qv_FourierPlan::forLength(256)->length());
    EXPECT_EQ(255, qv_FourierPlan::forLength(255)->length());
}

TEST(FourierPlan, ASignalIsTransformedAlikeWhateverStandsBesideIt) {
    for (const long length : {256L, 32L, 45L}) {
        const qv_FourierPlan plan(length);
        std::vector<double> real(plan.blockSize(), 0.0), imaginary(plan.blockSize(), 0.0);
        std::vector<double> otherReal(plan.blockSize(), 0.0), otherImaginary(plan.blockSize(), 0.0);
        for (long i = 0; i < length; ++i)
            for (long lane = 0; lane < qv_FourierPlan::kLanes; ++lane) {
                const auto entry = static_cast<std::size_t>(i * qv_FourierPlan::kLanes + lane);
                const auto partner = static_cast<std::size_t>(i * qv_FourierPlan::kLanes + 7 - lane);
                real[entry] = static_cast<double>((i * 31 + lane * 7) % 101);
                imaginary[entry] = static_cast<double>((i * 17 + lane * 3) % 89);
                otherReal[partner] = real[entry];
                otherImaginary[partner] = imaginary[entry];
            }
        plan.transform(real.data(), imaginary.data());
        plan.transform(otherReal.data(), otherImaginary.data());
        for (long i = 0; i < length; ++i)
            for (long lane = 0; lane < qv_FourierPlan::kLanes; ++lane) {
                const auto entry = static_cast<std::size_t>(i * qv_FourierPlan::kLanes + lane);
                const auto partner = static_cast<std::size_t>(i * qv_FourierPlan::kLanes + 7 - lane);
                expectSameBits(real[entry], otherReal[partner]);
                expectSameBits(imaginary[entry], otherImaginary[partner]);
            }
    }
}

TEST(FourierPlan, RowsAreFrequenciesWithReversedDigits) {
    const qv_FourierPlan even(16);  // digits of 4 and 4
    EXPECT_EQ(0, even.rowOf(0));
    EXPECT_EQ(4, even.rowOf(1));
    EXPECT_EQ(1, even.rowOf(4));
    EXPECT_EQ(7, even.rowOf(13));
    const qv_FourierPlan odd(8);  // digits of 4 and 2
    EXPECT_EQ(2, odd.rowOf(1));
    EXPECT_EQ(1, odd.rowOf(4));
    EXPECT_EQ(7, odd.rowOf(7));
    EXPECT_EQ(5, qv_FourierPlan(7).rowOf(5));
}
