/// @file
/// Cutting a list of candidates to those whose lines have the best quality.
#ifndef QVSTREET_CANDIDATES_KEEP_BEST_H
#define QVSTREET_CANDIDATES_KEEP_BEST_H

#include <algorithm>
#include <utility>
#include <vector>

#include "qvstreet/candidates/candidate_records.h"

/// Sets `out` to the at most `most` candidates with the smallest `qualityOf`; ties keep their order.
template <typename Candidate, typename QualityOf>
void qf_keepBest(const std::vector<Candidate>& candidates, std::vector<Candidate>& out, long most,
                 QualityOf qualityOf) {
    std::vector<qvIDPair> order;
    order.reserve(candidates.size());
    for (std::size_t i = 0; i < candidates.size(); ++i)
        order.push_back({static_cast<long>(i), qualityOf(candidates[i])});
    std::stable_sort(order.begin(), order.end());
    order.resize(std::min(order.size(), static_cast<std::size_t>(std::max(most, 0L))));

    std::vector<Candidate> kept;
    kept.reserve(order.size());
    for (const qvIDPair& entry : order) kept.push_back(candidates[static_cast<std::size_t>(entry.index)]);
    out = std::move(kept);
}

#endif
