// A host that hands over the memory of its camera: rows with gaps between them, the lowest row first, no copy. The
// camera has two buffers; the finder keeps the one that it was given last and lets go of the one before.
//
//     camera_host

#include <algorithm>
#include <array>
#include <cstdio>
#include <exception>
#include <memory>
#include <stdexcept>
#include <vector>

#include "qvstreet/qvstreet.h"
#include "sample_wafer.h"

namespace {

/// Stands in for a driver: fills its buffers in turn. Each stays as it is until it is given back.
class Camera {
 public:
    static constexpr long kWidth = 640;
    static constexpr long kHeight = 480;
    static constexpr long kRowBytes = 704;

    struct Grab {
        const unsigned char* memory;  // the lowest row first
        int buffer;
    };

    Grab grab() {
        for (int i = 0; i < 2; ++i) {
            if (busy_.at(static_cast<std::size_t>(i))) continue;
            busy_.at(static_cast<std::size_t>(i)) = true;
            return {fill(buffers_.at(static_cast<std::size_t>(i))), i};
        }
        throw std::runtime_error("no buffer is free");
    }
    void giveBack(int buffer) { busy_.at(static_cast<std::size_t>(buffer)) = false; }
    int buffersInUse() const { return (busy_[0] ? 1 : 0) + (busy_[1] ? 1 : 0); }

 private:
    const unsigned char* fill(std::vector<unsigned char>& buffer) {
        const Frame frame = drawWafer(kWidth, kHeight, shift_);
        shift_ += 9;
        buffer.assign(kRowBytes * kHeight, 0);
        for (long y = 0; y < kHeight; ++y)
            std::copy_n(&frame.pels[static_cast<std::size_t>(y * kWidth)], kWidth,
                        &buffer[static_cast<std::size_t>((kHeight - 1 - y) * kRowBytes)]);
        return buffer.data();
    }

    std::array<std::vector<unsigned char>, 2> buffers_;
    std::array<bool, 2> busy_{};
    long shift_ = 0;
};

/// The grabbed frame as an image. Its pel (0, 0) starts the last row in memory, and from one row to that below it the
/// memory goes back. The buffer returns to the camera with the last copy of the image.
qvPelBuffer_const<unsigned char> asImage(Camera& camera, const Camera::Grab& grab) {
    const std::shared_ptr<const void> lease(grab.memory,
                                            [&camera, buffer = grab.buffer](const void*) { camera.giveBack(buffer); });
    const unsigned char* top = grab.memory + (Camera::kHeight - 1) * Camera::kRowBytes;
    return qvPelBuffer_const<unsigned char>(top, Camera::kWidth, Camera::kHeight, -Camera::kRowBytes, lease);
}

/// From pels to the stage, in micrometres: 0.8 a pel; the stage stands at (12000, 3500).
qvXform<2> stageFromImage() { return qvXform<2>(qvMatrix<2>(0.8, 0.0, 0.0, 0.8), qvVector<2>(12000.0, 3500.0)); }

/// Streets 20 pels wide: widths are in client units, here micrometres.
qvStreetFinderParams waferParams() {
    qvStreetFinderParams params;
    params.nominalStreetWidth({16.0, 16.0}, {8.0, 24.0}, {8.0, 24.0});
    params.runMode(qvStreetFinderDefs::eCoarseRidgeWafer);
    params.maxResults(50);
    return params;
}

void run() {
    Camera camera;
    qvStreetFinder finder(waferParams());
    std::vector<qvStreetFinderStreetCrossResult> crossings;

    for (int frame = 0; frame < 3; ++frame) {
        qvPelBuffer_const<unsigned char> image = asImage(camera, camera.grab());
        image.clientFromImageXform(stageFromImage());
        image.window(0, 100, Camera::kWidth, 380, true);  // the upper 100 rows show the chuck
        finder.setImage(image);
        finder.find(crossings);
        std::printf("frame %d: %d crossings, %d of 2 buffers in use\n", frame, static_cast<int>(crossings.size()),
                    camera.buffersInUse());
    }
    for (const qvStreetFinderStreetCrossResult& c : crossings)
        std::printf("%10.2f %10.2f um  score %.3f\n", c.crossing().x(), c.crossing().y(), c.score());

    // Without an owner the host answers for the memory itself: it may go back to the camera behind the last search.
    const Camera::Grab grab = camera.grab();
    finder.setImage(qvPelBuffer_const<unsigned char>(grab.memory + (Camera::kHeight - 1) * Camera::kRowBytes,
                                                     Camera::kWidth, Camera::kHeight, -Camera::kRowBytes));
    finder.find(crossings);
    camera.giveBack(grab.buffer);
    std::printf("whole frame, in pels: %d crossings, %d of 2 buffers in use\n", static_cast<int>(crossings.size()),
                camera.buffersInUse());
}

}  // namespace

int main() {
    try {
        run();
    } catch (const std::exception& error) {
        std::fprintf(stderr, "camera_host: %s\n", error.what());
        return 1;
    }
    return 0;
}
