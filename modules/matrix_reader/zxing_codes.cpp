// Matrix codes with ZXing-C++.

#define ZX_USE_UTF8 1  // texts as UTF-8 strings
#include <ZXing/ReadBarcode.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <map>
#include <utility>

#include "modules/matrix_reader/matrix_codes.h"
#include "velmora_kit/text.h"

namespace velmora::modules {

using namespace kit;

namespace {

struct Symbology {
  const char* name;
  ZXing::BarcodeFormat format;
};

// None of the library's linear formats: on stacked DataBar codes they end the process.
constexpr Symbology kSymbologies[] = {
    {"DataMatrix", ZXing::BarcodeFormat::DataMatrix}, {"Aztec", ZXing::BarcodeFormat::Aztec},
    {"PDF417", ZXing::BarcodeFormat::PDF417},         {"QR", ZXing::BarcodeFormat::QRCode},
    {"MicroQR", ZXing::BarcodeFormat::MicroQRCode},   {"MaxiCode", ZXing::BarcodeFormat::MaxiCode},
};

std::string NameOf(ZXing::BarcodeFormat format) {
  for (const Symbology& symbology : kSymbologies) {
    if (symbology.format == format) return symbology.name;
  }
  return ZXing::ToString(format);
}

// The library guesses character sets that a code does not name, and gives nothing for some mixtures
// of those that it names; valid UTF-8 needs no guess.
std::string TextFor(const ZXing::Result& code, const std::string& bytes) {
  if (!code.hasECI() && IsUtf8(bytes)) return bytes;
  std::string text = code.text();
  return text.empty() ? TextOf(bytes) : text;
}

// A side of a PDF417 code may be given by the one line that was found of it. Its opposite side,
// which is more than twice as long then, shows how it goes on.
void CompleteSides(Corner (&corners)[4]) {
  const int left[2] = {corners[3][0] - corners[0][0], corners[3][1] - corners[0][1]};
  const int right[2] = {corners[2][0] - corners[1][0], corners[2][1] - corners[1][1]};
  const double leftLength = std::hypot(left[0], left[1]);
  const double rightLength = std::hypot(right[0], right[1]);
  if (rightLength > 2 * leftLength) {
    corners[3].Set(corners[0][0] + right[0], corners[0][1] + right[1]);
  } else if (leftLength > 2 * rightLength) {
    corners[2].Set(corners[1][0] + left[0], corners[1][1] + left[1]);
  }
}

MatrixCode Convert(const ZXing::Result& code) {
  MatrixCode converted;
  converted.symbology = NameOf(code.format());
  converted.bytes.assign(code.bytes().begin(), code.bytes().end());
  converted.text = TextFor(code, converted.bytes);
  for (std::size_t i = 0; i < 4; ++i) {
    converted.corners[i].Set(code.position()[i].x, code.position()[i].y);
  }
  if (code.format() == ZXing::BarcodeFormat::PDF417) CompleteSides(converted.corners);
  return converted;
}

// The upright box around all codes.
void SetCorners(const ZXing::Results& codes, MatrixCode& whole) {
  int low[2] = {codes[0].position()[0].x, codes[0].position()[0].y};
  int high[2] = {low[0], low[1]};
  for (const ZXing::Result& code : codes) {
    for (const ZXing::PointI& corner : code.position()) {
      low[0] = std::min(low[0], corner.x);
      high[0] = std::max(high[0], corner.x);
      low[1] = std::min(low[1], corner.y);
      high[1] = std::max(high[1], corner.y);
    }
  }
  whole.corners[0].Set(low[0], low[1]);
  whole.corners[1].Set(high[0], low[1]);
  whole.corners[2].Set(high[0], high[1]);
  whole.corners[3].Set(low[0], high[1]);
}

// A series of codes that were made from one text.
void AppendSeries(const ZXing::Results& parts, std::vector<MatrixCode>& codes) {
  const ZXing::Result joined = ZXing::MergeStructuredAppendSequence(parts);
  if (joined.isValid()) {
    MatrixCode whole = Convert(joined);
    whole.symbology = NameOf(parts[0].format());
    SetCorners(parts, whole);
    codes.push_back(std::move(whole));
    return;
  }
  for (const ZXing::Result& part : parts) {
    MatrixCode code = Convert(part);
    code.symbology += " part " + std::to_string(part.sequenceIndex() + 1);
    if (part.sequenceSize() > 0) code.symbology += " of " + std::to_string(part.sequenceSize());
    codes.push_back(std::move(code));
  }
}

}  // namespace

const std::vector<std::string>& MatrixSymbologies() {
  static const std::vector<std::string> names = [] {
    std::vector<std::string> list;
    for (const Symbology& symbology : kSymbologies) list.emplace_back(symbology.name);
    return list;
  }();
  return names;
}

std::vector<MatrixCode> ReadMatrixCodes(const GreyView& image,
                                        const std::vector<std::string>& symbologies,
                                        Threshold threshold) {
  ZXing::BarcodeFormats formats;
  for (const Symbology& symbology : kSymbologies) {
    if (std::find(symbologies.begin(), symbologies.end(), symbology.name) != symbologies.end()) {
      formats |= symbology.format;
    }
  }
  const auto hints =
      ZXing::DecodeHints()
          .setFormats(formats)
          .setTryHarder(true)
          .setTryRotate(true)
          .setTryDownscale(true)
          .setBinarizer(threshold == Threshold::kLocal ? ZXing::Binarizer::LocalAverage
                                                       : ZXing::Binarizer::GlobalHistogram);
  const ZXing::ImageView view(image.pixels, image.width, image.height, ZXing::ImageFormat::Lum,
                              static_cast<int>(image.stride));
  std::vector<MatrixCode> codes;
  std::map<std::string, ZXing::Results> series;
  for (const ZXing::Result& code : ZXing::ReadBarcodes(view, hints)) {
    if (code.isPartOfSequence()) {
      series[NameOf(code.format()) + code.sequenceId()].push_back(code);
    } else {
      codes.push_back(Convert(code));
    }
  }
  for (const auto& [id, parts] : series) AppendSeries(parts, codes);
  return codes;
}

}  // namespace velmora::modules
