#ifndef QVSTREET_TESTS_SUPPORT_RECORDED_H
#define QVSTREET_TESTS_SUPPORT_RECORDED_H

#include <stdexcept>
#include <string>
#include <vector>

#include "qvstreet/platform/diagnostics.h"

// Looks up what stages left in a recorder. A thing that is not there throws std::out_of_range.

namespace qvtest {

inline std::vector<std::wstring> titlesOf(const qvDiagObject& diagObject) {
    std::vector<std::wstring> titles;
    for (long i = 0; i < diagObject.numRecords(); ++i) titles.push_back(diagObject.diagRecord(i).recordAnnotation());
    return titles;
}

/// The first record of that title.
inline const qvDiagRecord& recordOf(const qvDiagObject& diagObject, const std::wstring& title) {
    for (long i = 0; i < diagObject.numRecords(); ++i)
        if (diagObject.diagRecord(i).recordAnnotation() == title) return diagObject.diagRecord(i);
    throw std::out_of_range("no such record");
}

inline const qvDiagEntry& entryOf(const qvDiagRecord& record, qvDiagEntry::qeKind kind, const std::wstring& label) {
    for (const qvDiagEntry& entry : record.entries()) {
        const std::wstring& found = kind == qvDiagEntry::ePlot    ? entry.plot.label
                                    : kind == qvDiagEntry::eTable ? entry.table.label
                                                                  : entry.label;
        if (entry.kind == kind && found == label) return entry;
    }
    throw std::out_of_range("no such entry");
}

inline const std::wstring& textOf(const qvDiagRecord& record, const std::wstring& label) {
    return entryOf(record, qvDiagEntry::eText, label).text;
}
inline const std::vector<qvShape>& shapesOf(const qvDiagRecord& record, const std::wstring& label) {
    return entryOf(record, qvDiagEntry::eSketch, label).sketch.shapes();
}
inline const qvDiagPlot& plotOf(const qvDiagRecord& record, const std::wstring& label) {
    return entryOf(record, qvDiagEntry::ePlot, label).plot;
}
inline const qvDiagTable& tableOf(const qvDiagRecord& record, const std::wstring& label) {
    return entryOf(record, qvDiagEntry::eTable, label).table;
}

/// The cells under one heading.
inline std::vector<std::wstring> columnOf(const qvDiagTable& table, const std::wstring& heading) {
    for (std::size_t column = 0; column < table.heading.size(); ++column) {
        if (table.heading[column] != heading) continue;
        std::vector<std::wstring> cells;
        for (const std::vector<std::wstring>& row : table.rows) cells.push_back(row.at(column));
        return cells;
    }
    throw std::out_of_range("no such column");
}

}  // namespace qvtest

#endif
