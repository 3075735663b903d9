#ifndef QVSTREET_TESTS_SUPPORT_WAFER_SCENE_H
#define QVSTREET_TESTS_SUPPORT_WAFER_SCENE_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

// A synthetic wafer as a plain description, and the exact geometry that follows from it.
//
// Image frame: the pel in column i, row j covers [i, i + 1) by [j, j + 1); x runs right, y down, angles turn from +x
// towards +y and are given in degrees, lengths in pels. Client frame: whatever `ClientTransform` makes of it.
//
// Lattice frame of a scene: t is the distance below the direction-0 line through the image's centre, s the distance to
// the right of the direction-1 line through it, both in pels and measured at right angles to the streets. A street is
// then an interval of t or of s, a die a box, also where the two families are not perpendicular.
//
// Nothing here uses the library, so that the truth cannot share a mistake with what it judges.

namespace qvtest {

struct Point2 {
    double x = 0.0;
    double y = 0.0;
};

struct Segment2 {
    Point2 p1;
    Point2 p2;
};

/// An unbounded line through `point`.
struct Line2 {
    Point2 point;
    double angleDegrees = 0.0;
};

double distance(const Point2& a, const Point2& b);

/// The point that two lines share; throws std::invalid_argument where they are parallel.
Point2 intersection(const Line2& a, const Line2& b);

/// Perpendicular distance of `p` from the line, never negative.
double distanceToLine(const Point2& p, const Line2& line);

/// The angle between two undirected lines, [0, 90] degrees.
double lineAngleDifference(double aDegrees, double bDegrees);

/// client = [a b; c d] * image + (tx, ty).
struct ClientTransform {
    double a = 1.0;
    double b = 0.0;
    double c = 0.0;
    double d = 1.0;
    double tx = 0.0;
    double ty = 0.0;

    Point2 map(const Point2& image) const;
    Point2 mapVector(const Point2& image) const;
    Line2 mapLine(const Line2& image) const;
    /// Direction in client terms of a line that runs at `imageDegrees`, in (-180, 180] degrees.
    double mapAngle(double imageDegrees) const;
    /// Throws std::invalid_argument where the matrix is singular.
    ClientTransform inverse() const;

    static ClientTransform scaled(double unitsPerPel);
    /// Turns by `degrees` from +x towards +y, then moves.
    static ClientTransform rotated(double degrees, double tx, double ty);
};

/// The parallel streets of one direction.
struct StreetFamily {
    /// Direction of the streets: near 0 for direction 0, near 90 for direction 1.
    double angleDegrees = 0.0;
    /// Where each centre line stands: its t (direction 0, growing downwards) or s (direction 1, growing rightwards), in
    /// growing order. Streets outside the image are allowed; they complete the lattice.
    std::vector<double> offsets;
    /// Measured at right angles to the street.
    double widthPels = 20.0;
    double grey = 60.0;
};

/// `count` streets at `first`, `first + pitch`, ...
StreetFamily evenFamily(double angleDegrees, double first, double pitch, int count, double widthPels, double grey);

/// `count` streets `pitch` apart whose middle stands `shift` beyond the image's centre.
StreetFamily centredFamily(double angleDegrees, double pitch, int count, double shift, double widthPels, double grey);

/// What the dies show between the streets.
enum class DieArtwork : std::int32_t {
    plain,   ///< one grey level
    blocks,  ///< a few large blocks of slightly different grey
    circuit  ///< bond pads along the die's edges, memory arrays, logic and wiring within
};

/// What stands in the streets.
enum class StreetArtwork : std::int32_t {
    none,
    fewPads,  ///< one short row of test pads per stretch between two crossings
    manyPads  ///< rows of test pads, comb structures and a mark in every crossing
};

struct Scene {
    long width = 512;
    long height = 512;
    /// Bytes at the end of each row that belong to no pel.
    long rowPadding = 0;
    /// Index 0: the more nearly horizontal streets; index 1: the more nearly vertical ones.
    std::array<StreetFamily, 2> families;
    double dieGrey = 150.0;
    /// Grey level where two streets cross; negative stands for the mean of the two street levels.
    double crossingGrey = -1.0;
    DieArtwork dieArtwork = DieArtwork::plain;
    /// 1 is a lively picture, 0 none of it visible.
    double dieArtworkContrast = 1.0;
    StreetArtwork streetArtwork = StreetArtwork::none;
    double streetArtworkContrast = 1.0;
    /// Standard deviation of the Gaussian that blurs the whole picture: 0, or 0.1 and more.
    double blurSigma = 0.8;
    /// Standard deviation of the white noise, in grey levels.
    double noiseSigma = 2.0;
    std::uint64_t seed = 1;
    /// Illumination: grey levels are multiplied by 1 + gradientX * u + gradientY * v - vignette * (u * u + v * v), with
    /// u and v from -1 at the left and upper side to +1 at the right and lower side.
    double gradientX = 0.0;
    double gradientY = 0.0;
    double vignette = 0.0;
    ClientTransform clientFromImage;
};

/// Image frame to lattice frame and back.
class Lattice {
 public:
    explicit Lattice(const Scene& scene);
    /// s and t of an image point are linear: s = sx * x + sy * y + s0, t = tx * x + ty * y + t0.
    double sx, sy, s0;
    double tx, ty, t0;
    Point2 toImage(double s, double t) const;
    double s(const Point2& p) const { return sx * p.x + sy * p.y + s0; }
    double t(const Point2& p) const { return tx * p.x + ty * p.y + t0; }
};

struct StreetTruth {
    int direction = 0;
    int index = 0;
    Line2 centre;
    double width = 0.0;
    /// The upper one first for direction 0, the left one first for direction 1 (in the image; the order stays when the
    /// truth is mapped).
    std::array<Line2, 2> edges;
    /// Whether any of the centre line is inside the image; `segment` is that stretch, from the left for direction 0 and
    /// from the top for direction 1.
    bool visible = false;
    Segment2 segment;
};

struct CrossingTruth {
    int street0 = 0;
    int street1 = 0;
    Point2 crossing;
    /// Where the streets' edges cross. Named as seen in the image; the names stay when the truth is mapped.
    Point2 ul, ur, ll, lr;
    double horizontalAngleDegrees = 0.0;
    double verticalAngleDegrees = 0.0;
    bool insideImage = false;
    /// Further inside the image than the wider of the two streets is wide: the crossings that a run is asked for.
    bool expected = false;
};

struct SceneTruth {
    std::array<std::vector<StreetTruth>, 2> streets;
    /// Every street of direction 0 with every one of direction 1, also where they meet outside the image.
    std::vector<CrossingTruth> crossings;

    std::size_t insideCount() const;
    std::size_t expectedCount() const;
};

/// The truth in the image frame.
SceneTruth truthOf(const Scene& scene);

/// The same truth in client terms: points, lines and angles mapped, widths as the distance of the mapped edges.
SceneTruth mapTruth(const SceneTruth& imageTruth, const ClientTransform& clientFromImage);

}  // namespace qvtest

#endif
