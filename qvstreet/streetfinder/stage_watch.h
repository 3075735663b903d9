/// @file
/// Follows a run from stage to stage, for the development entry: hands out the recorder or takes the times.
#ifndef QVSTREET_STREETFINDER_STAGE_WATCH_H
#define QVSTREET_STREETFINDER_STAGE_WATCH_H

#include <string>
#include <vector>

#include "qvstreet/platform/timer.h"

class qvDiagObject;

/// The time of one stage.
struct qv_stageTime {
    /// In English, for people: "Spectrum", "Street Directions", "Projections", "Lines", "Crossings", "Refinement",
    /// "Single Streets".
    std::wstring name;
    double milliseconds = 0.0;
};

/// What a run tells about itself while it goes on. The public calls pass one that asks for nothing: they read no clock
/// and record nothing.
class qv_stageWatch {
 public:
    /// Asks for nothing.
    qv_stageWatch() = default;
    /// Stages record into `diagObject`.
    explicit qv_stageWatch(qvDiagObject& diagObject) : diagObject_(&diagObject) {}
    /// The time of each stage is appended to `times` when the next one begins or the watch ends.
    explicit qv_stageWatch(std::vector<qv_stageTime>& times) : times_(&times) {}
    qv_stageWatch(const qv_stageWatch&) = delete;
    qv_stageWatch& operator=(const qv_stageWatch&) = delete;
    ~qv_stageWatch() { endStage(); }

    /// Ends the stage before and begins this one. @returns where it is to record; null for nowhere
    qvDiagObject* stage(const wchar_t* name) {
        if (times_ != nullptr) beginStage(name);
        return diagObject_;
    }

 private:
    void beginStage(const wchar_t* name);
    void endStage();

    qvDiagObject* diagObject_ = nullptr;
    std::vector<qv_stageTime>* times_ = nullptr;
    bool isRunning_ = false;
    qvTimer timer_;
};

#endif
