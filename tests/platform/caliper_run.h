/// @file
/// Calipers over literal rows, for tests.
#ifndef QVSTREET_TESTS_PLATFORM_CALIPER_RUN_H
#define QVSTREET_TESTS_PLATFORM_CALIPER_RUN_H

#include <vector>

#include "qvstreet/platform/caliper.h"
#include "tests/support/noise_image.h"

namespace qvtest {

constexpr long kNearestPel = 1;
constexpr long kBilinearPel = 2;

/// An image whose rows are all the same.
inline qvPelBuffer<unsigned char> repeatedRow(const std::vector<int>& row, int height) {
    return imageOf(std::vector<std::vector<int>>(static_cast<std::size_t>(height), row));
}

/// `widths[i]` pels of grey level `levels[i]`.
inline std::vector<int> steps(const std::vector<int>& levels, const std::vector<int>& widths) {
    std::vector<int> row;
    for (std::size_t i = 0; i < levels.size(); ++i)
        row.insert(row.end(), static_cast<std::size_t>(widths[i]), levels[i]);
    return row;
}

inline qvAffineRectangle uprightRect(double x, double y, double width, double height) {
    return qvAffineRectangle(qvVector<2>(x + width / 2.0, y + height / 2.0), width, height, qvRadian(0.0),
                             qvRadian(0.0));
}

/// One sample for each pel of the whole image.
inline qvAffineSamplingParams allPels(const qvPelBuffer_const<unsigned char>& image, long interpolation) {
    return qvAffineSamplingParams(
        uprightRect(0.0, 0.0, static_cast<double>(image.width()), static_cast<double>(image.height())), image.width(),
        image.height(), interpolation);
}

inline qvCaliperResultSet runCaliper(const qvPelBuffer_const<unsigned char>& image,
                                     const qvAffineSamplingParams& sampling, const qvCaliperRunParams& params) {
    qvCaliperResultSet results;
    qfCaliperRun(image, sampling, params, results, nullptr, 0);
    return results;
}

/// Every edge of either polarity from contrast 0.001 on.
inline qvCaliperRunParams allEdges(short halfSize) {
    qvCaliperRunParams params(0.0, qvCaliperDefs::eEither);
    params.filterHalfSize(halfSize);
    params.contrastThreshold(0.001);
    params.maxNumResults(100);
    return params;
}

inline std::vector<qvCaliperResultEdge> edgesOfRow(const std::vector<int>& row, short halfSize) {
    const qvPelBuffer<unsigned char> image = repeatedRow(row, 2);
    return runCaliper(image, allPels(image, kNearestPel), allEdges(halfSize)).resultEdges();
}

/// Gives every candidate the same score.
class ConstantScore : public qvCaliperScore {
 public:
    explicit ConstantScore(double score) : qvCaliperScore(0.0, 0.0, 0.0, score, score) {}
    double measure(const qvCaliperFeatures&) const override { return 0.0; }
};

}  // namespace qvtest

#endif
