/// @file
/// The table of properties: each is one row, run case by case.
#ifndef QVSTREET_TESTS_SOAK_PROPERTY_TABLE_H
#define QVSTREET_TESTS_SOAK_PROPERTY_TABLE_H

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <string>
#include <vector>

#include "tests/soak/soak_main.h"
#include "tests/soak/watchdog.h"
#include "tests/support/noise_image.h"

namespace qvtest {

/// What the table says of one property.
struct Row {
    const char* name;
    /// How far apart, in pels, a result may be from the same one in the changed image.
    double tolerance;
    /// Share of the cases in which some result may be missing, new, or further off.
    double allowedShare;
    long cases = 0;
    long casesThatDiffer = 0;
    std::vector<double> deviations = {};

    double share() const {
        return cases == 0 ? 0.0 : static_cast<double>(casesThatDiffer) / static_cast<double>(cases);
    }
    /// The deviation that `part` of them do not exceed.
    double deviationOf(double part) const {
        if (deviations.empty()) return 0.0;
        std::vector<double> sorted = deviations;
        std::sort(sorted.begin(), sorted.end());
        return sorted[static_cast<std::size_t>(part * static_cast<double>(sorted.size() - 1))];
    }
};

/// Runs the rows, prints each when it is done, and fails where too many of its cases differ.
class Table {
 public:
    explicit Table(const SoakOptions& options) : options_(options) {}

    /// `check` takes the number of a case, its random numbers and the row.
    template <typename Check>
    void run(Row row, long cases, const Check& check) {
        for (long number = 0; number < cases; ++number) {
            if (!options_.wants(number)) continue;
            const std::string place =
                std::string(row.name) + ", seed " + std::to_string(options_.seed) + ", case " + std::to_string(number);
            watch(kMostSeconds, place);
            Noise noise(options_.seed * 1000003 + static_cast<std::uint64_t>(number));
            try {
                check(number, noise, row);
            } catch (const std::exception& error) {
                throw SoakFailure(place + ": " + error.what());
            }
            ++row.cases;
        }
        stopWatching();
        std::printf("%-30s %6ld %9zu %10.2g %10.2g %10.2g %6ld, %4.1f %% of %4.1f %%\n", row.name, row.cases,
                    row.deviations.size(), row.deviationOf(0.99), row.deviationOf(1.0), row.tolerance,
                    row.casesThatDiffer, 100.0 * row.share(), 100.0 * row.allowedShare);
        std::fflush(stdout);
        // A few cases say little of a share.
        const long allowed =
            row.allowedShare > 0.0 ? 2 + std::lround(row.allowedShare * static_cast<double>(row.cases)) : 0;
        soakRequire(row.casesThatDiffer <= allowed, std::string(row.name) + ": too many cases that differ");
        soakRequire(!options_.isWhole() || !row.deviations.empty(), std::string(row.name) + ": nothing to compare");
        cases_ += row.cases;
        compared_ += row.deviations.size();
    }
    std::string figures() const {
        return std::to_string(cases_) + " cases, " + std::to_string(compared_) + " results compared";
    }

 private:
    SoakOptions options_;
    long cases_ = 0;
    std::size_t compared_ = 0;
};

}  // namespace qvtest

#endif
