#ifndef QVSTREET_TESTS_SUPPORT_MAKE_SAMPLES_SAMPLE_SCENES_H
#define QVSTREET_TESTS_SUPPORT_MAKE_SAMPLES_SAMPLE_SCENES_H

#include <string>
#include <vector>

#include "tests/support/wafer_scene.h"

namespace qvtest {

struct Sample {
    /// File name without folder and ending.
    std::string name;
    std::string about;
    /// Options of the command that suit the picture.
    std::string options;
    Scene scene;
};

/// One picture for each run mode.
std::vector<Sample> sampleScenes();

}  // namespace qvtest

#endif
