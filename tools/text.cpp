#include "tools/text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>

namespace qvtool {
namespace {

/// The length in bytes of the UTF-8 character that begins at `at`, 0 if there is none (surrogates and overlong forms
/// are none). `code` becomes the character.
std::size_t utf8Length(std::string_view text, std::size_t at, std::uint32_t& code) {
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned char first = byte(at);
    if (first < 0x80) {
        code = first;
        return 1;
    }
    std::size_t length = 0;
    std::uint32_t least = 0;
    if (first >= 0xC0 && first < 0xE0) {
        length = 2;
        least = 0x80;
        code = first & 0x1FU;
    } else if (first >= 0xE0 && first < 0xF0) {
        length = 3;
        least = 0x800;
        code = first & 0x0FU;
    } else if (first >= 0xF0 && first < 0xF8) {
        length = 4;
        least = 0x10000;
        code = first & 0x07U;
    }
    if (length == 0 || at + length > text.size()) return 0;
    for (std::size_t i = 1; i < length; ++i) {
        if ((byte(at + i) & 0xC0U) != 0x80U) return 0;
        code = code << 6 | (byte(at + i) & 0x3FU);
    }
    const bool surrogate = code >= 0xD800 && code <= 0xDFFF;
    return code < least || surrogate || code > 0x10FFFF ? 0 : length;
}

std::string_view withoutPlus(std::string_view text) {
    const bool plus = text.size() > 1 && text[0] == '+' && text[1] != '-' && text[1] != '+';
    return plus ? text.substr(1) : text;
}

template <typename T>
std::optional<T> parseWith(std::string_view text) {
    const std::string_view digits = withoutPlus(text);
    T value{};
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
    if (error != std::errc() || end != digits.data() + digits.size()) return std::nullopt;
    return value;
}

}  // namespace

std::string shortest(double value) {
    std::array<char, 40> digits{};
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), value).ptr;
    return {digits.data(), end};
}

std::string withDigits(double value, int digits) {
    if (!std::isfinite(value)) return shortest(value);
    std::array<char, 400> text{};
    const auto end = std::to_chars(text.data(), text.data() + text.size(), value, std::chars_format::fixed, digits).ptr;
    return {text.data(), end};
}

std::optional<double> parseNumber(std::string_view text) {
    const std::optional<double> value = parseAnyNumber(text);
    return value && std::isfinite(*value) ? value : std::nullopt;
}

std::optional<long long> parseWhole(std::string_view text) { return parseWith<long long>(text); }

std::optional<double> parseAnyNumber(std::string_view text) { return parseWith<double>(text); }

std::vector<std::string_view> splitAtCommas(std::string_view text) {
    std::vector<std::string_view> parts;
    for (;;) {
        const std::size_t comma = text.find(',');
        parts.push_back(text.substr(0, comma));
        if (comma == std::string_view::npos) return parts;
        text.remove_prefix(comma + 1);
    }
}

std::vector<std::string_view> splitAtWhiteSpace(std::string_view text) {
    static constexpr std::string_view kWhiteSpace = " \t\r\n\v\f";
    std::vector<std::string_view> parts;
    for (;;) {
        const std::size_t start = text.find_first_not_of(kWhiteSpace);
        if (start == std::string_view::npos) return parts;
        text.remove_prefix(start);
        const std::size_t length = std::min(text.find_first_of(kWhiteSpace), text.size());
        parts.push_back(text.substr(0, length));
        text.remove_prefix(length);
    }
}

std::string inQuotes(std::string_view text) {
    static constexpr std::string_view kHex = "0123456789abcdef";
    std::string result = "'";
    for (std::size_t at = 0; at < text.size();) {
        std::uint32_t code = 0;
        const std::size_t length = utf8Length(text, at, code);
        const bool control = code < 0x20 || (code >= 0x7F && code < 0xA0);
        if (length > 0 && !control) {
            result += text.substr(at, length);
            at += length;
        } else {
            const auto byte = static_cast<unsigned char>(text[at]);
            result += "\\x";
            result += kHex[byte >> 4];
            result += kHex[byte & 15U];
            ++at;
        }
    }
    return result + "'";
}

std::string xmlText(std::string_view text) {
    std::string result;
    for (std::size_t at = 0; at < text.size();) {
        std::uint32_t code = 0;
        const std::size_t length = utf8Length(text, at, code);
        const bool forbidden =
            (code < 0x20 && code != '\t' && code != '\n' && code != '\r') || code == 0xFFFE || code == 0xFFFF;
        if (length == 0 || forbidden) {
            result += "\xEF\xBF\xBD";
            at += length == 0 ? 1 : length;
            continue;
        }
        switch (code) {
            case '&':
                result += "&amp;";
                break;
            case '<':
                result += "&lt;";
                break;
            case '>':
                result += "&gt;";
                break;
            case '"':
                result += "&quot;";
                break;
            case '\'':
                result += "&apos;";
                break;
            default:
                result += text.substr(at, length);
        }
        at += length;
    }
    return result;
}

}  // namespace qvtool
