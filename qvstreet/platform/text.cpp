#include "qvstreet/platform/text.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <limits>
#include <vector>

namespace {

static_assert(sizeof(wchar_t) == 4 || sizeof(wchar_t) == 2, "wide characters are UTF-32 or UTF-16 code units");

/// Significant digits of `qfStr(double)`.
constexpr int significantDigits = 10;

/// The smallest double, 2^-1074, has 1074 digits behind the point; further digits would all be zeros.
constexpr int maxDigits = 1100;

/// Digits before the point, sign, point, exponent and some room.
constexpr std::size_t roomBesideDigits = std::numeric_limits<double>::max_exponent10 + 16;

std::wstring widened(const char* first, const char* last) { return std::wstring(first, last); }

template <class Integer>
std::wstring integerText(Integer value) {
    char buffer[24];
    const auto end = std::to_chars(buffer, buffer + sizeof buffer, value).ptr;
    return widened(buffer, end);
}

/// The library's own number formatting, because it alone pays no heed to the locale.
std::wstring doubleText(double value, std::chars_format format, int digits) {
    if (std::isnan(value)) return L"nan";
    if (std::isinf(value)) return value > 0.0 ? L"inf" : L"-inf";
    std::vector<char> buffer(static_cast<std::size_t>(digits) + roomBesideDigits);
    const auto end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value, format, digits).ptr;
    return widened(buffer.data(), end);
}

bool isHighSurrogate(std::uint32_t unit) { return unit >= 0xD800U && unit <= 0xDBFFU; }
bool isLowSurrogate(std::uint32_t unit) { return unit >= 0xDC00U && unit <= 0xDFFFU; }

/// The character at `index`, which moves behind it; U+FFFD for what is none. Where wide characters have 16 bits, as on
/// Windows, two of them may be one character.
std::uint32_t nextCharacter(const std::wstring& text, std::size_t& index) {
    const auto unit = static_cast<std::uint32_t>(text[index++]);
    if (sizeof(wchar_t) == 2 && isHighSurrogate(unit) && index < text.size()) {
        const auto second = static_cast<std::uint32_t>(text[index]);
        if (isLowSurrogate(second)) {
            ++index;
            return 0x10000U + ((unit - 0xD800U) << 10) + (second - 0xDC00U);
        }
    }
    return isHighSurrogate(unit) || isLowSurrogate(unit) || unit > 0x10FFFFU ? 0xFFFDU : unit;
}

}  // namespace

std::wstring qfStr(unsigned char value) { return integerText(static_cast<unsigned>(value)); }

std::wstring qfStr(int value) { return integerText(value); }

std::wstring qfStr(long value) { return integerText(value); }

std::wstring qfStr(double value) { return doubleText(value, std::chars_format::general, significantDigits); }

std::wstring qfStr(const wchar_t* value) { return value ? std::wstring(value) : std::wstring(); }

std::wstring qfDbl(double value, int digits, bool scientific) {
    const auto format = scientific ? std::chars_format::scientific : std::chars_format::fixed;
    return doubleText(value, format, std::clamp(digits, 0, maxDigits));
}

std::string qfUtf8(const std::wstring& text) {
    std::string utf8;
    utf8.reserve(text.size());
    const auto append = [&utf8](std::uint32_t byte) { utf8.push_back(static_cast<char>(byte)); };
    const auto appendTail = [&append](std::uint32_t unit, int shift) { append(0x80U | ((unit >> shift) & 0x3FU)); };
    for (std::size_t index = 0; index < text.size();) {
        const std::uint32_t unit = nextCharacter(text, index);
        if (unit < 0x80U) {
            append(unit);
        } else if (unit < 0x800U) {
            append(0xC0U | (unit >> 6));
            appendTail(unit, 0);
        } else if (unit < 0x10000U) {
            append(0xE0U | (unit >> 12));
            appendTail(unit, 6);
            appendTail(unit, 0);
        } else {
            append(0xF0U | (unit >> 18));
            appendTail(unit, 12);
            appendTail(unit, 6);
            appendTail(unit, 0);
        }
    }
    return utf8;
}
