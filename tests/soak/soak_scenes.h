/// @file
/// Small images of all kinds with parameters to run them, and results as text that is equal only where every bit is.
///
/// The images are painted with additions, multiplications, divisions and square roots alone, so that every compiler, every
/// optimisation and every processor paints the same pels.
#ifndef QVSTREET_TESTS_SOAK_SOAK_SCENES_H
#define QVSTREET_TESTS_SOAK_SOAK_SCENES_H

#include <cstdint>
#include <string>
#include <vector>

#include "qvstreet/blankregion/blank_region_finder.h"
#include "qvstreet/streetfinder/street_finder.h"

namespace qvtest {

struct SoakScene {
    /// Names what it is, for messages.
    std::string name;
    /// Client transform and offset are set.
    qvPelBuffer_const<unsigned char> image;
    qvStreetFinderParams params;
};

/// Fifteen wafers, blank and noisy images that differ in all that matters: every mode with every polarity, sides of 40 to
/// 300, oblong ones, mirrored, rotated and scaled client frames. Those named "wafer" give results.
const std::vector<SoakScene>& soakScenes();

/// One of endlessly many: mode and polarity change with `number`, all else is drawn at random from it. One in eight is
/// blank, one in eight noise, the others are wafers.
SoakScene soakScene(std::uint64_t number);

/// The image of one street for the blank region finder.
struct SoakStrip {
    std::string name;
    qvPelBuffer_const<unsigned char> image;
    /// Unbound where the run takes none.
    qvPelBuffer_const<unsigned char> mask;
    qvStreetBlankRegionFinderParams params;
};

/// One of endlessly many: horizontal and vertical streets with and without a mask, some entirely blank or all structure.
SoakStrip soakStrip(std::uint64_t number);

/// What a finder answers.
struct SoakOutcome {
    /// The message of a `qvPel::BadSize` from `setImage`: where noise shows two directions between which no rectangle of the
    /// image lies, there is nothing to sample. Empty of all wafers.
    std::string refusal;
    std::vector<qvRadian> angles;
    std::vector<qvStreetFinderStreetCrossResult> crossings;
    std::vector<qvStreetFinderSingleStreetResult> streets;
};

/// `getAngles`, `find` and `findSingleStreet`.
SoakOutcome soakSearches(qvStreetFinder& finder);

/// `setImage` and the searches.
SoakOutcome soakRun(qvStreetFinder& finder, const qvPelBuffer_const<unsigned char>& image);

/// The same of a finder of its own.
SoakOutcome soakRun(const SoakScene& scene);

/// The regions of a strip.
qvStreetBlankRegionFinderResultSet soakRun(const SoakStrip& strip);

/// Every double of a result as the 16 hexadecimal digits of its bits, or "nan", and a blank; the whole numbers in decimal.
/// The time of a blank region run stays out.
std::string hexOf(double value);
std::string hexOf(const qvStreetFinderStreetCrossResult& result);
std::string hexOf(const qvStreetFinderSingleStreetResult& result);
std::string hexOf(const std::vector<qvRadian>& angles);
std::string hexOf(const std::vector<qvStreetFinderStreetCrossResult>& results);
std::string hexOf(const std::vector<qvStreetFinderSingleStreetResult>& results);
std::string hexOf(const SoakOutcome& outcome);
std::string hexOf(const qvStreetBlankRegionFinderResultSet& results);

/// FNV-1a of a text, to be continued by handing in the hash of what came before.
std::uint64_t hashOf(const std::string& text, std::uint64_t before = 14695981039346656037u);

/// 16 digits.
std::string hexDigits(std::uint64_t bits);

}  // namespace qvtest

#endif
