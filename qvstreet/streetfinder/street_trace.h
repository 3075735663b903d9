/// @file
/// The trace: plain text that the stages write to a file while tracing is on.
#ifndef QVSTREET_STREETFINDER_STREET_TRACE_H
#define QVSTREET_STREETFINDER_STREET_TRACE_H

#include <fstream>
#include <string>
#include <vector>

#include "qvstreet/platform/text.h"

/// Where and whether the stages write. The stream is open only within a trace frame.
struct qv_streetTrace {
    /// True from the moment tracing is switched on; a record exists only to be on.
    bool enabled = false;
    /// The file name, each character of `wideName` cut to one byte; no terminator.
    std::vector<char> narrowName;
    /// The file name as given.
    std::wstring wideName;
    std::ofstream stream;

    qv_streetTrace() = default;
    /// Copies the switch and the names; the copy has a closed stream of its own.
    qv_streetTrace(const qv_streetTrace& other)
        : enabled(other.enabled), narrowName(other.narrowName), wideName(other.wideName) {}
    qv_streetTrace& operator=(const qv_streetTrace&) = delete;
};

/// Gives the record a new file name. A stream that an exception left open is closed, so that the next frame opens the
/// new file.
void nameTraceFile(qv_streetTrace& trace, const std::wstring& name);

/// Empties the record's file, or makes an empty one. @returns whether the file can be written
bool emptyTraceFile(const qv_streetTrace& trace);

/// Whether text written now goes anywhere. Stages build none otherwise.
inline bool isTracing(const qv_streetTrace* trace) {
    return trace != nullptr && trace->enabled && trace->stream.is_open();
}

/// Writes `text`, each character cut to one byte, when there is a trace that is enabled and open.
void traceText(qv_streetTrace* trace, const std::wstring& text);

/// Writes texts and numbers one after the other; numbers become text only while tracing.
template <typename... Parts>
void traceParts(qv_streetTrace* trace, Parts... parts) {
    if (isTracing(trace)) (traceText(trace, qfStr(parts)), ...);
}

/// Keeps the trace file open for the time of one stage. The outermost frame opens and closes it, nested ones leave it
/// alone, so the file on disk is complete between stages. On an exception the stream stays open for the next frame.
class qv_traceFrame {
 public:
    explicit qv_traceFrame(qv_streetTrace* trace);
    ~qv_traceFrame();
    qv_traceFrame(const qv_traceFrame&) = delete;
    qv_traceFrame& operator=(const qv_traceFrame&) = delete;

 private:
    qv_streetTrace* trace_;
    bool opened_ = false;
    int exceptionsAtEntry_;
};

#endif
