/// @file
/// One-dimensional filters: a fixed kernel that runs over a one-row image.
///
/// The output holds only the positions at which the whole kernel fits, so it is shorter than the input and shifted
/// against it. Sample i of the input has its centre at i + 0.5; sample k of the output stands for the input position
/// k + `filterOffset()`.
///
///     qvFilter1D            the operations
///       qvConvolve1D        owns a kernel and applies it
///         qvGaussST1D       smoothing
///         qvDiffOfGauss1D   first derivative of the smoothed profile
///
/// A filter never changes after its construction, so several threads may use one at a time.
#ifndef QVSTREET_FRONTEND_FILTER_1D_H
#define QVSTREET_FRONTEND_FILTER_1D_H

#include <memory>

#include "qvstreet/platform/archive.h"
#include "qvstreet/platform/pel_buffer.h"

/// What every one-dimensional filter can do. `In` and `Out` are the pel types of source and destination, `Size` counts
/// samples.
///
/// In an archive a filter is a version byte of 0 and nothing else: the kernel follows from how the filter was made.
template <typename In, typename Out, typename Size>
class qvFilter1D : public virtual qvPersistent {
 public:
    ~qvFilter1D() override = default;

    /// A new copy of the most derived class.
    virtual std::unique_ptr<qvFilter1D> clone() const = 0;

    /// Filters the one-row image `source` into `dest`, which gets one row of `source.width() - sizeReduction()` pels.
    /// A bound `dest` that is wider is cut down to its first pels and keeps its memory; one that is narrower or unbound
    /// becomes a new image.
    /// @returns the width of the source
    /// @throws qvFiltErr::BadImageSize for a source that is unbound, has not exactly one row or is not wider than
    ///         `sizeReduction()`
    virtual Size applyFilter(const qvPelBuffer_const<In>& source, qvPelBuffer<Out>& dest) const = 0;

    /// Position of output sample 0 in the input, in samples.
    virtual double filterOffset() const = 0;

    /// By how many samples the output is shorter than the input.
    virtual Size sizeReduction() const = 0;

    /// Factor between the output and a filter of unit gain.
    virtual double filterGain() const = 0;

 protected:
    qvFilter1D() = default;
    qvFilter1D(const qvFilter1D&) = default;
    qvFilter1D& operator=(const qvFilter1D&) = default;

    /// Checks the source and gives the destination its width, as told at `applyFilter`, which calls it first.
    void fixDestWindow(const qvPelBuffer_const<In>& source, qvPelBuffer<Out>& dest) const;

    void dispatchSerialize(qvArchive& archive) override;
    void serialize_(qvArchive& archive, unsigned char version);
};

/// A filter that correlates the source with a kernel: output k is the sum over i of kernel[i] * source[k + i], in
/// doubles, added up in order of i. The kernel is not reversed.
template <typename In, typename Out>
class qvConvolve1D : public qvFilter1D<In, Out, long> {
 public:
    long applyFilter(const qvPelBuffer_const<In>& source, qvPelBuffer<Out>& dest) const override;
    double filterOffset() const override { return filterOffset_; }
    long sizeReduction() const override { return kernel_.width() - 1; }
    double filterGain() const override { return filterGain_; }

    /// The coefficients, one row.
    const qvPelBuffer_const<double>& kernel() const { return kernel_; }

 protected:
    /// From a kernel of 2 n + 1 coefficients in one row.
    explicit qvConvolve1D(const qvPelBuffer_const<double>& kernel);
    // Copies share the coefficients, which nobody changes.
    qvConvolve1D(const qvConvolve1D&) = default;
    qvConvolve1D& operator=(const qvConvolve1D&) = default;

 private:
    qvPelBuffer_const<double> kernel_;
    double filterOffset_;
    double filterGain_ = 1.0;
};

/// Smoothing with a Gaussian, cut off at four sigma, whose coefficients sum to 1.
template <typename In, typename Out>
class qvGaussST1D : public qvConvolve1D<In, Out> {
 public:
    /// @param sigma  in samples. The kernel has 2 n + 1 coefficients, n = 4 sigma truncated but at least 1. For a sigma
    ///               of 0 there is no Gaussian: the middle coefficient, and with it every result, is NaN.
    /// @throws qvPel::BadSize for a kernel of 2^31 coefficients or more
    explicit qvGaussST1D(double sigma);

    std::unique_ptr<qvFilter1D<In, Out, long>> clone() const override;
};

/// The first derivative of a Gaussian, cut off at four sigma. The coefficients left of the middle are negative, so a
/// rising profile gives positive values. The absolute values of each half sum to 1, so those of the whole kernel to 2:
/// a step of height 1 gives a peak of 1.
template <typename In, typename Out>
class qvDiffOfGauss1D : public qvConvolve1D<In, Out> {
 public:
    /// @param sigma  in samples, with the kernel size of `qvGaussST1D`
    /// @throws qvPel::BadSize for a kernel of 2^31 coefficients or more
    explicit qvDiffOfGauss1D(double sigma);

    std::unique_ptr<qvFilter1D<In, Out, long>> clone() const override;
};

extern template class qvFilter1D<double, double, long>;
extern template class qvFilter1D<unsigned long, double, long>;
extern template class qvConvolve1D<double, double>;
extern template class qvConvolve1D<unsigned long, double>;
extern template class qvGaussST1D<double, double>;
extern template class qvGaussST1D<unsigned long, double>;
extern template class qvDiffOfGauss1D<double, double>;

#endif
