// BMP without compression, of every depth.
#include <algorithm>
#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "velmora_capture/image_file/internal/decoder.h"

namespace velmora::capture {

namespace {

constexpr std::size_t kFileHeaderBytes = 14;
constexpr std::uint32_t kCoreHeaderBytes = 12;  // of the oldest kind, with 16-bit sides
constexpr std::uint32_t kPlain = 0, kBitFields = 3, kAlphaBitFields = 6;

std::uint32_t ReadWord(const FileBytes& bytes, std::size_t offset, int length) {
  if (bytes.size < offset + static_cast<unsigned>(length)) {
    throw PictureError("the file ends within the header");
  }
  std::uint32_t word = 0;
  for (int i = length; i-- > 0;) word = word << 8 | bytes.data[offset + static_cast<unsigned>(i)];
  return word;
}

// The bits of a pixel that hold one channel.
class Channel {
 public:
  Channel() = default;
  explicit Channel(std::uint32_t mask) : mask_(mask) {
    while (mask != 0 && (mask >> shift_ & 1) == 0) ++shift_;
  }
  bool IsThere() const { return mask_ != 0; }
  unsigned char Of(std::uint32_t pixel) const {
    if (mask_ == 0) return 0;
    const std::uint64_t value = (pixel & mask_) >> shift_;
    return static_cast<unsigned char>(value * 255 / (mask_ >> shift_));
  }

 private:
  std::uint32_t mask_ = 0;
  int shift_ = 0;
};

struct Header {
  std::uint32_t headerBytes = 0, width = 0, height = 0, bits = 0, compression = kPlain;
  std::uint32_t coloursUsed = 0;
  bool isTopDown = false;
  std::array<Channel, 4> channels;  // of 16- and 32-bit pixels: R, G, B, A
  std::size_t paletteOffset = 0;

  std::uint64_t RowBytes() const { return (std::uint64_t{width} * bits + 31) / 32 * 4; }
};

void ReadMasks(const FileBytes& bytes, Header& header) {
  if (header.compression == kPlain) {
    const bool isShort = header.bits == 16;
    header.channels = {Channel(isShort ? 0x7C00 : 0xFF0000), Channel(isShort ? 0x3E0 : 0xFF00),
                       Channel(isShort ? 0x1F : 0xFF), Channel()};
    return;
  }
  // Of old headers they lie behind the header, of newer ones at the same place within it.
  const bool hasAlpha = header.headerBytes >= 56 || header.compression == kAlphaBitFields;
  for (std::size_t i = 0; i < (hasAlpha ? 4U : 3U); ++i) {
    header.channels[i] = Channel(ReadWord(bytes, kFileHeaderBytes + 40 + 4 * i, 4));
  }
  if (header.headerBytes == 40) header.paletteOffset += hasAlpha ? 16 : 12;
}

Header ReadHeader(const FileBytes& bytes) {
  Header header;
  header.headerBytes = ReadWord(bytes, kFileHeaderBytes, 4);
  header.paletteOffset = kFileHeaderBytes + header.headerBytes;
  if (header.headerBytes == kCoreHeaderBytes) {
    header.width = ReadWord(bytes, 18, 2);
    header.height = ReadWord(bytes, 20, 2);
    header.bits = ReadWord(bytes, 24, 2);
  } else {
    if (header.headerBytes < 40 || header.headerBytes > 1024) {
      throw PictureError("an unknown header");
    }
    header.width = ReadWord(bytes, 18, 4);
    header.height = ReadWord(bytes, 22, 4);
    header.bits = ReadWord(bytes, 28, 2);
    header.compression = ReadWord(bytes, 30, 4);
    header.coloursUsed = ReadWord(bytes, 46, 4);
    header.isTopDown = header.height >> 31 != 0;
    if (header.isTopDown) header.height = 0U - header.height;
  }
  const bool hasMasks = header.bits == 16 || header.bits == 32;
  const bool isPlain = header.compression == kPlain;
  if (!isPlain && header.compression != kBitFields && header.compression != kAlphaBitFields) {
    throw PictureError("a compressed BMP is not read");
  }
  if (!hasMasks && (!isPlain || (header.bits != 1 && header.bits != 4 && header.bits != 8 &&
                                 header.bits != 24))) {
    throw PictureError("pixels of " + std::to_string(header.bits) + " bits");
  }
  if (hasMasks) ReadMasks(bytes, header);
  return header;
}

struct Colour {
  unsigned char red = 0, green = 0, blue = 0;
};

std::vector<Colour> ReadPalette(const FileBytes& bytes, const Header& header) {
  const bool isCore = header.headerBytes == kCoreHeaderBytes;
  const std::uint32_t most = 1U << header.bits;
  const std::uint32_t count = header.coloursUsed == 0 ? most : std::min(header.coloursUsed, most);
  std::vector<Colour> palette(most);  // black for the indexes that the file has no colour for
  for (std::size_t i = 0; i < count; ++i) {
    const std::uint32_t colour = ReadWord(bytes, header.paletteOffset + i * (isCore ? 3 : 4), 3);
    palette[i] = {static_cast<unsigned char>(colour >> 16), static_cast<unsigned char>(colour >> 8),
                  static_cast<unsigned char>(colour)};
  }
  return palette;
}

// Rows of the file from top to bottom.
class Rows {
 public:
  Rows(const FileBytes& bytes, const Header& header) : header_(header) {
    const std::uint64_t offset = ReadWord(bytes, 10, 4);
    if (offset > bytes.size || bytes.size - offset < header.RowBytes() * header.height) {
      throw PictureError("the file ends within the picture");
    }
    first_ = bytes.data + offset;
  }
  const unsigned char* At(int y) const {
    const std::uint32_t row = static_cast<std::uint32_t>(y);
    return first_ + static_cast<std::size_t>(header_.RowBytes() *
                                             (header_.isTopDown ? row : header_.height - 1 - row));
  }

 private:
  const Header& header_;
  const unsigned char* first_ = nullptr;
};

void ReadIndexed(const FileBytes& bytes, const Header& header, const Rows& rows,
                 PictureBuffer& buffer) {
  const std::vector<Colour> palette = ReadPalette(bytes, header);
  const bool isGrey = std::all_of(palette.begin(), palette.end(), [](const Colour& colour) {
    return colour.red == colour.green && colour.green == colour.blue;
  });
  buffer.Allocate(header.width, header.height, isGrey ? 1 : 3);
  for (int y = 0; y < buffer.GetHeight(); ++y) {
    const unsigned char* const from = rows.At(y);
    unsigned char* to = buffer.GetRow(y);
    for (std::size_t x = 0; x < header.width; ++x) {
      const std::size_t bit = x * header.bits;
      const unsigned shift = 8 - header.bits - static_cast<unsigned>(bit % 8);
      const Colour& colour = palette[from[bit / 8] >> shift & ((1U << header.bits) - 1)];
      *to++ = colour.red;
      if (isGrey) continue;
      *to++ = colour.green;
      *to++ = colour.blue;
    }
  }
}

void ReadBgr(const Header& header, const Rows& rows, PictureBuffer& buffer) {
  buffer.Allocate(header.width, header.height, 3);
  for (int y = 0; y < buffer.GetHeight(); ++y) {
    const unsigned char* from = rows.At(y);
    unsigned char* to = buffer.GetRow(y);
    for (const unsigned char* const end = to + buffer.GetStride(); to != end; to += 3, from += 3) {
      to[0] = from[2];
      to[1] = from[1];
      to[2] = from[0];
    }
  }
}

void ReadMasked(const Header& header, const Rows& rows, PictureBuffer& buffer) {
  const int channels = header.channels[3].IsThere() ? 4 : 3;
  buffer.Allocate(header.width, header.height, channels);
  unsigned anyAlpha = 0;
  for (int y = 0; y < buffer.GetHeight(); ++y) {
    const unsigned char* from = rows.At(y);
    unsigned char* to = buffer.GetRow(y);
    for (int x = 0; x < buffer.GetWidth(); ++x, from += header.bits / 8) {
      std::uint32_t pixel = from[0] | static_cast<std::uint32_t>(from[1]) << 8;
      if (header.bits == 32) {
        pixel |= static_cast<std::uint32_t>(from[2]) << 16 | static_cast<std::uint32_t>(from[3])
                                                                 << 24;
      }
      for (int c = 0; c < channels; ++c) {
        *to++ = header.channels[static_cast<std::size_t>(c)].Of(pixel);
      }
      if (channels == 4) anyAlpha |= to[-1];
    }
  }
  if (channels == 3) return;
  // Programs that know nothing of alpha leave it 0 everywhere.
  if (anyAlpha == 0) {
    for (std::size_t i = 3; i < buffer.GetSize(); i += 4) buffer.GetRow(0)[i] = 255;
  }
  buffer.BlendOverWhite(3);
}

bool IsBmp(const FileBytes& bytes) {
  return bytes.HasAt(0, "BM", 2);
}

void DecodeBmp(const FileBytes& bytes, PictureBuffer& buffer) {
  const Header header = ReadHeader(bytes);
  buffer.CheckSize(header.width, header.height);
  const Rows rows(bytes, header);
  if (header.bits <= 8) {
    ReadIndexed(bytes, header, rows, buffer);
  } else if (header.bits == 24) {
    ReadBgr(header, rows, buffer);
  } else {
    ReadMasked(header, rows, buffer);
  }
}

}  // namespace

const Decoder kBmpDecoder{&IsBmp, &DecodeBmp};

}  // namespace velmora::capture
