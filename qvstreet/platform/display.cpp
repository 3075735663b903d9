#include "qvstreet/platform/display.h"

namespace {

/// A graphic that keeps the shapes another one had.
class KeptShapes : public qvGraphic {
 public:
    explicit KeptShapes(const qvGraphic& graphic) { graphic.appendShapes(shapes_); }
    void appendShapes(std::vector<qvShape>& shapes) const override {
        shapes.insert(shapes.end(), shapes_.begin(), shapes_.end());
    }

 private:
    std::vector<qvShape> shapes_;
};

qvShape shapeOf(qvShape::qeKind kind, const qvVector<2>& at, const qvColor& color, long layer) {
    qvShape shape;
    shape.kind = kind;
    shape.p1 = at;
    shape.color = color;
    shape.layer = layer;
    return shape;
}

}  // namespace

long qfInterlockedIncrement(std::atomic<long>& count) { return count.fetch_add(1, std::memory_order_relaxed) + 1; }

// What other owners did to the object comes before its destruction by the last one.
long qfInterlockedDecrement(std::atomic<long>& count) { return count.fetch_sub(1, std::memory_order_acq_rel) - 1; }

qvGraphic::~qvGraphic() = default;

qvGraphicWithFill<qvRect, qvGenRect>::qvGraphicWithFill(const qvRect& rect, const qvColor& color, bool fill)
    : shape_(shapeOf(qvShape::eRect, rect.corner(), color, qvUITablet::eOverlayLayer)) {
    shape_.p2 = rect.size();
    shape_.isFilled = fill;
}

void qvGraphicWithFill<qvRect, qvGenRect>::appendShapes(std::vector<qvShape>& shapes) const {
    shapes.push_back(shape_);
}

void qvGraphicList::append(const qvPtrHandle<qvGraphic>& graphic, bool isShared) {
    if (!graphic) return;
    graphics_.push_back(isShared ? graphic : qvPtrHandle<qvGraphic>(new KeptShapes(*graphic)));
}

qvUISketch qvGraphicList::sketch(long layer) const {
    std::vector<qvShape> shapes;
    for (const qvPtrHandle<qvGraphic>& graphic : graphics_) graphic->appendShapes(shapes);
    for (qvShape& shape : shapes) shape.layer = layer;
    return qvUISketch(std::move(shapes));
}

void qvUITablet::drawPointIcon(const qvVector<2>& point, const qvColor& color, long layer) {
    sketch_.shapes_.push_back(shapeOf(qvShape::ePointIcon, point, color, layer));
}

void qvUITablet::drawCross(const qvVector<2>& centre, qvRadian angle, const qvColor& color, long layer) {
    qvShape shape = shapeOf(qvShape::eCross, centre, color, layer);
    shape.angle = angle;
    sketch_.shapes_.push_back(shape);
}

void qvUITablet::drawCircle(const qvVector<2>& centre, double radius, const qvColor& color, long layer,
                            bool hasDisplaySize) {
    qvShape shape = shapeOf(qvShape::eCircle, centre, color, layer);
    shape.radius = radius;
    shape.hasDisplaySize = hasDisplaySize;
    sketch_.shapes_.push_back(shape);
}

void qvUITablet::drawLineSeg(const qvVector<2>& p1, const qvVector<2>& p2, const qvColor& color, long layer) {
    qvShape shape = shapeOf(qvShape::eLineSeg, p1, color, layer);
    shape.p2 = p2;
    sketch_.shapes_.push_back(shape);
}

void qvUITablet::draw(const qvLineSeg& segment, const qvColor& color, long layer) {
    drawLineSeg(segment.p1(), segment.p2(), color, layer);
}

void qvUITablet::draw(const qvRect& rect, const qvColor& color, long layer) {
    qvShape shape = shapeOf(qvShape::eRect, rect.corner(), color, layer);
    shape.p2 = rect.size();
    sketch_.shapes_.push_back(shape);
}

void qvUITablet::drawText(const qvVector<2>& point, const std::wstring& text, const qvColor& color, long layer) {
    qvShape shape = shapeOf(qvShape::eText, point, color, layer);
    shape.text = text;
    sketch_.shapes_.push_back(shape);
}

void qvUITablet::hint(const std::wstring& text) {
    if (!sketch_.shapes_.empty()) sketch_.shapes_.back().hint = text;
}
