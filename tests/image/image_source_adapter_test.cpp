#include "tests/support/test.h"
#include "velmora/image/internal/source_tally.h"

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
  static constexpr int kImages = 800;

  ImageSourceAdapter() : pixels_(4 * kImages), releases_(kImages) { current_ = this; }
  ~ImageSourceAdapter() override {
    source.ClearBuffer();
    current_ = nullptr;
  }

  // Grey, tight rows: it needs no conversion. Its tag carries the number.
  static CImageData* NewImage(int number) {
    CFileImageTag tag(nullptr, 0, 0);
    tag.SetImageId(number);
    return new CImageData(4, &current_->pixels_[static_cast<std::size_t>(4 * number)], &Release, 4,
                          1, 4, PXF_Grayscale8, 0, &tag);
  }
  static int Releases(int number) { return current_->releases_[static_cast<std::size_t>(number)]; }

  void Push(int number) { source.AddImageToBuffer(NewImage(number), false); }

  // The numbers in the order of GetImage, newest first; the buffer is empty then.
  std::vector<int> Drain() {
    std::vector<int> numbers;
    for (;;) {
      const std::unique_ptr<CImageData> image(source.GetImage());
      if (image == nullptr) return numbers;
      numbers.push_back(image->GetImageTag()->GetImageId());
    }
  }

  TestSource source;

 private:
  static void Release(const unsigned char* bytes) {
    ++current_->releases_[static_cast<std::size_t>(bytes - current_->pixels_.data()) / 4];
    current_->source.IsBufferEmpty();  // would hang under the lock of the source
  }

  static inline ImageSourceAdapter* current_ = nullptr;
  std::vector<unsigned char> pixels_;
  std::vector<std::atomic<int>> releases_;
};

using Numbers = std::vector<int>;
using Counts = std::vector<std::uint64_t>;

// Delivered, dropped, refused and buffered.
Counts CountsOf(const TestSource& source) {
  const ImageSourceStatistics now = source.GetStatistics();
  EXPECT_EQ(now.offered, now.delivered + now.dropped + now.refused + now.buffered);
  return {now.delivered, now.dropped, now.refused, now.buffered};
}

TEST_F(ImageSourceAdapter, IdleSourceDestroysWhatIsPushed) {
  Push(0);
  source.AddImageToBuffer(nullptr, false);
  EXPECT_EQ(Releases(0), 1);
  EXPECT_EQ(CountsOf(source), (Counts{0, 0, 1, 0}));
  struct Listener final : CImageSourceErrorListener {
    void OnImageSourceError(int, const char*) override {}
  } listener;
  source.SetErrorListener(&listener);
  EXPECT_EQ(source.GetErrorListener(), &listener);
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
  delete source.GetImage();
  for (const int number : {2, 3}) Push(number);
  EXPECT_EQ(Drain(), (Numbers{3, 2})) << "0 is the oldest again";
  EXPECT_EQ(CountsOf(source), (Counts{3, 1, 0, 0}));
}

TEST_F(ImageSourceAdapter, FindsImagesByTheIdOfTheirTag) {
  source.SetMaxImageCount(5);
  source.StartFetching();
  for (const int number : {5, 6, 7}) Push(number);
  source.AddImageToBuffer(new CImageData, false);  // without a tag
  const CFileImageTag unset(nullptr, 0, 0);
  source.AddImageToBuffer(new CImageData(0, nullptr, 0, 0, 0, PXF_Grayscale8, 0, &unset), false);
  EXPECT_TRUE(source.HasImage(6));
  EXPECT_FALSE(source.HasImage(8));
  EXPECT_FALSE(source.HasImage(-1)) << "no id, although a tag says -1";
  EXPECT_FALSE(source.SetNextImageToReturn(-1, true));
  EXPECT_FALSE(source.SetNextImageToReturn(8, true));
  EXPECT_TRUE(source.SetNextImageToReturn(7, false));
  source.ClearBuffer();
  EXPECT_EQ(CountsOf(source), (Counts{0, 5, 0, 0}));
}

TEST_F(ImageSourceAdapter, DeliversTheObjectItselfOrWhatBecomesOfACopy) {
  source.SetMaxImageCount(2);
  source.SetColourChannelUsageType(CCU_Green);
  source.StartFetching();
  CImageData* taken = NewImage(1);
  {
    unsigned char bgr[] = {1, 2, 3};
    const CImageData lent(3, bgr, nullptr, 1, 1, 3, PXF_Colour888, 90, taken->GetImageTag());
    source.AddImageToBuffer(&lent, true);
    bgr[1] = 99;
  }
  source.AddImageToBuffer(taken, false);
  EXPECT_EQ(std::unique_ptr<CImageData>(source.GetImage()).get(), taken) << "needs no conversion";
  const std::unique_ptr<CImageData> green(source.GetImage());
  EXPECT_EQ(green->GetImagePixelFormat(), PXF_Grayscale8);
  EXPECT_EQ(green->GetBytes()[0], 2);
  EXPECT_EQ(green->GetImageTag()->GetImageId(), 1);
}

TEST_F(ImageSourceAdapter, ASmallerLimitOrphansTheNewest) {
  source.SetMaxImageCount(3);
  source.StartFetching();
  const std::unique_ptr<CImageData> orphan(NewImage(1));
  Push(0);
  source.AddImageToBuffer(orphan.get(), false);
  source.SetMaxImageCount(-1);
  EXPECT_EQ(source.GetImageCount(), 2) << "a negative limit takes nothing out";
  source.SetMaxImageCount(1);
  EXPECT_EQ(Releases(1), 0);
  EXPECT_EQ(CountsOf(source), (Counts{0, 1, 0, 1}));
  EXPECT_EQ(Drain(), Numbers{0});
}

TEST_F(ImageSourceAdapter, ABlockingSourceHandsItsFramesOutInOrder) {
  source.SetBufferOverflowProtectionMode(BOP_Block);
  source.StartFetching();
  testing::RunTogether(2, [&](int thread) {
    for (int number = 0; number < 200;) {
      if (thread == 0) {
        Push(number++);
      } else if (const std::unique_ptr<CImageData> image(source.GetImage()); image != nullptr) {
        EXPECT_EQ(image->GetImageTag()->GetImageId(), number++);
      }
    }
  });
}

TEST_F(ImageSourceAdapter, IsAskedWhileImagesArePushed) {
  source.StartFetching();
  Push(0);
  testing::CallTogether(
      {[&] { Push(1); }, [&] { source.HasImage(2); }, [&] { source.IsBufferEmpty(); }});
}

TEST(SourceTally, IsNeverReadTorn) {
  using Clock = std::chrono::steady_clock;  // a busy machine switches between the two too rarely
  const Clock::time_point end = Clock::now() + std::chrono::seconds(1);
  internal::SourceTally tally;
  std::atomic<bool> isDone{false};
  testing::RunTogether(2, [&](int thread) {
    for (std::uint64_t i = 1; thread == 0 && !isDone; ++i) tally.Publish({i, i, i, i});
    std::uint64_t last = 0;
    for (int changes = 0; !isDone && changes < 1000 && Clock::now() < end;) {
      const internal::SourceCounts counts = tally.Read();
      EXPECT_TRUE(counts.delivered == counts.dropped && counts.dropped == counts.refused &&
                  counts.refused == counts.buffered);
      changes += counts.delivered != last ? 1 : 0;
      last = counts.delivered;
    }
    isDone = true;
  });
}

// Whatever ends the wait, each of the producers of a full source gets its answer. That the call may
// come before, while or after they fall asleep is the point: a lost wake-up would hang the test.
TEST_F(ImageSourceAdapter, BlockedProducersAreLetGo) {
  const auto check = [](const char* name, std::uint64_t refused, auto isEnough, auto letGo) {
    SCOPED_TRACE(name);
    for (int round = 0; round < 60; ++round) {
      TestSource full;
      full.SetBufferOverflowProtectionMode(BOP_Block);
      full.StartFetching();
      full.AddImageToBuffer(NewImage(0), false);
      testing::RunTogether(3, [&](int thread) {
        if (thread > 0) return full.AddImageToBuffer(NewImage(thread), false);
        do letGo(full);
        while (!isEnough(full));
      });
      EXPECT_EQ(full.GetStatistics().refused, refused);
    }
  };
  const auto once = [](const TestSource&) { return true; };
  const auto allOffered = [](const TestSource& full) { return full.GetStatistics().offered == 3; };
  check("StopFetching", 2, once, [](TestSource& full) { full.StopFetching(); });
  check("StopFetching, with a restart at once", 2, allOffered, [](TestSource& full) {
    full.StopFetching();
    full.StartFetching();
  });
  check("a larger limit", 0, once, [](TestSource& full) { full.SetMaxImageCount(3); });
  check("ClearBuffer", 0, allOffered, [](TestSource& full) { full.ClearBuffer(); });
  check("GetImage in another mode", 0, allOffered, [](TestSource& full) {
    full.SetBufferOverflowProtectionMode(BOP_DropOldest);
    delete full.GetImage();
  });
}

// Tells when it is cloned: of an image that is pushed as a copy by a producer that is inside.
class ClonesTag : public CFileImageTag {
 public:
  explicit ClonesTag(std::atomic<int>& clones) : CFileImageTag("", 0, 0), clones_(clones) {}
  CImageTag* Clone() const override {
    ++clones_;
    return new ClonesTag(clones_);
  }

 private:
  std::atomic<int>& clones_;
};

TEST_F(ImageSourceAdapter, AProducerMayBeToldToStopAndLeft) {
  static TestSource* left;
  const auto pushAgain = [](const unsigned char*) {
    left->StartFetching();
    left->AddImageToBuffer(NewImage(1), false);
    EXPECT_TRUE(left->IsBufferEmpty()) << "refused while the source is destroyed";
  };
  for (int round = 0; round < 60; ++round) {
    left = new TestSource;
    left->SetBufferOverflowProtectionMode(BOP_Block);
    left->StartFetching();
    left->AddImageToBuffer(
        new CImageData(0, nullptr, pushAgain, 0, 0, 0, PXF_Grayscale8, 0, nullptr), false);
    std::atomic<int> clones{0};
    const ClonesTag tag(clones);
    const CImageData image(0, nullptr, nullptr, 0, 0, 0, PXF_Grayscale8, 0, &tag);
    std::thread producer([&image, source = left] { source->AddImageToBuffer(&image, true); });
    while (clones < 2) std::this_thread::yield();
    left->StopFetching();
    delete left;
    producer.join();
  }
}

// Producers, a consumer, somebody who protects, stops and restarts, and a monitor at once, with the
// producers faster and slower than the consumer.
TEST_F(ImageSourceAdapter, CountsAddUpAtEveryInstant) {
  for (int way = 0; way < 4; ++way) {
    const BufferOverflowProtectionMode mode = way < 2 ? BOP_Block : BOP_DropOldest;
    const bool stops = way % 2 == 1;
    SCOPED_TRACE(::testing::Message() << "mode " << mode << (stops ? ", stops" : ""));
    constexpr int kProducers = 2, kEach = 400;
    TestSource shared;
    shared.SetBufferOverflowProtectionMode(mode);
    shared.SetMaxImageCount(3);
    shared.StartFetching();
    std::atomic<int> producing{kProducers};
    const int before = Releases(0);
    testing::RunTogether(kProducers + 3, [&](int thread) {
      if (thread < kProducers) {
        for (int i = 0; i < kEach; ++i) {
          shared.AddImageToBuffer(NewImage(thread * kEach + i), false);
        }
        --producing;
        return;
      }
      std::uint64_t lastOffered = 0;
      for (int i = 0; producing > 0; ++i) {
        if (thread == kProducers) {  // the consumer
          const std::unique_ptr<CImageData> image(shared.GetImage());
          for (int pause = 0; stops && pause < 50; ++pause) std::this_thread::yield();
        } else if (thread == kProducers + 1) {  // the protector
          shared.SetNextImageToReturn(i % kEach, i % 2 == 0);
          if (stops && i % 16 == 0) shared.StopFetching();
          shared.StartFetching();
        } else {  // the monitor
          EXPECT_LE(CountsOf(shared)[3], 3U);
          EXPECT_GE(shared.GetStatistics().offered, lastOffered);
          lastOffered = shared.GetStatistics().offered;
        }
      }
    });
    const ImageSourceStatistics end = shared.GetStatistics();
    EXPECT_EQ(end.offered, static_cast<std::uint64_t>(kProducers * kEach));
    EXPECT_TRUE(mode != BOP_Block || stops || end.dropped + end.refused == 0);
    shared.ClearBuffer();
    for (int number = 0; number < kProducers * kEach; ++number) {
      EXPECT_EQ(Releases(number), before + 1) << number;
    }
  }
}

}  // namespace
}  // namespace velmora::basic_structures
