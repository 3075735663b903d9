#include "tools/blank_run.h"

#include "qvstreet/blankregion/blank_region_defs.h"
#include "qvstreet/blankregion/blank_region_finder.h"
#include "qvstreet/blankregion/blank_region_results.h"
#include "qvstreet/platform/exceptions.h"
#include "qvstreet/platform/pel_buffer.h"
#include "tools/finder_run.h"
#include "tools/image_file.h"
#include "tools/text.h"
#include "tools/text_file.h"

#include <new>
#include <vector>

namespace qvtool {
namespace {

// The finder counts the pels of a region's length in 16 bits. Above this a count could wrap to a small one, and an end
// would be looked for in the wrong places without a word.
constexpr long kMaxStreetLength = 65536;

// Room for 256 numbers of 17 digits many times over; an endless device ends here.
constexpr std::size_t kMaxWeightsBytes = std::size_t{1} << 20;

constexpr std::uint32_t kEveryStage = qvDiagDefs::eInput | qvDiagDefs::eResults | qvDiagDefs::eIntermediate;

constexpr const char* kAllowedWeights = "allowed are 256 numbers from 0 to 1, separated by white space";

std::string sizeOf(const GreyImage& image) {
    return std::to_string(image.width) + " x " + std::to_string(image.height) + " pels";
}

[[noreturn]] void failWeights(const CommandOptions& options, const std::string& reason) {
    failInput("--grey-weights", options.greyWeights, reason);
}

/// Infinities and NaN count as numbers here, so that the finder's own words about them reach the user.
std::vector<double> weightsOf(const CommandOptions& options) {
    if (options.greyWeights.empty()) return std::vector<double>(256, 1.0);
    const std::string text =
        readTextFile({"--grey-weights", options.greyWeights, kMaxWeightsBytes, kAllowedWeights, false});
    std::vector<double> weights;
    for (const std::string_view word : splitAtWhiteSpace(text)) {
        const std::optional<double> weight = parseAnyNumber(word);
        if (!weight) {
            const std::string shown(word.substr(0, 40));
            failWeights(options, "its number " + std::to_string(weights.size() + 1) + " is " + inQuotes(shown) + "; " +
                                     kAllowedWeights);
        }
        weights.push_back(*weight);
    }
    return weights;
}

/// What the finder says about weights, and which of them it means.
std::string aboutWeights(const std::string& reason, const std::vector<double>& weights) {
    if (weights.size() != 256) {
        return reason + " (the file has " + std::to_string(weights.size()) + " numbers; " + kAllowedWeights + ")";
    }
    for (std::size_t level = 0; level < weights.size(); ++level) {
        if (weights[level] >= 0.0 && weights[level] <= 1.0) continue;
        return reason + " (the number for grey level " + std::to_string(level) + " is " + shortest(weights[level]) +
               ")";
    }
    return reason;
}

qvStreetBlankRegionFinderParams paramsOf(const CommandOptions& options) {
    const bool vertical = options.direction == Direction::vertical;
    const std::vector<double> weights = weightsOf(options);
    try {
        return qvStreetBlankRegionFinderParams(
            options.streetWidth, options.minLength, options.maxResults, weights,
            vertical ? qvStreetBlankRegionFinderDefs::eVertical : qvStreetBlankRegionFinderDefs::eHorizontal);
    } catch (const qvStreetBlankRegionFinderDefs::BadParams& error) {
        failWeights(options, aboutWeights(error.what(), weights));
    }
}

std::optional<GreyImage> maskOf(const CommandOptions& options) {
    if (options.mask.empty()) return std::nullopt;
    try {
        return readImageFile(options.mask);
    } catch (const ImageError& error) {
        failInput("--mask", options.mask, error.what());
    }
}

qvPelBuffer_const<unsigned char> bufferOf(const GreyImage& image) {
    return qvPelBuffer_const<unsigned char>(image.pels.data(), image.width, image.height, image.width);
}

BlankRegion regionOf(const qvStreetBlankRegionFinderResult& result) {
    const qvPelRect& rect = result.blankRect();
    BlankRegion region;
    region.x = rect.ul().first;
    region.y = rect.ul().second;
    region.width = rect.width();
    region.height = rect.height();
    region.score = result.score();
    region.blankness = result.blanknessScore();
    return region;
}

void search(const BlankInputs& inputs, const GreyImage& image, ImageReport& report, qvDiagObject* records) {
    qvStreetBlankRegionFinderResultSet found;
    if (inputs.mask) {
        qfStreetBlankRegionFinderRun(bufferOf(image), bufferOf(*inputs.mask), inputs.params, found, records,
                                     kEveryStage);
    } else {
        qfStreetBlankRegionFinderRun(bufferOf(image), inputs.params, found, records, kEveryStage);
    }
    std::vector<BlankRegion> regions;
    for (const qvStreetBlankRegionFinderResult& result : found.results()) regions.push_back(regionOf(result));
    Seconds seconds;
    seconds.search = found.time();
    report.blankRegions = std::move(regions);
    report.seconds = seconds;
}

std::string maskNote(const CommandOptions& options, const BlankInputs& inputs, const GreyImage& image) {
    if (!inputs.mask) return {};
    std::string note =
        " (--mask " + inQuotes(options.mask) + " has " + sizeOf(*inputs.mask) + ", the image has " + sizeOf(image);
    if (options.direction == Direction::vertical) {
        note += "; with --direction v the mask is laid over the transposed image, so both have to be square";
    }
    return note + ")";
}

std::string windowNote(const CommandOptions& options, const GreyImage& image) {
    const std::string across = options.direction == Direction::vertical ? "width" : "height";
    const std::string along = options.direction == Direction::vertical ? "height" : "width";
    return " (the image has " + sizeOf(image) + "; allowed are --min-length up to its " + along +
           ", three quarters of --street-width up to its " + across +
           ", and regions of up to about 32750 pels; given are " + std::to_string(options.minLength) + " and " +
           std::to_string(options.streetWidth) + ")";
}

}  // namespace

BlankInputs loadBlankInputs(const CommandOptions& options) {
    qvStreetBlankRegionFinderParams params = paramsOf(options);
    return BlankInputs{std::move(params), maskOf(options)};
}

void runBlank(const CommandOptions& options, const BlankInputs& inputs, const GreyImage& image, ImageReport& report,
              qvDiagObject* records) {
    const bool vertical = options.direction == Direction::vertical;
    if ((vertical ? image.height : image.width) > kMaxStreetLength) {
        throw Refusal("is too large for the finder (the image has " + sizeOf(image) + "; allowed are up to " +
                      std::to_string(kMaxStreetLength) + " along the street)");
    }
    const std::string refused = "was refused by the finder: ";
    try {
        search(inputs, image, report, records);
    } catch (const qvStreetBlankRegionFinderDefs::BadParams& error) {
        throw Refusal(refused + error.what() + maskNote(options, inputs, image));
    } catch (const qvPel::SizeMismatch& error) {
        throw Refusal(refused + error.what() + maskNote(options, inputs, image));
    } catch (const qvPel::BadSize& error) {
        throw Refusal(refused + error.what() + windowNote(options, image));
    } catch (const std::bad_alloc&) {
        throw Refusal(refused + "it needs more memory than there is");
    } catch (const std::exception& error) {
        throw Refusal(refused + error.what());
    }
}

}  // namespace qvtool
