#ifndef QVSTREET_TESTS_SUPPORT_MAKE_SAMPLES_STREET_STRIP_H
#define QVSTREET_TESTS_SUPPORT_MAKE_SAMPLES_STREET_STRIP_H

#include <string>

#include "tests/support/wafer_render.h"

namespace qvtest {

/// The image of one street along its rows: dies above and below, cross streets, and between the dies probe pads, combs
/// and alignment marks in groups, with three long blank stretches left between them.
GreyImage streetStrip();

/// The blank stretches from the last pel of one group to the first of the next, over the street's whole width, with the
/// command that finds them, as a JSON document.
std::string streetStripTruth();

}  // namespace qvtest

#endif
