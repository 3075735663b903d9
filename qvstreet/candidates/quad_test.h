/// @file
/// Quad test: which two pairs of one direction are the same street on the two sides of a crossing.
#ifndef QVSTREET_CANDIDATES_QUAD_TEST_H
#define QVSTREET_CANDIDATES_QUAD_TEST_H

#include <vector>

#include "qvstreet/candidates/candidate_records.h"
#include "qvstreet/streetfinder/street_trace.h"

/// Whether the pairs (line1, line2) and (line3, line4) follow each other along one street: no overlap along it, the
/// first pair further along, line 3 on line 1 and line 4 on line 2.
bool qf_testQuad(const qv_ridgeLine& line1, const qv_ridgeLine& line2, const qv_ridgeLine& line3,
                 const qv_ridgeLine& line4, const qv_candidateTolerances& tolerances, qv_streetTrace* trace);

/// Length along `a` that `a` and the projection of `b` have in common.
double overlapAlong(const qv_ridgeLine& a, const qv_ridgeLine& b);

/// Mean distance of the four ends from the other line.
double meanEndDistance(const qv_ridgeLine& a, const qv_ridgeLine& b);

/// Appends to `out` a quad for every ordered couple of pairs that passes the quad test.
void generateQuads(const std::vector<qv_ridgeLine>& flatLines, const std::vector<qv_candPair>& pairs,
                   std::vector<qv_candQuad>& out, const qv_candidateTolerances& tolerances, qv_streetTrace* trace);

/// The same without a trace, ending once `most` quads have been appended.
void generateFirstQuads(const std::vector<qv_ridgeLine>& flatLines, const std::vector<qv_candPair>& pairs,
                        std::vector<qv_candQuad>& out, const qv_candidateTolerances& tolerances, long most);

/// Sets `out`, another list, to the at most `maxQuads` quads with the smallest sum of their lines' quality; ties keep their order.
void keepBestQuads(const std::vector<qv_ridgeLine>& flatLines, const std::vector<qv_candQuad>& quads,
                   std::vector<qv_candQuad>& out, long maxQuads, qv_candidateScratch* scratch = nullptr);

#endif
