/// @file
/// Cutting a list of candidates to those whose lines have the best quality.
#ifndef QVSTREET_CANDIDATES_KEEP_BEST_H
#define QVSTREET_CANDIDATES_KEEP_BEST_H

#include <algorithm>
#include <vector>

#include "qvstreet/candidates/candidate_records.h"
#include "qvstreet/platform/stable_sort.h"

/// Sets `out`, another list, to the at most `most` candidates with the smallest `qualityOf`; ties keep their order.
/// @param order  working memory
template <typename Candidate, typename QualityOf>
void qf_keepBest(const std::vector<Candidate>& candidates, std::vector<Candidate>& out, long most,
                 std::vector<qvIDPair>& order, QualityOf qualityOf) {
    order.clear();
    order.reserve(candidates.size());
    for (std::size_t i = 0; i < candidates.size(); ++i)
        order.push_back({static_cast<long>(i), qualityOf(candidates[i])});
    qf_stableSort(order.begin(), order.end());
    order.resize(std::min(order.size(), static_cast<std::size_t>(std::max(most, 0L))));

    out.clear();
    out.reserve(order.size());
    for (const qvIDPair& entry : order) out.push_back(candidates[static_cast<std::size_t>(entry.index)]);
}

#endif
