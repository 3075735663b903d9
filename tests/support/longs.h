/// @file
/// Numbers near the limits of 32 bits and beyond, for machines whose `long` has either size.
#ifndef QVSTREET_TESTS_SUPPORT_LONGS_H
#define QVSTREET_TESTS_SUPPORT_LONGS_H

#include <initializer_list>
#include <limits>
#include <vector>

namespace qvtest {

/// Those of the values that a `long` can have.
inline std::vector<long> longs(std::initializer_list<long long> values) {
    std::vector<long> possible;
    for (const long long value : values)
        if (value >= std::numeric_limits<long>::min() && value <= std::numeric_limits<long>::max())
            possible.push_back(static_cast<long>(value));
    return possible;
}

}  // namespace qvtest

#endif
