/// @file
/// Lines written down by hand, and the text that a stage traces about them.
#ifndef QVSTREET_TESTS_CANDIDATES_LITERAL_LINES_H
#define QVSTREET_TESTS_CANDIDATES_LITERAL_LINES_H

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "qvstreet/candidates/candidate_records.h"
#include "qvstreet/frontend/line_results.h"
#include "qvstreet/streetfinder/candidate_search.h"
#include "qvstreet/streetfinder/street_trace.h"

/// A line of the candidate logic from (x1, y1) to (x2, y2), client frame, with a quality of 0 as the extraction delivers.
inline qv_ridgeLine ridgeLine(double x1, double y1, double x2, double y2, long key = -1) {
    return makeRidgeLine(qvLineFinderResults(qvLineSeg(qvVector<2>(x1, y1), qvVector<2>(x2, y2)), 0.0, false), key);
}

/// Ends of a line: p1, then p2.
struct LiteralLine {
    double x1;
    double y1;
    double x2;
    double y2;
};

/// The flat list of these lines, direction 0 first; each line's key is its subscript.
inline std::vector<qv_ridgeLine> flatLines(const std::vector<LiteralLine>& literals) {
    std::vector<qv_ridgeLine> lines;
    lines.reserve(literals.size());
    for (const LiteralLine& l : literals)
        lines.push_back(ridgeLine(l.x1, l.y1, l.x2, l.y2, static_cast<long>(lines.size())));
    return lines;
}

/// A trace that is on and open, into a file that goes with the object.
class TraceCapture {
 public:
    TraceCapture() {
        static int count = 0;
        path_ = (std::filesystem::temp_directory_path() /
                 ("qvstreet_capture_" + std::to_string(getpid()) + "_" + std::to_string(++count) + ".trace"))
                    .string();
        std::filesystem::remove(path_);
        trace_.enabled = true;
        trace_.narrowName.assign(path_.begin(), path_.end());
        trace_.wideName.assign(path_.begin(), path_.end());
        trace_.stream.open(path_, std::ios::app | std::ios::binary);
    }
    ~TraceCapture() {
        trace_.stream.close();
        std::filesystem::remove(path_);
    }
    TraceCapture(const TraceCapture&) = delete;
    TraceCapture& operator=(const TraceCapture&) = delete;

    qv_streetTrace* trace() { return &trace_; }

    /// Everything written so far.
    std::string text() {
        if (trace_.stream.is_open()) trace_.stream.flush();
        std::ifstream file(path_, std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
    }

 private:
    qv_streetTrace trace_;
    std::string path_;
};

#endif
