#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include "tools/capture/reporters.h"
#include "tools/capture/text.h"
#include "velmora_capture/image_file/image_file.h"

namespace velmora::capture {
namespace {

using basic_structures::CImageData;
using basic_structures::CQuadrilateral;

void WritePicture(std::ostream& out, const CImageData& image) {
  const std::vector<unsigned char> png = EncodePng(image);
  out << "<image width=\"" << image.GetWidth() << "\" height=\"" << image.GetHeight()
      << "\" href=\"data:image/png;base64," << ToBase64({png.begin(), png.end()}) << "\"/>\n";
}

// Letters that stand for a text, for its width: UTF-8 continuation bytes are none.
int CountLetters(const std::string& text) {
  return static_cast<int>(std::count_if(text.begin(), text.end(), [](char c) {
    return (static_cast<unsigned char>(c) & 0xC0) != 0x80;
  }));
}

std::string FirstLetters(const std::string& text, int count) {
  std::size_t at = 0;
  for (; at < text.size() && count > 0; --count) {
    at += Utf8Length(std::string_view(text).substr(at));
  }
  return text.substr(0, at);
}

// Writes the overlay of one image. Sizes are those of a picture 800 pixels wide, and grow with it:
// a viewer shrinks large pictures to its window, and what is drawn over them too.
class OverlayWriter {
 public:
  OverlayWriter(std::ostream& out, const CaptureResult& result)
      : out_(out),
        width_(result.GetWidth()),
        height_(result.GetHeight()),
        scale_(std::max(1.0, std::max(width_, height_) / 800.0)) {}

  // Region types stand below their regions, texts above their codes: both often share a place.
  void Write(const FoundRegion& region) {
    const auto& corner = region.location.points[3];
    const double size = 11 * scale_;
    const double below = corner[1] + 1.2 * size;
    WriteQuad("region", region.location, 6 * scale_);
    WriteLabel({"region", size, 0.6}, corner[0],
               below + 0.3 * size < height_ ? below : corner[1] - 0.4 * size,
               "{" + region.definition + "}[" + region.task + "]");
  }

  void Write(const CodeItem& code) {
    const auto& corner = code.GetLocation().points[0];
    const double size = 14 * scale_;
    WriteQuad("code", code.GetLocation(), 0);
    WriteLabel({"code", size, 0.7}, corner[0],
               corner[1] > 1.4 * size ? corner[1] - 0.4 * size : corner[1] + 1.1 * size,
               code.GetSymbology() + ": " + code.GetText());
  }

 private:
  struct Font {
    const char* kind;
    double size;
    double letterWidth;  // as a share of the size; of most letters, viewers differ
  };

  // Drawn in dashes of a length, or without a gap if that is 0.
  void WriteQuad(const char* kind, const CQuadrilateral& quad, double dash) {
    out_ << "<polygon class=\"" << kind << "\" stroke-width=\"" << 2 * scale_ << "\"";
    if (dash > 0) out_ << " stroke-dasharray=\"" << dash << "\"";
    out_ << " points=\"";
    for (const auto& corner : quad.points) out_ << corner[0] << "," << corner[1] << " ";
    out_ << "\"/>\n";
  }

  // A label that would leave the picture moves to the left, then shrinks to two thirds, then is
  // cut; a viewer shows the whole text as a tooltip.
  void WriteLabel(const Font& font, double x, double y, const std::string& text) {
    std::string shown = ValidUtf8(text);
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

void WriteOverlay(std::ostream& out, const CaptureResult& result) {
  out << "<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 " << result.GetWidth() << " "
      << result.GetHeight() << "\">\n"
      << "<style>polygon{fill:none}polygon.region{stroke:#e07000}"
         "polygon.code{stroke:#00a040}text{font-family:sans-serif;stroke:#fff;paint-order:stroke}"
         "text.region{fill:#e07000}text.code{font-weight:bold;fill:#00a040}</style>\n";
  WritePicture(out, *result.GetImage());
  OverlayWriter writer(out, result);
  for (const FoundRegion& region : result.GetRegions()) writer.Write(region);
  for (int i = 0; i < result.GetCodeCount(); ++i) writer.Write(result.GetCode(i));
  out << "</svg>\n";
}

}  // namespace velmora::capture
