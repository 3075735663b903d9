// Projection of a parallelogram along its y side, as an image of one row.
#include "qvstreet/platform/project_bins.h"
#include "qvstreet/platform/sample_destination.h"
#include "qvstreet/platform/sampling.h"

namespace {

/// From profile coordinates to the client frame of the source: x counts samples, y goes from 0 to 1 over the whole y
/// side.
qvXform<2> clientFromProfile(const qvAffineSamplingParams& params) {
    const qvAffineRectangle& rect = params.affineRectangle();
    const qvVector<2> xStep = rect.xSide() / static_cast<double>(params.xNumSamples());
    const qvVector<2>& ySide = rect.ySide();
    return qvXform<2>(qvMatrix<2>(xStep.x(), ySide.x(), xStep.y(), ySide.y()), rect.cornerPo());
}

}  // namespace

void qfProjectImage(const qvPelBuffer_const<unsigned char>& source, qvPelBuffer<unsigned long>& sums,
                    qvPelBuffer<unsigned long>& counts, const qvAffineSamplingParams& params, unsigned long& scale,
                    bool& partial) {
    const qv_BinWalk walk = qf_binsOfColumns(qf_sampleGrid(source, params));
    const qvXform<2> xform = clientFromProfile(params);
    const qv_MemoryRange sourceMemory = qf_memoryRange(source);
    qf_prepareDestination(sums, walk.binCount, 1, sourceMemory, {}, xform);
    qf_prepareDestination(counts, walk.binCount, 1, sourceMemory, qf_memoryRange<unsigned long>(sums), xform);

    scale = static_cast<unsigned long>(walk.acrossCount);
    partial = false;
    qv_BinBlock block;
    for (long first = 0; first < walk.binCount; first += block.binCount) {
        qf_projectBinBlock(source, walk, params.interpolation(), first, block);
        for (long b = 0; b < block.binCount; ++b) {
            const std::size_t bin = static_cast<std::size_t>(b);
            *sums.pointToPel(first + b, 0) = block.sums[bin];
            *counts.pointToPel(first + b, 0) = block.counts[bin];
            partial = partial || block.counts[bin] != scale;
        }
    }
}
