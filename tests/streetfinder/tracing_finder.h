#ifndef QVSTREET_TESTS_STREETFINDER_TRACING_FINDER_H
#define QVSTREET_TESTS_STREETFINDER_TRACING_FINDER_H

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "qvstreet/streetfinder/street_finder.h"
#include "qvstreet/streetfinder/street_trace.h"
#include "tests/streetfinder/finder_runs.h"

namespace qvtest {

/// A finder whose trace can be switched from outside.
class TracingFinder : public qvStreetFinder {
 public:
    using qvStreetFinder::customize;
    using qvStreetFinder::qvStreetFinder;
};

/// A folder of its own for every test, which goes with the test.
class InFolder : public testing::Test {
 protected:
    InFolder() { std::filesystem::create_directories(folder_); }
    ~InFolder() override { std::filesystem::remove_all(folder_); }

    const std::filesystem::path& folder() const { return folder_; }
    std::string path(const std::string& name) const { return (folder_ / name).string(); }
    bool exists(const std::string& name) const { return std::filesystem::exists(path(name)); }

    /// What switches tracing on, into that file of the folder and ".trace".
    std::wstring traceInto(const std::string& name) const {
        const std::string file = path(name);
        return L"DP " + std::wstring(file.begin(), file.end());
    }

    std::string contentOf(const std::string& name) const { return contentOfFile(path(name)); }

    static std::string contentOfFile(const std::string& file) {
        std::ifstream stream(file, std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>());
    }

    void write(const std::string& name, const std::string& content) const {
        std::ofstream(path(name), std::ios::binary) << content;
    }

 private:
    const std::filesystem::path folder_ = std::filesystem::temp_directory_path() /
                                          ("qvstreet_" + std::to_string(getpid()) + "_" +
                                           testing::UnitTest::GetInstance()->current_test_info()->test_suite_name() +
                                           "_" + testing::UnitTest::GetInstance()->current_test_info()->name());
};

/// A flat street 100 pels wide and an upright one 120 wide, which lean by -3 degrees: wide enough that the edges of each
/// break at the crossing, so that there are pairs, a quad of each direction and one cross.
inline PaintedWafer brokenEdgesWafer() {
    PaintedWafer wafer;
    wafer.width = 400;
    wafer.height = 300;
    wafer.flat.push_back({qvVector<2>(180.0, 165.0), -3.0, 100.0});
    wafer.upright.push_back({qvVector<2>(180.0, 165.0), 87.0, 120.0});
    return wafer;
}

inline qvStreetFinderParams brokenEdgesParams() {
    return qvStreetFinderParams(qvPair<double>(120.0, 100.0), qvPair<double>(60.0, 180.0), qvPair<double>(50.0, 150.0),
                                qvStreetFinderDefs::eEdgePairWafer, 5.0, qvStreetFinderDefs::eAnyPolarity, 20);
}

}  // namespace qvtest

#endif
