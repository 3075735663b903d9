/// @file
/// Small help for stages that record tables: cells from values, and rows in a number that a page can show.
#ifndef QVSTREET_PLATFORM_DIAGNOSTIC_CELLS_H
#define QVSTREET_PLATFORM_DIAGNOSTIC_CELLS_H

#include <cstddef>
#include <string>
#include <vector>

#include "qvstreet/platform/diagnostics.h"
#include "qvstreet/platform/text.h"

/// Rows beyond these would make a page that nobody reads and that takes megabytes.
constexpr std::size_t qvMostRecordedRows = 300;

/// A value as people read it: four digits behind the point for lengths, angles, grey levels and scores.
inline std::wstring qf_cell(double value) { return qfDbl(value, 4, false); }
inline std::wstring qf_cell(long value) { return qfStr(value); }
inline std::wstring qf_cell(int value) { return qfStr(value); }
inline std::wstring qf_cell(std::size_t value) { return qfStr(static_cast<long>(value)); }
inline std::wstring qf_cell(const wchar_t* text) { return text; }
inline std::wstring qf_cell(const std::wstring& text) { return text; }
inline std::wstring qf_cell(const qvVector<2>& point) { return qf_cell(point.x()) + L", " + qf_cell(point.y()); }

/// One row.
template <typename... Parts>
std::vector<std::wstring> qf_cells(const Parts&... parts) {
    return {qf_cell(parts)...};
}

/// Attaches the table, cut to its first `qvMostRecordedRows` rows, and a text that says how many were left out.
inline void qf_attachTable(qvDiagRecord& record, qvDiagTable table) {
    const std::size_t rows = table.rows.size();
    if (rows > qvMostRecordedRows) table.rows.resize(qvMostRecordedRows);
    record.table(table);
    if (rows > qvMostRecordedRows)
        record.text(qf_cell(rows - qvMostRecordedRows) + L" further rows are not shown", table.label);
}

/// The record that the stages of one run left last under that title; null when there is none. Earlier runs in the same
/// object end where the last "Sampled Square" begins.
inline qvDiagRecord* qf_lastRecord(qvDiagObject& diagObject, const std::wstring& title) {
    for (long i = diagObject.numRecords(); i-- > 0;) {
        qvDiagRecord& record = diagObject.diagRecord(i);
        if (record.recordAnnotation() == title) return &record;
        if (record.recordAnnotation() == L"Sampled Square") return nullptr;
    }
    return nullptr;
}

#endif
