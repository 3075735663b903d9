#include "qvstreet/frontend/peak_finder_1d.h"

#include <limits>

namespace {

enum class Direction : std::int32_t { eUnknown, eRising, eFalling, ePlateau };

/// The slope between the first two samples. A profile that starts flat has no direction until it leaves the flat, so
/// that flat is no plateau.
Direction startingDirection(double first, double second) {
    if (first < second) return Direction::eRising;
    if (first > second) return Direction::eFalling;
    return Direction::eUnknown;
}

/// Where a plateau began.
struct Plateau {
    long start = 0;                        // index of the sample before it
    Direction from = Direction::eUnknown;  // slope that led up or down to it
    double before = 0.0;                   // value before it
};

/// Vertex of the parabola through (-1, a), (0, b) and (1, c).
double vertex(double a, double b, double c) { return (a - c) / (2 * (a - 2 * b + c)); }

/// The state of one walk along a profile.
class Walk {
 public:
    Walk(Direction start, long maxPlateauSteps) : direction_(start), maxPlateauSteps_(maxPlateauSteps) {}

    /// Looks at the samples a, b and c from index i on and turns to the direction from b to c.
    /// @returns whether b, or the plateau that ends with it, is an extreme of sufficient height; `index` is then its
    ///          refined index
    bool step(long i, double a, double b, double c, double limit, double& index) {
        if (c == b) {
            openPlateau(i, a);
            return false;
        }
        if (c < b) {
            const bool found = b >= limit && turnsFrom(Direction::eRising, i, a, b, c, index);
            direction_ = Direction::eFalling;
            return found;
        }
        if (c > b) {
            const bool found = b <= -limit && turnsFrom(Direction::eFalling, i, a, b, c, index);
            direction_ = Direction::eRising;
            return found;
        }
        return false;  // a NaN is neither above nor below
    }

 private:
    void openPlateau(long i, double before) {
        if (direction_ != Direction::eRising && direction_ != Direction::eFalling) return;
        plateau_ = {i, direction_, before};
        direction_ = Direction::ePlateau;
    }

    bool turnsFrom(Direction slope, long i, double a, double b, double c, double& index) const {
        if (direction_ == slope) {
            index = static_cast<double>(i + 1) + vertex(a, b, c);
            return true;
        }
        if (direction_ != Direction::ePlateau || plateau_.from != slope) return false;
        const long steps = i - plateau_.start;
        if (steps > maxPlateauSteps_) return false;
        index =
            static_cast<double>(steps) / 2.0 + static_cast<double>(plateau_.start) + 1 + vertex(plateau_.before, b, c);
        return true;
    }

    Direction direction_;
    long maxPlateauSteps_;
    Plateau plateau_;
};

}  // namespace

qvPeakFinder1D::qvPeakFinder1D(double threshold, double valueScale, double positionStep)
    : threshold_(threshold), valueScale_(valueScale), positionStep_(positionStep) {}

std::int32_t qvPeakFinder1D::findPeaks(const qvPelBuffer_const<double>& image, std::vector<qvPeak1D>& peaks) const {
    const long width = image.width();
    if (width - 2 < 1) throw qvPeak1dErr::ImageTooSmall();
    const double* const x = image.pointToOffset();
    const double limit = threshold_ * valueScale_;

    const bool isOwned = peaks.empty();
    const std::size_t most = isOwned ? std::numeric_limits<std::size_t>::max() : peaks.size();
    std::size_t count = 0;
    Walk walk(startingDirection(x[0], x[1]), maxPlateauWidth_);
    for (long i = 0; i <= width - 3 && count < most; ++i) {
        const double b = x[i + 1];
        double index = 0.0;
        if (!walk.step(i, x[i], b, x[i + 2], limit, index)) continue;
        const qvPeak1D peak{1, positionStep_ * index + positionOffset_, b / valueScale_};
        if (isOwned)
            peaks.push_back(peak);
        else
            peaks[count] = peak;
        ++count;
    }
    for (std::size_t unused = count; unused < peaks.size(); ++unused) peaks[unused].valid = 0;
    return static_cast<std::int32_t>(count);
}
