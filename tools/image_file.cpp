#include "tools/image_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <new>

namespace qvtool {
namespace {

// The largest file that the pel limit can call for (16-bit RGB, uncompressed) with room for headers and metadata.
constexpr std::size_t kMaxFileBytes = std::size_t{4} << 30;

// Enough to tell every format; a file without one of these is refused before the rest of it is read, so that an endless
// device costs nothing.
constexpr std::size_t kSignatureBytes = 8;

using Reader = GreyImage (*)(Bytes);

bool beginsWith(Bytes file, const char* signature, std::size_t length) {
    return file.size >= length && std::memcmp(file.data, signature, length) == 0;
}

Reader readerFor(Bytes file) {
    if (beginsWith(file, "\x89PNG\r\n\x1a\n", 8)) return readPng;
    if (beginsWith(file, "II*\0", 4) || beginsWith(file, "MM\0*", 4)) return readTiff;
    if (beginsWith(file, "II+\0", 4) || beginsWith(file, "MM\0+", 4)) return readTiff;
    if (beginsWith(file, "\xff\xd8\xff", 3)) return readJpeg;
    if (beginsWith(file, "BM", 2)) return readBmp;
    if (file.size >= 2 && file.data[0] == 'P' && std::memchr("2356", file.data[1], 4) != nullptr) return readPnm;
    return nullptr;
}

Reader readerOrError(Bytes file) {
    if (file.size == 0) throw ImageError("is empty (0 bytes); allowed are PNG, TIFF, BMP, PGM/PPM and JPEG files");
    const Reader reader = readerFor(file);
    if (reader == nullptr) {
        throw ImageError("is not an image that can be read; allowed are PNG, TIFF, BMP, PGM/PPM and JPEG files");
    }
    return reader;
}

std::string systemReason(int error) { return std::strerror(error); }

class Descriptor {
 public:
    explicit Descriptor(int number) : number_(number) {}
    ~Descriptor() {
        if (number_ >= 0) ::close(number_);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    int number() const { return number_; }

 private:
    int number_;
};

/// Appends up to `count` bytes; fewer only at the end of the file.
void readMore(int descriptor, std::size_t count, std::vector<unsigned char>& bytes) {
    const std::size_t start = bytes.size();
    std::size_t got = 0;
    bytes.resize(start + count);
    while (got < count) {
        const ssize_t n = ::read(descriptor, bytes.data() + start + got, count - got);
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) throw ImageError("cannot be read: " + systemReason(errno));
        if (n == 0) break;
        got += static_cast<std::size_t>(n);
    }
    bytes.resize(start + got);
}

std::vector<unsigned char> loadFile(const std::string& path) {
    const Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY));
    if (file.number() < 0) throw ImageError("cannot be opened: " + systemReason(errno));
    struct stat status {};
    if (::fstat(file.number(), &status) != 0) throw ImageError("cannot be read: " + systemReason(errno));
    if (S_ISDIR(status.st_mode)) throw ImageError("is a directory; an image file is needed");

    std::vector<unsigned char> bytes;
    readMore(file.number(), kSignatureBytes, bytes);
    readerOrError({bytes.data(), bytes.size()});

    // The size that the file system tells makes one allocation of it; a pipe tells 0 and grows by doubling.
    std::size_t step = 1U << 16;
    if (S_ISREG(status.st_mode) && status.st_size > 0) {
        step = std::min(static_cast<std::size_t>(status.st_size), kMaxFileBytes) + 1;
    }
    for (;;) {
        const std::size_t before = bytes.size();
        readMore(file.number(), step, bytes);
        if (bytes.size() > kMaxFileBytes) {
            throw ImageError("has more than " + std::to_string(kMaxFileBytes) + " bytes, the most that are read");
        }
        if (bytes.size() - before < step) return bytes;
        step = bytes.size();
    }
}

}  // namespace

GreyImage decodeImage(Bytes file) { return readerOrError(file)(file); }

GreyImage readImageFile(const std::string& path) {
    try {
        const std::vector<unsigned char> bytes = loadFile(path);
        return decodeImage({bytes.data(), bytes.size()});
    } catch (const std::bad_alloc&) {
        throw ImageError("needs more memory than there is");
    }
}

}  // namespace qvtool
