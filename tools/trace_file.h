/// @file
/// One trace for all images of a call, behind the option --trace.
#ifndef QVSTREET_TOOLS_TRACE_FILE_H
#define QVSTREET_TOOLS_TRACE_FILE_H

#include "qvstreet/streetfinder/street_finder.h"
#include "qvstreet/streetfinder/street_trace.h"

#include <optional>
#include <string>

namespace qvtool {

/// The file that the finder makes of the option's value.
std::string traceFileOf(const std::string& path);

/// Empties that file, or makes an empty one. The library itself is silent about one that it cannot write.
/// @throws OutputError
void startTrace(const std::string& path);

/// What one finder traces. It is appended to the file, which is not emptied: every image has a finder of its own. The
/// file is open as long as this object lives, and the finder has to live longer.
class FinderTrace {
 public:
    /// Takes an empty path for no trace.
    FinderTrace(qvStreetFinder& finder, const std::string& path);
    FinderTrace(const FinderTrace&) = delete;
    FinderTrace& operator=(const FinderTrace&) = delete;

    /// Whether the file took all that was traced so far.
    bool isWhole();

 private:
    qv_streetTrace* trace_ = nullptr;
    std::optional<qv_traceFrame> frame_;
};

}  // namespace qvtool

#endif
