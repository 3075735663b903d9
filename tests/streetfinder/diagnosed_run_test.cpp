// The development entry: what it records, and that it changes nothing.
#include "qvstreet/streetfinder/diagnosed_run.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "qvstreet/platform/frames.h"
#include "tests/streetfinder/finder_runs.h"
#include "tests/support/recorded.h"

namespace {

using Defs = qvStreetFinderDefs;
using qvtest::allNumbersFrom;
using qvtest::clientFrame;
using qvtest::columnOf;
using qvtest::finderParams;
using qvtest::numbersOf;
using qvtest::oblongWafer;
using qvtest::recordOf;
using qvtest::tableOf;
using qvtest::textOf;
using qvtest::titlesOf;
using qvtest::uniformImage;
using Titles = std::vector<std::wstring>;

const std::vector<Defs::waferType> kModes = {Defs::eEdgePairWafer, Defs::eRidgeWafer, Defs::eCoarseRidgeWafer};

Titles namesOf(const std::vector<qv_stageTime>& times) {
    Titles names;
    for (const qv_stageTime& time : times) names.push_back(time.name);
    return names;
}

struct Diagnosed {
    qvDiagObject diagObject;
    qv_diagnosedResults results;

    Diagnosed(const qvStreetFinderParams& params, const qvPelBuffer_const<unsigned char>& image,
              const qv_diagnosedSearches& searches = qv_diagnosedSearches()) {
        qvStreetFinder finder(params);
        qf_diagnosedRun(finder, image, searches, diagObject, results);
    }
};

class TracingFinder : public qvStreetFinder {
 public:
    using qvStreetFinder::customize;
    using qvStreetFinder::qvStreetFinder;
};

std::string contentOf(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

/// What the titles of every run begin with.
Titles bindingTitles() {
    return {L"Sampled Square",
            L"Spectrum",
            L"Angle Profile",
            L"Street Directions",
            L"Projection, direction 0",
            L"Projection, direction 1",
            L"Response, direction 0",
            L"Response, direction 1",
            L"Lines"};
}

Titles followedBy(Titles first, const Titles& second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

}  // namespace

TEST(DiagnosedRun, ResultsAreThoseOfThePublicCallsToTheBit) {
    std::vector<qvPelBuffer_const<unsigned char>> images = {uniformImage(300, 200, 90)};
    for (const double lean : {0.0, 3.0}) images.push_back(oblongWafer(lean).image());
    images.push_back(oblongWafer(-2.0).image(clientFrame(3.0, 0.5, false)));
    images.push_back(oblongWafer(1.0).image(clientFrame(-4.0, 2.0, true)));
    images.push_back(oblongWafer(1.0).image());
    images.back().offset(70, -40);
    for (const Defs::waferType mode : kModes)
        for (const Defs::streetPolarity polarity : {Defs::eAnyPolarity, Defs::eDarkOnLight, Defs::eLightOnDark})
            for (std::size_t i = 0; i < images.size(); ++i) {
                const qvStreetFinderParams params = finderParams(mode, polarity, 4);
                qvStreetFinder plain(params);
                plain.setImage(images[i]);
                qvStreetFinder finder(params);
                qvDiagObject diagObject;
                qv_diagnosedResults results;
                qf_diagnosedRun(finder, images[i], qv_diagnosedSearches(), diagObject, results);
                EXPECT_EQ(numbersOf(results.crossings), numbersOf(qvtest::crossingsFrom(plain))) << mode << ", " << i;
                EXPECT_EQ(numbersOf(results.singleStreets), numbersOf(qvtest::streetsFrom(plain))) << mode << ", " << i;
                EXPECT_EQ(allNumbersFrom(finder), allNumbersFrom(plain)) << "the finder afterwards";
                EXPECT_GT(diagObject.numRecords(), 9);
            }
}

TEST(DiagnosedRun, ScenesForTheComparisonHaveResults) {
    for (const Defs::waferType mode : kModes) {
        const Diagnosed run(finderParams(mode, Defs::eDarkOnLight), oblongWafer(0.0).image());
        EXPECT_FALSE(run.results.crossings.empty()) << mode;
        EXPECT_FALSE(run.results.singleStreets.empty()) << mode;
    }
}

TEST(DiagnosedRun, EdgeModeRecordsInTheOrderOfItsStages) {
    const Diagnosed run(finderParams(Defs::eEdgePairWafer), oblongWafer(2.0).image());
    EXPECT_EQ(titlesOf(run.diagObject),
              followedBy(bindingTitles(), {L"Candidates", L"Final Scores", L"Single Streets"}));
}

TEST(DiagnosedRun, CoarseModeTestsThePolarityOnceForBothSearches) {
    const Diagnosed run(finderParams(Defs::eCoarseRidgeWafer, Defs::eDarkOnLight), oblongWafer(2.0).image());
    EXPECT_EQ(titlesOf(run.diagObject),
              followedBy(bindingTitles(), {L"Polarity Test, direction 0", L"Polarity Test, direction 1", L"Crossings",
                                           L"Single Streets"}));
}

TEST(DiagnosedRun, RidgeModeShowsTheMeasurementOfTwoCrossingsAlone) {
    const Diagnosed run(finderParams(Defs::eRidgeWafer, Defs::eDarkOnLight), oblongWafer(2.0).image());
    ASSERT_GT(run.results.crossings.size(), 2U);
    const std::wstring measured = L"Refine feates";
    EXPECT_EQ(titlesOf(run.diagObject),
              followedBy(bindingTitles(), {L"Polarity Test, direction 0", L"Polarity Test, direction 1", L"Crossings",
                                           L"Refinement", measured, measured, measured, measured, L"Single Streets"}));
    EXPECT_EQ(tableOf(recordOf(run.diagObject, L"Refinement"), L"Moves").rows.size(), run.results.crossings.size());
}

TEST(DiagnosedRun, SearchesThatWereNotAskedForAreNotRun) {
    qv_diagnosedSearches none;
    none.crossings = false;
    none.singleStreets = false;
    const Diagnosed run(finderParams(Defs::eEdgePairWafer), oblongWafer(2.0).image(), none);
    EXPECT_EQ(titlesOf(run.diagObject), bindingTitles());
    EXPECT_TRUE(run.results.crossings.empty());
    EXPECT_TRUE(run.results.singleStreets.empty());
    EXPECT_EQ(namesOf(run.results.times), (Titles{L"Spectrum", L"Street Directions", L"Projections", L"Lines"}));

    qv_diagnosedSearches streets;
    streets.crossings = false;
    const Diagnosed second(finderParams(Defs::eEdgePairWafer), oblongWafer(2.0).image(), streets);
    EXPECT_TRUE(second.results.crossings.empty());
    EXPECT_FALSE(second.results.singleStreets.empty());
}

TEST(DiagnosedRun, EveryStageHasItsTime) {
    const Diagnosed run(finderParams(Defs::eRidgeWafer), oblongWafer(2.0).image());
    EXPECT_EQ(namesOf(run.results.times), (Titles{L"Spectrum", L"Street Directions", L"Projections", L"Lines",
                                                  L"Crossings", L"Refinement", L"Single Streets"}));
    for (const qv_stageTime& time : run.results.times) EXPECT_GE(time.milliseconds, 0.0);
}

TEST(DiagnosedRun, RefusedImageLeavesNoRecordAndTheErrorOfThePublicCall) {
    qvStreetFinder finder(finderParams(Defs::eEdgePairWafer));
    qvDiagObject diagObject;
    qv_diagnosedResults results;
    EXPECT_THROW(qf_diagnosedRun(finder, qvPelBuffer_const<unsigned char>(), {}, diagObject, results),
                 Defs::UnboundImage);
    EXPECT_THROW(qf_diagnosedRun(finder, oblongWafer(0.0).image(clientFrame(6.0, 1.0, false)), {}, diagObject, results),
                 Defs::BadParams);
    EXPECT_EQ(diagObject.numRecords(), 0);
}

TEST(DiagnosedRun, RecordsBeforeAFailureStay) {
    const qvXform<2> flat(qvMatrix<2>(1.0, 0.0, 0.0, 0.0), qvVector<2>());
    qvStreetFinder finder(finderParams(Defs::eEdgePairWafer));
    qvDiagObject diagObject;
    qv_diagnosedResults results;
    results.times.push_back({L"left over", 1.0});
    EXPECT_THROW(qf_diagnosedRun(finder, oblongWafer(0.0).image(flat), {}, diagObject, results), qvMatrixErr::Singular);
    ASSERT_GE(diagObject.numRecords(), 2);
    EXPECT_EQ(diagObject.diagRecord(0).recordAnnotation(), L"Sampled Square");
    EXPECT_EQ(diagObject.diagRecord(1).recordAnnotation(), L"Spectrum");
    EXPECT_TRUE(results.times.empty());
}

TEST(DiagnosedRun, SecondRunAppendsAllItsRecords) {
    qvStreetFinder finder(finderParams(Defs::eCoarseRidgeWafer, Defs::eDarkOnLight));
    qvDiagObject diagObject;
    qv_diagnosedResults results;
    qf_diagnosedRun(finder, oblongWafer(2.0).image(), {}, diagObject, results);
    const Titles once = titlesOf(diagObject);
    qf_diagnosedRun(finder, oblongWafer(2.0).image(), {}, diagObject, results);
    EXPECT_EQ(titlesOf(diagObject), followedBy(once, once));
}

TEST(DiagnosedRun, PublicCallsAfterwardsRecordNothing) {
    qvStreetFinder finder(finderParams(Defs::eRidgeWafer));
    qvDiagObject diagObject;
    qv_diagnosedResults results;
    qf_diagnosedRun(finder, oblongWafer(2.0).image(), {}, diagObject, results);
    const long before = diagObject.numRecords();
    finder.setImage(oblongWafer(1.0).image());
    allNumbersFrom(finder);
    EXPECT_EQ(diagObject.numRecords(), before);
}

TEST(DiagnosedRun, TraceIsWrittenOnceAndAsByThePublicCalls) {
    const std::string base = testing::TempDir() + "diagnosed_run";
    const std::wstring option = L"DP " + std::wstring(base.begin(), base.end());
    TracingFinder plain(finderParams(Defs::eEdgePairWafer));
    plain.customize(option);
    plain.setImage(oblongWafer(2.0).image());
    qvtest::crossingsFrom(plain);
    qvtest::streetsFrom(plain);
    const std::string expected = contentOf(base + ".trace");
    EXPECT_FALSE(expected.empty());

    TracingFinder finder(finderParams(Defs::eEdgePairWafer));
    finder.customize(option);
    qvDiagObject diagObject;
    qv_diagnosedResults results;
    qf_diagnosedRun(finder, oblongWafer(2.0).image(), {}, diagObject, results);
    EXPECT_EQ(contentOf(base + ".trace"), expected);
    std::remove((base + ".trace").c_str());
}

TEST(DiagnosedRun, RecordedImageIsTheCallersOwn) {
    const qvPelBuffer_const<unsigned char> image = oblongWafer(2.0).image(clientFrame(1.0, 0.5, true));
    const Diagnosed run(finderParams(Defs::eEdgePairWafer), image);
    for (const wchar_t* const title : {L"Street Directions", L"Lines", L"Final Scores", L"Single Streets"}) {
        const qvPelBuffer_const<unsigned char>& shown = recordOf(run.diagObject, title).image();
        EXPECT_EQ(shown.pointToOffset(), image.pointToOffset()) << "shared, not copied";
        EXPECT_EQ(shown.clientFromImageXform().matrix(), image.clientFromImageXform().matrix());
    }
}

TEST(DiagnosedRun, CandidatesSayHowManyOfEachThereAre) {
    const Diagnosed run(finderParams(Defs::eEdgePairWafer), oblongWafer(2.0).image());
    const qvDiagRecord& record = recordOf(run.diagObject, L"Candidates");
    const qvDiagTable& counts = tableOf(record, L"Counts");
    // Two flat and three upright streets of two edges each, all of them unbroken.
    EXPECT_EQ(columnOf(counts, L"direction 0"), (Titles{L"4", L"2", L"0"}));
    EXPECT_EQ(columnOf(counts, L"direction 1"), (Titles{L"6", L"3", L"0"}));
    EXPECT_EQ(columnOf(counts, L"at most"), (Titles{L"", L"1000", L"100"}));
    EXPECT_EQ(columnOf(tableOf(record, L"Crosses"), L"number"), (Titles{L"0", L"6"}));
    EXPECT_EQ(textOf(record, L"Street widths"), L"X 9.0000 to 27.0000, Y 15.0000 to 45.0000 client units");
}

TEST(DiagnosedRun, UniformImageSaysWhyThereIsNothing) {
    const Diagnosed run(finderParams(Defs::eEdgePairWafer), uniformImage(300, 200, 90));
    EXPECT_EQ(textOf(recordOf(run.diagObject, L"Angle Profile"), L"Angles"),
              L"No peak of the profile reaches the threshold");
    EXPECT_EQ(textOf(recordOf(run.diagObject, L"Street Directions"), L"Choice"),
              L"No angle: the axes of the image stand in");
    EXPECT_EQ(textOf(recordOf(run.diagObject, L"Response, direction 1"), L"Found"), L"0 ridges, 0 lines");
}

TEST(DiagnosedRun, ChosenDirectionsAreMarkedInTheAngleProfile) {
    for (const bool mirrored : {false, true}) {
        // Lines along the rows and columns: across them, -90 and 0 degrees in the square.
        const Diagnosed run(finderParams(Defs::eEdgePairWafer),
                            oblongWafer(0.0).image(clientFrame(4.0, 0.5, mirrored)));
        const qvDiagPlot& plot = qvtest::plotOf(recordOf(run.diagObject, L"Angle Profile"), L"Band-Passed Profile");
        ASSERT_GE(plot.marks.size(), 2U);
        const qvDiagMark& flat = plot.marks[plot.marks.size() - 2];
        const qvDiagMark& upright = plot.marks.back();
        EXPECT_EQ(flat.caption, L"direction 0");
        EXPECT_EQ(flat.kind, qvDiagMark::ePosition);
        EXPECT_NEAR(std::fabs(flat.from), 90.0, 0.6);
        EXPECT_EQ(upright.caption, L"direction 1");
        EXPECT_NEAR(upright.from, 0.0, 0.6);
    }
}
