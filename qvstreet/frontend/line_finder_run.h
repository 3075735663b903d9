/// @file
/// The records that one run of the line finder shares among its stages.
#ifndef QVSTREET_FRONTEND_LINE_FINDER_RUN_H
#define QVSTREET_FRONTEND_LINE_FINDER_RUN_H

#include <cstdint>
#include <vector>

#include "qvstreet/platform/geometry.h"
#include "qvstreet/platform/pel_buffer.h"

/// Thresholds and gates of the line extraction.
struct qv_lineGroupParams {
    /// Response, 0 to 255 of the direction's strongest pel, above which a chain may start.
    double highThreshold = 40.0;
    /// Fraction of it above which a chain goes on.
    double thresholdRatio = 0.5;
    /// Grey-level gate of the seed tracer: 0 none, 1 below the level, 2 above it.
    long grayGateMode = 0;
    unsigned char grayGateFlag = 0;
    /// 1 for the ridge scan, any other value for the seed tracer.
    long responseSelect = 0;
};

/// What the extraction of one direction is told.
struct qv_ridgeExtraction {
    double highThreshold = 0.0;
    double thresholdRatio = 0.0;
    /// Direction of the lines, sample frame.
    qvRadian lineAngle;
    long grayGateMode = 0;
    unsigned char grayGateFlag = 0;
    qvPelBuffer_const<unsigned char> gateImage;
    /// From sample coordinates to pels of `gateImage`.
    qvXform<2> gateFromSample;
};

/// Bits of `qv_lineFinderRun::runFlags`.
enum qe_lineFinderFlags : std::int32_t {
    /// Extract by the ridge scan.
    eRunRidgeScan = 2,
    /// Keep the ridge points of each line for its statistics.
    eRunKeepPoints = 4,
    /// Let each chain's floor follow its strongest pel.
    eRunHysteresisTrack = 8
};

/// Values of `qv_lineFinderRun::searchedResponse`. The last three find lines in the magnitude and follow them in
/// another response, which only an extraction that follows lines one by one can do; the ridge scan takes the magnitude
/// for them.
enum qe_searchedResponse : std::int32_t {
    eSearchMagnitude = 0,
    eSearchImaginary = 1,
    eSearchReal = 2,
    /// Followed in the imaginary or the real part, whichever is stronger.
    eSearchMagnitudeFollowStronger = 3,
    eSearchMagnitudeFollowImaginary = 4,
    eSearchMagnitudeFollowReal = 5
};

/// The working record of one run over n directions.
struct qv_lineFinderRun {
    /// Per direction, the filter's two frequency sigmas (across, along), cycles per sample pel.
    std::vector<qvPair<double>> filterSizes;
    /// Per direction, the filter's centre frequency, cycles per sample pel.
    std::vector<double> filterFrequencies;
    qv_ridgeExtraction extraction;
    qvXform<2> imageFromSample;
    long runFlags = 0;
    long searchedResponse = eSearchMagnitude;
    /// Per direction, the filter's orientation, sample frame: across the lines.
    std::vector<qvDegree> filterAngles;
};

#endif
