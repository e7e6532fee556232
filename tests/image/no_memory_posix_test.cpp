#include <gtest/gtest.h>

#include <memory>
#include <new>

#include "tests/support/no_memory.h"
#include "velmora/image/image_data_wrapper.h"
#include "velmora/image/image_source_adapter.h"

namespace velmora::basic_structures {
namespace {

struct EmptySource : CImageSourceAdapter {
  bool HasMoreImages() const override { return false; }
};

TEST(WithoutMemory, SourcesAreClearedAndDestroyed) {
  auto source = std::make_unique<EmptySource>();
  const testing::NoMemory noMemory;
  EXPECT_NO_THROW(source->ClearBuffer());
  source.reset();
}

TEST(WithoutMemory, AnImageThatCannotBeWrappedStaysWithTheCaller) {
  const auto image = std::make_unique<CImageData>();
  alignas(CImageDataWrapper) unsigned char place[sizeof(CImageDataWrapper)];
  const testing::NoMemory noMemory;
  EXPECT_THROW(new (place) CImageDataWrapper(image.get()), std::bad_alloc);
}

}  // namespace
}  // namespace velmora::basic_structures
