#include "qvstreet/frontend/spectrum_records.h"

#include <algorithm>
#include <cmath>

#include "qvstreet/platform/diagnostic_cells.h"

namespace {

using Image = qvPelBuffer_const<unsigned char>;

constexpr long kOverlay = qvUITablet::eOverlayLayer;
constexpr double kQuarterTurn = 90.0;
constexpr double kSpectrumRange = 255.0;
// The profile begins at this direction; the half turn that counts lies within a quarter turn of 0.
constexpr double kProfileStart = -135.0;

qvVector<2> middleOf(long width, long height) {
    return qvVector<2>(static_cast<double>(width / 2) + 0.5, static_cast<double>(height / 2) + 0.5);
}

Image logarithmicPicture(const qvFrequencyBuffer& spectrum) {
    const qvPelBuffer<double> magnitude = spectrum.getMagnitudeImage(true);
    double strongest = 0.0;
    for (long y = 0; y < magnitude.height(); ++y)
        for (long x = 0; x < magnitude.width(); ++x)
            strongest = std::max(strongest, std::log1p(magnitude.pointToRow(y)[x]));
    const double scale = strongest > 0.0 ? kSpectrumRange / strongest : 0.0;
    qvPelBuffer<unsigned char> picture(magnitude.width(), magnitude.height());
    for (long y = 0; y < magnitude.height(); ++y)
        for (long x = 0; x < magnitude.width(); ++x) {
            const double grey = std::log1p(magnitude.pointToRow(y)[x]) * scale + 0.5;
            picture.pointToRow(y)[x] = static_cast<unsigned char>(std::clamp(qfTruncate(grey), 0L, 255L));
        }
    return picture;
}

void drawRing(const qv_spectrumState& state, const qv_angleFinderParams& params,
              const std::vector<qv_candAngle>& candidates, qvDiagRecord& record) {
    const qvPair<long> radii =
        ringRadii(state.spectrum.width(), params.innerRadiusFraction, params.outerRadiusFraction);
    const qvVector<2> middle = middleOf(state.spectrum.width(), state.spectrum.height());
    const double inner = static_cast<double>(radii.first);
    const double outer = static_cast<double>(radii.second);
    qvUITablet ring;
    ring.drawCircle(middle, inner, qvColor::greenColor, kOverlay, false);
    ring.hint(L"Inner radius " + qf_cell(radii.first) + L" frequency bins");
    ring.drawCircle(middle, outer, qvColor::greenColor, kOverlay, false);
    ring.hint(L"Outer radius " + qf_cell(radii.second) + L" frequency bins");
    record.sketch(ring.sketch(), qvDisplay::eImageCoordinates, L"Ring");

    qvUITablet peaks;
    for (const qv_candAngle& candidate : candidates)
        for (const double turn : {0.0, 2.0 * kQuarterTurn}) {
            const qvDegree direction(candidate.angle + turn);
            peaks.drawLineSeg(middle + qvVector<2>(inner, direction), middle + qvVector<2>(outer, direction),
                              qvColor::yellowColor, kOverlay);
            peaks.hint(qf_cell(candidate.angle) + L" degrees, score " + qf_cell(candidate.score));
        }
    record.sketch(peaks.sketch(), qvDisplay::eImageCoordinates, L"Peaks");
}

/// The part of a profile within a quarter turn of 0. @param first  direction of its first sample, degrees
qvDiagCurve countedPart(const qvPelBuffer_const<double>& profile, double first, double step) {
    qvDiagCurve curve;
    curve.step = step;
    curve.color = qvColor::blueColor;
    for (long k = 0; k < profile.width(); ++k) {
        const double direction = first + static_cast<double>(k) * step;
        if (!(direction >= -kQuarterTurn && direction < kQuarterTurn)) continue;
        if (curve.values.empty()) curve.start = direction;
        curve.values.push_back(profile.get(k, 0));
    }
    return curve;
}

qvDiagMark peakMark(const qv_candAngle& candidate) {
    qvDiagMark mark;
    mark.kind = qvDiagMark::ePoint;
    mark.from = candidate.angle;
    mark.to = candidate.score;
    mark.color = qvColor::redColor;
    mark.caption = qf_cell(candidate.angle) + L": " + qf_cell(candidate.score);
    return mark;
}

const wchar_t* const kSpectrumAxis = L"direction in the spectrum of the sampled square (degrees), across the streets";

const wchar_t* const kSearchedPlot = L"Band-Passed Profile";

/// Where a street direction, client frame, stands in the profile.
qvDiagMark directionMark(const qv_spectrumState& state, qvDegree direction, const qvColor& color,
                         const wchar_t* caption) {
    const qvRadian inImage = state.clientFromImage.inverse().mapAngle(direction);
    const qvDegree inSample = state.imageFromSample.inverse().mapAngle(inImage);
    // A peak lies at right angles to its lines, and half turns are alike.
    double across = std::fmod(inSample.toDouble() + kQuarterTurn, 2.0 * kQuarterTurn);
    if (across < -kQuarterTurn) across += 2.0 * kQuarterTurn;
    if (across >= kQuarterTurn) across -= 2.0 * kQuarterTurn;
    qvDiagMark mark;
    mark.kind = qvDiagMark::ePosition;
    mark.from = across;
    mark.color = color;
    mark.caption = caption;
    return mark;
}

/// How many leading scores reach `ratio` of the first.
std::size_t leadingCount(const std::vector<double>& scores, double ratio) {
    std::size_t count = 0;
    while (count < scores.size() && scores[count] / scores.front() >= ratio) ++count;
    return count;
}

}  // namespace

void recordSpectrum(const qv_spectrumState& state, qvDiagObject& diagObject) {
    qvDiagRecord& square = diagObject.newDiagRecord();
    square.recordAnnotation(L"Sampled Square");
    Image sampled = state.fftImage;
    const qvVector<2> offset(static_cast<double>(state.imageOffset.first),
                             static_cast<double>(state.imageOffset.second));
    sampled.clientFromImageXform(state.clientFromImage *
                                 qvXform<2>(state.imageFromSample.matrix(), state.imageFromSample.trans() + offset));
    square.image(sampled, true);
    square.text(qf_cell(state.imageSize.first) + L" by " + qf_cell(state.imageSize.second) + L" pels sampled as " +
                    qf_cell(state.fftImage.width()) + L" by " + qf_cell(state.fftImage.height()),
                L"Size");

    qvDiagRecord& spectrum = diagObject.newDiagRecord();
    spectrum.recordAnnotation(L"Spectrum");
    spectrum.image(logarithmicPicture(state.spectrum), true);
}

void recordAngles(const qv_spectrumState& state, const qv_angleFinderParams& params,
                  const std::vector<qv_candAngle>& candidates, const std::vector<qvDegree>& angles,
                  qvDiagObject& diagObject) {
    qvDiagRecord* const spectrum = qf_lastRecord(diagObject, L"Spectrum");
    if (spectrum != nullptr) drawRing(state, params, candidates, *spectrum);

    const qvPair<long> radii =
        ringRadii(state.spectrum.width(), params.innerRadiusFraction, params.outerRadiusFraction);
    const long samples = static_cast<long>(-2.0 * kProfileStart) * params.samplesPerDegree;
    const qvPelBuffer<double> profile = polarSampleMagnitude(state.spectrum.getMagnitudeImage(true),
                                                             static_cast<short>(samples), radii.first, radii.second);
    double firstPosition = 0.0;
    const qvPelBuffer<double> filtered = bandPassed(profile, params.narrowSigma, params.wideSigma, firstPosition);
    const double step = 1.0 / static_cast<double>(params.samplesPerDegree);

    qvDiagRecord& record = diagObject.newDiagRecord();
    record.recordAnnotation(L"Angle Profile");
    qvDiagPlot searched;
    searched.label = kSearchedPlot;
    searched.xTitle = kSpectrumAxis;
    searched.yTitle = L"magnitude";
    searched.curves.push_back(countedPart(filtered, kProfileStart + firstPosition * step, step));
    searched.curves.back().name = L"band-passed";
    qvDiagMark threshold;
    threshold.kind = qvDiagMark::eLevel;
    threshold.from = params.peakThreshold;
    threshold.color = qvColor::redColor;
    threshold.caption = L"threshold " + qf_cell(params.peakThreshold);
    searched.marks.push_back(threshold);
    for (const qv_candAngle& candidate : candidates) searched.marks.push_back(peakMark(candidate));
    record.plot(searched);

    qvDiagPlot sums;
    sums.label = L"Sum over the Ring";
    sums.xTitle = kSpectrumAxis;
    sums.yTitle = L"magnitude";
    // Sample i of the profile stands at i + 0.5.
    sums.curves.push_back(countedPart(profile, kProfileStart + 0.5 * step, step));
    sums.curves.back().name = L"sum";
    record.plot(sums);

    qvDiagTable table;
    table.label = L"Angles";
    table.heading =
        qf_cells(L"rank", L"direction in the spectrum (degrees)", L"angle of the streets (client degrees)", L"score");
    for (std::size_t i = 0; i < candidates.size(); ++i)
        table.rows.push_back(qf_cells(i + 1, candidates[i].angle, angles[i].toDouble(), candidates[i].score));
    qf_attachTable(record, table);
    if (candidates.empty()) record.text(L"No peak of the profile reaches the threshold", L"Angles");
}

void recordStreetDirections(const qv_spectrumState& state, const Image& image, const std::vector<qvDegree>& angles,
                            const std::vector<double>& scores, double ratio, qvDegree nearerHorizontal,
                            qvDegree nearerVertical, qvDiagObject& diagObject) {
    qvDiagRecord* const profile = qf_lastRecord(diagObject, L"Angle Profile");
    if (profile != nullptr)
        profile->addMarks(kSearchedPlot, {directionMark(state, nearerHorizontal, qvColor::greenColor, L"direction 0"),
                                          directionMark(state, nearerVertical, qvColor::dkGreenColor, L"direction 1")});

    const std::size_t count = leadingCount(scores, ratio);
    qvDiagRecord& record = diagObject.newDiagRecord();
    record.recordAnnotation(L"Street Directions");
    record.image(image, true);
    record.text(count == 0   ? L"No angle: the axes of the image stand in"
                : count == 1 ? L"One angle: the other direction is its perpendicular"
                             : L"The pair nearest to a right angle",
                L"Choice");
    record.text(qf_cell(nearerHorizontal.toDouble()) + L" degrees", L"Direction 0, nearer the horizontal");
    record.text(qf_cell(nearerVertical.toDouble()) + L" degrees", L"Direction 1, nearer the vertical");

    const qvPelRect window = image.window();
    const double width = static_cast<double>(window.width());
    const double height = static_cast<double>(window.height());
    const qvVector<2> corner(static_cast<double>(window.ul().first), static_cast<double>(window.ul().second));
    const qvXform<2>& clientFromImage = image.clientFromImageXform();
    const qvVector<2> middle = clientFromImage * (corner + qvVector<2>(width, height) * 0.5);
    qvUITablet tablet;
    const auto drawDirection = [&](qvDegree direction, double length, const qvColor& color, const wchar_t* hint) {
        const qvVector<2> half(0.5 * length, direction);
        tablet.drawLineSeg(middle - half, middle + half, color, kOverlay);
        tablet.hint(hint);
    };
    drawDirection(nearerHorizontal, clientFromImage.mapVector(qvVector<2>(width, 0.0)).len(), qvColor::greenColor,
                  L"Direction 0");
    drawDirection(nearerVertical, clientFromImage.mapVector(qvVector<2>(0.0, height)).len(), qvColor::blueColor,
                  L"Direction 1");
    record.sketch(tablet.sketch(), qvDisplay::eClientCoordinates, L"Directions");

    qvDiagTable table;
    table.label = L"Angles";
    table.heading = qf_cells(L"angle (client degrees)", L"score", L"of the best", L"needed", L"use");
    for (std::size_t i = 0; i < angles.size(); ++i) {
        const bool isFlat = count > 0 && angles[i] == nearerHorizontal;
        const bool isUpright = count > 0 && angles[i] == nearerVertical;
        const wchar_t* const use = i >= count  ? L"too weak"
                                   : isFlat    ? L"direction 0"
                                   : isUpright ? L"direction 1"
                                   : count > 1 ? L"not in the best pair"
                                               : L"chosen";
        table.rows.push_back(qf_cells(angles[i].toDouble(), scores[i], scores[i] / scores.front(), ratio, use));
    }
    qf_attachTable(record, table);
}
