#include "qvstreet/qvstreet.h"
#include "tests/fuzz/find_streets.h"
#include "tests/fuzz/fuzz_input.h"

// Any sequence of calls on the two parameter classes leaves objects that hold what their interfaces promise, changed
// whole or not at all; and a search with any such object and any client transform ends.
//
// Layout of an input: the numbers of a client transform, then one byte for each call and what the call takes.

namespace {

using qvtest::FuzzInput;
using qvtest::require;
using Finder = qvStreetFinderParams;
using Blank = qvStreetBlankRegionFinderParams;

qvPair<double> pairFrom(FuzzInput& input) {
    const double first = input.number();
    return {first, input.number()};
}

bool sameBits(double a, double b) { return std::memcmp(&a, &b, sizeof a) == 0; }
bool sameBits(const qvPair<double>& a, const qvPair<double>& b) {
    return sameBits(a.first, b.first) && sameBits(a.second, b.second);
}

bool same(const Finder& a, const Finder& b) {
    return sameBits(a.nominalStreetWidth(), b.nominalStreetWidth()) &&
           sameBits(a.nominalStreetWidthRangeX(), b.nominalStreetWidthRangeX()) &&
           sameBits(a.nominalStreetWidthRangeY(), b.nominalStreetWidthRangeY()) && a.runMode() == b.runMode() &&
           sameBits(a.edgeSharpness(), b.edgeSharpness()) && a.streetPolarity() == b.streetPolarity() &&
           a.maxResults() == b.maxResults();
}

/// A NaN is below nothing, so that a bound may be one; a width may not.
void checkWidth(double width, const qvPair<double>& range) {
    require(width > 0.0, "a width above 0");
    require(!(range.first < 0.0) && !(range.second < 0.0), "bounds of at least 0");
    require(!(range.first > width) && width <= range.second, "a width within its range");
}

void check(const Finder& params) {
    checkWidth(params.nominalStreetWidth().first, params.nominalStreetWidthRangeX());
    checkWidth(params.nominalStreetWidth().second, params.nominalStreetWidthRangeY());
    require(params.edgeSharpness() > 0.0, "a sharpness above 0");
    require(params.runMode() != qvStreetFinderDefs::eSpecial, "no mode eSpecial");
    require(params.maxResults() > 0 && params.maxResults() <= 2147483647, "maxResults above 0, of 32 bits");
}

void check(const Blank& params) {
    for (const long value : {params.streetWidthPels(), params.minLengthPels(), params.numResults()}) {
        require(value > 0 && value <= 2147483647, "lengths and counts above 0, of 32 bits");
    }
    require(params.direction() == qvStreetBlankRegionFinderDefs::eHorizontal ||
                params.direction() == qvStreetBlankRegionFinderDefs::eVertical,
            "one of two directions");
    require(params.greyLevelScoringFilter().size() == 256, "256 weights");
    for (const double weight : params.greyLevelScoringFilter()) {
        require(weight >= 0.0 && weight <= 1.0, "weights from 0 to 1");
    }
}

std::vector<double> weightsFrom(FuzzInput& input) {
    std::vector<double> weights(input.byte() < 240 ? 256 : input.byte() * 2, 0.5);
    for (unsigned changed = input.byte() % 4; changed > 0; --changed) {
        const std::size_t index = input.byte();
        if (index < weights.size()) weights[index] = input.number();
    }
    return weights;
}

qvStreetFinderDefs::waferType modeFrom(FuzzInput& input) {
    return static_cast<qvStreetFinderDefs::waferType>(input.whole());
}
qvStreetFinderDefs::streetPolarity polarityFrom(FuzzInput& input) {
    return static_cast<qvStreetFinderDefs::streetPolarity>(input.whole());
}

void callFinderParams(unsigned call, FuzzInput& input, Finder& params) {
    if (call == 0) {
        const qvPair<double> width = pairFrom(input);
        const qvPair<double> rangeX = pairFrom(input);
        const qvPair<double> rangeY = pairFrom(input);
        const double sharpness = input.number();
        const auto mode = modeFrom(input);
        const auto polarity = polarityFrom(input);
        params = Finder(width, rangeX, rangeY, mode, sharpness, polarity, input.whole());
    } else if (call == 1) {
        const qvPair<double> width = pairFrom(input);
        const qvPair<double> rangeX = pairFrom(input);
        params.nominalStreetWidth(width, rangeX, pairFrom(input));
    } else if (call == 2) {
        params.edgeSharpness(input.number());
    } else if (call == 3) {
        params.runMode(modeFrom(input));
    } else if (call == 4) {
        params.streetPolarity(polarityFrom(input));
    } else {
        params.maxResults(input.whole());
    }
}

void callBlankParams(unsigned call, FuzzInput& input, Blank& params) {
    if (call == 6) {
        const long streetWidth = input.whole();
        const long minLength = input.whole();
        const long most = input.whole();
        const auto direction = static_cast<qvStreetBlankRegionFinderDefs::streetDirection>(input.whole());
        params = Blank(streetWidth, minLength, most, weightsFrom(input), direction);
    } else if (call == 7) {
        params.streetWidthPels(input.whole());
    } else if (call == 8) {
        params.minLengthPels(input.whole());
    } else if (call == 9) {
        params.numResults(input.whole());
    } else if (call == 10) {
        params.direction(static_cast<qvStreetBlankRegionFinderDefs::streetDirection>(input.whole()));
    } else {
        std::vector<double> weights = weightsFrom(input);
        params.greyLevelScoringFilter(weights);
    }
}

/// A cross of dark streets, 41 by 30 pels.
const std::vector<unsigned char>& crossPels() {
    static const std::vector<unsigned char> pels = [] {
        std::vector<unsigned char> result(41 * 30, 180);
        for (std::size_t i = 0; i < result.size(); ++i) {
            const std::size_t x = i % 41;
            const std::size_t y = i / 41;
            if ((x >= 16 && x < 24) || (y >= 11 && y < 18)) result[i] = 60;
        }
        return result;
    }();
    return pels;
}

void search(const Finder& params, const qvXform<2>& client) {
    qvPelBuffer_const<unsigned char> image(crossPels().data(), 41, 30, 41);
    image.clientFromImageXform(client);
    std::vector<qvStreetFinderSingleStreetResult> streets;
    std::vector<qvStreetFinderStreetCrossResult> crossings;
    qvStreetFinder finder(params);
    finder.setImage(image);
    qvtest::findStreets(finder, streets);
    finder.find(crossings);
}

void run(FuzzInput input) {
    const double a = input.number();
    const double b = input.number();
    const double c = input.number();
    const double d = input.number();
    const double tx = input.number();
    const qvXform<2> client(qvMatrix<2>(a, b, c, d), qvVector<2>(tx, input.number()));
    Finder finder;
    Blank blank(8, 12, 4, std::vector<double>(256, 1.0), qvStreetBlankRegionFinderDefs::eHorizontal);
    for (unsigned calls = 0; calls < 24 && !input.isEmpty(); ++calls) {
        const Finder finderBefore = finder;
        const Blank blankBefore = blank;
        const unsigned call = input.byte() % 12;
        try {
            if (call < 6) {
                callFinderParams(call, input, finder);
            } else {
                callBlankParams(call, input, blank);
            }
        } catch (const qvStreetFinderDefs::BadParams&) {
            require(call < 6 && same(finder, finderBefore), "a refused call changes nothing");
        } catch (const qvStreetBlankRegionFinderDefs::BadParams&) {
            require(call >= 6 && blank == blankBefore, "a refused call changes nothing");
        }
        check(finder);
        check(blank);
    }
    qvStreetBlankRegionFinderResultSet regions;
    try {
        const qvPelBuffer_const<unsigned char> image(crossPels().data(), 41, 30, 41);
        qfStreetBlankRegionFinderRun(image, blank, regions, nullptr, 0);
    } catch (const qvPel::BadSize&) {
    }
    search(finder, client);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    try {
        run(FuzzInput(data, size));
    } catch (const qvStreetFinderDefs::BadParams&) {
    } catch (const qvPel::BadSize&) {
    } catch (const qvMatrixErr::Singular&) {
    }
    return 0;
}
