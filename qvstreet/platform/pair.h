/// @file
/// A plain pair of numbers.
#ifndef QVSTREET_PLATFORM_PAIR_H
#define QVSTREET_PLATFORM_PAIR_H

/// Two values of one kind, such as a position, a size or a range.
///
/// For positions and sizes `first` is x and `second` is y; for ranges `first` is the lower bound and `second` the
/// upper. The default is (0, 0).
template <class T>
struct qvPair {
    /// x, or the lower bound.
    T first = T();
    /// y, or the upper bound.
    T second = T();

    constexpr qvPair() = default;
    /// Both elements, as given.
    constexpr qvPair(const T& firstValue, const T& secondValue) : first(firstValue), second(secondValue) {}
};

/// Whether both elements are equal. A pair with a NaN equals none.
template <class T>
constexpr bool operator==(const qvPair<T>& a, const qvPair<T>& b) {
    return a.first == b.first && a.second == b.second;
}

/// Whether an element differs.
template <class T>
constexpr bool operator!=(const qvPair<T>& a, const qvPair<T>& b) {
    return !(a == b);
}

#endif
