#include "tools/capture/text.h"

#include <cstdio>

#include "velmora/util/base64.h"

namespace velmora::capture {

std::size_t Utf8Length(std::string_view text) {
  const auto first = static_cast<unsigned char>(text[0]);
  const std::size_t length = first < 0x80                    ? 1
                             : first >= 0xC2 && first < 0xE0 ? 2
                             : first >= 0xE0 && first < 0xF0 ? 3
                             : first >= 0xF0 && first < 0xF5 ? 4
                                                             : 0;
  if (length > text.size()) return 0;
  for (std::size_t i = 1; i < length; ++i) {
    if ((static_cast<unsigned char>(text[i]) & 0xC0) != 0x80) return 0;
  }
  return length;
}

std::string ValidUtf8(const std::string& text) {
  std::string out;
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t length = Utf8Length(std::string_view(text).substr(at));
    out += length > 0 ? text.substr(at, length) : "?";
    at += length > 0 ? length : 1;
  }
  return out;
}

std::string Printable(const std::string& text) {
  static constexpr char kHex[] = "0123456789abcdef";
  std::string out;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte >= 0x20 && byte != 0x7F) {
      out += c;
    } else {
      out += {'\\', 'x', kHex[byte >> 4], kHex[byte & 15]};
    }
  }
  return out;
}

std::string EscapeXml(const std::string& text) {
  std::string out;
  for (const char c : ValidUtf8(text)) {
    switch (c) {
      case '&':
        out += "&amp;";
        break;
      case '<':
        out += "&lt;";
        break;
      case '>':
        out += "&gt;";
        break;
      case '"':
        out += "&quot;";
        break;
      default:
        out += static_cast<unsigned char>(c) < 0x20 || c == 0x7F ? ' ' : c;
    }
  }
  return out;
}

std::string Count(int count, const char* what) {
  return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
}

std::string Milliseconds(std::int64_t nanoseconds) {
  char text[32];
  std::snprintf(text, sizeof text, "%.1f ms", static_cast<double>(nanoseconds) / 1e6);
  return text;
}

std::string ToBase64(std::string bytes) {
  CBase64 codec;
  const unsigned long length = codec.Encode(reinterpret_cast<unsigned char*>(&bytes[0]),
                                            static_cast<unsigned long>(bytes.size()));
  return {codec.EncodedMessage(), length};
}

}  // namespace velmora::capture
