/// @file
/// The one-dimensional Fourier transform of eight signals side by side, which the transforms of images are made of.
#ifndef QVSTREET_PLATFORM_FOURIER_PLAN_H
#define QVSTREET_PLATFORM_FOURIER_PLAN_H

#include <cstddef>
#include <memory>
#include <vector>

#include "qvstreet/platform/aligned_memory.h"
#include "qvstreet/platform/fourier_kernels.h"

/// The tables for one length, built once and never changed, so that threads may share them.
///
/// A block holds sample i of all signals in row i: `kLanes` real parts in one array, the imaginary parts in a second. A
/// row is one cache line, the inner loops run along it with one twiddle factor for all, and the order in which the rows
/// end up costs nothing because every row is moved as a whole. Both arrays for 256 samples fill 32 KiB, so the
/// block stays in the first-level cache. Each signal goes through the same operations whatever stands beside it and
/// however wide the vectors of the machine are, so the bits are the same everywhere.
class qv_FourierPlan {
 public:
    /// Signals per block; in doubles, one cache line.
    static constexpr long kLanes = kFourierLanes;

    /// @param length  samples of a signal, 1 or more. Powers of two take about 4.25 length log2(length) operations; any
    ///                other length goes through a convolution of at least twice its length.
    explicit qv_FourierPlan(long length);

    /// The plan of a length: the shared one for 256, which every analysed image needs, else a new one.
    static std::shared_ptr<const qv_FourierPlan> forLength(long length);

    long length() const { return length_; }

    /// Doubles in each of the two arrays of a block: `length()` rows, and the work space behind them.
    std::size_t blockSize() const { return static_cast<std::size_t>(blockRows_ * kLanes); }

    /// Replaces the signals by their transforms, sum over i of sample[i] exp(-2 pi i k / length), not scaled, with
    /// frequency k of all signals in row `rowOf(k)`. Exchanging the two arrays gives the inverse transform, not scaled,
    /// with real and imaginary part exchanged as well.
    void transform(double* real, double* imaginary) const;

    /// The row of a block in which `transform` leaves frequency `k`.
    long rowOf(long k) const { return rowOf_[static_cast<std::size_t>(k)]; }
    /// The rows of all frequencies.
    const long* rowsOf() const { return rowOf_.data(); }

    /// Powers of two only: the factors that the kernels want.
    const double* turns() const { return turns_.data(); }

 private:
    void buildPowerOfTwo();
    void buildConvolution();
    void transformByConvolution(double* real, double* imaginary) const;

    long length_;
    long blockRows_;
    std::vector<long> rowOf_;
    /// Powers of two only: the factors of the butterflies, in the order of their use.
    std::vector<double> turns_;
    /// Other lengths only: cos and sin of -pi k^2 / length.
    std::vector<double> cosine_;
    std::vector<double> sine_;
    /// Also other lengths only: the transform that convolves, and the spectrum of the kernel in its row order, divided by
    /// its length.
    std::shared_ptr<const qv_FourierPlan> convolver_;
    std::vector<double> kernelReal_;
    std::vector<double> kernelImaginary_;
};

/// Where a transform of one length takes place: on the stack up to the side of the square that every image is analysed
/// in, so that nothing is allocated for it.
class qv_FourierBlock {
    static constexpr std::size_t kOwnSize = static_cast<std::size_t>(256 * qv_FourierPlan::kLanes);
    alignas(64) double own_[2 * kOwnSize];
    qv_AlignedDoubles memory_;

 public:
    explicit qv_FourierBlock(long length);
    qv_FourierBlock(const qv_FourierBlock&) = delete;
    qv_FourierBlock& operator=(const qv_FourierBlock&) = delete;

    void transform() { plan->transform(real, imaginary); }
    /// Not scaled. Exchanging real and imaginary part before and after makes the forward transform the inverse one.
    void transformBack() { plan->transform(imaginary, real); }

    const std::shared_ptr<const qv_FourierPlan> plan;
    double* real;
    double* imaginary;
};

#endif
