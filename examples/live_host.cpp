// A loop over live frames with several threads, one finder each. Every thread takes the next frame that nobody has taken;
// the results are the same, bit by bit, whichever thread came first.
//
//     live_host [THREADS [FRAMES]]      2 threads and 200 frames unless given

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <future>
#include <stdexcept>
#include <vector>

#include "qvstreet/qvstreet.h"
#include "sample_wafer.h"

namespace {

using Crossings = std::vector<qvStreetFinderStreetCrossResult>;

/// Stands in for a camera that is never waited for: some frames, over and over.
class Camera {
 public:
    Camera() {
        for (long shift = 0; shift < 16; ++shift) frames_.push_back(drawWafer(1024, 1024, 11 * shift));
    }
    const Frame& frame(long number) const { return frames_[static_cast<std::size_t>(number) % frames_.size()]; }

 private:
    std::vector<Frame> frames_;
};

qvStreetFinderParams waferParams() {
    qvStreetFinderParams params;
    params.nominalStreetWidth({20.0, 20.0}, {10.0, 30.0}, {10.0, 30.0});
    params.runMode(qvStreetFinderDefs::eCoarseRidgeWafer);
    params.streetPolarity(qvStreetFinderDefs::eDarkOnLight);
    params.maxResults(100);
    return params;
}

/// What one thread does. The finder and its memory live as long as the loop; after the first frame it allocates nothing
/// for an image of the same size.
void work(const Camera& camera, std::atomic<long>& next, std::vector<Crossings>& results) {
    qvStreetFinder finder(waferParams());
    for (long number = next++; number < static_cast<long>(results.size()); number = next++) {
        const Frame& frame = camera.frame(number);
        finder.setImage(qvPelBuffer_const<unsigned char>(frame.pels.data(), frame.width, frame.height, frame.width));
        finder.find(results[static_cast<std::size_t>(number)]);
    }
}

/// Frames per second. An exception of any thread comes out here, once all have ended.
double searchAll(const Camera& camera, int threads, std::vector<Crossings>& results) {
    const auto begin = std::chrono::steady_clock::now();
    std::atomic<long> next{0};
    std::vector<std::future<void>> workers;
    for (int i = 0; i < threads; ++i)
        workers.push_back(std::async(std::launch::async, [&] { work(camera, next, results); }));
    for (std::future<void>& worker : workers) worker.get();
    const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - begin;
    return static_cast<double>(results.size()) / seconds.count();
}

bool same(const Crossings& a, const Crossings& b) {
    if (a.size() != b.size()) return false;
    for (std::size_t i = 0; i < a.size(); ++i)
        if (a[i].crossing() != b[i].crossing() || a[i].score() != b[i].score() || a[i].lineSegs() != b[i].lineSegs())
            return false;
    return true;
}

void run(int threads, long frames) {
    if (threads < 1 || frames < 1) throw std::invalid_argument("threads and frames must be positive");
    const Camera camera;
    std::vector<Crossings> alone(static_cast<std::size_t>(frames));
    std::vector<Crossings> together(static_cast<std::size_t>(frames));
    const double aloneRate = searchAll(camera, 1, alone);
    const double togetherRate = searchAll(camera, threads, together);

    long crossings = 0;
    for (std::size_t i = 0; i < alone.size(); ++i) {
        if (!same(alone[i], together[i])) throw std::runtime_error("the threads disagree");
        crossings += static_cast<long>(alone[i].size());
    }
    std::printf("1 thread:  %.0f frames/s\n", aloneRate);
    std::printf("%d threads: %.0f frames/s\n", threads, togetherRate);
    std::printf("%ld frames, %ld crossings, equal\n", frames, crossings);
}

}  // namespace

int main(int argc, char** argv) {
    try {
        run(argc > 1 ? std::atoi(argv[1]) : 2, argc > 2 ? std::atol(argv[2]) : 200);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "live_host: %s\n", error.what());
        return 1;
    }
    return 0;
}
