#include "qvstreet/qvstreet.h"
#include "tests/fuzz/find_streets.h"
#include "tests/fuzz/fuzz_input.h"

// Any parameters and any two small images, one after the other in one finder, end in results or in an exception that
// the interface names.
//
// Layout of an input: numbers (two widths, two ranges, sharpness), a byte each of mode and polarity, the most results;
// then of each image width, height, offset, rotation, translation, scale and pels. The second image is that of the
// first turned upside down.

namespace {

using qvtest::FuzzInput;
using qvtest::require;
using Image = qvPelBuffer_const<unsigned char>;

// A side; more tells nothing new and takes longer.
constexpr long kMostPels = 112;

void search(qvStreetFinder& finder) {
    std::vector<qvStreetFinderSingleStreetResult> streets;
    std::vector<qvStreetFinderStreetCrossResult> crossings;
    std::vector<qvRadian> angles;
    finder.getAngles(5, angles);
    qvtest::findStreets(finder, streets);
    finder.find(crossings);
    const auto most = static_cast<std::size_t>(finder.runParams().maxResults());
    require(angles.size() <= 5, "at most cnt angles");
    require(streets.size() <= most, "at most maxResults streets");
    require(crossings.size() <= most, "at most maxResults crossings");
}

/// The exceptions are those that the interface names; any other is a finding.
void searchIn(qvStreetFinder& finder, const Image& image) {
    try {
        finder.setImage(image);
        search(finder);
    } catch (const qvStreetFinderDefs::BadParams&) {
    } catch (const qvPel::BadSize&) {
    } catch (const qvMatrixErr::Singular&) {
    }
}

void run(FuzzInput input) {
    const qvPair<double> width(input.number(), input.number());
    const qvPair<double> rangeX(input.number(), input.number());
    const qvPair<double> rangeY(input.number(), input.number());
    const double sharpness = input.number();
    const auto mode = static_cast<qvStreetFinderDefs::waferType>(input.byte() % 5);
    const auto polarity = static_cast<qvStreetFinderDefs::streetPolarity>(input.byte() % 4);
    const long most = input.whole();
    qvStreetFinder finder(qvStreetFinderParams(width, rangeX, rangeY, mode, sharpness, polarity, most));

    const long columns = static_cast<long>(input.byte()) % kMostPels + 1;
    const long rows = static_cast<long>(input.byte()) % kMostPels + 1;
    const long offset = input.whole();
    const qvVector<2> x(1.0, qvDegree(static_cast<double>(input.byte() % 16) - 7.0));
    const qvVector<2> translation(input.number(), input.number());
    const double scale = static_cast<double>(input.byte() % 8 + 1) / 2.0;
    const std::vector<unsigned char> pels = qvtest::drawPels(input, columns, rows);

    Image image(pels.data(), columns, rows, columns);
    image.offset(offset, -(offset / 2));
    image.clientFromImageXform(
        qvXform<2>(qvMatrix<2>(scale * x.x(), -scale * x.y(), scale * x.y(), scale * x.x()), translation));
    const Image upsideDown(pels.data() + (rows - 1) * columns, columns, rows, -columns);

    searchIn(finder, image);
    searchIn(finder, upsideDown);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    try {
        run(FuzzInput(data, size));
    } catch (const qvStreetFinderDefs::BadParams&) {
    }
    return 0;
}
