#include <string>
#include <string_view>
#include <vector>

#include "examples/capture/image_file.h"
#include "examples/capture/reporters.h"
#include "velmora/util/base64.h"

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

// A quadrilateral of a kind, "region" or "code", with a text beside one of its corners.
void WriteQuad(std::ostream& out, const char* kind, const Corners& corners, const Point& textPlace,
               const std::string& text) {
  out << "<polygon class=\"" << kind << "\" points=\"";
  for (const Point& corner : corners) out << corner.x << "," << corner.y << " ";
  out << "\"/>\n<text x=\"" << textPlace.x << "\" y=\"" << textPlace.y << "\">" << EscapeXml(text)
      << "</text>\n";
}

// Region types stand below their regions, texts above their codes: both often share a place.
void WriteRegion(std::ostream& out, const RegionReport& region) {
  const Point& corner = region.corners[3];
  WriteQuad(out, "region", region.corners, {corner.x, corner.y + 13},
            "{" + region.definition + "}[" + region.task + "]");
}

void WriteCode(std::ostream& out, const CodeReport& code) {
  const Point& corner = code.corners[0];
  WriteQuad(out, "code", code.corners, {corner.x, corner.y > 20 ? corner.y - 5 : corner.y + 15},
            code.symbology + ": " + code.text);
}

}  // namespace

void WriteOverlay(std::ostream& out, const ImageReport& report) {
  out << "<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 " << report.width << " "
      << report.height << "\">\n"
      << "<style>polygon{fill:none;stroke-width:2}.region{stroke:#e07000;stroke-dasharray:6 4}"
         ".code{stroke:#00a040}text{font:bold 14px sans-serif;fill:#00a040;stroke:#fff;"
         "stroke-width:3;paint-order:stroke}.region+text{font:11px sans-serif;fill:#e07000}"
         "</style>\n";
  if (report.picture) WritePicture(out, *report.picture);
  for (const RegionReport& region : report.regions) WriteRegion(out, region);
  for (const CodeReport& code : report.codes) WriteCode(out, code);
  out << "</svg>\n";
}

}  // namespace velmora::capture
