/// @file
/// The frames of a street measurement: between the client's coordinates and the pels of the window.
#ifndef QVSTREET_PROJECTION_MEASUREMENT_FRAMES_H
#define QVSTREET_PROJECTION_MEASUREMENT_FRAMES_H

#include <algorithm>
#include <cmath>

#include "qvstreet/platform/pel_buffer.h"
#include "qvstreet/platform/vector.h"
#include "qvstreet/platform/xform.h"

/// Between the client frame and the pels of the window.
class qv_MeasurementFrames {
 public:
    /// @throws qvMatrixErr::Singular for a client transform that cannot be turned round
    explicit qv_MeasurementFrames(const qvPelBuffer_const<unsigned char>& image)
        : clientFromWindow_(image.clientFromImageXform() *
                            qvXform<2>(qvMatrix<2>(), qvVector<2>(static_cast<double>(image.offset().first),
                                                                  static_cast<double>(image.offset().second)))),
          windowFromClient_(clientFromWindow_.inverse()) {
        const qvMatrix<2>& m = clientFromWindow_.matrix();
        areaScale_ = std::fabs(m.element(0, 0) * m.element(1, 1) - m.element(0, 1) * m.element(1, 0));
    }

    qvVector<2> window(const qvVector<2>& client) const { return windowFromClient_ * client; }
    qvVector<2> client(const qvVector<2>& window) const { return clientFromWindow_ * window; }
    qvVector<2> windowVector(const qvVector<2>& client) const { return windowFromClient_.mapVector(client); }
    qvVector<2> clientVector(const qvVector<2>& window) const { return clientFromWindow_.mapVector(window); }
    /// Client units per pel along a direction of the window, and at right angles to lines of that direction.
    double along(const qvVector<2>& unitDirection) const { return clientVector(unitDirection).len(); }
    double across(const qvVector<2>& unitDirection) const { return areaScale_ / along(unitDirection); }
    /// Standard deviations in x and y, client frame, of a point with these covariances in the window.
    qvVector<2> deviations(double xx, double xy, double yy) const {
        const qvMatrix<2>& m = clientFromWindow_.matrix();
        const auto row = [&](int r) {
            const double a = m.element(r, 0);
            const double b = m.element(r, 1);
            return std::sqrt(std::max(0.0, a * a * xx + 2.0 * a * b * xy + b * b * yy));
        };
        return qvVector<2>(row(0), row(1));
    }

 private:
    qvXform<2> clientFromWindow_;
    qvXform<2> windowFromClient_;
    double areaScale_ = 0.0;
};

#endif
