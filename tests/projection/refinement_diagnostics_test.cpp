// What the measurement of a crossing records.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "qvstreet/platform/diagnostic_cells.h"
#include "qvstreet/platform/diagnostics.h"
#include "qvstreet/projection/crossing_refinement.h"
#include "qvstreet/streetfinder/street_results_access.h"
#include "tests/support/noise_image.h"
#include "tests/support/recorded.h"

// Streets of an image 200 by 160: upright from x = 90 to 100, flat from y = 70 to 84, grey 60 on 150.

namespace {

using Defs = qvStreetFinderDefs;
using Access = qv_streetResultAccess;
using Image = qvPelBuffer<unsigned char>;

Image crossing() {
    Image image(200, 160, 32);
    for (long y = 0; y < 160; ++y)
        for (long x = 0; x < 200; ++x) {
            const bool isStreet = (x >= 90 && x < 100) || (y >= 70 && y < 84);
            image.put(x, y, isStreet ? 60 : 150);
        }
    return image;
}

/// The flat street first: its region is 56 across by 168 along, that of the upright one 40 by 120.
qv_refineContext context(double scale = 1.0) {
    return qv_refineContext(qvVector<2>(96.0, 75.0) * scale, qvDegree(0.0), qvDegree(90.0),
                            qvPair<double>(56.0 * scale, 168.0 * scale), qvPair<double>(40.0 * scale, 120.0 * scale),
                            qvPair<double>(14.0 * scale, 10.0 * scale), 0.1, Defs::eRidgeWafer, Defs::eDarkOnLight);
}

void expectRecord(const qvDiagRecord& record, const qvVector<2>& point) {
    EXPECT_EQ(record.recordAnnotation(), L"Refine feates");
    ASSERT_EQ(record.entries().size(), 2u);
    EXPECT_EQ(record.entries()[0].kind, qvDiagEntry::eSketch);
    EXPECT_EQ(record.entries()[0].label, L"Caliper Results");
    EXPECT_EQ(record.entries()[0].coordinateSystem, qvDisplay::eClientCoordinates);
    EXPECT_EQ(record.entries()[1].kind, qvDiagEntry::eSketch);
    EXPECT_EQ(record.entries()[1].label, L"Position");
    EXPECT_EQ(record.entries()[1].coordinateSystem, qvDisplay::eClientCoordinates);
    const std::vector<qvShape>& position = record.entries()[1].sketch.shapes();
    ASSERT_EQ(position.size(), 1u);
    EXPECT_EQ(position[0].kind, qvShape::ePointIcon);
    EXPECT_EQ(position[0].color, qvColor::redColor);
    EXPECT_EQ(position[0].layer, 0);
    EXPECT_NEAR(position[0].p1.x(), point.x(), 1e-9);
    EXPECT_NEAR(position[0].p1.y(), point.y(), 1e-9);
}

TEST(RefinementDiagnostics, OneRecordForEachStreetInOrder) {
    const Image image = crossing();
    qvDiagObject records;
    qv_refineResult result;
    refineCrossing(image, context(), result, &records);
    ASSERT_EQ(result.status, Defs::eStreetFromEdges);
    ASSERT_EQ(records.numRecords(), 2);
    expectRecord(records.diagRecord(0), qvVector<2>(96.0, 77.0));
    expectRecord(records.diagRecord(1), qvVector<2>(95.0, 75.0));
    for (const long index : {0L, 1L})
        EXPECT_EQ(qvtest::rowsOf(records.diagRecord(index).image()), qvtest::rowsOf(image));
}

TEST(RefinementDiagnostics, CaliperShowsItsRegionItsEdgesAndItsResults) {
    qvDiagObject records;
    qv_refineResult result;
    refineCrossing(crossing(), context(), result, &records);
    // Outline and arrow, two edges, one pair.
    const std::vector<qvShape>& shapes = records.diagRecord(0).entries()[0].sketch.shapes();
    ASSERT_EQ(shapes.size(), 7u + 2u + 1u);
    // The x side runs across the flat street, down the image: from y = 75 - 28 to 75 + 28.
    EXPECT_NEAR(shapes[4].p1.x(), 96.0, 1e-9);
    EXPECT_NEAR(shapes[4].p1.y(), 47.0, 1e-9);
    EXPECT_NEAR(shapes[4].p2.y(), 103.0, 1e-9);
    // Edges: 30 long.
    EXPECT_EQ(shapes[7].color, qvColor::blueColor);
    EXPECT_NEAR(shapes[7].p1.y(), 70.0, 0.01);
    EXPECT_NEAR(shapes[7].p1.distance(shapes[7].p2), 30.0, 1e-9);
    EXPECT_EQ(shapes[8].color, qvColor::yellowColor);
    EXPECT_NEAR(shapes[8].p1.y(), 84.0, 0.01);
    // The pair: over all 168.
    EXPECT_EQ(shapes[9].color, qvColor::redColor);
    EXPECT_NEAR(shapes[9].p1.distance(shapes[9].p2), 168.0, 1e-9);
    for (const qvShape& shape : shapes) EXPECT_NE(shape.kind, qvShape::eText);
}

TEST(RefinementDiagnostics, PositionsAreInTheClientFrameAndTheImageKeepsIts) {
    Image image = crossing();
    image.offset(40, -30);
    // Two client units to a pel, from the window's corner.
    image.clientFromImageXform(qv2XformLinear(qvMatrix<2>(2.0, 0.0, 0.0, 2.0), qvVector<2>(-80.0, 60.0)));
    qvDiagObject records;
    qv_refineResult result;
    refineCrossing(image, context(2.0), result, &records);
    ASSERT_EQ(records.numRecords(), 2);
    expectRecord(records.diagRecord(0), qvVector<2>(192.0, 154.0));
    expectRecord(records.diagRecord(1), qvVector<2>(190.0, 150.0));
    EXPECT_EQ(records.diagRecord(0).image().offset(), qvPair<long>(40, -30));
    EXPECT_EQ(records.diagRecord(0).image().clientFromImageXform(), image.clientFromImageXform());
}

TEST(RefinementDiagnostics, StreetThatIsNotFoundIsRecordedWithThePointAsItWas) {
    Image image(200, 160, 32);
    for (long y = 0; y < 160; ++y)
        for (long x = 0; x < 200; ++x) image.put(x, y, 90);
    const qvAffineSamplingParams sampling(
        qvAffineRectangle(qvVector<2>(96.0, 75.0), 40.0, 120.0, qvRadian(0.0), qvRadian(0.0)), 80, 240, 2);
    qvDiagObject records;
    qvVector<2> point(11.0, 12.0);
    EXPECT_EQ(locateStreetCentre(image, sampling, point, 10.0, 1.0, true, &records), -1.0);
    EXPECT_EQ(point, qvVector<2>(11.0, 12.0));
    ASSERT_EQ(records.numRecords(), 1);
    expectRecord(records.diagRecord(0), qvVector<2>(11.0, 12.0));
    // The region without edges.
    EXPECT_EQ(records.diagRecord(0).entries()[0].sketch.shapes().size(), 7u);
}

TEST(RefinementDiagnostics, RecordingChangesNoResult) {
    qvtest::Noise noise(7);
    long found = 0;
    for (int i = 0; i < 30; ++i) {
        Image image = crossing();
        const long amplitude = noise.whole(0, 45);
        for (long y = 0; y < image.height(); ++y)
            for (long x = 0; x < image.width(); ++x)
                image.put(x, y, static_cast<unsigned char>(image.get(x, y) + noise.whole(-amplitude, amplitude)));
        qvDiagObject records;
        qv_refineResult with;
        qv_refineResult without;
        refineCrossing(image, context(), without, nullptr);
        refineCrossing(image, context(), with, &records);
        EXPECT_EQ(with.crossing, without.crossing) << i;
        EXPECT_EQ(with.score, without.score) << i;
        EXPECT_EQ(with.status, without.status) << i;
        EXPECT_EQ(records.numRecords(), 2);
        if (with.status == Defs::eStreetFromEdges) ++found;
    }
    EXPECT_GT(found, 0);
}

TEST(RefinementDiagnostics, MovesSayOfEachCrossingWhatHappened) {
    // Both streets 12 wide. The contrast of 90 levels scores less than half for each, so their sum is below 1.
    Image image(400, 160, 32);
    for (long y = 0; y < 160; ++y)
        for (long x = 0; x < 400; ++x) image.put(x, y, (x >= 90 && x < 102) || (y >= 70 && y < 82) ? 60 : 150);
    qv_streetFinderImpl impl;
    impl.image = image;
    std::vector<qvStreetFinderStreetCrossResult> results(3);
    const auto place = [&results](std::size_t i, double x, double y, double verticalDegrees) {
        Access::crossing(results[i]) = qvVector<2>(x, y);
        Access::horizontalAngle(results[i]) = qvDegree(0.0);
        Access::verticalAngle(results[i]) = qvDegree(verticalDegrees);
    };
    place(0, 98.0, 75.0, 90.0);
    // Beside the upright street, and on the flat one with both angles along it.
    place(1, 300.0, 75.0, 90.0);
    place(2, 300.0, 75.0, 0.0);
    qvDiagObject records;
    refineCrossings(results, impl, Defs::eRidgeWafer, Defs::eDarkOnLight, qvPair<double>(12.0, 12.0), &records);
    const qvDiagTable& moves = qvtest::tableOf(qvtest::recordOf(records, L"Refinement"), L"Moves");
    EXPECT_EQ(qvtest::columnOf(moves, L"what happened"),
              (std::vector<std::wstring>{L"both streets measured", L"stays: a street shows no pair of edges",
                                         L"stays: the streets are parallel"}));
    EXPECT_EQ(qvtest::columnOf(moves, L"found (client)").at(0), qf_cell(qvVector<2>(98.0, 75.0)));
    EXPECT_LT(std::stod(qvtest::columnOf(moves, L"score").at(0)), 1.0);
    EXPECT_GT(std::stod(qvtest::columnOf(moves, L"score").at(0)), 0.0);
    EXPECT_NEAR(results[0].crossing().distance(qvVector<2>(96.0, 76.0)), 0.0, 0.01);
}

}  // namespace
