// The module MatrixReader: reads matrix codes; which ones depends on the target.

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "modules/matrix_reader/matrix_codes.h"
#include "velmora_kit/pixel_filters.h"
#include "velmora_kit/recogniser.h"
#include "velmora_kit/tiles.h"

namespace velmora::modules {

using namespace kit;

namespace {

// Up to this size an enlarged picture costs little, and modules of one or two pixels are likely.
constexpr std::int64_t kWorthEnlarging = 70'000;

// Below this side, nothing is left of a code at half size.
constexpr int kWorthHalving = 100;

class MatrixReader : public Recogniser {
 public:
  explicit MatrixReader(Settings& settings)
      : Recogniser({"Direct", "Thorough", "Enlarged"}),
        symbologies_(settings.GetChoices("Symbologies", MatrixSymbologies())),
        margin_(settings.GetInt("Margin", 0, 1000, 8)) {}

 private:
  // Where the pixels that are read lie in the image, and how many of its pixels one of them is
  // wide.
  struct Place {
    int left;
    int top;
    double scale;
  };

  int Recognise(RegionWork& work) override {
    const Window window = work.GetWindow(margin_);
    if (window.width == 0 || window.height == 0) return EC_Ok;
    if (work.GetMode() == "Enlarged") {
      if (std::int64_t{window.width} * window.height <= kWorthEnlarging) {
        Read(Enlarge(work.GetPixels(window)).View(), {window.left, window.top, 0.5},
             Threshold::kLocal, work);
      }
      return EC_Ok;
    }
    const int factor = ReductionOf(window);
    const Place place{window.left, window.top, static_cast<double>(factor)};
    GreyImage reduced;
    if (factor > 1) reduced = Reduce(work.GetPixels(window), factor);
    const GreyView view = factor > 1 ? reduced.View() : work.GetPixels(window);
    if (work.GetMode() == "Direct") {
      Read(view, place, Threshold::kLocal, work);
      return EC_Ok;
    }
    int code = EC_Ok;
    if (TryOtherViews(view, place, code, work) || code != EC_Ok) return code;
    if (factor > 1) ReadTiles(window, code, work);
    return code;
  }

  // Looks at the picture in other ways until one shows a code, the cheapest ways first.
  // @param code  receives what to return if the work must stop
  bool TryOtherViews(const GreyView& view, const Place& place, int& code, RegionWork& work) const {
    const auto tryOne = [&](const GreyImage& image, double scale) {
      return !work.MustStop(code) &&
             Read(image.View(), {place.left, place.top, place.scale * scale}, Threshold::kLocal,
                  work);
    };
    if (work.MustStop(code)) return false;
    if (Read(view, place, Threshold::kGlobal, work)) return true;
    if (std::min(view.width, view.height) >= kWorthHalving && tryOne(Reduce(view, 2), 2)) {
      return true;
    }
    return tryOne(Invert(view), 1) || tryOne(Sharpen(view), 1);
  }

  // What was reduced so far, in full size.
  void ReadTiles(const Window& window, int& code, RegionWork& work) const {
    for (const Window& tile : TilesOf(window)) {
      if (work.MustStop(code)) return;
      Read(work.GetPixels(tile), {tile.left, tile.top, 1}, Threshold::kLocal, work);
    }
  }

  // Returns whether there was a code.
  bool Read(const GreyView& view, const Place& place, Threshold threshold, RegionWork& work) const {
    const std::vector<MatrixCode> codes = ReadMatrixCodes(view, symbologies_, threshold);
    for (const MatrixCode& code : codes) {
      Corner corners[4];
      for (std::size_t i = 0; i < 4; ++i) {
        corners[i].Set(place.left + ScaledBy(place.scale, code.corners[i][0]),
                       place.top + ScaledBy(place.scale, code.corners[i][1]));
      }
      work.AddCode(code.symbology, code.text, corners, code.bytes);
    }
    return !codes.empty();
  }

  static int ScaledBy(double scale, int length) {
    return static_cast<int>(std::lround(scale * length));
  }

  std::vector<std::string> symbologies_;
  int margin_;
};

}  // namespace
}  // namespace velmora::modules

VELMORA_MODULE(velmora::modules::MatrixReader)
