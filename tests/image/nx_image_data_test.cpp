#include "tests/support/test.h"

namespace velmora {
namespace {

using basic_structures::CImageData;
using FloatRect = basic_structures::NxRect_<float>;

const unsigned char kPixels[] = {1, 2, 3, 4};
const std::string kHash = NxHashAlgorithm::Generate_BKDRHash(kPixels, 4);

NxRef<NxImageData> ImageOfPixels() {
  return new NxImageData(4, kPixels, 2, 2, 2, basic_structures::PXF_Grayscale8, 0, nullptr);
}

TEST(NxImageData, OrientationFromExifAndAsAngle) {
  NxImageData image;
  for (const auto& [exif, degrees] :
       {std::pair{6, 90}, {3, 180}, {8, 270}, {1, 0}, {2, 0}, {-7, 0}}) {
    image.SetOrientationAngle(45);
    image.SetOrientationType(exif);
    EXPECT_EQ(image.GetOrientation(), degrees) << exif;
  }
}

std::string ContentOf(const NxImageData& image) {
  return std::string(image.ExistPDFVectorDatas() ? "vectors " : "") +
         (image.ExistPDFImageDatas() ? "images " : "") + (image.ExistPDFTextDatas() ? "text" : "");
}

TEST(NxImageData, PdfContentCountsOnlyOnceExtracted) {
  NxImageData image;
  image.SetExtracted(true);
  EXPECT_EQ(ContentOf(image), "");
  image.SetVectorRects(new NxArray<FloatRect>(0), {});
  image.SetImageRois(NxArrayRef<Nx_Quad>(new NxArray<Nx_Quad>(0)));
  image.SetBarcodeTextBlocks(std::vector<TextBlock>());
  EXPECT_EQ(ContentOf(image), "") << "arrays without elements";
  image.SetVectorRects(new NxArray<FloatRect>(1), {});
  EXPECT_EQ(ContentOf(image), "vectors ");
  image.SetImageRois(std::vector<Nx_Quad>(1));
  EXPECT_EQ(ContentOf(image), "vectors images ");
  std::vector<TextBlock> blocks(1);
  blocks[0].SetText("total");
  image.SetBarcodeTextBlocks(blocks);
  EXPECT_EQ(ContentOf(image), "vectors images text");
  NxArrayRef<TextBlock> got;
  image.GetPDFTextBlocks(got);
  EXPECT_STREQ((*got)[0].GetText(), "total");
  image.SetImageRois(std::vector<Nx_Quad>());
  image.SetBarcodeTextBlocks(std::vector<TextBlock>());
  EXPECT_EQ(ContentOf(image), "vectors images ") << "an empty list replaces the text alone";
  NxArrayRef<Nx_Quad> rois;
  image.GetPDFImageROIs(rois);
  EXPECT_EQ(rois->GetCount(), 1U);
  image.SetExtracted(false);
  EXPECT_EQ(ContentOf(image), "");
  NxImageData lines;
  lines.SetExtracted(true);
  lines.SetVectorLines(new NxArray<float>(0), {}, {});
  EXPECT_EQ(ContentOf(lines), "vectors ") << "lines count even if there are none";
}

TEST(NxImageData, HandsOutTheArraysItWasGiven) {
  const NxArrayRef<float> starts(new NxArray<float>(1)), ends(new NxArray<float>(1));
  const NxArrayRef<unsigned char> flags(new NxArray<unsigned char>(1));
  NxImageData image;
  image.SetVectorLines(starts, ends, flags);
  image.SetVectorRects({}, flags);
  NxArrayRef<float> gotStarts, gotEnds;
  NxArrayRef<unsigned char> lineFlags, rectFlags;
  NxArrayRef<FloatRect> rects(new NxArray<FloatRect>(1));
  image.GetVectorLines(gotStarts, gotEnds, lineFlags);
  image.GetVectorRects(rects, rectFlags);
  EXPECT_TRUE(gotStarts == starts && gotEnds == ends && lineFlags == flags);
  EXPECT_TRUE(rects == nullptr && rectFlags == flags);
}

TEST(NxImageData, HashIdIsCalculatedOnceAndReplaceable) {
  const NxRef<NxImageData> image = ImageOfPixels();
  EXPECT_EQ(image->GetHashID(), kHash);
  const_cast<unsigned char*>(image->GetBytes())[0] = 99;
  EXPECT_EQ(image->GetHashID(), kHash) << "not calculated anew";
  image->SetHashID("given");
  EXPECT_EQ(image->GetHashID(), "given");
  NxImageData empty;
  EXPECT_EQ(empty.GetHashID(), "");
}

TEST(NxImageData, FirstHashMayComeFromAnyThread) {
  for (int round = 0; round < 50; ++round) {
    const NxRef<NxImageData> image = ImageOfPixels();
    testing::RunTogether(4, [&](int) { EXPECT_EQ(image->GetHashID(), kHash); });
  }
  const NxRef<NxImageData> image = ImageOfPixels();
  const auto replace = [&] { image->SetHashID("given"); };
  testing::CallTogether({replace, replace, [&] { image->CalcHashID(); }});
}

TEST(TextBlock, TakesItsOwnTextAndNone) {
  TextBlock block;
  block.SetText("abcdef");
  block.SetText(block.GetText() + 2);
  EXPECT_STREQ(block.GetText(), "cdef");
  block.SetText(nullptr);
  EXPECT_STREQ(block.GetText(), "");
}

}  // namespace
}  // namespace velmora
