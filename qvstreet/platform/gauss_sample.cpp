// Reduction of an image by whole factors with Gaussian smoothing.
//
// In:  an 8-bit image, factors, a scale of the smoothing.
// Out: an 8-bit image with one pel for each block.
//
// The Gaussian is separable. It runs down the columns first, for the kept rows alone and over whole rows at a time,
// then along the rows that are left, for the kept columns alone:
//
//     source rows --taps down--> one row of 16-bit values, 1/128 grey level --taps along--> kept pels
//
// Weights are integers that add up to 2^14 exactly, so a flat image keeps its grey level to the last bit. Room: 255 *
// 2^14 is below 2^22; divided by 2^7 it is at most 32640 and fits 16 bits signed; times 2^14 it stays below 2^29.
//
// The more taps there are, the smaller are the weights and the more does their rounding count. Where it could move a
// result by half a grey level, from factors of about 50 on, the same two steps run in doubles.
#include "qvstreet/platform/gauss_sample.h"

#include <algorithm>
#include <cmath>

#include "qvstreet/platform/gauss_kernels.h"

namespace {

using Image = qvPelBuffer_const<unsigned char>;

// Sigma of one axis for a factor of 1. Chosen by measurement: with 0.5 street angles become 20 % worse, with 0.7
// streets get lost, and below 0.3 nothing is gained.
constexpr double kSigmaPerFactor = 0.35;
// Where the taps end, in sigmas.
constexpr double kReach = 3.0;

constexpr std::int32_t kWeightSum = 1 << 14;
// What whole weights may be off, in grey levels. With 1/256 from the values between the directions and 1/2 from the
// final rounding the result stays within 1.
constexpr double kMostWeightError = 0.49;

constexpr long kAlignment = 32;

/// The Gaussian at each distance, scaled so that all add up to 1.
std::vector<double> gaussianWeights(const std::vector<double>& distances, double sigma) {
    double nearest = std::fabs(distances.front());
    for (const double distance : distances) nearest = std::min(nearest, std::fabs(distance));
    std::vector<double> weights;
    double sum = 0.0;
    for (const double distance : distances) {
        // Relative to the nearest tap, so that a narrow Gaussian does not vanish at all of them.
        const double excess = distance * distance - nearest * nearest;
        weights.push_back(excess == 0.0 ? 1.0 : std::exp(-excess / (2.0 * sigma * sigma)));
        sum += weights.back();
    }
    for (double& weight : weights) weight /= sum;
    return weights;
}

/// Symmetric whole weights that add up to `kWeightSum`. From each end to the middle, a weight is rounded so that the
/// sum up to it is as close as can be; an odd middle takes what is left.
std::vector<std::int16_t> roundedWeights(const std::vector<double>& weights) {
    const std::size_t count = weights.size();
    std::vector<std::int16_t> whole(count);
    double sum = 0.0;
    std::int32_t wholeSum = 0;
    for (std::size_t i = 0; i < count / 2; ++i) {
        sum += weights[i];
        const bool endsAtMiddle = 2 * (i + 1) == count;
        const std::int32_t target =
            endsAtMiddle ? kWeightSum / 2 : static_cast<std::int32_t>(std::floor(sum * kWeightSum + 0.5));
        whole[i] = whole[count - 1 - i] = static_cast<std::int16_t>(target - wholeSum);
        wholeSum = target;
    }
    if (count % 2 == 1) whole[count / 2] = static_cast<std::int16_t>(kWeightSum - 2 * wholeSum);
    return whole;
}

/// The worst image is white where weights were rounded down and black elsewhere, or the other way round.
double worstError(const std::vector<double>& weights, const std::vector<std::int16_t>& whole) {
    double lost = 0.0;
    for (std::size_t i = 0; i < weights.size(); ++i) lost += std::max(weights[i] - whole[i] / double{kWeightSum}, 0.0);
    return 255.0 * lost;
}

qv_gaussTaps makeTaps(long factor, double smoothing) {
    const double sigma = kSigmaPerFactor * static_cast<double>(factor) * smoothing;
    const double middle = static_cast<double>(factor) / 2.0;
    const double nearest = factor % 2 == 0 ? 0.5 : 0.0;
    // A pel that lies on the limit stays in, whatever the rounding of the product.
    const double reach = std::max(kReach * sigma, nearest) + 1e-9;

    qv_gaussTaps taps;
    taps.factor = factor;
    taps.smoothing = smoothing;
    taps.first = static_cast<long>(std::ceil(middle - 0.5 - reach));
    std::vector<double> distances;
    for (long pel = taps.first; static_cast<double>(pel) + 0.5 - middle <= reach; ++pel)
        distances.push_back(static_cast<double>(pel) + 0.5 - middle);
    taps.weights = gaussianWeights(distances, sigma);
    taps.wholeWeights = roundedWeights(taps.weights);
    taps.weightError = worstError(taps.weights, taps.wholeWeights);
    while (taps.wholeWeights.size() % kGaussTapGroup != 0) taps.wholeWeights.push_back(0);
    return taps;
}

void provideTaps(long factor, double smoothing, qv_gaussTaps& taps) {
    const bool isAsked = taps.factor == factor && taps.smoothing == smoothing;
    if (!isAsked) taps = makeTaps(factor, smoothing);
}

long blockCount(long size, long factor, bool completeLastBlock) {
    return completeLastBlock ? size / factor + (size % factor != 0 ? 1 : 0) : std::max(size / factor, 1L);
}

/// The row that tap `tap` of a row of blocks reads, border rows repeated.
const unsigned char* tappedRow(const Image& image, const qv_gaussTaps& taps, long block, std::size_t tap) {
    const long row = block * taps.factor + taps.first + static_cast<long>(tap);
    return image.pointToRow(std::clamp(row, 0L, image.height() - 1));
}

/// The columns that some block reads, and where the first of them stands in the row of values.
struct ColumnsRead {
    long first;
    std::size_t count;
    std::size_t place;
};

ColumnsRead columnsRead(long width, const qv_gaussTaps& along, std::size_t values) {
    const long last = along.first + static_cast<long>(values) - 1;
    const long first = std::clamp(along.first, 0L, width - 1);
    return {first, static_cast<std::size_t>(std::clamp(last, 0L, width - 1) - first + 1),
            static_cast<std::size_t>(std::max(first - along.first, 0L))};
}

void reduceInWholeNumbers(const Image& image, qv_gaussScratch& scratch, const qvPelBuffer<unsigned char>& reduced) {
    const qv_gaussTaps& along = scratch.along;
    const qv_gaussTaps& down = scratch.down;
    const qv_GaussKernels& kernels = QV_CHOSEN_KERNELS(gaussKernels);
    const std::size_t blocks = static_cast<std::size_t>(reduced.width());
    const std::size_t factor = static_cast<std::size_t>(along.factor);
    const std::size_t downTaps = down.weights.size();
    scratch.rows.resize(downTaps);
    scratch.values.resize((blocks - 1) * factor + along.wholeWeights.size());
    std::int16_t* const values = scratch.values.data();
    std::int16_t* const end = values + scratch.values.size();
    const ColumnsRead read = columnsRead(image.width(), along, scratch.values.size());

    for (long row = 0; row < reduced.height(); ++row) {
        for (std::size_t tap = 0; tap < downTaps; ++tap)
            scratch.rows[tap] = tappedRow(image, down, row, tap) + read.first;
        std::int16_t* const inner = values + read.place;
        kernels.smoothDown(scratch.rows.data(), down.wholeWeights.data(), downTaps, read.count, inner);
        std::fill(values, inner, *inner);
        std::fill(inner + read.count, end, inner[read.count - 1]);
        kernels.smoothAlong(values, factor, along.wholeWeights.data(), along.wholeWeights.size(), blocks,
                            reduced.pointToRow(row));
    }
}

void reduceInDoubles(const Image& image, qv_gaussScratch& scratch, const qvPelBuffer<unsigned char>& reduced) {
    const qv_gaussTaps& along = scratch.along;
    const qv_gaussTaps& down = scratch.down;
    std::vector<double>& sums = scratch.sums;
    sums.resize(static_cast<std::size_t>(image.width()));
    for (long row = 0; row < reduced.height(); ++row) {
        std::fill(sums.begin(), sums.end(), 0.0);
        for (std::size_t tap = 0; tap < down.weights.size(); ++tap) {
            const unsigned char* const pels = tappedRow(image, down, row, tap);
            const double weight = down.weights[tap];
            for (std::size_t x = 0; x < sums.size(); ++x) sums[x] += weight * pels[x];
        }
        for (long column = 0; column < reduced.width(); ++column) {
            const long first = column * along.factor + along.first;
            double sum = 0.0;
            for (std::size_t tap = 0; tap < along.weights.size(); ++tap) {
                const long x = std::clamp(first + static_cast<long>(tap), 0L, image.width() - 1);
                sum += along.weights[tap] * sums[static_cast<std::size_t>(x)];
            }
            *reduced.pointToPel(column, row) = static_cast<unsigned char>(std::floor(sum + 0.5));
        }
    }
}

/// Block coordinates to the client frame of the image.
qvXform<2> clientFromBlocks(const Image& image, const qvPair<long>& factors) {
    const qvPair<long> offset = image.offset();
    const qvXform<2> imageFromBlocks(
        qvMatrix<2>(static_cast<double>(factors.first), 0.0, 0.0, static_cast<double>(factors.second)),
        qvVector<2>(static_cast<double>(offset.first), static_cast<double>(offset.second)));
    return image.clientFromImageXform() * imageFromBlocks;
}

}  // namespace

void qf_gaussSample(const qvPelBuffer_const<unsigned char>& image, const qvGaussSampleParams& params,
                    qv_gaussScratch& scratch, qvPelBuffer<unsigned char>& reduced) {
    if (!image.isBound()) throw qvPel::UnboundWindow();
    const bool hasPels = image.width() > 0 && image.height() > 0;
    const qvPair<long>& factors = params.factors();
    const long columns = hasPels ? blockCount(image.width(), factors.first, params.completeLastBlock()) : 1;
    const long rows = hasPels ? blockCount(image.height(), factors.second, params.completeLastBlock()) : 1;
    if (reduced.width() != columns || reduced.height() != rows)
        reduced = qvPelBuffer<unsigned char>(columns, rows, kAlignment);
    reduced.offset(0, 0);
    reduced.clientFromImageXform(clientFromBlocks(image, factors));
    if (!hasPels) {
        reduced.window(0, 0, 0, 0, false);
        return;
    }

    provideTaps(factors.first, params.smoothing(), scratch.along);
    provideTaps(factors.second, params.smoothing(), scratch.down);
    if (scratch.along.weightError + scratch.down.weightError <= kMostWeightError)
        reduceInWholeNumbers(image, scratch, reduced);
    else
        reduceInDoubles(image, scratch, reduced);
}

qvPelBuffer<unsigned char> qfGaussSample(const qvPelBuffer_const<unsigned char>& image,
                                         const qvGaussSampleParams& params) {
    qv_gaussScratch scratch;
    qvPelBuffer<unsigned char> reduced;
    qf_gaussSample(image, params, scratch, reduced);
    return reduced;
}
