/// @file
/// Small text files that an option names.
#ifndef QVSTREET_TOOLS_TEXT_FILE_H
#define QVSTREET_TOOLS_TEXT_FILE_H

#include <cstddef>
#include <stdexcept>
#include <string>

namespace qvtool {

/// A file that an option names cannot serve as what it is named for. The message names the option and the file.
class InputError : public std::runtime_error {
 public:
    using std::runtime_error::runtime_error;
};

/// @throws InputError with "OPTION: 'PATH': REASON".
[[noreturn]] void failInput(const char* option, const std::string& path, const std::string& reason);

/// A text file that an option takes, and what is told about one that cannot be read.
struct TextFile {
    const char* option;    ///< its name, with dashes
    std::string path;      ///< "-" is standard input where `dashIsInput` says so
    std::size_t maxBytes;  ///< a longer file is refused, so that an endless device ends somewhere
    const char* allowed;   ///< ends the message about a file that is too long
    bool dashIsInput = false;
};

/// The whole file.
/// @throws InputError if it cannot be opened or read, or is too long.
std::string readTextFile(const TextFile& file);

}  // namespace qvtool

#endif
