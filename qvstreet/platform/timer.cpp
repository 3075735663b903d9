#include "qvstreet/platform/timer.h"

qvTimer::qvTimer(bool running) {
    if (running) start();
}

void qvTimer::start() {
    start_ = Clock::now();
    running_ = true;
}

void qvTimer::stop() {
    if (!running_) return;
    stop_ = Clock::now();
    running_ = false;
}

double qvTimer::sec() const {
    const Clock::time_point end = running_ ? Clock::now() : stop_;
    return std::chrono::duration<double>(end - start_).count();
}
