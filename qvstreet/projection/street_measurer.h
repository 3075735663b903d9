/// @file
/// Street measurer: follows the streets of one image, each once, from where the finder says they are.
#ifndef QVSTREET_PROJECTION_STREET_MEASURER_H
#define QVSTREET_PROJECTION_STREET_MEASURER_H

#include <cstddef>
#include <utility>
#include <vector>

#include "qvstreet/platform/angle.h"
#include "qvstreet/projection/measurement_frames.h"
#include "qvstreet/projection/street_measurement_access.h"

/// What an edge of an unusual shape, the pel grid and the grey levels' rounding leave in the position of a line, pels,
/// and in its slope over the length of the image.
constexpr double kLeastLineDeviationPels = 0.001;

/// A street as the finder tells it, client frame.
struct qv_ToldStreet {
    qvVector<2> point;
    qvRadian angle;
    /// Narrowest, likeliest and widest.
    double least = 0.0;
    double likely = 0.0;
    double most = 0.0;
};

/// The line midway between the two edges, or the one edge.
qv_UvLine qf_centreOf(const qv_EdgeLines& lines, long edges);

/// Keeps references to the image and the parameters.
class qv_StreetMeasurer {
 public:
    /// @throws qvMatrixErr::Singular for a client transform that cannot be turned round
    qv_StreetMeasurer(const qvPelBuffer_const<unsigned char>& image, const qvStreetMeasureParams& params);

    const qv_MeasurementFrames& frames() const { return frames_; }

    /// The image as seen along the told street.
    qv_UvPels pelsAlong(const qv_ToldStreet& told) const;

    /// The told street in the pels of the window; false where it has no place there.
    bool predict(const qv_ToldStreet& told, const qv_UvPels& pels, qv_StreetPrediction& prediction) const;

    /// The number of a street that passes where this one is said to be, or of a new one, which is followed at once.
    /// @param crossings  stretches that other streets cross
    std::size_t follow(const std::vector<qv_UvRange>& crossings, const qv_UvPels& pels,
                       const qv_StreetPrediction& prediction);

    /// Lets parallel streets tell each other their direction, unless the evidence speaks against it.
    void shareDirections();

    /// The street of that number if it was measured, or else one that was and passes at the same place: another
    /// crossing may have shown it better.
    const qv_MeasuredTrack& best(std::size_t street) const;

    /// All that were followed, in order of their numbers; the measurer has none any more.
    std::vector<qv_MeasuredTrack> takeTracks() { return std::move(streets_); }

 private:
    std::size_t known(const qv_UvPels& pels, const qv_StreetPrediction& prediction) const;
    void measure(const std::vector<qv_UvRange>& crossings, qv_MeasuredTrack& street);

    const qvPelBuffer_const<unsigned char>& image_;
    const qvStreetMeasureParams& params_;
    qv_MeasurementFrames frames_;
    /// How far a centre may be from where it is said to be, pels.
    double searchReach_ = 0.0;
    /// The reach leaves out nothing of the image.
    bool wholeImage_ = true;
    qv_StreetTemplates templates_;
    std::vector<qv_MeasuredTrack> streets_;
};

#endif
