/// @file
/// Text for people and programs: numbers that do not depend on the locale, and paths that may hold any byte.
#ifndef QVSTREET_TOOLS_TEXT_H
#define QVSTREET_TOOLS_TEXT_H

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qvtool {

/// The shortest digits that read back as the same double; nan and inf as such words.
std::string shortest(double value);

/// That many digits behind the point.
std::string withDigits(double value, int digits);

/// A finite decimal number that fills the text wholly, with an optional sign; nothing else counts.
std::optional<double> parseNumber(std::string_view text);

/// A whole number, likewise.
std::optional<long long> parseWhole(std::string_view text);

/// A number as above, or one that is not finite: inf, infinity and nan in either case of letters.
std::optional<double> parseAnyNumber(std::string_view text);

/// The parts between commas, empty ones included.
std::vector<std::string_view> splitAtCommas(std::string_view text);

/// The parts between blanks, tabs and line ends; none is empty.
std::vector<std::string_view> splitAtWhiteSpace(std::string_view text);

/// Text in single quotes for a message: control characters and bytes that are not UTF-8 become \xNN, so that no path
/// can steer a terminal.
std::string inQuotes(std::string_view text);

/// Text for XML: the five special characters escaped, what XML cannot hold replaced by U+FFFD.
std::string xmlText(std::string_view text);

}  // namespace qvtool

#endif
