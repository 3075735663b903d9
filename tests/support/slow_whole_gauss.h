/// @file
/// The Gaussian reduction in whole numbers as plainly as it can be said: one pel of the result at a time.
#ifndef QVSTREET_TESTS_SUPPORT_SLOW_WHOLE_GAUSS_H
#define QVSTREET_TESTS_SUPPORT_SLOW_WHOLE_GAUSS_H

#include <algorithm>
#include <cmath>
#include <vector>

#include "tests/support/slow_sampling.h"

namespace qvtest {

/// Weights in 2^-14, the same from either end: the sums from the end up to each are rounded, the middle takes the rest.
inline std::vector<long> slowWholeWeights(const std::vector<double>& weights) {
    const std::size_t count = weights.size();
    std::vector<long> whole(count);
    double sum = 0.0;
    long before = 0;
    for (std::size_t i = 0; i < count / 2; ++i) {
        sum += weights[i];
        const long upTo = 2 * (i + 1) == count ? 8192 : static_cast<long>(std::floor(sum * 16384.0 + 0.5));
        whole[i] = whole[count - 1 - i] = upTo - before;
        before = upTo;
    }
    if (count % 2 == 1) whole[count / 2] = 16384 - 2 * before;
    return whole;
}

/// One row after the other, complete blocks by repeated border pels. Down the columns first, rounded to 1/128 grey
/// level, then along the row; half up both times.
inline std::vector<int> slowWholeGauss(const Image8& image, long fx, long fy, double smoothing) {
    long firstX = 0;
    long firstY = 0;
    const std::vector<long> wx = slowWholeWeights(slowGaussTaps(fx, smoothing, firstX));
    const std::vector<long> wy = slowWholeWeights(slowGaussTaps(fy, smoothing, firstY));
    std::vector<int> reduced;
    for (long by = 0; by * fy < image.height(); ++by)
        for (long bx = 0; bx * fx < image.width(); ++bx) {
            long sum = 0;
            for (std::size_t i = 0; i < wx.size(); ++i) {
                long down = 0;
                for (std::size_t j = 0; j < wy.size(); ++j)
                    down += wy[j] * slowPel(image, bx * fx + firstX + static_cast<long>(i),
                                            by * fy + firstY + static_cast<long>(j));
                sum += wx[i] * ((down + 64) / 128);
            }
            reduced.push_back(static_cast<int>((sum + (1L << 20)) >> 21));
        }
    return reduced;
}

}  // namespace qvtest

#endif
