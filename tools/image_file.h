/// @file
/// From a path to grey pels: the format is told by the file's first bytes, never by its name.
#ifndef QVSTREET_TOOLS_IMAGE_FILE_H
#define QVSTREET_TOOLS_IMAGE_FILE_H

#include "tools/grey_image.h"

#include <string>

namespace qvtool {

/// Reads a PNG, TIFF, BMP, PGM, PPM or JPEG file.
/// @throws ImageError for whatever keeps the file from becoming an image: missing, unreadable, a directory, empty, not
///         an image, truncated, damaged, of a kind that is not read, too large.
GreyImage readImageFile(const std::string& path);

/// The same from memory.
GreyImage decodeImage(Bytes file);

// One reader per format. Each takes a whole file that begins with its format's signature; the notes of the result say
// what was changed. All throw ImageError, for every damaged input.
GreyImage readPng(Bytes file);
GreyImage readTiff(Bytes file);
GreyImage readJpeg(Bytes file);
GreyImage readBmp(Bytes file);
GreyImage readPnm(Bytes file);

}  // namespace qvtool

#endif
