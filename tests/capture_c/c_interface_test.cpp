// The C interface, used through its header alone.
#include <gtest/gtest.h>

#include <atomic>
#include <condition_variable>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include "velmora_capture/c/velmora_capture.h"

namespace {

constexpr std::int32_t kNullPointer = -10002;
constexpr std::int32_t kIndexInvalid = -10008;
constexpr std::int32_t kTimeout = -10026;
constexpr std::int32_t kValueInvalid = -10038;
constexpr std::int32_t kOrientationInvalid = -10060;
constexpr std::int32_t kRejected = -10062;
constexpr std::int32_t kImageInvalid = -10069;

using Capture = std::unique_ptr<velmora_capture, decltype(&velmora_capture_destroy)>;
using Result = std::unique_ptr<velmora_result, decltype(&velmora_result_release)>;

template <typename Struct>
Struct Sized() {
  Struct value{};
  value.size = sizeof value;
  return value;
}

std::string Sample(const std::string& name) {
  return VELMORA_CAPTURE_SAMPLES "/" + name;
}

Capture MakeCapture() {
  velmora_capture* capture = nullptr;
  EXPECT_EQ(velmora_capture_create(nullptr, nullptr, &capture, nullptr), 0);
  return {capture, &velmora_capture_destroy};
}

Result ReadFile(const Capture& capture, const std::string& name, std::int32_t want = 0) {
  velmora_result* result = nullptr;
  EXPECT_EQ(velmora_capture_read_file(capture.get(), Sample(name).c_str(), &result), want) << name;
  return {result, &velmora_result_release};
}

velmora_code OnlyCode(const velmora_result* result) {
  auto code = Sized<velmora_code>();
  EXPECT_EQ(velmora_result_code_count(result), 1);
  EXPECT_EQ(velmora_result_get_code(result, 0, &code), 0);
  return code;
}

// The grey picture of code39.pgm, 549 x 198, with padded rows.
struct GreyPicture {
  std::string bytes;
  velmora_image image;

  GreyPicture() {
    std::ifstream file(std::filesystem::u8path(Sample("code39.pgm")), std::ios::binary);
    const std::string all{std::istreambuf_iterator<char>(file), {}};
    for (std::size_t row = 198; row > 0; --row) {
      bytes += all.substr(all.size() - row * 549, 549) + std::string(51, '\x55');
    }
    image = {sizeof image, VELMORA_PIXELS_GREY8, 549, 198, 600, 0, bytes.data(), bytes.size()};
  }
};

// A large image that takes some time: to be late for a small budget, or to be cancelled.
struct Noise {
  std::string bytes;
  velmora_image image;

  Noise() {
    for (std::uint32_t i = 0; i < 1500 * 1500; ++i) {
      bytes += static_cast<char>(i * 2654435761U >> 24);
    }
    image = {sizeof image, VELMORA_PIXELS_GREY8, 1500, 1500, 0, 0, bytes.data(), bytes.size()};
  }
};

// What a submitted image does: counts releases, keeps results, holds the delivery thread.
struct Delivery {
  std::atomic<int> releases{0};
  std::mutex mutex;
  std::condition_variable changed;
  std::set<std::thread::id> threads;
  std::vector<Result> results;
  bool isHeld = false;
  std::atomic<velmora_capture*> capture{nullptr};

  static void Release(void* user) { ++static_cast<Delivery*>(user)->releases; }

  static void Call(void* user, velmora_result* result) {
    auto& self = *static_cast<Delivery*>(user);
    std::unique_lock<std::mutex> lock(self.mutex);
    self.changed.wait(lock, [&] { return !self.isHeld; });
    EXPECT_EQ(velmora_capture_destroy(self.capture), kRejected) << "in a callback";
    self.threads.insert(std::this_thread::get_id());
    EXPECT_EQ(velmora_result_retain(result), 0);
    self.results.emplace_back(result, &velmora_result_release);
    self.changed.notify_all();
  }

  std::int32_t Submit(velmora_capture* to, const velmora_image* image, std::int32_t waitMs) {
    capture = to;
    return velmora_capture_submit(to, image, &Release, this, &Call, this, waitMs);
  }

  void Hold(bool hold) {
    const std::lock_guard<std::mutex> lock(mutex);
    isHeld = hold;
    changed.notify_all();
  }

  void WaitFor(std::size_t count) {
    std::unique_lock<std::mutex> lock(mutex);
    changed.wait(lock, [&] { return results.size() >= count; });
  }
};

TEST(CInterface, ReadsAFileIntoTextsThatOutliveTheCapture) {
  EXPECT_EQ(velmora_capture_abi_version(), VELMORA_CAPTURE_ABI_VERSION);
  const std::string path = testing::TempDir() + "velmora_c_\xC3\xA4.bmp";  // UTF-8
  std::filesystem::copy(Sample("ean13.bmp"), std::filesystem::u8path(path),
                        std::filesystem::copy_options::overwrite_existing);
  Capture capture = MakeCapture();
  velmora_result* read = nullptr;
  ASSERT_EQ(velmora_capture_read_file(capture.get(), path.c_str(), &read), 0);
  const Result result(read, &velmora_result_release);
  std::filesystem::remove(std::filesystem::u8path(path));
  const Result withRegion = ReadFile(capture, "qr.png");
  velmora_capture_destroy(capture.release());

  const velmora_code code = OnlyCode(read);
  EXPECT_EQ(code.size, sizeof code);
  EXPECT_STREQ(code.symbology, "EAN-13");
  EXPECT_STREQ(code.text, "5012345678900");
  EXPECT_EQ(code.text_length, 13U);
  EXPECT_EQ(std::string(code.bytes, code.bytes + code.bytes_length), code.text);
  EXPECT_STRNE(code.definition, code.task);

  auto info = Sized<velmora_result_info>();
  ASSERT_EQ(velmora_result_get_info(result.get(), &info), 0);
  EXPECT_EQ(info.error_code, 0);
  EXPECT_LT(code.corners[0], code.corners[4]) << "the third corner is right of the first";
  EXPECT_LT(info.height, code.corners[4]);
  EXPECT_LT(code.corners[1], code.corners[5]) << "and below it";
  EXPECT_LT(code.corners[5], info.height);
  EXPECT_GT(info.read_ns, 0);
  EXPECT_GE(info.total_ns, info.convert_ns);
  EXPECT_EQ(info.path, path);
  auto region = Sized<velmora_region>();
  ASSERT_GT(velmora_result_region_count(withRegion.get()), 0);
  ASSERT_EQ(velmora_result_get_region(withRegion.get(), 0, &region), 0);
  EXPECT_LT(region.corners[0], region.corners[2]);

  const char *json = nullptr, *again = nullptr;
  std::size_t length = 0;
  ASSERT_EQ(velmora_result_get_json(read, &json, &length), 0);
  ASSERT_EQ(velmora_result_get_json(read, &again, nullptr), 0);
  EXPECT_EQ(json, again) << "a text lives as long as the handle";
  EXPECT_EQ(std::string(json).size(), length);
  EXPECT_NE(std::string(json).find("\"5012345678900\""), std::string::npos) << json;
}

TEST(CInterface, GivesAnUnreadableFileAResultWithItsError) {
  const Capture capture = MakeCapture();
  for (const auto& [file, code] : {std::pair{"broken.png", -10012}, {"missing.png", -10005}}) {
    const Result result = ReadFile(capture, file, code);
    auto error = Sized<velmora_image_error>();
    ASSERT_EQ(velmora_result_error_count(result.get()), 1) << file;
    ASSERT_EQ(velmora_result_get_error(result.get(), 0, &error), 0);
    EXPECT_EQ(error.code, code);
    EXPECT_STREQ(error.task, "");
  }
}

// Each fault has its code; the release function runs once all the same, the callback never.
TEST(CInterface, RefusesFaultyImagesAndReleasesThem) {
  const Capture capture = MakeCapture();
  const GreyPicture picture;
  using Image = velmora_image;
  struct Row {
    const char* name;
    void (*spoil)(Image&);
    std::int32_t want;
  };
  const Row rows[] = {
      {"size 0", [](Image& image) { image.size = 0; }, kValueInvalid},
      {"size cut", [](Image& image) { image.size -= 8; }, kValueInvalid},
      {"size wild", [](Image& image) { image.size = 0xFFFFFFF8U; }, kValueInvalid},
      {"no pixels", [](Image& image) { image.pixels = nullptr; }, kNullPointer},
      {"format 16", [](Image& image) { image.format = 16; }, kImageInvalid},
      {"no width", [](Image& image) { image.width = 0; }, kImageInvalid},
      {"rows overlap", [](Image& image) { image.stride = 548; }, kImageInvalid},
      {"wraps", [](Image& image) { image.stride = image.height = 1 << 16; }, kImageInvalid},
      {"45 degrees", [](Image& image) { image.orientation = 45; }, kOrientationInvalid},
  };
  Delivery delivery;
  int released = 0;
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    velmora_image image = picture.image;
    row.spoil(image);
    velmora_result* result = nullptr;
    EXPECT_EQ(velmora_capture_read(capture.get(), &image, &Delivery::Release, &delivery, &result),
              row.want);
    EXPECT_EQ(delivery.releases, ++released);
    EXPECT_EQ(delivery.Submit(capture.get(), &image, 0), row.want);
    EXPECT_EQ(delivery.releases, ++released);
  }
  using Smallest = std::tuple<std::int32_t, std::int32_t, std::int32_t, std::size_t>;
  for (const auto& [format, width, height, length] :
       {Smallest{VELMORA_PIXELS_BINARY, 9, 2, 4}, Smallest{VELMORA_PIXELS_NV12, 3, 3, 20},
        Smallest{VELMORA_PIXELS_RGB, 3, 2, 18}, Smallest{VELMORA_PIXELS_RGBA16, 2, 2, 32}}) {
    velmora_image image{sizeof image, format, width, height, 0, 90, picture.bytes.data(), length};
    velmora_result* result = nullptr;
    EXPECT_EQ(velmora_capture_read(capture.get(), &image, &Delivery::Release, &delivery, &result),
              0)
        << format;
    velmora_result_release(result);
    --image.length;
    EXPECT_EQ(delivery.Submit(capture.get(), &image, 0), kImageInvalid) << format;
    EXPECT_EQ(delivery.releases, released += 2);
  }
  EXPECT_EQ(delivery.Submit(nullptr, &picture.image, 0), kNullPointer);
  EXPECT_EQ(delivery.Submit(capture.get(), nullptr, 0), kNullPointer);
  EXPECT_EQ(delivery.Submit(capture.get(), &picture.image, -1), kValueInvalid);
  EXPECT_EQ(delivery.releases, released + 3);
  EXPECT_TRUE(delivery.results.empty());
}

TEST(CInterface, AnswersHostileArgumentsWithACode) {
  const Capture capture = MakeCapture();
  const Result result = ReadFile(capture, "ean13.bmp");
  velmora_code unsized{};
  auto code = Sized<velmora_code>();
  velmora_capture_options wrongSize{4, 0, 0, 0, nullptr, nullptr};
  velmora_capture_options manyThreads{sizeof manyThreads, 1025, 0, 0, nullptr, nullptr};
  velmora_capture_options noFolders{sizeof noFolders, 0, 0, 1, nullptr, nullptr};
  const char* text = "";
  velmora_capture* made = nullptr;
  velmora_result* read = nullptr;
  const velmora_log_options log{sizeof log, 4, 9, 0, nullptr};
  const std::pair<std::int32_t, std::int32_t> rows[] = {
      {velmora_capture_create(nullptr, nullptr, nullptr, nullptr), kNullPointer},
      {velmora_capture_create(nullptr, &wrongSize, &made, nullptr), kValueInvalid},
      {velmora_capture_create(nullptr, &manyThreads, &made, nullptr), kValueInvalid},
      {velmora_capture_create(nullptr, &noFolders, &made, nullptr), kNullPointer},
      {velmora_capture_read_file(capture.get(), nullptr, &read), kNullPointer},
      {velmora_capture_get_note(capture.get(), 1000, &text), kIndexInvalid},
      {velmora_result_get_code(nullptr, 0, &code), kNullPointer},
      {velmora_result_get_code(result.get(), 0, &unsized), kValueInvalid},
      {velmora_result_get_code(result.get(), -1, &code), kIndexInvalid},
      {velmora_result_get_code(result.get(), 1, &code), kIndexInvalid},
      {velmora_result_get_json(nullptr, &text, nullptr), kNullPointer},
      {velmora_log_configure(&log), kValueInvalid},
      {velmora_capture_destroy(nullptr), 0},
  };
  for (const auto& row : rows) EXPECT_EQ(row.first, row.second) << "row " << &row - rows;
  EXPECT_EQ(text, nullptr) << "a text that cannot be given is null";
  EXPECT_EQ(made, nullptr);
}

// A row for each function that is exported: what it gives with null for each of its pointers.
TEST(CInterface, TakesNullForEachPointer) {
  const Capture owner = MakeCapture();
  velmora_capture* const capture = owner.get();
  const Result qr = ReadFile(owner, "qr.png");
  const Result broken = ReadFile(owner, "broken.png", -10012);
  const velmora_result* const result = qr.get();
  velmora_statistics* statistics = nullptr;
  ASSERT_EQ(velmora_capture_get_statistics(capture, &statistics), 0);
  velmora_template_errors* errors = nullptr;
  velmora_capture* made = nullptr;
  ASSERT_NE(velmora_capture_create("{}", nullptr, &made, &errors), 0);
  const GreyPicture picture;
  velmora_image image = picture.image;
  image.pixels = nullptr;
  velmora_capture_options options{sizeof options, 0, 0, 1, nullptr, nullptr};
  velmora_result* read = nullptr;
  const char* text = "";
  auto templateError = Sized<velmora_template_error>();
  auto info = Sized<velmora_result_info>();
  auto code = Sized<velmora_code>();
  auto region = Sized<velmora_region>();
  auto imageError = Sized<velmora_image_error>();
  auto images = Sized<velmora_image_counts>();
  auto task = Sized<velmora_task_counts>();
  velmora_statistics* none = nullptr;
  velmora_template_errors* noErrors = nullptr;
  const auto submit = [&](velmora_capture* to, const velmora_image* what,
                          velmora_result_callback callback) {
    return velmora_capture_submit(to, what, nullptr, nullptr, callback, nullptr, 0);
  };
  using Codes = std::vector<std::int32_t>;
  const std::map<std::string, Codes> rows = {
      {"velmora_capture_abi_version", {}},
      {"velmora_version", {}},
      {"velmora_error_string", {}},
      {"velmora_log_flush", {}},
      {"velmora_capture_create",
       {velmora_capture_create(nullptr, nullptr, nullptr, &noErrors),
        velmora_capture_create(nullptr, &options, &made, nullptr)}},
      {"velmora_capture_create_from_file",
       {velmora_capture_create_from_file("x", nullptr, nullptr, &noErrors),
        velmora_capture_create_from_file(nullptr, nullptr, &made, nullptr)}},
      {"velmora_capture_destroy", {velmora_capture_destroy(nullptr) + kNullPointer}},
      {"velmora_capture_cancel", {velmora_capture_cancel(nullptr)}},
      {"velmora_capture_note_count", {velmora_capture_note_count(nullptr)}},
      {"velmora_capture_get_note",
       {velmora_capture_get_note(nullptr, 0, &text),
        velmora_capture_get_note(capture, 0, nullptr)}},
      {"velmora_template_errors_count", {velmora_template_errors_count(nullptr)}},
      {"velmora_template_errors_get",
       {velmora_template_errors_get(nullptr, 0, &templateError),
        velmora_template_errors_get(errors, 0, nullptr)}},
      {"velmora_template_errors_release",
       {(velmora_template_errors_release(nullptr), kNullPointer)}},
      {"velmora_capture_read_file",
       {velmora_capture_read_file(nullptr, "x", &read),
        velmora_capture_read_file(capture, nullptr, &read),
        velmora_capture_read_file(capture, "x", nullptr)}},
      {"velmora_capture_read",
       {velmora_capture_read(nullptr, &picture.image, nullptr, nullptr, &read),
        velmora_capture_read(capture, nullptr, nullptr, nullptr, &read),
        velmora_capture_read(capture, &image, nullptr, nullptr, &read),
        velmora_capture_read(capture, &picture.image, nullptr, nullptr, nullptr)}},
      {"velmora_capture_submit",
       {submit(nullptr, &picture.image, &Delivery::Call), submit(capture, nullptr, &Delivery::Call),
        submit(capture, &image, &Delivery::Call), submit(capture, &picture.image, nullptr)}},
      {"velmora_capture_get_statistics",
       {velmora_capture_get_statistics(nullptr, &none),
        velmora_capture_get_statistics(capture, nullptr)}},
      {"velmora_result_get_info",
       {velmora_result_get_info(nullptr, &info), velmora_result_get_info(result, nullptr)}},
      {"velmora_result_code_count", {velmora_result_code_count(nullptr)}},
      {"velmora_result_get_code",
       {velmora_result_get_code(nullptr, 0, &code), velmora_result_get_code(result, 0, nullptr)}},
      {"velmora_result_region_count", {velmora_result_region_count(nullptr)}},
      {"velmora_result_get_region",
       {velmora_result_get_region(nullptr, 0, &region),
        velmora_result_get_region(result, 0, nullptr)}},
      {"velmora_result_error_count", {velmora_result_error_count(nullptr)}},
      {"velmora_result_get_error",
       {velmora_result_get_error(nullptr, 0, &imageError),
        velmora_result_get_error(broken.get(), 0, nullptr)}},
      {"velmora_result_get_json",
       {velmora_result_get_json(nullptr, &text, nullptr),
        velmora_result_get_json(result, nullptr, nullptr)}},
      {"velmora_result_retain", {velmora_result_retain(nullptr)}},
      {"velmora_result_release", {(velmora_result_release(nullptr), kNullPointer)}},
      {"velmora_statistics_get_images",
       {velmora_statistics_get_images(nullptr, &images),
        velmora_statistics_get_images(statistics, nullptr)}},
      {"velmora_statistics_task_count", {velmora_statistics_task_count(nullptr)}},
      {"velmora_statistics_get_task",
       {velmora_statistics_get_task(nullptr, 0, &task),
        velmora_statistics_get_task(statistics, 0, nullptr)}},
      {"velmora_statistics_release", {(velmora_statistics_release(nullptr), kNullPointer)}},
      {"velmora_log_configure", {velmora_log_configure(nullptr)}},
  };
  std::set<std::string> exported, tried;
  std::ifstream list(VELMORA_CAPTURE_EXPORTS);
  for (std::string name; std::getline(list, name);) {
    if (name.find("velmora_") == 0) exported.insert(name);
  }
  for (const auto& [name, codes] : rows) {
    tried.insert(name);
    EXPECT_EQ(codes, Codes(codes.size(), kNullPointer)) << name;
  }
  EXPECT_EQ(tried, exported);
  EXPECT_TRUE(made == nullptr && read == nullptr && text == nullptr && none == nullptr);
  velmora_template_errors_release(errors);
  velmora_statistics_release(statistics);
}

// A process may end at any time: it does so with its own code, and at once.
TEST(CInterfaceDeathTest, TheProcessMayEndWhileThreadsWork) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  for (const bool isInCallback : {false, true}) {
    SCOPED_TRACE(isInCallback);
    for (int round = 0; round < 3; ++round) {
      EXPECT_EXIT(
          {
            const GreyPicture picture;
            const Noise noise;
            velmora_capture* const capture = MakeCapture().release();
            velmora_capture_submit(
                capture, isInCallback ? &picture.image : &noise.image, nullptr, nullptr,
                [](void* user, velmora_result*) {
                  if (user != nullptr) std::exit(7);
                },
                isInCallback ? capture : nullptr, 0);
            while (velmora_capture_submit(
                       capture, &noise.image, nullptr, nullptr, [](void*, velmora_result*) {},
                       nullptr, 0) == 0) {
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(isInCallback ? 60000 : round));
            std::exit(7);
          },
          ::testing::ExitedWithCode(7), "");
    }
  }
}

// It runs in a destructor.
TEST(CInterfaceDeathTest, AReleaseFunctionThatThrowsEndsTheProcess) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  const GreyPicture picture;
  velmora_result* result = nullptr;
  const auto release = [](void*) { throw 5; };
  EXPECT_DEATH(velmora_capture_read(MakeCapture().get(), &picture.image, release, nullptr, &result),
               "");
}

TEST(CInterface, NamesThePlaceOfATemplatesFault) {
  const std::string path = testing::TempDir() + "velmora_c_template_\xC3\xA4.json";
  std::ofstream(std::filesystem::u8path(path)) << "{\"Name\": \"n\",\n  \"Definitions\": 7}";
  velmora_capture* capture = nullptr;
  velmora_template_errors* errors = nullptr;
  const auto code = velmora_capture_create_from_file(path.c_str(), nullptr, &capture, &errors);
  std::filesystem::remove(std::filesystem::u8path(path));
  EXPECT_EQ(capture, nullptr);
  auto error = Sized<velmora_template_error>();
  ASSERT_EQ(velmora_template_errors_get(errors, 0, &error), 0);
  EXPECT_LT(code, 0);
  EXPECT_EQ(error.code, code);
  EXPECT_EQ(error.file, path);
  EXPECT_EQ(error.line, 2);
  EXPECT_EQ(std::string(error.text).find(path + ":2:"), 0U) << error.text;
  velmora_template_errors_release(errors);
  EXPECT_EQ(velmora_capture_create_from_file("/no/such/file", nullptr, &capture, &errors), -10005);
  EXPECT_EQ(errors, nullptr);
}

TEST(CInterface, PassesItsOptionsOn) {
  const char* const folders[] = {"no/such", "folder/here"};
  velmora_capture_options options{sizeof options, 1, 1, 2, folders, "mine"};
  velmora_capture* made = nullptr;
  velmora_template_errors* errors = nullptr;
  EXPECT_EQ(velmora_capture_create(R"({"Name": "n", "Definitions": [{"Name": "d", "Tasks": [
                                       {"Name": "t", "Module": "NoSuch"}]}]})",
                                   &options, &made, &errors),
            -10065);
  auto error = Sized<velmora_template_error>();
  ASSERT_EQ(velmora_template_errors_get(errors, 0, &error), 0);
  EXPECT_STREQ(error.file, "mine");
  EXPECT_NE(std::string(error.message).find("folder"), std::string::npos) << error.message;
  velmora_template_errors_release(errors);

  ASSERT_EQ(velmora_capture_create(nullptr, &options, &made, nullptr), 0);
  const Capture capture(made, &velmora_capture_destroy);
  const Noise noise;
  velmora_result* result = nullptr;
  EXPECT_EQ(velmora_capture_read(capture.get(), &noise.image, nullptr, nullptr, &result), kTimeout);
  velmora_result_release(result);
}

TEST(CInterface, DeliversEachImageOnceOnOneThread) {
  const GreyPicture picture;
  Delivery delivery;
  constexpr int kImages = 12;
  {
    const Capture capture = MakeCapture();
    for (int i = 0; i < kImages; ++i) {
      ASSERT_EQ(delivery.Submit(capture.get(), &picture.image, 60000), 0);
    }
    delivery.WaitFor(kImages);
    velmora_statistics* statistics = nullptr;
    ASSERT_EQ(velmora_capture_get_statistics(capture.get(), &statistics), 0);
    auto counts = Sized<velmora_image_counts>();
    ASSERT_EQ(velmora_statistics_get_images(statistics, &counts), 0);
    EXPECT_EQ(counts.offered, kImages);
    auto task = Sized<velmora_task_counts>();
    ASSERT_EQ(velmora_statistics_get_task(statistics, 0, &task), 0);
    EXPECT_GE(task.runs, kImages);
    EXPECT_STRNE(task.module, "");
    velmora_statistics_release(statistics);
  }
  EXPECT_EQ(delivery.releases, kImages);
  delivery.threads.insert(std::this_thread::get_id());
  EXPECT_EQ(delivery.threads.size(), 2U);
  ASSERT_EQ(delivery.results.size(), static_cast<std::size_t>(kImages));
  for (const Result& result : delivery.results) {
    EXPECT_STREQ(OnlyCode(result.get()).text, "VELMORA 39");
  }
}

TEST(CInterface, CopiesWhatIsNotLentAndRefusesWhatDoesNotFit) {
  GreyPicture picture;
  const Capture capture = MakeCapture();
  Delivery delivery;
  delivery.capture = capture.get();
  delivery.Hold(true);
  std::size_t accepted = 0;
  std::int32_t code = 0;
  while ((code = velmora_capture_submit(capture.get(), &picture.image, nullptr, nullptr,
                                        &Delivery::Call, &delivery, 0)) == 0) {
    ++accepted;
  }
  EXPECT_EQ(code, kRejected);
  picture.bytes.assign(picture.bytes.size(), '\0');
  delivery.Hold(false);
  delivery.WaitFor(accepted);
  for (const Result& result : delivery.results) {
    const velmora_code found = OnlyCode(result.get());
    EXPECT_STREQ(found.text, "VELMORA 39");
    EXPECT_GT(found.corners[5] - found.corners[1], 100) << "the rows begin below each other";
  }
}

TEST(CInterface, DeliversWhatIsCancelled) {
  const Noise noise;
  Delivery delivery;
  int accepted = 0;
  {
    const Capture capture = MakeCapture();
    while (delivery.Submit(capture.get(), &noise.image, 0) == 0) ++accepted;
    EXPECT_EQ(velmora_capture_cancel(capture.get()), 0);
    delivery.WaitFor(static_cast<std::size_t>(accepted));
  }
  EXPECT_EQ(delivery.releases, accepted + 1) << "the one that did not fit, too";
  ASSERT_EQ(delivery.results.size(), static_cast<std::size_t>(accepted));
  int cancelled = 0;
  for (const Result& result : delivery.results) {
    auto info = Sized<velmora_result_info>();
    ASSERT_EQ(velmora_result_get_info(result.get(), &info), 0);
    cancelled += info.is_cancelled;
  }
  EXPECT_GT(cancelled, 0);
}

TEST(CInterface, ConfiguresTheLog) {
  const std::string prefix = testing::TempDir() + "velmora_c_log_";
  const std::string file = prefix + "VelmoraScanlyx.log";
  std::filesystem::remove(file);
  velmora_log_options options{sizeof options, VELMORA_LOG_LINES, 9, 1, prefix.c_str()};
  ASSERT_EQ(velmora_log_configure(&options), 0);
  ReadFile(MakeCapture(), "ean13.bmp");
  EXPECT_FALSE(std::filesystem::exists(file)) << "kept in memory";
  EXPECT_EQ(velmora_log_flush(), 0);
  EXPECT_GT(std::filesystem::file_size(file), 0U);
  options.mode = 0;
  EXPECT_EQ(velmora_log_configure(&options), 0);
  std::filesystem::remove(file);
}

}  // namespace
