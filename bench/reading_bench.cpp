// How many codes are read out of pictures, and how fast, beside ZXing-C++ and ZBar in one process.
// The pictures are made here, from the samples of velmora-capture: as they are, turned, blurred,
// noisy, unevenly lit, small, and light on dark. One iteration reads all of them once; the counters
// say how many have all their codes (right) and how many texts are in none of them (wrong).

#include <zbar.h>  // before the macros of ZXing-C++, which have names of its classes

#define ZX_USE_UTF8 1  // texts as UTF-8 strings
#include <ZXing/ReadBarcode.h>
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <fstream>
#include <map>
#include <memory>
#include <random>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "velmora/image/convert_data.h"
#include "velmora/image/image_source_adapter.h"
#include "velmora/image/pixel_conversion.h"
#include "velmora_capture/capture.h"
#include "velmora_capture/image_file/image_file.h"

namespace {

using namespace velmora;
using namespace velmora::basic_structures;
using capture::Capture;

struct Picture {
  int width = 0;
  int height = 0;
  std::vector<std::uint8_t> grey;  // rows without padding
  std::set<std::string> texts;     // of the codes that it holds

  Picture(int w, int h, std::set<std::string> t)
      : width(w),
        height(h),
        grey(static_cast<std::size_t>(w) * static_cast<std::size_t>(h), 255),
        texts(std::move(t)) {}

  std::uint8_t& At(int x, int y) {
    return grey[static_cast<std::size_t>(y) * static_cast<std::size_t>(width) +
                static_cast<std::size_t>(x)];
  }
  std::uint8_t At(int x, int y) const { return const_cast<Picture*>(this)->At(x, y); }
};

std::uint8_t Clamped(double value) {
  return static_cast<std::uint8_t>(std::lround(std::clamp(value, 0.0, 255.0)));
}

Picture Load(const std::string& file, const std::set<std::string>& texts) {
  const capture::LoadedImage loaded = capture::LoadImageFile(file, 0);
  if (loaded.image == nullptr) throw std::runtime_error(file + " cannot be read");
  const CImageData& image = *loaded.image;
  const bool isColour = image.GetImagePixelFormat() == PXF_Colour888Reversed;
  ConvertData data(image.GetBytes(), image.GetWidth(), image.GetHeight(), image.GetStride(),
                   isColour ? 24 : 8, 0, 0, false, false, isColour, false, CCU_Unrestricted);
  const std::unique_ptr<CImageData> grey(Nx_ConvertToGrayscale(&data));
  Picture picture(image.GetWidth(), image.GetHeight(), texts);
  std::copy_n(grey->GetBytes(), picture.grey.size(), picture.grey.begin());
  return picture;
}

// Turned about its middle and scaled, on a white ground large enough for it.
Picture Turn(const Picture& from, double degrees, double scale) {
  const double radians = degrees * 3.14159265358979323846 / 180;
  const double c = std::cos(radians);
  const double s = std::sin(radians);
  const auto side = [&](double a, double b) {
    return static_cast<int>(std::ceil(scale * (std::abs(a * c) + std::abs(b * s))));
  };
  Picture to(side(from.width, from.height), side(from.height, from.width), from.texts);
  for (int y = 0; y < to.height; ++y) {
    for (int x = 0; x < to.width; ++x) {
      const double dx = (x + 0.5 - to.width / 2.0) / scale;
      const double dy = (y + 0.5 - to.height / 2.0) / scale;
      const double u = dx * c + dy * s + from.width / 2.0 - 0.5;
      const double v = dy * c - dx * s + from.height / 2.0 - 0.5;
      const int left = static_cast<int>(std::floor(u));
      const int top = static_cast<int>(std::floor(v));
      if (left < 0 || top < 0 || left + 1 >= from.width || top + 1 >= from.height) continue;
      const double fx = u - left;
      const double fy = v - top;
      to.At(x, y) =
          Clamped((from.At(left, top) * (1 - fx) + from.At(left + 1, top) * fx) * (1 - fy) +
                  (from.At(left, top + 1) * (1 - fx) + from.At(left + 1, top + 1) * fx) * fy);
    }
  }
  return to;
}

Picture Blur(const Picture& from) {
  Picture to = from;
  for (int y = 1; y + 1 < from.height; ++y) {
    for (int x = 1; x + 1 < from.width; ++x) {
      int sum = 0;
      for (int i = 0; i < 9; ++i) sum += from.At(x + i % 3 - 1, y + i / 3 - 1);
      to.At(x, y) = static_cast<std::uint8_t>(sum / 9);
    }
  }
  return to;
}

// Each pixel through a function of its grey and its place, 0 to 1 from left to right.
template <typename Change>
Picture Regrade(const Picture& from, const Change& change) {
  Picture to = from;
  for (int y = 0; y < to.height; ++y) {
    for (int x = 0; x < to.width; ++x) {
      to.At(x, y) = Clamped(change(from.At(x, y), static_cast<double>(x) / to.width));
    }
  }
  return to;
}

std::vector<Picture> MakePictures() {
  const std::string folder = VELMORA_SAMPLES;
  std::map<std::string, std::set<std::string>> expected;
  std::ifstream table(folder + "/expected.tsv");
  for (std::string line; std::getline(table, line);) {
    if (line[0] == '#') continue;
    std::istringstream fields(line);
    std::string file;
    std::string text;
    for (std::string* field : {&file, &text, &text, &text}) std::getline(fields, *field, '\t');
    expected[file].insert(text);
  }
  if (expected.empty()) throw std::runtime_error(folder + "/expected.tsv cannot be read");
  std::mt19937 random(1);
  std::normal_distribution<double> noise(0, 12);
  std::vector<Picture> pictures;
  for (const auto& [file, texts] : expected) {
    const Picture plain = Load(folder + "/" + file, texts);
    pictures.push_back(plain);
    pictures.push_back(Turn(plain, 11, 1));
    pictures.push_back(Turn(plain, -67, 1.3));
    pictures.push_back(Turn(plain, 0, 0.7));
    pictures.push_back(Blur(plain));
    pictures.push_back(Regrade(plain, [&](double grey, double) { return grey + noise(random); }));
    pictures.push_back(Regrade(plain, [](double grey, double x) { return grey * (1 - 0.6 * x); }));
    pictures.push_back(Regrade(plain, [](double grey, double) { return 255 - grey; }));
  }
  return pictures;
}

const std::vector<Picture>& Pictures() {
  static const std::vector<Picture> pictures = MakePictures();
  return pictures;
}

class Score {
 public:
  // DataBar texts come with and without the identifier that stands before their number.
  void Add(const Picture& picture, const std::vector<std::string>& texts) {
    std::set<std::string> found;
    for (const std::string& text : texts) {
      const bool isRight = picture.texts.count(text) != 0;
      found.insert(isRight ? text : "01" + text);
      wrong_ += isRight || picture.texts.count("01" + text) != 0 ? 0 : 1;
    }
    right_ += std::includes(found.begin(), found.end(), picture.texts.begin(), picture.texts.end());
  }
  void Tell(benchmark::State& state) const {
    const auto rounds = static_cast<double>(state.iterations());
    state.counters["right"] = right_ / rounds;
    state.counters["wrong"] = wrong_ / rounds;
    state.counters["pictures"] = static_cast<double>(Pictures().size());
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(Pictures().size()));
  }

 private:
  double right_ = 0;
  double wrong_ = 0;
};

std::unique_ptr<CImageData> Borrow(const Picture& picture) {
  return std::make_unique<CImageData>(picture.grey.size(), picture.grey.data(), nullptr,
                                      picture.width, picture.height, picture.width, PXF_Grayscale8,
                                      0, nullptr);
}

// All pictures, once.
class PictureSource final : public CImageSourceAdapter {
 public:
  bool HasMoreImages() const override { return next_ < Pictures().size(); }
  [[nodiscard]] CImageData* GetImage() override {
    return HasMoreImages() ? Borrow(Pictures()[next_++]).release() : nullptr;
  }

 private:
  std::size_t next_ = 0;
};

void Velmora(benchmark::State& state) {
  capture::CaptureOptions options;
  options.threads = static_cast<int>(state.range(0));
  std::vector<capture::TemplateError> errors;
  const auto engine = Capture::Create(capture::GetDefaultTemplate(), options, errors);
  if (engine == nullptr) return state.SkipWithError(errors.front().ToString().c_str());
  Pictures();
  Score score;
  for (auto _ : state) {
    PictureSource source;
    std::size_t index = 0;
    engine->Run(source, [&](const NxRef<capture::CaptureResult>& result) {
      std::vector<std::string> texts;
      for (int i = 0; i < result->GetCodeCount(); ++i) {
        texts.push_back(result->GetCode(i).GetText());
      }
      score.Add(Pictures()[index++], texts);
    });
  }
  score.Tell(state);
}
BENCHMARK(Velmora)->Arg(1)->Arg(2)->MeasureProcessCPUTime()->UseRealTime();

void ZXingMatrix(benchmark::State& state) {
  // Matrix codes only: the linear readers of the packaged version end the process on some of these.
  using F = ZXing::BarcodeFormat;
  const auto formats =
      F::QRCode | F::MicroQRCode | F::DataMatrix | F::Aztec | F::PDF417 | F::MaxiCode;
  const auto hints = ZXing::DecodeHints().setFormats(formats).setTryHarder(true).setTryRotate(true);
  Score score;
  for (auto _ : state) {
    for (const Picture& picture : Pictures()) {
      const ZXing::ImageView view(picture.grey.data(), picture.width, picture.height,
                                  ZXing::ImageFormat::Lum);
      std::vector<std::string> texts;
      for (const ZXing::Result& code : ZXing::ReadBarcodes(view, hints)) {
        texts.push_back(code.text());
      }
      score.Add(picture, texts);
    }
  }
  score.Tell(state);
}
BENCHMARK(ZXingMatrix)->MeasureProcessCPUTime()->UseRealTime();

void ZBar(benchmark::State& state) {
  using namespace zbar;
  Score score;
  for (auto _ : state) {
    for (const Picture& picture : Pictures()) {
      const std::unique_ptr<zbar_image_scanner_t, void (*)(zbar_image_scanner_t*)> scanner(
          zbar_image_scanner_create(), &zbar_image_scanner_destroy);
      const std::unique_ptr<zbar_image_t, void (*)(zbar_image_t*)> image(zbar_image_create(),
                                                                         &zbar_image_destroy);
      zbar_image_set_format(image.get(), zbar_fourcc('Y', '8', '0', '0'));
      zbar_image_set_size(image.get(), static_cast<unsigned>(picture.width),
                          static_cast<unsigned>(picture.height));
      zbar_image_set_data(image.get(), picture.grey.data(), picture.grey.size(), nullptr);
      zbar_scan_image(scanner.get(), image.get());
      std::vector<std::string> texts;
      for (const zbar_symbol_t* code = zbar_image_first_symbol(image.get()); code != nullptr;
           code = zbar_symbol_next(code)) {
        texts.emplace_back(zbar_symbol_get_data(code), zbar_symbol_get_data_length(code));
      }
      score.Add(picture, texts);
    }
  }
  score.Tell(state);
}
BENCHMARK(ZBar)->MeasureProcessCPUTime()->UseRealTime();

}  // namespace
