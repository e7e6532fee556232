// Everything at once: producers, readers, submitters, cancels, time-outs, observers, receivers, the
// C interface, new templates, and a log that is turned on and off.
//
//   soak_test [SECONDS [SEED]]
//
// Ends the process at a wrong answer. After each half all is destroyed and counted: objects,
// pixels, bytes, files and threads.
#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <mutex>
#include <random>
#include <sstream>
#include <string>
#include <thread>
#include <vector>
#if defined(__linux__)
#include <malloc.h>
#endif

#include "tests/support/operations/bytes.h"
#include "tests/support/operations/image_source.h"
#include "velmora/velmora.h"
#include "velmora_capture/c/velmora_capture.h"
#include "velmora_capture/capture.h"

namespace velmora::capture {
namespace {

using namespace basic_structures;
using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;
namespace fs = std::filesystem;

constexpr int kSide = 24;

class Random {
 public:
  Random() : engine_(++seed) {}
  int Below(int limit) { return static_cast<int>(engine_() % static_cast<unsigned>(limit)); }
  bool OneIn(int count) { return Below(count) == 0; }
  void Sleep(int mostMs) { std::this_thread::sleep_for(milliseconds(Below(mostMs + 1))); }

  static inline std::atomic<unsigned> seed{0};

 private:
  std::mt19937 engine_;
};

// An image that is counted while it is alive. Its first pixel says what the module does.
class Picture final : public CImageData {
 public:
  explicit Picture(Random& random) : Picture(random, MakePixels(random)) {}
  ~Picture() override { --alive; }

  static std::string MakePixels(Random& random) {
    // Work until the time is over, and pieces that are lost, are rare.
    int what = random.Below(16);
    if ((what == 3 || what == 4) && !random.OneIn(4)) what = 8;
    return std::string(kSide * kSide, static_cast<char>(what + 16 * random.Below(16)));
  }

  static inline std::atomic<int> alive{0};

 private:
  Picture(Random& random, const std::string& pixels)
      : CImageData(pixels.size(), reinterpret_cast<const unsigned char*>(pixels.data()), kSide,
                   kSide, kSide, PXF_Grayscale8, 0, nullptr) {
    ++alive;
    const CFileImageTag tag("soak", 0, 1);
    if (random.OneIn(2)) SetImageTag(&tag);
  }
};

// What is kept of results and units for a while, so that it outlives what made it.
template <typename Kept>
class Shelf {
 public:
  void Put(Kept kept) {
    const std::lock_guard<std::mutex> lock(mutex_);
    kept_[next_++ % kept_.size()].swap(kept);
  }
  void Clear() {
    for (std::size_t i = 0; i < kept_.size(); ++i) Put({});
  }

 private:
  std::mutex mutex_;
  std::array<Kept, 16> kept_;
  std::size_t next_ = 0;
};

struct Totals {
  std::atomic<int> captures{0}, results{0}, cancelled{0}, late{0}, failed{0}, refused{0},
      dropped{0};
  std::atomic<int> lent{0}, released{0}, scripts{0}, logs{0};
} totals;

Shelf<NxRef<CaptureResult>> results;
Shelf<std::shared_ptr<velmora_result>> handles;
Shelf<std::shared_ptr<intermediate_results::CIntermediateResultUnit>> units;

void Take(const NxRef<CaptureResult>& result) {
  VELMORA_REQUIRE(result);
  ++totals.results;
  totals.cancelled += result->IsCancelled() ? 1 : 0;
  const int code = result->GetErrorCode();
  if (code != EC_Ok) ++(code == EC_Timeout ? totals.late : totals.failed);
  VELMORA_REQUIRE((code == EC_Ok) == result->GetErrors().empty());
  VELMORA_REQUIRE(!result->ToJson().empty());
  results.Put(result);
}

class Receiver final : public intermediate_results::CAbstractIntermediateResultReceiver {
 public:
  using Result = intermediate_results::CIntermediateResult;
  using Info = intermediate_results::IntermediateResultInfo;
  using Unit = intermediate_results::CIntermediateResultUnit;

  void OnTargetROIResultsReceived(const Result* result, const Info*) override { Look(*result); }
  void OnTaskResultsReceived(const Result* result, const Info*) override { Look(*result); }
  void OnSectionResultsReceived(const Result* result, const Info*) override { Look(*result); }
  void OnUnitResultReceived(Unit* unit, const Info*) override {
    unit->Retain();
    units.Put({unit, [](Unit* kept) { kept->Release(); }});
  }

 private:
  static void Look(const Result& result) {
    for (int i = 0; i < result.GetCount(); ++i) {
      VELMORA_REQUIRE(result.GetIntermediateResultUnit(i) != nullptr);
    }
    if (++calls % 64 == 0) throw 64;
  }
  static inline std::atomic<unsigned> calls{0};
};

class Observer final : public RunObserver {
 public:
  void OnThreadStarted(const char*) override { ++threads; }
  void OnSpan(const RunSpan& span) override {
    if (span.stage == RunStage::kWork) ++work;
    if (span.stage == RunStage::kConvert && span.jobNumber % 32 == 0) throw 32;
  }
  std::atomic<int> threads{0}, work{0};
};

class Source final : public CImageSourceAdapter {
 public:
  explicit Source(const std::atomic<bool>& isOver) : isOver_(isOver) {}
  bool HasMoreImages() const override { return !isOver_; }
  void Push(Random& random) {
    ++pushed;
    const bool isCopied = random.OneIn(2);
    std::unique_ptr<Picture> image = std::make_unique<Picture>(random);
    AddImageToBuffer(isCopied ? image.get() : image.release(), isCopied);
  }
  std::atomic<std::int64_t> pushed{0};

 private:
  const std::atomic<bool>& isOver_;
};

std::string MakeTemplate(Random& random) {
  const auto task = [&](const std::string& name) {
    std::string text = "{\"Name\": \"" + name + "\", \"Module\": \"Soak\", \"Output\": true, ";
    if (name == "u") text += "\"UnlessFoundBy\": [\"t\"], ";
    text += "\"Settings\": {\"Pieces\": " + std::to_string(1 + random.Below(3));
    if (random.OneIn(3)) text += ", \"SingleThread\": true";
    if (random.OneIn(3)) text += ", \"MostThreads\": 1";
    if (random.OneIn(3)) text += ", \"Chain\": true";
    return text + "}}";
  };
  std::string text = "{\"Name\": \"soak\", \"TimeoutMs\": " + std::to_string(1 + random.Below(30));
  text += ", \"Definitions\": [{\"Name\": \"first\", \"Tasks\": [" + task("t") + "]}";
  if (random.OneIn(2)) {
    text += ", {\"Name\": \"second\", \"Parents\": [\"first\"], \"Priority\": 1, \"Tasks\": [" +
            task("t") + ", " + task("u") + "]}";
  }
  if (random.OneIn(3)) {
    text += ", {\"Name\": \"other\", \"OnlyIfNothingFound\": true, \"Tasks\": [" + task("v") + "]}";
  }
  return text + (random.OneIn(8) ? "]" : "]}");
}

// One Capture with all that uses it.
class Era {
 public:
  Era() { options_.moduleFolders = {VELMORA_SOAK_MODULES}; }

  void Run() {
    options_.threads = 1 + random_.Below(4);
    options_.keepImages = random_.OneIn(2);
    options_.keepTrace = random_.OneIn(2);
    options_.observers = {&observer_};
    if (random_.OneIn(2)) options_.receivers = {&receiver_, &receiver_};
    const bool isDefault = random_.OneIn(8);
    const std::string text = isDefault ? GetDefaultTemplate() : MakeTemplate(random_);
    std::vector<TemplateError> errors;
    const std::unique_ptr<Capture> owner = Capture::Create(text, options_, errors);
    VELMORA_REQUIRE((owner == nullptr) == !errors.empty());
    if (owner == nullptr) return;
    ++totals.captures;
    capture_ = owner.get();
    UseCapture(isDefault);
    // The destructor ends these, and what their handlers submit.
    for (int i = random_.Below(5); i > 0; --i) Submit(random_, 0);
  }
  ~Era() { VELMORA_REQUIRE(accepted_ == handled_); }

 private:
  void UseCapture(bool isDefault) {
    Source source(isOver_);
    source.SetMaxImageCount(1 + random_.Below(4));
    source.StartFetching();
    std::vector<std::thread> consumers;
    std::vector<std::thread> producers;
    for (int i = 0; i < 2; ++i) {
      consumers.emplace_back([&] { ReadOften(isDefault); });
      producers.emplace_back([&] { PushOften(source); });
    }
    consumers.emplace_back([&] { SubmitOften(); });
    consumers.emplace_back([&] { CancelOften(source); });
    consumers.emplace_back([&] { WatchOften(source); });
    consumers.emplace_back([&] { RunOften(source); });
    std::this_thread::sleep_for(milliseconds(50 + random_.Below(500)));
    isOver_ = true;
    // A producer that waits for room is let go; the run takes what is left.
    const auto stopped = Clock::now();
    for (std::thread& consumer : consumers) consumer.join();
    source.StopFetching();
    for (std::thread& producer : producers) producer.join();
    WaitUntilIdle(stopped);
    CheckCounts(source);
  }

  // Waits for what was submitted. What hangs for so long hangs for ever.
  void WaitUntilIdle(Clock::time_point since) const {
    while (capture_->GetStatistics().queued != 0) {
      VELMORA_REQUIRE(Clock::now() < since + std::chrono::minutes(1));
      std::this_thread::sleep_for(milliseconds(1));
    }
    // The last one is counted before its handler has returned.
    while (handled_ < accepted_) std::this_thread::sleep_for(milliseconds(1));
  }

  void CheckCounts(const Source& source) {
    const CaptureStatistics counts = capture_->GetStatistics();
    VELMORA_REQUIRE(counts.offered == counts.delivered + counts.dropped + counts.refused);
    VELMORA_REQUIRE(counts.delivered == reads_ + handled_ + taken_);
    VELMORA_REQUIRE(counts.refused >= refused_);
    const ImageSourceStatistics images = source.GetStatistics();
    VELMORA_REQUIRE(images.offered ==
                    images.delivered + images.dropped + images.refused + images.buffered);
    VELMORA_REQUIRE(images.offered == static_cast<std::uint64_t>(source.pushed));
    VELMORA_REQUIRE(images.delivered == static_cast<std::uint64_t>(taken_));
    totals.refused += static_cast<int>(counts.refused);
    totals.dropped += static_cast<int>(counts.dropped);
    std::int64_t runs = 0;
    for (const TaskCounts& task : counts.tasks) runs += task.runs;
    VELMORA_REQUIRE(runs == observer_.work);
  }

  void ReadOften(bool isDefault) {
    for (Random random; !isOver_; ++reads_) {
      ++offered_;
      if (isDefault || random.OneIn(64)) {
        Take(capture_->ReadFile(VELMORA_SAMPLES "/qr.png"));
      } else {
        const auto borrowed = std::make_unique<Picture>(random);
        Take(capture_->Read(*borrowed));
      }
    }
  }

  int Submit(Random& random, int waitMs) {
    ++offered_;
    const auto hand = [this](const NxRef<CaptureResult>& result) { Handle(result); };
    ++accepted_;  // the handler may come before the answer
    const int code = capture_->Submit(std::make_unique<Picture>(random), hand, waitMs);
    VELMORA_REQUIRE(code == EC_Ok || code == EC_CallRejectedWhileCapturing);
    if (code == EC_Ok) return code;
    --accepted_;
    ++refused_;
    return code;
  }

  // On the delivery thread.
  void Handle(const NxRef<CaptureResult>& result) {
    Take(result);
    const std::int64_t number = result->GetJobNumber();
    if (number % 3 == 0) {
      Random random;
      Submit(random, 9);
    }
    if (number % 50 == 0) capture_->Cancel();
    ++handled_;
    if (number % 16 == 0) throw 16;
  }

  void SubmitOften() {
    for (Random random; !isOver_;) {
      if (Submit(random, random.Below(20)) != EC_Ok) random.Sleep(1);
    }
  }

  void RunOften(Source& source) {
    int cancels = 0;
    const auto hand = [&](const NxRef<CaptureResult>& result) {
      Take(result);
      ++taken_;
      if (++cancels % 64 == 0) capture_->Cancel();
    };
    for (Random random; !isOver_;) {
      RunOptions options;
      options.inOrder = random.OneIn(2);
      VELMORA_REQUIRE(capture_->Run(source, hand, options) == EC_Ok);
    }
  }

  void PushOften(Source& source) const {
    for (Random random; !isOver_;) {
      source.Push(random);
      capture_->NotifySource();
      random.Sleep(1);
    }
  }

  void CancelOften(Source& source) const {
    for (Random random; !isOver_; random.Sleep(40)) {
      capture_->Cancel();
      source.SetBufferOverflowProtectionMode(random.OneIn(2) ? BOP_Block : BOP_DropOldest);
      if (random.OneIn(4)) source.ClearBuffer();
      if (!random.OneIn(4)) continue;
      source.StopFetching();
      source.StartFetching();
    }
  }

  void WatchOften(const Source& source) const {
    for (Random random; !isOver_; random.Sleep(2)) {
      const CaptureStatistics counts = capture_->GetStatistics();
      VELMORA_REQUIRE(counts.offered ==
                      counts.delivered + counts.dropped + counts.refused + counts.queued);
      VELMORA_REQUIRE(counts.offered <= offered_ + source.pushed);
      if (!random.OneIn(8)) continue;
      std::ostringstream trace;
      capture_->WriteTrace(trace);
      VELMORA_REQUIRE(!capture_->GetStageTimes().empty() || counts.delivered == 0);
      VELMORA_REQUIRE(!capture_->GetGraphDot().empty());
    }
  }

  Random random_;
  Observer observer_;
  Receiver receiver_;
  CaptureOptions options_;
  Capture* capture_ = nullptr;
  std::atomic<bool> isOver_{false};
  std::atomic<std::int64_t> offered_{0};
  std::atomic<std::int64_t> reads_{0}, taken_{0}, accepted_{0}, handled_{0}, refused_{0};
};

// A capture of the C interface. Pixels are lent, and released once.
class CEra {
 public:
  ~CEra() { VELMORA_REQUIRE(accepted_ == handled_); }

  void Run() {
    const char* const folders[] = {VELMORA_SOAK_MODULES};
    const velmora_capture_options options{sizeof options, 1 + random_.Below(3), 0, 1, folders, "c"};
    velmora_template_errors* errors = nullptr;
    const int code =
        velmora_capture_create(MakeTemplate(random_).c_str(), &options, &capture_, &errors);
    VELMORA_REQUIRE((code == 0) == (capture_ != nullptr) && (code == 0) == (errors == nullptr));
    velmora_template_errors_release(errors);
    if (code != 0) return;
    ++totals.captures;
    std::vector<std::thread> threads;
    for (int i = 0; i < 2; ++i) threads.emplace_back([this] { UseOften(); });
    std::this_thread::sleep_for(milliseconds(20 + random_.Below(300)));
    isOver_ = true;
    for (std::thread& thread : threads) thread.join();
    VELMORA_REQUIRE(velmora_capture_destroy(capture_) == 0);
  }

 private:
  struct Loan {
    std::string pixels;
    std::atomic<bool> isReleased{false};

    static void Release(void* user) {
      auto* const loan = static_cast<Loan*>(user);
      VELMORA_REQUIRE(!loan->isReleased.exchange(true));
      ++totals.released;
      delete loan;
    }
  };

  static velmora_image Lend(Random& random, Loan*& loan) {
    ++totals.lent;
    loan = new Loan{Picture::MakePixels(random)};
    return {sizeof(velmora_image),
            VELMORA_PIXELS_GREY8,
            kSide,
            kSide,
            0,
            0,
            loan->pixels.data(),
            random.OneIn(16) ? 5 : loan->pixels.size()};
  }

  void UseOften() {
    for (Random random; !isOver_;) {
      if (random.OneIn(3)) {
        Read(random);
      } else {
        Submit(random, random.Below(9));
      }
      if (random.OneIn(40)) velmora_capture_cancel(capture_);
      velmora_statistics* statistics = nullptr;
      VELMORA_REQUIRE(velmora_capture_get_statistics(capture_, &statistics) == 0);
      velmora_image_counts counts{sizeof counts, 0, 0, 0, 0, 0, 0};
      VELMORA_REQUIRE(velmora_statistics_get_images(statistics, &counts) == 0);
      VELMORA_REQUIRE(counts.offered ==
                      counts.delivered + counts.dropped + counts.refused + counts.queued);
      velmora_statistics_release(statistics);
    }
  }

  void Read(Random& random) {
    Loan* loan = nullptr;
    const velmora_image image = Lend(random, loan);
    velmora_result* result = nullptr;
    velmora_capture_read(capture_, &image, &Loan::Release, loan, &result);
    Look(result);
    velmora_result_release(result);
  }

  void Submit(Random& random, int waitMs) {
    Loan* loan = nullptr;
    const velmora_image image = Lend(random, loan);
    ++accepted_;
    if (velmora_capture_submit(capture_, &image, &Loan::Release, loan, &Handle, this, waitMs) !=
        0) {
      --accepted_;
    }
  }

  static void Handle(void* user, velmora_result* result) {
    auto& self = *static_cast<CEra*>(user);
    VELMORA_REQUIRE(velmora_result_retain(result) == 0);
    handles.Put({result, &velmora_result_release});
    Look(result);
    VELMORA_REQUIRE(velmora_capture_destroy(self.capture_) == EC_CallRejectedWhileCapturing);
    Random random;
    if (random.OneIn(3)) self.Submit(random, 9);
    ++self.handled_;
  }

  static void Look(velmora_result* result) {
    if (result == nullptr) return;  // refused
    ++totals.results;
    const char* json = nullptr;
    VELMORA_REQUIRE(velmora_result_get_json(result, &json, nullptr) == 0 && *json == '{');
  }

  Random random_;
  velmora_capture* capture_ = nullptr;
  std::atomic<bool> isOver_{false};
  std::atomic<int> accepted_{0}, handled_{0};
};

// The log of the process on and off, in a folder that is gone afterwards.
void ChangeLog(Random& random) {
  const std::string folder = (fs::current_path() / "log" / "").string();
  fs::create_directories(folder);
  velmora_log_options options{sizeof options, VELMORA_LOG_LINES, 0, 0, folder.c_str()};
  for (int i = 0; i < 4; ++i) {
    options.level = random.Below(10);
    options.keep_in_memory = random.Below(2);
    VELMORA_REQUIRE(velmora_log_configure(&options) == 0);
    random.Sleep(8);
    VELMORA_REQUIRE(velmora_log_flush() == 0);
  }
  options = {sizeof options, 0, 0, 0, nullptr};
  VELMORA_REQUIRE(velmora_log_configure(&options) == 0);
  fs::remove_all(folder);
  ++totals.logs;
  random.Sleep(60);
}

void RunScript(Random& random) {
  std::vector<std::uint8_t> bytes(static_cast<std::size_t>(random.Below(300)));
  for (std::uint8_t& byte : bytes) byte = static_cast<std::uint8_t>(random.Below(256));
  testing::RunImageSource(bytes.data(), bytes.size());
  ++totals.scripts;
}

template <typename Body>
std::thread Repeat(Clock::time_point end, Body body) {
  return std::thread([=] {
    while (Clock::now() < end) body();
  });
}

void RunAllUntil(Clock::time_point end) {
  Random log;
  Random script;
  std::thread threads[] = {Repeat(end, [] { Era().Run(); }), Repeat(end, [] { Era().Run(); }),
                           Repeat(end, [] { CEra().Run(); }), Repeat(end, [&] { ChangeLog(log); }),
                           Repeat(end, [&] { RunScript(script); })};
  for (std::thread& thread : threads) thread.join();
  results.Clear();
  handles.Clear();
  units.Clear();
  velmora_log_options cached{sizeof cached, VELMORA_LOG_LINES, 0, 0, "rest "};
  VELMORA_REQUIRE(velmora_log_configure(&cached) == 0 && velmora_log_flush() == 0);
  cached.mode = 0;
  VELMORA_REQUIRE(velmora_log_configure(&cached) == 0);
  fs::remove("rest VelmoraScanlyx.log");
}

[[maybe_unused]] long CountEntries(const char* folder) {
  std::error_code error;
  const fs::directory_iterator entries(folder, error);
  return error ? -1 : static_cast<long>(std::distance(begin(entries), end(entries)));
}

// -1 where it is not measured: sanitizers keep memory, and Wine files, of their own.
struct Usage {
  long heapBytes = -1;
  long residentKiB = -1;
  long files = -1;
  long threads = -1;

  Usage() {
#if defined(__linux__)
    files = CountEntries("/proc/self/fd");
    threads = CountEntries("/proc/self/task");
#if !defined(VELMORA_SANITIZED)
    malloc_trim(0);
    heapBytes = static_cast<long>(mallinfo2().uordblks + mallinfo2().hblkhd);
    long pages = 0;
    if (std::ifstream("/proc/self/statm") >> pages >> residentKiB) residentKiB *= 4;
#endif
#endif
  }
};

// Everything that the era held is gone.
void CheckNothingIsLeft() {
  NxModuleLoaderBase loader;
#if defined(_WIN32)
  const std::string module = VELMORA_SOAK_MODULES "/Soakx86.dll";
#else
  const std::string module = VELMORA_SOAK_MODULES "/Soak.so";
#endif
  void* const alive = loader.loadModuleFunc(module.c_str(), "SoakAlive");
  VELMORA_REQUIRE(alive != nullptr);
  VELMORA_REQUIRE(reinterpret_cast<int (*)()>(alive)() == 0);
  VELMORA_REQUIRE(Picture::alive == 0);
  VELMORA_REQUIRE(totals.lent == totals.released);
  VELMORA_REQUIRE(!fs::exists("VelmoraScanlyx.log"));
}

void Soak(double seconds) {
  const auto begin = Clock::now();
  const auto after = [&](double part) {
    return begin + std::chrono::duration_cast<Clock::duration>(
                       std::chrono::duration<double>(seconds * part));
  };
  RunAllUntil(after(0.5));
  CheckNothingIsLeft();
  const Usage half;
  RunAllUntil(after(1));
  CheckNothingIsLeft();
  const Usage whole;
  std::printf(
      "heap in use %ld -> %ld bytes, resident %ld -> %ld KiB, files %ld -> %ld, "
      "threads %ld -> %ld\n",
      half.heapBytes, whole.heapBytes, half.residentKiB, whole.residentKiB, half.files, whole.files,
      half.threads, whole.threads);
  VELMORA_REQUIRE(whole.files == half.files && whole.threads == half.threads);
  VELMORA_REQUIRE(whole.heapBytes <= half.heapBytes + 65536);
  VELMORA_REQUIRE(whole.residentKiB <= half.residentKiB + 2048);
}

}  // namespace
}  // namespace velmora::capture

int main(int count, char** arguments) {
  using namespace velmora::capture;
  const double seconds = count > 1 ? std::strtod(arguments[1], nullptr) : 20;
  const unsigned seed =
      count > 2 ? static_cast<unsigned>(std::strtoul(arguments[2], nullptr, 10)) : 1;
  std::setvbuf(stdout, nullptr, _IONBF, 0);  // what ends the process leaves nothing unsaid
  std::printf("soak: %g seconds, seed %u\n", seconds, seed);
#if defined(__linux__)
  mallopt(M_ARENA_MAX, 1);  // what the heaps of threads keep for later is not ours
#endif
  Random::seed = seed * 1000003U;
  const fs::path folder =
      fs::temp_directory_path() / ("velmora soak " + std::to_string(std::random_device()()));
  fs::create_directory(folder);
  const fs::path from = fs::current_path();
  fs::current_path(folder);
  Soak(seconds);
  fs::current_path(from);
  fs::remove_all(folder);
  std::printf(
      "%d captures, %d results: %d cancelled, %d late, %d failed; %d images refused, "
      "%d dropped; %d lent, %d released; %d scripts, %d log changes\n",
      totals.captures.load(), totals.results.load(), totals.cancelled.load(), totals.late.load(),
      totals.failed.load(), totals.refused.load(), totals.dropped.load(), totals.lent.load(),
      totals.released.load(), totals.scripts.load(), totals.logs.load());
  return 0;
}
