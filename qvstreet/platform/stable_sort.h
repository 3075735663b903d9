/// @file
/// A stable sort that takes no memory from the heap.
#ifndef QVSTREET_PLATFORM_STABLE_SORT_H
#define QVSTREET_PLATFORM_STABLE_SORT_H

#include <algorithm>
#include <functional>
#include <iterator>

// Up to here shifting elements one by one is the fastest.
constexpr std::ptrdiff_t kInsertionSorted = 12;

template <typename Iterator, typename Less>
void qf_insertionSort(Iterator first, Iterator last, const Less& less) {
    for (Iterator next = first; next != last; ++next)
        std::rotate(std::upper_bound(first, next, *next, less), next, next + 1);
}

/// Merges two neighbouring sorted ranges by cutting both at the same element and exchanging the inner parts.
template <typename Iterator, typename Less>
void qf_mergeInPlace(Iterator first, Iterator middle, Iterator last, const Less& less) {
    const auto left = middle - first;
    const auto right = last - middle;
    if (left == 0 || right == 0) return;
    if (left + right == 2) {
        if (less(*middle, *first)) std::iter_swap(first, middle);
        return;
    }
    Iterator leftCut = first;
    Iterator rightCut = middle;
    if (left > right) {
        leftCut += left / 2;
        rightCut = std::lower_bound(middle, last, *leftCut, less);
    } else {
        rightCut += right / 2;
        leftCut = std::upper_bound(first, middle, *rightCut, less);
    }
    const Iterator newMiddle = std::rotate(leftCut, middle, rightCut);
    qf_mergeInPlace(first, leftCut, newMiddle, less);
    qf_mergeInPlace(newMiddle, rightCut, last, less);
}

/// Sorts as std::stable_sort does, which would ask the heap for a buffer. Made for lists of up to some hundred
/// elements; longer ones cost n log(n)^2.
template <typename Iterator, typename Less>
void qf_stableSort(Iterator first, Iterator last, const Less& less) {
    if (last - first <= kInsertionSorted) {
        qf_insertionSort(first, last, less);
        return;
    }
    const Iterator middle = first + (last - first) / 2;
    qf_stableSort(first, middle, less);
    qf_stableSort(middle, last, less);
    qf_mergeInPlace(first, middle, last, less);
}

template <typename Iterator>
void qf_stableSort(Iterator first, Iterator last) {
    qf_stableSort(first, last, std::less<typename std::iterator_traits<Iterator>::value_type>());
}

#endif
