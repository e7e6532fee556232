// P1 to P7: PBM, PGM and PPM, plain and raw, and PAM.
#include <algorithm>
#include <cstdint>
#include <string>

#include "velmora_capture/image_file/internal/decoder.h"

namespace velmora::capture {

namespace {

constexpr std::uint64_t kMostNumber = 4'000'000'000;

bool IsSpace(unsigned char c) {
  return c == ' ' || (c >= '\t' && c <= '\r');
}

bool IsDigit(unsigned char c) {
  return c >= '0' && c <= '9';
}

[[noreturn]] void FailAtEnd() {
  throw PictureError("the file ends within the picture");
}

// Takes the file apart from the front.
class Text {
 public:
  explicit Text(const FileBytes& bytes) : at_(bytes.data), end_(bytes.data + bytes.size) {}

  std::size_t GetRest() const { return static_cast<std::size_t>(end_ - at_); }
  const unsigned char* GetPosition() const { return at_; }

  unsigned char TakeByte() {
    if (at_ == end_) FailAtEnd();
    return *at_++;
  }

  // Spaces, and comments from # to the end of their line.
  void SkipSpace() {
    while (at_ != end_ && (IsSpace(*at_) || *at_ == '#')) {
      at_ = *at_ == '#' ? std::find(at_, end_, '\n') : at_ + 1;
    }
  }

  std::uint64_t TakeNumber() {
    SkipSpace();
    if (at_ == end_) FailAtEnd();
    if (!IsDigit(*at_)) throw PictureError("a number is missing");
    std::uint64_t number = 0;
    for (; at_ != end_ && IsDigit(*at_); ++at_) {
      number = number * 10 + (*at_ - '0');
      if (number > kMostNumber) throw PictureError("a number is too large");
    }
    return number;
  }

  std::string TakeWord() {
    SkipSpace();
    const unsigned char* const begin = at_;
    at_ = std::find_if(at_, end_, &IsSpace);
    if (at_ == begin) FailAtEnd();
    return std::string(begin, at_);
  }

  void SkipLine() {
    at_ = std::find(at_, end_, '\n');
    if (at_ != end_) ++at_;
  }

 private:
  const unsigned char* at_;
  const unsigned char* end_;
};

struct Header {
  char kind = 0;  // the digit behind P
  std::uint64_t width = 0, height = 0, maximum = 1;
  int channels = 1;  // with alpha

  bool IsBitmap() const { return kind == '1' || kind == '4'; }
  bool IsPlain() const { return kind <= '3'; }
  bool HasAlpha() const { return channels == 2 || channels == 4; }
};

void ReadPamHeader(Text& text, Header& header) {
  header.maximum = 0;
  for (std::string word; (word = text.TakeWord()) != "ENDHDR";) {
    if (word == "WIDTH") {
      header.width = text.TakeNumber();
    } else if (word == "HEIGHT") {
      header.height = text.TakeNumber();
    } else if (word == "MAXVAL") {
      header.maximum = text.TakeNumber();
    } else if (word == "DEPTH") {
      header.channels = static_cast<int>(std::min<std::uint64_t>(text.TakeNumber(), 5));
    } else {
      text.SkipLine();  // the name of the kind of pixels; their depth says the same
    }
  }
  text.SkipLine();
}

Header ReadHeader(Text& text) {
  Header header;
  text.TakeByte();
  header.kind = static_cast<char>(text.TakeByte());
  if (header.kind == '7') {
    ReadPamHeader(text, header);
  } else {
    header.channels = header.kind == '3' || header.kind == '6' ? 3 : 1;
    header.width = text.TakeNumber();
    header.height = text.TakeNumber();
    if (!header.IsBitmap()) header.maximum = text.TakeNumber();
    if (!header.IsPlain() && !IsSpace(text.TakeByte())) throw PictureError("a faulty header");
  }
  if (header.channels < 1 || header.channels > 4 || header.maximum < 1 || header.maximum > 65535) {
    throw PictureError("a faulty header");
  }
  return header;
}

// The least that the pixels can take.
std::uint64_t PixelBytes(const Header& header) {
  if (header.kind == '4') return (header.width + 7) / 8 * header.height;
  const std::uint64_t samples =
      header.width * header.height * static_cast<unsigned>(header.channels);
  if (header.kind == '1') return samples;
  if (header.IsPlain()) return 2 * samples - 1;
  return header.maximum > 255 ? 2 * samples : samples;
}

std::uint64_t TakeSample(const Header& header, Text& text) {
  if (header.kind == '1') {
    text.SkipSpace();
    const unsigned char digit = text.TakeByte();
    if (digit != '0' && digit != '1') throw PictureError("a pixel that is neither 0 nor 1");
    return digit == '0';
  }
  if (header.IsPlain()) return text.TakeNumber();
  const unsigned high = text.TakeByte();
  return header.maximum > 255 ? high << 8 | text.TakeByte() : high;
}

void ReadSamples(const Header& header, Text& text, PictureBuffer& buffer) {
  const std::uint64_t maximum = header.maximum;
  for (std::size_t i = 0; i < buffer.GetSize(); ++i) {
    const std::uint64_t sample = std::min(TakeSample(header, text), maximum);
    buffer.GetRow(0)[i] = static_cast<unsigned char>((sample * 255 + maximum / 2) / maximum);
  }
}

void ReadBits(Text& text, PictureBuffer& buffer) {
  const unsigned char* bits = text.GetPosition();
  for (int y = 0; y < buffer.GetHeight(); ++y, bits += (buffer.GetWidth() + 7) / 8) {
    for (int x = 0; x < buffer.GetWidth(); ++x) {
      buffer.GetRow(y)[x] = (bits[x / 8] << x % 8 & 0x80) != 0 ? 0 : 255;
    }
  }
}

bool IsPnm(const FileBytes& bytes) {
  return bytes.size >= 3 && bytes.data[0] == 'P' && bytes.data[1] >= '1' && bytes.data[1] <= '7' &&
         (IsSpace(bytes.data[2]) || bytes.data[2] == '#');
}

void DecodePnm(const FileBytes& bytes, PictureBuffer& buffer) {
  Text text(bytes);
  const Header header = ReadHeader(text);
  buffer.CheckSize(header.width, header.height);
  if (text.GetRest() < PixelBytes(header)) FailAtEnd();
  buffer.Allocate(header.width, header.height, header.channels);
  if (header.kind == '4') return ReadBits(text, buffer);
  if (!header.IsPlain() && header.maximum == 255) {
    std::copy_n(text.GetPosition(), buffer.GetSize(), buffer.GetRow(0));
  } else {
    ReadSamples(header, text, buffer);
  }
  if (header.HasAlpha()) buffer.BlendOverWhite(header.channels - 1);
}

}  // namespace

const Decoder kPnmDecoder{&IsPnm, &DecodePnm};

}  // namespace velmora::capture
