#ifndef QVSTREET_TESTS_STREETFINDER_FINDER_RUNS_H
#define QVSTREET_TESTS_STREETFINDER_FINDER_RUNS_H

#include <algorithm>
#include <cmath>
#include <vector>

#include "qvstreet/streetfinder/street_finder.h"
#include "tests/streetfinder/painted_wafer.h"

// Short ways to run a finder, and its results as plain numbers that can be compared bit by bit.

namespace qvtest {

using Crossings = std::vector<qvStreetFinderStreetCrossResult>;
using Streets = std::vector<qvStreetFinderSingleStreetResult>;

/// Streets 18 wide in x and 30 in y, edges 5 wide; all times `unitsPerPel`.
inline qvStreetFinderParams finderParams(qvStreetFinderDefs::waferType mode,
                                         qvStreetFinderDefs::streetPolarity polarity = qvStreetFinderDefs::eAnyPolarity,
                                         long maxResults = 20, double unitsPerPel = 1.0) {
    const double u = unitsPerPel;
    return qvStreetFinderParams(qvPair<double>(18.0 * u, 30.0 * u), qvPair<double>(9.0 * u, 27.0 * u),
                                qvPair<double>(15.0 * u, 45.0 * u), mode, 5.0 * u, polarity, maxResults);
}

inline Crossings crossingsFrom(qvStreetFinder& finder) {
    Crossings results;
    finder.find(results);
    return results;
}

inline Streets streetsFrom(qvStreetFinder& finder) {
    Streets results;
    finder.findSingleStreet(results);
    return results;
}

inline qvPelBuffer_const<unsigned char> uniformImage(long width, long height, unsigned char grey) {
    const qvPelBuffer<unsigned char> image(width, height);
    for (long y = 0; y < height; ++y) std::fill_n(image.pointToRow(y), width, grey);
    return image;
}

/// A score that is not a number, as one that equals itself and that no result has.
inline double comparable(double score) { return std::isnan(score) ? -HUGE_VAL : score; }

inline void append(std::vector<double>& numbers, const std::vector<qvLineSeg>& segments) {
    numbers.push_back(static_cast<double>(segments.size()));
    for (const qvLineSeg& segment : segments)
        for (const qvVector<2>& end : {segment.p1(), segment.p2()}) {
            numbers.push_back(end.x());
            numbers.push_back(end.y());
        }
}

inline std::vector<double> numbersOf(const Crossings& results) {
    std::vector<double> numbers;
    for (const qvStreetFinderStreetCrossResult& result : results) {
        for (const qvVector<2>& point :
             {result.crossing(), result.ulCorner(), result.urCorner(), result.llCorner(), result.lrCorner()}) {
            numbers.push_back(point.x());
            numbers.push_back(point.y());
        }
        numbers.push_back(comparable(result.score()));
        numbers.push_back(result.horizontalAngle().toDouble());
        numbers.push_back(result.verticalAngle().toDouble());
        numbers.push_back(static_cast<double>(result.statusFlags()));
        append(numbers, result.lineSegs());
    }
    return numbers;
}

inline std::vector<double> numbersOf(const Streets& results) {
    std::vector<double> numbers;
    for (const qvStreetFinderSingleStreetResult& result : results) {
        numbers.push_back(comparable(result.score()));
        numbers.push_back(result.angle().toDouble());
        numbers.push_back(static_cast<double>(result.statusFlags()));
        append(numbers, result.lineSegs());
    }
    return numbers;
}

/// Everything that the searches answer.
inline std::vector<double> allNumbersFrom(qvStreetFinder& finder) {
    std::vector<double> numbers = numbersOf(streetsFrom(finder));
    const std::vector<double> crossings = numbersOf(crossingsFrom(finder));
    numbers.insert(numbers.end(), crossings.begin(), crossings.end());
    std::vector<qvRadian> angles;
    finder.getAngles(1000, angles);
    for (const qvRadian angle : angles) numbers.push_back(angle.toDouble());
    return numbers;
}

/// The same of a new finder and this image.
inline std::vector<double> allNumbersOf(const qvStreetFinderParams& params,
                                        const qvPelBuffer_const<unsigned char>& image) {
    qvStreetFinder finder(params);
    finder.setImage(image);
    return allNumbersFrom(finder);
}

}  // namespace qvtest

#endif
