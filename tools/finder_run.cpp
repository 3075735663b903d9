#include "tools/finder_run.h"

#include "qvstreet/platform/timer.h"
#include "qvstreet/qvstreet.h"
#include "qvstreet/streetfinder/street_finder_access.h"
#include "qvstreet/streetfinder/street_finder_impl.h"
#include "tools/measured_run.h"
#include "tools/search_hints.h"
#include "tools/sketch_measured.h"
#include "tools/sketch_results.h"
#include "tools/text.h"
#include "tools/trace_file.h"

#include <cmath>
#include <new>

namespace qvtool {
namespace {

// The finder counts the samples of a side in 16 bits with a sign. Beyond twice that the count would wrap to a small
// one, and an image full of streets would seem to have none.
constexpr long kMaxSearchedSide = 32767;
// Samples of a caliper of `ridge` mode for each unit of the nominal width.
constexpr long kRidgeSamplesPerUnit = 24;

qvStreetFinderDefs::waferType runModeOf(Mode mode) {
    switch (mode) {
        case Mode::edge:
            return qvStreetFinderDefs::eEdgePairWafer;
        case Mode::ridge:
            return qvStreetFinderDefs::eRidgeWafer;
        case Mode::coarse:
            break;
    }
    return qvStreetFinderDefs::eCoarseRidgeWafer;
}

qvStreetFinderDefs::streetPolarity polarityOf(Polarity polarity) {
    switch (polarity) {
        case Polarity::any:
            return qvStreetFinderDefs::eAnyPolarity;
        case Polarity::dark:
            return qvStreetFinderDefs::eDarkOnLight;
        case Polarity::light:
            break;
    }
    return qvStreetFinderDefs::eLightOnDark;
}

Position positionOf(const qvVector<2>& v) { return {v.x(), v.y()}; }

double degreesOf(qvRadian angle) { return qvDegree(angle).toDouble(); }

std::vector<Segment> segmentsOf(const std::vector<qvLineSeg>& lines) {
    std::vector<Segment> segments;
    for (const qvLineSeg& line : lines) segments.push_back({positionOf(line.p1()), positionOf(line.p2())});
    return segments;
}

Crossing crossingOf(const qvStreetFinderStreetCrossResult& result) {
    Crossing crossing;
    crossing.centre = positionOf(result.crossing());
    crossing.score = result.score();
    crossing.horizontalDegrees = degreesOf(result.horizontalAngle());
    crossing.verticalDegrees = degreesOf(result.verticalAngle());
    crossing.ul = positionOf(result.ulCorner());
    crossing.ur = positionOf(result.urCorner());
    crossing.ll = positionOf(result.llCorner());
    crossing.lr = positionOf(result.lrCorner());
    crossing.segments = segmentsOf(result.lineSegs());
    crossing.fromEdges = result.statusFlags() == qvStreetFinderDefs::eStreetFromEdges;
    return crossing;
}

Street streetOf(const qvStreetFinderSingleStreetResult& result) {
    Street street;
    street.score = result.score();
    street.degrees = degreesOf(result.angle());
    street.segments = segmentsOf(result.lineSegs());
    street.fromEdges = result.statusFlags() == qvStreetFinderDefs::eStreetFromEdges;
    return street;
}

std::vector<Street> streetsOf(const std::vector<qvStreetFinderSingleStreetResult>& results) {
    std::vector<Street> streets;
    for (const qvStreetFinderSingleStreetResult& result : results) streets.push_back(streetOf(result));
    return streets;
}

std::vector<ScoredAngle> findAngles(qvStreetFinder& finder, long maxResults) {
    std::vector<qvRadian> found;
    finder.getAngles(maxResults, found);
    const std::vector<double>& scores = qf_finderRecord(finder).angleScores;
    std::vector<ScoredAngle> angles;
    for (std::size_t i = 0; i < found.size(); ++i) angles.push_back({degreesOf(found[i]), scores.at(i)});
    return angles;
}

void search(const CommandOptions& options, const GreyImage& image, ImageReport& report) {
    const qvPelBuffer_const<unsigned char> buffer = finderImage(options, image);
    qvStreetFinder finder(finderParams(options));
    FinderTrace trace(finder, options.trace);
    Seconds seconds;
    qvTimer timer(true);
    finder.setImage(buffer);
    timer.stop();
    seconds.setImage = timer.sec();

    std::vector<qvStreetFinderStreetCrossResult> crossings;
    std::vector<qvStreetFinderSingleStreetResult> streets;
    timer.start();
    switch (options.subcommand) {
        case Subcommand::find:
            finder.find(crossings);
            report.crossings = crossingsOf(crossings);
            break;
        case Subcommand::streets:
            finder.findSingleStreet(streets);
            report.streets = streetsOf(streets);
            break;
        case Subcommand::angles:
            report.angles = findAngles(finder, options.maxResults);
            break;
        case Subcommand::inspect:
        case Subcommand::blank:
            // They have runs of their own; they never come here.
            break;
    }
    timer.stop();
    seconds.search = timer.sec();
    report.seconds = seconds;
    const bool isFind = options.subcommand == Subcommand::find;
    Measurement measurement;
    if (options.measure) {
        measurement = isFind ? measureCrossings(options, buffer, crossings) : measureStreets(options, buffer, streets);
        addMeasurement(measurement, report);
    }
    report.traceFailed = !trace.isWhole();
    report.hints = hintsOf(options, finder, !crossings.empty() || !streets.empty());
    if (options.overlays.empty()) return;
    if (report.crossings) report.drawing = drawCrossings(crossings, buffer.imageFromClientXform());
    if (report.streets) report.drawing = drawStreets(streets, buffer.imageFromClientXform());
    if (options.measure) {
        addDrawing(isFind ? drawMeasuredCrossings(crossings, measurement.crossings)
                          : drawMeasuredStreets(streets, measurement.streets),
                   report.drawing);
    }
}

/// The finder's message says what it does not like; the option behind it is added here.
std::string withOption(const CommandOptions& options, const std::string& reason) {
    const std::string message = "was refused by the finder: " + reason;
    if (!options.clientGiven) return message;
    const double degrees = std::atan2(options.client[2], options.client[0]) * 180.0 / std::acos(-1.0);
    return message + " (--client turns x by " + shortest(degrees) + " degrees; allowed are -5 to 5)";
}

std::string sizeNote(const GreyImage& image) {
    return " (the image has " + std::to_string(image.width) + " x " + std::to_string(image.height) +
           " pels; allowed are sides of up to about " + std::to_string(kMaxSearchedSide) + ")";
}

/// What to do about a number of samples that the finder does not take: one too large for its 16 bits, or none at all.
std::string badSizeNote(const CommandOptions& options, const GreyImage& image) {
    const bool hasCalipers = options.subcommand == Subcommand::find || options.subcommand == Subcommand::inspect;
    if (hasCalipers && options.mode == Mode::ridge &&
        kRidgeSamplesPerUnit * std::max(options.widthX, options.widthY) > kMaxSearchedSide)
        return "; --mode ridge wants " + std::to_string(kRidgeSamplesPerUnit) + " times --width below " +
               std::to_string(kMaxSearchedSide + 1);
    // However turned, an image is less than twice as long as its longer side.
    if (std::max(image.width, image.height) > kMaxSearchedSide / 2) return sizeNote(image);
    return "; streets along a diagonal of the image, or two directions nearly alike, leave no rectangle for their "
           "profile (the image has " +
           std::to_string(image.width) + " x " + std::to_string(image.height) + " pels); try another crop";
}

}  // namespace

qvStreetFinderParams finderParams(const CommandOptions& options) {
    return qvStreetFinderParams(qvPair<double>(options.widthX, options.widthY),
                                qvPair<double>(options.rangeX.low, options.rangeX.high),
                                qvPair<double>(options.rangeY.low, options.rangeY.high), runModeOf(options.mode),
                                options.sharpness, polarityOf(options.polarity), options.maxResults);
}

qvPelBuffer_const<unsigned char> finderImage(const CommandOptions& options, const GreyImage& image) {
    qvPelBuffer_const<unsigned char> buffer(image.pels.data(), image.width, image.height, image.width);
    const std::array<double, 6>& client = options.client;
    buffer.clientFromImageXform(
        qvXform<2>(qvMatrix<2>(client[0], client[1], client[2], client[3]), qvVector<2>(client[4], client[5])));
    return buffer;
}

std::vector<Crossing> crossingsOf(const std::vector<qvStreetFinderStreetCrossResult>& results) {
    std::vector<Crossing> crossings;
    for (const qvStreetFinderStreetCrossResult& result : results) crossings.push_back(crossingOf(result));
    return crossings;
}

void runOrRefuse(const CommandOptions& options, const GreyImage& image, const std::function<void()>& work) {
    if (image.width > kMaxSearchedSide || image.height > kMaxSearchedSide) {
        throw Refusal("is too large for the finder" + sizeNote(image));
    }
    try {
        work();
    } catch (const qvStreetFinderDefs::BadParams& error) {
        throw Refusal(withOption(options, error.what()));
    } catch (const qvPel::BadSize& error) {
        throw Refusal(std::string("was refused by the finder: ") + error.what() + badSizeNote(options, image));
    } catch (const qvMatrixErr::Singular& error) {
        // A margin of 5 pels is taken off each length before it is sampled: 5 pels leave none.
        const bool isSize = image.width == 5 || image.height == 5;
        throw Refusal(withOption(options, error.what()) + " (the image has " + std::to_string(image.width) + " x " +
                      std::to_string(image.height) + " pels" +
                      (isSize ? "; sides of 5 pels leave nothing to sample, allowed are all others)" : ")"));
    } catch (const std::bad_alloc&) {
        throw Refusal("was refused by the finder: it needs more memory than there is");
    } catch (const std::exception& error) {
        throw Refusal(std::string("was refused by the finder: ") + error.what());
    }
}

void runFinder(const CommandOptions& options, const GreyImage& image, ImageReport& report) {
    runOrRefuse(options, image, [&] { search(options, image, report); });
}

}  // namespace qvtool
