// What a second thread with a finder of its own is worth: frames per second of several threads over those of one.
//
//     qvstreet_threads [--threads N] [--rounds N] [--side PELS]      2 threads, 15 rounds, 1024 pels unless given
//
// In each round one thread searches a lot of frames alone, and all threads search as many each at the same time, in an
// order that changes from round to round; the ratio is the median of the rounds. On a machine with other work that ratio
// shows the other work, too. The ratio of processor times does not: it says what the threads cost each other in caches
// and memory.

#include <time.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <future>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <vector>

#include "bench/bench_images.h"
#include "qvstreet/streetfinder/street_finder.h"

namespace {

using qvbench::waferImage;
using qvbench::waferParams;

// Long enough that waking a thread, which takes milliseconds on a virtual machine, does not count.
constexpr int kFramesPerLot = 250;
constexpr qvStreetFinderDefs::waferType kMode = qvStreetFinderDefs::eCoarseRidgeWafer;

/// Seconds on the processor of the calling thread.
double processorSeconds() {
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
}

/// Lets threads begin at the same moment.
class Gate {
 public:
    explicit Gate(int count) : missing_(count) {}
    void pass() {
        std::unique_lock<std::mutex> lock(mutex_);
        if (--missing_ == 0) open_.notify_all();
        open_.wait(lock, [this] { return missing_ <= 0; });
    }

 private:
    std::mutex mutex_;
    std::condition_variable open_;
    int missing_;
};

struct LotTimes {
    double wall = 0.0;       // until the last thread was ready
    double processor = 0.0;  // mean of the threads
};

/// One lot of frames by each of the finders, every finder in a thread of its own.
LotTimes searchLots(std::vector<qvStreetFinder*> finders, const qvPelBuffer_const<unsigned char>& image) {
    using Clock = std::chrono::steady_clock;
    struct Worker {
        Clock::time_point begin, end;
        double processor;
    };
    Gate gate(static_cast<int>(finders.size()));
    const auto work = [&gate, &image](qvStreetFinder& finder) {
        std::vector<qvStreetFinderStreetCrossResult> crossings;
        finder.setImage(image);
        finder.find(crossings);
        gate.pass();
        Worker worker{Clock::now(), {}, processorSeconds()};
        for (int i = 0; i < kFramesPerLot; ++i) {
            finder.setImage(image);
            finder.find(crossings);
            if (crossings.size() != qvbench::kUsualCrossings) throw std::runtime_error("crossings are missing");
        }
        worker.processor = processorSeconds() - worker.processor;
        worker.end = Clock::now();
        return worker;
    };

    std::vector<std::future<Worker>> workers;
    for (qvStreetFinder* finder : finders)
        workers.push_back(std::async(std::launch::async, [&work, finder] { return work(*finder); }));
    LotTimes times;
    Clock::time_point begin = Clock::time_point::max();
    Clock::time_point end = Clock::time_point::min();
    for (std::future<Worker>& future : workers) {
        const Worker worker = future.get();
        begin = std::min(begin, worker.begin);
        end = std::max(end, worker.end);
        times.processor += worker.processor / static_cast<double>(finders.size());
    }
    times.wall = std::chrono::duration<double>(end - begin).count();
    return times;
}

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

void run(int threads, int rounds, long side) {
    if (threads < 1 || rounds < 1 || side < 256) throw std::invalid_argument("a number is too small");
    // An image of its own for each thread would be more like a host; sharing one favours nobody, as it exceeds the caches
    // that a core has for itself.
    const qvPelBuffer_const<unsigned char>& image = waferImage(side);
    std::vector<std::unique_ptr<qvStreetFinder>> finders;
    std::vector<qvStreetFinder*> all;
    for (int i = 0; i < threads; ++i) {
        finders.push_back(std::make_unique<qvStreetFinder>(waferParams(side, kMode)));
        all.push_back(finders.back().get());
    }

    std::vector<double> aloneRates, togetherRates, ratios, processorRatios;
    for (int round = 0; round < rounds; ++round) {
        const bool aloneFirst = round % 2 == 0;
        LotTimes alone, together;
        if (aloneFirst) alone = searchLots({all.front()}, image);
        together = searchLots(all, image);
        if (!aloneFirst) alone = searchLots({all.front()}, image);
        aloneRates.push_back(kFramesPerLot / alone.wall);
        togetherRates.push_back(threads * kFramesPerLot / together.wall);
        ratios.push_back(togetherRates.back() / aloneRates.back());
        processorRatios.push_back(threads * alone.processor / together.processor);
    }
    std::printf("setImage + find, coarse, %ld x %ld; %d interleaved rounds of %d frames a thread\n", side, side, rounds,
                kFramesPerLot);
    std::printf("1 thread               %8.0f frames/s\n", median(aloneRates));
    std::printf("%d threads              %8.0f frames/s\n", threads, median(togetherRates));
    std::printf("ratio                  %8.2f\n", median(ratios));
    std::printf("ratio, processor time  %8.2f\n", median(processorRatios));
}

}  // namespace

int main(int argc, char** argv) {
    int threads = 2;
    int rounds = 15;
    long side = 1024;
    for (int i = 1; i < argc; i += 2) {
        const char* value = i + 1 < argc ? argv[i + 1] : nullptr;
        if (value != nullptr && std::strcmp(argv[i], "--threads") == 0) {
            threads = std::atoi(value);
        } else if (value != nullptr && std::strcmp(argv[i], "--rounds") == 0) {
            rounds = std::atoi(value);
        } else if (value != nullptr && std::strcmp(argv[i], "--side") == 0) {
            side = std::atol(value);
        } else {
            std::fprintf(stderr, "usage: qvstreet_threads [--threads N] [--rounds N] [--side PELS]\n");
            return 2;
        }
    }
    try {
        run(threads, rounds, side);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "qvstreet_threads: %s\n", error.what());
        return 1;
    }
    return 0;
}
