// Transforms of the analysed square by FFTW, in double precision, with plans that FFTW has measured; one thread.
#include <fftw3.h>

#include <algorithm>
#include <cstddef>
#include <memory>

#include "bench/peers/rows.h"
#include "bench/peers/task_settings.h"

namespace qvbench {

namespace {

constexpr int kSide = static_cast<int>(kTransformSide);
constexpr std::size_t kPels = static_cast<std::size_t>(kTransformSide * kTransformSide);

struct FftwPlan {
    FftwPlan(std::size_t inputDoubles, std::size_t outputDoubles)
        : input(fftw_alloc_real(inputDoubles)), output(fftw_alloc_real(outputDoubles)) {}
    FftwPlan(const FftwPlan&) = delete;
    FftwPlan& operator=(const FftwPlan&) = delete;
    ~FftwPlan() {
        fftw_destroy_plan(plan);
        fftw_free(input);
        fftw_free(output);
    }
    fftw_complex* complexInput() const { return reinterpret_cast<fftw_complex*>(input); }
    fftw_complex* complexOutput() const { return reinterpret_cast<fftw_complex*>(output); }
    double* input;
    double* output;
    fftw_plan plan = nullptr;
};

/// Anything but zeros; a transform takes the same time for all.
void fillInput(double* input, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) input[i] = static_cast<double>(i * 2654435761u % 256u);
}

std::function<void()> forwardRun() {
    const auto work = std::make_shared<FftwPlan>(kPels, 2 * kSide * (kSide / 2 + 1));
    work->plan = fftw_plan_dft_r2c_2d(kSide, kSide, work->input, work->complexOutput(), FFTW_MEASURE);
    fillInput(work->input, kPels);
    return [=] { fftw_execute(work->plan); };
}

std::function<void()> inverseRun() {
    const auto work = std::make_shared<FftwPlan>(2 * kPels, 2 * kPels);
    work->plan =
        fftw_plan_dft_2d(kSide, kSide, work->complexInput(), work->complexOutput(), FFTW_BACKWARD, FFTW_MEASURE);
    fillInput(work->input, 2 * kPels);
    return [=] { fftw_execute(work->plan); };
}

}  // namespace

void addFftwTasks(std::vector<Task>& tasks) {
    tasks.push_back({"fftw/forward/256", forwardRun});
    tasks.push_back({"fftw/inverse/256", inverseRun});
}

std::string fftwVersion() { return fftw_version; }

}  // namespace qvbench
