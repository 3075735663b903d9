#include "qvstreet/frontend/ridge_kernels.h"

#include <gtest/gtest.h>

#include <limits>
#include <random>
#include <string>
#include <vector>

#include "tests/support/every_instruction_set.h"

namespace {

/// Values of which many are equal, and some are no numbers.
std::vector<double> steps(std::size_t count, unsigned seed) {
    std::mt19937 random(seed);
    std::vector<double> values(count);
    for (double& value : values) {
        value = static_cast<double>(random() % 5u);
        if (random() % 40u == 0u) value = std::numeric_limits<double>::quiet_NaN();
        if (random() % 40u == 0u) value = std::numeric_limits<double>::infinity();
    }
    return values;
}

}  // namespace

TEST(RidgeKernels, MarksAreWhatTheComparisonsSay) {
    long found = 0;
    for (const long count : {1L, 2L, 7L, 8L, 9L, 63L, 64L, 65L, 130L, 254L})
        for (const std::ptrdiff_t step : {1L, -1L, 270L, -271L, 269L, 0L})
            for (const double slack : {1.0, 1.0 + 1e-14, 1.5, std::numeric_limits<double>::infinity()}) {
                const std::vector<double> values = steps(900, static_cast<unsigned>(count + step));
                const double* const pels = values.data() + 301;
                qvtest::onEveryInstructionSet([&](const std::string& set) {
                    SCOPED_TRACE(set);
                    std::vector<std::uint64_t> marks(static_cast<std::size_t>((count + 63) / 64) + 1, 77u);
                    QV_CHOSEN_KERNELS(ridgeKernels).markMaxima(pels, step, count, 1.0, slack, marks.data());
                    EXPECT_EQ(77u, marks.back());
                    for (long x = 0; x < (count + 63) / 64 * 64; ++x) {
                        const double* const pel = pels + x;
                        const bool expected =
                            x < count && pel[0] > 1.0 && pel[0] * slack >= pel[-step] && pel[0] > pel[step];
                        const bool marked = (marks[static_cast<std::size_t>(x / 64)] >> (x % 64) & 1u) != 0u;
                        found += marked ? 1 : 0;
                        ASSERT_EQ(expected, marked) << x << " of " << count << " by " << step;
                    }
                });
            }
    EXPECT_GT(found, 1000);
}
