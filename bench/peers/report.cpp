#include "bench/peers/report.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <ostream>

#include "bench/peers/task_settings.h"

namespace qvbench {

namespace {

using Cells = std::vector<std::string>;

std::string withDigits(double value, int digits) {
    char text[64];
    std::snprintf(text, sizeof text, "%.*f", std::clamp(digits, 0, 9), value);
    return text;
}

/// `digits` significant digits and no exponent.
std::string shortNumber(double value, int digits = 3) {
    if (!(value > 0.0)) return "0";
    return withDigits(value, digits - 1 - static_cast<int>(std::floor(std::log10(value))));
}

std::string limitText(double value) { return withDigits(value, 2); }

struct Unit {
    const char* name;
    double perMillisecond;
};

Unit unitFor(double milliseconds) {
    if (milliseconds >= 0.1) return {" ms", 1.0};
    if (milliseconds >= 1e-4) return {" us", 1e3};
    return {" ns", 1e6};
}

}  // namespace

std::string ratioText(double ratio) { return ratio < 0.1 ? shortNumber(ratio, 2) : withDigits(ratio, 2); }

std::string medianText(const Timing& timing) {
    const Unit unit = unitFor(timing.median);
    return shortNumber(timing.median * unit.perMillisecond) + unit.name;
}

std::string timesText(const Timing& timing) {
    const Unit unit = unitFor(timing.median);
    return shortNumber(timing.minimum * unit.perMillisecond) + " / " +
           shortNumber(timing.median * unit.perMillisecond) + unit.name;
}

void printMarkdownLine(std::ostream& out, const Cells& cells) {
    for (const std::string& cell : cells) out << "| " << cell << ' ';
    out << "|\n";
}

void printMarkdownHead(std::ostream& out, const Cells& head) {
    printMarkdownLine(out, head);
    for (std::size_t i = 0; i < head.size(); ++i) out << "|---";
    out << "|\n";
}

namespace {

const Cells kFullHead = {
    "name", "quantity", "over",   "ours, min / median", "theirs, min / median", "ratio", "of minima",
    "gate", "aim",      "reached"};

Cells fullCells(const MeasuredRow& m) {
    return {m.row.name,
            m.row.quantity,
            m.row.against,
            timesText(m.ours),
            timesText(m.peer),
            ratioText(m.ratioOfMedians),
            ratioText(m.ratioOfMinima),
            limitText(m.row.gate),
            limitText(m.row.aim),
            verdictOf(m)};
}

void printFullMarkdown(std::ostream& out, const std::vector<MeasuredRow>& rows) {
    printMarkdownHead(out, kFullHead);
    for (const MeasuredRow& m : rows) {
        Cells cells = fullCells(m);
        cells[0] = '`' + cells[0] + '`';
        printMarkdownLine(out, cells);
    }
}

const MeasuredRow* rowNamed(const std::vector<MeasuredRow>& rows, const std::string& name) {
    for (const MeasuredRow& m : rows)
        if (m.row.name == name) return &m;
    return nullptr;
}

/// The two calls whole, a line for each side of the image.
void printWholeRuns(std::ostream& out, const std::vector<MeasuredRow>& rows) {
    printMarkdownHead(out, {"image side", "`setImage` + `find`, coarse", "edge", "one `warpAffine`", "ratio, coarse",
                            "edge", "must be", "aim"});
    for (const long side : kSides) {
        const std::string name = std::to_string(side);
        const MeasuredRow* const coarse = rowNamed(rows, "setImage_find_" + name);
        const MeasuredRow* const edge = rowNamed(rows, "setImage_find_edge_" + name);
        if (coarse == nullptr || edge == nullptr) continue;
        printMarkdownLine(out, {name, medianText(coarse->ours), medianText(edge->ours), medianText(coarse->peer),
                                ratioText(coarse->ratioOfMedians), ratioText(edge->ratioOfMedians),
                                limitText(coarse->row.gate), limitText(coarse->row.aim)});
    }
}

void printStages(std::ostream& out, const std::vector<MeasuredRow>& rows) {
    printMarkdownHead(out, {"quantity", "ours", "over", "theirs", "ratio", "must be", "aim"});
    for (const MeasuredRow& m : rows)
        if (m.row.kind == RowKind::stage)
            printMarkdownLine(out, {m.row.quantity, medianText(m.ours), m.row.against, medianText(m.peer),
                                    ratioText(m.ratioOfMedians), limitText(m.row.gate), limitText(m.row.aim)});
}

}  // namespace

MeasuredRow measuredRow(const Row& row, const std::map<std::string, Timing>& timings) {
    MeasuredRow measured;
    measured.row = row;
    for (const std::string& name : row.ours) {
        const Timing& timing = timings.at(name);
        if (timing.median > measured.ours.median) measured.ours = timing;
    }
    measured.peer = timings.at(row.peer);
    measured.ours = {measured.ours.minimum / row.oursOutputs, measured.ours.median / row.oursOutputs};
    measured.peer = {measured.peer.minimum / row.peerOutputs, measured.peer.median / row.peerOutputs};
    measured.ratioOfMedians = measured.ours.median / measured.peer.median;
    measured.ratioOfMinima = measured.ours.minimum / measured.peer.minimum;
    return measured;
}

std::string surroundingsText(const Surroundings& s) {
    return s.date + ", " + s.processor + ", one thread, kernels " + s.kernels + ", " + s.compiler + "; beside it " +
           s.peers + "; " + std::to_string(s.rounds) + " interleaved rounds";
}

std::string verdictOf(const MeasuredRow& measured) {
    if (measured.ratioOfMedians <= measured.row.aim) return "aim";
    return measured.ratioOfMedians <= measured.row.gate ? "gate" : "missed";
}

void printTable(std::ostream& out, const Surroundings& surroundings, const std::vector<MeasuredRow>& rows) {
    out << surroundingsText(surroundings) << "\n\n";
    std::vector<Cells> lines = {kFullHead};
    for (const MeasuredRow& m : rows) lines.push_back(fullCells(m));
    printAligned(out, lines);
}

void printAligned(std::ostream& out, const std::vector<Cells>& lines) {
    std::vector<std::size_t> widths(lines.front().size(), 0);
    for (const Cells& line : lines)
        for (std::size_t i = 0; i < line.size(); ++i) widths[i] = std::max(widths[i], line[i].size());
    for (const Cells& line : lines) {
        for (std::size_t i = 0; i + 1 < line.size(); ++i)
            out << line[i] << std::string(widths[i] - line[i].size() + 2, ' ');
        out << line.back() << '\n';
    }
}

void printMarkdown(std::ostream& out, const Surroundings& surroundings, const std::vector<MeasuredRow>& rows) {
    for (const bool full : {false, true}) {
        out << "<!-- bench: " << (full ? "full" : "short") << " table -->\n";
        out << surroundingsText(surroundings) << ".\n\n";
        if (full) {
            printFullMarkdown(out, rows);
        } else {
            printWholeRuns(out, rows);
            out << '\n';
            printStages(out, rows);
        }
        out << "<!-- bench: end -->\n";
    }
}

}  // namespace qvbench
