#include "qvstreet/platform/diagnostics.h"

#include <algorithm>
#include <cstddef>
#include <stdexcept>
#include <utility>

#include "qvstreet/platform/pel_ops.h"

namespace {

using Image = qvPelBuffer_const<unsigned char>;

/// A run shows few different images, but some of them dozens of times; comparing with so many costs less than a copy.
constexpr std::size_t kRememberedCopies = 8;

bool haveEqualPels(const Image& a, const Image& b) {
    if (a.width() != b.width() || a.height() != b.height()) return false;
    for (long y = 0; y < a.height(); ++y)
        if (!std::equal(a.pointToRow(y), a.pointToRow(y) + a.width(), b.pointToRow(y))) return false;
    return true;
}

std::size_t indexWithin(long index, long count) {
    if (index < 0 || index >= count) throw std::out_of_range("diagnostics record index");
    return static_cast<std::size_t>(index);
}

}  // namespace

void qvDiagRecord::image(const Image& image, bool isShared) {
    image_ = isShared || !image.isBound() ? image : copyOf(image);
}

Image qvDiagRecord::copyOf(const Image& image) {
    const auto isSame = [&image](const Image& copy) { return haveEqualPels(copy, image); };
    const auto known = std::find_if(copies_.begin(), copies_.end(), isSame);
    if (known != copies_.end()) {
        // The offset and the client transform belong to the handle, not to the pels.
        Image copy = *known;
        copy.offset(image.offset());
        copy.clientFromImageXform(image.clientFromImageXform());
        return copy;
    }
    if (copies_.size() == kRememberedCopies) copies_.erase(copies_.begin());
    copies_.push_back(qfPelCopy(image));
    return copies_.back();
}

void qvDiagRecord::text(const std::wstring& value, const std::wstring& label) {
    qvDiagEntry entry;
    entry.kind = qvDiagEntry::eText;
    entry.label = label;
    entry.text = value;
    entries_.push_back(entry);
}

void qvDiagRecord::graphics(const qvGraphicList& list, qvDisplay::CoordinateSystem coordinateSystem,
                            const std::wstring& label) {
    sketch(list.sketch(qvUITablet::eOverlayLayer), coordinateSystem, label);
    entries_.back().kind = qvDiagEntry::eGraphics;
}

void qvDiagRecord::sketch(const qvUISketch& sketch, qvDisplay::CoordinateSystem coordinateSystem,
                          const std::wstring& label) {
    qvDiagEntry entry;
    entry.kind = qvDiagEntry::eSketch;
    entry.label = label;
    entry.sketch = sketch;
    entry.coordinateSystem = coordinateSystem;
    entries_.push_back(entry);
}

void qvDiagRecord::plot(const qvDiagPlot& plot) {
    qvDiagEntry entry;
    entry.kind = qvDiagEntry::ePlot;
    entry.label = plot.label;
    entry.plot = plot;
    entries_.push_back(entry);
}

void qvDiagRecord::addMarks(const std::wstring& plotLabel, const std::vector<qvDiagMark>& marks) {
    for (qvDiagEntry& entry : entries_) {
        if (entry.kind != qvDiagEntry::ePlot || entry.plot.label != plotLabel) continue;
        entry.plot.marks.insert(entry.plot.marks.end(), marks.begin(), marks.end());
        return;
    }
}

void qvDiagRecord::table(const qvDiagTable& table) {
    qvDiagEntry entry;
    entry.kind = qvDiagEntry::eTable;
    entry.label = table.label;
    entry.table = table;
    entries_.push_back(entry);
}

bool qvDiagObject::shouldRecord(std::uint32_t flags, qvDiagDefs::What what) {
    return (flags & static_cast<std::uint32_t>(what)) != 0;
}

qvDiagRecord& qvDiagObject::newDiagRecord() {
    qvDiagRecord record;
    if (!records_.empty()) record.copies_ = records_.back().copies_;
    return records_.emplace_back(std::move(record));
}

qvDiagRecord& qvDiagObject::diagRecord(long index) { return records_[indexWithin(index, numRecords())]; }

const qvDiagRecord& qvDiagObject::diagRecord(long index) const { return records_[indexWithin(index, numRecords())]; }
