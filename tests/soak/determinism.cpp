// The same image gives the same bits: whichever version of the kernels runs, the hundredth time as the first, and from a
// finder that has seen other images as from a new one.
//
// The last line holds a hash of all results, so that builds of different compilers and for different processors can be
// compared; `--output FILE` writes the results themselves.
#include <cstdint>
#include <fstream>
#include <string>

#include "qvstreet/platform/instruction_set.h"
#include "tests/soak/soak_main.h"
#include "tests/soak/soak_scenes.h"

namespace {

using namespace qvtest;

constexpr long kScenes = 200;
constexpr long kStrips = 60;

std::uint64_t hashOfPels(const qvPelBuffer_const<unsigned char>& image, std::uint64_t before) {
    std::uint64_t hash = before;
    for (long y = 0; y < image.height(); ++y)
        hash = hashOf(std::string(image.pointToRow(y), image.pointToRow(y) + image.width()), hash);
    return hash;
}

/// The text of a run, which has to be the same from every version of the kernels up to `best`, which stays in use.
template <typename Text>
std::string fromEveryVersion(qv_InstructionSet best, const std::string& name, const Text& text) {
    qf_useInstructionSet(best);
    const std::string expected = text();
    for (int version = 0; version < static_cast<int>(best); ++version) {
        const auto set = static_cast<qv_InstructionSet>(version);
        qf_useInstructionSet(set);
        soakRequire(text() == expected,
                    name + ": " + qf_instructionSetName(set) + " gives other bits than " + qf_instructionSetName(best));
    }
    qf_useInstructionSet(best);
    return expected;
}

class Determinism {
 public:
    explicit Determinism(const SoakOptions& options)
        : options_(options),
          scenes_(options.count(kScenes, kScenes)),
          repeats_(options.isShort ? 20 : 100),
          best_(options.isPlain ? qv_InstructionSet::ePlain : qf_bestInstructionSet()) {}

    std::string run() {
        // In the short form every tenth scene is repeated.
        const long stride = options_.isShort ? 10 : 1;
        for (long number = 0; number < scenes_; ++number)
            if (options_.wants(number)) checkScene(number, number % stride == 0);
        const long strips = scenes_ * kStrips / kScenes;
        for (long number = 0; number < strips && options_.onlyCase < 0; ++number) checkStrip(number);
        soakRequire(!options_.isWhole() || (crossings_ > 0 && streets_ > 0 && regions_ > 0), "nothing was found");
        if (!options_.output.empty()) {
            std::ofstream file(options_.output);
            file << text_;
            soakRequire(file.flush().good(), "cannot write " + options_.output);
        }
        return std::to_string(scenes_) + " scenes and " + std::to_string(strips) + " strips, " +
               std::to_string(crossings_) + " crossings, " + std::to_string(streets_) + " streets, " +
               std::to_string(regions_) + " regions, " + std::to_string(runs_) + " runs, kernels up to " +
               qf_instructionSetName(best_) + ", images " + hexDigits(pels_) + ", results " + hexDigits(hashOf(text_));
    }

 private:
    std::uint64_t sceneNumber(long number) const {
        return (options_.seed - 1) * 1000003 + static_cast<std::uint64_t>(number);
    }

    void checkScene(long number, bool isRepeated) {
        const SoakScene scene = soakScene(sceneNumber(number));
        pels_ = hashOfPels(scene.image, pels_);
        const std::string fresh = fromEveryVersion(best_, scene.name, [&] {
            const SoakOutcome outcome = soakRun(scene);
            ++runs_;
            return hexOf(outcome);
        });
        qvStreetFinder used(scene.params);
        for (const std::uint64_t other : {7u, 1u, 4u}) soakRun(used, soakScene(sceneNumber(number) + other).image);
        const long repeats = isRepeated ? repeats_ : 1;
        for (long repeat = 0; repeat < repeats; ++repeat) {
            const SoakOutcome outcome = soakRun(used, scene.image);
            ++runs_;
            soakRequire(hexOf(outcome) == fresh,
                        scene.name + ": run " + std::to_string(repeat) + " of a used finder gives other bits");
            if (repeat > 0) continue;
            crossings_ += outcome.crossings.size();
            streets_ += outcome.streets.size();
        }
        text_ += scene.name + "\n" + fresh + "\n";
    }

    void checkStrip(long number) {
        const SoakStrip strip = soakStrip(sceneNumber(number));
        pels_ = hashOfPels(strip.image, pels_);
        const std::string fresh = fromEveryVersion(best_, strip.name, [&] {
            ++runs_;
            return hexOf(soakRun(strip));
        });
        const long repeats = options_.isShort ? 2 : repeats_;
        for (long repeat = 0; repeat < repeats; ++repeat) {
            const auto results = soakRun(strip);
            ++runs_;
            soakRequire(hexOf(results) == fresh, strip.name + ": run " + std::to_string(repeat) + " gives other bits");
            if (repeat == 0) regions_ += static_cast<std::size_t>(results.numResults());
        }
        text_ += strip.name + "\n" + fresh + "\n";
    }

    const SoakOptions& options_;
    long scenes_;
    long repeats_;
    qv_InstructionSet best_;
    std::string text_;
    std::uint64_t pels_ = hashOf("");
    std::size_t crossings_ = 0;
    std::size_t streets_ = 0;
    std::size_t regions_ = 0;
    long runs_ = 0;
};

}  // namespace

int main(int count, char** arguments) {
    return soakMain("determinism", count, arguments,
                    [](const SoakOptions& options) { return Determinism(options).run(); });
}
