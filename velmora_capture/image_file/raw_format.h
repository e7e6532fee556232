/// @file
/// Video frames without any header.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "velmora/image/image_data.h"
#include "velmora_capture/export.h"

namespace velmora::capture {

/// The shape of the frames in a raw file, which follow each other without anything between them.
struct VELMORA_CAPTURE_EXPORT RawFormat {
  int width = 0;
  int height = 0;
  basic_structures::ImagePixelFormat pixels{};
  double framesPerSecond = 0;  ///< how fast they are played; 0 for as fast as they can be read

  bool IsGiven() const { return width > 0; }
  int Stride() const;              ///< bytes of a row, of its luminance for nv12 and nv21
  std::size_t FrameBytes() const;  ///< of one frame
  /// Whole frames in the files together; 0 if that cannot be told.
  int CountFrames(const std::vector<std::string>& files) const;
};

/// Reads "WIDTHxHEIGHT:FORMAT" or "WIDTHxHEIGHT:FORMAT@RATE"; the formats are nv12, nv21 and rgb.
/// @throws std::invalid_argument with a sentence on what is wrong
VELMORA_CAPTURE_EXPORT RawFormat ParseRawFormat(const std::string& text);

}  // namespace velmora::capture
