#include "qvstreet/platform/angle.h"

#include <cmath>

namespace {

/// `value` folded into [low, low + turn), where `low` is 0 or minus half a turn. The remainder is exact, so at most the
/// one shift by a turn rounds; where that rounds a tiny negative remainder up to the excluded end, the second test
/// takes it to the included one. NaN and infinities give NaN.
double folded(double value, double low, double turn) {
    double rest = std::fmod(value, turn);
    if (rest < low) rest += turn;
    if (rest >= low + turn) rest -= turn;
    return rest + 0.0;  // turns a negative zero, which prints and divides differently, into 0
}

}  // namespace

qvRadian qvRadian::norm() const { return qvRadian(folded(value_, 0.0, qvTwoPi)); }
qvRadian qvRadian::signedNorm() const { return qvRadian(folded(value_, -qvPi, qvTwoPi)); }
qvDegree qvDegree::norm() const { return qvDegree(folded(value_, 0.0, 360.0)); }
qvDegree qvDegree::signedNorm() const { return qvDegree(folded(value_, -180.0, 360.0)); }

double qfCos(qvRadian angle) { return std::cos(angle.toDouble()); }
double qfSin(qvRadian angle) { return std::sin(angle.toDouble()); }
