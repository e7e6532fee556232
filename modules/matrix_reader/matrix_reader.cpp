// The module MatrixReader: reads Data Matrix, Aztec and PDF417 with ZXing-C++.

#define ZX_USE_UTF8 1  // texts as UTF-8 strings
#include <ZXing/ReadBarcode.h>

#include <array>
#include <cstddef>

#include "velmora_kit/recogniser.h"

namespace velmora::modules {

using namespace kit;

namespace {

struct Symbology {
  const char* name;
  ZXing::BarcodeFormat format;
};

constexpr Symbology kSymbologies[] = {
    {"DataMatrix", ZXing::BarcodeFormat::DataMatrix},
    {"Aztec", ZXing::BarcodeFormat::Aztec},
    {"PDF417", ZXing::BarcodeFormat::PDF417},
};

std::vector<std::string> SymbologyNames() {
  std::vector<std::string> names;
  for (const Symbology& symbology : kSymbologies) names.emplace_back(symbology.name);
  return names;
}

const char* NameOf(ZXing::BarcodeFormat format) {
  for (const Symbology& symbology : kSymbologies)
    if (symbology.format == format) return symbology.name;
  return "unknown";
}

class MatrixReader : public Recogniser {
 public:
  explicit MatrixReader(Settings& settings)
      : Recogniser({"Direct", "Thorough"}), margin_(settings.GetInt("Margin", 0, 1000, 8)) {
    for (const std::string& name : settings.GetChoices("Symbologies", SymbologyNames()))
      for (const Symbology& symbology : kSymbologies)
        if (name == symbology.name) formats_ |= symbology.format;
  }

 private:
  int Recognise(RegionWork& work) override {
    const bool isThorough = work.GetMode() == "Thorough";
    const auto hints = ZXing::DecodeHints()
                           .setFormats(formats_)
                           .setTryHarder(isThorough)
                           .setTryRotate(isThorough)
                           .setTryDownscale(isThorough);
    const Window window = work.GetWindow(margin_);
    const GreyView pixels = work.GetPixels(window);
    const ZXing::ImageView view(pixels.pixels, pixels.width, pixels.height, ZXing::ImageFormat::Lum,
                                static_cast<int>(pixels.stride));
    for (const ZXing::Result& code : ZXing::ReadBarcodes(view, hints)) {
      Corner corners[4];
      for (std::size_t i = 0; i < 4; ++i)
        corners[i].Set(window.left + code.position()[i].x, window.top + code.position()[i].y);
      work.AddCode(NameOf(code.format()), code.text(), corners);
    }
    return EC_Ok;
  }

  ZXing::BarcodeFormats formats_;
  int margin_;
};

}  // namespace
}  // namespace velmora::modules

VELMORA_MODULE(velmora::modules::MatrixReader)
