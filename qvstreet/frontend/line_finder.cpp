// Line finder.
//
// In:  the prepared spectrum, the filter request, directions in the client frame.
// Out: per direction the line segments in client coordinates, with grey-level statistics where asked for.
//
//     client direction --sampleFromClient--> filter orientation and sizes --filter, scan, fit--> lines in the image
//     frame line --clipped to the image--> + imageOffset --clientFromImage--> segment
#include "qvstreet/frontend/line_finder.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "qvstreet/frontend/bilinear.h"
#include "qvstreet/frontend/response_records.h"

namespace {

// How far inside the border a clipped end is put, pels.
constexpr double kInset = 0.001;
// A point within the inset of a corner could be moved to and fro for ever.
constexpr int kMostClippingRounds = 8;
// Every second ridge point is sampled: neighbours share most of their pels.
constexpr std::size_t kSampleStride = 2;
constexpr double kBeyondEveryGrey = 1e12;
// Up to here, 2^23 pels, single precision keeps half pels apart, so that no coordinate is rounded over its limit.
constexpr double kFinestHalfPels = 8388608.0;
// More than twice what rounding moves a coordinate by at 2^31 pels, the largest of all.
constexpr double kMostRounding = 256.0;
// A variance below this is rounding noise of a constant grey level.
constexpr double kNoVariance = 1e-15;

bool isOutside(const qvVector<2>& point, double maxX, double maxY) {
    const bool inX = point.x() > 0.0 && point.x() <= maxX;
    const bool inY = point.y() > 0.0 && point.y() <= maxY;
    return !inX || !inY;
}

/// Moves `from` towards `to` until it lies within the limits.
qvVector<2> movedInside(qvVector<2> from, const qvVector<2>& to, double maxX, double maxY) {
    for (int round = 0; round < kMostClippingRounds; ++round) {
        const qvVector<2> d = to - from;
        if (from.x() < 0.0) {
            from += d * (kInset - from.x()) / d.x();
        } else if (from.x() > maxX) {
            from += d * ((maxX - kInset) - from.x()) / d.x();
        } else if (from.y() < 0.0) {
            from += d * (kInset - from.y()) / d.y();
        } else if (from.y() > maxY) {
            from += d * ((maxY - kInset) - from.y()) / d.y();
        } else {
            return from;
        }
    }
    return qvVector<2>(std::clamp(from.x(), 0.0, std::max(maxX, 0.0)), std::clamp(from.y(), 0.0, std::max(maxY, 0.0)));
}

/// Largest coordinate to sample at in an image whose coordinates end before `limit`.
double lastSampled(double limit) { return limit <= kFinestHalfPels ? limit : limit - kMostRounding; }

struct DirectionAngles {
    qvDegree client;
    /// Across the lines, sample frame.
    qvDegree filter;
};

DirectionAngles anglesOf(qvDegree direction, const qvXform<2>& clientFromImage, const qvXform<2>& imageFromClient,
                         const qvXform<2>& sampleFromClient) {
    DirectionAngles angles;
    angles.client = clientFromImage.mapAngle(imageFromClient.mapAngle(direction));
    angles.filter = qvDegree(sampleFromClient.mapAngle(angles.client)) + qvDegree(90.0);
    return angles;
}

long searchedResponseOf(long filterKind) {
    switch (filterKind) {
        case 2:
            return eSearchImaginary;
        case 3:
            return eSearchReal;
        default:
            return eSearchMagnitude;
    }
}

void prepareGate(qv_ridgeExtraction& extraction, const qv_lineGroupParams& lineGroup, const qv_spectrumState& state) {
    if (lineGroup.grayGateMode == 0) return;
    extraction.gateImage = state.workImage;
    extraction.gateFromSample = state.imageFromSample;
    extraction.grayGateFlag = lineGroup.grayGateFlag;
    const bool known = lineGroup.grayGateMode == 1 || lineGroup.grayGateMode == 2;
    extraction.grayGateMode = known ? lineGroup.grayGateMode : 0;
}

/// Sets `run`, whose lists keep their memory.
void planRun(const qv_spectrumState& state, const qv_ridgeFinderParams& params, const std::vector<qvDegree>& directions,
             qv_lineFinderRun& run) {
    const qvXform<2> imageFromClient = state.clientFromImage.inverse();
    const qvXform<2> sampleFromClient = state.imageFromSample.inverse() * imageFromClient;
    run.filterAngles.clear();
    run.filterSizes.clear();
    run.filterFrequencies.clear();
    run.extraction = qv_ridgeExtraction();
    run.runFlags = 0;
    if (params.lineGroup.responseSelect == 1) run.runFlags |= eRunRidgeScan;
    if (params.keepPoints) run.runFlags |= eRunKeepPoints;
    run.searchedResponse = searchedResponseOf(params.spec.kind);
    for (const qvDegree direction : directions) {
        const DirectionAngles angles = anglesOf(direction, state.clientFromImage, imageFromClient, sampleFromClient);
        double frequency = 0.0;
        qvPair<double> sizes;
        computeGaborSizes(params.spec, state.fftImage.width(), angles.client, sampleFromClient, frequency, sizes);
        run.filterAngles.push_back(angles.filter);
        run.filterSizes.push_back(sizes);
        run.filterFrequencies.push_back(frequency);
    }
    run.extraction.highThreshold = params.lineGroup.highThreshold;
    run.extraction.thresholdRatio = params.lineGroup.thresholdRatio;
    run.imageFromSample = state.imageFromSample;
    prepareGate(run.extraction, params.lineGroup, state);
}

/// Adds the grey levels along the ridge points to `record`. @returns false when no point lies in the image
bool addStatistics(qvLineFinderResults& record, const std::vector<qvVector<2>>& points, const qv_spectrumState& state,
                   double maxX, double maxY) {
    const qvPelBuffer_const<unsigned char>& image = state.workImage;
    double highest = -kBeyondEveryGrey;
    double lowest = kBeyondEveryGrey;
    double sum = 0.0;
    double squareSum = 0.0;
    long count = 0;
    for (std::size_t i = 0; i < points.size(); i += kSampleStride) {
        const qvVector<2> point = state.imageFromSample * points[i];
        const bool inside = point.x() >= 0.0 && point.x() < maxX && point.y() >= 0.0 && point.y() < maxY;
        if (!inside) continue;
        const qvVector<2> sampled(std::min(point.x(), lastSampled(maxX)), std::min(point.y(), lastSampled(maxY)));
        const double grey = sampleImageBilinear(image.pointToOffset(), image.rowUpdate(), sampled);
        highest = std::max(highest, grey);
        lowest = std::min(lowest, grey);
        sum += grey;
        squareSum += grey * grey;
        ++count;
    }
    if (count == 0) return false;
    const double mean = sum / static_cast<double>(count);
    const double variance = squareSum / static_cast<double>(count) - mean * mean;
    const double deviation = variance > kNoVariance ? std::sqrt(variance) : 0.0;
    record.statistics(mean, std::fabs(highest - lowest), deviation, count);
    return true;
}

}  // namespace

bool clipSegmentToImage(long maxX, long maxY, const qv_ridgeLine& line, qvVector<2>& p1, qvVector<2>& p2) {
    p1 = line.p1;
    p2 = line.p2;
    const double right = static_cast<double>(maxX);
    const double bottom = static_cast<double>(maxY);
    const bool beyondOneBorder = (p1.x() <= 0.0 && p2.x() <= 0.0) || (p1.y() <= 0.0 && p2.y() <= 0.0) ||
                                 (p1.x() >= right && p2.x() >= right) || (p1.y() >= bottom && p2.y() >= bottom);
    if (beyondOneBorder) {
        p1 = p2 = qvVector<2>();
        return false;
    }
    const bool outside1 = isOutside(p1, right, bottom);
    const bool outside2 = isOutside(p2, right, bottom);
    if (outside1 && outside2) return true;
    if (outside2) {
        p2 = movedInside(p2, p1, right, bottom);
    } else {
        p1 = movedInside(p1, p2, right, bottom);
    }
    return true;
}

double sampleImageBilinear(const unsigned char* firstPel, long rowUpdate, const qvVector<2>& point) {
    // Left of and above the first pels' centres the first column and row stand in for the missing ones.
    return qf_bilinearSingle(point, [&](long column, long row) {
        return firstPel[static_cast<std::ptrdiff_t>(std::max(row, 0L)) * rowUpdate + std::max(column, 0L)];
    });
}

void runLineFinder(const qv_spectrumState& state, const qv_ridgeFinderParams& params,
                   const std::vector<qvDegree>& directions, std::vector<std::vector<qvLineFinderResults>>& results,
                   qvDiagObject* diagObject, long firstDirection, qv_LineFinderScratch* scratch) {
    qf_assert(state.prepared, L"a spectrum has been prepared");
    qv_LineFinderScratch ownScratch;
    qv_LineFinderScratch& working = scratch != nullptr ? *scratch : ownScratch;
    const qv_lineFinderRun& run = working.run;
    std::vector<qv_ridgeLine>& lines = working.lines;
    std::vector<long>& counts = working.counts;
    planRun(state, params, directions, working.run);
    std::vector<qv_responseView> views;
    filterAndExtract(state.spectrum, run, lines, counts, diagObject != nullptr ? &views : nullptr, &working.response);
    if (diagObject != nullptr) recordResponses(state, params, run, views, lines, counts, firstDirection, *diagObject);

    const long maxX = state.workImage.width() - 1;
    const long maxY = state.workImage.height() - 1;
    const qvVector<2> offset(static_cast<double>(state.imageOffset.first),
                             static_cast<double>(state.imageOffset.second));
    working.found.resize(directions.size());
    auto line = lines.cbegin();
    for (std::size_t direction = 0; direction < directions.size(); ++direction) {
        std::vector<qvLineFinderResults>& found = working.found[direction];
        found.clear();
        found.reserve(static_cast<std::size_t>(counts[direction]));
        for (long i = 0; i < counts[direction]; ++i, ++line) {
            qvVector<2> p1;
            qvVector<2> p2;
            clipSegmentToImage(maxX, maxY, *line, p1, p2);
            const qvLineSeg segment(state.clientFromImage * (p1 + offset), state.clientFromImage * (p2 + offset));
            qvLineFinderResults record(segment, line->lineQuality, line->polarity);
            const bool wanted =
                !params.keepPoints ||
                addStatistics(record, line->points, state, static_cast<double>(maxX), static_cast<double>(maxY));
            if (wanted) found.push_back(record);
        }
    }
    // Copied, so that both keep their memory.
    results = working.found;
}
