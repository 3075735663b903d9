/// @file
/// Symbol visibility of the shared library.
#ifndef QVSTREET_PLATFORM_EXPORT_H
#define QVSTREET_PLATFORM_EXPORT_H

/// Marks what a host may call. Everything else stays hidden, so that no internal name can collide with one of the host.
#if defined(_WIN32)
#define QV_EXPORT
#else
#define QV_EXPORT __attribute__((visibility("default")))
#endif

#endif
