/// @file
/// What a text in the form of GS1 element strings must look like.
#pragma once

#include <string_view>

namespace velmora::modules {

/// Whether the text splits into elements, each of a known application identifier followed by as
/// many digits or characters as it asks for; the separator FNC1 is the character 29.
bool IsGs1(std::string_view text);

}  // namespace velmora::modules
