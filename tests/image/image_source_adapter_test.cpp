#include "velmora/image/image_source_adapter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <deque>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/barrier.h"

namespace velmora::basic_structures {
namespace {

class TestSource : public CImageSourceAdapter {
 public:
  bool HasMoreImages() const override { return false; }
  using CImageSourceAdapter::AddImageToBuffer;
  using CImageSourceAdapter::GetErrorListener;
};

// Numbered images over pixels of its own, which counts how often each is released.
class ImageSourceAdapter : public ::testing::Test {
 protected:
  static constexpr int kImages = 4000;

  ImageSourceAdapter() : pixels_(4 * kImages), releases_(kImages) { current_ = this; }
  ~ImageSourceAdapter() override { current_ = nullptr; }

  // Grey, tight rows: it needs no conversion. Its tag carries the number.
  static CImageData* NewImage(int number) {
    CFileImageTag tag(nullptr, 0, 0);
    tag.SetImageId(number);
    return new CImageData(4, &current_->pixels_[static_cast<std::size_t>(4 * number)], &Release, 4,
                          1, 4, PXF_Grayscale8, 0, &tag);
  }
  static int Number(const CImageData& image) {
    return static_cast<int>(image.GetBytes() - current_->pixels_.data()) / 4;
  }
  static int Releases(int number) { return current_->releases_[static_cast<std::size_t>(number)]; }

  void Push(int number) { source.AddImageToBuffer(NewImage(number), false); }

  // The numbers in the order of GetImage, newest first; the buffer is empty then.
  std::vector<int> Drain() {
    std::vector<int> numbers;
    for (;;) {
      const std::unique_ptr<CImageData> image(source.GetImage());
      if (image == nullptr) return numbers;
      numbers.push_back(Number(*image));
    }
  }

  TestSource source;
  static inline void (*whenReleased)() = nullptr;

 private:
  static void Release(const unsigned char* bytes) {
    ++current_->releases_[static_cast<std::size_t>(bytes - current_->pixels_.data()) / 4];
    if (whenReleased != nullptr) whenReleased();
  }

  static inline ImageSourceAdapter* current_ = nullptr;
  std::vector<unsigned char> pixels_;
  std::vector<std::atomic<int>> releases_;
};

using Numbers = std::vector<int>;

void ExpectCounts(const ImageSourceStatistics& got, const ImageSourceStatistics& want) {
  EXPECT_EQ(got.offered, want.offered);
  EXPECT_EQ(got.delivered, want.delivered);
  EXPECT_EQ(got.dropped, want.dropped);
  EXPECT_EQ(got.refused, want.refused);
  EXPECT_EQ(got.buffered, want.buffered);
}

TEST_F(ImageSourceAdapter, IdleSourceDestroysWhatIsPushed) {
  Push(0);
  EXPECT_TRUE(source.IsBufferEmpty());
  EXPECT_EQ(Releases(0), 1);
  source.AddImageToBuffer(nullptr, false);
  ExpectCounts(source.GetStatistics(), {1, 0, 0, 1, 0});
}

TEST_F(ImageSourceAdapter, ByDefaultTheNewestOfOneRemains) {
  EXPECT_EQ(source.GetMaxImageCount(), 1);
  EXPECT_EQ(source.GetBufferOverflowProtectionMode(), BOP_DropOldest);
  EXPECT_EQ(source.GetColourChannelUsageType(), CCU_Unrestricted);
  source.StartFetching();
  for (const int number : {1, 2, 3}) Push(number);
  EXPECT_EQ(Drain(), Numbers{3});
  EXPECT_EQ(source.GetImage(), nullptr);
  for (const int number : {1, 2, 3}) EXPECT_EQ(Releases(number), 1);
  ExpectCounts(source.GetStatistics(), {3, 1, 2, 0, 0});
}

// What pushes 0, 1, 2... leave in a buffer of a given limit and mode.
TEST_F(ImageSourceAdapter, FullBuffer) {
  struct Row {
    const char* name;
    int limit;
    int mode;
    int protect;  // after the pushes up to the limit; -1: none
    int pushes;
    Numbers left;  // newest first
  };
  for (const Row& row :
       {Row{"drops the oldest", 3, BOP_DropOldest, -1, 5, {4, 3, 2}},
        Row{"keeps the protected image and drops the next", 2, BOP_DropOldest, 0, 3, {2, 0}},
        Row{"protection moves the image to the front", 3, BOP_DropOldest, 2, 4, {3, 1, 2}},
        Row{"where it stays", 3, BOP_DropOldest, 2, 5, {4, 3, 2}},
        Row{"refuses when only the protected image is there", 1, BOP_DropOldest, 0, 3, {0}},
        Row{"another mode grows by one and refuses then", 2, 7, -1, 5, {2, 1, 0}},
        Row{"a limit of 0 refuses", 0, BOP_DropOldest, -1, 2, {}},
        Row{"so does a negative one", -5, BOP_Block, -1, 2, {}}}) {
    SCOPED_TRACE(row.name);
    source.SetMaxImageCount(row.limit);
    source.SetBufferOverflowProtectionMode(static_cast<BufferOverflowProtectionMode>(row.mode));
    source.StartFetching();
    for (int number = 0; number < row.pushes; ++number) {
      if (number == row.limit && row.protect >= 0) {
        EXPECT_TRUE(source.SetNextImageToReturn(row.protect, true));
      }
      Push(number);
    }
    EXPECT_EQ(source.GetImageCount(), static_cast<int>(row.left.size()));
    EXPECT_EQ(Drain(), row.left);
  }
}

TEST_F(ImageSourceAdapter, DeliveryEndsTheProtection) {
  source.SetMaxImageCount(2);
  source.StartFetching();
  for (const int number : {0, 1}) Push(number);
  EXPECT_TRUE(source.SetNextImageToReturn(0, true));
  EXPECT_EQ(Number(*std::unique_ptr<CImageData>(source.GetImage())), 1);
  for (const int number : {2, 3}) Push(number);
  EXPECT_EQ(Drain(), (Numbers{3, 2})) << "0 is the oldest again";
}

TEST_F(ImageSourceAdapter, FindsImagesByTheIdOfTheirTag) {
  source.SetMaxImageCount(4);
  source.StartFetching();
  for (const int number : {5, 6, 7}) Push(number);
  source.AddImageToBuffer(new CImageData, false);  // without a tag
  const CFileImageTag unset(nullptr, 0, 0);
  source.SetMaxImageCount(5);
  source.AddImageToBuffer(new CImageData(0, nullptr, 0, 0, 0, PXF_Grayscale8, 0, &unset), false);
  EXPECT_TRUE(source.HasImage(6));
  EXPECT_FALSE(source.HasImage(8));
  EXPECT_FALSE(source.HasImage(-1)) << "no id, although a tag says -1";
  EXPECT_FALSE(source.SetNextImageToReturn(-1, true));
  EXPECT_FALSE(source.SetNextImageToReturn(8, true));
  EXPECT_TRUE(source.SetNextImageToReturn(7, false));
  source.ClearBuffer();
  EXPECT_TRUE(source.IsBufferEmpty());
  ExpectCounts(source.GetStatistics(), {5, 0, 5, 0, 0});
}

TEST_F(ImageSourceAdapter, CopiesOrTakesOver) {
  source.SetMaxImageCount(2);
  source.StartFetching();
  CImageData* taken = NewImage(1);
  const std::unique_ptr<CImageData> lent(NewImage(2));
  source.AddImageToBuffer(lent.get(), true);
  source.AddImageToBuffer(taken, false);
  const std::unique_ptr<CImageData> first(source.GetImage());
  const std::unique_ptr<CImageData> second(source.GetImage());
  EXPECT_EQ(first.get(), taken) << "needs no conversion: the very object";
  EXPECT_NE(second, lent);
  EXPECT_NE(second->GetBytes(), lent->GetBytes());
  EXPECT_EQ(second->GetImageTag()->GetImageId(), 2);
}

TEST_F(ImageSourceAdapter, DeliversConvertedForTheUsage) {
  source.SetColourChannelUsageType(CCU_Green);
  source.StartFetching();
  const unsigned char bgr[] = {1, 2, 3};
  const CImageData image(3, bgr, nullptr, 1, 1, 3, PXF_Colour888, 90, nullptr);
  source.AddImageToBuffer(&image, true);
  const std::unique_ptr<CImageData> green(source.GetImage());
  EXPECT_EQ(green->GetImagePixelFormat(), PXF_Grayscale8);
  EXPECT_EQ(green->GetBytes()[0], 2);
  EXPECT_EQ(green->GetOrientation(), 90);
  auto* noBytes = new CImageData(3, nullptr, 1, 1, 3, PXF_Colour888, 0, nullptr);
  source.AddImageToBuffer(noBytes, false);
  EXPECT_EQ(std::unique_ptr<CImageData>(source.GetImage()).get(), noBytes);
}

TEST_F(ImageSourceAdapter, ASmallerLimitOrphansTheNewest) {
  source.SetMaxImageCount(3);
  source.StartFetching();
  std::vector<std::unique_ptr<CImageData>> orphans;
  Push(0);
  for (const int number : {1, 2}) {
    orphans.emplace_back(NewImage(number));
    source.AddImageToBuffer(orphans.back().get(), false);
  }
  source.SetMaxImageCount(-1);
  EXPECT_EQ(source.GetImageCount(), 3) << "a negative limit takes nothing out";
  source.SetMaxImageCount(1);
  EXPECT_EQ(Releases(1) + Releases(2), 0);
  ExpectCounts(source.GetStatistics(), {3, 0, 2, 0, 1});
  EXPECT_EQ(Drain(), Numbers{0});
}

TEST_F(ImageSourceAdapter, ReleaseFunctionsMayCallTheSource) {
  static TestSource* observed = nullptr;
  static int calls = 0;
  observed = &source;
  calls = 0;
  whenReleased = [] {
    observed->HasImage(1);
    observed->IsBufferEmpty();
    ++calls;
  };
  source.StartFetching();
  Push(0);
  Push(1);  // drops 0
  source.SetNextImageToReturn(1, true);
  Push(2);               // is refused
  source.ClearBuffer();  // drops 1
  source.StopFetching();
  Push(3);  // is refused
  whenReleased = nullptr;
  EXPECT_EQ(calls, 4);
}

TEST_F(ImageSourceAdapter, KeepsTheErrorListener) {
  struct Listener final : CImageSourceErrorListener {
    void OnImageSourceError(int errorCode, const char* message) override {
      heard = std::to_string(errorCode) + message;
    }
    std::string heard;
  } listener;
  EXPECT_EQ(source.GetErrorListener(), nullptr);
  source.SetErrorListener(&listener);
  source.GetErrorListener()->OnImageSourceError(-10012, " broken");
  EXPECT_EQ(listener.heard, "-10012 broken");
}

// The test below offers three images.
template <typename Action>
void WhileSomebodyWaits(const TestSource& source, Action action) {
  while (source.GetStatistics().offered < 3) action();
}

// Whatever ends the wait, each of the producers of a full source gets its answer. That the call may
// come before, while or after they fall asleep is the point: a lost wake-up would hang the test.
TEST_F(ImageSourceAdapter, BlockedProducersAreLetGo) {
  struct Row {
    const char* name;
    void (*letGo)(TestSource&);
    std::uint64_t refused;
  };
  const Row rows[] = {
      {"StopFetching", [](TestSource& full) { full.StopFetching(); }, 2},
      {"StopFetching, with a restart at once",
       [](TestSource& full) {
         WhileSomebodyWaits(full, [&] {
           full.StopFetching();
           full.StartFetching();
         });
       },
       2},
      {"a larger limit", [](TestSource& full) { full.SetMaxImageCount(3); }, 0},
      {"ClearBuffer",
       [](TestSource& full) { WhileSomebodyWaits(full, [&] { full.ClearBuffer(); }); }, 0},
      {"GetImage",
       [](TestSource& full) { WhileSomebodyWaits(full, [&] { delete full.GetImage(); }); }, 0},
      {"GetImage in another mode",
       [](TestSource& full) {
         WhileSomebodyWaits(full, [&] {
           full.SetBufferOverflowProtectionMode(BOP_DropOldest);
           delete full.GetImage();
         });
       },
       0},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    for (int round = 0; round < 60; ++round) {
      TestSource full;
      full.SetBufferOverflowProtectionMode(BOP_Block);
      full.StartFetching();
      full.AddImageToBuffer(NewImage(0), false);
      testing::RunTogether(3, [&](int thread) {
        if (thread == 0) {
          row.letGo(full);
        } else {
          full.AddImageToBuffer(NewImage(thread), false);
        }
      });
      const ImageSourceStatistics statistics = full.GetStatistics();
      EXPECT_EQ(statistics.refused, row.refused);
      EXPECT_EQ(statistics.offered, 3U);
    }
  }
}

TEST_F(ImageSourceAdapter, BlockingLosesNothingAndKeepsTheLimit) {
  source.SetBufferOverflowProtectionMode(BOP_Block);
  source.SetMaxImageCount(2);
  source.StartFetching();
  std::vector<int> got;
  testing::RunTogether(3, [&](int thread) {
    if (thread > 0) {
      for (int i = thread - 1; i < 1000; i += 2) {
        Push(i);
        EXPECT_LE(source.GetImageCount(), 2);
      }
      return;
    }
    while (got.size() < 1000) {
      for (const int number : Drain()) got.push_back(number);
      std::this_thread::yield();
    }
  });
  std::sort(got.begin(), got.end());
  for (int number = 0; number < 1000; ++number) {
    EXPECT_EQ(got[static_cast<std::size_t>(number)], number);
    EXPECT_EQ(Releases(number), 1);
  }
  ExpectCounts(source.GetStatistics(), {1000, 1000, 0, 0, 0});
}

// Producers, consumers, somebody who protects, stops and restarts, and a monitor at once, with the
// producers faster and slower than the consumers.
TEST_F(ImageSourceAdapter, CountsAddUpAtEveryInstant) {
  for (const auto mode : {BOP_Block, BOP_DropOldest}) {
    for (const int consumerPause : {0, 50}) {
      SCOPED_TRACE(::testing::Message() << "mode " << mode << " pause " << consumerPause);
      constexpr int kProducers = 2, kEach = 400;
      TestSource shared;
      shared.SetBufferOverflowProtectionMode(mode);
      shared.SetMaxImageCount(3);
      shared.StartFetching();
      std::atomic<int> producing{kProducers};
      const int before = Releases(0);
      testing::RunTogether(kProducers + 3, [&](int thread) {
        if (thread < kProducers) {
          for (int i = 0; i < kEach; ++i)
            shared.AddImageToBuffer(NewImage(thread * kEach + i), false);
          --producing;
          return;
        }
        std::uint64_t lastOffered = 0;
        for (int i = 0; producing > 0; ++i) {
          if (thread == kProducers) {  // the consumer
            const std::unique_ptr<CImageData> image(shared.GetImage());
            for (int pause = 0; pause < consumerPause; ++pause) std::this_thread::yield();
          } else if (thread == kProducers + 1) {  // the protector
            shared.SetNextImageToReturn(i % kEach, i % 2 == 0);
            if (i % 16 == 0) shared.StopFetching();
            shared.StartFetching();
          } else {  // the monitor
            const ImageSourceStatistics now = shared.GetStatistics();
            EXPECT_EQ(now.offered, now.delivered + now.dropped + now.refused + now.buffered);
            EXPECT_GE(now.offered, lastOffered);
            EXPECT_LE(now.buffered, 3U);
            lastOffered = now.offered;
          }
        }
      });
      EXPECT_EQ(shared.GetStatistics().offered, static_cast<std::uint64_t>(kProducers * kEach));
      shared.ClearBuffer();
      for (int number = 0; number < kProducers * kEach; ++number) {
        EXPECT_EQ(Releases(number), before + 1) << number;
      }
    }
  }
}

}  // namespace
}  // namespace velmora::basic_structures
