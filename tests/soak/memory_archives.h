/// @file
/// Memory runs out while archives are written and read and while exceptions are copied.
#ifndef QVSTREET_TESTS_SOAK_MEMORY_ARCHIVES_H
#define QVSTREET_TESTS_SOAK_MEMORY_ARCHIVES_H

#include <array>
#include <istream>
#include <memory>
#include <ostream>
#include <streambuf>
#include <string>

#include "qvstreet/qvstreet.h"
#include "tests/soak/memory_points.h"
#include "tests/soak/soak_main.h"

namespace qvtest {

/// Bytes in memory of its own, so that only the archive asks for more.
class FixedBuffer : public std::streambuf {
 public:
    FixedBuffer() { setp(bytes_.data(), bytes_.data() + bytes_.size()); }
    void rewind() {
        setg(bytes_.data(), bytes_.data(), pptr());
        setp(bytes_.data(), bytes_.data() + bytes_.size());
    }
    std::string written() const { return std::string(pbase(), pptr()); }

 private:
    std::array<char, 8192> bytes_{};
};

template <typename Exception>
void runArchive(MemoryPoints& points, const char* name, const Exception& exception) {
    struct State {
        FixedBuffer buffer;
        std::ostream out{&buffer};
        std::istream in{&buffer};
        Exception loaded;
        std::unique_ptr<qvPersistent> byType;
        std::shared_ptr<qvPersistent> shared;
        std::shared_ptr<qvPersistent> sharedAgain;
    };
    const auto store = [&exception](State& state) {
        qvArchive archive(state.out);
        std::shared_ptr<qvPersistent> shared = std::make_shared<Exception>(exception);
        archive << exception << &exception << std::string("narrow text that needs a block")
                << std::wstring(L"wide text that needs a block");
        archive || shared;
        archive || shared;
    };
    const auto load = [](State& state) {
        qvArchive archive(state.in);
        std::string text;
        std::wstring wide;
        archive >> state.loaded;
        qvPersistent* object = nullptr;
        archive >> object;
        state.byType.reset(object);
        archive >> text;
        archive >> wide;
        archive || state.shared;
        archive || state.sharedAgain;
    };
    const auto requireLoaded = [&exception](const State& state) {
        const std::string what = exception.what();
        soakRequire(what == state.loaded.what(), "loaded another message");
        for (const qvPersistent* object : {state.byType.get(), state.shared.get()}) {
            const auto* loaded = dynamic_cast<const Exception*>(object);
            soakRequire(loaded != nullptr && what == loaded->what(), "loaded another object");
        }
        soakRequire(state.shared == state.sharedAgain, "one object became two");
    };
    std::string expected;
    {
        State state;
        store(state);
        expected = state.buffer.written();
    }
    points.run(
        std::string(name) + ": stored", [] { return std::make_unique<State>(); }, store,
        [&](State& state, bool isOut) {
            if (isOut) {
                state.buffer.rewind();
                store(state);
            }
            soakRequire(state.buffer.written() == expected, "stored other bytes");
        });
    points.run(
        std::string(name) + ": loaded",
        [&] {
            auto state = std::make_unique<State>();
            store(*state);
            state->buffer.rewind();
            return state;
        },
        load,
        [&](State& state, bool isOut) {
            if (isOut) {
                state.buffer.rewind();
                store(state);
                state.buffer.rewind();
                load(state);
            }
            requireLoaded(state);
        });
    struct Copies {
        std::unique_ptr<Exception> copy;
        Exception assigned;
    };
    points.run(
        std::string(name) + ": copied", [] { return std::make_unique<Copies>(); },
        [&](Copies& copies) {
            copies.copy = std::make_unique<Exception>(exception);
            copies.assigned = exception;
            copies.assigned.what();
        },
        [&](Copies& copies, bool isOut) {
            soakRequire(isOut || copies.copy != nullptr, "no copy");
            if (copies.copy)
                soakRequire(std::string(exception.what()) == copies.copy->what(), "copied another message");
            if (isOut) copies.assigned = exception;
            soakRequire(std::string(exception.what()) == copies.assigned.what(), "assigned another message");
        });
}

/// Every kind of exception, stored, loaded and copied.
inline void runArchives(MemoryPoints& points) {
    const std::wstring message = L"a message of more letters than any string keeps within itself \u2014 and wide ones";
    runArchive(points, "BadParams", qvStreetFinderDefs::BadParams(message));
    runArchive(points, "UnboundImage", qvStreetFinderDefs::UnboundImage(message));
    runArchive(points, "blank region BadParams", qvStreetBlankRegionFinderDefs::BadParams(message));
    runArchive(points, "BadSize", qvPel::BadSize(message));
    runArchive(points, "UnknownVersion", qvArchive::UnknownVersion("a class name that needs a block of memory", 7));
    runArchive(points, "invariant", qvInvariantFailure(message));
}

}  // namespace qvtest

#endif
