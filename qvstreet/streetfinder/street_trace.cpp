#include "qvstreet/streetfinder/street_trace.h"

#include <algorithm>
#include <exception>

namespace {

/// The same bytes everywhere: Windows would write other ends of lines.
constexpr std::ios::openmode kBytes = std::ios::out | std::ios::binary;

char cutToOneByte(wchar_t character) { return static_cast<char>(static_cast<unsigned char>(character)); }

/// The name as the stream's opening takes it, with a terminator.
std::string fileName(const qv_streetTrace& trace) {
    return std::string(trace.narrowName.begin(), trace.narrowName.end());
}

}  // namespace

void nameTraceFile(qv_streetTrace& trace, const std::wstring& name) {
    if (trace.stream.is_open()) trace.stream.close();
    trace.wideName = name;
    trace.narrowName.resize(name.size());
    std::transform(name.begin(), name.end(), trace.narrowName.begin(), cutToOneByte);
}

bool emptyTraceFile(const qv_streetTrace& trace) { return std::ofstream(fileName(trace), kBytes).is_open(); }

void traceText(qv_streetTrace* trace, const std::wstring& text) {
    if (!isTracing(trace)) return;
    std::string narrow(text.size(), '\0');
    std::transform(text.begin(), text.end(), narrow.begin(), cutToOneByte);
    trace->stream << narrow;
}

qv_traceFrame::qv_traceFrame(qv_streetTrace* trace) : trace_(trace), exceptionsAtEntry_(std::uncaught_exceptions()) {
    if (trace_ == nullptr || !trace_->enabled || trace_->stream.is_open()) return;
    // An unusable path leaves the stream closed, and the stages write nothing.
    trace_->stream.open(fileName(*trace_), kBytes | std::ios::app);
    opened_ = true;
}

qv_traceFrame::~qv_traceFrame() {
    const bool leavingOnException = std::uncaught_exceptions() > exceptionsAtEntry_;
    if (!opened_ || leavingOnException) return;
    if (trace_->enabled && trace_->stream.is_open()) trace_->stream.close();
}
