// The module CodeReader: reads linear and QR codes with ZBar.

#include <zbar.h>

#include <algorithm>
#include <memory>

#include "velmora_kit/recogniser.h"
#include "velmora_kit/straighten.h"

namespace velmora::modules {

using namespace kit;

namespace {

using namespace zbar;

struct Symbology {
  const char* name;
  zbar_symbol_type_t type;
};

constexpr Symbology kSymbologies[] = {
    {"EAN-13", ZBAR_EAN13},
    {"EAN-8", ZBAR_EAN8},
    {"UPC-A", ZBAR_UPCA},
    {"UPC-E", ZBAR_UPCE},
    {"CODE-128", ZBAR_CODE128},
    {"CODE-93", ZBAR_CODE93},
    {"CODE-39", ZBAR_CODE39},
    {"Codabar", ZBAR_CODABAR},
    {"I2/5", ZBAR_I25},
    {"DataBar", ZBAR_DATABAR},
    {"DataBar-Exp", ZBAR_DATABAR_EXP},
    {"QR", ZBAR_QRCODE},
};

std::vector<std::string> SymbologyNames() {
  std::vector<std::string> names;
  for (const Symbology& symbology : kSymbologies) names.emplace_back(symbology.name);
  return names;
}

const char* NameOf(zbar_symbol_type_t type) {
  for (const Symbology& symbology : kSymbologies)
    if (symbology.type == type) return symbology.name;
  return "unknown";
}

struct Delete {
  void operator()(zbar_image_scanner_t* scanner) const { zbar_image_scanner_destroy(scanner); }
  void operator()(zbar_image_t* image) const { zbar_image_destroy(image); }
};

// Corners of the points that the scanner gives: the four of a QR code as they are, otherwise the
// box around the scan lines that read the code.
void CornersOf(const zbar_symbol_t* symbol, Corner (&corners)[4]) {
  const unsigned count = zbar_symbol_get_loc_size(symbol);
  int left = count > 0 ? zbar_symbol_get_loc_x(symbol, 0) : 0;
  int top = count > 0 ? zbar_symbol_get_loc_y(symbol, 0) : 0;
  int right = left;
  int bottom = top;
  for (unsigned i = 0; i < count; ++i) {
    const int x = zbar_symbol_get_loc_x(symbol, i);
    const int y = zbar_symbol_get_loc_y(symbol, i);
    if (count == 4 && zbar_symbol_get_type(symbol) == ZBAR_QRCODE) corners[i].Set(x, y);
    left = std::min(left, x);
    right = std::max(right, x);
    top = std::min(top, y);
    bottom = std::max(bottom, y);
  }
  if (count == 4 && zbar_symbol_get_type(symbol) == ZBAR_QRCODE) return;
  corners[0].Set(left, top);
  corners[1].Set(right, top);
  corners[2].Set(right, bottom);
  corners[3].Set(left, bottom);
}

class CodeReader : public Recogniser {
 public:
  explicit CodeReader(Settings& settings)
      : Recogniser({"Direct", "Straightened"}),
        symbologies_(settings.GetChoices("Symbologies", SymbologyNames())),
        margin_(settings.GetInt("Margin", 0, 1000, 16)) {}

 private:
  // Quiet zones belong to a code: the margin brings back those that the locator cut off.
  int Recognise(RegionWork& work) override {
    if (work.GetMode() == "Direct") {
      const Window window = work.GetWindow(margin_);
      Scan(CopyOf(work.GetPixels(window)), work,
           [&](int x, int y) { return Corner(window.left + x, window.top + y); });
    } else {
      const Straightened upright =
          Straighten(work.GetImage(), work.GetRegion().GetVertices(), margin_, 2);
      Scan(upright.image, work, [&](int x, int y) { return upright.ToSource(x, y); });
    }
    return EC_Ok;
  }

  static GreyImage CopyOf(const GreyView& view) {
    GreyImage copy(view.width, view.height);
    for (int y = 0; y < view.height; ++y) std::copy_n(view.Row(y), view.width, copy.Row(y));
    return copy;
  }

  // A scanner of its own for each scan: scanners are not thread-safe, and a used one remembers.
  template <typename ToImage>
  void Scan(const GreyImage& pixels, RegionWork& work, ToImage toImage) const {
    if (pixels.pixels.empty()) return;
    const std::unique_ptr<zbar_image_scanner_t, Delete> scanner(zbar_image_scanner_create());
    zbar_image_scanner_set_config(scanner.get(), ZBAR_NONE, ZBAR_CFG_ENABLE, 0);
    for (const Symbology& symbology : kSymbologies)
      if (std::find(symbologies_.begin(), symbologies_.end(), symbology.name) != symbologies_.end())
        zbar_image_scanner_set_config(scanner.get(), symbology.type, ZBAR_CFG_ENABLE, 1);
    const std::unique_ptr<zbar_image_t, Delete> image(zbar_image_create());
    zbar_image_set_format(image.get(), zbar_fourcc('Y', '8', '0', '0'));
    zbar_image_set_size(image.get(), static_cast<unsigned>(pixels.width),
                        static_cast<unsigned>(pixels.height));
    zbar_image_set_data(image.get(), pixels.pixels.data(), pixels.pixels.size(), nullptr);
    zbar_scan_image(scanner.get(), image.get());
    for (const zbar_symbol_t* symbol = zbar_image_first_symbol(image.get()); symbol != nullptr;
         symbol = zbar_symbol_next(symbol)) {
      Corner corners[4];
      CornersOf(symbol, corners);
      for (Corner& corner : corners) corner = toImage(corner[0], corner[1]);
      work.AddCode(NameOf(zbar_symbol_get_type(symbol)),
                   std::string(zbar_symbol_get_data(symbol), zbar_symbol_get_data_length(symbol)),
                   corners);
    }
  }

  std::vector<std::string> symbologies_;
  int margin_;
};

}  // namespace
}  // namespace velmora::modules

VELMORA_MODULE(velmora::modules::CodeReader)
