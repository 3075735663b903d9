#include "tests/support/wafer_scene.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

namespace qvtest {

namespace {

constexpr double pi = 3.141592653589793;

double radians(double degrees) { return degrees * pi / 180.0; }

Point2 unitVector(double degrees) { return {std::cos(radians(degrees)), std::sin(radians(degrees))}; }

double cross(const Point2& a, const Point2& b) { return a.x * b.y - a.y * b.x; }

/// The stretch of `line` inside [0, width] by [0, height]; false where there is none.
bool clipLine(const Line2& line, double width, double height, Segment2& segment) {
    const Point2 d = unitVector(line.angleDegrees);
    double low = -1e300;
    double high = 1e300;
    const std::array<std::array<double, 3>, 2> slabs{{{d.x, line.point.x, width}, {d.y, line.point.y, height}}};
    for (const auto& [slope, start, size] : slabs) {
        if (std::abs(slope) < 1e-15) {
            if (start < 0.0 || start > size) return false;
            continue;
        }
        const double atZero = -start / slope;
        const double atSize = (size - start) / slope;
        low = std::max(low, std::min(atZero, atSize));
        high = std::min(high, std::max(atZero, atSize));
    }
    if (low >= high) return false;
    segment.p1 = {line.point.x + low * d.x, line.point.y + low * d.y};
    segment.p2 = {line.point.x + high * d.x, line.point.y + high * d.y};
    return true;
}

StreetTruth streetTruth(const Scene& scene, const Lattice& lattice, int direction, int index) {
    const StreetFamily& family = scene.families[static_cast<std::size_t>(direction)];
    const double offset = family.offsets[static_cast<std::size_t>(index)];
    const double half = family.widthPels / 2.0;
    const auto lineAt = [&](double position) {
        const Point2 p = direction == 0 ? lattice.toImage(0.0, position) : lattice.toImage(position, 0.0);
        return Line2{p, family.angleDegrees};
    };
    StreetTruth street;
    street.direction = direction;
    street.index = index;
    street.centre = lineAt(offset);
    street.width = family.widthPels;
    street.edges = {lineAt(offset - half), lineAt(offset + half)};
    street.visible =
        clipLine(street.centre, static_cast<double>(scene.width), static_cast<double>(scene.height), street.segment);
    return street;
}

CrossingTruth crossingTruth(const Scene& scene, const StreetTruth& street0, const StreetTruth& street1) {
    CrossingTruth truth;
    truth.street0 = street0.index;
    truth.street1 = street1.index;
    truth.crossing = intersection(street0.centre, street1.centre);
    truth.ul = intersection(street0.edges[0], street1.edges[0]);
    truth.ur = intersection(street0.edges[0], street1.edges[1]);
    truth.ll = intersection(street0.edges[1], street1.edges[0]);
    truth.lr = intersection(street0.edges[1], street1.edges[1]);
    truth.horizontalAngleDegrees = street0.centre.angleDegrees;
    truth.verticalAngleDegrees = street1.centre.angleDegrees;
    const Point2& p = truth.crossing;
    const double inside = std::min(std::min(p.x, static_cast<double>(scene.width) - p.x),
                                   std::min(p.y, static_cast<double>(scene.height) - p.y));
    truth.insideImage = inside > 0.0;
    truth.expected = inside > std::max(street0.width, street1.width);
    return truth;
}

}  // namespace

double distance(const Point2& a, const Point2& b) { return std::hypot(a.x - b.x, a.y - b.y); }

Point2 intersection(const Line2& a, const Line2& b) {
    const Point2 da = unitVector(a.angleDegrees);
    const Point2 db = unitVector(b.angleDegrees);
    const double denominator = cross(da, db);
    if (std::abs(denominator) < 1e-12) throw std::invalid_argument("intersection of parallel lines");
    const double along = cross({b.point.x - a.point.x, b.point.y - a.point.y}, db) / denominator;
    return {a.point.x + along * da.x, a.point.y + along * da.y};
}

double distanceToLine(const Point2& p, const Line2& line) {
    return std::abs(cross(unitVector(line.angleDegrees), {p.x - line.point.x, p.y - line.point.y}));
}

double lineAngleDifference(double aDegrees, double bDegrees) {
    return std::abs(std::remainder(aDegrees - bDegrees, 180.0));
}

Point2 ClientTransform::map(const Point2& image) const {
    return {a * image.x + b * image.y + tx, c * image.x + d * image.y + ty};
}

Point2 ClientTransform::mapVector(const Point2& image) const {
    return {a * image.x + b * image.y, c * image.x + d * image.y};
}

Line2 ClientTransform::mapLine(const Line2& image) const { return {map(image.point), mapAngle(image.angleDegrees)}; }

double ClientTransform::mapAngle(double imageDegrees) const {
    const Point2 mapped = mapVector(unitVector(imageDegrees));
    return std::atan2(mapped.y, mapped.x) * 180.0 / pi;
}

ClientTransform ClientTransform::inverse() const {
    const double determinant = a * d - b * c;
    if (!(std::abs(determinant) > 0.0)) throw std::invalid_argument("singular client transform");
    ClientTransform result;
    result.a = d / determinant;
    result.b = -b / determinant;
    result.c = -c / determinant;
    result.d = a / determinant;
    result.tx = -(result.a * tx + result.b * ty);
    result.ty = -(result.c * tx + result.d * ty);
    return result;
}

ClientTransform ClientTransform::scaled(double unitsPerPel) {
    ClientTransform result;
    result.a = unitsPerPel;
    result.d = unitsPerPel;
    return result;
}

ClientTransform ClientTransform::rotated(double degrees, double tx, double ty) {
    const Point2 u = unitVector(degrees);
    ClientTransform result;
    result.a = u.x;
    result.b = -u.y;
    result.c = u.y;
    result.d = u.x;
    result.tx = tx;
    result.ty = ty;
    return result;
}

StreetFamily evenFamily(double angleDegrees, double first, double pitch, int count, double widthPels, double grey) {
    StreetFamily family;
    family.angleDegrees = angleDegrees;
    for (int i = 0; i < count; ++i) family.offsets.push_back(first + i * pitch);
    family.widthPels = widthPels;
    family.grey = grey;
    return family;
}

StreetFamily centredFamily(double angleDegrees, double pitch, int count, double shift, double widthPels, double grey) {
    return evenFamily(angleDegrees, shift - 0.5 * pitch * (count - 1), pitch, count, widthPels, grey);
}

Lattice::Lattice(const Scene& scene) {
    const Point2 along0 = unitVector(scene.families[0].angleDegrees);
    const Point2 along1 = unitVector(scene.families[1].angleDegrees);
    if (std::abs(cross(along0, along1)) < 0.5) throw std::invalid_argument("the two families are nearly parallel");
    const double centreX = static_cast<double>(scene.width) / 2.0;
    const double centreY = static_cast<double>(scene.height) / 2.0;
    tx = -along0.y;
    ty = along0.x;
    t0 = -(tx * centreX + ty * centreY);
    sx = along1.y;
    sy = -along1.x;
    s0 = -(sx * centreX + sy * centreY);
}

Point2 Lattice::toImage(double s, double t) const {
    const double determinant = sx * ty - sy * tx;
    const double u = s - s0;
    const double v = t - t0;
    return {(u * ty - sy * v) / determinant, (sx * v - u * tx) / determinant};
}

std::size_t SceneTruth::insideCount() const {
    return static_cast<std::size_t>(
        std::count_if(crossings.begin(), crossings.end(), [](const CrossingTruth& c) { return c.insideImage; }));
}

std::size_t SceneTruth::expectedCount() const {
    return static_cast<std::size_t>(
        std::count_if(crossings.begin(), crossings.end(), [](const CrossingTruth& c) { return c.expected; }));
}

SceneTruth truthOf(const Scene& scene) {
    const Lattice lattice(scene);
    SceneTruth truth;
    for (int direction = 0; direction < 2; ++direction) {
        const auto d = static_cast<std::size_t>(direction);
        const int count = static_cast<int>(scene.families[d].offsets.size());
        for (int i = 0; i < count; ++i) truth.streets[d].push_back(streetTruth(scene, lattice, direction, i));
    }
    for (const StreetTruth& street0 : truth.streets[0]) {
        for (const StreetTruth& street1 : truth.streets[1]) {
            truth.crossings.push_back(crossingTruth(scene, street0, street1));
        }
    }
    return truth;
}

SceneTruth mapTruth(const SceneTruth& imageTruth, const ClientTransform& clientFromImage) {
    SceneTruth truth = imageTruth;
    for (std::vector<StreetTruth>& streets : truth.streets) {
        for (StreetTruth& street : streets) {
            street.centre = clientFromImage.mapLine(street.centre);
            for (Line2& edge : street.edges) edge = clientFromImage.mapLine(edge);
            street.width = distanceToLine(street.edges[1].point, street.edges[0]);
            if (street.visible) {
                street.segment = {clientFromImage.map(street.segment.p1), clientFromImage.map(street.segment.p2)};
            }
        }
    }
    for (CrossingTruth& crossing : truth.crossings) {
        for (Point2* p : {&crossing.crossing, &crossing.ul, &crossing.ur, &crossing.ll, &crossing.lr}) {
            *p = clientFromImage.map(*p);
        }
        crossing.horizontalAngleDegrees = clientFromImage.mapAngle(crossing.horizontalAngleDegrees);
        crossing.verticalAngleDegrees = clientFromImage.mapAngle(crossing.verticalAngleDegrees);
    }
    return truth;
}

}  // namespace qvtest
