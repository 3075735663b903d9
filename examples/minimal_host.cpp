// The least that a host does: say what the wafer is like, hand over an image, take the crossings.
//
//     minimal_host [IMAGE.pgm]

#include <cstdio>
#include <exception>
#include <vector>

#include "qvstreet/qvstreet.h"
#include "sample_wafer.h"

namespace {

void run(const Frame& frame) {
    qvStreetFinderParams params;
    params.nominalStreetWidth({20.0, 20.0}, {10.0, 30.0},
                              {10.0, 30.0});  // measured in x, measured in y; allowed ranges
    params.runMode(qvStreetFinderDefs::eCoarseRidgeWafer);
    params.maxResults(50);

    qvStreetFinder finder(params);
    finder.setImage(qvPelBuffer_const<unsigned char>(frame.pels.data(), frame.width, frame.height, frame.width));

    std::vector<qvStreetFinderStreetCrossResult> crossings;
    finder.find(crossings);

    std::printf("%d crossings\n", static_cast<int>(crossings.size()));
    for (const qvStreetFinderStreetCrossResult& c : crossings)
        std::printf("%8.2f %8.2f  score %.3f\n", c.crossing().x(), c.crossing().y(), c.score());
}

}  // namespace

int main(int argc, char** argv) {
    try {
        run(argc > 1 ? readPgm(argv[1]) : drawWafer(640, 480, 0));
    } catch (const std::exception& error) {
        std::fprintf(stderr, "minimal_host: %s\n", error.what());
        return 1;
    }
    return 0;
}
