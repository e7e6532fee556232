/// @file
/// From the bytes of a code to its text.
#pragma once

#include <string>
#include <string_view>

namespace velmora::kit {

/// Whether the bytes are valid UTF-8: no overlong form, no surrogate, nothing above U+10FFFF.
bool IsUtf8(std::string_view bytes);

/// The text of bytes whose character set the code does not name: UTF-8 if they are valid UTF-8,
/// which text in other character sets hardly ever is, otherwise ISO 8859-1.
/// @return UTF-8
std::string TextOf(std::string_view bytes);

}  // namespace velmora::kit
