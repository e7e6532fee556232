// What is made when it is used first, used first by 64 threads at once, in fresh processes.
//
//   first_use_test            in 200 processes, in a changing order; what is costly in 20 of them
//   first_use_test --all      everything in each process
//   first_use_test NAME       this one in this process
#include <json/value.h>

#include <array>
#include <atomic>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <iterator>
#include <memory>
#include <set>
#include <string>
#include <thread>
#include <vector>
#if defined(_WIN32)
#include <process.h>
#else
#include <sys/wait.h>
#include <unistd.h>
#endif

#include "tests/support/barrier.h"
#include "tests/support/operations/bytes.h"
#include "velmora/velmora.h"
#include "velmora_capture/c/velmora_capture.h"
#include "velmora_capture/capture.h"

namespace velmora::capture {
namespace {

using namespace basic_structures;

constexpr int kThreads = 64;
#if defined(_WIN32)
constexpr int kProcesses = 5;  // starting one takes a second under Wine
#else
constexpr int kProcesses = 200;
#endif

const std::string pixels(64 * 64 * 3, '\x55');

std::unique_ptr<CImageData> MakeImage(ImagePixelFormat format) {
  return std::make_unique<CImageData>(pixels.size(),
                                      reinterpret_cast<const unsigned char*>(pixels.data()),
                                      nullptr, 64, 64, 192, format, 0, nullptr);
}

std::string ConvertImage() {
  ConvertData data(reinterpret_cast<const unsigned char*>(pixels.data()), 64, 64, 192, 24, 0, 0,
                   false, false, false, false, CCU_Luminance);
  const std::unique_ptr<CImageData> grey(Nx_ConvertToGrayscale(&data));
  return {reinterpret_cast<const char*>(grey->GetBytes()), 64 * 64};
}

std::string EncodeBase64() {
  CBase64 codec;
  const unsigned long length = codec.Encode(pixels.c_str());
  return {codec.EncodedMessage(), length};
}

std::string AddressOf(const void* place) {
  char text[32];
  std::snprintf(text, sizeof text, "%p", place);
  return text;
}

// One Capture for all threads; the pool, the delivery and the modules are made by the first.
struct SharedCapture {
  SharedCapture() {
    const char* const text =
        R"({"Name": "n", "Definitions": [{"Name": "d", "Tasks": [{"Name": "t", "Output": true,
            "Module": "CodeReader"}]}]})";
    std::vector<TemplateError> errors;
    CaptureOptions options;
    options.threads = 4;
    capture = Capture::Create(text, options, errors);
    VELMORA_REQUIRE(capture != nullptr);
  }
  std::unique_ptr<Capture> capture;
};

std::string CreateCapture() {
  const SharedCapture own;
  return own.capture->Read(*MakeImage(PXF_Colour888))->ToJson();
}

std::string SubmitFirst() {
  static SharedCapture* const shared = new SharedCapture;  // until the process ends
  std::atomic<bool> isDone{false};
  std::string json;
  const auto hand = [&](const NxRef<CaptureResult>& result) {
    json = result->ToJson();
    isDone = true;
  };
  VELMORA_REQUIRE(shared->capture->Submit(MakeImage(PXF_Grayscale8), hand, 600000) == EC_Ok);
  while (!isDone) std::this_thread::yield();
  return json;
}

std::string JsonOfResult() {
  static velmora_result* const result = [] {
    velmora_capture* capture = nullptr;
    velmora_result* read = nullptr;
    VELMORA_REQUIRE(velmora_capture_create(nullptr, nullptr, &capture, nullptr) == EC_Ok);
    velmora_capture_read_file(capture, "no such file", &read);
    velmora_capture_destroy(capture);
    return read;
  }();
  const char* json = nullptr;
  VELMORA_REQUIRE(velmora_result_get_json(result, &json, nullptr) == EC_Ok);
  return AddressOf(json) + json;
}

// Of an image and its region, which threads share: made by the first that asks.
std::string HashIds() {
  static const NxRef<NxRegionObject> region = [] {
    const NxRef<NxImageData> image =
        new NxImageData(pixels.size(), reinterpret_cast<const unsigned char*>(pixels.data()), 64,
                        64, 192, PXF_Colour888, 0, nullptr);
    const NxRef<NxRegionImageInfo> info = new NxRegionImageInfo(image.get(), nullptr);
    return NxRef<NxRegionObject>(new NxRegionObject(
        nullptr, intermediate_results::RegionObjectElementType{}, info, nullptr));
  }();
  NxRegionObject& shared = *region;
  const std::string& id = shared.GetRegionHashId();
  return AddressOf(&id) + id + shared.GetRegionImage()->GetHashID();
}

std::string LoadShared() {
  static NxModuleLoaderBase loader;
  static HINSTANCE module = nullptr;
  void* const found = loader.DynamicLoadDllFunc(module, VELMORA_SOAK_MODULE, "VelmoraModuleInfo", 0,
                                                true, "VelmoraCore");
  VELMORA_REQUIRE(found != nullptr);
  return AddressOf(found);
}

struct Thing {
  const char* name;
  bool isEachOther;  // whether each thread gets another answer; otherwise all get the same
  std::string (*use)();
};

// The last ones start threads of their own and load modules: not in every process.
constexpr std::size_t kCostlyThings = 3;
constexpr int kCostlyEvery = 10;

const Thing kThings[] = {
    {"log", false, [] { return NxLog::GetInstance().GetSavePath(); }},
    {"record", true, [] { return std::to_string(NxLog::GetInstance().AddJsonRecord({})); }},
    {"conversion", false, &ConvertImage},
    {"base64", false, &EncodeBase64},
    {"manager", true, [] { return BufferedItemManager().GetManagerID(); }},
    {"no image", false,
     [] {
       return AddressOf(
           &NxRef<NxSourceImageObject>(new NxSourceImageObject(nullptr, 0, 0))->GetHashID());
     }},
    {"hash ids", false, &HashIds},
    {"loader", false, &LoadShared},
    {"capture", false, &CreateCapture},
    {"delivery", false, &SubmitFirst},
    {"result", false, &JsonOfResult},
};

void UseFirst(const Thing& thing) {
  std::array<std::string, kThreads> answers;
  velmora::testing::RunTogether(
      kThreads, [&](int thread) { answers[static_cast<std::size_t>(thread)] = thing.use(); });
  const std::set<std::string> different(answers.begin(), answers.end());
  if (different.size() == (thing.isEachOther ? kThreads : 1)) return;
  std::fprintf(stderr, "first use of %s: %zu answers\n", thing.name, different.size());
  std::_Exit(1);
}

// In an order of the process's own: a thing may lean on another that was made before.
void UseAll(int process, bool isAll) {
  constexpr std::size_t kCheap = std::size(kThings) - kCostlyThings;
  const auto number = static_cast<std::size_t>(process);
  for (std::size_t i = 0; i < kCostlyThings; ++i) {
    if (isAll || number % kCostlyEvery == i) {
      UseFirst(kThings[kCheap + (i + number) % kCostlyThings]);
    }
  }
  for (std::size_t i = 0; i < kCheap; ++i) UseFirst(kThings[(i + number) % kCheap]);
}

bool RunProcess(const char* program, int process, bool isAll) {
#if defined(_WIN32)
  const std::string number = std::to_string(process);
  const char* const all = isAll ? "--all" : nullptr;
  return _spawnl(_P_WAIT, program, "first_use_test", number.c_str(), all, nullptr) == 0;
#else
  static_cast<void>(program);
  const pid_t child = fork();
  if (child == 0) {
    UseAll(process, isAll);
    std::_Exit(0);
  }
  int status = -1;
  return child > 0 && waitpid(child, &status, 0) == child && status == 0;
#endif
}

}  // namespace
}  // namespace velmora::capture

int main(int count, char** arguments) {
  using namespace velmora::capture;
  const bool isAll = count > 1 && std::string(arguments[count - 1]) == "--all";
  if (count > 1 && std::isdigit(*arguments[1]) != 0) {
    UseAll(std::atoi(arguments[1]), isAll);
    return 0;
  }
  if (count > 1 && !isAll) {
    int used = 0;
    for (const Thing& thing : kThings) {
      if (std::string(arguments[1]) != thing.name) continue;
      UseFirst(thing);
      ++used;
    }
    return used == 1 ? 0 : 2;
  }
  int failed = 0;
  for (int process = 0; process < kProcesses; ++process) {
    failed += RunProcess(arguments[0], process, isAll) ? 0 : 1;
  }
  std::printf("%d processes, %zu things, %zu of them in %s: %d failed\n", kProcesses,
              std::size(kThings), kCostlyThings, isAll ? "each" : "every tenth", failed);
  return failed == 0 ? 0 : 1;
}
