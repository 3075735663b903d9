#include "tests/fuzz/fuzz_input.h"
#include "tools/image_file.h"

// Any bytes behind the signature of the format QVSTREET_FUZZ_FORMAT are an image within the limits, or an ImageError.

namespace {

using namespace std::string_literals;
using qvtest::require;

struct Format {
    const char* name;
    qvtool::GreyImage (*read)(qvtool::Bytes);
    std::vector<std::string> signatures;
};

const Format& format() {
    static const std::vector<Format> formats = {
        {"png", qvtool::readPng, {"\x89PNG\r\n\x1a\n"s}},
        {"tiff", qvtool::readTiff, {"II*\0"s, "MM\0*"s, "II+\0"s, "MM\0+"s}},
        {"jpeg", qvtool::readJpeg, {"\xff\xd8\xff"s}},
        {"bmp", qvtool::readBmp, {"BM"s}},
        {"pnm", qvtool::readPnm, {"P2"s, "P3"s, "P5"s, "P6"s}},
    };
    static const Format& chosen = *std::find_if(formats.begin(), formats.end(), [](const Format& one) {
        return std::strcmp(one.name, QVSTREET_FUZZ_FORMAT) == 0;
    });
    return chosen;
}

bool beginsRight(const std::uint8_t* data, std::size_t size) {
    const std::vector<std::string>& signatures = format().signatures;
    return std::any_of(signatures.begin(), signatures.end(), [&](const std::string& signature) {
        return size >= signature.size() && std::memcmp(data, signature.data(), signature.size()) == 0;
    });
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (!beginsRight(data, size)) return 0;
    try {
        const qvtool::GreyImage image = format().read({data, size});
        const auto width = static_cast<std::uint64_t>(image.width);
        const auto height = static_cast<std::uint64_t>(image.height);
        require(image.width > 0 && width <= qvtool::kMaxSide, "a width within the limit");
        require(image.height > 0 && height <= qvtool::kMaxSide, "a height within the limit");
        require(width * height <= qvtool::kMaxPels, "a number of pels within the limit");
        require(image.pels.size() == width * height, "as many pels as width times height");
    } catch (const qvtool::ImageError& error) {
        require(error.what()[0] != '\0', "a refusal says why");
    }
    return 0;
}
