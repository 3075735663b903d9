// Eight threads, each with finders of its own and the images of all, give what one thread gives. They start before
// anything else has used the library, so that what is made at the first use is made by all at once.
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "tests/soak/soak_main.h"
#include "tests/soak/soak_scenes.h"

namespace {

using namespace qvtest;

constexpr std::size_t kThreads = 8;
constexpr std::size_t kStrips = 12;

/// The same in every thread, and none of them may change it.
struct Material {
    const std::vector<SoakScene>& scenes = soakScenes();
    std::vector<SoakStrip> strips;

    Material() {
        for (std::uint64_t number = 0; number < kStrips; ++number) strips.push_back(soakStrip(number));
    }
};

/// What one run works on: the finder of a scene and the image of that or another one, or a strip.
struct Job {
    std::size_t finder = 0;
    std::size_t image = 0;
    bool isStrip = false;
    bool isFresh = false;
};

Job jobOf(const Material& material, std::size_t thread, std::size_t run) {
    Job job;
    job.isStrip = run % 5 == 4;
    job.isFresh = run % 11 == 0;
    job.finder = (run * 7 + thread * 3) % (job.isStrip ? material.strips.size() : material.scenes.size());
    job.image = (run * 4 + thread + run / 15) % material.scenes.size();
    return job;
}

class Worker {
 public:
    Worker(const Material& material, std::size_t thread) : material_(material), thread_(thread) {
        for (const SoakScene& scene : material.scenes)
            finders_.push_back(std::make_unique<qvStreetFinder>(scene.params));
    }

    std::uint64_t answer(std::size_t run) {
        const Job job = jobOf(material_, thread_, run);
        if (job.isStrip) return hashOf(hexOf(soakRun(material_.strips[job.finder])));
        if (job.isFresh) finders_[job.finder] = std::make_unique<qvStreetFinder>(material_.scenes[job.finder].params);
        return hashOf(hexOf(soakRun(*finders_[job.finder], material_.scenes[job.image].image)));
    }

 private:
    const Material& material_;
    std::size_t thread_;
    std::vector<std::unique_ptr<qvStreetFinder>> finders_;
};

std::string run(const SoakOptions& options) {
    const auto runs = static_cast<std::size_t>(options.count(100, 1000));
    const Material material;
    std::vector<std::vector<std::uint64_t>> answers(kThreads);
    std::vector<std::exception_ptr> failures(kThreads);
    std::vector<std::thread> threads;
    std::atomic<std::size_t> waiting{kThreads};
    for (std::size_t thread = 0; thread < kThreads; ++thread)
        threads.emplace_back([&, thread] {
            --waiting;
            while (waiting > 0) std::this_thread::yield();
            try {
                Worker worker(material, thread);
                for (std::size_t run = 0; run < runs; ++run) answers[thread].push_back(worker.answer(run));
            } catch (...) {
                failures[thread] = std::current_exception();
            }
        });
    for (std::thread& thread : threads) thread.join();
    for (const std::exception_ptr& failure : failures)
        if (failure) std::rethrow_exception(failure);

    for (std::size_t thread = 0; thread < kThreads; ++thread) {
        Worker worker(material, thread);
        for (std::size_t run = 0; run < runs; ++run)
            soakRequire(
                answers[thread].at(run) == worker.answer(run),
                "thread " + std::to_string(thread) + ", run " + std::to_string(run) + ": other bits than alone");
    }
    return std::to_string(kThreads) + " threads, " + std::to_string(runs) + " runs each, equal to serial";
}

}  // namespace

int main(int count, char** arguments) { return soakMain("threads", count, arguments, run); }
