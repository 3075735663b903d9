#ifndef QVSTREET_BENCH_PEERS_REPORT_H
#define QVSTREET_BENCH_PEERS_REPORT_H

#include <iosfwd>
#include <map>
#include <string>
#include <vector>

#include "bench/peers/rows.h"

namespace qvbench {

/// A row with what was measured for it. Times are in milliseconds, per value where the row counts values.
struct MeasuredRow {
    Row row;
    Timing ours;
    Timing peer;
    double ratioOfMedians = 0.0;
    double ratioOfMinima = 0.0;
};

/// What a row comes to with the timings of its tasks. Of several of our tasks the one with the longest median counts.
/// @throws std::out_of_range for a task that was not timed
MeasuredRow measuredRow(const Row& row, const std::map<std::string, Timing>& timings);

/// Where and with what the times were taken.
struct Surroundings {
    std::string date;
    std::string processor;
    std::string compiler;
    std::string kernels;
    std::string peers;
    int rounds = 0;
};

/// "aim", "gate" or "missed".
std::string verdictOf(const MeasuredRow& measured);

/// At least three significant digits and a unit, "1.25 ms" or "1.20 / 1.25 ms" with the minimum first; and a ratio to two places, or more where it is small.
std::string medianText(const Timing& timing);
std::string timesText(const Timing& timing);
std::string ratioText(double ratio);

/// Lines of a table in a page.
void printMarkdownHead(std::ostream& out, const std::vector<std::string>& cells);
void printMarkdownLine(std::ostream& out, const std::vector<std::string>& cells);

/// Where and with what, as one line without a stop.
std::string surroundingsText(const Surroundings& surroundings);

/// Cells in columns, for the terminal.
void printAligned(std::ostream& out, const std::vector<std::vector<std::string>>& lines);

/// For the terminal.
void printTable(std::ostream& out, const Surroundings& surroundings, const std::vector<MeasuredRow>& rows);

/// For the pages of the project: the short table, then the full one, each between two lines of comment by which they
/// are found again.
void printMarkdown(std::ostream& out, const Surroundings& surroundings, const std::vector<MeasuredRow>& rows);

}  // namespace qvbench

#endif
