// PGM and PPM, plain (P2, P3) and binary (P5, P6), 8 and 16 bit. In: the whole file. Out: grey levels scaled from
// 0..maxval to 0..255. The sizes that the header declares are held against the bytes that are there before anything is
// allocated.
#include "tools/image_file.h"

namespace qvtool {
namespace {

bool isSpace(unsigned char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

class PnmScanner {
 public:
    explicit PnmScanner(Bytes file) : file_(file), position_(2) {}

    std::size_t left() const { return file_.size - position_; }
    const unsigned char* rest() const { return file_.data + position_; }

    /// A decimal number after any white space and comments. Saturates, so that no length of digits can wrap.
    std::uint64_t number(const char* what) {
        skipSpaceAndComments();
        if (left() == 0) throw ImageError(std::string("ends before its ") + what + " (truncated PGM/PPM)");
        if (*rest() < '0' || *rest() > '9') {
            throw ImageError(std::string("has no number where its ") + what + " is due (damaged PGM/PPM)");
        }
        std::uint64_t value = 0;
        while (left() > 0 && *rest() >= '0' && *rest() <= '9') {
            if (value < kSaturation) value = value * 10 + static_cast<std::uint64_t>(*rest() - '0');
            ++position_;
        }
        return value;
    }

    /// The single white space between the header and binary samples.
    void separator() {
        if (left() == 0 || !isSpace(*rest())) {
            throw ImageError("has no white space between header and samples (damaged PGM/PPM)");
        }
        ++position_;
    }

 private:
    static constexpr std::uint64_t kSaturation = 1000000000000ULL;

    void skipSpaceAndComments() {
        while (left() > 0 && (isSpace(*rest()) || *rest() == '#')) {
            if (*rest() == '#') {
                while (left() > 0 && *rest() != '\n' && *rest() != '\r') ++position_;
            } else {
                ++position_;
            }
        }
    }

    Bytes file_;
    std::size_t position_;
};

/// Samples one after the other, whichever way they are written.
class SampleSource {
 public:
    SampleSource(PnmScanner& scanner, bool plain, unsigned maxValue)
        : scanner_(scanner), next_(scanner.rest()), plain_(plain), wide_(maxValue > 255), maxValue_(maxValue) {}

    unsigned next() {
        unsigned value = 0;
        if (plain_) {
            const std::uint64_t read = scanner_.number("samples");
            value = read > maxValue_ ? maxValue_ + 1 : static_cast<unsigned>(read);
        } else if (wide_) {
            value = static_cast<unsigned>(next_[0]) << 8 | next_[1];
            next_ += 2;
        } else {
            value = *next_++;
        }
        if (value > maxValue_) {
            throw ImageError("has a sample above its largest value " + std::to_string(maxValue_) +
                             " (damaged PGM/PPM)");
        }
        return value;
    }

 private:
    PnmScanner& scanner_;
    const unsigned char* next_;
    bool plain_;
    bool wide_;
    unsigned maxValue_;
};

void checkSamplesFit(std::uint64_t samples, bool plain, unsigned maxValue, std::size_t left) {
    // A plain sample is at least a digit and, but for the last, a separator.
    const std::uint64_t needed = plain ? 2 * samples - 1 : samples * (maxValue > 255 ? 2 : 1);
    if (needed > left) {
        throw ImageError("is truncated: its samples need " + std::string(plain ? "at least " : "") +
                         std::to_string(needed) + " bytes, " + std::to_string(left) + " are there");
    }
}

}  // namespace

GreyImage readPnm(Bytes file) {
    const unsigned char kind = file.data[1];
    const bool plain = kind == '2' || kind == '3';
    const bool colour = kind == '3' || kind == '6';

    PnmScanner scanner(file);
    const std::uint64_t width = scanner.number("width");
    const std::uint64_t height = scanner.number("height");
    const std::uint64_t declaredMax = scanner.number("largest value");
    checkSize(width, height);
    if (declaredMax < 1 || declaredMax > 65535) {
        throw ImageError("declares the largest value " + std::to_string(declaredMax) + "; allowed are 1 to 65535");
    }
    const auto maxValue = static_cast<unsigned>(declaredMax);
    if (!plain) scanner.separator();
    checkSamplesFit(width * height * (colour ? 3 : 1), plain, maxValue, scanner.left());

    GreyImage image = makeImage(width, height);
    SampleSource samples(scanner, plain, maxValue);
    for (unsigned char& pel : image.pels) {
        unsigned grey = samples.next();
        if (colour) {
            const unsigned green = samples.next();
            grey = greyOf(grey, green, samples.next());
        }
        pel = maxValue == 65535 ? scale16(grey) : scaleTo8(grey, maxValue);
    }

    if (colour) noteColour(image);
    if (maxValue == 65535) {
        noteSixteenBits(image);
    } else if (maxValue != 255) {
        image.notes.push_back("values from 0 to " + std::to_string(maxValue) + " were scaled to 8 bits");
    }
    return image;
}

}  // namespace qvtool
