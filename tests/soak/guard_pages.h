/// @file
/// Memory in which a read or write one byte too far ends the program.
#ifndef QVSTREET_TESTS_SOAK_GUARD_PAGES_H
#define QVSTREET_TESTS_SOAK_GUARD_PAGES_H

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <stdexcept>

#include "qvstreet/platform/pel_buffer.h"

namespace qvtest {

inline long pageBytes() { return sysconf(_SC_PAGESIZE); }

/// Pages between two that cannot be touched. No memory is taken for pages that nobody writes.
class GuardedPages {
 public:
    /// Every page that begins one of the stretches of `pagesOpen` + 1 pages stays closed, and so does the last.
    GuardedPages(long stretches, long pagesOpen) : pages_(stretches * (pagesOpen + 1) + 1), pagesOpen_(pagesOpen) {
        void* const memory = mmap(nullptr, static_cast<std::size_t>(pages_ * pageBytes()), PROT_NONE,
                                  MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
        if (memory == MAP_FAILED) throw std::runtime_error("no pages");
        start_ = static_cast<unsigned char*>(memory);
        protect(PROT_READ | PROT_WRITE);
    }
    GuardedPages(const GuardedPages&) = delete;
    GuardedPages& operator=(const GuardedPages&) = delete;
    ~GuardedPages() { munmap(start_, static_cast<std::size_t>(pages_ * pageBytes())); }

    /// The first byte behind the closed page of stretch number `index`.
    unsigned char* begin(long index) const { return start_ + (index * (pagesOpen_ + 1) + 1) * pageBytes(); }
    /// The first byte of the closed page behind it.
    unsigned char* end(long index) const { return begin(index) + pagesOpen_ * pageBytes(); }
    void makeReadOnly() { protect(PROT_READ); }

 private:
    void protect(int access) {
        const long stretches = (pages_ - 1) / (pagesOpen_ + 1);
        for (long i = 0; i < stretches; ++i)
            if (mprotect(begin(i), static_cast<std::size_t>(pagesOpen_ * pageBytes()), access) != 0)
                throw std::runtime_error("pages cannot be protected");
    }

    long pages_;
    long pagesOpen_;
    unsigned char* start_ = nullptr;
};

/// Where the pels lie between the closed pages.
enum class GuardedSide : std::int32_t { behindAClosedPage, beforeAClosedPage };

/// A copy of an image with a closed page before or behind every single row. Its pages can only be read.
class GuardedRows {
 public:
    GuardedRows(const qvPelBuffer_const<unsigned char>& image, GuardedSide side, bool bottomUp)
        : pages_(image.height(), (image.width() + pageBytes() - 1) / pageBytes()) {
        const long height = image.height();
        const auto row = [&](long index) {
            return side == GuardedSide::behindAClosedPage ? pages_.begin(index) : pages_.end(index) - image.width();
        };
        for (long y = 0; y < height; ++y)
            std::copy_n(image.pointToRow(y), image.width(), row(bottomUp ? height - 1 - y : y));
        pages_.makeReadOnly();
        const long distance = pages_.begin(1) - pages_.begin(0);
        view_ = qvPelBuffer_const<unsigned char>(row(bottomUp ? height - 1 : 0), image.width(), height,
                                                 bottomUp ? -distance : distance);
        view_.offset(image.offset());
        view_.clientFromImageXform(image.clientFromImageXform());
    }
    const qvPelBuffer_const<unsigned char>& view() const { return view_; }

 private:
    GuardedPages pages_;
    qvPelBuffer_const<unsigned char> view_;
};

/// A copy of an image in one piece, rows `rowUpdate` apart, whose first pel follows a closed page or whose last pel is
/// followed by one. Its pages can only be read.
class GuardedBlock {
 public:
    GuardedBlock(const qvPelBuffer_const<unsigned char>& image, long rowUpdate, GuardedSide side, bool bottomUp)
        : pages_(1, (rowUpdate * (image.height() - 1) + image.width() + pageBytes() - 1) / pageBytes()) {
        const long height = image.height();
        unsigned char* const lowest = side == GuardedSide::behindAClosedPage
                                          ? pages_.begin(0)
                                          : pages_.end(0) - (rowUpdate * (height - 1) + image.width());
        std::fill(pages_.begin(0), pages_.end(0), static_cast<unsigned char>(0xA5));
        for (long y = 0; y < height; ++y)
            std::copy_n(image.pointToRow(y), image.width(), lowest + rowUpdate * (bottomUp ? height - 1 - y : y));
        pages_.makeReadOnly();
        view_ = qvPelBuffer_const<unsigned char>(lowest + (bottomUp ? rowUpdate * (height - 1) : 0), image.width(),
                                                 height, bottomUp ? -rowUpdate : rowUpdate);
        view_.offset(image.offset());
        view_.clientFromImageXform(image.clientFromImageXform());
    }
    const qvPelBuffer_const<unsigned char>& view() const { return view_; }

 private:
    GuardedPages pages_;
    qvPelBuffer_const<unsigned char> view_;
};

}  // namespace qvtest

#endif
