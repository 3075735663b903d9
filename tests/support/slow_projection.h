/// @file
/// Tiled projection by way of the whole resampled image and its mask: what the fused version must equal to the bit.
#ifndef QVSTREET_TESTS_SUPPORT_SLOW_PROJECTION_H
#define QVSTREET_TESTS_SUPPORT_SLOW_PROJECTION_H

#include <algorithm>
#include <vector>

#include "qvstreet/projection/tiled_projection.h"
#include "tests/support/slow_sampling.h"

namespace qvtest {

/// The profile of one rectangle given by its samples; each row of samples is a bin. Sums in doubles, in order.
inline qvTiledProjectionOneResult slowTile(const SlowSamples& samples) {
    qvTiledProjectionOneResult tile;
    for (long y = 0; y < samples.height; ++y) {
        double sum = 0.0;
        double squareSum = 0.0;
        double count = 0.0;
        for (long x = 0; x < samples.width; ++x) {
            sum += samples.value(x, y);
            squareSum += static_cast<double>(samples.value(x, y)) * samples.value(x, y);
            if (!samples.partial || samples.isInside(x, y)) count += 1.0;
        }
        tile.sums.push_back(sum);
        tile.squareSums.push_back(squareSum);
        tile.counts.push_back(count);
        const bool isFirst = y == 0;
        tile.cumSums.push_back(isFirst ? sum : tile.cumSums.back() + sum);
        tile.cumSquareSums.push_back(isFirst ? squareSum : tile.cumSquareSums.back() + squareSum);
        tile.cumCounts.push_back(isFirst ? count : tile.cumCounts.back() + count);
    }
    tile.status = 0;
    return tile;
}

/// Second smallest and second greatest of four.
inline void slowInscribed(std::vector<double> products, double& low, double& high) {
    std::sort(products.begin(), products.end());
    low = products[1];
    high = products[2];
}

/// Tile (0, 0) of one by one tile with the inscribed rectangle and running sums.
inline qvTiledProjectionOneResult slowStreetTile(const Image8& image, qvDegree primary, qvDegree cross) {
    const qvXform<2> clientFromImage = image.clientFromImageXform();
    Image8 view = image;
    view.clientFromImageXform(qvXform<2>());
    const qvDegree primaryAngle = clientFromImage.inverse().mapAngle(primary);
    const qvDegree crossAngle = clientFromImage.inverse().mapAngle(cross);
    const qvVector<2> d0(1.0, primaryAngle);
    const qvVector<2> d1(1.0, crossAngle);
    std::vector<double> along0;
    std::vector<double> along1;
    const qvPelRect window = view.window();
    for (const qvPair<long>& corner : {window.ul(), window.ur(), window.ll(), window.lr()}) {
        const qvVector<2> p(static_cast<double>(corner.first), static_cast<double>(corner.second));
        along0.push_back(d0 * p);
        along1.push_back(d1 * p);
    }
    double min0, max0, min1, max1;
    slowInscribed(along0, min0, max0);
    slowInscribed(along1, min1, max1);
    const qvAffineRectangle rect(d0 * min0 + d1 * min1, d0 * min0 + d1 * max1, d0 * max0 + d1 * min1);

    const double tileWidth = rect.xLength();
    const double tileHeight = rect.yLength();
    const qvVector<2> a = d0 * tileWidth;
    const qvVector<2> b = d1 * tileHeight;
    const qvVector<2> o = rect.cornerPo();
    const qvAffineSamplingParams sampling(qvAffineRectangle(o, o + b, o + a), qf_sampleCount(tileHeight),
                                          qf_sampleCount(tileWidth), 2);
    return slowTile(slowTransform(view, sampling));
}

}  // namespace qvtest

#endif
