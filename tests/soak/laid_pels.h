/// @file
/// Pels in unusual memory: more of them than there is memory for, and at any address and distance.
#ifndef QVSTREET_TESTS_SOAK_LAID_PELS_H
#define QVSTREET_TESTS_SOAK_LAID_PELS_H

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <vector>

#include "qvstreet/platform/pel_buffer.h"

namespace qvtest {

/// A few megabytes of pels, mapped again and again one behind the other; they can only be read.
class RepeatedPels {
 public:
    /// @param paintRow  writes one row; gets its first pel and its number
    template <typename PaintRow>
    RepeatedPels(long rowPels, long rows, long repetitions, const PaintRow& paintRow)
        : bytes_(rowPels * rows), total_(bytes_ * repetitions), file_(memfd_create("soak_sizes", 0)) {
        if (file_ < 0 || ftruncate(file_, bytes_) != 0) throw std::runtime_error("no memory file");
        void* const whole = mmap(nullptr, static_cast<std::size_t>(total_), PROT_NONE,
                                 MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
        if (whole == MAP_FAILED) throw std::runtime_error("no address space");
        pels_ = static_cast<unsigned char*>(whole);
        for (long i = 0; i < repetitions; ++i)
            if (mmap(pels_ + i * bytes_, static_cast<std::size_t>(bytes_), i == 0 ? PROT_READ | PROT_WRITE : PROT_READ,
                     MAP_SHARED | MAP_FIXED, file_, 0) == MAP_FAILED)
                throw std::runtime_error("pels cannot be mapped");
        for (long y = 0; y < rows; ++y) paintRow(pels_ + y * rowPels, y);
        mprotect(pels_, static_cast<std::size_t>(bytes_), PROT_READ);
    }
    RepeatedPels(const RepeatedPels&) = delete;
    RepeatedPels& operator=(const RepeatedPels&) = delete;
    ~RepeatedPels() {
        munmap(pels_, static_cast<std::size_t>(total_));
        close(file_);
    }
    const unsigned char* pels() const { return pels_; }

 private:
    long bytes_;
    long total_;
    int file_;
    unsigned char* pels_ = nullptr;
};

/// The same pels `rowUpdate` apart from any address on, amid bytes that belong to no pel.
class Laid {
 public:
    Laid(const qvPelBuffer_const<unsigned char>& image, long rowUpdate, long alignment, bool bottomUp,
         unsigned char around)
        : bytes_(static_cast<std::size_t>(rowUpdate * image.height() + 192), around) {
        const std::uintptr_t address = reinterpret_cast<std::uintptr_t>(bytes_.data());
        unsigned char* const lowest = bytes_.data() + (64 - address % 64) % 64 + alignment;
        const long last = image.height() - 1;
        for (long y = 0; y <= last; ++y)
            std::copy_n(image.pointToRow(y), image.width(), lowest + rowUpdate * (bottomUp ? last - y : y));
        view_ = qvPelBuffer_const<unsigned char>(lowest + (bottomUp ? rowUpdate * last : 0), image.width(),
                                                 image.height(), bottomUp ? -rowUpdate : rowUpdate);
        view_.offset(image.offset());
        view_.clientFromImageXform(image.clientFromImageXform());
    }
    const qvPelBuffer_const<unsigned char>& view() const { return view_; }

 private:
    std::vector<unsigned char> bytes_;
    qvPelBuffer_const<unsigned char> view_;
};

}  // namespace qvtest

#endif
