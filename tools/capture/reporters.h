/// @file
/// Results as lines: for people and for programs.
#pragma once

#include <ostream>
#include <string>

#include "velmora_capture/capture_result.h"

namespace velmora::capture {

/// The name of the file or frame that an image of a `FileSource` came from.
const std::string& NameOf(const CaptureResult& result);

/// The number of an image of a `FileSource`, from 0 in the order in which they were read.
int IdOf(const CaptureResult& result);

/// Writes one image as readable lines; nothing if it could not be read.
void WriteText(std::ostream& out, const CaptureResult& result);

/// Writes one image as one line of JSON. Nothing in it depends on the run: neither times nor the
/// order in which threads came along.
void WriteJsonLine(std::ostream& out, const CaptureResult& result);

/// Writes the headings, then one line for each code of an image, as RFC 4180 wants them but with a
/// plain line end.
void WriteCsvHeadings(std::ostream& out);
void WriteCsvLines(std::ostream& out, const CaptureResult& result);

/// An error without its image, as "{definition}[task]: message (code)".
std::string DescribeError(const CaptureError& error);

/// Writes the errors of an image as lines "NAME: {definition}[task]: message (code)".
void WriteErrors(std::ostream& out, const CaptureResult& result);

/// Writes an SVG with the picture embedded, the regions dashed, the codes framed and labelled. The
/// result has kept its image.
void WriteOverlay(std::ostream& out, const CaptureResult& result);

}  // namespace velmora::capture
