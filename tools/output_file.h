/// @file
/// Outputs that are there whole or not at all.
#ifndef QVSTREET_TOOLS_OUTPUT_FILE_H
#define QVSTREET_TOOLS_OUTPUT_FILE_H

#include <cstddef>
#include <stdexcept>
#include <string>
#include <string_view>

namespace qvtool {

/// An output that could not be written. The message names the file and the reason.
class OutputError : public std::runtime_error {
 public:
    using std::runtime_error::runtime_error;
};

/// Standard output, or a file that appears under its name only when `commit` has brought all of it to the disk: it is
/// written under another name beside the target and then renamed. Devices and pipes are written directly.
class OutputFile {
 public:
    /// Takes "-" for standard output.
    /// @throws OutputError if the target is a directory or cannot be written.
    explicit OutputFile(const std::string& path);
    /// Leaves no trace of a file that was not committed.
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    /// @throws OutputError, after which the output is to be destroyed.
    void write(const void* data, std::size_t size);
    void write(std::string_view text) { write(text.data(), text.size()); }

    /// Everything is written. @throws OutputError if the system did not take it.
    void commit();

 private:
    void openFile();
    [[noreturn]] void fail(int error) const;

    std::string path_;
    std::string target_;     ///< path_ with symbolic links followed, so that a link stays a link
    std::string temporary_;  ///< empty where the target is written directly
    int descriptor_ = -1;
    bool ownsDescriptor_ = false;
};

/// Prepares the process: a closed pipe or a full quota is an error to report instead of a deadly signal, descriptors 0
/// to 2 are taken even if the caller closed them, and the signals that end a program remove unfinished files first.
void prepareProcessForOutput();

}  // namespace qvtool

#endif
