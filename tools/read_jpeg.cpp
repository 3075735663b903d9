// JPEG through TurboJPEG. A colour JPEG stores the BT.601 luma itself, which is taken as it stands: turning it to RGB
// and back would only add rounding. Orientation tags are not looked at; pels stay where the file has them.
#include "tools/image_file.h"

#include <turbojpeg.h>

#include <memory>

namespace qvtool {
namespace {

struct CloseDecoder {
    void operator()(void* decoder) const { tjDestroy(decoder); }
};

bool mentions(const std::string& text, const char* words) { return text.find(words) != std::string::npos; }

}  // namespace

GreyImage readJpeg(Bytes file) {
    const std::unique_ptr<void, CloseDecoder> decoder(tjInitDecompress());
    if (!decoder) throw ImageError("cannot be decoded: no memory for the JPEG decoder");

    int width = 0;
    int height = 0;
    int subsampling = 0;
    int colourSpace = 0;
    if (tjDecompressHeader3(decoder.get(), file.data, file.size, &width, &height, &subsampling, &colourSpace) != 0) {
        throw ImageError(std::string("is a damaged or truncated JPEG: ") + tjGetErrorStr2(decoder.get()));
    }
    if (colourSpace == TJCS_CMYK || colourSpace == TJCS_YCCK) {
        throw ImageError("is a CMYK JPEG; allowed are grey, YCbCr and RGB");
    }
    if (width < 0 || height < 0) throw ImageError("is a damaged JPEG: negative size");
    GreyImage image = makeImage(static_cast<std::uint64_t>(width), static_cast<std::uint64_t>(height));

    const int result = tjDecompress2(decoder.get(), file.data, file.size, image.pels.data(), width, width, height,
                                     TJPF_GRAY, TJFLAG_ACCURATEDCT);
    if (result != 0) {
        const std::string reason = tjGetErrorStr2(decoder.get());
        // The decoder counts a missing end as a mere warning and fills the rest with grey, where streets could be
        // found.
        const bool harmless = tjGetErrorCode(decoder.get()) == TJERR_WARNING && !mentions(reason, "remature end") &&
                              !mentions(reason, "orrupt");
        if (!harmless) throw ImageError("is a damaged or truncated JPEG: " + reason);
        image.notes.push_back("the JPEG decoder says: " + reason);
    }
    if (colourSpace != TJCS_GRAY) noteColour(image);
    return image;
}

}  // namespace qvtool
