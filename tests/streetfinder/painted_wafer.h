#ifndef QVSTREET_TESTS_STREETFINDER_PAINTED_WAFER_H
#define QVSTREET_TESTS_STREETFINDER_PAINTED_WAFER_H

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

#include "qvstreet/platform/geometry.h"
#include "qvstreet/platform/pel_buffer.h"

// A small wafer, painted plainly: straight streets with edges one pel wide over faintly chequered dies. Image frame,
// pels, angles in degrees from +x towards +y.

namespace qvtest {

/// A street through `point`.
struct PaintedStreet {
    qvVector<2> point;
    double angleDegrees = 0.0;
    double width = 0.0;

    double distance(double x, double y) const {
        const qvVector<2> direction(1.0, qvDegree(angleDegrees));
        return std::fabs(direction.y() * (x - point.x()) - direction.x() * (y - point.y()));
    }
};

struct PaintedWafer {
    long width = 0;
    long height = 0;
    std::vector<PaintedStreet> flat;
    std::vector<PaintedStreet> upright;
    double dieGrey = 150.0;
    double streetGrey = 60.0;

    unsigned char pel(long column, long row) const {
        const double x = static_cast<double>(column) + 0.5;
        const double y = static_cast<double>(row) + 0.5;
        double covered = 0.0;
        for (const std::vector<PaintedStreet>* const family : {&flat, &upright})
            for (const PaintedStreet& street : *family)
                covered = std::max(covered, std::clamp(street.width / 2.0 - street.distance(x, y) + 0.5, 0.0, 1.0));
        const double chequer = ((column / 7) + (row / 5)) % 2 == 0 ? 4.0 : -4.0;
        return static_cast<unsigned char>(std::lround((dieGrey + chequer) * (1.0 - covered) + streetGrey * covered));
    }

    /// Row after row, `rowPadding` bytes of 0xA5 behind each.
    std::vector<unsigned char> pels(long rowPadding = 0) const {
        std::vector<unsigned char> all;
        all.reserve(static_cast<std::size_t>((width + rowPadding) * height));
        for (long row = 0; row < height; ++row) {
            for (long column = 0; column < width; ++column) all.push_back(pel(column, row));
            all.insert(all.end(), static_cast<std::size_t>(rowPadding), std::uint8_t{0xA5});
        }
        return all;
    }

    qvPelBuffer_const<unsigned char> image(const qvXform<2>& clientFromImage = qvXform<2>()) const {
        const qvPelBuffer<unsigned char> buffer(width, height);
        for (long row = 0; row < height; ++row)
            for (long column = 0; column < width; ++column) buffer.put(column, row, pel(column, row));
        qvPelBuffer_const<unsigned char> view = buffer;
        view.clientFromImageXform(clientFromImage);
        return view;
    }
};

/// Two flat streets, 30 pels wide, and three upright ones, 18 wide, all leaning by `angleDegrees`, in an oblong image.
inline PaintedWafer oblongWafer(double angleDegrees) {
    PaintedWafer wafer;
    wafer.width = 420;
    wafer.height = 300;
    for (const double y : {80.0, 210.0}) wafer.flat.push_back({qvVector<2>(210.0, y), angleDegrees, 30.0});
    for (const double x : {70.0, 190.0, 310.0})
        wafer.upright.push_back({qvVector<2>(x, 150.0), 90.0 + angleDegrees, 18.0});
    return wafer;
}

/// Where the middles of the streets cross, image frame.
inline std::vector<qvVector<2>> crossingsOf(const PaintedWafer& wafer) {
    std::vector<qvVector<2>> crossings;
    for (const PaintedStreet& a : wafer.flat)
        for (const PaintedStreet& b : wafer.upright)
            crossings.push_back(
                qvLine(qvDegree(a.angleDegrees), a.point).intersect(qvLine(qvDegree(b.angleDegrees), b.point)));
    return crossings;
}

/// Turned by `degrees`, `unitsPerPel` per pel, y mirrored where asked for, and moved far off.
inline qvXform<2> clientFrame(double degrees, double unitsPerPel, bool mirrored) {
    const double c = unitsPerPel * qfCos(qvDegree(degrees));
    const double s = unitsPerPel * qfSin(qvDegree(degrees));
    const double flip = mirrored ? -1.0 : 1.0;
    return qvXform<2>(qvMatrix<2>(c, -s * flip, s, c * flip), qvVector<2>(1000.0, -500.0));
}

}  // namespace qvtest

#endif
