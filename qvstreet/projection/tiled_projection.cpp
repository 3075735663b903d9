// Tiled projection.
//
// In:  an 8-bit image with a client transform, two directions in client coordinates, a number of tiles.
// Out: for each tile a profile along the primary direction: sums, square sums and counts per bin, and their running
// sums.
//
//                 cross direction D1
//            O ------------------------->      everything in pel coordinates until the last step; a bin is a row of
//            | bin 0  . . . . . . . . . .      samples one pel apart along D1, the bins are one pel apart along D0
//     primary| bin 1  . . . . . . . . . .
//          D0| bin 2  . . . . . . . . . .
//            v
#include "qvstreet/projection/tiled_projection.h"

#include <algorithm>
#include <array>

#include "qvstreet/platform/project_bins.h"
#include "qvstreet/platform/sampling.h"
#include "qvstreet/projection/projection_records.h"

namespace {

constexpr long kBilinear = 2;
// Above every grey level, so that a span without samples never looks dark.
constexpr double kNoSamples = 1e12;
constexpr double kBeyondCoordinates = 1e12;
// Of a bin that covers too little of its tile.
constexpr double kTooFewSamples = -1.0;
constexpr double kNoSuchBin = -1.0;

using Image = qvPelBuffer_const<unsigned char>;

/// The limits of the window along one direction.
struct Extent {
    double lowest;
    double highest;
};

/// Dot products of a direction with the four corners of a window.
std::array<double, 4> cornerProducts(const qvPelRect& window, const qvVector<2>& direction) {
    const auto product = [&direction](const qvPair<long>& corner) {
        return direction * qvVector<2>(static_cast<double>(corner.first), static_cast<double>(corner.second));
    };
    return {product(window.ul()), product(window.ur()), product(window.ll()), product(window.lr())};
}

Extent circumscribedExtent(const std::array<double, 4>& products) {
    return {*std::min_element(products.begin(), products.end()), *std::max_element(products.begin(), products.end())};
}

/// From the second smallest to the second greatest product: leaving out one corner at each end keeps the rectangle
/// within the image as far as two directions can tell.
Extent inscribedExtent(std::array<double, 4> products) {
    std::array<double, 4> withoutGreatest = products;
    *std::max_element(withoutGreatest.begin(), withoutGreatest.end()) = -kBeyondCoordinates;
    *std::min_element(products.begin(), products.end()) = kBeyondCoordinates;
    return {*std::min_element(products.begin(), products.end()),
            *std::max_element(withoutGreatest.begin(), withoutGreatest.end())};
}

Extent extentAlong(const qvVector<2>& direction, const qvPelRect& window, std::uint32_t mode) {
    const std::array<double, 4> products = cornerProducts(window, direction);
    return (mode & qv_projectionParams::kInscribed) != 0 ? inscribedExtent(products) : circumscribedExtent(products);
}

/// The rectangle of a window between two directions: x side along the cross direction, y side along the primary one.
/// Its corners are formed as if the directions were at right angles; for skewed streets the rectangle is approximate.
qvAffineRectangle tileRectangle(const qvPelRect& window, const qvVector<2>& primaryDir, const qvVector<2>& crossDir,
                                std::uint32_t mode) {
    const Extent cross = extentAlong(crossDir, window, mode);
    const Extent primary = extentAlong(primaryDir, window, mode);
    return qvAffineRectangle(primaryDir * primary.lowest + crossDir * cross.lowest,
                             primaryDir * primary.lowest + crossDir * cross.highest,
                             primaryDir * primary.highest + crossDir * cross.lowest);
}

/// The grid of tiles, in pel coordinates.
struct TileGrid {
    qvPair<long> counts;
    qvVector<2> origin;
    /// From tile to tile along the primary and the cross direction.
    qvVector<2> primarySide;
    qvVector<2> crossSide;
    /// Samples of a tile along the two.
    long primarySamples = 0;
    long crossSamples = 0;
    double tileHeight = 0.0;
};

TileGrid tileGrid(const Image& view, const qv_projectionParams& params, const qvXform<2>& imageFromClient) {
    TileGrid grid;
    grid.counts = params.checkedTileCounts();
    if (grid.counts.first < 1 || grid.counts.second < 1) throw qvPel::BadSize(L"a number of tiles must be 1 or more");

    const qvDegree primaryAngle = imageFromClient.mapAngle(params.primaryAngle);
    const qvDegree crossAngle = imageFromClient.mapAngle(params.crossAngle);
    const qvVector<2> primaryDir(1.0, primaryAngle);
    const qvVector<2> crossDir(1.0, crossAngle);
    const qvAffineRectangle rect = tileRectangle(view.window(), primaryDir, crossDir, params.mode);

    // deliberate: the tile's length along the primary direction is that of the rectangle's x side, which lies along the
    // cross direction, and the other way round; pinned by TiledProjection.sidesOfTheTileChangePlaces
    const double tileWidth = rect.xLength() / static_cast<double>(grid.counts.first);
    grid.tileHeight = rect.yLength() / static_cast<double>(grid.counts.second);
    grid.origin = rect.cornerPo();
    grid.primarySide = primaryDir * tileWidth;
    grid.crossSide = crossDir * grid.tileHeight;
    grid.primarySamples = qf_sampleCount(tileWidth);
    grid.crossSamples = qf_sampleCount(grid.tileHeight);
    return grid;
}

/// Sums, square sums and counts of one tile; its rows of samples are the bins.
void fillWithSquares(const Image& view, const qvAffineSamplingParams& rowSampling, qvTiledProjectionOneResult& tile) {
    const qv_BinWalk walk = qf_binsOfRows(qf_sampleGrid(view, rowSampling));
    const std::size_t binCount = static_cast<std::size_t>(walk.binCount);
    tile.sums.resize(binCount);
    tile.squareSums.resize(binCount);
    tile.counts.resize(binCount);
    qv_BinBlock block;
    for (std::size_t first = 0; first < binCount; first += static_cast<std::size_t>(block.binCount)) {
        qf_projectBinBlock(view, walk, kBilinear, static_cast<long>(first), block);
        for (std::size_t bin = 0; bin < static_cast<std::size_t>(block.binCount); ++bin) {
            // deliberate: the sums take in the samples outside the image, which are 0, while the counts leave them out;
            // pinned by TiledProjection.samplesOutsideCountNothingAndAddNothing
            tile.sums[first + bin] = static_cast<double>(block.sums[bin]);
            tile.squareSums[first + bin] = static_cast<double>(block.squareSums[bin]);
            tile.counts[first + bin] = static_cast<double>(block.counts[bin]);
        }
    }
    const qvXform<2> exchange(qvMatrix<2>(0.0, 1.0, 1.0, 0.0), qvVector<2>(0.0, 0.0));
    tile.clientFromProfile = qf_clientFromSamples(rowSampling) * exchange;
}

/// Sums of one tile, or means where part of the tile lies outside the image.
void fillPlain(const Image& view, const qvAffineSamplingParams& colSampling, double minCount,
               qvTiledProjectionOneResult& tile) {
    qvPelBuffer<unsigned long> sums;
    qvPelBuffer<unsigned long> counts;
    unsigned long scale = 0;
    bool partial = false;
    qfProjectImage(view, sums, counts, colSampling, scale, partial);
    tile.clientFromProfile = sums.clientFromImageXform();
    tile.squareSums.clear();
    tile.counts.clear();
    tile.sums.resize(static_cast<std::size_t>(sums.width()));
    for (long bin = 0; bin < sums.width(); ++bin) {
        const double sum = static_cast<double>(*sums.pointToPel(bin, 0));
        const double count = static_cast<double>(*counts.pointToPel(bin, 0));
        const double mean = count > minCount ? sum / count : kTooFewSamples;
        tile.sums[static_cast<std::size_t>(bin)] = partial ? mean : sum;
    }
}

void accumulate(const std::vector<double>& values, std::vector<double>& running) {
    running.resize(values.size());
    double sum = 0.0;
    for (std::size_t i = 0; i < values.size(); ++i) {
        sum += values[i];
        running[i] = sum;
    }
}

void buildRunningSums(qvTiledProjectionOneResult& tile) {
    accumulate(tile.sums, tile.cumSums);
    accumulate(tile.squareSums, tile.cumSquareSums);
    accumulate(tile.counts, tile.cumCounts);
}

void dropRunningSums(qvTiledProjectionOneResult& tile) {
    tile.cumSums.clear();
    tile.cumSquareSums.clear();
    tile.cumCounts.clear();
}

/// What the running sums say about the bins behind range.first up to and including range.second.
struct SpanSums {
    double squareSum;
    double sum;
    double count;
};

bool hasBin(const qvTiledProjectionOneResult& tile, long bin) {
    return bin >= 0 && static_cast<std::size_t>(bin) < tile.cumSquareSums.size();
}

bool hasRange(const qvTiledProjectionOneResult& tile, const qvPair<long>& range) {
    return hasBin(tile, range.first) && hasBin(tile, range.second);
}

SpanSums spanSums(const qvTiledProjectionOneResult& tile, const qvPair<long>& range) {
    qf_assert(hasRange(tile, range), L"a bin outside the profile");
    const std::size_t first = static_cast<std::size_t>(range.first);
    const std::size_t second = static_cast<std::size_t>(range.second);
    // deliberate: the difference leaves out bin `first`; pinned by TiledProjection.rangeMeanLeavesOutTheFirstBin
    return {tile.cumSquareSums[second] - tile.cumSquareSums[first], tile.cumSums[second] - tile.cumSums[first],
            tile.cumCounts[second] - tile.cumCounts[first]};
}

}  // namespace

const qvPair<long>& qv_projectionParams::checkedTileCounts() const {
    qf_assert(tileSelector == 0, L"the tile selector must be 0");
    return tileCounts;
}

const std::vector<double>& qvTiledProjectionOneResult::checkedSums() const {
    qf_assert(status == 0, L"the tile of the projection is not valid");
    return sums;
}

const qvTiledProjectionOneResult& qvTiledProjectionResult::tile(long x, long y) const {
    const bool hasColumn = x >= 0 && static_cast<std::size_t>(x) < tiles.size();
    qf_assert(hasColumn && y >= 0 && static_cast<std::size_t>(y) < tiles[static_cast<std::size_t>(x)].size(),
              L"a tile outside the projection");
    return tiles[static_cast<std::size_t>(x)][static_cast<std::size_t>(y)];
}

void computeTiledProjection(const qvPelBuffer_const<unsigned char>& image, const qv_projectionParams& params,
                            qvTiledProjectionResult& result, qvDiagObject* diagObject) {
    if (!image.isBound()) throw qvPel::UnboundWindow();
    Image view = image;
    const qvXform<2> clientFromImage = image.clientFromImageXform();
    view.clientFromImageXform(qvXform<2>());
    const TileGrid grid = tileGrid(view, params, clientFromImage.inverse());

    // Refuses tiles without samples before anything is changed, or allocated for ever so many tiles.
    qvAffineSamplingParams rowSampling({}, grid.crossSamples, grid.primarySamples, kBilinear);
    qvAffineSamplingParams colSampling({}, grid.primarySamples, grid.crossSamples, kBilinear);
    const double minCount = params.overlap * grid.tileHeight;
    const bool wantsRunningSums = (params.mode & qv_projectionParams::kRunningSums) != 0;

    result.tiles.resize(static_cast<std::size_t>(grid.counts.first));
    for (std::size_t i = 0; i < result.tiles.size(); ++i) {
        result.tiles[i].resize(static_cast<std::size_t>(grid.counts.second));
        for (std::size_t j = 0; j < result.tiles[i].size(); ++j) {
            qvTiledProjectionOneResult& tile = result.tiles[i][j];
            const qvVector<2> origin =
                grid.origin + grid.primarySide * static_cast<double>(i) + grid.crossSide * static_cast<double>(j);
            if (wantsRunningSums) {
                rowSampling.affineRectangle(
                    qvAffineRectangle(origin, origin + grid.crossSide, origin + grid.primarySide));
                fillWithSquares(view, rowSampling, tile);
            } else {
                colSampling.affineRectangle(
                    qvAffineRectangle(origin, origin + grid.primarySide, origin + grid.crossSide));
                fillPlain(view, colSampling, minCount, tile);
            }
            tile.clientFromProfile = clientFromImage * tile.clientFromProfile;
            tile.status = 0;
            if (wantsRunningSums)
                buildRunningSums(tile);
            else
                dropRunningSums(tile);
        }
    }
    if (diagObject != nullptr) recordProjection(params, result, *diagObject);
}

void computeStreetProjection(const qvPelBuffer_const<unsigned char>& image, const qv_projectionParams& params,
                             qvTiledProjectionResult& result, qvDiagObject* diagObject) {
    qv_projectionParams streetParams = params;
    streetParams.mode |= qv_projectionParams::kInscribed | qv_projectionParams::kRunningSums;
    computeTiledProjection(image, streetParams, result, diagObject);
}

double rangeMean(const qvTiledProjectionOneResult& tile, const qvPair<long>& range) {
    const SpanSums span = spanSums(tile, range);
    return span.count == 0.0 ? kNoSamples : span.sum / span.count;
}

double rangeVariance(const qvTiledProjectionOneResult& tile, const qvPair<long>& range) {
    if (range.first > range.second) return 0.0;
    const SpanSums span = spanSums(tile, range);
    if (span.count == 0.0) return kNoSamples;
    const double mean = span.sum / span.count;
    return span.squareSum / span.count - mean * mean;
}

double spanSquareSum(const qvTiledProjectionOneResult& tile, const qvPair<long>& range) {
    return hasRange(tile, range) ? spanSums(tile, range).squareSum : kNoSuchBin;
}

double spanSum(const qvTiledProjectionOneResult& tile, const qvPair<long>& range) {
    return hasRange(tile, range) ? spanSums(tile, range).sum : kNoSuchBin;
}

double spanCount(const qvTiledProjectionOneResult& tile, const qvPair<long>& range) {
    return hasRange(tile, range) ? spanSums(tile, range).count : kNoSuchBin;
}

qvPair<long> clampBinRange(long first, long second, long size) {
    if (first < 0) first = 0;
    if (second >= size) second = size - 1;
    if (first >= size) first = second = size - 1;
    if (second < 0) first = second = 0;
    return qvPair<long>(first, second);
}
