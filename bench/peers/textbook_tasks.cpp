#include <stdexcept>

#include "bench/peers/rows.h"
#include "bench/peers/task_settings.h"
#include "bench/running_histogram.h"
#include "bench/strip_images.h"
#include "qvstreet/blankregion/sliding_mode.h"

namespace qvbench {

namespace {

void requireSameModes(const StripSize& size, const qvPelBuffer<unsigned char>& modes) {
    const qvPelBuffer<unsigned char> ours(modes.width(), modes.height());
    qf_slidingMode(stripImage(size.width, size.height), kWindowWidth, kWindowHeight, ours.width(), ours);
    for (long y = 0; y < modes.height(); ++y)
        for (long x = 0; x < modes.width(); ++x)
            // A peer that gives other values would be none.
            if (ours.get(x, y) != modes.get(x, y)) throw std::logic_error("the running histogram gives other modes");
}

std::function<void()> runningHistogramRun(const StripSize& size) {
    const qvPelBuffer_const<unsigned char>& image = stripImage(size.width, size.height);
    qvPelBuffer<unsigned char> modes(size.width - kWindowWidth + 1, size.height - kWindowHeight + 1);
    runningHistogramModes(image, kWindowWidth, kWindowHeight, modes);
    requireSameModes(size, modes);
    return [=, &image]() mutable { runningHistogramModes(image, kWindowWidth, kWindowHeight, modes); };
}

}  // namespace

void addTextbookTasks(std::vector<Task>& tasks) {
    for (const StripSize& size : kStripSizes)
        tasks.push_back({"textbook/sliding_mode/" + stripName(size), [=] { return runningHistogramRun(size); }});
}

}  // namespace qvbench
