// Memory runs out at every point where it can: at each allocation of each call once, and from that one on.
//
// Demanded each time: std::bad_alloc comes out or the work is done all the same; what was promised of the state afterwards
// holds; nothing is lost once the objects are gone; and the next run of the same objects gives the bits of new ones.
#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include "qvstreet/qvstreet.h"
#include "qvstreet/streetfinder/diagnosed_run.h"
#include "qvstreet/streetfinder/street_finder_access.h"
#include "tests/soak/memory_archives.h"
#include "tests/soak/memory_first_use.h"
#include "tests/soak/memory_points.h"
#include "tests/soak/soak_main.h"
#include "tests/soak/soak_scenes.h"

namespace {

using namespace qvtest;

using Crossings = std::vector<qvStreetFinderStreetCrossResult>;
using Streets = std::vector<qvStreetFinderSingleStreetResult>;

/// After a binding that broke off the searches find nothing; a finder that never held an image may say so instead.
void requireNothingFound(qvStreetFinder& finder, bool hadImage) {
    Crossings crossings;
    Streets streets;
    std::vector<qvRadian> angles;
    try {
        finder.find(crossings);
        finder.findSingleStreet(streets);
        finder.getAngles(1000, angles);
    } catch (const qvStreetFinderDefs::UnboundImage&) {
        soakRequire(!hadImage, "the finder forgot that it had an image");
    }
    soakRequire(crossings.empty(), "find found something after a setImage that failed");
    soakRequire(streets.empty(), "findSingleStreet found something after a setImage that failed");
}

void requireSame(const std::string& found, const std::string& expected, const char* what) {
    soakRequire(found == expected, std::string(what) + " gives other bits");
}

// --- The street finder.

class FinderScenarios {
 public:
    FinderScenarios(MemoryPoints& points, const SoakScene& scene, const SoakScene& other)
        : points_(points),
          scene_(scene),
          other_(other),
          outcome_(soakRun(scene)),
          expected_(hexOf(outcome_)),
          expectedOfOther_(hexOf(soakRun(SoakScene{other.name, other.image, scene.params}))) {
        const bool isWafer = scene.name.compare(0, 5, "wafer") == 0;
        soakRequire(!isWafer || (!outcome_.crossings.empty() && !outcome_.streets.empty()),
                    scene.name + ": nothing was found");
    }

    void run() {
        construction();
        firstImage();
        secondImage(other_.image, "second image");
        secondImage(scene_.image, "same image again");
        searches();
        wholeLife();
        copies();
        resultCopies();
    }

    /// Takes much longer than the others.
    void diagnosedRun() {
        struct State {
            explicit State(const qvStreetFinderParams& params) : finder(params) {}
            qvStreetFinder finder;
            qvDiagObject records;
            qv_diagnosedResults results;
        };
        points_.run(
            scene_.name + ": diagnosed run", [this] { return std::make_unique<State>(scene_.params); },
            [this](State& state) {
                qf_diagnosedRun(state.finder, scene_.image, qv_diagnosedSearches(), state.records, state.results);
            },
            [this](State& state, bool isOut) {
                if (!isOut) {
                    requireSame(hexOf(state.results.crossings), hexOf(outcome_.crossings), "a diagnosed find");
                    requireSame(hexOf(state.results.singleStreets), hexOf(outcome_.streets),
                                "a diagnosed findSingleStreet");
                }
                requireSame(hexOf(soakRun(state.finder, scene_.image)), expected_, "the run behind it");
            });
    }

 private:
    using Finder = std::unique_ptr<qvStreetFinder>;

    std::unique_ptr<qvStreetFinder> finderWith(const qvPelBuffer_const<unsigned char>& image) const {
        auto finder = std::make_unique<qvStreetFinder>(scene_.params);
        finder->setImage(image);
        return finder;
    }

    void construction() {
        points_.run(
            scene_.name + ": construction", [] { return std::make_unique<Finder>(); },
            [this](Finder& finder) { finder = std::make_unique<qvStreetFinder>(scene_.params); },
            [this](Finder& finder, bool isOut) {
                soakRequire(isOut == (finder == nullptr), "half a finder");
                if (finder) requireSame(hexOf(soakRun(*finder, scene_.image)), expected_, "the run behind it");
            });
    }

    void firstImage() {
        points_.run(
            scene_.name + ": first image", [this] { return std::make_unique<qvStreetFinder>(scene_.params); },
            [this](qvStreetFinder& finder) { finder.setImage(scene_.image); },
            [this](qvStreetFinder& finder, bool isOut) {
                if (isOut) {
                    requireNothingFound(finder, false);
                } else {
                    requireSame(hexOf(soakSearches(finder)), expected_, "the binding without that memory");
                }
                requireSame(hexOf(soakRun(finder, scene_.image)), expected_, "the run behind it");
            });
    }

    void secondImage(const qvPelBuffer_const<unsigned char>& before, const char* name) {
        points_.run(
            scene_.name + ": " + name, [&] { return finderWith(before); },
            [this](qvStreetFinder& finder) { finder.setImage(scene_.image); },
            [this](qvStreetFinder& finder, bool isOut) {
                if (isOut) {
                    requireNothingFound(finder, true);
                } else {
                    requireSame(hexOf(soakSearches(finder)), expected_, "the binding without that memory");
                }
                // Another image first: what was left half done must not show there either.
                requireSame(hexOf(soakRun(finder, other_.image)), expectedOfOther_, "the run behind it");
                requireSame(hexOf(soakRun(finder, scene_.image)), expected_, "the second run behind it");
            });
    }

    void searches() {
        struct State {
            Finder finder;
            SoakOutcome outcome;
        };
        const auto prepare = [this] {
            auto state = std::make_unique<State>();
            state->finder = finderWith(scene_.image);
            return state;
        };
        // What a search leaves in its list when memory runs out is not promised, but it can be read.
        const auto check = [this](State& state, const std::string& found, const std::string& expected, bool isOut) {
            if (!isOut) requireSame(found, expected, "the search without that memory");
            requireSame(hexOf(soakSearches(*state.finder)), expected_, "the search behind it");
            requireSame(hexOf(soakRun(*state.finder, scene_.image)), expected_, "the run behind it");
        };
        const auto checkCrossings = [&](State& state, bool isOut) {
            check(state, hexOf(state.outcome.crossings), hexOf(outcome_.crossings), isOut);
        };
        const auto checkStreets = [&](State& state, bool isOut) {
            check(state, hexOf(state.outcome.streets), hexOf(outcome_.streets), isOut);
        };
        const auto find = [](State& state) { state.finder->find(state.outcome.crossings); };
        const auto findSingleStreet = [](State& state) { state.finder->findSingleStreet(state.outcome.streets); };
        points_.run(scene_.name + ": find", prepare, find, checkCrossings);
        points_.run(scene_.name + ": findSingleStreet", prepare, findSingleStreet, checkStreets);
        points_.run(
            scene_.name + ": getAngles", prepare,
            [](State& state) { state.finder->getAngles(1000, state.outcome.angles); },
            [&](State& state, bool isOut) {
                check(state, hexOf(state.outcome.angles), hexOf(outcome_.angles), isOut);
            });

        // Results of an earlier search, which this one replaces; in the edge pair mode the crossings stay.
        points_.run(
            scene_.name + ": searches with results",
            [&] {
                auto state = prepare();
                state->outcome = outcome_;
                return state;
            },
            [&](State& state) {
                find(state);
                findSingleStreet(state);
            },
            [&](State& state, bool isOut) {
                hexOf(state.outcome.crossings);
                checkStreets(state, isOut);
            });
    }

    /// Every call is made, whether or not those before it failed.
    void wholeLife() {
        struct State {
            Finder finder;
            SoakOutcome outcome;
        };
        const auto tried = [](const auto& call) {
            try {
                call();
            } catch (const std::bad_alloc&) {
            } catch (const qvStreetFinderDefs::UnboundImage&) {
            }
        };
        points_.run(
            scene_.name + ": all calls", [] { return std::make_unique<State>(); },
            [&](State& state) {
                tried([&] { state.finder = std::make_unique<qvStreetFinder>(scene_.params); });
                if (!state.finder) return;
                for (const auto* image : {&scene_.image, &other_.image, &scene_.image}) {
                    tried([&] { state.finder->setImage(*image); });
                    tried([&] { state.finder->getAngles(1000, state.outcome.angles); });
                    state.outcome.crossings.clear();
                    tried([&] { state.finder->find(state.outcome.crossings); });
                    tried([&] { state.finder->findSingleStreet(state.outcome.streets); });
                }
            },
            [this](State& state, bool) {
                if (state.finder)
                    requireSame(hexOf(soakRun(*state.finder, scene_.image)), expected_, "the run behind it");
            });
    }

    void copies() {
        struct State {
            Finder from;
            Finder to;
            Finder copy;
        };
        const auto prepare = [this] {
            auto state = std::make_unique<State>();
            state->from = finderWith(scene_.image);
            state->to = finderWith(other_.image);
            return state;
        };
        points_.run(
            scene_.name + ": copy of a finder", prepare,
            [](State& state) { state.copy = qv_streetFinderAccess::copy(*state.from); },
            [this](State& state, bool isOut) {
                soakRequire(isOut == (state.copy == nullptr), "half a finder");
                if (state.copy) requireSame(hexOf(soakSearches(*state.copy)), expected_, "the copy");
                requireSame(hexOf(soakSearches(*state.from)), expected_, "the copied one");
            });
        points_.run(
            scene_.name + ": assignment of a finder", prepare,
            [](State& state) { qv_streetFinderAccess::assign(*state.to, *state.from); },
            [this](State& state, bool isOut) {
                requireSame(hexOf(soakSearches(*state.to)), isOut ? expectedOfOther_ : expected_, "the assigned one");
                requireSame(hexOf(soakRun(*state.to, scene_.image)), expected_, "the run behind it");
                requireSame(hexOf(soakSearches(*state.from)), expected_, "the other one");
            });
    }

    void resultCopies() {
        struct State {
            SoakOutcome from;
            SoakOutcome to;
            qvStreetFinderStreetCrossResult crossing;
            qvStreetFinderSingleStreetResult street;
        };
        points_.run(
            scene_.name + ": copies of results",
            [this] {
                auto state = std::make_unique<State>();
                state->from = outcome_;
                return state;
            },
            [](State& state) {
                const SoakOutcome copy = state.from;
                state.to = copy;
                for (const auto& crossing : copy.crossings) state.crossing = crossing;
                for (const auto& street : copy.streets) state.street = street;
            },
            [this](State& state, bool isOut) {
                requireSame(hexOf(state.from), expected_, "the copied one");
                if (!isOut) requireSame(hexOf(state.to), expected_, "the copy");
                state.to = state.from;
                requireSame(hexOf(state.to), expected_, "the next copy");
            });
    }

    MemoryPoints& points_;
    const SoakScene& scene_;
    const SoakScene& other_;
    const SoakOutcome outcome_;
    const std::string expected_;
    const std::string expectedOfOther_;
};

// --- The blank region finder.

void runStrip(const SoakStrip& strip, qvStreetBlankRegionFinderResultSet& results, qvDiagObject* records) {
    constexpr std::uint32_t all = qvDiagDefs::eInput | qvDiagDefs::eResults | qvDiagDefs::eIntermediate;
    if (strip.mask.isBound())
        qfStreetBlankRegionFinderRun(strip.image, strip.mask, strip.params, results, records, all);
    else
        qfStreetBlankRegionFinderRun(strip.image, strip.params, results, records, all);
}

void runBlankRegions(MemoryPoints& points, const SoakStrip& strip, bool isDiagnosed) {
    struct State {
        qvStreetBlankRegionFinderResultSet results;
        qvDiagObject records;
    };
    std::vector<qvStreetBlankRegionFinderResult> formerList(3);
    formerList[1].init(0.5, 0.75, qvPelRect(1, 2, 3, 4));
    qvStreetBlankRegionFinderResultSet former;
    former.init(formerList, 0.0);
    const std::string expectedFormer = hexOf(former);
    const std::string expected = hexOf(soakRun(strip));
    points.run(
        strip.name + (isDiagnosed ? ": diagnosed blank region run" : ": blank region run"),
        [&] {
            auto state = std::make_unique<State>();
            state->results = former;
            return state;
        },
        [&](State& state) { runStrip(strip, state.results, isDiagnosed ? &state.records : nullptr); },
        [&](State& state, bool isOut) {
            requireSame(hexOf(state.results), isOut ? expectedFormer : expected, "the result set");
            if (!isDiagnosed || isOut) requireSame(hexOf(soakRun(strip)), expected, "the run behind it");
        });
    points.run(
        strip.name + ": copies of parameters and results",
        [&] {
            auto state = std::make_unique<State>();
            state->results = former;
            return state;
        },
        [&](State& state) {
            qvStreetBlankRegionFinderParams params = strip.params;
            std::vector<double> weights = params.greyLevelScoringFilter();
            params.greyLevelScoringFilter(weights);
            const qvStreetBlankRegionFinderResultSet copy = state.results;
            state.results = copy;
        },
        [&](State& state, bool) { requireSame(hexOf(state.results), expectedFormer, "the result set"); });
}

std::string run(const SoakOptions& options) {
    const std::vector<SoakScene>& scenes = soakScenes();
    long firstUse = 0;
    const long firstStrip = static_cast<long>(options.seed - 1) * 1009;
    if (options.onlyCase < 0)
        for (const std::size_t scene : {1u, 4u, 8u})
            if (!options.isShort || scene == 1)
                firstUse += runFirstUse(scenes[scene], soakStrip(4 + scene), options.isShort ? 5 : 1);

    MemoryPoints points(options.isShort ? 13 : 1);
    long finders = 0;
    for (std::size_t i = 0; i < scenes.size(); ++i) {
        if (!options.wants(static_cast<long>(i))) continue;
        FinderScenarios(points, scenes[i], scenes[(i + 4) % scenes.size()]).run();
        ++finders;
    }
    const long strips = options.isShort ? 8 : 40;
    for (long i = 0; i < strips && options.onlyCase < 0; ++i)
        runBlankRegions(points, soakStrip(static_cast<std::uint64_t>(firstStrip + i)), false);
    if (options.onlyCase < 0) runArchives(points);
    const long plain = points.points();
    soakRequire(points.thrown() > 0, "no allocation failed");

    MemoryPoints diagnosed(options.isShort ? 997 : 7);
    for (const std::size_t scene : {0u, 3u, 7u})
        if (options.wants(static_cast<long>(scene)))
            FinderScenarios(diagnosed, scenes[scene], scenes[scene + 1]).diagnosedRun();
    if (options.onlyCase < 0)
        for (const std::uint64_t strip : {2u, 9u}) runBlankRegions(diagnosed, soakStrip(strip), true);

    return std::to_string(plain) + " points of " + std::to_string(finders) + " finders, " + std::to_string(strips) +
           " strips and the archives (" + std::to_string(points.thrown()) + " ended the work), " +
           std::to_string(firstUse) + " at the first use in a process, " + std::to_string(diagnosed.points()) +
           " of diagnosed runs";
}

}  // namespace

int main(int count, char** arguments) { return soakMain("memory_failures", count, arguments, run); }
