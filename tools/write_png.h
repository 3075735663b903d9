/// @file
/// PNG files, row by row into any sink.
#ifndef QVSTREET_TOOLS_WRITE_PNG_H
#define QVSTREET_TOOLS_WRITE_PNG_H

#include <cstddef>
#include <functional>

namespace qvtool {

/// Takes bytes in order; may throw.
using ByteSink = std::function<void(const unsigned char*, std::size_t)>;

/// Gives the pels of row y, `channels` bytes each; the memory has to last until the next call. Rows are asked for once
/// each, from top to bottom.
using RowSource = std::function<const unsigned char*(long y)>;

/// Writes an 8-bit PNG of 1 (grey) or 3 (RGB) channels. What the sink throws comes through.
/// @throws std::runtime_error if the encoder fails.
void writePng(const ByteSink& sink, long width, long height, int channels, const RowSource& rowAt);

}  // namespace qvtool

#endif
