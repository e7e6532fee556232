/// @file
/// Opening files whose names are UTF-8.
#pragma once

#include <cstdio>
#include <string>

namespace velmora::capture {

/// Opens a file to read its bytes.
/// @param path  UTF-8; names outside the system's code page are found on Windows, too
/// @return null if it cannot be opened, with the reason in `errno`
std::FILE* OpenBytes(const std::string& path);

}  // namespace velmora::capture
