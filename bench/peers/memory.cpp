// Heap memory of a finder: what the second image of a size allocates, and the most that a finder holds beside the image.
#include <malloc.h>

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <new>
#include <vector>

#include "bench/bench_images.h"
#include "qvstreet/streetfinder/street_finder.h"

namespace {

std::size_t blocks = 0;
std::size_t bytesNow = 0;
std::size_t bytesMost = 0;

void* counted(void* memory) {
    if (memory == nullptr) throw std::bad_alloc();
    ++blocks;
    bytesNow += malloc_usable_size(memory);
    bytesMost = std::max(bytesMost, bytesNow);
    return memory;
}

void release(void* memory) noexcept {
    if (memory != nullptr) bytesNow -= malloc_usable_size(memory);
    std::free(memory);
}

std::size_t wholeUnits(std::size_t bytes, std::size_t unit) { return (bytes + unit - 1) / unit * unit; }

struct Mode {
    const char* name;
    qvStreetFinderDefs::waferType mode;
};

void printMemory(const Mode& mode, long side) {
    const qvPelBuffer_const<unsigned char>& image = qvbench::waferImage(side);
    const qvStreetFinderParams params = qvbench::waferParams(side, mode.mode);
    const std::size_t bytesBefore = bytesNow;
    bytesMost = bytesNow;
    qvStreetFinder finder(params);
    std::vector<qvStreetFinderStreetCrossResult> results;
    finder.setImage(image);
    finder.find(results);
    const std::size_t blocksBefore = blocks;
    finder.setImage(image);
    const std::size_t byBinding = blocks - blocksBefore;
    results.clear();
    finder.find(results);
    const std::size_t bySearch = blocks - blocksBefore - byBinding;
    std::printf("| %s | %ld | %zu | %zu | %.1f MB |\n", mode.name, side, byBinding, bySearch,
                static_cast<double>(bytesMost - bytesBefore) / 1e6);
}

}  // namespace

void* operator new(std::size_t bytes) { return counted(std::malloc(bytes)); }
void* operator new(std::size_t bytes, std::align_val_t alignment) {
    const auto unit = static_cast<std::size_t>(alignment);
    return counted(std::aligned_alloc(unit, wholeUnits(bytes, unit)));
}
void operator delete(void* memory) noexcept { release(memory); }
void operator delete(void* memory, std::size_t) noexcept { release(memory); }
void operator delete(void* memory, std::align_val_t) noexcept { release(memory); }
void operator delete(void* memory, std::size_t, std::align_val_t) noexcept { release(memory); }

int main() {
    std::printf(
        "<!-- bench: memory -->\n"
        "| mode | image side | blocks of the second `setImage` | of the second `find` | most that the finder held |\n"
        "|---|---|---|---|---|\n");
    for (const Mode& mode :
         {Mode{"coarse", qvStreetFinderDefs::eCoarseRidgeWafer}, Mode{"edge", qvStreetFinderDefs::eEdgePairWafer}})
        for (const long side : {1024L, 4096L}) printMemory(mode, side);
    std::printf("<!-- bench: end -->\n");
}
