// What an engineer has to know first, read from the records of a run: what each stage handed on and, where there are no
// crossings, which was the first one that had nothing to hand on. Only texts and tables are read that people see on the
// page too.
#include "qvstreet/platform/text.h"
#include "tools/inspection.h"
#include "tools/text.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <optional>

namespace qvtool {
namespace {

constexpr std::array<const wchar_t*, 2> kDirections = {L", direction 0", L", direction 1"};
constexpr const wchar_t* kDirection0 = L"Direction 0, nearer the horizontal";
constexpr const wchar_t* kDirection1 = L"Direction 1, nearer the vertical";
constexpr std::array<const char*, 2> kNames = {"direction 0 (flat)", "direction 1 (upright)"};

const qvDiagRecord* recordNamed(const qvDiagObject& records, const std::wstring& title) {
    for (long i = records.numRecords(); i-- > 0;) {
        if (records.diagRecord(i).recordAnnotation() == title) return &records.diagRecord(i);
    }
    return nullptr;
}

const qvDiagEntry* entryNamed(const qvDiagRecord* record, qvDiagEntry::qeKind kind, const std::wstring& label) {
    if (record == nullptr) return nullptr;
    for (const qvDiagEntry& entry : record->entries()) {
        const std::wstring& name = kind == qvDiagEntry::eTable ? entry.table.label : entry.label;
        if (entry.kind == kind && name == label) return &entry;
    }
    return nullptr;
}

std::string textOf(const qvDiagRecord* record, const std::wstring& label) {
    const qvDiagEntry* entry = entryNamed(record, qvDiagEntry::eText, label);
    return entry == nullptr ? std::string() : qfUtf8(entry->text);
}

/// The whole number that a text begins with.
std::optional<long> countIn(const std::string& text) {
    const std::size_t end = std::min(text.find_first_not_of("0123456789"), text.size());
    if (end == 0 || end > 9) return std::nullopt;
    return std::stol(text.substr(0, end));
}

std::optional<std::size_t> columnOf(const qvDiagTable& table, const std::wstring& heading) {
    const auto found = std::find(table.heading.begin(), table.heading.end(), heading);
    if (found == table.heading.end()) return std::nullopt;
    return static_cast<std::size_t>(found - table.heading.begin());
}

std::string cell(const qvDiagTable& table, std::size_t row, const std::wstring& heading) {
    const std::optional<std::size_t> column = columnOf(table, heading);
    if (!column || row >= table.rows.size() || *column >= table.rows[row].size()) return {};
    return qfUtf8(table.rows[row][*column]);
}

/// The rows of a table that begin like this in a column.
std::size_t rowsWith(const qvDiagTable& table, const std::wstring& heading, const std::wstring& beginning) {
    const std::optional<std::size_t> column = columnOf(table, heading);
    if (!column) return 0;
    return static_cast<std::size_t>(
        std::count_if(table.rows.begin(), table.rows.end(), [&](const std::vector<std::wstring>& row) {
            return *column < row.size() && row[*column].compare(0, beginning.size(), beginning) == 0;
        }));
}

/// Whether the text says "0 of ..." or "0 lines ...".
bool saysNone(const std::string& text) { return countIn(text) == 0L; }

/// Whether the filtered image of that direction gave no line at all, long or short.
bool hasNoLine(const qvDiagObject& records, std::size_t direction) {
    const std::wstring label = L"Lines" + std::wstring(kDirections[direction]);
    const qvDiagRecord* lines = recordNamed(records, L"Lines");
    const qvDiagEntry* table = entryNamed(lines, qvDiagEntry::eTable, label);
    return saysNone(textOf(lines, label)) && (table == nullptr || table->table.rows.empty());
}

/// Neither direction has a line: what is wrong then is wrong with the image, not with one direction.
std::string failedImage(const qvDiagObject& records) {
    if (!hasNoLine(records, 0) || !hasNoLine(records, 1)) return {};
    const bool noAngle = textOf(recordNamed(records, L"Street Directions"), L"Choice").rfind("No angle", 0) == 0;
    return std::string("No line was found in either direction") +
           (noAngle ? ": the image shows none, since the angle profile has no peak that reaches its threshold." : ".");
}

std::string failedLines(const qvDiagObject& records, std::size_t direction) {
    const std::wstring where = kDirections[direction];
    const qvDiagRecord* response = recordNamed(records, L"Response" + where);
    const qvDiagRecord* lines = recordNamed(records, L"Lines");
    const std::string kept = textOf(lines, L"Lines" + where);
    if (!saysNone(kept)) return {};
    const qvDiagEntry* table = entryNamed(lines, qvDiagEntry::eTable, L"Lines" + where);
    if (hasNoLine(records, direction)) {
        const std::string found = textOf(response, L"Found");
        return std::string("No line of ") + kNames[direction] + " was found" +
               (found.empty() ? "" : ": its filtered image gave " + found) + ".";
    }
    // The longest line stands first.
    return std::string("No line of ") + kNames[direction] + " survived the length limit: the longest measures " +
           cell(table->table, 0, L"length") + " client units, and more than " + cell(table->table, 0, L"longer than") +
           " are needed.";
}

std::string failedPolarity(const qvDiagObject& records, std::size_t direction) {
    const qvDiagRecord* test = recordNamed(records, L"Polarity Test" + std::wstring(kDirections[direction]));
    if (!saysNone(textOf(test, L"Found"))) return {};
    std::string failure = std::string("No line of ") + kNames[direction] +
                          " passed the polarity test; asked for were " + textOf(test, L"Polarity asked for");
    if (const qvDiagEntry* lines = entryNamed(test, qvDiagEntry::eTable, L"Lines")) {
        failure += ", but of " + std::to_string(lines->table.rows.size()) + " lines " +
                   std::to_string(rowsWith(lines->table, L"verdict", L"1")) + " are dark and " +
                   std::to_string(rowsWith(lines->table, L"verdict", L"2")) + " light";
    }
    return failure + ".";
}

std::string failedPairs(const qvDiagObject& records) {
    const qvDiagRecord* candidates = recordNamed(records, L"Candidates");
    const qvDiagEntry* counts = entryNamed(candidates, qvDiagEntry::eTable, L"Counts");
    if (counts == nullptr) return {};
    for (std::size_t row = 0; row < counts->table.rows.size(); ++row) {
        if (cell(counts->table, row, L"stage").rfind("pairs", 0) != 0) continue;
        for (std::size_t direction = 0; direction < 2; ++direction) {
            if (cell(counts->table, row, direction == 0 ? L"direction 0" : L"direction 1") != "0") continue;
            const std::string ofAny = textOf(candidates, pairsOfAnyPolarityLabel(direction));
            if (!ofAny.empty() && !saysNone(ofAny)) {
                return std::string("No pair of lines of ") + kNames[direction] +
                       " has the polarity that was asked for: as far apart as the two edges of a street are " + ofAny +
                       ".";
            }
            const std::string refused = textOf(candidates, refusedPairsLabel(direction));
            if (!refused.empty()) {
                return std::string("All pairs of lines of ") + kNames[direction] +
                       " that are as far apart as the two edges of a street were refused by the overlap test: " +
                       refused + ".";
            }
            return std::string("No two lines of ") + kNames[direction] +
                   " are as far apart as the two edges of a street; allowed widths are " +
                   textOf(candidates, L"Street widths") + ".";
        }
    }
    const qvDiagEntry* crosses = entryNamed(candidates, qvDiagEntry::eTable, L"Crosses");
    if (crosses == nullptr || crosses->table.rows.empty()) return {};
    const bool none = std::all_of(crosses->table.rows.begin(), crosses->table.rows.end(),
                                  [](const std::vector<std::wstring>& row) { return row.back() == L"0"; });
    return none ? "The streets of the two directions make no cross: their angles or widths do not fit." : "";
}

/// The number that a text begins with, as the angle of a line, which has no direction of its own: (-90, 90].
std::optional<double> lineAngleIn(const std::string& text) {
    const std::optional<double> degrees = parseAnyNumber(text.substr(0, text.find(' ')));
    if (!degrees || !(std::fabs(*degrees) <= 360.0)) return std::nullopt;
    const double turned = std::remainder(*degrees, 180.0);
    return turned <= -90.0 ? turned + 180.0 : turned;
}

std::string angleOf(const std::string& text) {
    const std::optional<double> degrees = lineAngleIn(text);
    if (!degrees) return text;
    const std::string digits = withDigits(*degrees, 2);
    return (digits == "-0.00" ? "0.00" : digits) + " degrees";
}

/// Without the zeros that records write behind the points of numbers.
std::string withPlainNumbers(const std::string& text) {
    const auto isDigit = [](char c) { return c >= '0' && c <= '9'; };
    std::string plain;
    bool isFraction = false;
    std::size_t kept = 0;  // up to the last character that is no such zero
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (isFraction && !isDigit(text[i])) {
            plain.resize(kept);
            isFraction = false;
        }
        plain += text[i];
        if (!isFraction && text[i] == '.' && i > 0 && isDigit(text[i - 1]) && i + 1 < text.size() &&
            isDigit(text[i + 1])) {
            isFraction = true;
            kept = plain.size() - 1;
        } else if (!isFraction || text[i] != '0') {
            kept = plain.size();
        }
    }
    if (isFraction) plain.resize(kept);
    return plain;
}

std::string lineOf(const char* stage, const std::string& text) { return std::string(stage) + ": " + text; }

void addDirections(const qvDiagObject& records, std::vector<std::string>& findings) {
    const qvDiagRecord* record = recordNamed(records, L"Street Directions");
    const std::string choice = textOf(record, L"Choice");
    if (choice.empty()) return;
    const qvDiagEntry* angles = entryNamed(record, qvDiagEntry::eTable, L"Angles");
    std::string text = choice;
    text +=
        "; flat at " + angleOf(textOf(record, kDirection0)) + ", upright at " + angleOf(textOf(record, kDirection1));
    if (angles != nullptr) {
        const std::size_t weak = rowsWith(angles->table, L"use", L"too weak");
        const std::size_t all = angles->table.rows.size();
        text += "; " + std::to_string(all - std::min(all, weak)) + " of " + std::to_string(all) +
                " angles are strong enough";
    }
    findings.push_back(lineOf("Street directions", text));
}

void addTexts(const qvDiagObject& records, std::vector<std::string>& findings) {
    for (std::size_t d = 0; d < kDirections.size(); ++d) {
        const std::wstring where = kDirections[d];
        const std::string found = textOf(recordNamed(records, L"Response" + where), L"Found");
        const std::string kept = textOf(recordNamed(records, L"Lines"), L"Lines" + where);
        if (!found.empty() || !kept.empty()) {
            findings.push_back(lineOf(kNames[d], found + (found.empty() || kept.empty() ? "" : "; ") + kept));
        }
    }
    for (std::size_t d = 0; d < kDirections.size(); ++d) {
        const qvDiagRecord* test = recordNamed(records, L"Polarity Test" + std::wstring(kDirections[d]));
        const std::string passed = textOf(test, L"Found");
        const bool isAsked = textOf(test, L"Polarity asked for").rfind("any", 0) != 0;
        if (passed.empty() || !isAsked) continue;
        findings.push_back(std::string("Polarity, ") + kNames[d] + ": " + textOf(test, L"Polarity asked for") + "; " +
                           passed);
    }
}

void addCandidates(const qvDiagObject& records, std::vector<std::string>& findings) {
    const qvDiagRecord* candidates = recordNamed(records, L"Candidates");
    if (const qvDiagEntry* counts = entryNamed(candidates, qvDiagEntry::eTable, L"Counts")) {
        std::string text;
        for (std::size_t row = 0; row < counts->table.rows.size(); ++row) {
            text += (text.empty() ? "" : "; ") + cell(counts->table, row, L"stage") + " " +
                    cell(counts->table, row, L"direction 0") + " and " + cell(counts->table, row, L"direction 1");
        }
        findings.push_back(lineOf("Edges to streets (flat and upright)", text));
    }
    if (const qvDiagEntry* crosses = entryNamed(candidates, qvDiagEntry::eTable, L"Crosses")) {
        std::string text;
        for (std::size_t row = 0; row < crosses->table.rows.size(); ++row) {
            text += (text.empty() ? "" : "; ") + cell(crosses->table, row, L"number") + " " +
                    cell(crosses->table, row, L"kind");
        }
        findings.push_back(lineOf("Crosses", text));
    }
    if (const qvDiagEntry* scores =
            entryNamed(recordNamed(records, L"Final Scores"), qvDiagEntry::eTable, L"Crosses")) {
        findings.push_back(lineOf("Final selection", std::to_string(rowsWith(scores->table, L"use", L"kept")) + " of " +
                                                         std::to_string(scores->table.rows.size()) +
                                                         " crosses are kept"));
    }
    const std::string crossings = textOf(recordNamed(records, L"Crossings"), L"Found");
    if (!crossings.empty()) findings.push_back(lineOf("Crossings", crossings));
    const std::string measured = textOf(recordNamed(records, L"Measurement"), L"Found");
    if (!measured.empty()) findings.push_back(lineOf("Measurement", measured));
}

std::string counted(std::size_t count, const char* what) {
    return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
}

}  // namespace

std::wstring pairsOfAnyPolarityLabel(std::size_t direction) {
    return L"Pairs whatever their polarity" + std::wstring(kDirections.at(direction));
}

std::wstring refusedPairsLabel(std::size_t direction) {
    return L"Pairs refused by the overlap test" + std::wstring(kDirections.at(direction));
}

bool keepsLinesOfBothDirections(const qvDiagObject& records) {
    const qvDiagRecord* lines = recordNamed(records, L"Lines");
    return std::all_of(kDirections.begin(), kDirections.end(), [&](const wchar_t* where) {
        return countIn(textOf(lines, L"Lines" + std::wstring(where))).value_or(0) > 0;
    });
}

std::size_t linesBeyondProjection(const qvDiagObject& records) {
    std::size_t count = 0;
    for (const wchar_t* where : kDirections) {
        const qvDiagEntry* lines =
            entryNamed(recordNamed(records, L"Polarity Test" + std::wstring(where)), qvDiagEntry::eTable, L"Lines");
        if (lines != nullptr) count += rowsWith(lines->table, L"mean of the street", L"no pels");
    }
    return count;
}

std::optional<double> filterLengthAcross(const qvDiagObject& records, std::size_t direction) {
    const std::string text =
        textOf(recordNamed(records, L"Response" + std::wstring(kDirections.at(direction))), L"Filter lengths");
    const std::string beginning = "across the street ";
    if (text.rfind(beginning, 0) != 0) return std::nullopt;
    return parseAnyNumber(text.substr(beginning.size(), text.find(',') - beginning.size()));
}

std::array<std::optional<double>, 2> lineAngles(const qvDiagObject& records) {
    const qvDiagRecord* record = recordNamed(records, L"Street Directions");
    return {lineAngleIn(textOf(record, kDirection0)), lineAngleIn(textOf(record, kDirection1))};
}

std::optional<double> angleBetweenDirections(const qvDiagObject& records) {
    const auto [flat, upright] = lineAngles(records);
    if (!flat || !upright) return std::nullopt;
    return std::fabs(std::remainder(*flat - *upright, 180.0));
}

std::string firstFailure(const qvDiagObject& records) {
    std::string failure = failedImage(records);
    for (std::size_t d = 0; d < kDirections.size() && failure.empty(); ++d) failure = failedLines(records, d);
    for (std::size_t d = 0; d < kDirections.size() && failure.empty(); ++d) failure = failedPolarity(records, d);
    if (failure.empty()) failure = failedPairs(records);
    return withPlainNumbers(failure);
}

std::vector<std::string> findingsOf(const qvDiagObject& records) {
    std::vector<std::string> findings;
    addDirections(records, findings);
    addTexts(records, findings);
    addCandidates(records, findings);
    std::transform(findings.begin(), findings.end(), findings.begin(), withPlainNumbers);
    return findings;
}

std::string verdictOf(const Inspection& inspection) {
    if (!inspection.refusal.empty()) return "The image " + inspection.refusal + ".";
    const std::size_t crossings = inspection.results.crossings.size();
    const std::string streets = counted(inspection.results.singleStreets.size(), "single street");
    if (crossings > 0) return counted(crossings, "crossing") + " and " + streets + " found.";
    const std::string failure = firstFailure(inspection.records);
    return "No crossing found, " + streets + ". " +
           (failure.empty() ? "The stages below show what became of the lines." : failure);
}

}  // namespace qvtool
