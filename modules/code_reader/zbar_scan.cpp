#include "modules/code_reader/zbar_scan.h"

#include <zbar.h>

#include <algorithm>
#include <cstddef>
#include <memory>
#include <utility>

#include "modules/code_reader/gs1.h"

namespace velmora::modules {

using namespace kit;
using namespace zbar;

namespace {

// What is asked of a text before it is believed. Codes without a check digit, or with parts that
// read as codes of their own when a scan line leaves them through their side, need more than
// others.
struct Symbology {
  const char* name;
  zbar_symbol_type_t type;
  int leastLines;
  std::size_t leastLength;
};

constexpr Symbology kSymbologies[] = {
    {"EAN-13", ZBAR_EAN13, 3, 13},
    {"EAN-8", ZBAR_EAN8, 3, 8},
    {"UPC-A", ZBAR_UPCA, 3, 12},
    {"UPC-E", ZBAR_UPCE, 3, 8},
    {"CODE-128", ZBAR_CODE128, 2, 1},
    {"CODE-93", ZBAR_CODE93, 2, 1},
    {"CODE-39", ZBAR_CODE39, 2, 1},
    {"Codabar", ZBAR_CODABAR, 3, 5},
    {"I2/5", ZBAR_I25, 2, 6},
    {"DataBar", ZBAR_DATABAR, 2, 14},
    {"DataBar-Exp", ZBAR_DATABAR_EXP, 1, 1},
    {"QR", ZBAR_QRCODE, 0, 0},
};

const Symbology* Find(zbar_symbol_type_t type) {
  for (const Symbology& symbology : kSymbologies) {
    if (symbology.type == type) return &symbology;
  }
  return nullptr;
}

struct Delete {
  void operator()(zbar_image_scanner_t* scanner) const { zbar_image_scanner_destroy(scanner); }
  void operator()(zbar_image_t* image) const { zbar_image_destroy(image); }
};

// A scanner of its own for each scan: scanners are not thread-safe, and a used one remembers.
std::unique_ptr<zbar_image_scanner_t, Delete> MakeScanner(
    const std::vector<std::string>& symbologies, int density) {
  std::unique_ptr<zbar_image_scanner_t, Delete> scanner(zbar_image_scanner_create());
  zbar_image_scanner_set_config(scanner.get(), ZBAR_NONE, ZBAR_CFG_ENABLE, 0);
  zbar_image_scanner_set_config(scanner.get(), ZBAR_NONE, ZBAR_CFG_X_DENSITY, density);
  zbar_image_scanner_set_config(scanner.get(), ZBAR_NONE, ZBAR_CFG_Y_DENSITY, density);
  for (const Symbology& symbology : kSymbologies) {
    if (std::find(symbologies.begin(), symbologies.end(), symbology.name) != symbologies.end()) {
      zbar_image_scanner_set_config(scanner.get(), symbology.type, ZBAR_CFG_ENABLE, 1);
    }
  }
  // Bytes as they are: what ZBar takes them for depends on the character sets that the system
  // knows.
  zbar_image_scanner_set_config(scanner.get(), ZBAR_QRCODE, ZBAR_CFG_BINARY, 1);
  return scanner;
}

// The four points of a QR code as they are, otherwise the box around the scan lines that read the
// code.
void SetCorners(const zbar_symbol_t* symbol, Corner (&corners)[4]) {
  const unsigned count = zbar_symbol_get_loc_size(symbol);
  const bool isQuad = count == 4 && zbar_symbol_get_type(symbol) == ZBAR_QRCODE;
  int left = count > 0 ? zbar_symbol_get_loc_x(symbol, 0) : 0;
  int top = count > 0 ? zbar_symbol_get_loc_y(symbol, 0) : 0;
  int right = left;
  int bottom = top;
  for (unsigned i = 0; i < count; ++i) {
    const int x = zbar_symbol_get_loc_x(symbol, i);
    const int y = zbar_symbol_get_loc_y(symbol, i);
    if (isQuad) corners[i].Set(x, y);
    left = std::min(left, x);
    right = std::max(right, x);
    top = std::min(top, y);
    bottom = std::max(bottom, y);
  }
  if (isQuad) return;
  // All points in one row or column, where one line read the code or several from the same side.
  right = std::max(right, left + 1);
  bottom = std::max(bottom, top + 1);
  corners[0].Set(left, top);
  corners[1].Set(right, top);
  corners[2].Set(right, bottom);
  corners[3].Set(left, bottom);
}

bool IsCredible(const Symbology& symbology, const ZBarCode& code, int lines) {
  if (lines < symbology.leastLines || code.bytes.size() < symbology.leastLength) return false;
  return symbology.type != ZBAR_DATABAR_EXP || IsGs1(code.bytes);
}

ZBarCode CodeOf(const zbar_symbol_t* symbol, std::string name) {
  ZBarCode code;
  code.symbology = std::move(name);
  code.bytes.assign(zbar_symbol_get_data(symbol), zbar_symbol_get_data_length(symbol));
  SetCorners(symbol, code.corners);
  return code;
}

// A series of QR codes of which some were not found comes as one symbol of those that were.
void AppendParts(const zbar_symbol_t* series, std::vector<ZBarCode>& codes) {
  for (const zbar_symbol_t* part = zbar_symbol_first_component(series); part != nullptr;
       part = zbar_symbol_next(part)) {
    if (zbar_symbol_get_type(part) == ZBAR_QRCODE) codes.push_back(CodeOf(part, "QR part"));
  }
}

}  // namespace

const std::vector<std::string>& ZBarSymbologies() {
  static const std::vector<std::string> names = [] {
    std::vector<std::string> list;
    for (const Symbology& symbology : kSymbologies) list.emplace_back(symbology.name);
    return list;
  }();
  return names;
}

std::vector<ZBarCode> ScanWithZBar(const GreyImage& image,
                                   const std::vector<std::string>& symbologies, int density) {
  std::vector<ZBarCode> codes;
  if (image.pixels.empty()) return codes;
  const auto scanner = MakeScanner(symbologies, density);
  const std::unique_ptr<zbar_image_t, Delete> scanned(zbar_image_create());
  zbar_image_set_format(scanned.get(), zbar_fourcc('Y', '8', '0', '0'));
  zbar_image_set_size(scanned.get(), static_cast<unsigned>(image.width),
                      static_cast<unsigned>(image.height));
  zbar_image_set_data(scanned.get(), image.pixels.data(), image.pixels.size(), nullptr);
  zbar_scan_image(scanner.get(), scanned.get());
  for (const zbar_symbol_t* symbol = zbar_image_first_symbol(scanned.get()); symbol != nullptr;
       symbol = zbar_symbol_next(symbol)) {
    if (zbar_symbol_get_type(symbol) == ZBAR_PARTIAL) AppendParts(symbol, codes);
    const Symbology* symbology = Find(zbar_symbol_get_type(symbol));
    if (symbology == nullptr) continue;
    ZBarCode code = CodeOf(symbol, symbology->name);
    if (IsCredible(*symbology, code, zbar_symbol_get_quality(symbol))) {
      codes.push_back(std::move(code));
    }
  }
  return codes;
}

}  // namespace velmora::modules
