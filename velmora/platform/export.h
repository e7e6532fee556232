/// @file
/// The one macro that marks what the library exports.
#pragma once

/// Marks a class, function or variable that clients of the shared library may use.
///
/// The library is built with hidden visibility (on Windows: with an explicit export list), so
/// that whatever lacks this mark stays private to it.
#if defined(_WIN32)
#if defined(VELMORA_CORE_BUILDING)
#define VELMORA_EXPORT __declspec(dllexport)
#else
#define VELMORA_EXPORT __declspec(dllimport)
#endif
#elif defined(__GNUC__)
#define VELMORA_EXPORT __attribute__((visibility("default")))
#else
#define VELMORA_EXPORT
#endif
