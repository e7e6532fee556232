// Images through a Capture's engine: from callers, sources and submissions, at once and cancelled.
#include <future>

#include "tests/capture/test_work.h"
#include "velmora_capture/internal/source_image.h"
#include "velmora_kit/units.h"

namespace velmora::capture {
namespace {

using namespace basic_structures;

// Hands out images with these tag ids; -1 for an image without a tag, -2 for one without pixels.
class ListSource final : public CImageSourceAdapter, public ReadErrorSource {
 public:
  explicit ListSource(std::deque<int> ids) : ids_(std::move(ids)) {}

  bool HasMoreImages() const override { return !ids_.empty(); }
  CImageData* GetImage() override {
    if (ids_.empty()) return nullptr;
    const int id = ids_.front();
    ids_.pop_front();
    if (id == -2) return new CImageData;
    CFileImageTag tag("x", 0, 1);
    tag.SetImageId(id);
    return TestEngine::MakeImage(id == -1 ? nullptr : &tag).release();
  }
  CaptureError GetReadError(const CImageData&) const override {
    return {EC_FileNotFound, "gone", {}, {}};
  }
  bool GetReadMoments(const CImageData&, RunMoment&, RunMoment&) const override { return false; }

 private:
  std::deque<int> ids_;
};

// Work that lasts until it has to stop.
NxRef<TestWork> MakeEndlessWork(std::atomic<int>& running) {
  NxRef<TestWork> work = new TestWork("AB");
  work->work = [&running](auto& item, auto& task) {
    ++running;
    AddFound(task);
    int code = 0;
    while (!item.GetOutput()->GetRegion()->GetSourceImageObject()->IsCheckPointNeedExit(
        &code, CheckPointLevel{})) {
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    item.SetWorkFinished();
    return code;
  };
  return work;
}

bool IsBalanced(const CaptureStatistics& s) {
  return s.offered == s.delivered + s.dropped + s.refused + s.queued;
}

TEST(Engine, RunDeliversEveryImageInItsPlace) {
  for (const bool inOrder : {true, false}) {
    SCOPED_TRACE(inOrder);
    const NxRef<TestWork> work = new TestWork("AA");
    std::atomic<int> begun{0};
    work->work = [&](auto& item, auto& task) {  // the first images take longest
      std::this_thread::sleep_for(std::chrono::milliseconds(std::max(0, 8 - ++begun)));
      AddFound(task);
      item.SetWorkFinished();
      return 0;
    };
    TestEngine engine(work);
    // No ids, ids in flight twice, and one that could not be read.
    ListSource source({7, 7, -1, -1, -2, 7, 8, 7, -1, 3});
    std::vector<int> ids;
    std::vector<std::int64_t> numbers;
    int failures = 0;
    RunOptions options;
    options.inOrder = inOrder;
    EXPECT_EQ(engine->Run(
                  source,
                  [&](const NxRef<CaptureResult>& result) {
                    const CImageTag* tag = result->GetSourceImageTag();
                    ids.push_back(tag != nullptr ? tag->GetImageId() : -1);
                    numbers.push_back(result->GetJobNumber());
                    const bool failed = result->GetErrorCode() == EC_FileNotFound;
                    failures += failed ? 1 : 0;
                    EXPECT_EQ(result->GetRegions().size(), failed ? 0u : 2u);
                    EXPECT_TRUE(IsBalanced(engine->GetStatistics()));
                  },
                  options),
              0);
    EXPECT_EQ(failures, 1);
    EXPECT_TRUE(!inOrder || ids == std::vector<int>({7, 7, -1, -1, -1, 7, 8, 7, -1, 3}));
    EXPECT_EQ(std::set<std::int64_t>(numbers.begin(), numbers.end()).size(), 10u);
    const CaptureStatistics counts = engine->GetStatistics();
    EXPECT_EQ(counts.offered, 10);
    EXPECT_TRUE(IsBalanced(counts));
    EXPECT_EQ(counts.tasks[0].found, 18);
  }
}

TEST(Engine, WhatAHandlerThrowsLeavesRunOnceNothingIsInFlight) {
  TestEngine engine(new TestWork);
  ListSource source({0, 1, 2, 3, 4, 5, 6, 7, 8, 9});
  int calls = 0;
  EXPECT_THROW(engine->Run(source,
                           [&](const NxRef<CaptureResult>&) {
                             if (++calls == 2) throw 5;
                           },
                           {}),
               int);
  EXPECT_EQ(calls, 2);
  EXPECT_EQ(engine->GetStatistics().queued, 0);
  EXPECT_EQ(engine.Read()->GetErrorCode(), 0);
}

TEST(Engine, WhatASourceThrowsLeavesRunToo) {
  enum Place { kHasMore, kGetImage, kGetReadError };
  class Source final : public CImageSourceAdapter, public ReadErrorSource {
   public:
    explicit Source(Place place) : place_(place) {}
    bool HasMoreImages() const override { return place_ == kHasMore ? throw 6 : images_ < 5; }
    CImageData* GetImage() override {
      if (++images_ > 3 && place_ == kHasMore) return nullptr;
      if (images_ > 3 && place_ == kGetImage) throw 6;
      return images_ > 3 ? new CImageData : TestEngine::MakeImage().release();
    }
    CaptureError GetReadError(const CImageData&) const override { throw 6; }
    bool GetReadMoments(const CImageData&, RunMoment&, RunMoment&) const override { return false; }

   private:
    const Place place_;
    int images_ = 0;
  };
  for (const Place place : {kHasMore, kGetImage, kGetReadError}) {
    SCOPED_TRACE(place);
    TestEngine engine(new TestWork);
    Source source(place);
    EXPECT_THROW(engine->Run(source, [](const NxRef<CaptureResult>&) {}, {}), int);
    EXPECT_EQ(engine->GetStatistics().queued, 0);
    EXPECT_EQ(engine.Read()->GetErrorCode(), 0);
  }
}

// What a receiver throws is an error of the image, what an observer throws is dropped.
TEST(Engine, ReceiversAndObserversMayThrow) {
  enum Place { kUnit, kSection, kTask, kDefinition, kObserver };
  class Thrower final : public intermediate_results::CAbstractIntermediateResultReceiver,
                        public RunObserver {
   public:
    using Result = intermediate_results::CIntermediateResult;
    using Unit = intermediate_results::CIntermediateResultUnit;
    using Info = intermediate_results::IntermediateResultInfo;
    explicit Thrower(Place place) : place_(place) {}
    void OnUnitResultReceived(Unit*, const Info*) override { ThrowAt(kUnit); }
    void OnSectionResultsReceived(const Result*, const Info*) override { ThrowAt(kSection); }
    void OnTaskResultsReceived(const Result*, const Info*) override { ThrowAt(kTask); }
    void OnTargetROIResultsReceived(const Result*, const Info*) override { ThrowAt(kDefinition); }
    void OnThreadStarted(const char*) override { ThrowAt(kObserver); }
    void OnSpan(const RunSpan&) override { ThrowAt(kObserver); }
    std::atomic<int> thrown{0};

   private:
    void ThrowAt(Place place) {
      if (place != place_) return;
      ++thrown;
      throw 7;
    }
    const Place place_;
  };
  for (const Place place : {kUnit, kSection, kTask, kDefinition, kObserver}) {
    SCOPED_TRACE(place);
    Thrower thrower(place);
    CaptureOptions options;
    options.receivers.push_back(&thrower);
    options.observers.push_back(&thrower);
    const NxRef<TestWork> work = new TestWork("AB");
    work->work = [](auto& item, auto& task) {
      AddFound(task);
      for (auto* one : *item.GetWorkObject()->GetIntermediateResultReceivers()) {
        one->OnUnitResultReceived(nullptr, nullptr);
      }
      item.SetWorkFinished();
      return 0;
    };
    TestEngine engine(work, options);
    for (int image = 0; image < 2; ++image) {
      const NxRef<CaptureResult> result = engine.Read();
      EXPECT_EQ(result->GetErrorCode(), place == kObserver ? 0 : EC_Unknown);
      EXPECT_EQ(result->GetErrors().size(), place == kObserver ? 0u : 1u);
      EXPECT_EQ(result->GetRegions().size(), 1u) << "what was found is there";
    }
    EXPECT_GT(thrower.thrown, 1);
  }
}

// A source that pushes: the run waits for it, and counts what it drops.
TEST(Engine, RunWaitsForASourceThatPushes) {
  class Camera final : public CImageSourceAdapter {
   public:
    bool HasMoreImages() const override { return !isOver; }
    void Push() { AddImageToBuffer(TestEngine::MakeImage().release(), false); }
    std::atomic<bool> isOver{false};
  } camera;
  camera.SetMaxImageCount(2);
  TestEngine engine(new TestWork);
  camera.StartFetching();
  for (int i = 0; i < 5; ++i) camera.Push();  // the buffer holds two of them
  int delivered = 0;
  std::thread producer;
  engine->Run(camera,
              [&](const NxRef<CaptureResult>&) {
                if (++delivered != 2) return;
                producer = std::thread([&] {
                  camera.Push();
                  engine->NotifySource();
                  camera.isOver = true;
                });
              },
              {});
  producer.join();
  EXPECT_EQ(delivered, 3);
  const CaptureStatistics counts = engine->GetStatistics();
  EXPECT_EQ(counts.delivered, 3);
  EXPECT_TRUE(IsBalanced(counts));
}

TEST(Engine, CancelEndsWhatWasAcceptedAndNothingElse) {
  std::atomic<int> running{0};
  TestEngine engine(MakeEndlessWork(running));
  std::vector<std::thread> readers;
  std::atomic<int> cancelled{0};
  const auto expectCancelled = [&](const NxRef<CaptureResult>& result) {
    EXPECT_TRUE(result->IsCancelled());
    EXPECT_EQ(result->GetErrorCode(), 0);
    EXPECT_EQ(result->GetRegions().size(), 1u) << "what was found before is there";
    ++cancelled;
  };
  for (int i = 0; i < 2; ++i) readers.emplace_back([&] { expectCancelled(engine.Read()); });
  EXPECT_EQ(engine.Submit(expectCancelled, 0), 0);
  while (running < 3) std::this_thread::yield();
  engine->Cancel();
  for (std::thread& reader : readers) reader.join();
  while (cancelled < 3) std::this_thread::yield();

  // From a handler: the run ends early.
  TestEngine fast(new TestWork);
  ListSource source(std::deque<int>(1000, 0));
  int calls = 0;
  fast->Run(source,
            [&](const NxRef<CaptureResult>&) {
              if (++calls == 3) fast->Cancel();
            },
            {});
  EXPECT_LT(calls, 50);
  const NxRef<CaptureResult> next = fast.Read();
  EXPECT_FALSE(next->IsCancelled());
  EXPECT_EQ(next->GetRegions().size(), 1u);
}

TEST(Engine, TheDestructorEndsWhatWasSubmitted) {
  std::atomic<int> running{0};
  int handled = 0;
  {
    TestEngine engine(MakeEndlessWork(running));
    for (int i = 0; i < 8; ++i) {
      EXPECT_EQ(engine.Submit(
                    [&](const NxRef<CaptureResult>& result) {
                      EXPECT_TRUE(result->IsCancelled());
                      ++handled;
                    },
                    0),
                0);
    }
    EXPECT_EQ(engine.Submit([](const NxRef<CaptureResult>&) { FAIL(); }, 5),
              EC_CallRejectedWhileCapturing)
        << "four threads have room for eight";
    EXPECT_TRUE(IsBalanced(engine->GetStatistics()));
  }
  EXPECT_EQ(handled, 8);
}

TEST(Engine, SubmissionsFollowFromTheirHandlers) {
  std::promise<void> done;
  TestEngine engine(new TestWork);
  int left = 20;
  Capture::Handler handler = [&](const NxRef<CaptureResult>& result) {
    EXPECT_EQ(result->GetRegions().size(), 1u);
    if (--left == 0) return done.set_value();
    EXPECT_EQ(engine.Submit(handler, 1000), 0);
    if (left == 10) throw 6;  // is dropped
  };
  EXPECT_EQ(engine.Submit(handler, 0), 0);
  done.get_future().wait();
}

// What it is told does not end the chain: the destructor does.
TEST(Engine, TheDestructorEndsSubmissionsFromHandlers) {
  std::vector<int> codes;
  std::promise<void> begun;
  Capture::Handler handler;
  {
    TestEngine engine(new TestWork);
    handler = [&](const NxRef<CaptureResult>&) {
      codes.push_back(engine.Submit(handler, 1000));
      if (codes.size() == 3) begun.set_value();
    };
    ASSERT_EQ(engine.Submit(handler, 0), 0);
    begun.get_future().wait();
  }
  EXPECT_EQ(codes.back(), EC_CallRejectedWhileCapturing);
  EXPECT_EQ(std::count(codes.begin(), codes.end(), 0), static_cast<long>(codes.size()) - 1);
}

TEST(Engine, RefusesCallsThatCannotEnd) {
  const NxRef<TestWork> work = new TestWork;
  TestEngine engine(work);
  ListSource source({0, 0});
  std::vector<int> codes;
  work->work = [&](auto& item, auto&) {
    codes.push_back(engine.Read()->GetErrorCode());
    codes.push_back(engine->Run(source, [](const NxRef<CaptureResult>&) {}, {}));
    engine->Cancel();  // the next image would wait for the one that this thread works on
    codes.push_back(engine.Submit([](const NxRef<CaptureResult>&) { FAIL(); }, 1000));
    item.SetWorkFinished();
    return 0;
  };
  engine.Read();
  work->work = [](auto& item, auto&) {
    item.SetWorkFinished();
    return 0;
  };
  engine->Run(source,
              [&](const NxRef<CaptureResult>&) {
                ListSource other({0});
                codes.push_back(engine->Run(other, [](const NxRef<CaptureResult>&) {}, {}));
              },
              {});
  EXPECT_EQ(codes, (std::vector<int>(5, EC_CallRejectedWhileCapturing)));
}

// Two engines from many threads in every way; their results outlive them.
TEST(Engine, TwoWorkAtOnceAndResultsOutliveThem) {
  std::mutex mutex;
  std::vector<NxRef<CaptureResult>> results;
  const auto keep = [&](const NxRef<CaptureResult>& result) {
    const std::lock_guard<std::mutex> lock(mutex);
    results.push_back(result);
  };
  {
    CaptureOptions options;
    options.threads = 2;
    options.keepImages = true;
    const auto makeWork = [] {
      const NxRef<TestWork> work = new TestWork("AA");
      work->SetNextWorkObject(new TestWork("B"));
      work->GetNextWorkObject()->SetIsSingleThread();
      return work;
    };
    TestEngine first(makeWork(), options);
    TestEngine second(makeWork(), options);
    std::atomic<bool> isOver{false};
    std::thread watcher([&] {
      while (!isOver) {
        for (TestEngine* engine : {&first, &second}) {
          EXPECT_TRUE(IsBalanced((*engine)->GetStatistics()));
          (*engine)->GetTrace().GetStageTimes();
        }
      }
    });
    std::vector<std::thread> threads;
    for (TestEngine* engine : {&first, &second}) {
      for (int i = 0; i < 3; ++i) {
        threads.emplace_back([&, engine] {
          for (int n = 0; n < 30; ++n) keep(engine->Read());
        });
      }
      threads.emplace_back([&, engine] {
        ListSource source(std::deque<int>(30, 1));
        (*engine)->Run(source, keep, {});
      });
      threads.emplace_back([&, engine] {
        for (int n = 0; n < 30; ++n) EXPECT_EQ(engine->Submit(keep, 60000), 0);
      });
    }
    for (std::thread& thread : threads) thread.join();
    isOver = true;
    watcher.join();
  }
  EXPECT_EQ(results.size(), 300u);
  for (const NxRef<CaptureResult>& result : results) {
    EXPECT_TRUE(result->IsCancelled() || result->GetRegions().size() == 3u);
    EXPECT_EQ(result->GetImage()->GetBytes()[15], 'F');
  }
}

TEST(Engine, TellsReceiversOfSectionsTasksAndDefinitions) {
  class Receiver final : public intermediate_results::CAbstractIntermediateResultReceiver {
   public:
    using Result = intermediate_results::CIntermediateResult;
    using Info = intermediate_results::IntermediateResultInfo;
    void OnTargetROIResultsReceived(const Result* result, const Info* info) override {
      Add("definition", *result, *info);
    }
    void OnTaskResultsReceived(const Result* result, const Info* info) override {
      Add("task", *result, *info);
    }
    void OnSectionResultsReceived(const Result* result, const Info* info) override {
      Add("section" + std::to_string(info->sectionType), *result, *info);
    }
    void OnUnitResultReceived(intermediate_results::CIntermediateResultUnit*,
                              const Info*) override {}
    std::vector<std::string> calls;

   private:
    void Add(const std::string& what, const Result& result, const Info& info) {
      calls.push_back(what + " " + info.targetROIDefName + info.taskName + " " +
                      std::to_string(result.GetCount()));
    }
  } receiver;
  const auto publish = [](auto& item, auto&) {
    const NxRegionObject& region = *item.GetOutput()->GetRegion();
    const NxRef<kit::CandidatesUnit> unit = new kit::CandidatesUnit(
        region.GetSourceImageObject().get(), region.GetRegionImageInfo().get());
    for (auto* one : *item.GetWorkObject()->GetIntermediateResultReceivers()) {
      one->OnUnitResultReceived(unit.get(), nullptr);
    }
    item.SetWorkFinished();
    return 0;
  };
  const NxRef<TestWork> work = new TestWork("AA");
  const NxRef<TestWork> next = new TestWork("A");
  work->work = publish;
  next->work = publish;
  work->SetNextWorkObject(next);
  CaptureOptions options;
  options.receivers.push_back(&receiver);
  TestEngine engine(work, options);
  engine.Read();
  EXPECT_EQ(receiver.calls, (std::vector<std::string>{"section0 dt 2", "section1 dt 1", "task dt 3",
                                                      "definition d 3"}));
}

TEST(Pool, TakesTheLowestPriorityFirstAndNothingAfterStop) {
  class Item final : public RtrThreadWorkItemBase {
   public:
    Item(std::uint64_t priority, std::function<void()> work)
        : RtrThreadWorkItemBase(nullptr, priority), work_(std::move(work)) {}
    void Process(ThreadPoolBase*) override { work_(); }
    void FinishWork() override {}

   private:
    std::function<void()> work_;
  };
  const Observers nobody;
  std::promise<void> mayBegin;
  CaptureThreadPool pool(1, nobody);
  std::vector<int> order;
  pool.AppendWorkItem(new Item(9, [&] { mayBegin.get_future().wait(); }));
  for (const int priority : {2, 0, 1, 0, 2}) {
    pool.AppendWorkItem(new Item(static_cast<std::uint64_t>(priority),
                                 [&order, priority] { order.push_back(priority); }));
  }
  mayBegin.set_value();
  pool.Stop();
  EXPECT_EQ(order, (std::vector<int>{0, 0, 1, 2, 2}));
  pool.AppendWorkItem(new Item(0, [&] { order.push_back(7); }));
  EXPECT_EQ(order.size(), 5u);
}

// Every format becomes grey as the two conversions of the core do it, one after the other.
TEST(SourceImage, IsMadeGreyFromEveryFormat) {
  constexpr int kWidth = 5;
  constexpr int kHeight = 3;
  constexpr int kStride = 48;  // more than a row of the widest format
  std::vector<unsigned char> bytes(kStride * kHeight * 2);
  for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<unsigned char>(i * 37);
  for (int number = 0; number <= PXF_Binary8Inverted; ++number) {
    SCOPED_TRACE(number);
    const auto format = static_cast<ImagePixelFormat>(number);
    const CImageData image(bytes.size(), bytes.data(), kWidth, kHeight, kStride, format, 90,
                           nullptr);
    ASSERT_TRUE(IsReadable(image));
    const NxRef<NxImageData> grey = MakeGrey(BorrowImage(image));
    ASSERT_TRUE(grey);
    EXPECT_EQ(grey->GetOrientation(), 90);
    std::unique_ptr<CImageData> wanted(Nx_ConvertImageData(&image, CCU_Luminance));
    if (wanted->GetImagePixelFormat() == PXF_Colour888) {
      ConvertData data(wanted->GetBytes(), kWidth, kHeight, wanted->GetStride(), 24, 0, 0, false,
                       false, false, false, CCU_Unrestricted);
      wanted.reset(Nx_ConvertToGrayscale(&data));
    }
    for (int y = 0; y < kHeight; ++y) {
      for (int x = 0; x < kWidth; ++x) {
        const int pixel = grey->GetBytes()[y * grey->GetStride() + x];
        const int value = wanted->GetBytes()[y * wanted->GetStride() + x];
        EXPECT_EQ(pixel, format == PXF_Binary8Inverted ? 255 - value : value) << x << "," << y;
      }
    }
  }
}

TEST(SourceImage, IsRefusedIfItsPixelsAreNotThere) {
  const auto* bytes = reinterpret_cast<const unsigned char*>("0123456789ABCDEF");
  struct Row {
    const char* name;
    const unsigned char* bytes;
    unsigned length;
    int width, height, stride;
    ErrorCode want;
    int format = PXF_Grayscale8;
  };
  TestEngine engine(new TestWork);
  for (const Row& row : {Row{"unknown length", bytes, 0, 4, 4, 4, EC_Ok},
                         Row{"last row without padding", bytes, 16, 1, 4, 5, EC_Ok},
                         Row{"no pixels", nullptr, 16, 4, 4, 4, EC_ImageDataParameterInvalid},
                         Row{"no rows", bytes, 16, 4, 0, 4, EC_ImageDataParameterInvalid},
                         Row{"too short", bytes, 15, 4, 4, 4, EC_ImageDataParameterInvalid},
                         Row{"rows overlap", bytes, 16, 4, 4, 3, EC_ImageDataParameterInvalid},
                         Row{"no format", bytes, 16, 4, 4, 4, EC_ImageDataParameterInvalid, 16}}) {
    SCOPED_TRACE(row.name);
    const CImageData image(row.length, row.bytes, nullptr, row.width, row.height, row.stride,
                           static_cast<ImagePixelFormat>(row.format), 0, nullptr);
    EXPECT_EQ(engine->Read(image)->GetErrorCode(), row.want);
  }
}

}  // namespace
}  // namespace velmora::capture
