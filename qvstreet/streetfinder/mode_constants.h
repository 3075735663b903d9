/// @file
/// The tuning constants of the run modes.
#ifndef QVSTREET_STREETFINDER_MODE_CONSTANTS_H
#define QVSTREET_STREETFINDER_MODE_CONSTANTS_H

#include "qvstreet/streetfinder/street_finder_defs.h"
#include "qvstreet/streetfinder/street_finder_impl.h"

/// Writes the constants of `runMode` and `polarity` into the record. A value outside the four named modes changes only
/// `filterScale` and `responseSelect`.
/// @throws qvStreetFinderDefs::BadParams for `eSpecial`
void setModeConstants(qv_streetFinderImpl& impl, qvStreetFinderDefs::waferType runMode,
                      qvStreetFinderDefs::streetPolarity polarity);

#endif
