// The module CodeReader: reads linear codes, EAN and UPC with a reader of its own, the others and
// QR codes with ZBar.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

#include "modules/code_reader/ean_search.h"
#include "modules/code_reader/zbar_scan.h"
#include "velmora_kit/pixel_filters.h"
#include "velmora_kit/recogniser.h"
#include "velmora_kit/straighten.h"
#include "velmora_kit/text.h"
#include "velmora_kit/tiles.h"

namespace velmora::modules {

using namespace kit;

namespace {

// Scan lines of ZBar in each direction: as many as it takes for two to meet a low code.
constexpr int kScanLines = 60;
constexpr int kCoarsest = 8;
// With each row and column, ZBar asks for more agreement than there is in a small picture.
constexpr int kFinest = 2;
// As many lines as it takes to meet the corner marks of a QR code, which are a third as large.
constexpr int kScanLinesForQr = 180;
// Light bars on dark are rare.
constexpr int kDensityForInverted = 8;

// Candidates of more pixels are large enough as they are: of linear codes, and of QR codes.
constexpr std::int64_t kWorthEnlarging = 30'000;
constexpr std::int64_t kQrWorthEnlarging = 70'000;

class CodeReader : public Recogniser {
 public:
  explicit CodeReader(Settings& settings)
      : Recogniser({"Direct", "Thorough", "Straightened"}),
        margin_(settings.GetInt("Margin", 0, 1000, 16)) {
    for (const std::string& name : settings.GetChoices("Symbologies", ZBarSymbologies())) {
      (name == "QR" ? qr_ : IsEan(name) ? ean_ : others_).push_back(name);
    }
  }

 private:
  using Names = std::vector<std::string>;

  static bool IsEan(const std::string& name) {
    return name == "EAN-13" || name == "EAN-8" || name == "UPC-A" || name == "UPC-E";
  }
  bool Wants(const char* name) const {
    return std::find(ean_.begin(), ean_.end(), name) != ean_.end();
  }

  int Recognise(RegionWork& work) override {
    if (work.GetMode() == "Direct") return ReadDirectly(work);
    if (work.GetMode() == "Thorough") return ReadThoroughly(work);
    return ReadStraightened(work);
  }

  // Quiet zones belong to a code: the margin brings back those that the locator cut off.
  int ReadDirectly(RegionWork& work) const {
    const Window window = work.GetWindow(margin_);
    if (window.width == 0 || window.height == 0) return EC_Ok;
    const bool hasEan = ReadEan(work.GetPixels(window), Offset(window, 1), work);
    int code = EC_Ok;
    if (work.MustStop(code)) return code;
    const int factor = ReductionOf(window);
    const Straightened way = Offset(window, factor);
    const GreyImage pixels = Reduce(work.GetPixels(window), factor);
    Names names = others_;
    if (!hasEan) names.insert(names.end(), ean_.begin(), ean_.end());
    Scan(pixels, names, DensityFor(pixels), way, work);
    if (!qr_.empty()) {
      if (work.MustStop(code)) return code;
      Scan(pixels, qr_, QrDensityFor(pixels), way, work);
    }
    return EC_Ok;
  }

  // What was reduced before in full size, and all of it with light and dark exchanged.
  int ReadThoroughly(RegionWork& work) const {
    const Window window = work.GetWindow(margin_);
    if (window.width == 0 || window.height == 0) return EC_Ok;
    Names names = others_;
    names.insert(names.end(), ean_.begin(), ean_.end());
    const std::vector<Window> tiles = TilesOf(window);
    int code = EC_Ok;
    for (const Window& tile : tiles) {
      const Straightened way = Offset(tile, 1);
      const GreyImage pixels = CopyOf(work.GetPixels(tile));
      if (tiles.size() > 1) {
        if (work.MustStop(code)) return code;
        Scan(pixels, names, DensityFor(pixels), way, work);
      }
      if (!qr_.empty()) {
        if (work.MustStop(code)) return code;
        Scan(pixels, qr_, QrDensityFor(pixels), way, work);
      }
      const GreyImage inverted = Invert(pixels.View());
      if (work.MustStop(code)) return code;
      Scan(inverted, others_, kDensityForInverted, way, work);
    }
    return EC_Ok;
  }

  // What is upright and large looks the same as before.
  int ReadStraightened(RegionWork& work) const {
    const Window window = work.GetWindow(0);
    const std::int64_t area = std::int64_t{window.width} * window.height;
    const bool isSmall = area <= (qr_.empty() ? kWorthEnlarging : kQrWorthEnlarging);
    if (area == 0 || (!isSmall && IsUpright(work.GetRegion().GetVertices()))) return EC_Ok;
    const Straightened upright =
        Straighten(work.GetImage(), work.GetRegion().GetVertices(), margin_, isSmall ? 2 : 1);
    const bool hasEan = ReadEan(upright.image.View(), upright, work);
    Names names = others_;
    if (!hasEan) names.insert(names.end(), ean_.begin(), ean_.end());
    int code = EC_Ok;
    if (work.MustStop(code)) return code;
    Scan(upright.image, names, DensityFor(upright.image), upright, work);
    if (!qr_.empty()) {
      if (work.MustStop(code)) return code;
      Scan(upright.image, qr_, isSmall ? 1 : QrDensityFor(upright.image), upright, work);
    }
    return EC_Ok;
  }

  // Whether rows and columns are within 8 degrees of the region's sides.
  static bool IsUpright(const Corner* corners) {
    const int x = std::abs(corners[1][0] - corners[0][0]);
    const int y = std::abs(corners[1][1] - corners[0][1]);
    return std::min(x, y) * 7 < std::max(x, y);
  }

  // The way from a reduced window to the image.
  static Straightened Offset(const Window& window, int factor) {
    Straightened way;
    way.originX = window.left;
    way.originY = window.top;
    way.rightX = factor;
    way.downY = factor;
    return way;
  }

  static int DensityFor(const GreyImage& pixels) {
    return std::clamp(std::min(pixels.width, pixels.height) / kScanLines, kFinest, kCoarsest);
  }
  static int QrDensityFor(const GreyImage& pixels) {
    return std::clamp(std::min(pixels.width, pixels.height) / kScanLinesForQr, 1, kCoarsest);
  }

  bool ReadEan(const GreyView& pixels, const Straightened& way, RegionWork& work) const {
    if (ean_.empty()) return false;
    bool hasFound = false;
    int ignored = EC_Ok;
    for (const EanCode& code : FindEan(pixels, [&] { return work.MustStop(ignored); })) {
      std::string text = code.digits;
      const char* name = code.kind == EanKind::kEan8   ? "EAN-8"
                         : code.kind == EanKind::kUpcE ? "UPC-E"
                                                       : "EAN-13";
      if (code.kind == EanKind::kEan13 && text[0] == '0' && Wants("UPC-A")) {
        name = "UPC-A";
        text.erase(0, 1);
      }
      if (!Wants(name)) continue;
      if (!code.addOn.empty()) text += ' ' + code.addOn;
      hasFound = true;
      Add(name, text, code.corners, way, work);
    }
    return hasFound;
  }

  static void Scan(const GreyImage& pixels, const Names& names, int density,
                   const Straightened& way, RegionWork& work) {
    if (names.empty()) return;
    for (const ZBarCode& code : ScanWithZBar(pixels, names, density)) {
      Add(code.symbology, code.bytes, code.corners, way, work);
    }
  }

  static void Add(const std::string& symbology, const std::string& bytes, const Corner* corners,
                  const Straightened& way, RegionWork& work) {
    Corner inImage[4];
    for (std::size_t i = 0; i < 4; ++i) inImage[i] = way.ToSource(corners[i][0], corners[i][1]);
    work.AddCode(symbology, TextOf(bytes), inImage, bytes);
  }

  Names ean_;
  Names qr_;
  Names others_;
  int margin_;
};

}  // namespace
}  // namespace velmora::modules

VELMORA_MODULE(velmora::modules::CodeReader)
