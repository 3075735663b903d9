#include "tests/tools/image_encoders.h"

#include "tools/image_file.h"

#include <gtest/gtest.h>
#include <png.h>
#include <tiffio.h>
#include <turbojpeg.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace qvtest {
namespace {

/// Samples of one row as a file stores them, most significant bits first.
std::vector<unsigned char> packRow(const unsigned* samples, std::size_t count, unsigned bits, bool nativeWords) {
    std::vector<unsigned char> row((count * bits + 7) / 8, 0);
    for (std::size_t i = 0; i < count; ++i) {
        if (bits == 16) {
            const unsigned char high = static_cast<unsigned char>(samples[i] >> 8);
            const unsigned char low = static_cast<unsigned char>(samples[i] & 255U);
            row[2 * i] = nativeWords ? low : high;  // the tests run on little-endian machines
            row[2 * i + 1] = nativeWords ? high : low;
        } else if (bits == 32) {
            for (std::size_t b = 0; b < 4; ++b) row[4 * i + b] = static_cast<unsigned char>(samples[i] >> 8 * b);
        } else {
            const std::size_t bit = i * bits;
            row[bit / 8] = static_cast<unsigned char>(row[bit / 8] | samples[i] << (8 - bits - bit % 8));
        }
    }
    return row;
}

void appendToFile(png_structp png, png_bytep data, std::size_t size) {
    auto* file = static_cast<File*>(png_get_io_ptr(png));
    file->insert(file->end(), data, data + size);
}

File readAndRemove(const std::string& path) {
    std::ifstream stream(path, std::ios::binary);
    File file((std::istreambuf_iterator<char>(stream)), std::istreambuf_iterator<char>());
    std::remove(path.c_str());
    return file;
}

std::string temporaryName() {
    std::string path = testing::TempDir() + "qvstreet-tiff-XXXXXX";
    const int descriptor = ::mkstemp(path.data());
    if (descriptor < 0) throw std::runtime_error("no temporary file");
    ::close(descriptor);
    return path;
}

std::size_t channelsOf(int colourType) {
    switch (colourType) {
        case 2:
            return 3;
        case 4:
            return 2;
        case 6:
            return 4;
        default:
            return 1;
    }
}

void setTags(TIFF* tiff, const TiffSpec& spec) {
    TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, spec.width);
    TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, spec.height);
    TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, spec.bits);
    TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, spec.samples);
    TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, spec.photometric);
    TIFFSetField(tiff, TIFFTAG_COMPRESSION, spec.compression);
    TIFFSetField(tiff, TIFFTAG_SAMPLEFORMAT, spec.sampleFormat);
    TIFFSetField(tiff, TIFFTAG_ORIENTATION, spec.orientation);
    TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, spec.planes ? PLANARCONFIG_SEPARATE : PLANARCONFIG_CONTIG);
    if (spec.photometric == PHOTOMETRIC_YCBCR) TIFFSetField(tiff, TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB);
    if (spec.photometric == PHOTOMETRIC_YCBCR) TIFFSetField(tiff, TIFFTAG_YCBCRSUBSAMPLING, 1, 1);
    if (spec.compression == COMPRESSION_JPEG) TIFFSetField(tiff, TIFFTAG_JPEGQUALITY, 100);
    if (!spec.palette.empty()) {
        const std::size_t entries = spec.palette.size() / 3;
        const std::uint16_t* p = spec.palette.data();
        TIFFSetField(tiff, TIFFTAG_COLORMAP, p, p + entries, p + 2 * entries);
    }
    if (spec.tile > 0) {
        TIFFSetField(tiff, TIFFTAG_TILEWIDTH, spec.tile);
        TIFFSetField(tiff, TIFFTAG_TILELENGTH, spec.tile);
    } else {
        TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, spec.rowsPerStrip);
    }
}

/// The samples of one plane (or of all, interleaved) in a rectangle that may reach beyond the image.
std::vector<unsigned> cut(const TiffSpec& spec, const std::vector<unsigned>& samples, std::size_t plane,
                          std::size_t left, std::size_t top, std::size_t wide, std::size_t high) {
    const std::size_t perPel = spec.planes ? 1 : spec.samples;
    std::vector<unsigned> result(wide * high * perPel, 0);
    for (std::size_t y = 0; y < high && top + y < spec.height; ++y) {
        for (std::size_t x = 0; x < wide && left + x < spec.width; ++x) {
            const std::size_t pel = ((top + y) * spec.width + left + x) * spec.samples;
            for (std::size_t s = 0; s < perPel; ++s) {
                result[(y * wide + x) * perPel + s] = samples.at(pel + (spec.planes ? plane : s));
            }
        }
    }
    return result;
}

std::vector<unsigned char> packRows(const std::vector<unsigned>& samples, std::size_t rows, unsigned bits) {
    std::vector<unsigned char> bytes;
    const std::size_t perRow = samples.size() / rows;
    for (std::size_t y = 0; y < rows; ++y) {
        const std::vector<unsigned char> row = packRow(samples.data() + y * perRow, perRow, bits, true);
        bytes.insert(bytes.end(), row.begin(), row.end());
    }
    return bytes;
}

void writePage(TIFF* tiff, const TiffSpec& spec, const std::vector<unsigned>& samples) {
    setTags(tiff, spec);
    for (std::uint16_t plane = 0; plane < (spec.planes ? spec.samples : 1); ++plane) {
        if (spec.tile > 0) {
            for (std::uint32_t top = 0; top < spec.height; top += spec.tile) {
                for (std::uint32_t left = 0; left < spec.width; left += spec.tile) {
                    auto bytes =
                        packRows(cut(spec, samples, plane, left, top, spec.tile, spec.tile), spec.tile, spec.bits);
                    TIFFWriteTile(tiff, bytes.data(), left, top, 0, plane);
                }
            }
        } else {
            for (std::uint32_t y = 0; y < spec.height; ++y) {
                auto bytes = packRows(cut(spec, samples, plane, 0, y, spec.width, 1), 1, spec.bits);
                TIFFWriteScanline(tiff, bytes.data(), y, plane);
            }
        }
    }
    TIFFWriteDirectory(tiff);
}

File compressJpeg(int width, int height, int format, int subsampling, const unsigned char* pels, int flags) {
    tjhandle encoder = tjInitCompress();
    unsigned char* bytes = nullptr;
    unsigned long size = 0;
    tjCompress2(encoder, pels, width, 0, height, format, &bytes, &size, subsampling, 100, flags);
    File file(bytes, bytes + size);
    tjFree(bytes);
    tjDestroy(encoder);
    return file;
}

}  // namespace

void append(File& file, const std::string& text) { file.insert(file.end(), text.begin(), text.end()); }

void appendBytes(File& file, std::initializer_list<int> bytes) {
    for (const int byte : bytes) file.push_back(static_cast<unsigned char>(byte));
}

void append16(File& file, unsigned value) {
    file.push_back(static_cast<unsigned char>(value & 255U));
    file.push_back(static_cast<unsigned char>(value >> 8 & 255U));
}

void append32(File& file, std::uint32_t value) {
    append16(file, value & 0xFFFFU);
    append16(file, value >> 16);
}

File encodePng(const PngSpec& spec, const std::vector<unsigned>& samples) {
    File file;
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    png_set_write_fn(png, &file, appendToFile, nullptr);
    png_set_IHDR(png, info, spec.width, spec.height, spec.depth, spec.colourType,
                 spec.interlaced ? PNG_INTERLACE_ADAM7 : PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT,
                 PNG_FILTER_TYPE_DEFAULT);
    std::vector<png_color> palette;
    for (std::size_t i = 0; i + 2 < spec.palette.size(); i += 3) {
        palette.push_back({spec.palette[i], spec.palette[i + 1], spec.palette[i + 2]});
    }
    if (!palette.empty()) png_set_PLTE(png, info, palette.data(), static_cast<int>(palette.size()));
    if (!spec.paletteAlpha.empty()) {
        png_set_tRNS(png, info, spec.paletteAlpha.data(), static_cast<int>(spec.paletteAlpha.size()), nullptr);
    }
    png_write_info(png, info);
    const std::size_t perRow = spec.width * channelsOf(spec.colourType);
    const int passes = png_set_interlace_handling(png);
    for (int pass = 0; pass < passes; ++pass) {
        for (std::size_t y = 0; y < spec.height; ++y) {
            const auto row = packRow(samples.data() + y * perRow, perRow, static_cast<unsigned>(spec.depth), false);
            png_write_row(png, row.data());
        }
    }
    png_write_end(png, info);
    png_destroy_write_struct(&png, &info);
    return file;
}

File encodeTiff(const TiffSpec& spec, const std::vector<unsigned>& samples) {
    const std::string path = temporaryName();
    TIFF* tiff = TIFFOpen(path.c_str(), spec.bigEndian ? "wb" : "wl");
    writePage(tiff, spec, samples);
    for (int page = 1; page < spec.pages; ++page) writePage(tiff, spec, std::vector<unsigned>(samples.size(), 0));
    TIFFClose(tiff);
    return readAndRemove(path);
}

File encodeJpeg(int width, int height, int channels, const std::vector<unsigned char>& pels) {
    const bool grey = channels == 1;
    return compressJpeg(width, height, grey ? TJPF_GRAY : TJPF_RGB, grey ? TJSAMP_GRAY : TJSAMP_444, pels.data(), 0);
}

File encodeCmykJpeg(int width, int height, const std::vector<unsigned char>& pels) {
    return compressJpeg(width, height, TJPF_CMYK, TJSAMP_444, pels.data(), 0);
}

qvtool::GreyImage decode(const File& file) { return qvtool::decodeImage({file.data(), file.size()}); }

std::string refusal(const File& file) {
    try {
        decode(file);
        return {};
    } catch (const qvtool::ImageError& error) {
        return error.what();
    }
}

bool hasNote(const qvtool::GreyImage& image, const std::string& words) {
    for (const std::string& note : image.notes) {
        if (note.find(words) != std::string::npos) return true;
    }
    return false;
}

void expectTruncationsRefused(const File& file, std::size_t spare) {
    const qvtool::GreyImage whole = decode(file);
    for (std::size_t length = 0; length < file.size(); ++length) {
        // A copy of its own length, so that the address sanitizer sees every read beyond it.
        const File cutFile(file.begin(), file.begin() + static_cast<std::ptrdiff_t>(length));
        try {
            const qvtool::GreyImage image = decode(cutFile);
            EXPECT_GE(length + spare, file.size()) << "read although cut to " << length << " of " << file.size();
            EXPECT_EQ(image.pels, whole.pels);
        } catch (const qvtool::ImageError&) {
        }
    }
}

void expectDamageSurvived(const File& file) {
    for (std::size_t at = 0; at < file.size(); ++at) {
        for (const int change : {0x00, 0xFF, 0x80, 0x01}) {
            File damaged = file;
            damaged[at] = static_cast<unsigned char>(change > 1 && change < 0xFF ? damaged[at] ^ change : change);
            try {
                const qvtool::GreyImage image = decode(damaged);
                EXPECT_EQ(image.pels.size(),
                          static_cast<std::size_t>(image.width) * static_cast<std::size_t>(image.height));
            } catch (const qvtool::ImageError& error) {
                EXPECT_STRNE(error.what(), "");
            }
        }
    }
}

}  // namespace qvtest
