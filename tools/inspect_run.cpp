// An inspection and its page. The results are drawn as the pictures draw them, but sorted into layers, so that each
// kind can be looked at alone.
#include "qvstreet/platform/text.h"
#include "qvstreet/projection/street_measurement_records.h"
#include "qvstreet/streetfinder/street_finder_access.h"
#include "qvstreet/streetfinder/street_finder_impl.h"
#include "tools/finder_run.h"
#include "tools/inspection.h"
#include "tools/sketch_measured.h"
#include "tools/sketch_results.h"
#include "tools/text.h"
#include "tools/trace_file.h"

#include <algorithm>
#include <cmath>

namespace qvtool {
namespace {

// A reach that leaves nothing out, client units.
constexpr double kWholeImage = 1e30;

std::wstring wide(const std::string& ascii) { return {ascii.begin(), ascii.end()}; }

std::wstring number(double value) { return wide(shortest(value)); }
std::wstring number(long value) { return qfStr(value); }

std::wstring pairOf(double first, double second) { return number(first) + L", " + number(second); }

qvDiagTable optionsTable(const CommandOptions& options) {
    qvDiagTable table;
    table.label = L"Options";
    table.heading = {L"option", L"value", L"meaning"};
    const std::array<double, 6>& c = options.client;
    table.rows = {
        {L"--mode", wide(nameOf(options.mode)), L"edge: pairs of edges; ridge, coarse: lines as wide as the street"},
        {L"--width", pairOf(options.widthX, options.widthY), L"nominal street width in X and Y, client units"},
        {L"--range-x", pairOf(options.rangeX.low, options.rangeX.high), L"allowed widths in X, client units"},
        {L"--range-y", pairOf(options.rangeY.low, options.rangeY.high), L"allowed widths in Y, client units"},
        {L"--sharpness", number(options.sharpness), L"width of an edge's transition, client units"},
        {L"--polarity", wide(nameOf(options.polarity)), L"of the street against its sides"},
        {L"--max", number(options.maxResults), L"most results"},
        {L"--client", pairOf(c[0], c[1]) + L", " + pairOf(c[2], c[3]) + L", " + pairOf(c[4], c[5]),
         L"client = [A B; C D] * image + (TX, TY)"},
    };
    if (!options.measure) return table;
    const std::wstring reach = options.measureReach < kWholeImage ? number(options.measureReach) : L"the whole image";
    table.rows.push_back({L"--measure", L"given", L"the streets are measured on the whole image"});
    table.rows.push_back({L"--measure-reach", reach, L"how far a street is followed, client units"});
    table.rows.push_back(
        {L"--measure-contrast", number(options.measureContrast), L"contrast that an edge must have, grey levels"});
    return table;
}

/// What the mode and the options made of it inside the finder.
std::vector<qvDiagTable> constantsOf(const qv_streetFinderImpl& impl) {
    qvDiagTable table;
    table.label = L"Inside the finder";
    table.heading = {L"parameter", L"value", L"meaning"};
    const qv_spectrumParams& s = impl.spectrumParams;
    const qv_angleFinderParams& a = impl.angleParams;
    const qv_candidateTolerances& t = impl.tolerances;
    table.rows = {
        {L"fftSize", number(s.fftSize), L"side of the sampled square"},
        {L"padWidth", number(s.padWidth), L"its mirrored band, samples"},
        {L"rectMargin", number(s.rectMargin), L"taken off the image's sides before sampling, pels"},
        {L"innerRadiusFraction", number(a.innerRadiusFraction), L"inner radius of the ring of frequencies"},
        {L"outerRadiusFraction", number(a.outerRadiusFraction), L"outer radius of the ring of frequencies"},
        {L"samplesPerDegree", number(a.samplesPerDegree), L"samples of the angle profile per degree"},
        {L"narrowSigma", number(a.narrowSigma), L"smoothing of the angle profile, samples"},
        {L"wideSigma", number(a.wideSigma), L"smoothing that is subtracted, samples"},
        {L"peakThreshold", number(a.peakThreshold), L"height that an angle's peak must reach"},
        {L"angleScoreRatio", number(impl.angleScoreRatio), L"part of the best score that an angle must reach"},
        {L"filterScale", number(impl.filterScale), L"length of the line filter along the street"},
        {L"minLineLengthFraction", number(t.minLineLengthFraction), L"shortest line, part of the image's side"},
        {L"lineGapTolerance", number(t.lineGapTolerance), L"largest distance of two lines that count as one"},
        {L"angleTolerance", number(t.angleTolerance), L"largest angle between parallel lines"},
    };
    std::wstring weights;
    for (const double weight : impl.scoreWeights) weights += (weights.empty() ? L"" : L", ") + number(weight);
    if (!weights.empty()) table.rows.push_back({L"scoreWeights", weights, L"weights of a cross's terms"});
    return {table};
}

double millisecondsOf(const std::vector<qv_stageTime>& times) {
    double sum = 0.0;
    for (const qv_stageTime& time : times) sum += time.milliseconds;
    return sum;
}

qvDiagTable timesTable(const std::vector<qv_stageTime>& times) {
    qvDiagTable table;
    table.label = L"Time of each stage";
    table.heading = {L"stage", L"milliseconds"};
    for (const qv_stageTime& time : times) table.rows.push_back({time.name, qfDbl(time.milliseconds, 3, false)});
    if (!times.empty()) table.rows.push_back({L"all", qfDbl(millisecondsOf(times), 3, false)});
    return table;
}

qvDiagTable crossingsTable(const std::vector<qvStreetFinderStreetCrossResult>& crossings) {
    qvDiagTable table;
    table.label = L"Crossings, best first";
    table.heading = {L"x", L"y", L"score", L"flat street", L"upright street"};
    for (const qvStreetFinderStreetCrossResult& crossing : crossings) {
        table.rows.push_back({qfDbl(crossing.crossing().x(), 2, false), qfDbl(crossing.crossing().y(), 2, false),
                              qfDbl(crossing.score(), 4, false),
                              qfDbl(qvDegree(crossing.horizontalAngle()).toDouble(), 2, false) + L"\u00b0",
                              qfDbl(qvDegree(crossing.verticalAngle()).toDouble(), 2, false) + L"\u00b0"});
    }
    return table;
}

qvDiagTable streetsTable(const std::vector<qvStreetFinderSingleStreetResult>& streets) {
    qvDiagTable table;
    table.label = L"Single streets, best first";
    table.heading = {L"score", L"angle", L"lines"};
    for (const qvStreetFinderSingleStreetResult& street : streets) {
        table.rows.push_back({qfDbl(street.score(), 4, false),
                              qfDbl(qvDegree(street.angle()).toDouble(), 2, false) + L"\u00b0",
                              qfStr(static_cast<long>(street.lineSegs().size()))});
    }
    return table;
}

/// A measured number with its standard deviation; empty for one that was not measured.
std::wstring sureCell(double value, double deviation, int digits) {
    if (!std::isfinite(value)) return {};
    return qfDbl(value, digits, false) + L" (" + qfDbl(deviation, digits, false) + L")";
}

std::wstring sureDegrees(qvRadian angle, qvRadian deviation) {
    return sureCell(qvDegree(angle).toDouble(), qvDegree(deviation).toDouble(), 4);
}

qvDiagTable measuredCrossingsTable(const std::vector<qvStreetMeasurement>& measured) {
    qvDiagTable table;
    table.label = L"Crossings as measured (standard deviation)";
    table.heading = {L"x", L"y", L"flat street", L"upright street", L"flat width", L"upright width", L"result"};
    for (const qvStreetMeasurement& one : measured) {
        table.rows.push_back({sureCell(one.crossing().x(), one.crossingDeviation().x(), 3),
                              sureCell(one.crossing().y(), one.crossingDeviation().y(), 3),
                              sureDegrees(one.horizontalAngle(), one.horizontalAngleDeviation()),
                              sureDegrees(one.verticalAngle(), one.verticalAngleDeviation()),
                              sureCell(one.horizontalWidth(), one.horizontalWidthDeviation(), 3),
                              sureCell(one.verticalWidth(), one.verticalWidthDeviation(), 3),
                              qfStreetMeasureReasonText(one.reason())});
    }
    return table;
}

qvDiagTable measuredStreetsTable(const std::vector<qvStreetLineMeasurement>& measured) {
    qvDiagTable table;
    table.label = L"Single streets as measured (standard deviation)";
    table.heading = {L"angle", L"width", L"result"};
    for (const qvStreetLineMeasurement& one : measured) {
        table.rows.push_back({sureDegrees(one.angle(), one.angleDeviation()),
                              sureCell(one.width(), one.widthDeviation(), 3), qfStreetMeasureReasonText(one.reason())});
    }
    return table;
}

/// Collects the shapes that belong together.
class Layers {
 public:
    template <typename Test>
    void take(const wchar_t* name, const std::vector<SketchLayer>& drawing, Test belongs) {
        PageLayer layer;
        layer.name = name;
        std::vector<qvShape> shapes;
        for (const SketchLayer& part : drawing) {
            layer.system = part.system;
            std::copy_if(part.sketch.shapes().begin(), part.sketch.shapes().end(), std::back_inserter(shapes), belongs);
        }
        layer.sketch = qvUISketch(std::move(shapes));
        layers_.push_back(std::move(layer));
    }

    /// The sketches of the record "Lines" whose labels begin like this: there is one for each direction.
    void takeLines(const wchar_t* name, const qvDiagObject& records, const std::wstring& label) {
        PageLayer layer;
        layer.name = name;
        std::vector<qvShape> shapes;
        for (long i = 0; i < records.numRecords(); ++i) {
            const qvDiagRecord& record = records.diagRecord(i);
            if (record.recordAnnotation() != L"Lines") continue;
            for (const qvDiagEntry& entry : record.entries()) {
                if (entry.kind != qvDiagEntry::eSketch || entry.label.compare(0, label.size(), label) != 0) continue;
                layer.system = entry.coordinateSystem;
                shapes.insert(shapes.end(), entry.sketch.shapes().begin(), entry.sketch.shapes().end());
            }
        }
        layer.sketch = qvUISketch(std::move(shapes));
        layers_.push_back(std::move(layer));
    }

    /// Hides the layer taken last at first.
    void hideIf(bool hidden) { layers_.back().shown = !hidden; }

    std::vector<PageLayer> layers() { return std::move(layers_); }

 private:
    std::vector<PageLayer> layers_;
};

std::vector<PageLayer> layersOf(const Inspection& inspection) {
    const ResultDrawing streets =
        drawStreets(inspection.results.singleStreets, inspection.image.imageFromClientXform());
    const ResultDrawing crossings =
        drawCrossings(inspection.results.crossings, inspection.image.imageFromClientXform());
    const bool found = !inspection.results.crossings.empty();
    Layers layers;
    const auto takeLines = [&] {
        layers.takeLines(L"Lines kept", inspection.records, L"Kept");
        layers.hideIf(found);
        layers.takeLines(L"Lines dropped", inspection.records, L"Dropped");
        // Where lines of both directions are left, the dropped ones are not why there is no crossing.
        layers.hideIf(found || keepsLinesOfBothDirections(inspection.records));
    };
    // Shown from the start they stay below the streets that were made of them.
    if (!found) takeLines();
    layers.take(L"Single streets", streets.layers, [](const qvShape& s) { return s.kind != qvShape::eText; });
    const bool fromEdges = std::any_of(inspection.results.crossings.begin(), inspection.results.crossings.end(),
                                       [](const qvStreetFinderStreetCrossResult& crossing) {
                                           return crossing.statusFlags() == qvStreetFinderDefs::eStreetFromEdges;
                                       });
    layers.take(fromEdges ? L"Street edges" : L"Street lines", crossings.layers,
                [](const qvShape& s) { return s.kind == qvShape::eLineSeg && s.color == qvColor::greenColor; });
    layers.take(fromEdges ? L"Cross as fitted" : L"Directions", crossings.layers, [](const qvShape& s) {
        return s.kind == qvShape::eCircle || (s.kind == qvShape::eLineSeg && s.color != qvColor::greenColor);
    });
    layers.take(L"Corners", crossings.layers, [](const qvShape& s) { return s.kind == qvShape::eCross; });
    layers.take(L"Crossings", crossings.layers, [](const qvShape& s) { return s.kind == qvShape::ePointIcon; });
    layers.take(L"Scores", crossings.layers, [](const qvShape& s) { return s.kind == qvShape::eText; });
    if (inspection.measurement) {
        const Measurement& measurement = *inspection.measurement;
        const ResultDrawing measured = found
                                           ? drawMeasuredCrossings(inspection.results.crossings, measurement.crossings)
                                           : drawMeasuredStreets(inspection.results.singleStreets, measurement.streets);
        layers.take(L"Measured edges", measured.layers, [](const qvShape& s) { return s.kind == qvShape::eLineSeg; });
        layers.take(L"Measured crossings", measured.layers,
                    [](const qvShape& s) { return s.kind == qvShape::eCross && s.color == kMeasuredColour; });
        layers.take(L"Not measured", measured.layers, [](const qvShape& s) { return s.color == kUnmeasuredColour; });
    }
    layers.take(L"Street scores", streets.layers, [](const qvShape& s) { return s.kind == qvShape::eText; });
    layers.hideIf(found);
    if (found) takeLines();
    return layers.layers();
}

/// The times of `setImage` and of `find`; the search for single streets is no part of either.
Seconds secondsOf(const std::vector<qv_stageTime>& times) {
    Seconds seconds;
    for (const qv_stageTime& time : times) {
        if (time.name == L"Single Streets") continue;
        const bool isFind = time.name == L"Crossings" || time.name == L"Refinement";
        (isFind ? seconds.search : seconds.setImage) += time.milliseconds / 1000.0;
    }
    return seconds;
}

/// Measures what was found and records it behind the stages.
void measure(const CommandOptions& options, Inspection& inspection) {
    const qv_diagnosedResults& results = inspection.results;
    inspection.measurement = results.crossings.empty()
                                 ? measureStreets(options, inspection.image, results.singleStreets)
                                 : measureCrossings(options, inspection.image, results.crossings);
    recordMeasurement(inspection.image, inspection.measurement->tracks, inspection.records);
}

}  // namespace

void runInspection(const CommandOptions& options, const GreyImage& image, ImageReport& report, Inspection& inspection) {
    inspection.image = finderImage(options, image);
    try {
        runOrRefuse(options, image, [&] {
            qvStreetFinder finder(finderParams(options));
            FinderTrace trace(finder, options.trace);
            qf_diagnosedRun(finder, inspection.image, {}, inspection.records, inspection.results);
            recordPairsOfAnyPolarity(options, finder, inspection.records);
            recordRefusedPairs(options, finder, inspection.records);
            inspection.constants = constantsOf(qf_finderRecord(finder));
            report.traceFailed = !trace.isWhole();
            if (options.measure) measure(options, inspection);
        });
    } catch (const Refusal& error) {
        inspection.refusal = error.what();
        throw;
    }
    report.crossings = crossingsOf(inspection.results.crossings);
    report.seconds = secondsOf(inspection.results.times);
    if (inspection.measurement) {
        // Of streets that were measured for want of crossings only the page tells.
        if (!report.crossings->empty()) addMeasurement(*inspection.measurement, report);
        report.seconds->measure = inspection.measurement->seconds;
    }
    if (options.overlays.empty()) return;
    report.drawing = drawCrossings(inspection.results.crossings, inspection.image.imageFromClientXform());
    if (inspection.measurement) {
        addDrawing(drawMeasuredCrossings(inspection.results.crossings, inspection.measurement->crossings),
                   report.drawing);
    }
}

Page inspectionPage(const CommandOptions& options, const ImageReport& report, const Inspection& inspection) {
    Page page;
    page.title = report.image;
    page.subtitle = std::string("qvstreet inspect, ") + nameOf(options.mode) + " mode, " +
                    std::to_string(report.width) + " x " + std::to_string(report.height) + " pels, " +
                    withDigits(millisecondsOf(inspection.results.times), 1) + " ms";
    page.isGood = hasCrossingInside(inspection);
    page.verdict = verdictOf(inspection);
    page.remarks = remarksOf(options, inspection);
    page.findings = findingsOf(inspection.records);
    page.view = {inspection.image, layersOf(inspection)};
    page.results = {crossingsTable(inspection.results.crossings), streetsTable(inspection.results.singleStreets)};
    if (inspection.measurement) {
        const Measurement& measurement = *inspection.measurement;
        page.results.push_back(measurement.crossings.empty() ? measuredStreetsTable(measurement.streets)
                                                             : measuredCrossingsTable(measurement.crossings));
    }
    page.records = &inspection.records;
    page.appendix = {optionsTable(options)};
    page.appendix.insert(page.appendix.end(), inspection.constants.begin(), inspection.constants.end());
    std::vector<qv_stageTime> times = inspection.results.times;
    if (inspection.measurement) times.push_back({L"Measurement", 1000.0 * inspection.measurement->seconds});
    page.appendix.push_back(timesTable(times));
    return page;
}

}  // namespace qvtool
