#include <algorithm>
#include <cstdint>
#include <cstring>
#include <vector>

#include "qvstreet/qvstreet.h"

// Any parameters and any small image end in results or in an exception that the interface names.
//
// Layout of an input: eight doubles (two widths, two ranges, sharpness, rotation), one byte each of mode, polarity, width,
// height, offset, most results; the rest are pels, repeated as often as needed.

namespace {

class Reader {
 public:
    Reader(const std::uint8_t* data, std::size_t size) : data_(data), size_(size) {}

    double number() {
        double value = 0.0;
        const std::size_t count = std::min(size_, sizeof value);
        std::memcpy(&value, data_, count);
        data_ += count;
        size_ -= count;
        return value;
    }
    long byte() {
        if (size_ == 0) return 0;
        --size_;
        return *data_++;
    }
    std::vector<unsigned char> pels(std::size_t count) const {
        std::vector<unsigned char> result(count);
        for (std::size_t i = 0; i < count && size_ > 0; ++i) result[i] = data_[i % size_];
        return result;
    }

 private:
    const std::uint8_t* data_;
    std::size_t size_;
};

void run(Reader input) {
    const qvPair<double> width(input.number(), input.number());
    const qvPair<double> rangeX(input.number(), input.number());
    const qvPair<double> rangeY(input.number(), input.number());
    const double sharpness = input.number();
    const double rotation = input.number();
    const auto mode = static_cast<qvStreetFinderDefs::waferType>(input.byte() % 4);
    const auto polarity = static_cast<qvStreetFinderDefs::streetPolarity>(input.byte() % 4);
    const long columns = input.byte() + 1;
    const long rows = input.byte() + 1;
    const long offset = input.byte() - 128;
    const long most = input.byte();
    const std::vector<unsigned char> pels = input.pels(static_cast<std::size_t>(columns * rows));

    qvStreetFinder finder(qvStreetFinderParams(width, rangeX, rangeY, mode, sharpness, polarity, most));
    qvPelBuffer_const<unsigned char> image(pels.data(), columns, rows, columns);
    image.offset(offset, -offset);
    const qvVector<2> x(1.0, qvDegree(rotation));
    image.clientFromImageXform(qvXform<2>(qvMatrix<2>(x.x(), -x.y(), x.y(), x.x()), qvVector<2>(rotation, 0.0)));

    std::vector<qvStreetFinderSingleStreetResult> streets;
    std::vector<qvStreetFinderStreetCrossResult> crossings;
    std::vector<qvRadian> angles;
    finder.setImage(image);
    finder.getAngles(5, angles);
    finder.findSingleStreet(streets);
    finder.find(crossings);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    try {
        run(Reader(data, size));
    } catch (const qvInvariantFailure&) {
        throw;  // a broken promise of our own is a finding
    } catch (const qvException&) {
    }
    return 0;
}
