#ifndef QVSTREET_BENCH_PEERS_OPENCV_VIEW_H
#define QVSTREET_BENCH_PEERS_OPENCV_VIEW_H

#include <cstddef>
#include <opencv2/core.hpp>

#include "qvstreet/platform/pel_buffer.h"

namespace qvbench {

/// The same pels as a matrix, without a copy; nobody writes into it.
inline cv::Mat viewOf(const qvPelBuffer_const<unsigned char>& image) {
    return cv::Mat(static_cast<int>(image.height()), static_cast<int>(image.width()), CV_8UC1,
                   const_cast<unsigned char*>(image.pointToOffset()), static_cast<std::size_t>(image.rowUpdate()));
}

}  // namespace qvbench

#endif
