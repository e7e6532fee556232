/// @file
/// The images that the modules get.
#pragma once

#include <memory>

#include "velmora/foundation/ref.h"
#include "velmora/image/nx_image_data.h"

namespace velmora::capture {

/// The same image as an object to share, which owns it; no pixel is copied.
NxRef<NxImageData> TakeOverImage(std::unique_ptr<basic_structures::CImageData> image);

/// The same image as an object to share, whose pixels stay the caller's.
NxRef<NxImageData> BorrowImage(const basic_structures::CImageData& image);

/// A copy of the image's pixels.
NxRef<NxImageData> CopyImage(const basic_structures::CImageData& image);

/// An image for an application that keeps @p image alive; no pixel is copied.
std::unique_ptr<basic_structures::CImageData> ShareImage(const NxRef<NxImageData>& image);

/// Whether there are pixels, of a known format, and as many as the image says.
bool IsReadable(const basic_structures::CImageData& image);

/// The readable image in 8-bit grey, which the modules work on: the image itself if it is grey, its
/// luminance plane if it is YUV, else a conversion, in one step.
/// @return empty if there are too many pixels for an image
NxRef<NxImageData> MakeGrey(const NxRef<NxImageData>& image);

}  // namespace velmora::capture
