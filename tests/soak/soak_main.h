/// @file
/// What every program soak_<subject> has in common: its command line, its last line, and how a case fails.
///
///     soak_<subject> [--short] [--seed N] [--case N] [--cases N] [--output FILE] [--plain]
///
/// The last line is `<subject>: <figures>: ok` with exit status 0, or `<subject>: FAILED: <what and where>` with 1.
#ifndef QVSTREET_TESTS_SOAK_SOAK_MAIN_H
#define QVSTREET_TESTS_SOAK_SOAK_MAIN_H

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <stdexcept>
#include <string>

namespace qvtest {

struct SoakOptions {
    /// A few seconds instead of minutes.
    bool isShort = false;
    /// Only the plain version of the kernels, where a program tries all.
    bool isPlain = false;
    /// Another seed makes other cases.
    std::uint64_t seed = 1;
    /// The only case to run, from 0; negative for all.
    long onlyCase = -1;
    /// How many cases; 0 leaves it to the program.
    long cases = 0;
    /// Where a program that can writes what it computed.
    std::string output;

    /// Whether all cases run that the form has, so that some of them have to give something.
    bool isWhole() const { return onlyCase < 0 && cases == 0; }

    bool wants(long number) const { return onlyCase < 0 || onlyCase == number; }

    /// The number of cases asked for, or that of the form.
    long count(long inShort, long inFull) const {
        if (cases > 0) return cases;
        return isShort ? inShort : inFull;
    }
};

/// A case that failed; the message names it so that `--seed` and `--case` can run it alone.
class SoakFailure : public std::runtime_error {
 public:
    using std::runtime_error::runtime_error;
};

inline void soakRequire(bool isTrue, const std::string& message) {
    if (!isTrue) throw SoakFailure(message);
}

/// @throws std::invalid_argument for an unknown option and a value that is no whole number
inline SoakOptions soakOptions(int count, const char* const* arguments) {
    SoakOptions options;
    for (int i = 1; i < count; ++i) {
        const std::string name = arguments[i];
        if (name == "--short") {
            options.isShort = true;
            continue;
        }
        if (name == "--plain") {
            options.isPlain = true;
            continue;
        }
        if (name == "--output" && i + 1 < count) {
            options.output = arguments[++i];
            continue;
        }
        if (name != "--seed" && name != "--case" && name != "--cases")
            throw std::invalid_argument("unknown option " + name);
        const char* const text = i + 1 < count ? arguments[++i] : "";
        char* end = nullptr;
        errno = 0;
        const long value = std::strtol(text, &end, 10);
        if (end == text || *end != '\0' || value < 0 || errno != 0)
            throw std::invalid_argument(name + " takes a whole number from 0 on");
        if (name == "--seed") options.seed = static_cast<std::uint64_t>(value);
        if (name == "--case") options.onlyCase = value;
        if (name == "--cases") options.cases = value;
    }
    return options;
}

/// Zero-terminated; a buffer of its own, because a process that dies must not look for memory.
inline std::array<char, 512>& soakPlaceText() {
    static std::array<char, 512> text{};
    return text;
}

/// Says which case is at work, for the case that ends the process.
inline void soakPlace(const std::string& place) {
    std::array<char, 512>& text = soakPlaceText();
    const std::size_t count = std::min(place.size(), text.size() - 1);
    std::copy_n(place.data(), count, text.data());
    text[count] = '\0';
}

extern "C" inline void qvtest_soakDied(int number) {
    std::fprintf(stderr, "FAILED: signal %d in: %s\n", number, soakPlaceText().data());
    std::_Exit(1);
}

/// The body of `main`. `run` takes the options, answers the figures and throws where a case fails.
template <typename Run>
int soakMain(const char* subject, int count, const char* const* arguments, const Run& run) {
    SoakOptions options;
    try {
        options = soakOptions(count, arguments);
    } catch (const std::invalid_argument& error) {
        std::fprintf(stderr,
                     "%s\nusage: soak_%s [--short] [--seed N] [--case N] [--cases N] "
                     "[--output FILE] [--plain]\n",
                     error.what(), subject);
        return 2;
    }
    for (const int number : {SIGSEGV, SIGABRT, SIGFPE, SIGILL}) std::signal(number, qvtest_soakDied);
    try {
        const std::string figures = run(options);
        std::printf("%s: %s: ok\n", subject, figures.c_str());
        return 0;
    } catch (const SoakFailure& error) {
        std::printf("%s: FAILED: %s\n", subject, error.what());
    } catch (const std::exception& error) {
        std::printf("%s: FAILED: %s in: %s\n", subject, error.what(), soakPlaceText().data());
    }
    return 1;
}

}  // namespace qvtest

#endif
