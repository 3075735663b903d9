/// @file
/// From the prepared spectrum to the lines of both directions: the filter requests, the two runs of the line finder,
/// and the length filter.
#ifndef QVSTREET_STREETFINDER_LINE_SETS_H
#define QVSTREET_STREETFINDER_LINE_SETS_H

#include <array>
#include <vector>

#include "qvstreet/streetfinder/street_finder_defs.h"
#include "qvstreet/streetfinder/street_finder_impl.h"

/// Whether the rotation of the image's client transform is at most `limitDegrees` in magnitude. It is not folded: a
/// frame mirrored in x has a rotation of 180 degrees.
bool rotationIsWithin(const qvPelBuffer_const<unsigned char>& image, double limitDegrees);

/// Extracts the lines of both directions and keeps the long ones: longer than `minLineLengthFraction` of the image's
/// height in direction 0 and of its width in direction 1.
/// @param width nominal street widths, client units
/// @param diagObject  gets the responses, the lines kept and the lines dropped; null for none
void buildLineSets(const qv_streetFinderImpl& impl, const qvPair<double>& width, qvStreetFinderDefs::waferType runMode,
                   double edgeSharpness, double filterScale, std::vector<std::vector<qvLineFinderResults>>& lines,
                   qvDiagObject* diagObject = nullptr);

/// The filters of the two directions. No length is below two sample pels, the shortest that the sampled image can
/// carry. In a run mode outside the three usual ones, or without `qvSizesFromParams`, both are the default filter.
/// @param angles  the two street directions, client frame
/// @throws qvInvariantFailure unless there are exactly two angles
std::array<qv_gaborSpec, 2> filterSpecs(const qv_streetFinderImpl& impl, const qvPair<double>& width,
                                        qvStreetFinderDefs::waferType runMode, const std::vector<qvDegree>& angles,
                                        double edgeSharpness, double filterScale);

/// Builds one filter request per direction and runs the line finder for each; two unfiltered lists.
/// @throws qvInvariantFailure unless there are exactly two angles
void extractStreetLines(const qv_streetFinderImpl& impl, const qvPair<double>& width,
                        qvStreetFinderDefs::waferType runMode, const std::vector<qvDegree>& angles,
                        double edgeSharpness, double filterScale, std::vector<std::vector<qvLineFinderResults>>& result,
                        qvDiagObject* diagObject = nullptr);

/// Appends to `kept`, in order, the lines strictly longer than `minLength` client units.
void filterShortLines(const std::vector<qvLineFinderResults>& list, double minLength,
                      std::vector<qvLineFinderResults>& kept);

#endif
