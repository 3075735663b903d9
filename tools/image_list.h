/// @file
/// Lists of images that are too long for a command line, and the share of one that a job of many takes.
#ifndef QVSTREET_TOOLS_IMAGE_LIST_H
#define QVSTREET_TOOLS_IMAGE_LIST_H

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace qvtool {

/// The paths of a list, one in each line. Empty lines and a carriage return before the line's end do not count. A list
/// that holds a NUL byte is one of paths that NUL bytes end, and its line ends belong to the paths. Nothing is quoted.
std::vector<std::string> pathsIn(std::string_view list);

/// The same from a file, or from standard input for "-".
/// @throws InputError if it cannot be read, or has more than 2^30 bytes.
std::vector<std::string> readImageList(const std::string& path);

/// One of several jobs that share a list.
struct Shard {
    std::size_t number = 1;  ///< 1 to count
    std::size_t count = 1;   ///< up to 2147483647
};

/// Where the shard's block of the list begins, and where it ends (one behind), both counted from 0. The blocks follow
/// each other, leave none out, and differ by at most one in length, so that results joined in order are those of the
/// whole list.
std::pair<std::size_t, std::size_t> blockOf(const Shard& shard, std::size_t images);

}  // namespace qvtool

#endif
