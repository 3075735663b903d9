/// @file
/// The diagnostics recorder: what the stages of a run looked at and what they made of it, kept in memory.
///
/// A stage that is handed a recorder appends records: each an image or none, a title, and in the order of their coming
/// texts, sketches over the image, plots and tables. Recording changes no result.
#ifndef QVSTREET_PLATFORM_DIAGNOSTICS_H
#define QVSTREET_PLATFORM_DIAGNOSTICS_H

#include <cstdint>
#include <deque>
#include <string>
#include <vector>

#include "qvstreet/platform/display.h"
#include "qvstreet/platform/export.h"
#include "qvstreet/platform/pel_buffer.h"

/// Scope of the recorder's enumerations.
class QV_EXPORT qvDiagDefs {
 public:
    /// The stages that a run can be asked to record; flags of a run are any of them together.
    enum What : std::int32_t { eInput = 0x10000, eResults = 0x20000, eIntermediate = 0x40000 };
};

/// A curve of equally spaced values.
struct qvDiagCurve {
    /// Stands in the legend.
    std::wstring name;
    /// Position of the first value, and from each to the next, in the unit of the plot's x axis.
    double start = 0.0;
    double step = 1.0;
    /// NaN leaves a gap.
    std::vector<double> values;
    qvColor color;
};

/// Something marked in a plot.
struct qvDiagMark {
    /// What is marked.
    enum qeKind : std::int32_t {
        /// A position on the x axis: `from`.
        ePosition = 0,
        /// A range of the x axis: `from` to `to`.
        eRange = 1,
        /// A height on the y axis: `from`.
        eLevel = 2,
        /// The point at x `from` and y `to`.
        ePoint = 3
    };

    /// Which mark, where in the units of the axes (see `qeKind`), its colour, and what is written beside it.
    qeKind kind = ePosition;
    double from = 0.0;
    double to = 0.0;
    qvColor color;
    std::wstring caption;
};

/// Curves over one pair of axes.
struct qvDiagPlot {
    /// Stands above the plot.
    std::wstring label;
    /// What the axes count, with the unit.
    std::wstring xTitle;
    std::wstring yTitle;
    std::vector<qvDiagCurve> curves;
    std::vector<qvDiagMark> marks;
};

/// Rows of cells under a heading.
struct qvDiagTable {
    /// Stands above the table.
    std::wstring label;
    /// One cell for each column; `rows` likewise, row by row.
    std::vector<std::wstring> heading;
    std::vector<std::vector<std::wstring>> rows;
};

/// One thing that was attached to a record.
struct qvDiagEntry {
    /// Which of the members below holds it.
    enum qeKind : std::int32_t { eText = 0, eGraphics = 1, eSketch = 2, ePlot = 3, eTable = 4 };

    /// Which kind it is, and what stands above it.
    qeKind kind = eText;
    std::wstring label;
    /// Of a text.
    std::wstring text;
    /// Of graphics and a sketch.
    qvUISketch sketch;
    qvDisplay::CoordinateSystem coordinateSystem = qvDisplay::eImageCoordinates;
    qvDiagPlot plot;
    qvDiagTable table;
};

/// What one stage left behind.
class QV_EXPORT qvDiagRecord {
 public:
    /// Attaches an image in place of a former one; its client transform and offset come with it.
    /// @param isShared  true shares the pels with the caller, who keeps them unchanged; false copies them, so that the
    ///                  record shows them as they are now. Records of one object hold equal copies in the same memory
    void image(const qvPelBuffer_const<unsigned char>& image, bool isShared);
    /// Unbound where none was attached.
    const qvPelBuffer_const<unsigned char>& image() const { return image_; }

    /// The title.
    void recordAnnotation(const std::wstring& text) { annotation_ = text; }
    const std::wstring& recordAnnotation() const { return annotation_; }

    /// Attach, in the order of the calls.
    void text(const std::wstring& value, const std::wstring& label);
    void graphics(const qvGraphicList& list, qvDisplay::CoordinateSystem coordinateSystem, const std::wstring& label);
    void sketch(const qvUISketch& sketch, qvDisplay::CoordinateSystem coordinateSystem, const std::wstring& label);
    void plot(const qvDiagPlot& plot);
    void table(const qvDiagTable& table);
    /// Adds marks to the plot of that label that was attached first; without one nothing happens.
    void addMarks(const std::wstring& plotLabel, const std::vector<qvDiagMark>& marks);

    /// All that was attached beside the image and the title.
    const std::vector<qvDiagEntry>& entries() const { return entries_; }

 private:
    friend class qvDiagObject;

    qvPelBuffer_const<unsigned char> copyOf(const qvPelBuffer_const<unsigned char>& image);

    qvPelBuffer_const<unsigned char> image_;
    std::wstring annotation_;
    std::vector<qvDiagEntry> entries_;
    std::vector<qvPelBuffer_const<unsigned char>> copies_;  // by this record and those before it, the latest last
};

/// A list of records. It is not locked: runs in several threads at once take one each.
class QV_EXPORT qvDiagObject {
 public:
    /// Empty.
    qvDiagObject() = default;

    /// Whether `flags` ask for the stage `what`.
    static bool shouldRecord(std::uint32_t flags, qvDiagDefs::What what);

    /// Appends an empty record. The reference stays good for as long as the object.
    qvDiagRecord& newDiagRecord();
    long numRecords() const { return static_cast<long>(records_.size()); }
    /// @param index  from 0
    /// @throws std::out_of_range below 0 and from `numRecords()` on
    qvDiagRecord& diagRecord(long index);
    const qvDiagRecord& diagRecord(long index) const;

 private:
    std::deque<qvDiagRecord> records_;
};

#endif
