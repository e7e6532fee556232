// WebP through libwebp.
#include <webp/decode.h>

#include <cstddef>
#include <new>

#include "velmora_capture/image_file/internal/decoder.h"

namespace velmora::capture {

namespace {

void Check(VP8StatusCode status) {
  switch (status) {
    case VP8_STATUS_OK:
      return;
    case VP8_STATUS_OUT_OF_MEMORY:
      throw std::bad_alloc();
    case VP8_STATUS_NOT_ENOUGH_DATA:
      throw PictureError("the file ends within the picture");
    case VP8_STATUS_UNSUPPORTED_FEATURE:
      throw PictureError("an unknown kind of WebP");
    default:
      throw PictureError("broken WebP data");
  }
}

bool IsWebp(const FileBytes& bytes) {
  return bytes.HasAt(0, "RIFF", 4) && bytes.HasAt(8, "WEBP", 4);
}

void DecodeWebp(const FileBytes& bytes, PictureBuffer& buffer) {
  WebPDecoderConfig config;
  if (WebPInitDecoderConfig(&config) == 0) throw PictureError("another version of libwebp");
  Check(WebPGetFeatures(bytes.data, bytes.size, &config.input));
  if (config.input.has_animation != 0) throw PictureError("animated WebP is not read");
  const bool hasAlpha = config.input.has_alpha != 0;
  buffer.Allocate(static_cast<unsigned>(config.input.width),
                  static_cast<unsigned>(config.input.height), hasAlpha ? 4 : 3);
  config.output.colorspace = hasAlpha ? MODE_RGBA : MODE_RGB;
  config.output.is_external_memory = 1;
  config.output.u.RGBA.rgba = buffer.GetRow(0);
  config.output.u.RGBA.stride = buffer.GetStride();
  config.output.u.RGBA.size = buffer.GetSize();
  // A lossless picture and a plane of alpha take a word for each pixel, and tables.
  RequireMemory(4 * static_cast<std::size_t>(config.input.width) *
                    static_cast<std::size_t>(config.input.height) +
                (std::size_t{1} << 22));
  Check(WebPDecode(bytes.data, bytes.size, &config));
  if (hasAlpha) buffer.BlendOverWhite(3);
}

}  // namespace

const Decoder kWebpDecoder{&IsWebp, &DecodeWebp};

}  // namespace velmora::capture
