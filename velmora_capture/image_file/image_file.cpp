#include "velmora_capture/image_file/image_file.h"

#include <stb_image_write.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <new>
#include <system_error>

#include "velmora_capture/image_file/internal/decoder.h"
#include "velmora_capture/image_file/internal/encoder_memory.h"
#include "velmora_capture/image_file/open_file.h"

namespace velmora::capture {

using namespace basic_structures;

namespace {

constexpr const Decoder* kDecoders[] = {&kPngDecoder,  &kJpegDecoder, &kWebpDecoder, &kGifDecoder,
                                        &kTiffDecoder, &kBmpDecoder,  &kPnmDecoder};

constexpr const char* kExtensions[] = {".png", ".jpg", ".jpeg", ".webp", ".gif", ".tif", ".tiff",
                                       ".bmp", ".pbm", ".pgm",  ".ppm",  ".pnm", ".pam"};

// Text formats spend up to twelve bytes on a pixel; what is not pixels gets a MiB.
constexpr std::int64_t kMostFileBytes = 12 * kMaxPixels + (std::int64_t{1} << 20);

void FreePixels(const unsigned char* pixels) {
  std::free(const_cast<unsigned char*>(pixels));
}

// Rows of grey or R, G, B without padding.
std::vector<unsigned char> PackRows(const CImageData& image, int channels) {
  std::vector<unsigned char> packed;
  packed.reserve(static_cast<std::size_t>(image.GetWidth()) *
                 static_cast<std::size_t>(image.GetHeight() * channels));
  for (int y = 0; y < image.GetHeight(); ++y) {
    const unsigned char* pixel =
        image.GetBytes() + static_cast<std::ptrdiff_t>(y) * image.GetStride();
    for (int x = 0; x < image.GetWidth(); ++x, pixel += channels) {
      if (channels == 1) {
        packed.push_back(*pixel);
      } else {
        packed.insert(packed.end(), {pixel[2], pixel[1], pixel[0]});
      }
    }
  }
  return packed;
}

}  // namespace

File OpenToRead(const std::string& path, LoadedImage& failure) {
  File file(OpenBytes(path));
  if (file != nullptr) return file;
  const std::error_code error(errno, std::generic_category());
  if (error == std::errc::no_such_file_or_directory) {
    failure.code = EC_FileNotFound;
  } else {
    failure.code = EC_ImageReadFailed;
    failure.reason = error.message();
  }
  return file;
}

LoadedImage DecodeImage(const unsigned char* bytes, std::size_t size, const CImageTag& tag,
                        std::int64_t maxPixels) {
  const FileBytes file{bytes, size};
  const auto decoder = std::find_if(std::begin(kDecoders), std::end(kDecoders),
                                    [&](const Decoder* known) { return known->isFormat(file); });
  if (decoder == std::end(kDecoders)) return {nullptr, EC_FileTypeNotSupported, {}};
  try {
    PictureBuffer buffer(maxPixels);
    (*decoder)->decode(file, buffer);
    const ImagePixelFormat format =
        buffer.GetChannels() == 1 ? PXF_Grayscale8 : PXF_Colour888Reversed;
    auto image = std::make_unique<CImageData>(buffer.GetSize(), buffer.GetRow(0), &FreePixels,
                                              buffer.GetWidth(), buffer.GetHeight(),
                                              buffer.GetStride(), format, 0, &tag);
    buffer.Release();  // the image has taken it over
    return {std::move(image), EC_Ok, {}};
  } catch (const PictureError& error) {
    return {nullptr, EC_ImageReadFailed, error.what()};
  } catch (const std::bad_alloc&) {
    return {nullptr, EC_NoMemory, {}};
  }
}

LoadedImage LoadImageFile(const std::string& path, int imageId) {
  LoadedImage failure;
  const File file = OpenToRead(path, failure);
  if (file == nullptr) return failure;
  std::vector<unsigned char> bytes;
  constexpr std::size_t kBlock = std::size_t{1} << 16;
  for (std::size_t count = kBlock; count == kBlock;) {
    const std::size_t size = bytes.size();
    bytes.resize(size + kBlock);
    count = std::fread(&bytes[size], 1, kBlock, file.get());
    bytes.resize(size + count);
    if (static_cast<std::int64_t>(bytes.size()) > kMostFileBytes) {
      return {nullptr, EC_ImageReadFailed, "too large for a picture of the pixels allowed"};
    }
  }
  if (std::ferror(file.get()) != 0) {
    return {nullptr, EC_ImageReadFailed, std::generic_category().message(errno)};
  }
  CFileImageTag tag(path.c_str(), 0, 1);
  tag.SetImageId(imageId);
  return DecodeImage(bytes.data(), bytes.size(), tag);
}

bool HasPictureExtension(const std::string& path) {
  std::string extension = std::filesystem::path(path).extension().string();
  for (char& c : extension) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return std::any_of(std::begin(kExtensions), std::end(kExtensions),
                     [&](const char* known) { return extension == known; });
}

std::vector<unsigned char> EncodePng(const CImageData& image) {
  const int channels = image.GetImagePixelFormat() == PXF_Colour888 ? 3 : 1;
  const std::vector<unsigned char> pixels = PackRows(image, channels);
  std::vector<unsigned char> png;
  const auto append = [](void* context, void* data, int size) {
    const auto* bytes = static_cast<const unsigned char*>(data);
    auto* out = static_cast<std::vector<unsigned char>*>(context);
    out->insert(out->end(), bytes, bytes + size);
  };
  const EncoderMemory memory;
  if (stbi_write_png_to_func(append, &png, image.GetWidth(), image.GetHeight(), channels,
                             pixels.data(), image.GetWidth() * channels) == 0) {
    throw std::bad_alloc();
  }
  return png;
}

}  // namespace velmora::capture
