/// @file
/// Which files to read.
#pragma once

#include <string>
#include <vector>

namespace velmora::capture {

/// Replaces each directory by the pictures in it and below it, in the order of their names, and "-"
/// by the lines of standard input. Every other name stays, whether there is such a file or not, and so
/// does a directory that cannot be read; one without pictures is told on standard error.
std::vector<std::string> ExpandInputs(const std::vector<std::string>& inputs);

}  // namespace velmora::capture
