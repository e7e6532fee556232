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
using basic_structures::NxRect_;
using basic_structures::PXF_Grayscale8;

const unsigned char kPixels[] = {1, 2, 3, 4};

NxRef<NxImageData> ImageOfPixels() {
  return new NxImageData(4, kPixels, 2, 2, 2, PXF_Grayscale8, 0, nullptr);
}

TEST(NxImageData, IsAnImageAndASharedObject) {
  NxRef<NxImageData> image = ImageOfPixels();
  EXPECT_EQ(image->GetReferenceCount(), 1);
  EXPECT_NE(image->GetBytes(), kPixels);
  const CImageData* base = image.get();
  EXPECT_EQ(static_cast<const void*>(base), static_cast<const void*>(image.get()))
      << "the image part comes first";
  delete new NxImageData(4, kPixels, nullptr, 2, 2, 2, PXF_Grayscale8, 0, nullptr);
  const CImageData* throughBase = new NxImageData;
  delete throughBase;
}

TEST(NxImageData, StartsWithTheIdentityMatrix) {
  NxImageData image;
  double matrix[9] = {};
  image.GetRotationTransformMatrix(matrix);
  EXPECT_EQ(std::vector<double>(matrix, matrix + 9),
            (std::vector<double>{1, 0, 0, 0, 1, 0, 0, 0, 1}));
  matrix[5] = 0.5;
  image.SetRotationTransformMatrix(matrix);
  double back[9] = {};
  image.GetRotationTransformMatrix(back);
  EXPECT_EQ(back[5], 0.5);
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
  const NxArrayRef<unsigned char> flags = new NxArray<unsigned char>(1);
  const NxArrayRef<NxRect_<float>> rects = new NxArray<NxRect_<float>>(1);
  image.SetVectorLines(starts, ends, flags);
  image.SetVectorRects(rects, flags);
  EXPECT_EQ(starts->GetReferenceCount(), 2);
  EXPECT_EQ(flags->GetReferenceCount(), 3);
  NxArrayRef<float> gotStarts, gotEnds;
  NxArrayRef<unsigned char> gotFlags;
  NxArrayRef<NxRect_<float>> gotRects;
  image.GetVectorLines(gotStarts, gotEnds, gotFlags);
  image.GetVectorRects(gotRects, gotFlags);
  EXPECT_TRUE(gotStarts == starts && gotEnds == ends && gotRects == rects && gotFlags == flags);
  image.SetVectorLines({}, {}, {});
  EXPECT_EQ(ends->GetReferenceCount(), 2);
}

TEST(NxImageData, AnEmptyListKeepsTheRegionsAndReplacesTheTextBlocks) {
  NxImageData image;
  image.SetImageRois(std::vector<Nx_Quad>(3));
  image.SetImageRois(std::vector<Nx_Quad>());
  NxArrayRef<Nx_Quad> rois;
  image.GetPDFImageROIs(rois);
  ASSERT_TRUE(rois);
  EXPECT_EQ(rois->GetCount(), 3U);

  std::vector<TextBlock> blocks(2);
  blocks[1].SetText("total");
  image.SetBarcodeTextBlocks(blocks);
  NxArrayRef<TextBlock> got;
  image.GetPDFTextBlocks(got);
  EXPECT_STREQ((*got)[1].GetText(), "total");
  image.SetBarcodeTextBlocks(std::vector<TextBlock>());
  image.GetPDFTextBlocks(got);
  ASSERT_TRUE(got);
  EXPECT_EQ(got->GetCount(), 0U);
  image.SetBarcodeTextBlocks(NxArrayRef<TextBlock>());
  image.GetPDFTextBlocks(got);
  EXPECT_FALSE(got);
}

TEST(NxImageData, PdfContentCountsOnlyOnceExtracted) {
  NxImageData image;
  image.SetExtracted(true);
  EXPECT_FALSE(image.ExistPDFVectorDatas() || image.ExistPDFImageDatas() ||
               image.ExistPDFTextDatas());
  image.SetVectorRects(new NxArray<NxRect_<float>>(0), {});
  image.SetImageRois(NxArrayRef<Nx_Quad>(new NxArray<Nx_Quad>(0)));
  image.SetBarcodeTextBlocks(std::vector<TextBlock>());
  EXPECT_FALSE(image.ExistPDFVectorDatas() || image.ExistPDFImageDatas() ||
               image.ExistPDFTextDatas())
      << "arrays without elements";
  image.SetVectorRects(new NxArray<NxRect_<float>>(1), {});
  image.SetImageRois(std::vector<Nx_Quad>(1));
  image.SetBarcodeTextBlocks(std::vector<TextBlock>(1));
  EXPECT_TRUE(image.ExistPDFVectorDatas() && image.ExistPDFImageDatas() &&
              image.ExistPDFTextDatas());
  image.SetExtracted(false);
  EXPECT_FALSE(image.ExistPDFVectorDatas() || image.ExistPDFImageDatas() ||
               image.ExistPDFTextDatas());
  NxImageData lines;
  lines.SetExtracted(true);
  lines.SetVectorLines(new NxArray<float>(2), {}, {});
  EXPECT_TRUE(lines.ExistPDFVectorDatas());
}

TEST(NxImageData, HashIdIsCalculatedOnceAndReplaceable) {
  const std::string want = NxHashAlgorithm::Generate_BKDRHash(kPixels, 4);
  NxRef<NxImageData> image = ImageOfPixels();
  EXPECT_FALSE(image->HasObjectId());
  EXPECT_EQ(image->GetHashID(), want);
  const_cast<unsigned char*>(image->GetBytes())[0] = 99;
  EXPECT_EQ(image->GetHashID(), want) << "not calculated anew";
  image->SetHashID("given");
  image->CalcHashID();
  EXPECT_EQ(image->GetHashID(), "given");

  NxRef<NxImageData> named = ImageOfPixels();
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
    std::vector<const std::string*> seen(4);
    testing::RunTogether(4,
                         [&](int i) { seen[static_cast<std::size_t>(i)] = &image->GetHashID(); });
    for (const std::string* id : seen) EXPECT_EQ(*id, want);
  }
}

}  // namespace
}  // namespace velmora
