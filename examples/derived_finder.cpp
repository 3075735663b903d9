// A finder of one's own: a class derived from qvStreetFinder reaches the lines that the crossings are built from, and
// the trace, which are protected there.
//
//     derived_finder [TRACE]      writes TRACE.trace, derived_finder.trace unless given

#include <cstdio>
#include <exception>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "qvstreet/qvstreet.h"
#include "sample_wafer.h"

namespace {

class LineFinder : public qvStreetFinder {
 public:
    using qvStreetFinder::qvStreetFinder;

    struct Lines {
        std::vector<qvLineSeg> flat;     // direction 0
        std::vector<qvLineSeg> upright;  // direction 1, but for the first one
    };

    /// The lines of the bound image, client frame. Direction 0 has the indices from 0, direction 1 those behind. The
    /// index at which direction 1 begins throws, so its first line cannot be had this way.
    Lines lines() const {
        Lines lines;
        std::vector<qvLineSeg>* direction = &lines.flat;
        for (long index = 0; index < getLineCount(); ++index) {
            try {
                direction->push_back(segment(index));
            } catch (const std::out_of_range&) {
                direction = &lines.upright;
            }
        }
        return lines;
    }

    /// From now on every find in the edge pair mode appends to the file `path` and ".trace".
    void traceTo(const std::wstring& path) { customize(L"DP " + path); }
    void traceNoMore() { customize(L"DO"); }

 private:
    qvLineSeg segment(long index) const {
        const qvPair<double> start = getStartPoint(index);
        const qvPair<double> end = getEndPoint(index);
        return qvLineSeg(qvVector<2>(start.first, start.second), qvVector<2>(end.first, end.second));
    }
};

void run(const std::string& path) {
    const Frame frame = drawWafer(640, 480, 0);

    qvStreetFinderParams params;
    params.nominalStreetWidth({20.0, 20.0}, {10.0, 30.0}, {10.0, 30.0});
    params.edgeSharpness(2.0);
    params.maxResults(50);
    LineFinder finder(params);
    finder.setImage(qvPelBuffer_const<unsigned char>(frame.pels.data(), frame.width, frame.height, frame.width));

    const LineFinder::Lines lines = finder.lines();
    std::printf("%d flat lines, %d upright lines and one more\n", static_cast<int>(lines.flat.size()),
                static_cast<int>(lines.upright.size()));
    for (const qvLineSeg& line : lines.flat)
        std::printf("flat     %7.2f %7.2f to %7.2f %7.2f\n", line.p1().x(), line.p1().y(), line.p2().x(),
                    line.p2().y());
    for (const qvLineSeg& line : lines.upright)
        std::printf("upright  %7.2f %7.2f to %7.2f %7.2f\n", line.p1().x(), line.p1().y(), line.p2().x(),
                    line.p2().y());

    finder.traceTo(std::wstring(path.begin(), path.end()));
    std::vector<qvStreetFinderStreetCrossResult> crossings;
    finder.find(crossings);
    finder.traceNoMore();
    std::printf("%d crossings\n", static_cast<int>(crossings.size()));

    std::ifstream trace(path + ".trace");
    int pairs = 0;
    for (std::string text; std::getline(trace, text);)
        if (text.find("Found pair") != std::string::npos) ++pairs;
    std::printf("%d pairs of edges in the trace\n", pairs);
}

}  // namespace

int main(int argc, char** argv) {
    try {
        run(argc > 1 ? argv[1] : "derived_finder");
    } catch (const std::exception& error) {
        std::fprintf(stderr, "derived_finder: %s\n", error.what());
        return 1;
    }
    return 0;
}
