#include "tools/trace_file.h"

#include "qvstreet/streetfinder/street_finder_access.h"
#include "tools/output_file.h"
#include "tools/text.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <memory>
#include <utility>

namespace qvtool {
namespace {

constexpr mode_t kNewFileMode = 0666;  // the umask takes its share

/// One character for each byte: the library cuts each character to one byte again, so that a name in any encoding
/// survives.
std::wstring byteByByte(const std::string& text) {
    std::wstring wide;
    for (const char c : text) wide.push_back(static_cast<wchar_t>(static_cast<unsigned char>(c)));
    return wide;
}

}  // namespace

std::string traceFileOf(const std::string& path) { return path + ".trace"; }

void startTrace(const std::string& path) {
    const std::string file = traceFileOf(path);
    struct stat status {};
    // The reader of a named pipe takes the end of a first writer for the end of the trace, and the next one would wait
    // for another reader.
    if (::stat(file.c_str(), &status) == 0 && S_ISFIFO(status.st_mode)) return;
    const int descriptor = ::open(file.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NOCTTY, kNewFileMode);
    if (descriptor < 0) {
        throw OutputError("--trace: " + inQuotes(file) + ": cannot be written: " + std::strerror(errno) +
                          "; allowed is a file in an existing folder with room and permission to write");
    }
    ::close(descriptor);
}

FinderTrace::FinderTrace(qvStreetFinder& finder, const std::string& path) {
    if (path.empty()) return;
    auto trace = std::make_unique<qv_streetTrace>();
    trace->enabled = true;
    nameTraceFile(*trace, byteByByte(traceFileOf(path)));
    trace_ = trace.get();
    qv_streetFinderAccess::record(finder).trace = std::move(trace);
    // Open over all stages: each opening of their own would forget that an earlier one could not write.
    frame_.emplace(trace_);
}

bool FinderTrace::isWhole() { return trace_ == nullptr || (trace_->stream.is_open() && trace_->stream.flush().good()); }

}  // namespace qvtool
