#include "velmora/image/image_tag.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace velmora::basic_structures {
namespace {

template <typename Tag>
std::unique_ptr<Tag> CloneOf(const Tag& tag) {
  return std::unique_ptr<Tag>(static_cast<Tag*>(tag.Clone()));
}

void SetBaseFields(CImageTag& tag) {
  tag.SetImageId(42);
  tag.SetImageCaptureDistanceMode(static_cast<ImageCaptureDistanceMode>(7));
}

void ExpectBaseFields(const CImageTag& tag) {
  EXPECT_EQ(tag.GetImageId(), 42);
  EXPECT_EQ(tag.GetImageCaptureDistanceMode(), 7);
}

TEST(ImageTag, StartsUnset) {
  const CFileImageTag file(nullptr, 1, 3);
  EXPECT_EQ(file.GetType(), ITT_File);
  EXPECT_EQ(file.GetImageId(), -1);
  EXPECT_EQ(file.GetImageCaptureDistanceMode(), 0);
  EXPECT_EQ(file.GetFilePath(), nullptr);
  EXPECT_EQ(CloneOf(file)->GetFilePath(), nullptr);
  EXPECT_EQ(CVideoFrameTag({}, false, nullptr, 0, 0, 0).GetType(), ITT_VideoFrame);
}

TEST(FileImageTag, CopiesAreIndependent) {
  std::string path = "scans/page.pdf";
  CFileImageTag tag(path.c_str(), 2, 9);
  SetBaseFields(tag);
  path = "overwritten";
  CFileImageTag assigned("another path", 0, 0);
  assigned = tag;
  assigned = *&assigned;
  const auto clone = CloneOf(tag);
  for (const CFileImageTag* copy : {clone.get(), &assigned}) {
    ExpectBaseFields(*copy);
    EXPECT_STREQ(copy->GetFilePath(), "scans/page.pdf");
    EXPECT_NE(copy->GetFilePath(), tag.GetFilePath());
    EXPECT_EQ(copy->GetPageNumber(), 2);
    EXPECT_EQ(copy->GetTotalPages(), 9);
  }
}

TEST(VideoFrameTag, CloneIsDeepAndCopyIsShallow) {
  const CRect crop(1, 2, 30, 40, 5);
  auto tag = std::make_unique<CVideoFrameTag>(static_cast<VideoFrameQuality>(2), true, &crop, 640,
                                              480, 77U);
  SetBaseFields(*tag);
  const auto clone = CloneOf(*tag);
  const CVideoFrameTag copy(*tag);
  CVideoFrameTag assigned({}, false, &crop, 0, 0, 0);
  assigned = *tag;

  EXPECT_NE(tag->GetCropRegion(), &crop);
  EXPECT_NE(clone->GetCropRegion(), tag->GetCropRegion());
  EXPECT_EQ(copy.GetCropRegion(), tag->GetCropRegion());
  EXPECT_EQ(assigned.GetCropRegion(), tag->GetCropRegion());
  tag.reset();  // the shared region outlives it
  for (const CVideoFrameTag* other : {static_cast<const CVideoFrameTag*>(clone.get()), &copy,
                                      static_cast<const CVideoFrameTag*>(&assigned)}) {
    ExpectBaseFields(*other);
    EXPECT_EQ(other->GetVideoFrameQuality(), 2);
    EXPECT_TRUE(other->IsCropped());
    ASSERT_NE(other->GetCropRegion(), nullptr);
    EXPECT_EQ(other->GetCropRegion()->bottom, 40);
    EXPECT_EQ(other->GetCropRegion()->id, 5);
    EXPECT_EQ(other->GetOriginalWidth(), 640);
    EXPECT_EQ(other->GetOriginalHeight(), 480);
    EXPECT_EQ(other->GetClarity(), 77U);
  }
}

TEST(VideoFrameTag, WithoutACropRegionThereIsNone) {
  const CVideoFrameTag tag({}, true, nullptr, 8, 6, 1);
  EXPECT_EQ(tag.GetCropRegion(), nullptr);
  EXPECT_EQ(CloneOf(tag)->GetCropRegion(), nullptr);
}

}  // namespace
}  // namespace velmora::basic_structures
