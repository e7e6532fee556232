// The operations of the capture library, its picture decoders and its C interface without memory.
#include <condition_variable>

#include "tests/memory/operation.h"
#include "velmora_capture/c/velmora_capture.h"
#include "velmora_capture/capture.h"
#include "velmora_capture/image_file/image_file.h"

namespace velmora::testing {
namespace {

using namespace basic_structures;
using namespace capture;
using std::to_string;

const std::string kSamples = VELMORA_CAPTURE_SAMPLES "/";
const std::string kOutOfMemory = "error -10001";

constexpr char kTemplate[] = R"({"Name": "t", "Definitions": [
  {"Name": "places", "Tasks": [{"Name": "locate", "Module": "Locator"}]},
  {"Name": "codes", "Tasks": [{"Name": "linear", "Module": "CodeReader", "Output": true,
     "WorkModes": ["Direct"], "Settings": {"Symbologies": ["EAN-13"]}}]}]})";

std::string Look(const LoadedImage& loaded) {
  if (!loaded.image) return "error " + to_string(loaded.code);
  const CImageData& image = *loaded.image;
  return to_string(image.GetWidth()) + "x" + to_string(image.GetHeight()) + " " +
         NxHashAlgorithm::Generate_BKDRHash(image.GetBytes(),
                                            static_cast<std::uint32_t>(image.GetBytesLength()));
}

std::string Look(const CaptureResult* result) {
  if (result == nullptr) return "nothing";
  if (result->GetErrorCode() != 0) return "error " + to_string(result->GetErrorCode());
  std::string text = to_string(result->GetRegions().size()) + " regions";
  for (int i = 0; i < result->GetCodeCount(); ++i) text += " " + result->GetCode(i).GetText();
  return text;
}

std::string LookErrors(const std::vector<TemplateError>& errors) {
  std::string text;
  for (const TemplateError& error : errors) text += error.ToString() + "\n";
  return text;
}

std::unique_ptr<Capture> MakeCapture(const char* text = kTemplate) {
  CaptureOptions options;
  options.threads = 1;
  std::vector<TemplateError> errors;
  std::unique_ptr<Capture> made = Capture::Create(text, options, errors);
  EXPECT_EQ(LookErrors(errors), "");
  return made;
}

const CImageData& Picture() {
  static const LoadedImage sample = LoadImageFile(kSamples + "ean13.bmp", 1);
  return *sample.image;
}

TEST(Memory, OfPictures) {
  const auto look = [](const auto& loaded) { return Look(loaded); };
  std::vector<Operation> operations{
      Giving("LoadImageFile", [] { return LoadImageFile(kSamples + "qr.png", 1); }, look,
             {kOutOfMemory, "error -10012"}),
      Giving(
          "EncodePng",
          [] {
            static const LoadedImage qr = LoadImageFile(kSamples + "qr.png", 1);
            return EncodePng(*qr.image);
          },
          [](const std::vector<unsigned char>& png) {
            return NxHashAlgorithm::Generate_BKDRHash(png.data(),
                                                      static_cast<std::uint32_t>(png.size()));
          }),
  };
  std::deque<std::string> names;  // of which the operations keep the addresses
  // libtiff (4.5.0) and libwebp's lossless decoder (1.2.4) do not get over every table that they
  // find no memory for, so their files are left out.
  for (const char* format : {"png", "jpeg", "webp", "gif", "bmp", "pnm"}) {
    const auto folder = std::filesystem::path(VELMORA_FUZZ_CORPUS) / format;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
      const auto bytes = std::make_shared<const std::string>(ReadFile(entry.path().string()));
      names.push_back(format + ("/" + entry.path().filename().string()));
      if (std::string(format) == "webp" && names.back() != "webp/colour-lossy") continue;
      std::vector<std::string> documented{kOutOfMemory};
      // To these a picture for whose tables there is no memory is a broken one.
      const bool saysBroken = std::string(format) == "webp" || std::string(format) == "gif";
      if (saysBroken) documented.push_back("error -10012");
      operations.push_back(Giving(
          names.back().c_str(),
          [bytes] {
            return DecodeImage(reinterpret_cast<const unsigned char*>(bytes->data()), bytes->size(),
                               CFileImageTag(nullptr, 0, 0), 1 << 16);
          },
          look, documented));
    }
  }
  EXPECT_GT(RunOutOfMemory("pictures", operations), 300);
}

// A source with one picture.
struct OnePicture : CImageSourceAdapter {
  std::atomic<int> left{1};

  OnePicture() { SetMaxImageCount(1), StartFetching(), AddImageToBuffer(&Picture(), true); }
  bool HasMoreImages() const override { return !IsBufferEmpty(); }
};

TEST(Memory, OfCaptures) {
  static const std::unique_ptr<Capture> shared = MakeCapture();
  ASSERT_NE(shared, nullptr);
  const auto look = [](const NxRef<CaptureResult>& result) { return Look(result.get()); };
  const auto create = [](const char* text) {
    std::pair<std::unique_ptr<Capture>, std::vector<TemplateError>> made;
    CaptureOptions options;
    options.threads = 1;
    made.first = Capture::Create(text, options, made.second);
    return made;
  };
  const auto lookMade = [](const auto& made) {
    // Of the system's reasons why a module cannot be loaded one is a want of memory.
    const std::string errors = LookErrors(made.second);
    if (errors.find("memory") != std::string::npos) return kOutOfMemory;
    return LookErrors(made.second) + (made.first ? " made" : " none");
  };
  const auto name = [](const std::string& text) { return text; };
  const long points = RunOutOfMemory(
      "capture",
      {
          Giving("Capture::Create", [=] { return create(kTemplate); }, lookMade, {kOutOfMemory}),
          Giving(
              "Capture::Create with faults",
              [=] { return create(R"({"Name": 1, "Definitions": [{"Tasks": []}], "X": {})"); },
              lookMade),
          Giving("Capture::Read", [] { return shared->Read(Picture()); }, look, {kOutOfMemory}),
          Giving("Capture::ReadFile", [] { return shared->ReadFile(kSamples + "ean13.bmp"); }, look,
                 {kOutOfMemory, "error -10012"}),
          Giving("Capture::Run",
                 [] {
                   OnePicture source;
                   NxRef<CaptureResult> result;
                   shared->Run(source, [&](const auto& given) { result = given; });
                   return result;
                 },
                 look, {kOutOfMemory}),
          // Whether it was accepted, and how often the handler was called.
          Giving("Capture::Submit",
                 [] {
                   struct Waiter {
                     std::mutex mutex;
                     std::condition_variable done;
                     NxRef<CaptureResult> result;
                   } waiter;
                   const int code = shared->Submit(
                       CopyImage(Picture()),
                       [&waiter](const NxRef<CaptureResult>& result) {
                         const std::lock_guard<std::mutex> lock(waiter.mutex);
                         waiter.result = result;
                         waiter.done.notify_one();
                       },
                       1000);
                   if (code != EC_Ok) return "error " + to_string(code);
                   std::unique_lock<std::mutex> lock(waiter.mutex);
                   const bool isDone = waiter.done.wait_for(
                       lock, std::chrono::seconds(20), [&] { return waiter.result != nullptr; });
                   StopFailing();
                   return isDone ? Look(waiter.result.get()) : "never delivered";
                 },
                 name, {kOutOfMemory}),
          Giving(
              "CaptureResult::ToJson",
              [] {
                static const NxRef<CaptureResult> result = shared->Read(Picture());
                return result->ToJson();
              },
              name),
          Giving(
              "GetStatistics", [] { return to_string(shared->GetStatistics().tasks.size()); },
              name),
          Giving(
              "GetStageTimes", [] { return to_string(shared->GetStageTimes().empty()); }, name),
          Giving(
              "GetGraphDot", [] { return to_string(shared->GetGraphDot().size() > 100); }, name),
      });
  EXPECT_GT(points, 1000);
}

struct Handles {
  velmora_capture* capture = nullptr;
  velmora_result* result = nullptr;
  velmora_template_errors* errors = nullptr;
  velmora_statistics* statistics = nullptr;
  std::atomic<int> released{0};
  std::string text = "nothing";
  std::mutex mutex;
  std::condition_variable done;

  ~Handles() {
    velmora_result_release(result);
    velmora_template_errors_release(errors);
    velmora_statistics_release(statistics);
    velmora_capture_destroy(capture);
  }
};

velmora_image MakeImage() {
  const CImageData& picture = Picture();
  return {sizeof(velmora_image), picture.GetImagePixelFormat(),
          picture.GetWidth(),    picture.GetHeight(),
          picture.GetStride(),   0,
          picture.GetBytes(),    static_cast<std::size_t>(picture.GetBytesLength())};
}

std::string LookResult(const velmora_result* result) {
  const char* json = nullptr;
  if (result == nullptr || velmora_result_get_json(result, &json, nullptr) != 0) return " no JSON";
  return " " + to_string(velmora_result_code_count(result)) + " codes";
}

TEST(Memory, OfTheCInterface) {
  static velmora_capture* shared = nullptr;
  velmora_capture_options options{sizeof options, 1, 0, 0, nullptr, nullptr};
  ASSERT_EQ(velmora_capture_create(kTemplate, &options, &shared, nullptr), 0);
  static const TemporaryDirectory folder;
  WriteFile(folder / "t.json", kTemplate);
  const auto release = [](void* handles) { ++static_cast<Handles*>(handles)->released; };
  // What a function gave: its code and what it made.
  const auto giving = [](const char* name, auto call, std::vector<std::string> documented) {
    return Changing(
        name, kUnchanged, [] { return new Handles; },
        [=](Handles& handles) { handles.text = call(handles); },
        [](const Handles& handles) { return handles.text; }, std::move(documented));
  };
  const std::vector<std::string> outOfMemory{"-10001", "-10001 no JSON", "-10001 0 codes",
                                             "-10001 1 codes"};
  const long points = RunOutOfMemory(
      "C interface",
      {
          giving(
              "velmora_capture_create",
              [=](Handles& h) {
                velmora_capture_destroy(std::exchange(h.capture, nullptr));
                return to_string(velmora_capture_create(kTemplate, &options, &h.capture, nullptr));
              },
              outOfMemory),
          giving("velmora_capture_create with faults",
                 [=](Handles& h) {
                   velmora_template_errors_release(std::exchange(h.errors, nullptr));
                   return to_string(velmora_capture_create("{", &options, &h.capture, &h.errors)) +
                          to_string(velmora_template_errors_count(h.errors));
                 },
                 {"-10001-10002"}),
          giving("velmora_capture_create_from_file",
                 [=](Handles& h) {
                   const std::string path = folder / "t.json";
                   velmora_capture_destroy(std::exchange(h.capture, nullptr));
                   return to_string(velmora_capture_create_from_file(path.c_str(), &options,
                                                                     &h.capture, nullptr));
                 },
                 {"-10001", "-10005"}),
          giving("velmora_capture_read",
                 [=](Handles& h) {
                   const velmora_image image = MakeImage();
                   h.released = 0;
                   velmora_result_release(std::exchange(h.result, nullptr));
                   const auto code = velmora_capture_read(shared, &image, release, &h, &h.result);
                   EXPECT_EQ(h.released, 1);
                   return to_string(code) + LookResult(h.result);
                 },
                 {"-10001", "-10001 no JSON", "-10001 0 codes", "-10001 1 codes", "0 no JSON"}),
          giving("velmora_capture_read_file",
                 [=](Handles& h) {
                   velmora_result_release(std::exchange(h.result, nullptr));
                   const std::string path = kSamples + "ean13.bmp";
                   const auto code = velmora_capture_read_file(shared, path.c_str(), &h.result);
                   return to_string(code) + LookResult(h.result);
                 },
                 {"-10001", "-10001 no JSON", "-10001 0 codes", "-10001 1 codes", "0 no JSON",
                  "-10012 0 codes", "-10012 no JSON"}),
          giving(
              "velmora_capture_submit",
              [=](Handles& h) {
                const velmora_image image = MakeImage();
                h.released = 0;
                velmora_result_release(std::exchange(h.result, nullptr));
                const auto deliver = [](void* user, velmora_result* result) {
                  Handles& handles = *static_cast<Handles*>(user);
                  velmora_result_retain(result);
                  const std::lock_guard<std::mutex> lock(handles.mutex);
                  handles.result = result;
                  handles.done.notify_one();
                };
                const auto code =
                    velmora_capture_submit(shared, &image, release, &h, deliver, &h, 1000);
                if (code != 0) {
                  EXPECT_EQ(h.released, 1);
                  return to_string(code);
                }
                std::unique_lock<std::mutex> lock(h.mutex);
                const bool isDone = h.done.wait_for(lock, std::chrono::seconds(20),
                                                    [&] { return h.result != nullptr; });
                StopFailing();
                velmora_result_info info{};
                info.size = sizeof info;
                const bool isKnown = isDone && velmora_result_get_info(h.result, &info) == 0;
                if (!isKnown) return std::string("never");
                // The pixels go back when the work has ended, which may be later than the result.
                for (int i = 0; i < 20000 && h.released == 0; ++i) {
                  std::this_thread::sleep_for(std::chrono::milliseconds(1));
                }
                EXPECT_EQ(h.released, 1);
                return to_string(info.error_code) + LookResult(h.result);
              },
              outOfMemory),
          giving(
              "velmora_capture_get_statistics",
              [=](Handles& h) {
                velmora_statistics_release(std::exchange(h.statistics, nullptr));
                return to_string(velmora_capture_get_statistics(shared, &h.statistics));
              },
              outOfMemory),
          giving(
              "velmora_log_configure",
              [=](Handles&) {
                const std::string path = folder / "a log with a long name ";
                const velmora_log_options log{sizeof log, VELMORA_LOG_LINES, 1, 1, path.c_str()};
                return to_string(velmora_log_configure(&log));
              },
              outOfMemory),
      });
  velmora_capture_destroy(shared);
  const velmora_log_options off{sizeof off, 0, 0, 0, nullptr};
  velmora_log_configure(&off);
  EXPECT_GT(points, 1000);
}

}  // namespace
}  // namespace velmora::testing
