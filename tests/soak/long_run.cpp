// Months in a few minutes: runs over mixed scenes with finders that stay and finders that come and go, refused images and
// parameters in between. The heap holds as many blocks at the end as soon after the start, and the process has not grown.
#include <unistd.h>
#ifdef __GLIBC__
#include <malloc.h>
#endif

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "tests/soak/failing_memory.h"
#include "tests/soak/sanitized.h"
#include "tests/soak/soak_main.h"
#include "tests/soak/soak_scenes.h"

namespace {

using namespace qvtest;

constexpr long kMostGrowth = 1L << 20;

/// Bytes of memory that the process has for its own; 0 where the system does not say. What the heap keeps for the next run
/// is megabytes more or less from one run to the next, so it is given back first.
long residentBytes() {
#ifdef __GLIBC__
    malloc_trim(0);
#endif
    std::ifstream file("/proc/self/statm");
    long whole = 0;
    long resident = 0;
    file >> whole >> resident;
    return file ? resident * sysconf(_SC_PAGESIZE) : 0;
}

/// What a host does wrong once in a while.
void beRefused(qvStreetFinder& finder) {
    int refusals = 0;
    try {
        finder.setImage(qvPelBuffer_const<unsigned char>());
    } catch (const qvStreetFinderDefs::UnboundImage&) {
        ++refusals;
    }
    try {
        std::vector<qvRadian> angles;
        finder.getAngles(0, angles);
    } catch (const qvStreetFinderDefs::BadParams&) {
        ++refusals;
    }
    try {
        qvPelBuffer_const<unsigned char> flat = soakScenes().front().image;
        flat.clientFromImageXform(qvXform<2>(qvMatrix<2>(1.0, 0.0, 0.0, 0.0), qvVector<2>(0.0, 0.0)));
        qvStreetFinder(soakScenes().front().params).setImage(flat);
    } catch (const qvException&) {
        ++refusals;
    }
    soakRequire(refusals == 3, "something wrong was not refused");
}

class LongRun {
 public:
    explicit LongRun(std::size_t scenes) {
        for (std::size_t i = 0; i < scenes; ++i) {
            finders_.push_back(std::make_unique<qvStreetFinder>(soakScenes()[i].params));
            expected_.emplace_back(scenes);
        }
    }

    /// Runs this far apart leave every finder with the same image.
    long period() const { return static_cast<long>(finders_.size() * finders_.size()); }

    void run(long number) {
        const auto count = finders_.size();
        const auto pair = static_cast<std::size_t>(number) % (count * count);
        const std::size_t image = pair % count;
        // Every finder in turn; after a whole round of pairs each has seen every image.
        const std::size_t finder = (image + pair / count) % count;
        const std::uint64_t answer = hashOf(hexOf(soakRun(*finders_[finder], soakScenes()[image].image)));
        if (expected_[finder][image] == 0) expected_[finder][image] = answer;
        soakRequire(answer == expected_[finder][image], "other bits than the first time");
        if (number % 10 == 3) soakRun(soakScene(static_cast<std::uint64_t>(number)));
        // One after the other, so that each kind has its turn.
        if (number % 10 == 6) soakRun(soakStrip(static_cast<std::uint64_t>(number / 10)));
        if (number % 50 == 9) beRefused(*finders_[finder]);
    }

 private:
    std::vector<std::unique_ptr<qvStreetFinder>> finders_;
    std::vector<std::vector<std::uint64_t>> expected_;
};

std::string run(const SoakOptions& options) {
    const long runs = options.count(2000, 100000);
    const long warmUp = options.isShort ? 100 : 1000;
    // The heap takes some thousand runs of images of all sizes until each finds a gap that fits.
    const long settled = std::max(warmUp, runs / 20);
    soakRequire(runs > warmUp, "takes more than " + std::to_string(warmUp) + " runs to tell anything");
    // As many scenes as have all been with all finders at the end of the warming up.
    LongRun work(options.isShort ? 8 : soakScenes().size());
    // A finder holds more for an image with more lines, so each run is compared with the one a period before.
    std::vector<long> blocks(static_cast<std::size_t>(work.period()));
    long most = 0;
    long resident = 0;
    for (long number = 0; number < runs; ++number) {
        if (number == settled) resident = residentBytes();
        soakPlace("run " + std::to_string(number));
        try {
            work.run(number);
        } catch (const std::exception& error) {
            throw SoakFailure("run " + std::to_string(number) + ": " + error.what());
        }
        const long now = liveBlocks();
        long& before = blocks[static_cast<std::size_t>(number % work.period())];
        const long change = now - before;
        soakRequire(number < warmUp + work.period() || change == 0,
                    "run " + std::to_string(number) + " left " + std::to_string(change) + " blocks");
        before = now;
        if (number >= warmUp) most = std::max(most, now);
    }
    const long growth = residentBytes() - resident;
    soakRequire(kIsSanitized || growth <= kMostGrowth, "the process grew by " + std::to_string(growth) + " bytes");
    return std::to_string(runs) + " runs, " + std::to_string(most) +
           " blocks at most, none left over, resident growth " + std::to_string(growth / 1024) + " KiB";
}

}  // namespace

int main(int count, char** arguments) { return soakMain("long_run", count, arguments, run); }
