/// @file
/// Text of unknown origin, made fit for where it is shown.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace velmora::capture {

/// The length of the UTF-8 character that begins a text that is not empty; 0 if none does.
std::size_t Utf8Length(std::string_view text);

/// The text with question marks for the bytes that are no UTF-8, of which a code may hold any.
std::string ValidUtf8(const std::string& text);

/// The text with control characters written as \x0a, so that it stays one line and sends no command
/// to a terminal.
std::string Printable(const std::string& text);

/// For XML and HTML, between tags and in quotes. Control characters, which have no place there,
/// become blanks.
std::string EscapeXml(const std::string& text);

/// "1 image", "2 images".
std::string Count(int count, const char* what);

/// "12.5 ms".
std::string Milliseconds(std::int64_t nanoseconds);

std::string ToBase64(std::string bytes);

}  // namespace velmora::capture
