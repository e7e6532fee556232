/// @file
/// The macro that marks what the capture library exports.
#pragma once

/// Marks a class or function that clients of the shared capture library may use; everything else
/// stays private to it.
#if defined(_WIN32)
#if defined(VELMORA_CAPTURE_BUILDING)
#define VELMORA_CAPTURE_EXPORT __declspec(dllexport)
#else
#define VELMORA_CAPTURE_EXPORT __declspec(dllimport)
#endif
#elif defined(__GNUC__)
#define VELMORA_CAPTURE_EXPORT __attribute__((visibility("default")))
#else
#define VELMORA_CAPTURE_EXPORT
#endif
