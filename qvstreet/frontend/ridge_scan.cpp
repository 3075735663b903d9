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
#include "qvstreet/frontend/ridge_scan.h"

#include <algorithm>
#include <cmath>

#include "qvstreet/frontend/bilinear.h"
#include "qvstreet/frontend/seed_tracer.h"

namespace {

constexpr long kNoChain = -1;
constexpr std::size_t kLineReserve = 100;
constexpr std::size_t kPointReserve = 100;
// Two of a line's ends may wander; four points between them settle where it runs.
constexpr std::size_t kFewestPoints = 6;

/// The chains that one scan builds, and the running floors of peak relative mode.
struct ChainBuilder {
    std::vector<qv_ridgeLine>& lines;
    const std::size_t firstLine;
    const bool peakRelative;
    const double ratio;
    std::vector<double> floors;
    std::vector<std::vector<double>> pels;

    ChainBuilder(std::vector<qv_ridgeLine>& target, const qv_ridgeScanParams& params)
        : lines(target),
          firstLine(target.size()),
          peakRelative(params.peakRelativeMode == 1),
          ratio(params.thresholdRatio) {
        lines.reserve(firstLine + kLineReserve);
    }

    qv_ridgeLine& line(long chain) { return lines[firstLine + static_cast<std::size_t>(chain)]; }

    /// A new chain from its first pel, which it takes.
    long start(double pel) {
        const long chain = static_cast<long>(lines.size() - firstLine);
        lines.emplace_back();
        lines.back().points.reserve(kPointReserve);
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

bool runsCloserToColumns(qvDegree lineAngle) {
    const double a = std::fabs(lineAngle.toDouble());
    const double fromVertical = std::fabs(a - 90.0);
    return fromVertical < std::fabs(a) && fromVertical < std::fabs(a - 180.0);
}

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

bool mostlyPositive(const std::vector<qvVector<2>>& points, const qvPelBuffer_const<double>& polarityImage) {
    std::size_t positive = 0;
    for (const qvVector<2>& point : points)
        if (bilinearDouble(polarityImage, point) > 0.0) ++positive;
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

}  // namespace

double bilinearDouble(const qvPelBuffer_const<double>& image, const qvVector<2>& point) {
    const long lastColumn = image.width() - 1;
    const long lastRow = image.height() - 1;
    return qf_bilinearSingle(point, [&](long column, long row) {
        return *image.pointToPel(std::clamp(column, 0L, lastColumn), std::clamp(row, 0L, lastRow));
    });
}

void scanRidges(const qvPelBuffer_const<double>& image, const qv_ridgeScanParams& params,
                std::vector<qv_ridgeLine>& lines) {
    const bool transposed = !runsCloserToColumns(params.lineAngle);
    const qvPelBuffer_const<double> scanned = transposed ? qvPelBuffer_const<double>(transposedCopy(image)) : image;

    qvVector<2> across(1.0, params.acrossAngle);
    if (transposed) across = qvVector<2>(across.y(), across.x());
    const std::ptrdiff_t step =
        static_cast<std::ptrdiff_t>(neighbourStep(across.y())) * scanned.rowUpdate() + neighbourStep(across.x());

    const long width = scanned.width();
    ChainBuilder chains(lines, params);
    std::vector<long> previous(static_cast<std::size_t>(width), kNoChain);
    std::vector<long> current(static_cast<std::size_t>(width), kNoChain);
    for (long y = 1; y < scanned.height() - 1; ++y) {
        const double* const row = scanned.pointToRow(y);
        for (long x = 1; x < width - 1; ++x) {
            const std::size_t column = static_cast<std::size_t>(x);
            long chain = previous[column];
            // Cleared on every path, so that the arrays can change places at the end of the row.
            previous[column] = kNoChain;

            const double c = row[x];
            const double a = row[x - step];
            const double b = row[x + step];
            // Of two equal pels across a ridge the one further along the across direction is the maximum.
            const bool ridge = c > params.lowThreshold && c >= a && c > b;
            if (!ridge) continue;
            if (chain == kNoChain) {
                if (!(c > params.highThreshold)) continue;
                chain = chains.start(c);
            } else if (!chains.continues(chain, c)) {
                continue;
            }

            const double atX = static_cast<double>(x) + 0.5;
            const double atY = static_cast<double>(y) + 0.5;
            qvVector<2> point = transposed ? qvVector<2>(atY, atX) : qvVector<2>(atX, atY);
            // deliberate: the swapped vector meets the point swapped back; pinned by RidgeScan.TransposedShiftIsSwapped
            if (params.subPixel) point += across * 0.5 * (b - a) / (2.0 * c - b - a);
            chains.line(chain).points.push_back(point);
            current[column - 1] = current[column] = current[column + 1] = chain;
        }
        std::swap(previous, current);
    }
    chains.trimStarts();
}

void extractFromResponse(const qvPelBuffer_const<double>& imaginary, const qvPelBuffer_const<double>& real,
                         const qvPelBuffer_const<double>& magnitude, const qv_lineFinderRun& run, long direction,
                         std::vector<qv_ridgeLine>& lines, long& count) {
    const qvDegree acrossAngle = run.filterAngles[static_cast<std::size_t>(direction)];
    const qvDegree lineAngle = acrossAngle - qvDegree(90.0);
    const std::size_t before = lines.size();

    if ((run.runFlags & eRunRidgeScan) == 0) {
        qv_ridgeExtraction extraction = run.extraction;
        extraction.lineAngle = lineAngle;
        traceSeedLines(imaginary, real, magnitude, run, extraction, lines);
        count = static_cast<long>(lines.size() - before);
        return;
    }
    qv_ridgeScanParams params;
    params.highThreshold = run.extraction.highThreshold;
    params.lowThreshold = run.extraction.thresholdRatio * run.extraction.highThreshold;
    params.thresholdRatio = run.extraction.thresholdRatio;
    params.subPixel = true;
    params.lineAngle = lineAngle;
    params.acrossAngle = acrossAngle;
    params.peakRelativeMode = (run.runFlags & eRunHysteresisTrack) != 0 ? 1 : 0;

    const qvPelBuffer_const<double>& searched = run.searchedResponse == eSearchImaginary ? imaginary
                                                : run.searchedResponse == eSearchReal    ? real
                                                                                         : magnitude;
    scanRidges(searched, params, lines);
    count = static_cast<long>(lines.size() - before);
    // deliberate: earlier directions' lines, too; pinned by RidgeScan.EveryLineOfTheVectorGetsTheDirectionsAngle
    for (qv_ridgeLine& line : lines) line.angle = lineAngle;
}

void fitRidgeLines(std::vector<qv_ridgeLine>& lines, std::vector<long>& counts, const qv_lineFinderRun& run,
                   const std::vector<qvPelBuffer_const<double>>& polarityImages) {
    const bool keepPoints = (run.runFlags & eRunKeepPoints) != 0;
    std::size_t next = 0;
    std::size_t kept = 0;
    for (std::size_t direction = 0; direction < counts.size(); ++direction) {
        const std::size_t end = next + static_cast<std::size_t>(counts[direction]);
        const std::size_t keptBefore = kept;
        for (; next < end; ++next) {
            if (lines[next].points.size() < kFewestPoints) continue;
            qv_ridgeLine line = std::move(lines[next]);
            const qvVector<2> middle = meanPoint(line.points);
            line.line = qvFLine(middle, middle + qvVector<2>(1.0, line.angle));
            line.lineQuality = 0.0;
            line.polarity = mostlyPositive(line.points, polarityImages[direction]);
            line.lineKey = static_cast<long>(kept);
            moveToImage(line, line.points.front(), line.points.back(), run.imageFromSample);
            if (!keepPoints) line.points.clear();
            lines[kept++] = std::move(line);
        }
        counts[direction] = static_cast<long>(kept - keptBefore);
    }
    lines.resize(kept);
}
