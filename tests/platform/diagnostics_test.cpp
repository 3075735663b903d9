// Records of a run: what they keep, and who shares what.
#include "qvstreet/platform/diagnostics.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "qvstreet/platform/pel_ops.h"
#include "tests/support/noise_image.h"

namespace {

using Image = qvPelBuffer<unsigned char>;

/// 4 by 2, at an offset and in a mirrored, turned client frame.
Image framedImage() {
    Image image = qvtest::imageOf({{1, 2, 3, 4}, {5, 6, 7, 8}});
    image.offset(-10, 25);
    image.clientFromImageXform(qv2XformLinear(qvMatrix<2>(0.0, 2.0, 3.0, 0.0), qvVector<2>(100.0, -5.0)));
    return image;
}

void expectShows(const qvPelBuffer_const<unsigned char>& shown, const qvPelBuffer_const<unsigned char>& image) {
    EXPECT_EQ(qvtest::rowsOf(shown), qvtest::rowsOf(image));
    EXPECT_EQ(shown.window(), image.window());
    EXPECT_EQ(shown.clientFromImageXform(), image.clientFromImageXform());
}

TEST(DiagDefs, ValuesOfTheStages) {
    EXPECT_EQ(qvDiagDefs::eInput, 0x10000);
    EXPECT_EQ(qvDiagDefs::eResults, 0x20000);
    EXPECT_EQ(qvDiagDefs::eIntermediate, 0x40000);
}

TEST(DiagObject, StageIsRecordedWhereItsFlagIsSet) {
    const std::vector<qvDiagDefs::What> stages = {qvDiagDefs::eInput, qvDiagDefs::eResults, qvDiagDefs::eIntermediate};
    for (const qvDiagDefs::What stage : stages) {
        EXPECT_FALSE(qvDiagObject::shouldRecord(0, stage));
        EXPECT_TRUE(qvDiagObject::shouldRecord(0xFFFFFFFF, stage));
        for (const qvDiagDefs::What flag : stages)
            EXPECT_EQ(qvDiagObject::shouldRecord(static_cast<std::uint32_t>(flag), stage), flag == stage);
    }
    EXPECT_TRUE(qvDiagObject::shouldRecord(0x50000, qvDiagDefs::eInput));
    EXPECT_FALSE(qvDiagObject::shouldRecord(0x50000, qvDiagDefs::eResults));
    EXPECT_FALSE(qvDiagObject::shouldRecord(0xFFF8FFFF, qvDiagDefs::eIntermediate));
}

TEST(DiagObject, RecordsAreCountedFromZeroInTheOrderOfTheirComing) {
    qvDiagObject object;
    EXPECT_EQ(object.numRecords(), 0);
    object.newDiagRecord().recordAnnotation(L"first");
    object.newDiagRecord().recordAnnotation(L"second");
    EXPECT_EQ(object.numRecords(), 2);
    EXPECT_EQ(object.diagRecord(0).recordAnnotation(), L"first");
    EXPECT_EQ(std::as_const(object).diagRecord(1).recordAnnotation(), L"second");
}

TEST(DiagObject, IndexOutsideIsRefused) {
    qvDiagObject object;
    EXPECT_THROW(object.diagRecord(0), std::out_of_range);
    object.newDiagRecord();
    EXPECT_THROW(object.diagRecord(-1), std::out_of_range);
    EXPECT_THROW(object.diagRecord(1), std::out_of_range);
    EXPECT_THROW(std::as_const(object).diagRecord(1), std::out_of_range);
    EXPECT_NO_THROW(object.diagRecord(0));
}

TEST(DiagObject, ReferenceToARecordOutlivesLaterOnes) {
    qvDiagObject object;
    qvDiagRecord& first = object.newDiagRecord();
    for (int i = 0; i < 1000; ++i) object.newDiagRecord();
    first.recordAnnotation(L"late");
    EXPECT_EQ(&object.diagRecord(0), &first);
    EXPECT_EQ(object.diagRecord(0).recordAnnotation(), L"late");
}

TEST(DiagRecord, IsEmptyAtFirst) {
    qvDiagObject object;
    object.newDiagRecord().image(framedImage(), false);
    const qvDiagRecord& record = object.newDiagRecord();
    EXPECT_FALSE(record.image().isBound());
    EXPECT_EQ(record.recordAnnotation(), L"");
    EXPECT_TRUE(record.entries().empty());
}

TEST(DiagRecord, CopiedImageStaysAsItWas) {
    Image image = framedImage();
    qvDiagRecord record;
    record.image(image, false);
    const Image before = qfPelCopy<unsigned char>(image);
    image.put(1, 1, 99);
    expectShows(record.image(), before);
}

TEST(DiagRecord, SharedImageShowsLaterChanges) {
    const Image image = framedImage();
    qvDiagRecord record;
    record.image(image, true);
    EXPECT_EQ(record.image().pointToOffset(), image.pointToOffset());
    image.put(1, 1, 99);
    expectShows(record.image(), image);
}

TEST(DiagRecord, CopyIsOfTheWindowAndKeepsItsPlace) {
    Image image = framedImage();
    image.window(-9, 25, 2, 2, false);
    qvDiagRecord record;
    record.image(image, false);
    expectShows(record.image(), image);
    EXPECT_EQ(record.image().window(), qvPelRect(-9, 25, 2, 2));
    EXPECT_EQ(qvtest::rowsOf(record.image()), (std::vector<std::vector<int>>{{2, 3}, {6, 7}}));
}

TEST(DiagRecord, LaterImageReplacesTheFormer) {
    qvDiagRecord record;
    record.image(framedImage(), false);
    record.image(qvtest::imageOf({{9}}), false);
    EXPECT_EQ(qvtest::rowsOf(record.image()), (std::vector<std::vector<int>>{{9}}));
    record.image(qvPelBuffer_const<unsigned char>(), false);
    EXPECT_FALSE(record.image().isBound());
}

TEST(DiagRecord, ViewWithoutPelsIsRecordedAsSuch) {
    Image image = framedImage();
    image.window(0, 0, 0, 0, false);
    qvDiagRecord record;
    record.image(image, false);
    EXPECT_TRUE(record.image().isBound());
    EXPECT_EQ(record.image().width(), 0);
    EXPECT_EQ(record.image().height(), 0);
}

TEST(DiagObject, EqualCopiesShareTheirPelsButNotTheirFrames) {
    qvDiagObject object;
    const Image image = framedImage();
    Image elsewhere = framedImage();
    elsewhere.offset(3, 4);
    elsewhere.clientFromImageXform(qvXform<2>());
    object.newDiagRecord().image(image, false);
    object.newDiagRecord().image(qvtest::imageOf({{1, 2, 3, 4}}), false);
    object.newDiagRecord().image(elsewhere, false);
    expectShows(object.diagRecord(0).image(), image);
    expectShows(object.diagRecord(2).image(), elsewhere);
    EXPECT_EQ(object.diagRecord(0).image().pointToOffset(), object.diagRecord(2).image().pointToOffset());
    EXPECT_NE(object.diagRecord(0).image().pointToOffset(), image.pointToOffset());
}

TEST(DiagObject, ImagesThatDifferInOnePelAreKeptApart) {
    qvDiagObject object;
    const Image image = framedImage();
    object.newDiagRecord().image(image, false);
    image.put(3, 1, 9);
    object.newDiagRecord().image(image, false);
    EXPECT_EQ(object.diagRecord(0).image().get(3, 1), 8);
    EXPECT_EQ(object.diagRecord(1).image().get(3, 1), 9);
    // The same pels in another shape.
    object.newDiagRecord().image(qvtest::imageOf({{1, 2}, {3, 4}, {5, 6}, {7, 8}}), false);
    EXPECT_EQ(object.diagRecord(2).image().width(), 2);
    EXPECT_EQ(object.diagRecord(2).image().height(), 4);
}

TEST(DiagObject, CopyIsNeverTakenFromASharedImage) {
    qvDiagObject object;
    const Image image = framedImage();
    object.newDiagRecord().image(image, true);
    object.newDiagRecord().image(image, false);
    image.put(0, 0, 77);
    EXPECT_EQ(object.diagRecord(0).image().get(0, 0), 77);
    EXPECT_EQ(object.diagRecord(1).image().get(0, 0), 1);
}

TEST(DiagObject, ManyDifferentImagesAreAllKept) {
    qvDiagObject object;
    for (int i = 0; i < 40; ++i) object.newDiagRecord().image(qvtest::imageOf({{i, 1}}), false);
    for (int i = 0; i < 40; ++i) EXPECT_EQ(object.diagRecord(i).image().get(0, 0), i);
}

TEST(DiagObject, CopyIsIndependent) {
    qvDiagObject object;
    object.newDiagRecord().image(framedImage(), false);
    qvDiagObject copy = object;
    copy.newDiagRecord();
    copy.diagRecord(0).recordAnnotation(L"changed");
    EXPECT_EQ(object.numRecords(), 1);
    EXPECT_EQ(object.diagRecord(0).recordAnnotation(), L"");
    expectShows(copy.diagRecord(0).image(), framedImage());
}

TEST(DiagRecord, EntriesKeepTheirOrderAndTheirContent) {
    qvUITablet tablet;
    tablet.drawPointIcon(qvVector<2>(1.0, 2.0), qvColor::redColor, 1);
    qvGraphicList list;
    list.append(qvPtrHandle<qvGraphic>(new qvGraphicWithFill<qvRect, qvGenRect>(
                    qvRect(qvVector<2>(3.0, 4.0), qvVector<2>(5.0, 6.0)), qvColor::greenColor, false)),
                true);
    qvDiagPlot plot;
    plot.label = L"Profile";
    plot.xTitle = L"degrees";
    plot.curves.push_back({L"mean", -90.0, 0.5, {1.0, 2.0}, qvColor::blueColor});
    plot.marks.push_back({qvDiagMark::eRange, 3.0, 4.0, qvColor::redColor, L"window"});
    qvDiagTable table;
    table.label = L"Lines";
    table.heading = {L"a", L"b"};
    table.rows = {{L"1", L"2"}, {L"3", L"4"}};

    qvDiagRecord record;
    record.sketch(tablet.sketch(), qvDisplay::eClientCoordinates, L"Marks");
    record.text(L"22", L"Threshold");
    record.graphics(list, qvDisplay::eImageCoordinates, L"Region");
    record.plot(plot);
    record.table(table);
    // What was attached does not follow later drawing.
    tablet.drawPointIcon(qvVector<2>(7.0, 8.0), qvColor::redColor, 1);

    const std::vector<qvDiagEntry>& entries = record.entries();
    ASSERT_EQ(entries.size(), 5u);
    EXPECT_EQ(entries[0].kind, qvDiagEntry::eSketch);
    EXPECT_EQ(entries[0].label, L"Marks");
    EXPECT_EQ(entries[0].coordinateSystem, qvDisplay::eClientCoordinates);
    ASSERT_EQ(entries[0].sketch.shapes().size(), 1u);
    EXPECT_EQ(entries[0].sketch.shapes()[0].layer, 1);
    EXPECT_EQ(entries[1].kind, qvDiagEntry::eText);
    EXPECT_EQ(entries[1].label, L"Threshold");
    EXPECT_EQ(entries[1].text, L"22");
    EXPECT_EQ(entries[2].kind, qvDiagEntry::eGraphics);
    EXPECT_EQ(entries[2].label, L"Region");
    EXPECT_EQ(entries[2].coordinateSystem, qvDisplay::eImageCoordinates);
    ASSERT_EQ(entries[2].sketch.shapes().size(), 1u);
    EXPECT_EQ(entries[2].sketch.shapes()[0].p2, qvVector<2>(5.0, 6.0));
    EXPECT_EQ(entries[3].kind, qvDiagEntry::ePlot);
    EXPECT_EQ(entries[3].label, L"Profile");
    ASSERT_EQ(entries[3].plot.curves.size(), 1u);
    EXPECT_EQ(entries[3].plot.curves[0].values, (std::vector<double>{1.0, 2.0}));
    ASSERT_EQ(entries[3].plot.marks.size(), 1u);
    EXPECT_EQ(entries[3].plot.marks[0].caption, L"window");
    EXPECT_EQ(entries[4].kind, qvDiagEntry::eTable);
    EXPECT_EQ(entries[4].label, L"Lines");
    EXPECT_EQ(entries[4].table.rows[1][0], L"3");
}

}  // namespace
