/// @file
/// Everything a host needs: the street finder, the measurement of what it found, the blank region finder, and the
/// images, geometry, errors and text they are spoken to in, and what shows what they did.
#ifndef QVSTREET_QVSTREET_H
#define QVSTREET_QVSTREET_H

#include "qvstreet/blankregion/blank_region_defs.h"
#include "qvstreet/blankregion/blank_region_finder.h"
#include "qvstreet/blankregion/blank_region_params.h"
#include "qvstreet/blankregion/blank_region_results.h"
#include "qvstreet/platform/archive.h"
#include "qvstreet/platform/caliper.h"
#include "qvstreet/platform/diagnostics.h"
#include "qvstreet/platform/display.h"
#include "qvstreet/platform/exceptions.h"
#include "qvstreet/platform/export.h"
#include "qvstreet/platform/frames.h"
#include "qvstreet/platform/geometry.h"
#include "qvstreet/platform/pel_buffer.h"
#include "qvstreet/platform/pel_ops.h"
#include "qvstreet/platform/persistent.h"
#include "qvstreet/platform/sampling.h"
#include "qvstreet/platform/text.h"
#include "qvstreet/platform/timer.h"
#include "qvstreet/projection/street_measurement.h"
#include "qvstreet/streetfinder/street_drawing.h"
#include "qvstreet/streetfinder/street_finder.h"
#include "qvstreet/streetfinder/street_finder_defs.h"
#include "qvstreet/streetfinder/street_finder_params.h"
#include "qvstreet/streetfinder/street_results.h"

#endif
