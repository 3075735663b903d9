#include "qvstreet/streetfinder/street_trace.h"

#include <exception>

void traceText(qv_streetTrace* trace, const std::wstring& text) {
    if (!isTracing(trace)) return;
    std::string narrow;
    narrow.reserve(text.size());
    for (const wchar_t character : text) narrow.push_back(static_cast<char>(static_cast<unsigned char>(character)));
    trace->stream << narrow;
}

qv_traceFrame::qv_traceFrame(qv_streetTrace* trace) : trace_(trace), exceptionsAtEntry_(std::uncaught_exceptions()) {
    if (trace_ == nullptr || !trace_->enabled || trace_->stream.is_open()) return;
    // An unusable path leaves the stream closed, and the stages write nothing.
    trace_->stream.open(std::string(trace_->narrowName.begin(), trace_->narrowName.end()), std::ios::app);
    opened_ = true;
}

qv_traceFrame::~qv_traceFrame() {
    const bool leavingOnException = std::uncaught_exceptions() > exceptionsAtEntry_;
    if (!opened_ || leavingOnException) return;
    if (trace_->enabled && trace_->stream.is_open()) trace_->stream.close();
}
