/// @file
/// Crossing refinement: measures a crossing again on the image, with one caliper across each of its two streets.
#ifndef QVSTREET_PROJECTION_CROSSING_REFINEMENT_H
#define QVSTREET_PROJECTION_CROSSING_REFINEMENT_H

#include <vector>

#include "qvstreet/platform/sampling.h"
#include "qvstreet/streetfinder/street_finder_impl.h"
#include "qvstreet/streetfinder/street_results.h"

class qvDiagObject;

/// What is to be measured. Lengths and positions in client units of the image.
struct qv_refineContext {
    /// The sample counts of both regions become twice their lengths, cut to whole numbers.
    qv_refineContext(const qvVector<2>& crossing, qvDegree horizontalAngle, qvDegree verticalAngle,
                     const qvPair<double>& lengthsVertical, const qvPair<double>& lengthsHorizontal,
                     const qvPair<double>& width, double sampleFraction, long runMode, long polarity);

    /// Directions of the two streets.
    qvDegree horizontalAngle;
    qvDegree verticalAngle;
    /// Caliper region for the street of `horizontalAngle`: length across the street, length along it.
    qvPair<double> lengthsVertical;
    /// The same for the street of `verticalAngle`.
    qvPair<double> lengthsHorizontal;
    /// Samples of the two regions, across and along.
    qvPair<long> sizesVertical;
    qvPair<long> sizesHorizontal;
    /// The crossing to refine.
    qvVector<2> crossing;
    /// A `waferType` value; not read.
    long runMode;
    /// Street widths.
    qvPair<double> width;
    /// Not read.
    double sampleFraction;
    /// A `streetPolarity` value.
    long polarity;
};

/// What came out. A score of -1.0 says that a street was not found, 0.0 that the two are parallel; the crossing is the old
/// one then.
struct qv_refineResult {
    qvVector<2> crossing;
    double score = 0.0;
    qvStreetFinderDefs::resultType status = qvStreetFinderDefs::eStreetFromEdges;
};

/// Moves the crossing and the four corners of every result to the measured point, in the run mode `eRidgeWafer` only;
/// score and segments stay. With a polarity other than `eDarkOnLight` light streets are looked for. The calipers take two
/// samples per client unit, whatever the size of a pel.
/// @throws qvPel::BadSize when 24 times a width, the number of samples along a street, narrows to 0 or less in 16 bits
/// @param diagObject  gets a table of all moves and the records of `refineCrossing` for the first two results, of which
///                    each holds two copies of the image; null for none
void refineCrossings(std::vector<qvStreetFinderStreetCrossResult>& results, const qv_streetFinderImpl& impl,
                     long runMode, long polarity, const qvPair<double>& nominalWidth,
                     qvDiagObject* diagObject = nullptr);

/// Measures one crossing on `image`.
/// @param diagObject  receives a record of each of the two streets; may be null
void refineCrossing(const qvPelBuffer_const<unsigned char>& image, const qv_refineContext& context,
                    qv_refineResult& result, qvDiagObject* diagObject);

/// Looks across one street for its two edges, `width` client units apart, and stores the middle of the best pair in
/// `point`.
/// @param diagObject  receives a record with the image, the caliper's results and `point`, also where there is no pair;
///                    may be null
/// @returns the pair's score, or -1.0, with `point` as it was, when there is no pair
double locateStreetCentre(const qvPelBuffer_const<unsigned char>& image, const qvAffineSamplingParams& sampling,
                          qvVector<2>& point, double width, double sampleFraction, bool darkStreet,
                          qvDiagObject* diagObject);

#endif
