/// @file
/// Macros on declarations: what the library exports, and whose arguments the compiler can check.
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

/// Has the compiler check a printf format against its arguments. Parameters are counted from 1, for
/// a member function from 2.
/// @param format         number of the parameter that is the format
/// @param firstArgument  number of the "..."
#if defined(__MINGW32__) && !defined(__clang__)
#define VELMORA_PRINTF_FORMAT(format, firstArgument) \
  __attribute__((__format__(__ms_printf__, format, firstArgument)))
#elif defined(__GNUC__)
#define VELMORA_PRINTF_FORMAT(format, firstArgument) \
  __attribute__((__format__(__printf__, format, firstArgument)))
#else
#define VELMORA_PRINTF_FORMAT(format, firstArgument)
#endif
