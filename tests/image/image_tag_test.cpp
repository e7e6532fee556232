#include "velmora/image/image_tag.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <tuple>

namespace velmora::basic_structures {
namespace {

template <typename Tag>
std::unique_ptr<Tag> CloneOf(const Tag& tag) {
  return std::unique_ptr<Tag>(static_cast<Tag*>(tag.Clone()));
}

constexpr ImageCaptureDistanceMode kMode{7};

TEST(FileImageTag, CopiesAreIndependent) {
  std::string path = "scans/page.pdf";
  CFileImageTag tag(path.c_str(), 2, 9);
  EXPECT_EQ(tag.GetImageId(), -1) << "unset";
  tag.SetImageId(42);
  tag.SetImageCaptureDistanceMode(kMode);
  path = "overwritten";
  CFileImageTag assigned("another path", 0, 0);
  assigned = tag;
  assigned = *&assigned;
  const auto clone = CloneOf(tag);
  for (const CFileImageTag* copy : {clone.get(), &assigned}) {
    EXPECT_EQ(std::tuple(copy->GetType(), copy->GetImageId(), copy->GetImageCaptureDistanceMode(),
                         copy->GetPageNumber(), copy->GetTotalPages()),
              std::tuple(ITT_File, 42, kMode, 2, 9));
    EXPECT_STREQ(copy->GetFilePath(), "scans/page.pdf");
    EXPECT_NE(copy->GetFilePath(), tag.GetFilePath());
  }
  EXPECT_EQ(CloneOf(CFileImageTag(nullptr, 1, 3))->GetFilePath(), nullptr);
}

TEST(VideoFrameTag, CloneIsDeepAndCopyIsShallow) {
  const CRect crop(1, 2, 30, 40, 5);
  auto tag = std::make_unique<CVideoFrameTag>(VideoFrameQuality{2}, true, &crop, 640, 480, 77U);
  tag->SetImageId(42);
  tag->SetImageCaptureDistanceMode(kMode);
  const auto clone = CloneOf(*tag);
  CVideoFrameTag assigned({}, false, &crop, 0, 0, 0);
  assigned = *tag;

  EXPECT_NE(tag->GetCropRegion(), &crop);
  EXPECT_NE(clone->GetCropRegion(), tag->GetCropRegion());
  EXPECT_EQ(assigned.GetCropRegion(), tag->GetCropRegion());
  EXPECT_EQ(CVideoFrameTag(*tag).GetCropRegion(), tag->GetCropRegion());
  tag.reset();  // the shared region outlives it
  for (const CVideoFrameTag* copy : {clone.get(), &assigned}) {
    EXPECT_EQ(std::tuple(copy->GetType(), copy->GetImageId(), copy->GetImageCaptureDistanceMode(),
                         copy->GetVideoFrameQuality(), copy->IsCropped(), copy->GetOriginalWidth(),
                         copy->GetOriginalHeight(), copy->GetClarity()),
              std::tuple(ITT_VideoFrame, 42, kMode, VideoFrameQuality{2}, true, 640, 480, 77U));
    EXPECT_EQ(copy->GetCropRegion()->bottom, 40);
  }
  EXPECT_EQ(CloneOf(CVideoFrameTag({}, true, nullptr, 8, 6, 1))->GetCropRegion(), nullptr);
}

}  // namespace
}  // namespace velmora::basic_structures
