#include "qvstreet/platform/sample_grid.h"

#include <cmath>

namespace {

// Positions up to here fit 32.32 fixed point with room for sums; no image is that large.
constexpr double kFurthestPosition = 1073741824.0;
constexpr double kFixedOneAsDouble = 4294967296.0;

bool isWithinReach(const qvVector<2>& v) {
    return std::fabs(v.x()) <= kFurthestPosition && std::fabs(v.y()) <= kFurthestPosition;
}

std::int64_t toFixed(double pels) { return static_cast<std::int64_t>(std::floor(pels * kFixedOneAsDouble + 0.5)); }

qv_FixedVector toFixed(const qvVector<2>& pels) { return {toFixed(pels.x()), toFixed(pels.y())}; }

}  // namespace

qv_SampleGrid qf_sampleGrid(const qv_PelBuffer& source, const qvAffineSamplingParams& params) {
    if (!source.isBound()) throw qvPel::UnboundWindow();
    qv_SampleGrid grid;
    grid.xCount = params.xNumSamples();
    grid.yCount = params.yNumSamples();

    const qvXform<2> imageFromClient = source.imageFromClientXform();
    const qvPair<long> offset = source.offset();
    const qvAffineRectangle& rect = params.affineRectangle();
    const qvVector<2> corner = imageFromClient.mapPoint(rect.cornerPo()) -
                               qvVector<2>(static_cast<double>(offset.first), static_cast<double>(offset.second));
    const qvVector<2> xSide = imageFromClient.mapVector(rect.xSide());
    const qvVector<2> ySide = imageFromClient.mapVector(rect.ySide());
    const qvVector<2> xStep = xSide / static_cast<double>(grid.xCount);
    const qvVector<2> yStep = ySide / static_cast<double>(grid.yCount);
    const qvVector<2> start = corner + xStep * 0.5 + yStep * 0.5;

    const bool withinReach = isWithinReach(corner) && isWithinReach(corner + xSide) && isWithinReach(corner + ySide) &&
                             isWithinReach(corner + xSide + ySide) && isWithinReach(start) && isWithinReach(xStep) &&
                             isWithinReach(yStep);
    if (!withinReach || source.width() == 0 || source.height() == 0) return grid;

    grid.reachesSource = true;
    grid.start = toFixed(start);
    grid.xStep = toFixed(xStep);
    grid.yStep = toFixed(yStep);
    return grid;
}

qvXform<2> qf_clientFromSamples(const qvAffineSamplingParams& params) {
    const qvAffineRectangle& rect = params.affineRectangle();
    const qvVector<2> xStep = rect.xSide() / static_cast<double>(params.xNumSamples());
    const qvVector<2> yStep = rect.ySide() / static_cast<double>(params.yNumSamples());
    return qvXform<2>(qvMatrix<2>(xStep.x(), yStep.x(), xStep.y(), yStep.y()), rect.cornerPo());
}
