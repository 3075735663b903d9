// Records of the street measurement: for whoever asks why a street was measured as it was, or not at all.
//
// In:  the streets as they were followed, each in its own (u, v) frame of the window, pels.
// Out: pictures in the image frame, plots and tables along and across each street, pels.
#include "qvstreet/projection/street_measurement_records.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>

#include "qvstreet/platform/diagnostic_cells.h"
#include "qvstreet/projection/projection_records.h"

namespace {

using Defs = qvStreetMeasureDefs;

constexpr qvColor kEdgeColor{255, 64, 255};
constexpr qvColor kUsedColor = qvColor::greenColor;
constexpr qvColor kRefusedColor = qvColor::redColor;

// Pels of the display.
constexpr double kPointRadius = 2.0;
// More points in one picture or plot could not be told apart, and each takes some hundred letters of a page.
constexpr std::size_t kMostPointsInPicture = 1000;
constexpr std::size_t kMostPointsInPlot = 160;
// More streets would make a page that nobody reads; the table has them all.
constexpr std::size_t kMostStreets = 40;

// Half the height of the plots of points, in scatters of the used ones, and its least, pels: wide enough for every used
// point, and narrow enough for these to be seen apart beside points that lie pels aside.
constexpr double kScattersShown = 6.0;
constexpr double kLeastShownPels = 0.02;

std::wstring directionOf(const qv_MeasuredTrack& street) { return street.pels.swapped ? L"upright" : L"flat"; }

/// Of the edge `e` of the track: the left or upper one is 0. A single edge may be either.
std::wstring edgeName(const qv_MeasuredTrack& street, std::size_t e) {
    const bool isFirst = (street.edges.found == qv_EdgesFound::one ? street.edges.which : static_cast<long>(e)) == 0;
    if (street.pels.swapped) return isFirst ? L"left edge" : L"right edge";
    return isFirst ? L"upper edge" : L"lower edge";
}

std::size_t edgesOf(const qv_MeasuredTrack& street) { return static_cast<std::size_t>(street.track.edges); }

/// Whether the points are those of the middle of a narrow street, not of its edges.
bool isBar(const qv_MeasuredTrack& street) { return street.track.barWidth > 0.0; }

/// What the points belong to: one or two edges, or the middle.
std::size_t seriesOf(const qv_MeasuredTrack& street) { return isBar(street) ? 1 : edgesOf(street); }

std::wstring seriesName(const qv_MeasuredTrack& street, std::size_t e) {
    return isBar(street) ? L"middle" : edgeName(street, e);
}

/// Whether lines came of the points, be they good or not.
bool hasLines(const qv_MeasuredTrack& street) { return street.track.lines.used[0] > 0; }

qv_UvLine lineOf(const qv_MeasuredTrack& street, std::size_t e) {
    const qv_EdgeLines& lines = street.track.lines;
    return {lines.u0, lines.offset[e], lines.slope[e]};
}

qv_UvLine seriesLine(const qv_MeasuredTrack& street, std::size_t e) {
    const qv_EdgeLines& lines = street.track.lines;
    if (!isBar(street)) return lineOf(street, e);
    return {lines.u0, 0.5 * (lines.offset[0] + lines.offset[1]), 0.5 * (lines.slope[0] + lines.slope[1])};
}

std::vector<const qv_EdgePoint*> pointsOf(const qv_MeasuredTrack& street, std::size_t e, bool used) {
    std::vector<const qv_EdgePoint*> points;
    for (const qv_EdgePoint& point : street.track.points)
        if (point.edge == static_cast<std::int32_t>(e) && point.used == used) points.push_back(&point);
    return points;
}

/// At most `most` of the items, evenly spread.
template <typename T>
std::vector<T> someOf(const std::vector<T>& items, std::size_t most) {
    if (items.size() <= most) return items;
    std::vector<T> some;
    for (std::size_t i = 0; i < most; ++i) some.push_back(items[i * items.size() / most]);
    return some;
}

/// From (u, v) of a street to the image frame.
qvVector<2> imagePoint(const qvPelBuffer_const<unsigned char>& image, const qv_MeasuredTrack& street, double u,
                       double v) {
    const qvPair<long> offset = image.offset();
    return street.pels.exchange(qvVector<2>(u, v)) +
           qvVector<2>(static_cast<double>(offset.first), static_cast<double>(offset.second));
}

qvUISketch pointSketch(const qvPelBuffer_const<unsigned char>& image, const std::vector<qv_MeasuredTrack>& tracks,
                       bool used) {
    std::vector<qvShape> shapes;
    for (const qv_MeasuredTrack& street : tracks)
        for (const qv_EdgePoint& point : street.track.points) {
            if (point.used != used) continue;
            qvShape shape;
            shape.kind = qvShape::eCircle;
            shape.color = used ? kUsedColor : kRefusedColor;
            shape.p1 = imagePoint(image, street, point.u, point.v);
            shape.radius = kPointRadius;
            shape.hasDisplaySize = true;
            shapes.push_back(shape);
        }
    return qvUISketch(someOf(shapes, kMostPointsInPicture));
}

qvUISketch lineSketch(const qvPelBuffer_const<unsigned char>& image, const std::vector<qv_MeasuredTrack>& tracks) {
    std::vector<qvShape> shapes;
    for (const qv_MeasuredTrack& street : tracks) {
        if (street.reason != Defs::eNoReason && street.reason != Defs::eOneEdge) continue;
        for (std::size_t e = 0; e < edgesOf(street); ++e) {
            const qv_UvLine line = lineOf(street, e);
            const qv_UvRange& extent = street.track.extent;
            qvShape shape;
            shape.kind = qvShape::eLineSeg;
            shape.color = kEdgeColor;
            shape.p1 = imagePoint(image, street, extent.low, line.at(extent.low));
            shape.p2 = imagePoint(image, street, extent.high, line.at(extent.high));
            shapes.push_back(shape);
        }
    }
    return qvUISketch(std::move(shapes));
}

long countOf(const qv_MeasuredTrack& street, bool used) {
    const auto& points = street.track.points;
    return static_cast<long>(
        std::count_if(points.begin(), points.end(), [used](const qv_EdgePoint& point) { return point.used == used; }));
}

void recordOverview(const qvPelBuffer_const<unsigned char>& image, const std::vector<qv_MeasuredTrack>& tracks,
                    qvDiagObject& diagObject) {
    qvDiagRecord& record = diagObject.newDiagRecord();
    record.recordAnnotation(L"Measurement");
    record.image(image, true);
    record.sketch(lineSketch(image, tracks), qvDisplay::eImageCoordinates, L"Edges as measured");
    record.sketch(pointSketch(image, tracks, true), qvDisplay::eImageCoordinates, L"Points used");
    record.sketch(pointSketch(image, tracks, false), qvDisplay::eImageCoordinates, L"Points refused");

    qvDiagTable table;
    table.label = L"Streets";
    table.heading = qf_cells(L"street", L"direction", L"result", L"blur", L"points used", L"refused");
    std::size_t measured = 0;
    for (std::size_t i = 0; i < tracks.size(); ++i) {
        const qv_MeasuredTrack& street = tracks[i];
        measured += street.reason == Defs::eNoReason ? 1U : 0U;
        table.rows.push_back(qf_cells(i + 1, directionOf(street), qfStreetMeasureReasonText(street.reason),
                                      hasLines(street) ? qf_cell(street.track.blur) : std::wstring(),
                                      countOf(street, true), countOf(street, false)));
    }
    record.text(qf_cell(measured) + L" of " + qf_cell(tracks.size()) +
                    (tracks.size() == 1 ? L" street is measured" : L" streets are measured"),
                L"Found");
    qf_attachTable(record, table);
}

qvDiagPlot profilePlot(const qv_MeasuredTrack& street) {
    const qv_StreetEdges& edges = street.edges;
    const qv_StreetPrediction& told = street.prediction;
    qvDiagPlot plot;
    plot.label = L"Profile across the street";
    plot.xTitle = L"pels across, from the middle that the finder says";
    plot.yTitle = L"mean grey level";
    qvDiagCurve curve;
    curve.name = L"mean grey";
    curve.start = edges.firstOffset;
    curve.color = qvColor::blueColor;
    curve.values = edges.profile;
    plot.curves.push_back(curve);
    plot.marks.push_back(
        rangeMark(-0.5 * told.likelyWidth, 0.5 * told.likelyWidth, qvColor::yellowColor, L"street as the finder says"));
    const std::size_t found = edges.found == qv_EdgesFound::both ? 2 : edges.found == qv_EdgesFound::one ? 1 : 0;
    for (std::size_t e = 0; e < found; ++e) {
        qvDiagMark mark;
        mark.kind = qvDiagMark::ePosition;
        mark.from = edges.offset[e];
        mark.color = kUsedColor;
        mark.caption = edgeName(street, e);
        plot.marks.push_back(mark);
    }
    return plot;
}

/// Distances from the line of the edge, or from the middle that the finder says where no line came of the points.
qvDiagPlot pointPlot(const qv_MeasuredTrack& street, std::size_t e) {
    qvDiagPlot plot;
    plot.label = L"Points of the " + seriesName(street, e) + L": used green, refused red";
    plot.xTitle = L"pels along the street";
    plot.yTitle = hasLines(street) ? L"pels from the line" : L"pels from the middle that the finder says";
    const qv_UvLine reference = hasLines(street) ? seriesLine(street, e) : street.prediction.centre;
    const auto aside = [&](const qv_EdgePoint& point) { return point.v - reference.at(point.u); };

    const std::vector<const qv_EdgePoint*> used = pointsOf(street, e, true);
    const std::vector<const qv_EdgePoint*> refused = pointsOf(street, e, false);
    double limit = std::numeric_limits<double>::infinity();
    if (hasLines(street)) {
        limit = std::max(kLeastShownPels, kScattersShown * street.track.lines.scatter[e]);
        for (const qv_EdgePoint* point : used) limit = std::max(limit, std::fabs(aside(*point)));
    }
    const auto add = [&](const qv_EdgePoint& point, const qvColor& color) {
        qvDiagMark mark;
        mark.kind = qvDiagMark::ePoint;
        mark.from = point.u;
        mark.to = std::clamp(aside(point), -limit, limit);
        mark.color = color;
        plot.marks.push_back(mark);
    };
    for (const qv_EdgePoint* point : someOf(refused, kMostPointsInPlot)) add(*point, kRefusedColor);
    for (const qv_EdgePoint* point : someOf(used, kMostPointsInPlot)) add(*point, kUsedColor);
    if (hasLines(street)) {
        qvDiagMark line;
        line.kind = qvDiagMark::eLevel;
        line.color = kEdgeColor;
        plot.marks.push_back(line);
    }
    return plot;
}

/// Grey levels beyond the edge minus those before it, in the median of the used points.
double contrastOf(const qv_MeasuredTrack& street, std::size_t e) {
    std::vector<double> contrasts;
    for (const qv_EdgePoint* point : pointsOf(street, e, true)) contrasts.push_back(point->contrast);
    if (contrasts.empty()) return street.edges.contrast[e];
    const auto middle = contrasts.begin() + static_cast<std::ptrdiff_t>(contrasts.size() / 2);
    std::nth_element(contrasts.begin(), middle, contrasts.end());
    return *middle;
}

/// Direction of the line in the image, from +x towards +y.
double degreesOf(const qv_MeasuredTrack& street, std::size_t e) {
    const double slope = street.track.lines.slope[e];
    const qvVector<2> along = street.pels.exchange(qvVector<2>(1.0, slope));
    return qvDegree(along.angle()).toDouble();
}

qvDiagTable lineTable(const qv_MeasuredTrack& street) {
    qvDiagTable table;
    table.label = L"Lines";
    table.heading = qf_cells(L"line", L"contrast", L"scatter", L"used", L"refused", L"angle");
    for (std::size_t e = 0; e < seriesOf(street); ++e)
        table.rows.push_back(qf_cells(seriesName(street, e), contrastOf(street, e),
                                      hasLines(street) ? qf_cell(street.track.lines.scatter[e]) : std::wstring(),
                                      pointsOf(street, e, true).size(), pointsOf(street, e, false).size(),
                                      hasLines(street) ? qf_cell(degreesOf(street, e)) : std::wstring()));
    return table;
}

void recordStreet(const qv_MeasuredTrack& street, std::size_t number, qvDiagObject& diagObject) {
    const qv_StreetPrediction& told = street.prediction;
    qvDiagRecord& record = diagObject.newDiagRecord();
    record.recordAnnotation(L"Measured Street " + qf_cell(number) + L", " + directionOf(street));
    const std::wstring result = qfStreetMeasureReasonText(street.reason);
    record.text(street.reason == Defs::eNoReason  ? result
                : street.reason == Defs::eOneEdge ? L"partly measured: " + result
                                                  : L"not measured: " + result,
                L"Result");
    record.text(L"about " + qf_cell(street.pels.exchange(qvVector<2>(told.centre.u0, told.centre.v0))) + L" pels, " +
                    qf_cell(told.likelyWidth) + L" wide (" + qf_cell(told.leastWidth) + L" to " +
                    qf_cell(told.mostWidth) + L"), its middle off by at most " + qf_cell(told.reach),
                L"As the finder says");
    if (!street.edges.profile.empty()) record.plot(profilePlot(street));
    if (edgesOf(street) == 0 || street.track.points.empty()) return;

    if (hasLines(street)) {
        record.text(qf_cell(street.track.blur) + L" pels, standard deviation", L"Blur of the edges");
        if (isBar(street))
            record.text(L"the whole street at once, " + qf_cell(street.track.barWidth) + L" pels wide", L"Followed by");
        else if (edgesOf(street) == 2)
            record.text(street.track.lines.parallel ? L"yes" : L"no: each has a direction of its own",
                        L"Edges are parallel");
    }
    qf_attachTable(record, lineTable(street));
    for (std::size_t e = 0; e < seriesOf(street); ++e) record.plot(pointPlot(street, e));
    record.text(
        L"Refused points stand on the line where nothing like it was near, and at the rim where they lie "
        L"further aside.",
        L"In the plots");
}

}  // namespace

void recordMeasurement(const qvPelBuffer_const<unsigned char>& image, const std::vector<qv_MeasuredTrack>& tracks,
                       qvDiagObject& diagObject) {
    recordOverview(image, tracks, diagObject);
    for (std::size_t i = 0; i < std::min(tracks.size(), kMostStreets); ++i) recordStreet(tracks[i], i + 1, diagObject);
}
