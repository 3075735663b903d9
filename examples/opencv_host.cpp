// With OpenCV: the pels of a cv::Mat go in without a copy, and the results are drawn on a picture.
//
//     opencv_host [IMAGE [PICTURE]]      draws a wafer unless an image is given; writes opencv_host.png unless told

#include <cstdio>
#include <exception>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include "qvstreet/qvstreet.h"
#include "sample_wafer.h"

namespace {

/// The same pels, which live as long as the image does, whatever becomes of `grey`. Parts of a larger Mat are welcome.
qvPelBuffer_const<unsigned char> asImage(const cv::Mat& grey) {
    if (grey.type() != CV_8UC1) throw std::invalid_argument("the image must have one channel of 8 bits");
    const auto keeper = std::make_shared<const cv::Mat>(grey);
    return qvPelBuffer_const<unsigned char>(grey.ptr(), grey.cols, grey.rows, static_cast<long>(grey.step[0]), keeper);
}

/// For drawing functions with a shift of 4, which take 16ths of a pel. In OpenCV the centre of the first pel is (0, 0),
/// here it is (0.5, 0.5).
constexpr int kShift = 4;
cv::Point asPoint(const qvVector<2>& p) {
    return {cvRound((p.x() - 0.5) * (1 << kShift)), cvRound((p.y() - 0.5) * (1 << kShift))};
}

cv::Mat readOrDraw(const char* path) {
    if (path != nullptr) {
        cv::Mat grey = cv::imread(path, cv::IMREAD_GRAYSCALE);
        if (grey.empty()) throw std::runtime_error(std::string("OpenCV cannot read ") + path);
        return grey;
    }
    Frame frame = drawWafer(640, 480, 0);
    return cv::Mat(480, 640, CV_8UC1, frame.pels.data()).clone();
}

void run(const char* path, const std::string& picturePath) {
    const cv::Mat grey = readOrDraw(path);

    qvStreetFinderParams params;
    params.nominalStreetWidth({20.0, 20.0}, {10.0, 30.0}, {10.0, 30.0});
    params.runMode(qvStreetFinderDefs::eCoarseRidgeWafer);
    params.streetPolarity(qvStreetFinderDefs::eDarkOnLight);
    params.maxResults(50);
    qvStreetFinder finder(params);
    finder.setImage(asImage(grey));
    std::vector<qvStreetFinderStreetCrossResult> crossings;
    finder.find(crossings);

    cv::Mat picture;
    cv::cvtColor(grey, picture, cv::COLOR_GRAY2BGR);
    for (const qvStreetFinderStreetCrossResult& c : crossings) {
        for (const qvLineSeg& line : c.lineSegs())
            cv::line(picture, asPoint(line.p1()), asPoint(line.p2()), cv::Scalar(0, 200, 0), 1, cv::LINE_AA, kShift);
        cv::circle(picture, asPoint(c.crossing()), 6 << kShift, cv::Scalar(0, 0, 255), 2, cv::LINE_AA, kShift);
    }
    if (!cv::imwrite(picturePath, picture)) throw std::runtime_error("OpenCV cannot write " + picturePath);
    std::printf("%d crossings, drawn in %s\n", static_cast<int>(crossings.size()), picturePath.c_str());
}

}  // namespace

int main(int argc, char** argv) {
    try {
        run(argc > 1 ? argv[1] : nullptr, argc > 2 ? argv[2] : "opencv_host.png");
    } catch (const std::exception& error) {
        std::fprintf(stderr, "opencv_host: %s\n", error.what());
        return 1;
    }
    return 0;
}
