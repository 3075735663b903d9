// The filtered response.
//
// In:  the spectrum of the sampled square, a Gabor filter (cycles per pel).
// Out: squared magnitudes and imaginary parts of the filtered image (sample frame, or its transposed copy).
//
// The lobe of the filter covers an ellipse of the spectrum, long in the direction across the streets and short along
// them. Only the elements in its bounding rectangle are filtered and transformed at all. Streets that run down the
// columns leave few rows of the spectrum alive, so these are transformed first, along x, and then all columns:
//
//     rows v alive  --filter, transform along x-->  half way: a row for each live v, all x
//     columns x, eight at a time  --transform along v-->  rows y, all x
//
// Streets that run along the rows leave few columns alive. There x and y, u and v change their parts, and what comes out
// is the transposed response: just what the ridge scan wants for such streets.
#include "qvstreet/frontend/filtered_response.h"

#include <algorithm>

#include "qvstreet/platform/fourier_plan.h"

namespace {

constexpr long kLanes = kFourierLanes;
// Half of a side must be whole blocks of lanes, so that no block holds both ends of the frequencies.
constexpr long kSmallestSide = 2 * kLanes;

/// The range widened to whole blocks of lanes.
qv_ElementRange wholeBlocks(const qv_ElementRange& range, long size) {
    const long half = size / 2;
    const long first = (range.first + half) / kLanes * kLanes - half;
    const long end = (range.end + half + kLanes - 1) / kLanes * kLanes - half;
    return {first, end};
}

/// The place of a signed element.
long placeOf(long element, long size) { return element < 0 ? element + size : element; }

/// Calls `visit(element, count)` for the part of the range before and the part from zero frequency on.
template <typename Visit>
void forBothParts(const qv_ElementRange& range, Visit visit) {
    if (range.first < 0) visit(range.first, std::min(range.end, 0L) - range.first);
    if (range.end > 0) visit(std::max(range.first, 0L), range.end - std::max(range.first, 0L));
}

/// Where each element of an axis stands among the live ones; -1 for the others.
void fillSlots(const qv_ElementRange& range, long size, std::vector<long>& slots) {
    slots.assign(static_cast<std::size_t>(size), -1);
    for (long element = range.first; element < range.end; ++element)
        slots[static_cast<std::size_t>(placeOf(element, size))] = element - range.first;
}

/// One side of the work: the axis along which few elements live, and the other one, which is transformed first.
struct Axes {
    long fewSize;
    long otherSize;
    qv_ElementRange few;
    qv_ElementRange other;
};

/// Rows alive: filters eight at a time and transforms them along x, into rows of the half-way planes.
void transformLiveRows(const qvFrequencyBuffer& spectrum, const Axes& axes, qv_ResponseScratch& scratch) {
    const qv_FourierKernels& kernels = QV_CHOSEN_KERNELS(fourierKernels);
    qv_ResponsePlane<double>& real = scratch.filteredReal;
    qv_ResponsePlane<double>& imaginary = scratch.filteredImaginary;
    real.resize(axes.otherSize, kLanes);
    imaginary.resize(axes.otherSize, kLanes);
    // What lies outside the live columns is 0 for all rows.
    std::fill(real.row(0), real.row(kLanes), 0.0);
    std::fill(imaginary.row(0), imaginary.row(kLanes), 0.0);

    qv_FourierBlock block(axes.otherSize);
    const long* const order = block.plan->rowsOf();
    for (long element = axes.few.first; element < axes.few.end; element += kLanes) {
        const long row = placeOf(element, axes.fewSize);
        forBothParts(axes.other, [&](long first, long count) {
            const long column = placeOf(first, axes.otherSize);
            scratch.filter.applyTo(spectrum, column, row, count, kLanes, real.row(0) + column,
                                   imaginary.row(0) + column, real.rowUpdate);
        });
        kernels.loadRows(real.row(0), real.rowUpdate, kLanes, axes.otherSize, block.real);
        kernels.loadRows(imaginary.row(0), imaginary.rowUpdate, kLanes, axes.otherSize, block.imaginary);
        block.transformBack();
        const long slot = element - axes.few.first;
        kernels.storeRows(block.real, order, 1.0, kLanes, axes.otherSize, scratch.halfWayReal.row(slot),
                          scratch.halfWayReal.rowUpdate);
        kernels.storeRows(block.imaginary, order, 1.0, kLanes, axes.otherSize, scratch.halfWayImaginary.row(slot),
                          scratch.halfWayImaginary.rowUpdate);
    }
}

/// Columns alive: filters eight at a time and transforms them along y, into rows of the half-way planes.
void transformLiveColumns(const qvFrequencyBuffer& spectrum, const Axes& axes, qv_ResponseScratch& scratch) {
    const qv_FourierKernels& kernels = QV_CHOSEN_KERNELS(fourierKernels);
    qv_ResponsePlane<double>& real = scratch.filteredReal;
    qv_ResponsePlane<double>& imaginary = scratch.filteredImaginary;
    real.resize(kLanes, axes.other.end - axes.other.first);
    imaginary.resize(kLanes, axes.other.end - axes.other.first);
    fillSlots(axes.other, axes.otherSize, scratch.slots);

    qv_FourierBlock block(axes.otherSize);
    const long* const order = block.plan->rowsOf();
    for (long element = axes.few.first; element < axes.few.end; element += kLanes) {
        const long column = placeOf(element, axes.fewSize);
        forBothParts(axes.other, [&](long first, long count) {
            const long to = first - axes.other.first;
            scratch.filter.applyTo(spectrum, column, placeOf(first, axes.otherSize), kLanes, count, real.row(to),
                                   imaginary.row(to), real.rowUpdate);
        });
        kernels.transformColumns(imaginary.row(0), real.row(0), real.rowUpdate, scratch.slots.data(), axes.otherSize,
                                 block.plan->turns(), block.imaginary, block.real);
        const long slot = element - axes.few.first;
        kernels.storeRows(block.real, order, 1.0, kLanes, axes.otherSize, scratch.halfWayReal.row(slot),
                          scratch.halfWayReal.rowUpdate);
        kernels.storeRows(block.imaginary, order, 1.0, kLanes, axes.otherSize, scratch.halfWayImaginary.row(slot),
                          scratch.halfWayImaginary.rowUpdate);
    }
}

/// Transforms the half-way planes along the other axis, eight columns at a time, and takes the magnitudes.
void transformAcross(const Axes& axes, qv_ResponseScratch& scratch, qv_FilteredResponse& response) {
    const qv_FourierKernels& kernels = QV_CHOSEN_KERNELS(fourierKernels);
    response.squares.resize(axes.otherSize, axes.fewSize);
    response.imaginaries.resize(axes.otherSize, axes.fewSize);
    fillSlots(axes.few, axes.fewSize, scratch.slots);

    const double factor = 1.0 / (static_cast<double>(axes.fewSize) * static_cast<double>(axes.otherSize));
    double largest = 0.0;
    qv_FourierBlock block(axes.fewSize);
    for (long c = 0; c < axes.otherSize; c += kLanes) {
        kernels.transformColumns(scratch.halfWayImaginary.row(0) + c, scratch.halfWayReal.row(0) + c,
                                 scratch.halfWayReal.rowUpdate, scratch.slots.data(), axes.fewSize, block.plan->turns(),
                                 block.imaginary, block.real);
        largest = kernels.storeSquares(block.real, block.imaginary, block.plan->rowsOf(), factor, axes.fewSize, largest,
                                       response.squares.row(0) + c, response.squares.rowUpdate,
                                       response.imaginaries.row(0) + c, response.imaginaries.rowUpdate);
    }
    response.largestSquare = largest;
}

bool isPowerOfTwo(long number) { return (number & (number - 1)) == 0; }

}  // namespace

bool canRespondFiltered(long width, long height) {
    return width >= kSmallestSide && height >= kSmallestSide && isPowerOfTwo(width) && isPowerOfTwo(height);
}

void respondFiltered(const qvFrequencyBuffer& spectrum, qv_ResponseScratch& scratch, qv_FilteredResponse& response) {
    const long width = spectrum.width();
    const long height = spectrum.height();
    const qv_ElementRange columns = wholeBlocks(scratch.filter.liveColumns(), width);
    const qv_ElementRange rows = wholeBlocks(scratch.filter.liveRows(), height);
    const Axes axes = response.transposed ? Axes{width, height, columns, rows} : Axes{height, width, rows, columns};
    scratch.halfWayReal.resize(axes.otherSize, axes.few.end - axes.few.first);
    scratch.halfWayImaginary.resize(axes.otherSize, axes.few.end - axes.few.first);
    if (response.transposed)
        transformLiveColumns(spectrum, axes, scratch);
    else
        transformLiveRows(spectrum, axes, scratch);
    transformAcross(axes, scratch, response);
}
