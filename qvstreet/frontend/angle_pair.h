/// @file
/// The choice of two street angles with every couple that was weighed written to the trace; for those who look into a
/// choice. The finder chooses with `selectStreetAngles`.
#ifndef QVSTREET_FRONTEND_ANGLE_PAIR_H
#define QVSTREET_FRONTEND_ANGLE_PAIR_H

#include <vector>

#include "qvstreet/frontend/orientation.h"
#include "qvstreet/streetfinder/street_trace.h"

/// Chooses, among the leading candidates whose score is at least `ratio` of the first one's, and at least among the
/// first two, the couple nearest to a right angle; of equal couples the first.
/// @param candidates  best first; the angles are taken as they stand, degrees, in one frame
/// @param indices     becomes the subscripts of the couple, the angle with the larger absolute sine first and of equal
///                    sines the better candidate; unchanged where false is returned
/// @returns false with fewer than two candidates
bool chooseAnglePair(const std::vector<qv_candAngle>& candidates, double ratio, std::vector<long>& indices,
                     qv_streetTrace* trace);

#endif
