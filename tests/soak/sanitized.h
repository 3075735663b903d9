/// @file
/// Whether a sanitizer that keeps its own accounts of the memory is at work. It makes everything ten times as slow, holds
/// on to what was given back, and reserves terabytes of addresses.
#ifndef QVSTREET_TESTS_SOAK_SANITIZED_H
#define QVSTREET_TESTS_SOAK_SANITIZED_H

namespace qvtest {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kIsSanitized = true;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
constexpr bool kIsSanitized = true;
#else
constexpr bool kIsSanitized = false;
#endif
#else
constexpr bool kIsSanitized = false;
#endif

}  // namespace qvtest

#endif
