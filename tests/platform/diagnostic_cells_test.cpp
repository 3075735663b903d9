#include "qvstreet/platform/diagnostic_cells.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/recorded.h"

namespace {

qvDiagTable tableOfRows(std::size_t rows) {
    qvDiagTable table;
    table.label = L"Rows";
    table.rows.assign(rows, qf_cells(1));
    return table;
}

qvDiagMark markAt(double position) {
    qvDiagMark mark;
    mark.from = position;
    return mark;
}

}  // namespace

TEST(DiagnosticCells, NumbersHaveFourDigitsAndCountsNone) {
    EXPECT_EQ(qf_cells(0.5, 3L, std::size_t{4}, 5, L"kept", std::wstring(L"x"), qvVector<2>(1.0, -2.25)),
              (std::vector<std::wstring>{L"0.5000", L"3", L"4", L"5", L"kept", L"x", L"1.0000, -2.2500"}));
}

TEST(DiagnosticCells, TableIsCutBehindItsThreeHundredthRow) {
    qvDiagObject diagObject;
    qf_attachTable(diagObject.newDiagRecord(), tableOfRows(300));
    EXPECT_EQ(qvtest::tableOf(diagObject.diagRecord(0), L"Rows").rows.size(), 300U);
    EXPECT_EQ(diagObject.diagRecord(0).entries().size(), 1U);
    qf_attachTable(diagObject.newDiagRecord(), tableOfRows(302));
    EXPECT_EQ(qvtest::tableOf(diagObject.diagRecord(1), L"Rows").rows.size(), 300U);
    EXPECT_EQ(qvtest::textOf(diagObject.diagRecord(1), L"Rows"), L"2 further rows are not shown");
}

TEST(DiagnosticCells, LastRecordOfARunIsLookedForNoFurtherThanItsBeginning) {
    qvDiagObject diagObject;
    EXPECT_EQ(qf_lastRecord(diagObject, L"A"), nullptr);
    for (const wchar_t* const title : {L"A", L"B", L"B"}) diagObject.newDiagRecord().recordAnnotation(title);
    EXPECT_EQ(qf_lastRecord(diagObject, L"A"), &diagObject.diagRecord(0));
    EXPECT_EQ(qf_lastRecord(diagObject, L"B"), &diagObject.diagRecord(2));
    diagObject.newDiagRecord().recordAnnotation(L"Sampled Square");
    EXPECT_EQ(qf_lastRecord(diagObject, L"B"), nullptr);
    EXPECT_EQ(qf_lastRecord(diagObject, L"Sampled Square"), &diagObject.diagRecord(3));
}

TEST(DiagnosticCells, MarksGoToTheFirstPlotOfTheirLabel) {
    qvDiagRecord record;
    record.text(L"a text", L"Profile");
    qvDiagPlot plot;
    plot.label = L"Profile";
    plot.marks = {markAt(1.0)};
    record.plot(plot);
    record.plot(plot);
    record.addMarks(L"Profile", {markAt(2.0), markAt(3.0)});
    record.addMarks(L"Another", {markAt(4.0)});
    ASSERT_EQ(record.entries()[1].plot.marks.size(), 3U);
    EXPECT_EQ(record.entries()[1].plot.marks[0].from, 1.0);
    EXPECT_EQ(record.entries()[1].plot.marks[2].from, 3.0);
    EXPECT_EQ(record.entries()[2].plot.marks.size(), 1U);
}
