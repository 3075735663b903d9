/// @file
/// Numbers as text, the same in every locale, and wide text as UTF-8.
#ifndef QVSTREET_PLATFORM_TEXT_H
#define QVSTREET_PLATFORM_TEXT_H

#include <string>

#include "qvstreet/platform/export.h"

/// The number in decimal, not the character.
QV_EXPORT std::wstring qfStr(unsigned char value);
QV_EXPORT std::wstring qfStr(int value);
QV_EXPORT std::wstring qfStr(long value);

/// The value with ten significant digits, without trailing zeros, in scientific form where the exponent is below -4 or
/// above 9: "0.5", "1234567891", "1.5e-07". Not a number is "nan" without a sign, infinity "inf" or "-inf".
QV_EXPORT std::wstring qfStr(double value);

/// The text itself; null is the empty text.
QV_EXPORT std::wstring qfStr(const wchar_t* value);

/// The value with that many digits behind the point: "3.1416" for four, or "3.1416e+00" in scientific form.
/// @param value       not a number is "nan" without a sign, infinity "inf" or "-inf"
/// @param digits      digits behind the point; fewer than 0 counts as 0, more than 1100 as 1100 (a double has no more)
/// @param scientific  whether the scientific form is wanted
QV_EXPORT std::wstring qfDbl(double value, int digits, bool scientific);

/// Wide text as UTF-8. A code unit that is no character (a surrogate, or one above 0x10FFFF) becomes U+FFFD.
QV_EXPORT std::string qfUtf8(const std::wstring& text);

#endif
