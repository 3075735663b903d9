// Colours, shapes, shared handles, lists and tablets.
#include "qvstreet/platform/display.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <type_traits>
#include <utility>
#include <vector>

namespace {

using Shapes = std::vector<qvShape>;

void expectColor(const qvColor& color, int red, int green, int blue) {
    EXPECT_EQ(color.red(), red);
    EXPECT_EQ(color.green(), green);
    EXPECT_EQ(color.blue(), blue);
}

TEST(Color, HasRedGreenAndBlue) { expectColor(qvColor(1, 20, 200), 1, 20, 200); }

TEST(Color, OfOneByteIsAGrey) {
    expectColor(qvColor(77), 77, 77, 77);
    expectColor(qvColor(255), 255, 255, 255);
}

TEST(Color, IsBlackAtFirst) { expectColor(qvColor(), 0, 0, 0); }

TEST(Color, NamedColours) {
    expectColor(qvColor::redColor, 255, 0, 0);
    expectColor(qvColor::greenColor, 0, 255, 0);
    expectColor(qvColor::dkGreenColor, 0, 128, 0);
    expectColor(qvColor::blueColor, 0, 0, 255);
    expectColor(qvColor::yellowColor, 255, 255, 0);
}

TEST(Color, EqualOnlyWhereAllThreeAre) {
    EXPECT_TRUE(qvColor(1, 2, 3) == qvColor(1, 2, 3));
    EXPECT_TRUE(qvColor(1, 2, 3) != qvColor(0, 2, 3));
    EXPECT_TRUE(qvColor(1, 2, 3) != qvColor(1, 0, 3));
    EXPECT_TRUE(qvColor(1, 2, 3) != qvColor(1, 2, 0));
    EXPECT_FALSE(qvColor(1, 2, 3) != qvColor(1, 2, 3));
}

TEST(Display, ValuesOfTheEnumerations) {
    EXPECT_EQ(qvDisplay::eImageCoordinates, 1);
    EXPECT_EQ(qvDisplay::eClientCoordinates, 2);
    EXPECT_EQ(qvUITablet::eOverlayLayer, 0);
    EXPECT_EQ(qvUITablet::eLabelLayer, 1);
    static_assert(std::is_same_v<std::underlying_type_t<qvDisplay::CoordinateSystem>, std::int32_t>);
    static_assert(std::is_same_v<std::underlying_type_t<qvUITablet::Layers>, std::int32_t>);
    static_assert(std::is_same_v<std::underlying_type_t<qvShape::qeKind>, std::int32_t>);
}

TEST(InterlockedCount, GivesTheNewValue) {
    std::atomic<long> count{5};
    EXPECT_EQ(qfInterlockedIncrement(count), 6);
    EXPECT_EQ(qfInterlockedIncrement(count), 7);
    EXPECT_EQ(qfInterlockedDecrement(count), 6);
    EXPECT_EQ(count.load(), 6);
}

/// Counts those that are alive.
struct Counted {
    explicit Counted(std::atomic<int>& n) : alive(n) { ++alive; }
    ~Counted() { --alive; }
    Counted(const Counted&) = delete;
    Counted& operator=(const Counted&) = delete;
    std::atomic<int>& alive;
    int value = 3;
};

TEST(PtrHandle, LastOneDeletesTheObject) {
    std::atomic<int> alive{0};
    {
        qvPtrHandle<Counted> first(new Counted(alive));
        {
            const qvPtrHandle<Counted> second = first;
            EXPECT_EQ(second.get(), first.get());
            first = qvPtrHandle<Counted>();
            EXPECT_EQ(alive, 1);
            EXPECT_EQ(second->value, 3);
            EXPECT_EQ((*second).value, 3);
        }
        EXPECT_EQ(alive, 0);
    }
    EXPECT_EQ(alive, 0);
}

TEST(PtrHandle, OfNullHoldsNothing) {
    const qvPtrHandle<Counted> none;
    const qvPtrHandle<Counted> ofNull(nullptr);
    EXPECT_FALSE(none);
    EXPECT_FALSE(ofNull);
    EXPECT_EQ(none.get(), nullptr);
    EXPECT_EQ(ofNull.get(), nullptr);
    const qvPtrHandle<Counted> copy = none;
    EXPECT_FALSE(copy);
}

TEST(PtrHandle, MovingLeavesNothingBehind) {
    std::atomic<int> alive{0};
    qvPtrHandle<Counted> from(new Counted(alive));
    const qvPtrHandle<Counted> to(std::move(from));
    EXPECT_EQ(from.get(), nullptr);
    EXPECT_TRUE(to);
    EXPECT_EQ(alive, 1);
}

TEST(PtrHandle, AssignmentReleasesTheFormerObjectAndSurvivesItself) {
    std::atomic<int> alive{0};
    qvPtrHandle<Counted> a(new Counted(alive));
    const qvPtrHandle<Counted> b(new Counted(alive));
    a = b;
    EXPECT_EQ(alive, 1);
    const qvPtrHandle<Counted>& same = a;
    a = same;
    EXPECT_EQ(alive, 1);
    EXPECT_EQ(a.get(), b.get());
}

TEST(PtrHandle, ThreadsMayCopyAndReleaseAtOnce) {
    std::atomic<int> alive{0};
    qvPtrHandle<Counted> handle(new Counted(alive));
    const auto copyOften = [](qvPtrHandle<Counted> mine) {
        for (int i = 0; i < 20000; ++i) {
            const qvPtrHandle<Counted> copy = mine;
            if (copy->value != 3) return;
        }
    };
    std::thread a(copyOften, handle);
    std::thread b(copyOften, handle);
    handle = qvPtrHandle<Counted>();
    a.join();
    b.join();
    EXPECT_EQ(alive, 0);
}

/// A mark whose place can be changed.
class Mark : public qvGraphic {
 public:
    explicit Mark(double x) : x_(x) {}
    void move(double x) { x_ = x; }
    void appendShapes(std::vector<qvShape>& shapes) const override {
        qvShape shape;
        shape.p1 = qvVector<2>(x_, 1.0);
        shape.layer = 9;
        shapes.push_back(shape);
    }

 private:
    double x_;
};

TEST(GraphicWithFill, IsARectangle) {
    const qvRect rect(qvVector<2>(3.0, 5.0), qvVector<2>(20.0, 7.0));
    for (const bool fill : {false, true}) {
        Shapes shapes(1);
        qvGraphicWithFill<qvRect, qvGenRect>(rect, qvColor(1, 2, 3), fill).appendShapes(shapes);
        ASSERT_EQ(shapes.size(), 2u);
        EXPECT_EQ(shapes[1].kind, qvShape::eRect);
        EXPECT_EQ(shapes[1].p1, qvVector<2>(3.0, 5.0));
        EXPECT_EQ(shapes[1].p2, qvVector<2>(20.0, 7.0));
        EXPECT_EQ(shapes[1].color, qvColor(1, 2, 3));
        EXPECT_EQ(shapes[1].layer, 0);
        EXPECT_EQ(shapes[1].isFilled, fill);
    }
}

TEST(GraphicList, SketchHasTheShapesInOrderOnTheAskedLayer) {
    qvGraphicList list;
    EXPECT_EQ(list.size(), 0);
    EXPECT_TRUE(list.sketch(0).isEmpty());
    list.append(qvPtrHandle<qvGraphic>(new Mark(2.0)), true);
    list.append(qvPtrHandle<qvGraphic>(new Mark(1.0)), true);
    EXPECT_EQ(list.size(), 2);
    for (const long layer : {0L, 1L}) {
        const qvUISketch sketch = list.sketch(layer);
        ASSERT_EQ(sketch.shapes().size(), 2u);
        EXPECT_EQ(sketch.shapes()[0].p1.x(), 2.0);
        EXPECT_EQ(sketch.shapes()[1].p1.x(), 1.0);
        for (const qvShape& shape : sketch.shapes()) EXPECT_EQ(shape.layer, layer);
    }
}

TEST(GraphicList, SharedGraphicShowsLaterChangesAKeptOneDoesNot) {
    Mark* const mark = new Mark(2.0);
    const qvPtrHandle<qvGraphic> handle(mark);
    qvGraphicList list;
    list.append(handle, true);
    list.append(handle, false);
    mark->move(8.0);
    const qvUISketch sketch = list.sketch(0);
    EXPECT_EQ(sketch.shapes()[0].p1.x(), 8.0);
    EXPECT_EQ(sketch.shapes()[1].p1.x(), 2.0);
}

TEST(GraphicList, KeepsGraphicsAliveAndIgnoresEmptyHandles) {
    qvGraphicList list;
    {
        const qvPtrHandle<qvGraphic> handle(new Mark(6.0));
        list.append(handle, true);
    }
    list.append(qvPtrHandle<qvGraphic>(), true);
    list.append(qvPtrHandle<qvGraphic>(), false);
    EXPECT_EQ(list.size(), 1);
    EXPECT_EQ(list.sketch(0).shapes()[0].p1.x(), 6.0);
}

TEST(Tablet, KeepsWhatIsDrawnInOrder) {
    qvUITablet tablet;
    EXPECT_TRUE(tablet.sketch().isEmpty());
    const qvVector<2> p(1.5, 2.5);
    const qvVector<2> q(-3.0, 4.0);
    tablet.drawPointIcon(p, qvColor::redColor, 3);
    tablet.drawCross(p, qvRadian(0.5), qvColor::blueColor, 0);
    tablet.drawCircle(q, 6.0, qvColor::greenColor, 1, true);
    tablet.drawCircle(q, 7.0, qvColor::greenColor, 1, false);
    tablet.drawLineSeg(p, q, qvColor::yellowColor, 2);
    tablet.draw(qvLineSeg(q, p), qvColor::dkGreenColor, 4);
    tablet.draw(qvRect(p, qvVector<2>(8.0, 9.0)), qvColor(7), 5);
    tablet.drawText(q, L"a < b", qvColor(8), 6);

    const Shapes& shapes = tablet.sketch().shapes();
    ASSERT_EQ(shapes.size(), 8u);
    const std::vector<qvShape::qeKind> kinds = {qvShape::ePointIcon, qvShape::eCross,   qvShape::eCircle,
                                                qvShape::eCircle,    qvShape::eLineSeg, qvShape::eLineSeg,
                                                qvShape::eRect,      qvShape::eText};
    const std::vector<qvVector<2>> starts = {p, p, q, q, p, q, p, q};
    const std::vector<qvColor> colors = {
        qvColor::redColor,    qvColor::blueColor,    qvColor::greenColor, qvColor::greenColor,
        qvColor::yellowColor, qvColor::dkGreenColor, qvColor(7),          qvColor(8)};
    const std::vector<long> layers = {3, 0, 1, 1, 2, 4, 5, 6};
    for (std::size_t i = 0; i < shapes.size(); ++i) {
        EXPECT_EQ(shapes[i].kind, kinds[i]) << i;
        EXPECT_EQ(shapes[i].p1, starts[i]) << i;
        EXPECT_EQ(shapes[i].color, colors[i]) << i;
        EXPECT_EQ(shapes[i].layer, layers[i]) << i;
        EXPECT_FALSE(shapes[i].isFilled) << i;
        EXPECT_EQ(shapes[i].hasDisplaySize, i == 2) << i;
        EXPECT_EQ(shapes[i].hint, L"") << i;
    }
    EXPECT_EQ(shapes[1].angle.toDouble(), 0.5);
    EXPECT_EQ(shapes[2].radius, 6.0);
    EXPECT_EQ(shapes[3].radius, 7.0);
    EXPECT_EQ(shapes[4].p2, q);
    EXPECT_EQ(shapes[5].p2, p);
    EXPECT_EQ(shapes[6].p2, qvVector<2>(8.0, 9.0));
    EXPECT_EQ(shapes[7].text, L"a < b");
}

TEST(Tablet, HintBelongsToTheShapeDrawnLast) {
    qvUITablet tablet;
    tablet.hint(L"of nothing");
    EXPECT_TRUE(tablet.sketch().isEmpty());
    tablet.drawPointIcon(qvVector<2>(1.0, 2.0), qvColor(1), 0);
    tablet.drawPointIcon(qvVector<2>(3.0, 4.0), qvColor(1), 0);
    tablet.hint(L"first");
    tablet.hint(L"second");
    tablet.drawPointIcon(qvVector<2>(5.0, 6.0), qvColor(1), 0);
    EXPECT_EQ(tablet.sketch().shapes()[0].hint, L"");
    EXPECT_EQ(tablet.sketch().shapes()[1].hint, L"second");
    EXPECT_EQ(tablet.sketch().shapes()[2].hint, L"");
}

TEST(Tablet, SketchByReferenceGrowsACopyDoesNot) {
    qvUITablet tablet;
    const qvUISketch& reference = tablet.sketch();
    const qvUISketch copy = tablet.sketch();
    tablet.drawPointIcon(qvVector<2>(1.0, 2.0), qvColor(1), 0);
    EXPECT_EQ(reference.shapes().size(), 1u);
    EXPECT_TRUE(copy.isEmpty());
}

}  // namespace
