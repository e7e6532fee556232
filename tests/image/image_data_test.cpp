#include "tests/support/test.h"

namespace velmora {
namespace {

using namespace basic_structures;
using Bytes = std::vector<unsigned char>;

// What the release function was called with.
std::vector<const unsigned char*> released;
void RecordRelease(const unsigned char* bytes) {
  released.push_back(bytes);
}

class ImageData : public ::testing::Test {
 protected:
  ImageData() { released.clear(); }

  const unsigned char pixels[6] = {1, 2, 3, 4, 5, 6};
  const CFileImageTag tag{"tag", 3, 4};
};
using ImageDataWrapper = ImageData;

Bytes BytesOf(const CImageData& image, int count) {
  return Bytes(image.GetBytes(), image.GetBytes() + count);
}
const char* PathOf(const CImageData& image) {
  return static_cast<const CFileImageTag*>(image.GetImageTag())->GetFilePath();
}

// A tag that cannot be cloned.
class UncloneableTag : public CImageTag {
 public:
  ImageTagType GetType() const override { return ITT_File; }
  CImageTag* Clone() const override { throw std::bad_alloc(); }
};

TEST_F(ImageData, FailedConstructionLeavesTheBytesToTheCaller) {
  const UncloneableTag bad;
  EXPECT_THROW(CImageData(1, pixels, &RecordRelease, 1, 1, 1, PXF_Grayscale8, 0, &bad),
               std::bad_alloc);
  EXPECT_THROW(CImageData(1, pixels, 1, 1, 1, PXF_Grayscale8, 0, &bad), std::bad_alloc);
  EXPECT_TRUE(released.empty());
}

TEST_F(ImageData, SetImageTagClonesReplacesAndRemoves) {
  CImageData image(1, pixels, 1, 1, 1, PXF_Grayscale8, 0, &tag);
  const CImageTag* held = image.GetImageTag();
  EXPECT_NE(held, &tag);
  image.SetImageTag(held);
  EXPECT_EQ(image.GetImageTag(), held) << "its own tag is not cloned";
  const UncloneableTag bad;
  EXPECT_THROW(image.SetImageTag(&bad), std::bad_alloc);
  EXPECT_STREQ(PathOf(image), "tag") << "a failed replacement leaves the old tag";
  const CFileImageTag second("second", 0, 0);
  image.SetImageTag(&second);
  EXPECT_STREQ(PathOf(image), "second");
  image.SetImageTag(nullptr);
  EXPECT_EQ(image.GetImageTag(), nullptr);
}

TEST_F(ImageDataWrapper, DeepCopyIsIndependentAndCopyShares) {
  const NxRef<CImageDataWrapper> wrapper =
      new CImageDataWrapper(new CImageData(6, pixels, nullptr, 1, 3, 2, PXF_Colour565, 180, &tag));
  const NxRef<CImageDataWrapper> copy = wrapper->DeepCopy();
  const CImageData& image = *copy->GetImageData();
  EXPECT_NE(image.GetBytes(), pixels);
  EXPECT_EQ(BytesOf(image, 6), Bytes(pixels, pixels + 6));
  EXPECT_EQ(std::tuple(image.GetWidth(), image.GetHeight(), image.GetStride(),
                       image.GetImagePixelFormat(), image.GetOrientation()),
            std::tuple(1, 3, 2, PXF_Colour565, 180));
  EXPECT_NE(image.GetImageTag(), wrapper->GetImageData()->GetImageTag());
  EXPECT_STREQ(PathOf(image), "tag");
  EXPECT_EQ(CImageDataWrapper(*wrapper).GetImageData(), wrapper->GetImageData()) << "shared";
  EXPECT_EQ(NxRef(CImageDataWrapper(nullptr).DeepCopy())->GetImageData(), nullptr);
}

TEST(NxImageDataInner, LengthIsThe32BitProductWidenedWithItsSign) {
  struct Row {
    int stride, height;
    unsigned long long want;
  };
  constexpr int kMax = std::numeric_limits<int>::max();
  for (const Row& row : {Row{7, 4, 28}, Row{65536, 65537, 65536}, Row{kMax, kMax, 1},
                         Row{-5, 1, std::numeric_limits<unsigned long long>::max() - 4}}) {
    const unsigned char pixel = 0;
    const NxImageDataInner image(&pixel, 1, row.height, row.stride, PXF_Grayscale8);
    EXPECT_EQ(image.GetBytes(), &pixel);
    EXPECT_EQ(image.GetBytesLength(), row.want) << row.stride << " * " << row.height;
    EXPECT_EQ(image.GetReadableLength(), static_cast<std::uint32_t>(row.want));
  }
  const NxImageDataInner own(1, 65537, 65536, PXF_Grayscale8);
  EXPECT_EQ(own.GetBytesLength(), 65536U);
  EXPECT_EQ(BytesOf(own, 65536), Bytes(65536)) << "zeroed";
  EXPECT_THROW(NxImageDataInner(1, 1, -5, PXF_Grayscale8), std::bad_alloc);
}

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
}  // namespace velmora
