/// @file
/// Results as lines: for people and for programs.
#pragma once

#include <ostream>

#include "tools/capture/image_report.h"

namespace velmora::capture {

/// Writes one image as readable lines.
void WriteText(std::ostream& out, const ImageReport& report);

/// Writes one image as one line of JSON. Nothing in it depends on the run: neither times nor the
/// order in which threads came along.
void WriteJsonLine(std::ostream& out, const ImageReport& report);

/// Writes the errors of an image as lines "NAME: {definition}[task]: message (code)".
void WriteErrors(std::ostream& out, const ImageReport& report);

/// Writes an SVG with the picture embedded, the regions dashed, the codes framed and labelled.
void WriteOverlay(std::ostream& out, const ImageReport& report);

}  // namespace velmora::capture
