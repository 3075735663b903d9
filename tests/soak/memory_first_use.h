/// @file
/// Memory runs out at the first use of the library in a process, when what is kept for good does not exist yet.
#ifndef QVSTREET_TESTS_SOAK_MEMORY_FIRST_USE_H
#define QVSTREET_TESTS_SOAK_MEMORY_FIRST_USE_H

#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstddef>
#include <exception>
#include <new>
#include <string>

#include "tests/soak/failing_memory.h"
#include "tests/soak/soak_main.h"
#include "tests/soak/soak_scenes.h"
#include "tests/soak/watchdog.h"

namespace qvtest {

/// Seconds of the processor.
constexpr unsigned kMostSecondsOfChild = 60;

/// What a child process writes in `body`, or why it could not.
template <typename Body>
std::string fromChild(const Body& body) {
    std::array<int, 2> ends{};
    soakRequire(pipe(ends.data()) == 0, "no pipe");
    const pid_t child = fork();
    soakRequire(child >= 0, "no child process");
    if (child == 0) {
        std::string text;
        allowSeconds(kMostSecondsOfChild);
        try {
            text = body();
        } catch (const std::exception& error) {
            text = std::string("failed: ") + error.what();
        }
        const ssize_t written = write(ends[1], text.data(), text.size());
        _exit(written == static_cast<ssize_t>(text.size()) ? 0 : 1);
    }
    close(ends[1]);
    std::string text;
    std::array<char, 4096> lot{};
    for (ssize_t count = 0; (count = read(ends[0], lot.data(), lot.size())) > 0;)
        text.append(lot.data(), static_cast<std::size_t>(count));
    close(ends[0]);
    int status = 0;
    waitpid(child, &status, 0);
    if (status != 0) return "ended with wait status " + std::to_string(status);
    return text;
}

/// The first calls of a process, with failures; then the answer without.
inline std::string answerAfterFailures(const SoakScene& scene, const SoakStrip& strip, long point, bool fromThenOn) {
    bool isReached = false;
    {
        FailingMemory failing(point, fromThenOn);
        try {
            qvStreetFinder finder(scene.params);
            soakRun(finder, scene.image);
            soakRun(strip);
        } catch (const std::bad_alloc&) {
        }
        failing.stop();
        isReached = failing.hasFailed();
    }
    if (point > 0 && !isReached) return "no more";
    return hexDigits(hashOf(hexOf(soakRun(scene)) + hexOf(soakRun(strip))));
}

/// @returns the number of points. To be called before the process has used the library.
inline long runFirstUse(const SoakScene& scene, const SoakStrip& strip, long stride) {
    const std::string expected = fromChild([&] { return answerAfterFailures(scene, strip, 0, false); });
    soakRequire(expected.size() == 16, "first use: " + expected);
    long points = 0;
    for (const bool fromThenOn : {false, true})
        for (long point = 1;; point += stride) {
            const std::string answer = fromChild([&] { return answerAfterFailures(scene, strip, point, fromThenOn); });
            if (answer == "no more") break;
            soakRequire(answer == expected, scene.name + ": first use, allocation " + std::to_string(point) +
                                                (fromThenOn ? " and all behind it" : "") + " failed: " + answer +
                                                " instead of " + expected);
            ++points;
        }
    return points;
}

}  // namespace qvtest

#endif
