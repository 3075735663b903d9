/// @file
/// Display lists: shapes with a colour, kept for whoever draws them.
///
/// Nothing here draws. A tablet or a list collects shapes; a sketch is what a writer of pictures reads. Positions,
/// lengths and angles are in the frame that the sketch is handed on with (`qvDisplay::CoordinateSystem`).
#ifndef QVSTREET_PLATFORM_DISPLAY_H
#define QVSTREET_PLATFORM_DISPLAY_H

#include <atomic>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "qvstreet/platform/angle.h"
#include "qvstreet/platform/export.h"
#include "qvstreet/platform/line.h"
#include "qvstreet/platform/rect.h"
#include "qvstreet/platform/vector.h"

/// A colour of 8 bits each of red, green and blue.
class qvColor {
 public:
    /// Black.
    constexpr qvColor() = default;
    /// The grey of that level, 0 black to 255 white.
    constexpr explicit qvColor(unsigned char level) : red_(level), green_(level), blue_(level) {}
    /// Red, green and blue, each from 0 to 255.
    constexpr qvColor(unsigned char red, unsigned char green, unsigned char blue)
        : red_(red), green_(green), blue_(blue) {}

    /// The parts, each from 0 to 255.
    constexpr unsigned char red() const { return red_; }
    constexpr unsigned char green() const { return green_; }
    constexpr unsigned char blue() const { return blue_; }

    friend constexpr bool operator==(const qvColor& a, const qvColor& b) {
        return a.red_ == b.red_ && a.green_ == b.green_ && a.blue_ == b.blue_;
    }
    friend constexpr bool operator!=(const qvColor& a, const qvColor& b) { return !(a == b); }

    /// The colours that the library draws with.
    static const qvColor redColor;
    static const qvColor greenColor;
    static const qvColor dkGreenColor;
    static const qvColor blueColor;
    static const qvColor yellowColor;

 private:
    unsigned char red_ = 0;
    unsigned char green_ = 0;
    unsigned char blue_ = 0;
};

inline constexpr qvColor qvColor::redColor{255, 0, 0};
inline constexpr qvColor qvColor::greenColor{0, 255, 0};
inline constexpr qvColor qvColor::dkGreenColor{0, 128, 0};
inline constexpr qvColor qvColor::blueColor{0, 0, 255};
inline constexpr qvColor qvColor::yellowColor{255, 255, 0};

/// Scope of what displays are told beside the shapes.
class QV_EXPORT qvDisplay {
 public:
    /// The frame of a sketch.
    enum CoordinateSystem : std::int32_t {
        /// Pels of the image that the sketch lies on, its offset included; pel (i, j) covers [i, i + 1) by [j, j + 1).
        eImageCoordinates = 1,
        /// Client units of that image.
        eClientCoordinates = 2
    };
};

/// One shape of a sketch.
struct qvShape {
    /// What is drawn, and from which of the members.
    enum qeKind : std::int32_t {
        /// A mark at `p1`, of the same size at every magnification.
        ePointIcon = 0,
        /// Two bars that cross at `p1`, one of them along `angle`; of the same size at every magnification.
        eCross = 1,
        /// A circle of `radius` about `p1`.
        eCircle = 2,
        /// A line from `p1` to `p2`.
        eLineSeg = 3,
        /// A rectangle with its corner at `p1` and the size `p2`.
        eRect = 4,
        /// `text` beside `p1`.
        eText = 5
    };

    /// Which shape, and its colour.
    qeKind kind = ePointIcon;
    qvColor color;
    /// One of `qvUITablet::Layers`; writers draw lower layers first.
    long layer = 0;
    qvVector<2> p1;
    qvVector<2> p2;
    qvRadian angle;
    double radius = 0.0;
    /// Whether `radius` is in pels of the display, whatever the frame and the magnification, instead of the frame's unit.
    bool hasDisplaySize = false;
    /// Whether a rectangle or circle is filled.
    bool isFilled = false;
    std::wstring text;
    /// Shown by interactive displays when the pointer rests on the shape; empty for none.
    std::wstring hint;
};

/// Counts of shared objects: add or take away 1, and give the new value. Safe from several threads.
QV_EXPORT long qfInterlockedIncrement(std::atomic<long>& count);
QV_EXPORT long qfInterlockedDecrement(std::atomic<long>& count);

/// Shared ownership of an object on the heap, with a count of its own; the last handle deletes the object. Threads may
/// copy and destroy handles of one object at once, but not the same handle.
template <typename T>
class qvPtrHandle {
 public:
    /// Holds nothing.
    qvPtrHandle() = default;
    /// Takes over `object`, which `new` made; null holds nothing.
    explicit qvPtrHandle(T* object) : counted_(nullptr) {
        if (object == nullptr) return;
        try {
            counted_ = new Counted(object);
        } catch (...) {
            delete object;
            throw;
        }
    }
    /// Another handle of the same object.
    qvPtrHandle(const qvPtrHandle& other) : counted_(other.counted_) {
        if (counted_ != nullptr) qfInterlockedIncrement(counted_->count);
    }
    /// Takes the object over; `other` is empty then.
    qvPtrHandle(qvPtrHandle&& other) noexcept : counted_(other.counted_) { other.counted_ = nullptr; }
    /// Lets go of the object held before.
    qvPtrHandle& operator=(qvPtrHandle other) noexcept {
        Counted* const mine = counted_;
        counted_ = other.counted_;
        other.counted_ = mine;
        return *this;
    }
    ~qvPtrHandle() {
        if (counted_ == nullptr || qfInterlockedDecrement(counted_->count) > 0) return;
        delete counted_->object;
        delete counted_;
    }

    /// The object, null for nothing.
    T* get() const { return counted_ == nullptr ? nullptr : counted_->object; }
    /// Not checked: there must be an object.
    T& operator*() const { return *counted_->object; }
    T* operator->() const { return counted_->object; }
    /// Whether there is an object.
    explicit operator bool() const { return counted_ != nullptr; }

 private:
    struct Counted {
        explicit Counted(T* o) : object(o) {}
        T* object;
        std::atomic<long> count{1};
    };
    Counted* counted_ = nullptr;
};

/// Something that can be drawn.
class QV_EXPORT qvGraphic {
 public:
    virtual ~qvGraphic();
    /// Appends the graphic's shapes to `shapes`.
    virtual void appendShapes(std::vector<qvShape>& shapes) const = 0;
};

/// The outline that goes with a `qvRect` in `qvGraphicWithFill`.
class qvGenRect {};

/// A graphic that may be filled. There is one for rectangles.
template <typename Geometry, typename Outline>
class qvGraphicWithFill;

/// A rectangle, as an outline or filled.
template <>
class QV_EXPORT qvGraphicWithFill<qvRect, qvGenRect> : public qvGraphic {
 public:
    /// @param fill  false for the outline alone
    qvGraphicWithFill(const qvRect& rect, const qvColor& color, bool fill);
    void appendShapes(std::vector<qvShape>& shapes) const override;

 private:
    qvShape shape_;
};

/// Shapes to be drawn, in their order.
class QV_EXPORT qvUISketch {
 public:
    /// Empty.
    qvUISketch() = default;
    explicit qvUISketch(std::vector<qvShape> shapes) : shapes_(std::move(shapes)) {}

    /// The shapes in the order in which they were drawn, and whether there is none.
    const std::vector<qvShape>& shapes() const { return shapes_; }
    bool isEmpty() const { return shapes_.empty(); }

 private:
    friend class qvUITablet;
    std::vector<qvShape> shapes_;
};

/// A list of graphics that others may hold too.
class QV_EXPORT qvGraphicList {
 public:
    /// Empty.
    qvGraphicList() = default;

    /// Adds a graphic at the end; an empty handle adds nothing.
    /// @param isShared  true shares the graphic with the caller, false keeps the shapes that it has now
    void append(const qvPtrHandle<qvGraphic>& graphic, bool isShared);

    /// Number of graphics.
    long size() const { return static_cast<long>(graphics_.size()); }

    /// The shapes of all graphics, all of them on `layer`.
    qvUISketch sketch(long layer) const;

 private:
    std::vector<qvPtrHandle<qvGraphic>> graphics_;
};

/// A surface that keeps what is drawn on it.
class QV_EXPORT qvUITablet {
 public:
    /// Layers, drawn from the lowest up.
    enum Layers : std::int32_t {
        /// Where everything goes unless there is a reason.
        eOverlayLayer = 0,
        /// Above it: texts and what must not be covered.
        eLabelLayer = 1
    };

    /// Empty.
    qvUITablet() = default;

    /// A mark of the same size at every magnification.
    void drawPointIcon(const qvVector<2>& point, const qvColor& color, long layer);
    /// Two bars, one of them along `angle`; of the same size at every magnification.
    void drawCross(const qvVector<2>& centre, qvRadian angle, const qvColor& color, long layer);
    /// @param hasDisplaySize  whether `radius` is in pels of the display instead of units of the frame
    void drawCircle(const qvVector<2>& centre, double radius, const qvColor& color, long layer, bool hasDisplaySize);
    /// A line between two points.
    void drawLineSeg(const qvVector<2>& p1, const qvVector<2>& p2, const qvColor& color, long layer);
    /// A line between the ends of the segment.
    void draw(const qvLineSeg& segment, const qvColor& color, long layer);
    /// The outline of a rectangle.
    void draw(const qvRect& rect, const qvColor& color, long layer);
    /// @param text  beside the point, of the same size at every magnification
    void drawText(const qvVector<2>& point, const std::wstring& text, const qvColor& color, long layer);
    /// Gives the shape drawn last a text that interactive displays show under the pointer; without a shape nothing
    /// happens.
    void hint(const std::wstring& text);

    /// All that was drawn. The reference is good for as long as the tablet; later drawing adds to it.
    const qvUISketch& sketch() const { return sketch_; }

 private:
    qvUISketch sketch_;
};

#endif
