#ifndef QVSTREET_TESTS_SUPPORT_MAKE_SAMPLES_TRUTH_JSON_H
#define QVSTREET_TESTS_SUPPORT_MAKE_SAMPLES_TRUTH_JSON_H

#include <string>

#include "tests/support/make_samples/sample_scenes.h"

namespace qvtest {

/// The exact truth of a sample in the image frame, with the command that suits it, as a JSON document.
std::string truthJson(const Sample& sample);

}  // namespace qvtest

#endif
