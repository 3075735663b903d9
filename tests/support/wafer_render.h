#ifndef QVSTREET_TESTS_SUPPORT_WAFER_RENDER_H
#define QVSTREET_TESTS_SUPPORT_WAFER_RENDER_H

#include <vector>

#include "tests/support/wafer_scene.h"

// Draws a scene the way a camera would see it.
//
// Model: the ideal picture (surfaces of one grey level with infinitely sharp borders) is blurred by a Gaussian of
// `blurSigma` and integrated over each pel's square; then comes illumination, then noise, then rounding to 8 bits. For
// a straight border that integral has a closed form, which `EdgeResponse` tabulates, so a border lies where the truth
// says to better than 0.001 pel at every angle. A street is the difference of the responses of its two borders, and
// where two streets cross their coverages multiply. That product is exact for perpendicular families but for the pel
// integral within half a pel of a corner; families d degrees off square change grey levels by less than d percent of
// the contrast within 3 blur sigmas of a corner, and nothing elsewhere.

namespace qvtest {

/// 8-bit pels; row j starts at j * stride. Bytes beyond the width hold 0xA5.
struct GreyImage {
    long width = 0;
    long height = 0;
    long stride = 0;
    std::vector<unsigned char> pels;

    const unsigned char* row(long j) const { return pels.data() + j * stride; }
};

/// The value of a pel whose centre lies `d` pels beyond a straight border between 0 and 1.
class EdgeResponse {
 public:
    /// The border runs at `angleDegrees`; throws std::invalid_argument for a blur that is negative, or neither 0 nor at
    /// least 0.1.
    EdgeResponse(double angleDegrees, double blurSigma);

    /// 0 at -reach() and before, 1 at reach() and beyond; interpolated in between from 1/256 pel steps.
    double at(double d) const {
        const double position = (d + reach_) * stepsPerPel;
        if (!(position > 0.0)) return 0.0;
        if (position >= last_) return 1.0;
        const auto i = static_cast<std::size_t>(position);
        return table_[i] + (table_[i + 1] - table_[i]) * (position - static_cast<double>(i));
    }

    double reach() const { return reach_; }

    static constexpr double stepsPerPel = 256.0;

 private:
    double reach_;
    double last_;
    std::vector<double> table_;
};

/// Grey levels before noise and rounding, row after row without padding.
std::vector<float> renderUnrounded(const Scene& scene);

GreyImage renderScene(const Scene& scene);

/// FNV-1a of the pels, without the row padding.
std::uint64_t pelHash(const GreyImage& image);

}  // namespace qvtest

#endif
