// Resampling of a parallelogram into an upright image.
//
// In:  a source with a client transform, a parallelogram in client coordinates, numbers of samples.
// Out: an image with one pel for each sample, row by row, and optionally a mask of the samples that lay inside.
//
// Every row of samples is a straight walk through the source:
//
//     outside | careful |        interior        | careful | outside
//        0    |         one loop without tests             |    0
//
// The borders of the five stretches are worked out once for a row.
#include <cstring>
#include <type_traits>

#include "qvstreet/platform/pel_walk.h"
#include "qvstreet/platform/sample_destination.h"
#include "qvstreet/platform/sample_kernel.h"
#include "qvstreet/platform/sampling.h"

namespace {

constexpr int kMaskInside = 255;

void fill(unsigned char* row, const qv_Span& span, int value) {
    std::memset(row + span.begin, value, static_cast<std::size_t>(span.end - span.begin));
}

/// The rows of an image that is sampled by `Kernel`.
template <class Kernel>
class Rows {
 public:
    Rows(const qv_PelSource& source, const qv_FixedVector& step)
        : source_(source),
          step_(step),
          useKernels_(std::is_same_v<Kernel, qv_BilinearKernel> && qf_kernelsFollow(step)) {
        if (useKernels_) kernelStep_ = qf_walkStep(step);
    }

    void sample(const qv_FixedVector& start, const qv_WalkSpans& spans, unsigned char* row) const {
        for (long x = spans.inside.begin; x < spans.interior.begin; ++x)
            row[x] = static_cast<unsigned char>(Kernel::careful(source_, start + x * step_));
        sampleInterior(start, spans.interior, row);
        for (long x = spans.interior.end; x < spans.inside.end; ++x)
            row[x] = static_cast<unsigned char>(Kernel::careful(source_, start + x * step_));
    }

 private:
    void sampleInterior(const qv_FixedVector& start, const qv_Span& interior, unsigned char* row) const {
        if (useKernels_ && interior.begin < interior.end) {
            const qv_PelWalk walk = qf_pelWalk(source_, start + interior.begin * step_, interior.end - interior.begin);
            QV_CHOSEN_KERNELS(projectionKernels).store(walk, kernelStep_, row + interior.begin);
            return;
        }
        qv_WalkPosition position(start, step_, interior.begin);
        for (long x = interior.begin; x < interior.end; ++x, ++position)
            row[x] = static_cast<unsigned char>(Kernel::interior(source_, *position));
    }

    qv_PelSource source_;
    qv_FixedVector step_;
    bool useKernels_;
    qv_WalkStep kernelStep_;
};

/// @returns whether some sample lay outside
template <class Kernel>
bool sampleImage(const qvPelBuffer_const<unsigned char>& image, const qv_SampleGrid& grid,
                 const qvPelBuffer<unsigned char>& destination, const qvPelBuffer<unsigned char>* mask) {
    const qv_PelSource source = qf_pelSource(image);
    const Rows<Kernel> rows(source, grid.xStep);
    bool partial = false;
    for (long y = 0; y < grid.yCount; ++y) {
        const qv_FixedVector start = grid.start + y * grid.yStep;
        qv_WalkSpans spans;
        if (grid.reachesSource) spans = qf_walkSpans<Kernel>(source, start, grid.xStep, grid.xCount);
        const qv_Span before{0, spans.inside.begin};
        const qv_Span after{spans.inside.end, grid.xCount};
        partial = partial || before.end > before.begin || after.end > after.begin;

        unsigned char* row = destination.pointToRow(y);
        fill(row, before, 0);
        rows.sample(start, spans, row);
        fill(row, after, 0);
        if (mask == nullptr) continue;
        unsigned char* maskRow = mask->pointToRow(y);
        fill(maskRow, before, 0);
        fill(maskRow, spans.inside, kMaskInside);
        fill(maskRow, after, 0);
    }
    return partial;
}

bool transformImage(const qvPelBuffer_const<unsigned char>& source, qvPelBuffer<unsigned char>& destination,
                    qvPelBuffer<unsigned char>* mask, const qvAffineSamplingParams& params) {
    const qv_SampleGrid grid = qf_sampleGrid(source, params);
    const qvXform<2> clientFromSamples = qf_clientFromSamples(params);
    // A destination may be the source's own handle, which the replacement below would unbind.
    const qvPelBuffer_const<unsigned char> image = source;
    const qv_MemoryRange sourceMemory = qf_memoryRange(image);
    qf_prepareDestination(destination, grid.xCount, grid.yCount, sourceMemory, {}, clientFromSamples);
    if (mask != nullptr)
        qf_prepareDestination(*mask, grid.xCount, grid.yCount, sourceMemory, qf_memoryRange<unsigned char>(destination),
                              clientFromSamples);
    return params.interpolation() == kInterpolationNearest
               ? sampleImage<qv_NearestKernel>(image, grid, destination, mask)
               : sampleImage<qv_BilinearKernel>(image, grid, destination, mask);
}

}  // namespace

void qfAffineTransformImage(const qvPelBuffer_const<unsigned char>& source, qvPelBuffer<unsigned char>& destination,
                            const qvAffineSamplingParams& params) {
    transformImage(source, destination, nullptr, params);
}

void qfAffineTransformImage(const qvPelBuffer_const<unsigned char>& source, qvPelBuffer<unsigned char>& destination,
                            const qvAffineSamplingParams& params, bool& partial) {
    partial = transformImage(source, destination, nullptr, params);
}

void qfAffineTransformImage(const qvPelBuffer_const<unsigned char>& source, qvPelBuffer<unsigned char>& destination,
                            qvPelBuffer<unsigned char>& mask, const qvAffineSamplingParams& params) {
    transformImage(source, destination, &mask, params);
}

void qfAffineTransformImage(const qvPelBuffer_const<unsigned char>& source, qvPelBuffer<unsigned char>& destination,
                            qvPelBuffer<unsigned char>& mask, const qvAffineSamplingParams& params, bool& partial) {
    partial = transformImage(source, destination, &mask, params);
}
