// Matrix codes where there is no ZXing-C++: Data Matrix with libdmtx, QR with ZBar.

#include <dmtx.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <memory>

#include "modules/code_reader/zbar_scan.h"
#include "modules/matrix_reader/matrix_codes.h"
#include "velmora_kit/pixel_filters.h"
#include "velmora_kit/text.h"
#include "velmora_kit/tiles.h"

namespace velmora::modules {

using namespace kit;

namespace {

// libdmtx follows each edge that it meets, for seconds where there are many: it gets few pixels, a
// wide grid, and nothing that looks like a linear code. What it misses in a large image, it gets
// again as a candidate of its own.
constexpr std::int64_t kMostPixels = 150'000;
constexpr int kGridLines = 30;
constexpr int kFinestGrid = 2;
constexpr int kEdgeThreshold = 40;    // of 100
constexpr int kSquareDeviation = 15;  // degrees by which corners may be off
constexpr double kMostCoherence = 0.5;

// As many lines as it takes ZBar to meet the corner marks of a QR code.
constexpr int kScanLines = 180;
constexpr int kCoarsest = 8;

struct Delete {
  void operator()(DmtxImage* image) const { dmtxImageDestroy(&image); }
  void operator()(DmtxDecode* decode) const { dmtxDecodeDestroy(&decode); }
  void operator()(DmtxRegion* region) const { dmtxRegionDestroy(&region); }
  void operator()(DmtxMessage* message) const { dmtxMessageDestroy(&message); }
};

// How much the edges agree on one direction: 1 for the bars of a linear code, turned as it may be,
// and 0 for a matrix code, which has as many edges across as along.
double CoherenceOf(const GreyImage& image) {
  double xx = 0;
  double yy = 0;
  double xy = 0;
  for (int y = 1; y + 1 < image.height; y += 2) {
    const std::uint8_t* row = image.Row(y);
    const std::uint8_t* above = image.Row(y - 1);
    const std::uint8_t* below = image.Row(y + 1);
    for (int x = 1; x + 1 < image.width; x += 2) {
      const double right = row[x + 1] - row[x - 1];
      const double down = below[x] - above[x];
      xx += right * right;
      yy += down * down;
      xy += right * down;
    }
  }
  return std::sqrt((xx - yy) * (xx - yy) + 4 * xy * xy) / (xx + yy + 1);
}

// The library counts rows from below.
void SetCorners(DmtxRegion& region, int height, int factor, Corner (&corners)[4]) {
  constexpr double kUnit[4][2] = {{0, 1}, {1, 1}, {1, 0}, {0, 0}};
  for (int i = 0; i < 4; ++i) {
    DmtxVector2 corner{kUnit[i][0], kUnit[i][1]};
    dmtxMatrix3VMultiplyBy(&corner, region.fit2raw);
    corners[i].Set(static_cast<int>(std::lround(corner.X * factor)),
                   static_cast<int>(std::lround((height - 1 - corner.Y) * factor)));
  }
}

void ReadDataMatrix(const GreyView& view, std::vector<MatrixCode>& codes) {
  const int factor = ReductionOf({0, 0, view.width, view.height}, kMostPixels);
  GreyImage image = Reduce(view, factor);
  if (CoherenceOf(image) > kMostCoherence) return;
  const std::unique_ptr<DmtxImage, Delete> source(
      dmtxImageCreate(image.pixels.data(), image.width, image.height, DmtxPack8bppK));
  if (!source) return;
  const std::unique_ptr<DmtxDecode, Delete> decode(dmtxDecodeCreate(source.get(), 1));
  if (!decode) return;
  const int gap = std::max(kFinestGrid, std::min(image.width, image.height) / kGridLines);
  dmtxDecodeSetProp(decode.get(), DmtxPropScanGap, gap);
  dmtxDecodeSetProp(decode.get(), DmtxPropEdgeThresh, kEdgeThreshold);
  dmtxDecodeSetProp(decode.get(), DmtxPropSquareDevn, kSquareDeviation);
  // Without a time limit: what is found must not depend on how busy the machine is.
  while (
      const std::unique_ptr<DmtxRegion, Delete> region{dmtxRegionFindNext(decode.get(), nullptr)}) {
    const std::unique_ptr<DmtxMessage, Delete> message(
        dmtxDecodeMatrixRegion(decode.get(), region.get(), DmtxUndefined));
    if (!message || message->outputIdx <= 0) continue;
    MatrixCode code;
    code.symbology = "DataMatrix";
    code.bytes.assign(message->output, message->output + message->outputIdx);
    code.text = TextOf(code.bytes);
    SetCorners(*region, image.height, factor, code.corners);
    codes.push_back(code);
  }
}

bool Contains(const std::vector<std::string>& names, const char* name) {
  return std::find(names.begin(), names.end(), name) != names.end();
}

}  // namespace

// Those that this target does not read may be named, so that one template does for both.
const std::vector<std::string>& MatrixSymbologies() {
  static const std::vector<std::string> names = {"DataMatrix", "Aztec",   "PDF417",
                                                 "QR",         "MicroQR", "MaxiCode"};
  return names;
}

std::vector<MatrixCode> ReadMatrixCodes(const GreyView& image,
                                        const std::vector<std::string>& symbologies,
                                        Threshold threshold) {
  std::vector<MatrixCode> codes;
  if (threshold != Threshold::kLocal) return codes;  // both libraries have their own
  if (Contains(symbologies, "QR")) {
    const int density = std::clamp(std::min(image.width, image.height) / kScanLines, 1, kCoarsest);
    for (const ZBarCode& code : ScanWithZBar(CopyOf(image), {"QR"}, density)) {
      codes.push_back({code.symbology, TextOf(code.bytes), code.bytes, {}});
      std::copy_n(code.corners, 4, codes.back().corners);
    }
  }
  if (codes.empty() && Contains(symbologies, "DataMatrix")) ReadDataMatrix(image, codes);
  return codes;
}

}  // namespace velmora::modules
