/// @file
/// Valley search: where a quantity that first falls and then rises is lowest.
#ifndef QVSTREET_PROJECTION_VALLEY_SEARCH_H
#define QVSTREET_PROJECTION_VALLEY_SEARCH_H

/// The step of 0 to count - 1 at which `value(step)` is lowest, if it has one valley; the first of equal ones.
template <class Value>
long qf_valleyStep(long count, const Value& value) {
    long low = 0;
    long high = count - 1;
    while (low < high) {
        const long middle = (low + high) / 2;
        if (value(middle + 1) < value(middle))
            low = middle + 1;
        else
            high = middle;
    }
    return low;
}

#endif
