/// @file
/// What the candidate stages of the edge pair mode leave in a diagnostics recorder.
#ifndef QVSTREET_CANDIDATES_CANDIDATE_SEARCH_RECORDS_H
#define QVSTREET_CANDIDATES_CANDIDATE_SEARCH_RECORDS_H

#include <cstddef>
#include <vector>

#include "qvstreet/candidates/candidate_records.h"
#include "qvstreet/platform/diagnostics.h"
#include "qvstreet/streetfinder/street_finder_impl.h"

/// "Candidates": how many lines, pairs, quads and crosses there are.
/// @param lineCounts  by direction
/// @param quadCrosses,pairCrosses  numbers of crosses of eight and of four lines
void recordCandidateCounts(const qv_candidateStore& store, const std::vector<long>& lineCounts, std::size_t quadCrosses,
                           std::size_t pairCrosses, const qv_candidateContext& context, qvDiagObject& diagObject);

/// "Final Scores": the crosses in the order in which they are looked at, with the terms of their scores and what became
/// of them. The terms belong to the crosses as they were scored, before their stubs are replaced.
class qv_finalScoreRecord {
 public:
    explicit qv_finalScoreRecord(qvDiagObject* diagObject) : diagObject_(diagObject) {}

    /// Notes the terms; both lists are sorted, best first.
    void begin(const std::vector<qvStreetFinderStreetCrossResult>& quadCrosses,
               const std::vector<qvStreetFinderStreetCrossResult>& pairCrosses, double maxLength,
               const qv_candidateTolerances& tolerances, const qv_streetFinderImpl& impl);
    /// The next cross is kept, or refused because it lies too near a better one.
    void decided(bool isKept) { isKept_.push_back(isKept); }
    /// Appends the record. Crosses that nothing was decided on fell to the number asked for.
    void end() const;

 private:
    void note(const qvStreetFinderStreetCrossResult& cross, const wchar_t* kind, double maxLength,
              const qv_candidateTolerances& tolerances, const qv_streetFinderImpl& impl);

    qvDiagObject* diagObject_;
    qvPelBuffer_const<unsigned char> image_;
    std::vector<qvVector<2>> crossings_;
    std::vector<std::vector<qvLineSeg>> segments_;
    std::vector<std::vector<std::wstring>> rows_;
    std::vector<bool> isKept_;
};

#endif
