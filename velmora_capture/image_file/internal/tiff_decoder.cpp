// The first picture of a TIFF, through libtiff.
#include <tiffio.h>

#include <algorithm>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <memory>
#include <new>
#include <vector>

#include "velmora_capture/image_file/internal/decoder.h"

namespace velmora::capture {

namespace {

constexpr std::size_t kReasonBytes = 1024;  // what TIFFRGBAImageOK writes at most;

// What the library's callbacks get: a file in memory.
struct Source {
  FileBytes bytes;
  std::uint64_t position = 0;
};

tmsize_t ReadBytes(thandle_t handle, void* to, tmsize_t count) {
  auto& source = *static_cast<Source*>(handle);
  if (source.position >= source.bytes.size || count <= 0) return 0;
  const std::size_t from = static_cast<std::size_t>(source.position);
  const std::size_t taken = std::min(static_cast<std::size_t>(count), source.bytes.size - from);
  std::memcpy(to, source.bytes.data + from, taken);
  source.position += taken;
  return static_cast<tmsize_t>(taken);
}

tmsize_t WriteNothing(thandle_t /*handle*/, void* /*from*/, tmsize_t /*count*/) {
  return 0;
}

toff_t SeekBytes(thandle_t handle, toff_t offset, int whence) {
  auto& source = *static_cast<Source*>(handle);
  const std::uint64_t base = whence == SEEK_CUR   ? source.position
                             : whence == SEEK_END ? source.bytes.size
                                                  : 0;
  return source.position = base + offset;
}

int CloseNothing(thandle_t /*handle*/) {
  return 0;
}

toff_t SizeOf(thandle_t handle) {
  return static_cast<Source*>(handle)->bytes.size;
}

// Keeps the first error. The result says that nobody else is to be told.
int KeepReason(TIFF* /*tiff*/, void* reason, const char* /*module*/, const char* format,
               va_list arguments) {
  char* const text = static_cast<char*>(reason);
  if (*text == '\0') std::vsnprintf(text, kReasonBytes, format, arguments);
  return 1;
}

int IgnoreWarning(TIFF* /*tiff*/, void* /*user*/, const char* /*module*/, const char* /*format*/,
                  va_list /*arguments*/) {
  return 1;
}

struct CloseTiff {
  void operator()(TIFF* tiff) const { TIFFClose(tiff); }
};
using Tiff = std::unique_ptr<TIFF, CloseTiff>;

// Handlers of this file alone: those of the process belong to the program.
Tiff OpenTiff(Source& source, char* reason, std::int64_t maxPixels) {
  struct FreeOptions {
    void operator()(TIFFOpenOptions* options) const { TIFFOpenOptionsFree(options); }
  };
  const std::unique_ptr<TIFFOpenOptions, FreeOptions> options(TIFFOpenOptionsAlloc());
  if (options == nullptr) throw std::bad_alloc();
  TIFFOpenOptionsSetErrorHandlerExtR(options.get(), &KeepReason, reason);
  TIFFOpenOptionsSetWarningHandlerExtR(options.get(), &IgnoreWarning, nullptr);
  // A strip may be a whole picture of four channels of 16 bits.
  const std::int64_t mostBytes = 8 * maxPixels + (std::int64_t{1} << 20);
  TIFFOpenOptionsSetMaxSingleMemAlloc(
      options.get(), static_cast<tmsize_t>(
                         std::min<std::int64_t>(mostBytes, std::numeric_limits<tmsize_t>::max())));
  return Tiff(TIFFClientOpenExt("", "rm", &source, &ReadBytes, &WriteNothing, &SeekBytes,
                                &CloseNothing, &SizeOf, nullptr, nullptr, options.get()));
}

struct Header {
  std::uint32_t width = 0, height = 0;
  std::uint16_t bits = 1, samples = 1, photometric = PHOTOMETRIC_MINISBLACK;
  std::uint16_t planes = PLANARCONFIG_CONTIG, orientation = ORIENTATION_TOPLEFT;
  std::uint16_t sampleFormat = SAMPLEFORMAT_UINT;

  explicit Header(TIFF* tiff) {
    TIFFGetField(tiff, TIFFTAG_IMAGEWIDTH, &width);
    TIFFGetField(tiff, TIFFTAG_IMAGELENGTH, &height);
    TIFFGetFieldDefaulted(tiff, TIFFTAG_BITSPERSAMPLE, &bits);
    TIFFGetFieldDefaulted(tiff, TIFFTAG_SAMPLESPERPIXEL, &samples);
    TIFFGetFieldDefaulted(tiff, TIFFTAG_PLANARCONFIG, &planes);
    TIFFGetFieldDefaulted(tiff, TIFFTAG_ORIENTATION, &orientation);
    TIFFGetFieldDefaulted(tiff, TIFFTAG_SAMPLEFORMAT, &sampleFormat);
    TIFFGetField(tiff, TIFFTAG_PHOTOMETRIC, &photometric);
  }

  bool IsGrey() const {
    return photometric == PHOTOMETRIC_MINISBLACK || photometric == PHOTOMETRIC_MINISWHITE;
  }
};

// Whether the rows of the file are the rows of the picture: scans, and what most programs write.
bool HasPlainRows(TIFF* tiff, const Header& header) {
  if (TIFFIsTiled(tiff) != 0 || header.orientation != ORIENTATION_TOPLEFT ||
      header.sampleFormat != SAMPLEFORMAT_UINT) {
    return false;
  }
  if (header.IsGrey()) return header.samples == 1 && (header.bits == 1 || header.bits == 8);
  return header.photometric == PHOTOMETRIC_RGB && header.samples == 3 && header.bits == 8 &&
         header.planes == PLANARCONFIG_CONTIG;
}

bool ReadPlainRows(TIFF* tiff, const Header& header, PictureBuffer& buffer) {
  buffer.Allocate(header.width, header.height, header.IsGrey() ? 1 : 3);
  const int flip = header.photometric == PHOTOMETRIC_MINISWHITE ? 255 : 0;
  std::vector<unsigned char> bits(header.bits == 1 ? header.width / 8 + 1 : 0);
  const std::size_t available =
      header.bits == 1 ? bits.size() : static_cast<std::size_t>(buffer.GetStride());
  const tmsize_t rowBytes = TIFFScanlineSize(tiff);
  if (rowBytes <= 0 || static_cast<std::size_t>(rowBytes) > available) return false;
  for (int y = 0; y < buffer.GetHeight(); ++y) {
    unsigned char* const row = buffer.GetRow(y);
    void* const into = header.bits == 1 ? bits.data() : row;
    if (TIFFReadScanline(tiff, into, static_cast<std::uint32_t>(y), 0) < 0) return false;
    if (header.bits == 1) {
      for (int x = 0; x < buffer.GetWidth(); ++x) {
        row[x] = (bits[static_cast<std::size_t>(x) / 8] << x % 8 & 0x80) != 0 ? 255 : 0;
      }
    }
    if (flip != 0) {
      std::for_each(row, row + buffer.GetStride(), [](unsigned char& value) { value ^= 255; });
    }
  }
  return true;
}

// Everything else that the library knows, as R, G, B, A, multiplied by alpha.
bool ReadAnything(TIFF* tiff, const Header& header, char* reason, PictureBuffer& buffer) {
  if (TIFFRGBAImageOK(tiff, reason) == 0) return false;
  buffer.Allocate(header.width, header.height, 4);
  // Words of 0xAABBGGRR, so bytes in the order R, G, B, A on the processors of both targets.
  if (TIFFReadRGBAImageOriented(tiff, header.width, header.height,
                                reinterpret_cast<std::uint32_t*>(buffer.GetRow(0)),
                                ORIENTATION_TOPLEFT, 1) == 0) {
    return false;
  }
  buffer.BlendOverWhite(header.IsGrey() ? 1 : 3, AlphaKind::kPremultiplied);
  return true;
}

bool IsTiff(const FileBytes& bytes) {
  return bytes.HasAt(0, "II*\0", 4) || bytes.HasAt(0, "MM\0*", 4) || bytes.HasAt(0, "II+\0", 4) ||
         bytes.HasAt(0, "MM\0+", 4);
}

void DecodeTiff(const FileBytes& bytes, PictureBuffer& buffer) {
  char reason[kReasonBytes] = "";
  Source source{bytes};
  RequireMemory(std::size_t{1} << 20);  // more than the tables take with which a file begins
  const Tiff tiff = OpenTiff(source, reason, buffer.GetMaxPixels());
  bool isRead = false;
  if (tiff != nullptr) {
    const Header header(tiff.get());
    buffer.CheckSize(header.width, header.height);
    isRead = HasPlainRows(tiff.get(), header) ? ReadPlainRows(tiff.get(), header, buffer)
                                              : ReadAnything(tiff.get(), header, reason, buffer);
  }
  if (!isRead) throw PictureError(*reason != '\0' ? reason : "broken TIFF data");
}

}  // namespace

const Decoder kTiffDecoder{&IsTiff, &DecodeTiff};

}  // namespace velmora::capture
