#include "velmora/image/image_data.h"

#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <new>
#include <vector>

#include "velmora/foundation/ref.h"
#include "velmora/image/image_data_wrapper.h"
#include "velmora/image/nx_image_data_inner.h"

namespace velmora {
namespace {

using basic_structures::CFileImageTag;
using basic_structures::CImageData;
using basic_structures::CImageDataWrapper;
using basic_structures::CImageTag;
using basic_structures::PXF_Colour565;
using basic_structures::PXF_Grayscale8;

// What the release function was called with.
std::vector<const unsigned char*>& Released() {
  static std::vector<const unsigned char*> pointers;
  return pointers;
}
void RecordRelease(const unsigned char* bytes) {
  Released().push_back(bytes);
}

// A tag that cannot be cloned.
class UncloneableTag : public CImageTag {
 public:
  basic_structures::ImageTagType GetType() const override { return basic_structures::ITT_File; }
  CImageTag* Clone() const override { throw std::bad_alloc(); }
};

TEST(ImageData, CopiesThePixelsAndTheTag) {
  std::vector<unsigned char> pixels = {1, 2, 3, 4, 5, 6};
  const CFileImageTag tag("a.png", 1, 1);
  const CImageData image(pixels.size(), pixels.data(), 3, 2, 3, PXF_Grayscale8, 90, &tag);
  pixels.assign(6, 0);
  EXPECT_EQ(std::vector<unsigned char>(image.GetBytes(), image.GetBytes() + 6),
            (std::vector<unsigned char>{1, 2, 3, 4, 5, 6}));
  EXPECT_EQ(image.GetBytesLength(), 6U);
  EXPECT_EQ(image.GetWidth(), 3);
  EXPECT_EQ(image.GetHeight(), 2);
  EXPECT_EQ(image.GetStride(), 3);
  EXPECT_EQ(image.GetImagePixelFormat(), PXF_Grayscale8);
  EXPECT_EQ(image.GetOrientation(), 90);
  ASSERT_NE(image.GetImageTag(), nullptr);
  EXPECT_NE(image.GetImageTag(), &tag);
}

TEST(ImageData, WithoutBytesKeepsTheLengthItWasGiven) {
  const CImageData image(100, nullptr, 10, 10, 10, PXF_Grayscale8, 0, nullptr);
  EXPECT_EQ(image.GetBytes(), nullptr);
  EXPECT_EQ(image.GetBytesLength(), 100U);
}

TEST(ImageData, CopiesTheLow32BitsOfALengthAndKeepsItWhole) {
  const unsigned char pixels[] = {7, 8};
  const CImageData image((1ULL << 32) + 2, pixels, 2, 1, 2, PXF_Grayscale8, 0, nullptr);
  EXPECT_EQ(image.GetBytesLength(), (1ULL << 32) + 2);
  EXPECT_EQ(image.GetBytes()[1], 8);
}

TEST(ImageData, ReleasesAnAdoptedBufferOnceAndABorrowedOneNever) {
  const unsigned char pixels[] = {1};
  Released().clear();
  { const CImageData adopted(1, pixels, &RecordRelease, 1, 1, 1, PXF_Grayscale8, 0, nullptr); }
  { const CImageData borrowed(1, pixels, nullptr, 1, 1, 1, PXF_Grayscale8, 0, nullptr); }
  { const CImageData empty(0, nullptr, &RecordRelease, 0, 0, 0, PXF_Grayscale8, 0, nullptr); }
  EXPECT_EQ(Released(), (std::vector<const unsigned char*>{pixels, nullptr}));
}

TEST(ImageData, FailedConstructionLeavesTheBytesToTheCaller) {
  const unsigned char pixels[] = {1};
  const UncloneableTag tag;
  Released().clear();
  EXPECT_THROW(CImageData(1, pixels, &RecordRelease, 1, 1, 1, PXF_Grayscale8, 0, &tag),
               std::bad_alloc);
  EXPECT_THROW(CImageData(1, pixels, 1, 1, 1, PXF_Grayscale8, 0, &tag), std::bad_alloc);
  EXPECT_TRUE(Released().empty());
}

TEST(ImageData, SetImageTagClonesReplacesAndRemoves) {
  CImageData image;
  const CFileImageTag first("first", 0, 0);
  image.SetImageTag(&first);
  const CImageTag* held = image.GetImageTag();
  image.SetImageTag(held);
  EXPECT_EQ(image.GetImageTag(), held) << "its own tag is not cloned";
  EXPECT_THROW(image.SetImageTag(std::make_unique<UncloneableTag>().get()), std::bad_alloc);
  EXPECT_EQ(image.GetImageTag(), held) << "a failed replacement leaves the old tag";
  const CFileImageTag second("second", 0, 0);
  image.SetImageTag(&second);
  EXPECT_STREQ(static_cast<const CFileImageTag*>(image.GetImageTag())->GetFilePath(), "second");
  image.SetImageTag(nullptr);
  EXPECT_EQ(image.GetImageTag(), nullptr);
}

TEST(ImageDataWrapper, DeepCopyIsIndependent) {
  const unsigned char pixels[] = {1, 2, 3, 4};
  const CFileImageTag tag("w", 3, 4);
  const NxRef<CImageDataWrapper> wrapper =
      new CImageDataWrapper(new CImageData(4, pixels, nullptr, 1, 2, 2, PXF_Colour565, 180, &tag));
  const NxRef<CImageDataWrapper> copy = wrapper->DeepCopy();
  EXPECT_EQ(copy->GetReferenceCount(), 1);
  const CImageData& image = *copy->GetImageData();
  ASSERT_NE(image.GetBytes(), nullptr);
  EXPECT_NE(image.GetBytes(), pixels);
  EXPECT_EQ(image.GetBytes()[3], 4);
  EXPECT_EQ(image.GetStride(), 2);
  EXPECT_EQ(image.GetImagePixelFormat(), PXF_Colour565);
  EXPECT_EQ(image.GetOrientation(), 180);
  EXPECT_NE(image.GetImageTag(), wrapper->GetImageData()->GetImageTag());
  EXPECT_EQ(static_cast<const CFileImageTag*>(image.GetImageTag())->GetTotalPages(), 4);

  const NxRef<CImageDataWrapper> empty = new CImageDataWrapper(nullptr);
  const NxRef<CImageDataWrapper> emptyCopy = empty->DeepCopy();
  EXPECT_EQ(emptyCopy->GetImageData(), nullptr);
}

TEST(ImageDataWrapper, CopiesShareOneImageThatDiesWithTheLast) {
  Released().clear();
  const unsigned char pixels[] = {1};
  {
    CImageDataWrapper copy(nullptr);
    {
      const CImageDataWrapper wrapper(
          new CImageData(1, pixels, &RecordRelease, 1, 1, 1, PXF_Grayscale8, 0, nullptr));
      copy = wrapper;
      EXPECT_EQ(copy.GetImageData(), wrapper.GetImageData());
    }
    EXPECT_TRUE(Released().empty());
  }
  EXPECT_EQ(Released().size(), 1U);
}

TEST(NxImageDataInner, OwnsAZeroedBufferOrBorrowsOne) {
  const NxImageDataInner own(5, 4, 7, PXF_Grayscale8);
  EXPECT_EQ(own.GetBytesLength(), 28U);
  own.GetBytes()[27] = 1;
  EXPECT_EQ(std::vector<unsigned char>(own.GetBytes(), own.GetBytes() + 27),
            std::vector<unsigned char>(27, 0));
  const unsigned char pixels[] = {1, 2, 3, 4};
  const NxImageDataInner borrowed(pixels, 2, 2, 2, PXF_Grayscale8);
  EXPECT_EQ(borrowed.GetBytes(), pixels);
  EXPECT_EQ(borrowed.GetBytesLength(), 4U);
  EXPECT_EQ(borrowed.GetOrientation(), 0);
}

TEST(NxImageDataInner, LengthIsThe32BitProductWidenedWithItsSign) {
  constexpr int kMax = std::numeric_limits<int>::max();
  EXPECT_EQ(NxImageDataInner(65536, 65537, 65536, PXF_Grayscale8).GetBytesLength(), 65536U);
  EXPECT_EQ(NxImageDataInner(nullptr, 1, 1, -5, PXF_Grayscale8).GetBytesLength(),
            std::numeric_limits<unsigned long long>::max() - 4);
  EXPECT_EQ(NxImageDataInner(nullptr, 1, kMax, kMax, PXF_Grayscale8).GetBytesLength(), 1U);
  EXPECT_THROW(NxImageDataInner(1, 1, -5, PXF_Grayscale8), std::bad_alloc);
}

}  // namespace
}  // namespace velmora
