#include "velmora/image/nx_image_data.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "tests/support/barrier.h"
#include "velmora/foundation/hash_algorithm.h"

namespace velmora {
namespace {

using basic_structures::CImageData;
using FloatRect = basic_structures::NxRect_<float>;

const unsigned char kPixels[] = {1, 2, 3, 4};

NxRef<NxImageData> ImageOfPixels() {
  return new NxImageData(4, kPixels, 2, 2, 2, basic_structures::PXF_Grayscale8, 0, nullptr);
}

// What GetPDFImageROIs or GetPDFTextBlocks gives.
template <typename T>
NxArrayRef<T> Got(const NxImageData& image, void (NxImageData::*get)(NxArrayRef<T>&) const) {
  NxArrayRef<T> array;
  (image.*get)(array);
  return array;
}

TEST(NxImageData, IsAnImageFirstAndASharedObject) {
  const NxRef<NxImageData> image = ImageOfPixels();
  EXPECT_EQ(image->GetReferenceCount(), 1);
  const CImageData* base = image.get();
  EXPECT_EQ(static_cast<const void*>(base), static_cast<const void*>(image.get()));
  const CImageData* throughBase = new NxImageData;
  delete throughBase;
}

TEST(NxImageData, StartsWithTheIdentityMatrix) {
  using Matrix = std::vector<double>;
  NxImageData image;
  double matrix[9] = {};
  image.GetRotationTransformMatrix(matrix);
  EXPECT_EQ(Matrix(matrix, matrix + 9), (Matrix{1, 0, 0, 0, 1, 0, 0, 0, 1}));
  const double given[9] = {1, 2, 3, 4, 5, 6, 7, 8, 9};
  image.SetRotationTransformMatrix(given);
  image.GetRotationTransformMatrix(matrix);
  EXPECT_EQ(Matrix(matrix, matrix + 9), Matrix(given, given + 9));
}

TEST(NxImageData, OrientationFromExifAndAsAngle) {
  NxImageData image;
  for (const auto& [exif, degrees] :
       {std::pair{6, 90}, {3, 180}, {8, 270}, {1, 0}, {2, 0}, {-7, 0}}) {
    image.SetOrientationAngle(45);
    EXPECT_EQ(image.GetOrientation(), 45);
    image.SetOrientationType(exif);
    EXPECT_EQ(image.GetOrientation(), degrees) << exif;
  }
}

TEST(NxImageData, SharesArraysWithoutCopying) {
  NxImageData image;
  const NxArrayRef<float> starts = new NxArray<float>(2), ends = new NxArray<float>(2);
  const NxArrayRef<unsigned char> lineFlags = new NxArray<unsigned char>(1);
  const NxArrayRef<unsigned char> rectFlags = new NxArray<unsigned char>(1);
  const NxArrayRef<FloatRect> rects = new NxArray<FloatRect>(1);
  image.SetVectorLines(starts, ends, lineFlags);
  image.SetVectorRects(rects, rectFlags);
  NxArrayRef<float> gotStarts, gotEnds;
  NxArrayRef<unsigned char> gotLineFlags, gotRectFlags;
  NxArrayRef<FloatRect> gotRects;
  image.GetVectorLines(gotStarts, gotEnds, gotLineFlags);
  image.GetVectorRects(gotRects, gotRectFlags);
  EXPECT_TRUE(gotStarts == starts && gotEnds == ends && gotLineFlags == lineFlags);
  EXPECT_TRUE(gotRects == rects && gotRectFlags == rectFlags);
}

TEST(NxImageData, AnEmptyListKeepsTheRegionsAndReplacesTheTextBlocks) {
  NxImageData image;
  image.SetImageRois(std::vector<Nx_Quad>(3));
  image.SetImageRois(std::vector<Nx_Quad>());
  EXPECT_EQ(Got(image, &NxImageData::GetPDFImageROIs)->GetCount(), 3U);

  std::vector<TextBlock> blocks(2);
  blocks[1].SetText("total");
  image.SetBarcodeTextBlocks(blocks);
  EXPECT_STREQ((*Got(image, &NxImageData::GetPDFTextBlocks))[1].GetText(), "total");
  image.SetBarcodeTextBlocks(std::vector<TextBlock>());
  EXPECT_EQ(Got(image, &NxImageData::GetPDFTextBlocks)->GetCount(), 0U);
  image.SetBarcodeTextBlocks(NxArrayRef<TextBlock>());
  EXPECT_FALSE(Got(image, &NxImageData::GetPDFTextBlocks));
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
  image.SetBarcodeTextBlocks(std::vector<TextBlock>(1));
  EXPECT_EQ(ContentOf(image), "vectors images text");
  image.SetExtracted(false);
  EXPECT_EQ(ContentOf(image), "");
  NxImageData lines;
  lines.SetExtracted(true);
  lines.SetVectorLines(new NxArray<float>(0), {}, {});
  EXPECT_EQ(ContentOf(lines), "vectors ") << "lines count even if there are none";
}

TEST(NxImageData, HashIdIsCalculatedOnceAndReplaceable) {
  const NxRef<NxImageData> image = ImageOfPixels();
  const std::string want = NxHashAlgorithm::Generate_BKDRHash(kPixels, 4);
  EXPECT_EQ(image->GetHashID(), want);
  const_cast<unsigned char*>(image->GetBytes())[0] = 99;
  EXPECT_EQ(image->GetHashID(), want) << "not calculated anew";
  image->SetHashID("given");
  EXPECT_EQ(image->GetHashID(), "given");

  const NxRef<NxImageData> named = ImageOfPixels();
  named->SetHashID("first");
  EXPECT_EQ(named->GetHashID(), "first");
  NxImageData empty;
  EXPECT_EQ(empty.GetHashID(), "");
  EXPECT_FALSE(empty.HasObjectId());
}

TEST(NxImageData, FirstHashMayComeFromAnyThread) {
  const std::string want = NxHashAlgorithm::Generate_BKDRHash(kPixels, 4);
  for (int round = 0; round < 50; ++round) {
    const NxRef<NxImageData> image = ImageOfPixels();
    testing::RunTogether(4, [&](int) { EXPECT_EQ(image->GetHashID(), want); });
  }
}

}  // namespace
}  // namespace velmora
