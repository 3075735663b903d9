/// @file
/// Corner crosses: crossings of which three corners show.
#ifndef QVSTREET_CANDIDATES_CORNER_CROSSES_H
#define QVSTREET_CANDIDATES_CORNER_CROSSES_H

#include <vector>

#include "qvstreet/candidates/candidate_records.h"
#include "qvstreet/streetfinder/street_trace.h"

/// Replaces `results` by crosses that lack one corner, at least 5 client units apart, at most `maxResults`; the arms of
/// the absent corner are drawn. They carry no cost: their `score` is 0. Corners are appended to the lists of the store.
/// Reached only in the reserved run mode.
/// @param lineCounts  lines of direction 0 and of direction 1 in `flatLines`
/// @throws qvMatrixErr::Singular when the lines of a candidate do not determine its fit
void generateCornerCrosses(qv_candidateStore& store, std::vector<qvStreetFinderStreetCrossResult>& results,
                           const std::vector<qv_ridgeLine>& flatLines, const std::vector<long>& lineCounts,
                           const qv_candidateContext& context, qv_streetTrace* trace);

/// Appends a corner to one of four lists for each line of the first range (direction 1) that meets a line of the second
/// (direction 0) end to end near a right angle.
void generateCorners(const std::vector<qv_ridgeLine>& flatLines, long first1, long count1, long first0, long count0,
                     std::vector<qv_candCorner>& ulCorners, std::vector<qv_candCorner>& urCorners,
                     std::vector<qv_candCorner>& dlCorners, std::vector<qv_candCorner>& drCorners,
                     const qv_candidateTolerances& tolerances, qv_streetTrace* trace);

/// Appends to `matched` the couples (subscript in A, subscript in B) of corners of one row: their upright lines bound a
/// street and their flat lines lie on one line.
void matchCornerPairs(const std::vector<qv_ridgeLine>& flatLines, const std::vector<qv_candCorner>& listA,
                      const std::vector<qv_candCorner>& listB, std::vector<qvPair<long>>& matched,
                      const qv_candidateTolerances& tolerances, qv_streetTrace* trace);

/// Whether two corners belong one above the other: the flat lines `testA` and `testB` bound a street and the upright
/// lines `nearA` and `nearB` lie on one line. All are keys.
bool testThirdCorner(const std::vector<qv_ridgeLine>& flatLines, long testA, long testB, long nearA, long nearB,
                     const qv_candidateTolerances& tolerances, qv_streetTrace* trace);

/// Appends a candidate for every three corners that belong together.
void joinCorners(const std::vector<qv_ridgeLine>& flatLines, const std::vector<qv_candCorner>& ulCorners,
                 const std::vector<qv_candCorner>& urCorners, const std::vector<qv_candCorner>& dlCorners,
                 const std::vector<qv_candCorner>& drCorners, std::vector<qv_stCand>& candidates,
                 const qv_candidateTolerances& tolerances, qv_streetTrace* trace);

/// Appends the candidate of four corners, upper left, upper right, lower left, lower right; a defaulted one is absent.
void buildCornerCandidate(const qv_candCorner& c0, const qv_candCorner& c1, const qv_candCorner& c2,
                          const qv_candCorner& c3, std::vector<qv_stCand>& candidates);

#endif
