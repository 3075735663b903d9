#include "qvstreet/qvstreet.h"
#include "tests/fuzz/fuzz_input.h"

// Any parameters, mask and small image of a street end in regions inside the image or in an exception that the interface
// names; after an exception the result set is as it was.
//
// Layout of an input: street width, shortest length, most results (whole numbers); a byte each of direction, kind of mask,
// kind of weights, width, height; the offset; the pels.

namespace {

using qvtest::FuzzInput;
using qvtest::require;
using Image = qvPelBuffer_const<unsigned char>;
using Results = qvStreetBlankRegionFinderResultSet;

constexpr long kMostPels = 160;

std::vector<double> weightsOf(unsigned kind) {
    std::vector<double> weights(kind == 9 ? 255 : 256, 1.0);
    if (kind == 1) std::fill(weights.begin(), weights.end(), 0.0);
    if (kind == 2) {
        for (std::size_t i = 0; i < weights.size(); ++i) weights[i] = static_cast<double>(i) / 255.0;
    }
    if (kind == 3) weights[100] = std::numeric_limits<double>::quiet_NaN();
    return weights;
}

/// 0 and 255, and something else where the kind says so.
std::vector<unsigned char> maskOf(unsigned kind, const std::vector<unsigned char>& pels) {
    std::vector<unsigned char> mask(pels.size(), 255);
    for (std::size_t i = 0; i < pels.size(); ++i) {
        if (kind % 4 == 2 && pels[i] > 200) mask[i] = 0;
        if (kind % 4 == 3 && i % (kind / 4 + 2) == 0) mask[i] = 0;
    }
    if (kind == 255) mask.back() = 1;
    return mask;
}

void checkRegions(const Results& results, const qvPelRect& window, const qvStreetBlankRegionFinderParams& params) {
    require(results.numResults() <= params.numResults(), "at most numResults regions");
    for (const qvStreetBlankRegionFinderResult& one : results.results()) {
        const qvPelRect rect = one.blankRect();
        require(one.score() > 0.0 && one.score() <= 1.0, "scores above 0, at most 1");
        require(one.blanknessScore() >= 0.0 && one.blanknessScore() <= 1.0, "blankness from 0 to 1");
        require(rect.width() > 0 && rect.height() > 0, "regions have pels");
        require(rect.ul().first >= window.ul().first && rect.ul().second >= window.ul().second &&
                    rect.lr().first <= window.lr().first && rect.lr().second <= window.lr().second,
                "regions lie in the image");
    }
}

void run(FuzzInput input) {
    const long streetWidth = input.whole();
    const long minLength = input.whole();
    const long most = input.whole();
    const auto direction = static_cast<qvStreetBlankRegionFinderDefs::streetDirection>(input.byte() % 3);
    const unsigned maskKind = input.byte();
    const qvStreetBlankRegionFinderParams params(streetWidth, minLength, most, weightsOf(input.byte() % 10), direction);
    const long columns = static_cast<long>(input.byte()) % kMostPels + 1;
    const long rows = static_cast<long>(input.byte()) % kMostPels + 1;
    const long offset = input.whole();
    const std::vector<unsigned char> pels = qvtest::drawPels(input, columns, rows);
    const std::vector<unsigned char> maskPels = maskOf(maskKind, pels);
    Image image(pels.data(), columns, rows, columns);
    Image mask(maskPels.data(), columns, rows, columns);
    image.offset(offset, 3 - offset / 2);
    mask.offset(offset, maskKind == 254 ? 0 : 3 - offset / 2);

    Results results;
    results.init(std::vector<qvStreetBlankRegionFinderResult>(2), 7.0);
    const Results before = results;
    qvDiagObject records;
    try {
        if (maskKind % 4 == 0) {
            qfStreetBlankRegionFinderRun(image, params, results, nullptr, 0);
        } else {
            qfStreetBlankRegionFinderRun(image, mask, params, results, maskKind % 8 == 1 ? &records : nullptr, ~0U);
        }
    } catch (const qvException&) {
        require(results == before && results.time() == before.time(), "a run that throws keeps the former content");
        throw;
    }
    checkRegions(results, image.window(), params);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    try {
        run(FuzzInput(data, size));
    } catch (const qvStreetBlankRegionFinderDefs::BadParams&) {
    } catch (const qvPel::BadSize&) {
    } catch (const qvPel::SizeMismatch&) {
    }
    return 0;
}
