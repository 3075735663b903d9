/// @file
/// Runs the command as its users do: as a process of its own.
#ifndef QVSTREET_TESTS_TOOLS_SUBPROCESS_H
#define QVSTREET_TESTS_TOOLS_SUBPROCESS_H

#include <functional>
#include <string>
#include <vector>

namespace qvtest {

/// What a finished process left.
struct Outcome {
    int status = -1;        ///< exit status; -1 if a signal ended it
    int signal = 0;         ///< that signal
    std::string out;        ///< its standard output, where that was not sent elsewhere
    std::string err;        ///< its standard error
    long maxKilobytes = 0;  ///< the most memory that was resident
};

enum class Standard { captured, closed, closedPipe, file };

struct Surroundings {
    Standard output = Standard::captured;
    std::string outputFile;                   ///< for Standard::file
    long fileSizeLimit = -1;                  ///< bytes that each written file may have; -1: no limit
    bool errorIsTerminal = false;             ///< standard error is a pseudo terminal
    std::function<void(int)> whileRunning{};  ///< called with the process's number once it has been started
};

/// Runs the command with these arguments and waits for its end.
Outcome runCommand(const std::vector<std::string>& arguments, const Surroundings& surroundings = {});

/// Whether a pseudo terminal can be opened here; not so in a bare root folder.
bool hasPseudoTerminals();

/// A folder that is removed with all it holds at the end of the test.
class TemporaryFolder {
 public:
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    std::string path(const std::string& name = {}) const { return name.empty() ? path_ : path_ + "/" + name; }
    /// The names in it, in alphabetical order.
    std::vector<std::string> names() const;

 private:
    std::string path_;
};

std::string readText(const std::string& path);
void writeText(const std::string& path, const std::string& text);

}  // namespace qvtest

#endif
