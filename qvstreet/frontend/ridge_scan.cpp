// Ridge scan and line fit.
//
// In:  the normalised response of one direction, 0 to 255, sample frame; thresholds; the direction of its lines.
// Out: straight lines with their polarity votes, image frame.
//
// The scan goes down the rows of the response, or of its transposed copy when the lines run closer to the rows, so that
// a ridge always continues in the next scan row, in the same column or one beside it:
//
//     row y        . . k k k . .      a ridge pel of chain k labels its column and both neighbours
//     row y + 1    . . . x . . .      a ridge pel there continues the chain it finds
//
// The line's direction comes from the spectrum; the points only place it.
//
// Few pels are on a ridge. A quick test in vectors marks those that may be; only these are looked at one by one. Of a
// filtered response the quick test compares squared magnitudes, a little too generously, so that the root and the
// normalisation, which may make equal what was not, are done for the marked pels and their neighbours only.
#include "qvstreet/frontend/ridge_scan.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "qvstreet/frontend/bilinear.h"
#include "qvstreet/frontend/ridge_kernels.h"
#include "qvstreet/frontend/seed_tracer.h"

namespace {

constexpr long kNoChain = -1;
constexpr std::size_t kLineReserve = 100;
constexpr std::size_t kPointReserve = 100;
// Two of a line's ends may wander; four points between them settle where it runs.
constexpr std::size_t kFewestPoints = 6;
// Below this the whole response is rounding noise and must not be blown up to 255.
constexpr double kNoResponse = 1e-12;
// The root, the product and the quotient keep one part in 2^53 each: squares that differ by more than this stay in their
// order, and thresholds that differ by more than the second one.
constexpr double kSquareSlack = 1.0 + 1e-14;
constexpr double kThresholdSlack = 1.0 - 1e-12;
// Above this threshold no normalised value comes near the numbers with fewer bits.
constexpr double kLeastThreshold = 1e-6;

/// The chains that one scan builds, and the running floors of peak relative mode.
struct ChainBuilder {
    std::vector<qv_ridgeLine>& lines;
    const std::size_t firstLine;
    const bool peakRelative;
    const double ratio;
    const std::size_t pointReserve;
    std::vector<std::vector<qvVector<2>>>& spentPoints;
    std::vector<double> floors;
    std::vector<std::vector<double>> pels;

    /// @param rows  of what is scanned; few chains have more than a point in each
    ChainBuilder(std::vector<qv_ridgeLine>& target, const qv_ridgeScanParams& params, long rows,
                 qv_ScanScratch& scratch)
        : lines(target),
          firstLine(target.size()),
          peakRelative(params.peakRelativeMode == 1),
          ratio(params.thresholdRatio),
          pointReserve(std::max(kPointReserve, static_cast<std::size_t>(std::max(rows, 0L)))),
          spentPoints(scratch.spentPoints) {
        lines.reserve(firstLine + kLineReserve);
    }

    qv_ridgeLine& line(long chain) { return lines[firstLine + static_cast<std::size_t>(chain)]; }

    /// A new chain from its first pel, which it takes.
    long start(double pel) {
        const long chain = static_cast<long>(lines.size() - firstLine);
        lines.emplace_back();
        if (spentPoints.empty()) {
            lines.back().points.reserve(pointReserve);
        } else {
            lines.back().points = std::move(spentPoints.back());
            spentPoints.pop_back();
        }
        if (peakRelative) {
            floors.push_back(ratio * pel);
            pels.push_back({pel});
        }
        return chain;
    }

    /// Whether a pel that continues this chain is strong enough for it; raises the chain's floor.
    bool continues(long chain, double pel) {
        if (!peakRelative) return true;
        const std::size_t k = static_cast<std::size_t>(chain);
        if (!(pel > floors[k])) return false;
        floors[k] = std::max(floors[k], ratio * pel);
        pels[k].push_back(pel);
        return true;
    }

    /// Cuts off what lies before the last pel below the final floor.
    void trimStarts() {
        for (std::size_t k = 0; k < pels.size(); ++k) {
            std::vector<qvVector<2>>& points = line(static_cast<long>(k)).points;
            for (std::size_t j = pels[k].size(); j-- > 1;) {
                if (!(pels[k][j] < floors[k])) continue;
                points.erase(points.begin(), points.begin() + static_cast<std::ptrdiff_t>(j));
                break;
            }
        }
    }
};

qvPelBuffer<double> transposedCopy(const qvPelBuffer_const<double>& image) {
    qvPelBuffer<double> result(image.height(), image.width(), 32);
    for (long y = 0; y < image.height(); ++y) {
        const double* const row = image.pointToRow(y);
        for (long x = 0; x < image.width(); ++x) *result.pointToPel(y, x) = row[x];
    }
    return result;
}

/// -1, 0 or 1 column or row: the neighbour nearest to the across direction.
long neighbourStep(double component) {
    const long sign = component > 0.0 ? 1 : -1;
    return sign * qfTruncate(std::fabs(component) + 0.5);
}

/// The mean of the points.
qvVector<2> meanPoint(const std::vector<qvVector<2>>& points) {
    qvVector<2> sum;
    for (const qvVector<2>& point : points) sum += point;
    return sum / static_cast<double>(points.size());
}

/// @param valueAt  tells the value of the polarity image at a point
template <typename ValueAt>
bool mostlyPositive(const std::vector<qvVector<2>>& points, ValueAt valueAt) {
    std::size_t positive = 0;
    for (const qvVector<2>& point : points)
        if (valueAt(point) > 0.0) ++positive;
    return positive > points.size() - positive;
}

/// Places the line's ends and positions, in the image frame.
void moveToImage(qv_ridgeLine& line, const qvVector<2>& firstPoint, const qvVector<2>& lastPoint,
                 const qvXform<2>& imageFromSample) {
    line.p1 = imageFromSample * line.line.closestPoint(firstPoint);
    line.p2 = imageFromSample * line.line.closestPoint(lastPoint);
    line.line = imageFromSample * line.line;
    line.startAlong = line.line.distanceAlong(line.p1);
    line.endAlong = line.line.distanceAlong(line.p2);
    line.extent = line.endAlong - line.startAlong;
}

/// What is scanned, running down the rows, and what the quick test takes for a ridge pel.
struct Scanned {
    const double* first;
    long rowUpdate;
    long width;
    long height;
    bool transposed;
    double above;
    double slack;

    const double* row(long y) const { return first + static_cast<std::ptrdiff_t>(y) * rowUpdate; }
};

/// @param valueAt  the value, 0 to 255, that a scanned pel stands for
template <typename ValueAt>
void scanRows(const Scanned& scanned, const qv_ridgeScanParams& params, std::vector<qv_ridgeLine>& lines,
              qv_ScanScratch& scratch, ValueAt valueAt) {
    qvVector<2> across(1.0, params.acrossAngle);
    if (scanned.transposed) across = qvVector<2>(across.y(), across.x());
    const std::ptrdiff_t step =
        static_cast<std::ptrdiff_t>(neighbourStep(across.y())) * scanned.rowUpdate + neighbourStep(across.x());

    const long width = scanned.width;
    ChainBuilder chains(lines, params, scanned.height, scratch);
    if (width < 3) return;
    std::vector<long>& previous = scratch.previous;
    std::vector<long>& current = scratch.current;
    previous.assign(static_cast<std::size_t>(width), kNoChain);
    current.assign(static_cast<std::size_t>(width), kNoChain);
    const long inner = width - 2;
    const long words = (inner + kRidgeMarks - 1) / kRidgeMarks;
    scratch.marks.resize(std::max(scratch.marks.size(), static_cast<std::size_t>(words)));
    const qv_RidgeKernels& kernels = QV_CHOSEN_KERNELS(ridgeKernels);

    for (long y = 1; y < scanned.height - 1; ++y) {
        const double* const row = scanned.row(y);
        kernels.markMaxima(row + 1, step, inner, scanned.above, scanned.slack, scratch.marks.data());
        for (long word = 0; word < words; ++word) {
            for (std::uint64_t marks = scratch.marks[static_cast<std::size_t>(word)]; marks != 0; marks &= marks - 1) {
                const long x = 1 + word * kRidgeMarks + __builtin_ctzll(marks);
                const std::size_t column = static_cast<std::size_t>(x);
                const double c = valueAt(row + x);
                if (!(c > params.lowThreshold)) continue;
                long chain = previous[column];
                // In noise most maxima are too weak to start a chain: no need to work out their neighbours.
                if (chain == kNoChain && !(c > params.highThreshold)) continue;
                const double a = valueAt(row + x - step);
                const double b = valueAt(row + x + step);
                // Of two equal pels across a ridge the one further along the across direction is the maximum.
                const bool ridge = c >= a && c > b;
                if (!ridge) continue;
                if (chain == kNoChain) {
                    chain = chains.start(c);
                } else if (!chains.continues(chain, c)) {
                    continue;
                }

                const double atX = static_cast<double>(x) + 0.5;
                const double atY = static_cast<double>(y) + 0.5;
                qvVector<2> point = scanned.transposed ? qvVector<2>(atY, atX) : qvVector<2>(atX, atY);
                // deliberate: the swapped vector meets the point swapped back; pinned by
                // RidgeScan.TransposedShiftIsSwapped
                if (params.subPixel) point += across * 0.5 * (b - a) / (2.0 * c - b - a);
                chains.line(chain).points.push_back(point);
                current[column - 1] = current[column] = current[column + 1] = chain;
            }
        }
        // The outer columns keep their labels, which nobody follows.
        std::fill(previous.begin() + 1, previous.end() - 1, kNoChain);
        std::swap(previous, current);
    }
    chains.trimStarts();
}

/// Turns the largest square into what normalised values are divided by.
double divisorOf(double largestSquare) {
    const double strongest = std::sqrt(largestSquare);
    return strongest < kNoResponse ? 1.0 : strongest;
}

/// The value, 0 to 255, of a squared magnitude.
double normalized(double square, double divisor) { return std::sqrt(square) * 255.0 / divisor; }

void scanFiltered(const qv_FilteredResponse& response, const qv_ridgeScanParams& params,
                  std::vector<qv_ridgeLine>& lines, qv_ScanScratch& scratch) {
    const qv_ResponsePlane<double>& squares = response.squares;
    const double divisor = divisorOf(response.largestSquare);
    Scanned scanned{squares.row(0),
                    squares.rowUpdate,
                    squares.width,
                    squares.height,
                    response.transposed,
                    -1.0,
                    std::numeric_limits<double>::infinity()};
    if (params.lowThreshold >= kLeastThreshold) {
        const double lowest = params.lowThreshold / 255.0 * divisor;
        scanned.above = lowest * lowest * kThresholdSlack;
        scanned.slack = kSquareSlack;
    }
    scanRows(scanned, params, lines, scratch, [&](const double* square) { return normalized(*square, divisor); });
}

qv_ridgeScanParams scanParams(const qv_lineFinderRun& run, long direction) {
    qv_ridgeScanParams params;
    params.highThreshold = run.extraction.highThreshold;
    params.lowThreshold = run.extraction.thresholdRatio * run.extraction.highThreshold;
    params.thresholdRatio = run.extraction.thresholdRatio;
    params.subPixel = true;
    params.acrossAngle = run.filterAngles[static_cast<std::size_t>(direction)];
    params.lineAngle = params.acrossAngle - qvDegree(90.0);
    params.peakRelativeMode = (run.runFlags & eRunHysteresisTrack) != 0 ? 1 : 0;
    return params;
}

/// What the scan of a direction leaves: the count of its lines, and its angle with all of them.
void finishScan(std::size_t before, qvDegree lineAngle, std::vector<qv_ridgeLine>& lines, long& count) {
    count = static_cast<long>(lines.size() - before);
    // deliberate: earlier directions' lines, too; pinned by RidgeScan.EveryLineOfTheVectorGetsTheDirectionsAngle
    for (qv_ridgeLine& line : lines) line.angle = lineAngle;
}

/// @param valueAt  tells the value of a direction's polarity image at a point
template <typename ValueAt>
void fitLines(std::vector<qv_ridgeLine>& lines, std::vector<long>& counts, const qv_lineFinderRun& run,
              qv_ScanScratch& scratch, ValueAt valueAt) {
    const bool keepPoints = (run.runFlags & eRunKeepPoints) != 0;
    std::size_t next = 0;
    std::size_t kept = 0;
    for (std::size_t direction = 0; direction < counts.size(); ++direction) {
        const std::size_t end = next + static_cast<std::size_t>(counts[direction]);
        const std::size_t keptBefore = kept;
        for (; next < end; ++next) {
            if (lines[next].points.size() < kFewestPoints) {
                scratch.recycle(lines[next].points);
                continue;
            }
            qv_ridgeLine line = std::move(lines[next]);
            const qvVector<2> middle = meanPoint(line.points);
            line.line = qvFLine(middle, middle + qvVector<2>(1.0, line.angle));
            line.lineQuality = 0.0;
            line.polarity =
                mostlyPositive(line.points, [&](const qvVector<2>& point) { return valueAt(direction, point); });
            line.lineKey = static_cast<long>(kept);
            moveToImage(line, line.points.front(), line.points.back(), run.imageFromSample);
            if (!keepPoints) scratch.recycle(line.points);
            lines[kept++] = std::move(line);
        }
        counts[direction] = static_cast<long>(kept - keptBefore);
    }
    lines.resize(kept);
}

/// The value at a point of the imaginary part of a response, as `bilinearDouble` has it.
double imaginaryAt(const qv_FilteredResponse& response, const qvVector<2>& point) {
    const qv_ResponsePlane<float>& plane = response.imaginaries;
    const auto pelAt = [&](long column, long row) {
        return plane.row(std::clamp(row, 0L, plane.height - 1))[std::clamp(column, 0L, plane.width - 1)];
    };
    return response.transposed ? qf_bilinearSingle(point, [&](long column, long row) { return pelAt(row, column); })
                               : qf_bilinearSingle(point, pelAt);
}

}  // namespace

double bilinearDouble(const qvPelBuffer_const<double>& image, const qvVector<2>& point) {
    const long lastColumn = image.width() - 1;
    const long lastRow = image.height() - 1;
    return qf_bilinearSingle(point, [&](long column, long row) {
        return *image.pointToPel(std::clamp(column, 0L, lastColumn), std::clamp(row, 0L, lastRow));
    });
}

bool scansTransposed(qvDegree lineAngle) {
    const double a = std::fabs(lineAngle.toDouble());
    const double fromVertical = std::fabs(a - 90.0);
    const bool closerToColumns = fromVertical < std::fabs(a) && fromVertical < std::fabs(a - 180.0);
    return !closerToColumns;
}

void scanRidges(const qvPelBuffer_const<double>& image, const qv_ridgeScanParams& params,
                std::vector<qv_ridgeLine>& lines) {
    const bool transposed = scansTransposed(params.lineAngle);
    const qvPelBuffer_const<double> pels = transposed ? qvPelBuffer_const<double>(transposedCopy(image)) : image;
    qv_ScanScratch scratch;
    const Scanned scanned{pels.pointToOffset(), pels.rowUpdate(),    pels.width(), pels.height(),
                          transposed,           params.lowThreshold, 1.0};
    scanRows(scanned, params, lines, scratch, [](const double* pel) { return *pel; });
}

void extractFromResponse(const qvPelBuffer_const<double>& imaginary, const qvPelBuffer_const<double>& real,
                         const qvPelBuffer_const<double>& magnitude, const qv_lineFinderRun& run, long direction,
                         std::vector<qv_ridgeLine>& lines, long& count) {
    const qv_ridgeScanParams params = scanParams(run, direction);
    const std::size_t before = lines.size();

    if ((run.runFlags & eRunRidgeScan) == 0) {
        qv_ridgeExtraction extraction = run.extraction;
        extraction.lineAngle = params.lineAngle;
        traceSeedLines(imaginary, real, magnitude, run, extraction, lines);
        count = static_cast<long>(lines.size() - before);
        return;
    }
    const qvPelBuffer_const<double>& searched = run.searchedResponse == eSearchImaginary ? imaginary
                                                : run.searchedResponse == eSearchReal    ? real
                                                                                         : magnitude;
    scanRidges(searched, params, lines);
    finishScan(before, params.lineAngle, lines, count);
}

void extractFromFiltered(const qv_FilteredResponse& response, const qv_lineFinderRun& run, long direction,
                         std::vector<qv_ridgeLine>& lines, long& count, qv_ScanScratch& scratch) {
    const qv_ridgeScanParams params = scanParams(run, direction);
    qf_assert(response.transposed == scansTransposed(params.lineAngle), L"the response runs down the rows");
    const std::size_t before = lines.size();
    scanFiltered(response, params, lines, scratch);
    finishScan(before, params.lineAngle, lines, count);
}

void fitRidgeLines(std::vector<qv_ridgeLine>& lines, std::vector<long>& counts, const qv_lineFinderRun& run,
                   const std::vector<qvPelBuffer_const<double>>& polarityImages) {
    qv_ScanScratch scratch;
    fitLines(lines, counts, run, scratch, [&](std::size_t direction, const qvVector<2>& point) {
        return bilinearDouble(polarityImages[direction], point);
    });
}

void fitRidgeLines(std::vector<qv_ridgeLine>& lines, std::vector<long>& counts, const qv_lineFinderRun& run,
                   const std::vector<qv_FilteredResponse>& responses, qv_ScanScratch& scratch) {
    fitLines(lines, counts, run, scratch,
             [&](std::size_t direction, const qvVector<2>& point) { return imaginaryAt(responses[direction], point); });
}

qvPelBuffer<double> normalizedMagnitude(const qv_FilteredResponse& response) {
    const qv_ResponsePlane<double>& squares = response.squares;
    const double divisor = divisorOf(response.largestSquare);
    qvPelBuffer<double> image(response.transposed ? squares.height : squares.width,
                              response.transposed ? squares.width : squares.height, 32);
    for (long y = 0; y < image.height(); ++y)
        for (long x = 0; x < image.width(); ++x)
            image.pointToRow(y)[x] = normalized(response.transposed ? squares.row(x)[y] : squares.row(y)[x], divisor);
    return image;
}
