#include "qvstreet/frontend/filter_1d.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

#include "qvstreet/platform/angle.h"
#include "qvstreet/platform/rect.h"

namespace {

// Mark of the filter level in an archive; any number does, since no other level of a filter has one.
constexpr long kFilterMark = 64;
constexpr unsigned char kOnlyVersion = 0;

// Beyond four sigma a Gaussian is below 0.0004 of its maximum.
constexpr double kSigmasPerHalfWidth = 4.0;

// Outputs computed side by side: enough independent sums to keep the adders busy, few enough to stay in registers.
constexpr long kOutputsPerBlock = 8;

long halfWidth(double sigma) { return std::max(qfTruncate(kSigmasPerHalfWidth * sigma), 1L); }

qvPelBuffer<double> emptyKernel(long halfWidth) {
    const long width = 2 * halfWidth + 1;
    if (width > std::numeric_limits<std::int32_t>::max()) throw qvPel::BadSize();
    return qvPelBuffer<double>(width, 1, 32);
}

qvPelBuffer_const<double> gaussKernel(double sigma) {
    const long n = halfWidth(sigma);
    qvPelBuffer<double> kernel = emptyKernel(n);
    double* const middle = kernel.pointToPel(n, 0);

    const double d = 2.0 * sigma * sigma;
    double sum = 0.0;
    for (long i = -n; i <= n; ++i) {
        middle[i] = std::exp(-(static_cast<double>(i) * static_cast<double>(i)) / d);
        sum += std::fabs(middle[i]);
    }
    if (sum > 0.0)
        for (long i = -n; i <= n; ++i) middle[i] /= sum;
    return kernel;
}

qvPelBuffer_const<double> gaussDerivativeKernel(double sigma) {
    const long n = halfWidth(sigma);
    qvPelBuffer<double> kernel = emptyKernel(n);
    double* const middle = kernel.pointToPel(n, 0);

    const double scale = 1.0 / (std::sqrt(qvTwoPi) * sigma * sigma * sigma);
    double sum = 0.0;
    for (long i = -n; i < 0; ++i) {
        middle[i] = static_cast<double>(i) * scale *
                    std::exp(-(static_cast<double>(i) * static_cast<double>(i)) / (2.0 * sigma * sigma));
        // deliberate: the sum has the left half only; pinned by DiffOfGauss1D.MagnitudesOfEachHalfSumToOne
        sum += std::fabs(middle[i]);
    }

    double* left = kernel.pointToPel(0, 0);
    double* right = kernel.pointToPel(2 * n, 0);
    for (; left < right; ++left, --right) {
        if (sum > 0.0) *left /= sum;
        *right = -*left;
    }
    qf_assert(left == right, L"a derivative kernel has a middle");
    *left = 0.0;
    return kernel;
}

/// The sums of `count` neighbouring outputs, each added up in order of the coefficients.
template <typename In>
void correlate(const double* kernel, long kernelWidth, const In* source, double* sums, long count) {
    std::fill_n(sums, count, 0.0);
    for (long i = 0; i < kernelWidth; ++i) {
        const double coefficient = kernel[i];
        for (long k = 0; k < count; ++k) sums[k] += coefficient * static_cast<double>(source[i + k]);
    }
}

}  // namespace

template <typename In, typename Out, typename Size>
void qvFilter1D<In, Out, Size>::fixDestWindow(const qvPelBuffer_const<In>& source, qvPelBuffer<Out>& dest) const {
    const long reduction = static_cast<long>(sizeReduction());
    const long width = source.width() - reduction;
    if (!source.isBound() || source.height() != 1 || width <= 0) throw qvFiltErr::BadImageSize();

    if (dest.isBound() && dest.width() > width)
        qf_SetSubWindow(dest, 0, 0, width, 1);
    else if (!dest.isBound() || dest.width() < width)
        dest = qvPelBuffer<Out>(width, 1, 32);
    qf_assert(dest.width() + reduction == source.width(), L"a filtered row is shorter by the size reduction");
}

template <typename In, typename Out, typename Size>
void qvFilter1D<In, Out, Size>::dispatchSerialize(qvArchive& archive) {
    if (haveVisited(archive, this, kFilterMark)) return;
    unsigned char version = kOnlyVersion;
    archive || version;
    serialize_(archive, version);
    setVisited(archive, this, kFilterMark);
}

template <typename In, typename Out, typename Size>
void qvFilter1D<In, Out, Size>::serialize_(qvArchive& archive, unsigned char version) {
    if (version != kOnlyVersion) throw qvArchive::UnknownVersion("qvFilter1D", kOnlyVersion);
    qvPersistent::dispatchSerialize(archive);
}

template <typename In, typename Out>
qvConvolve1D<In, Out>::qvConvolve1D(const qvPelBuffer_const<double>& kernel)
    : kernel_(kernel), filterOffset_(static_cast<double>(kernel.width()) / 2.0) {}

template <typename In, typename Out>
long qvConvolve1D<In, Out>::applyFilter(const qvPelBuffer_const<In>& source, qvPelBuffer<Out>& dest) const {
    this->fixDestWindow(source, dest);
    const double* const kernel = kernel_.pointToRow(0);
    const In* const in = source.pointToRow(0);
    Out* const out = dest.pointToRow(0);

    // The sums of a block are complete before any is written, so source and destination may share their pels.
    double sums[kOutputsPerBlock];
    long k = 0;
    for (; k + kOutputsPerBlock <= dest.width(); k += kOutputsPerBlock) {
        correlate(kernel, kernel_.width(), in + k, sums, kOutputsPerBlock);
        for (long j = 0; j < kOutputsPerBlock; ++j) out[k + j] = static_cast<Out>(sums[j]);
    }
    for (; k < dest.width(); ++k) {
        correlate(kernel, kernel_.width(), in + k, sums, 1);
        out[k] = static_cast<Out>(sums[0]);
    }
    return source.width();
}

template <typename In, typename Out>
qvGaussST1D<In, Out>::qvGaussST1D(double sigma) : qvConvolve1D<In, Out>(gaussKernel(sigma)) {}

template <typename In, typename Out>
std::unique_ptr<qvFilter1D<In, Out, long>> qvGaussST1D<In, Out>::clone() const {
    return std::make_unique<qvGaussST1D>(*this);
}

template <typename In, typename Out>
qvDiffOfGauss1D<In, Out>::qvDiffOfGauss1D(double sigma) : qvConvolve1D<In, Out>(gaussDerivativeKernel(sigma)) {}

template <typename In, typename Out>
std::unique_ptr<qvFilter1D<In, Out, long>> qvDiffOfGauss1D<In, Out>::clone() const {
    return std::make_unique<qvDiffOfGauss1D>(*this);
}

template class qvFilter1D<double, double, long>;
template class qvFilter1D<unsigned long, double, long>;
template class qvConvolve1D<double, double>;
template class qvConvolve1D<unsigned long, double>;
template class qvGaussST1D<double, double>;
template class qvGaussST1D<unsigned long, double>;
template class qvDiffOfGauss1D<double, double>;
