/// @file
/// The template's graph as a drawing.
#pragma once

#include <string>

namespace velmora::capture {

/// The name of the DOT text from which @p file is made.
std::string DotFileFor(const std::string& file);

/// Writes @p file as SVG through Graphviz; without it, leaves the DOT text in `DotFileFor(file)`.
/// @return the name of the file written
/// @throws OutputError
std::string WriteGraphFile(const std::string& file, const std::string& dot);

}  // namespace velmora::capture
