/// @file
/// Street edge search: the two edges of a street near the place where it is said to be, from its mean profile.
#ifndef QVSTREET_PROJECTION_STREET_EDGE_SEARCH_H
#define QVSTREET_PROJECTION_STREET_EDGE_SEARCH_H

#include <array>
#include <cstdint>
#include <vector>

#include "qvstreet/projection/street_axes.h"
#include "qvstreet/streetfinder/street_finder_defs.h"

/// Where a street is said to be. Pels; widths and reaches along v.
struct qv_StreetPrediction {
    /// Its centre line; u0 is where it is to be looked at first.
    qv_UvLine centre;
    /// Narrowest, widest and likeliest width.
    double leastWidth = 0.0;
    double mostWidth = 0.0;
    double likelyWidth = 0.0;
    /// How far the centre may be from where it is said to be.
    double reach = 0.0;
    qvStreetFinderDefs::streetPolarity polarity = qvStreetFinderDefs::eAnyPolarity;
};

/// Stretches of a street, along u, where another street crosses it.
struct qv_UvRange {
    double low = 0.0;
    double high = 0.0;
};

/// What the profile across the street shows.
enum class qv_EdgesFound : std::int32_t {
    both,       ///< two edges that fit each other
    one,        ///< one where one of the two might be, and no other that fits it
    ambiguous,  ///< several pairs, none clearly better
    none,       ///< no edge with contrast enough
    outside     ///< too little of the street in the image
};

struct qv_StreetEdges {
    qv_EdgesFound found = qv_EdgesFound::none;
    /// Offsets of the edges along v from the predicted centre line, pels; with `one` only the first is filled in.
    std::array<double, 2> offset{};
    /// Grey levels beyond each edge minus those before it.
    std::array<double, 2> contrast{};
    /// Of `one`: 0 where it is the street's first edge along v, 1 its second.
    std::int32_t which = 0;
    /// Mean grey level by distance from the predicted centre line; element i lies at firstOffset + i. NaN outside the
    /// image.
    std::vector<double> profile;
    double firstOffset = 0.0;
};

/// Takes the median of several stretches near `prediction.centre.u0`, so that a pad or a mark in one of them does not
/// count, smooths and differentiates it, and looks for the best pair of edges of opposite contrast.
/// @param crossings      stretches to be left out
/// @param leastContrast  grey levels that an edge must have
qv_StreetEdges qf_findStreetEdges(const qv_UvPels& pels, const qv_StreetPrediction& prediction,
                                  const std::vector<qv_UvRange>& crossings, double leastContrast);

/// Whether the columns [first, first + count) meet one of the ranges.
bool qf_meetsRange(const std::vector<qv_UvRange>& ranges, long first, long count);

#endif
