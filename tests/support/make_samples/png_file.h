#ifndef QVSTREET_TESTS_SUPPORT_MAKE_SAMPLES_PNG_FILE_H
#define QVSTREET_TESTS_SUPPORT_MAKE_SAMPLES_PNG_FILE_H

#include <string>

#include "tests/support/wafer_render.h"

namespace qvtest {

/// Writes an 8-bit grey PNG; throws std::runtime_error naming the file.
void writePng(const std::string& path, const GreyImage& image);

/// Reads a PNG as 8-bit grey without padding; throws std::runtime_error naming the file.
GreyImage readPng(const std::string& path);

}  // namespace qvtest

#endif
