#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include "tools/capture/reporters.h"
#include "velmora/util/base64.h"
#include "velmora_capture/image_file/image_file.h"

namespace velmora::capture {
namespace {

using basic_structures::CImageData;

// The length of the UTF-8 character that begins the text; 0 if none does.
std::size_t Utf8Length(std::string_view text) {
  const auto first = static_cast<unsigned char>(text[0]);
  const std::size_t length = first < 0x80                    ? 1
                             : first >= 0xC2 && first < 0xE0 ? 2
                             : first >= 0xE0 && first < 0xF0 ? 3
                             : first >= 0xF0 && first < 0xF5 ? 4
                                                             : 0;
  if (length > text.size()) return 0;
  for (std::size_t i = 1; i < length; ++i)
    if ((static_cast<unsigned char>(text[i]) & 0xC0) != 0x80) return 0;
  return length;
}

// Bytes of another encoding, of which a code may hold any, become question marks.
std::string ToUtf8(const std::string& text) {
  std::string out;
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t length = Utf8Length(std::string_view(text).substr(at));
    out += length > 0 ? text.substr(at, length) : "?";
    at += length > 0 ? length : 1;
  }
  return out;
}

std::string EscapeXml(const std::string& text) {
  std::string out;
  for (const char c : ToUtf8(text)) {
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
      // Control characters have no place in XML.
      default:
        out += static_cast<unsigned char>(c) < 0x20 || c == 0x7F ? ' ' : c;
    }
  }
  return out;
}

std::string ToBase64(std::vector<unsigned char> bytes) {
  CBase64 codec;
  const unsigned long length = codec.Encode(bytes.data(), static_cast<unsigned long>(bytes.size()));
  return {codec.EncodedMessage(), length};
}

void WritePicture(std::ostream& out, const CImageData& image) {
  out << "<image width=\"" << image.GetWidth() << "\" height=\"" << image.GetHeight()
      << "\" href=\"data:image/png;base64," << ToBase64(EncodePng(image)) << "\"/>\n";
}

// Letters that stand for a text, for its width: UTF-8 continuation bytes are none.
int CountLetters(const std::string& text) {
  return static_cast<int>(std::count_if(text.begin(), text.end(), [](char c) {
    return (static_cast<unsigned char>(c) & 0xC0) != 0x80;
  }));
}

std::string FirstLetters(const std::string& text, int count) {
  std::size_t at = 0;
  for (; at < text.size() && count > 0; --count)
    at += Utf8Length(std::string_view(text).substr(at));
  return text.substr(0, at);
}

// Writes the overlay of one image. Sizes are those of a picture 800 pixels wide, and grow with it:
// a viewer shrinks large pictures to its window, and what is drawn over them too.
class OverlayWriter {
 public:
  OverlayWriter(std::ostream& out, const ImageReport& report)
      : out_(out),
        width_(report.width),
        height_(report.height),
        scale_(std::max(1.0, std::max(width_, height_) / 800.0)) {}

  // Region types stand below their regions, texts above their codes: both often share a place.
  void Write(const RegionReport& region) {
    const Point& corner = region.corners[3];
    const double size = 11 * scale_;
    const double below = corner.y + 1.2 * size;
    WriteQuad("region", region.corners, 6 * scale_);
    WriteLabel({"region", size, 0.6}, corner.x,
               below + 0.3 * size < height_ ? below : corner.y - 0.4 * size,
               "{" + region.definition + "}[" + region.task + "]");
  }

  void Write(const CodeReport& code) {
    const Point& corner = code.corners[0];
    const double size = 14 * scale_;
    WriteQuad("code", code.corners, 0);
    WriteLabel({"code", size, 0.7}, corner.x,
               corner.y > 1.4 * size ? corner.y - 0.4 * size : corner.y + 1.1 * size,
               code.symbology + ": " + code.text);
  }

 private:
  struct Font {
    const char* kind;
    double size;
    double letterWidth;  // as a share of the size; of most letters, viewers differ
  };

  // Drawn in dashes of a length, or without a gap if that is 0.
  void WriteQuad(const char* kind, const Corners& corners, double dash) {
    out_ << "<polygon class=\"" << kind << "\" stroke-width=\"" << 2 * scale_ << "\"";
    if (dash > 0) out_ << " stroke-dasharray=\"" << dash << "\"";
    out_ << " points=\"";
    for (const Point& corner : corners) out_ << corner.x << "," << corner.y << " ";
    out_ << "\"/>\n";
  }

  // A label that would leave the picture moves to the left, then shrinks to two thirds, then is cut;
  // a viewer shows the whole text to who points at it.
  void WriteLabel(const Font& font, double x, double y, const std::string& text) {
    std::string shown = ToUtf8(text);
    double size = font.size;
    double width = CountLetters(shown) * font.letterWidth * size;
    if (width > width_) {
      const double shrunk = std::max(2.0 / 3, width_ / width);
      size *= shrunk;
      width *= shrunk;
    }
    const int room = std::max(4, static_cast<int>(width_ / (font.letterWidth * size)));
    const bool isCut = CountLetters(shown) > room;
    if (isCut) shown = FirstLetters(shown, room - 3) + "...";
    x = std::max(0.0, std::min(x, width_ - std::min<double>(width, width_)));
    out_ << "<text class=\"" << font.kind << "\" font-size=\"" << size << "\" stroke-width=\""
         << 3 * scale_ << "\" x=\"" << x << "\" y=\"" << y << "\">" << EscapeXml(shown);
    if (isCut) out_ << "<title>" << EscapeXml(text) << "</title>";
    out_ << "</text>\n";
  }

  std::ostream& out_;
  const int width_;
  const int height_;
  const double scale_;
};

}  // namespace

void WriteOverlay(std::ostream& out, const ImageReport& report) {
  out << "<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 " << report.width << " "
      << report.height << "\">\n"
      << "<style>polygon{fill:none}polygon.region{stroke:#e07000}"
         "polygon.code{stroke:#00a040}text{font-family:sans-serif;stroke:#fff;paint-order:stroke}"
         "text.region{fill:#e07000}text.code{font-weight:bold;fill:#00a040}</style>\n";
  if (report.picture) WritePicture(out, *report.picture);
  OverlayWriter writer(out, report);
  for (const RegionReport& region : report.regions) writer.Write(region);
  for (const CodeReport& code : report.codes) writer.Write(code);
  out << "</svg>\n";
}

}  // namespace velmora::capture
