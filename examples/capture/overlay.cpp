#include <string>
#include <vector>

#include "examples/capture/image_file.h"
#include "examples/capture/reporters.h"
#include "velmora/util/base64.h"

namespace velmora::capture {
namespace {

using basic_structures::CImageData;

std::string EscapeXml(const std::string& text) {
  std::string out;
  for (const char c : text) {
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
      // Control characters have no place in XML; other bytes may be any encoding's.
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

void WritePolygon(std::ostream& out, const Corners& corners, const char* style) {
  out << "<polygon class=\"" << style << "\" points=\"";
  for (const Point& corner : corners) out << corner.x << "," << corner.y << " ";
  out << "\">";
}

}  // namespace

void WriteOverlay(std::ostream& out, const ImageReport& report) {
  out << "<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 " << report.width << " "
      << report.height << "\">\n"
      << "<style>polygon{fill:none;stroke-width:2}.region{stroke:#e07000;stroke-dasharray:6 4}"
         ".code{stroke:#00a040}text{font:bold 14px sans-serif;fill:#00a040;stroke:#fff;"
         "stroke-width:3;paint-order:stroke}.region+text{font-weight:normal;fill:#e07000}"
         "</style>\n";
  if (report.picture) WritePicture(out, *report.picture);
  for (const RegionReport& region : report.regions) {
    WritePolygon(out, region.corners, "region");
    out << "<title>{" << EscapeXml(region.definition) << "}[" << EscapeXml(region.task)
        << "]</title></polygon>\n";
  }
  for (const CodeReport& code : report.codes) {
    WritePolygon(out, code.corners, "code");
    out << "<title>{" << EscapeXml(code.definition) << "}[" << EscapeXml(code.task)
        << "]</title></polygon>\n<text x=\"" << code.corners[0].x << "\" y=\""
        << (code.corners[0].y > 20 ? code.corners[0].y - 5 : code.corners[0].y + 15) << "\">"
        << EscapeXml(code.symbology) << ": " << EscapeXml(code.text) << "</text>\n";
  }
  out << "</svg>\n";
}

}  // namespace velmora::capture
