/// @file
/// Symbol visibility of the shared library.
#ifndef QVSTREET_PLATFORM_EXPORT_H
#define QVSTREET_PLATFORM_EXPORT_H

/// Marks what a host may call. Everything else stays hidden, so that no internal name can collide with one of the host.
///
/// Windows has to know which side it compiles: the library's own sources define `QVSTREET_BUILDING`, and a host that
/// links a static library defines `QVSTREET_STATIC`. A host of the DLL, and every host elsewhere, defines nothing.
#if !defined(_WIN32)
#define QV_EXPORT __attribute__((visibility("default")))
#elif defined(QVSTREET_STATIC)
#define QV_EXPORT
#elif defined(QVSTREET_BUILDING)
#define QV_EXPORT __declspec(dllexport)
#else
#define QV_EXPORT __declspec(dllimport)
#endif

#endif
