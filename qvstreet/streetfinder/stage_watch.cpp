#include "qvstreet/streetfinder/stage_watch.h"

namespace {

constexpr double kMillisecondsPerSecond = 1000.0;

}  // namespace

void qv_stageWatch::beginStage(const wchar_t* name) {
    endStage();
    times_->push_back({name, 0.0});
    isRunning_ = true;
    timer_.start();
}

void qv_stageWatch::endStage() {
    if (!isRunning_) return;
    timer_.stop();
    times_->back().milliseconds = timer_.sec() * kMillisecondsPerSecond;
    isRunning_ = false;
}
