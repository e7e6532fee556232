// The C interface as a hostile caller uses it: null, sizes, indices and values out of range, in any
// order; handles are not used after they were freed.
#pragma once

#include <atomic>
#include <cstring>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/operations/bytes.h"
#include "velmora_capture/c/velmora_capture.h"

namespace velmora::testing {

class CInterfaceScript {
 public:
  explicit CInterfaceScript(Bytes& script) : script_(script) {}
  // Everything that was lent has been released, and every accepted image has had its callback.
  ~CInterfaceScript() {
    for (velmora_result* result : results_) velmora_result_release(result);
    velmora_statistics_release(statistics_);
    velmora_template_errors_release(errors_);
    velmora_capture_destroy(capture_);
    VELMORA_REQUIRE(lent_ == 0 && awaited_ == 0);
  }
  CInterfaceScript(const CInterfaceScript&) = delete;
  CInterfaceScript& operator=(const CInterfaceScript&) = delete;

  void Run() {
    for (int i = 0; i < kMostSteps && !script_.IsEmpty(); ++i) Step();
  }

 private:
  static constexpr int kMostSteps = 100;

  // Null in place of the argument that this step leaves out. It is chosen before the call, because
  // compilers evaluate arguments in different orders.
  template <typename T>
  T* Maybe(T* pointer, int place) const {
    return missing_ == place ? nullptr : pointer;
  }

  // Calls a getter, with a size that is mostly right. What is refused leaves the structure alone.
  template <typename Struct, typename Handle, typename Get>
  void Ask(const Handle* handle, Get get) {
    Struct value;
    std::memset(&value, 0x5A, sizeof value);
    value.size = sizeof value;
    if (script_.Below(8) == 0) value.size = static_cast<std::uint32_t>(script_.Int());
    const Struct before = value;
    Struct* const out = Maybe(&value, 1);
    const std::int32_t code = get(Maybe(handle, 0), out);
    VELMORA_REQUIRE(code <= 0);
    VELMORA_REQUIRE(code == 0 || std::memcmp(&value, &before, sizeof value) == 0);
    // A later version of the structure is longer.
    VELMORA_REQUIRE(code != 0 || (out != nullptr && before.size >= sizeof value));
  }

  template <typename Struct, typename Handle>
  void AskAll(const Handle* handle, std::int32_t (*count)(const Handle*),
              std::int32_t (*get)(const Handle*, std::int32_t, Struct*)) {
    const std::int32_t most = count(handle);
    VELMORA_REQUIRE((most < 0) == (handle == nullptr));
    const int index = script_.Int();
    Ask<Struct>(handle, [&](const Handle* each, Struct* value) {
      const std::int32_t code = get(each, index, value);
      VELMORA_REQUIRE(code != 0 || (index >= 0 && index < most));
      return code;
    });
  }

  void Step() {
    missing_ = script_.Below(24);
    const velmora_result* const result = results_[static_cast<std::size_t>(script_.Below(3))];
    switch (script_.Below(16)) {
      case 0:
        return Create();
      case 1:
        return Destroy();
      case 2:
        return Read();
      case 3:
      case 4:
        return Submit();
      case 5:
        return ReadFile();
      case 6:
        return Ask<velmora_result_info>(result, &velmora_result_get_info);
      case 7:
        return AskAll(result, &velmora_result_code_count, &velmora_result_get_code);
      case 8:
        return AskAll(result, &velmora_result_region_count, &velmora_result_get_region);
      case 9:
        return AskAll(result, &velmora_result_error_count, &velmora_result_get_error);
      case 10:
        return AskAll<velmora_template_error>(errors_, &velmora_template_errors_count,
                                              &velmora_template_errors_get);
      case 11:
        velmora_statistics_release(statistics_);
        statistics_ = nullptr;
        velmora_capture_get_statistics(Maybe(capture_, 0), Maybe(&statistics_, 1));
        Ask<velmora_image_counts>(statistics_, &velmora_statistics_get_images);
        return AskAll(statistics_, &velmora_statistics_task_count, &velmora_statistics_get_task);
      case 12: {
        const char* text = nullptr;
        std::size_t length = 0;
        const std::int32_t code =
            velmora_result_get_json(Maybe(result, 0), Maybe(&text, 1), Maybe(&length, 2));
        VELMORA_REQUIRE((code == 0) == (text != nullptr));
        VELMORA_REQUIRE(length == 0 || length == std::strlen(text));
        break;
      }
      case 13: {
        const char* note = nullptr;
        const int index = script_.Int();
        const std::int32_t code =
            velmora_capture_get_note(Maybe(capture_, 0), index, Maybe(&note, 1));
        VELMORA_REQUIRE(code != 0 || index < velmora_capture_note_count(capture_));
        VELMORA_REQUIRE(velmora_error_string(script_.Int()) != nullptr);
        break;
      }
      case 14:
        velmora_capture_cancel(Maybe(capture_, 0));
        break;
      default:
        ConfigureLog();
    }
  }

  void Create() {
    constexpr const char* kTexts[] = {
        nullptr,
        "",
        "{",
        "[]",
        R"({"Name": "t", "Definitions": [{"Name": "d", "Tasks": [{"Name": "x", "Module": "None",)"
        R"( "Optional": true, "Output": true}]}]})",
        R"({"Name": "t", "Definitions": [{"Name": "d", "Tasks": [{"Name": "x",)"
        R"( "Module": "No"}]}]})"};
    const char* const folders[] = {"/nowhere", nullptr, ""};
    velmora_capture_options options{};
    options.size = script_.Below(8) == 0 ? script_.Byte() : sizeof options;
    options.threads = script_.Below(8) == 0 ? -script_.Below(3) : 1;
    options.timeout_ms = script_.Below(4) * 1000 - 1000;
    options.module_folder_count = static_cast<std::uint32_t>(script_.Below(4));
    options.module_folders = Maybe(&folders[0], 3);
    const char* const text = kTexts[script_.Below(6)];
    velmora_template_errors_release(errors_);
    errors_ = nullptr;
    velmora_capture* made = nullptr;
    const std::int32_t code =
        velmora_capture_create(text, Maybe(&options, 0), Maybe(&made, 1), Maybe(&errors_, 2));
    VELMORA_REQUIRE((code == 0) == (made != nullptr));
    if (made == nullptr) return;
    velmora_capture_destroy(capture_);
    capture_ = made;
  }

  void Destroy() {
    VELMORA_REQUIRE(velmora_capture_destroy(capture_) == 0 && awaited_ == 0);
    capture_ = nullptr;
  }

  // Pixels of their own: the address sanitizer sees a byte too far.
  velmora_image NewImage() {
    const unsigned char fill = script_.Byte();
    pixels_ = std::make_unique<std::vector<unsigned char>>(script_.Byte() * 16U, fill);
    const bool isFair = script_.Below(4) != 0;
    velmora_image image{};
    image.size = script_.Below(8) == 0 ? static_cast<std::uint32_t>(script_.Int()) : sizeof image;
    image.format = isFair ? script_.Below(16) : script_.Int();
    image.width = isFair ? 1 + script_.Below(40) : script_.Int();
    image.height = isFair ? 1 + script_.Below(24) : script_.Int();
    image.stride = script_.Below(4) == 0 ? script_.Int() : 0;
    image.orientation = script_.Below(8) == 0 ? script_.Int() : 90 * script_.Below(4);
    image.pixels = Maybe(pixels_->data(), 4);
    image.length = pixels_->size();
    return image;
  }

  static void VELMORA_C_CALL Release(void* user) { --static_cast<CInterfaceScript*>(user)->lent_; }
  static void VELMORA_C_CALL Receive(void* user, velmora_result* result) {
    VELMORA_REQUIRE(result != nullptr && velmora_result_code_count(result) >= 0);
    --static_cast<CInterfaceScript*>(user)->awaited_;
  }

  void Read() {
    const velmora_image image = NewImage();
    const bool lends = script_.Coin();
    lent_ += lends ? 1 : 0;
    const int before = lent_;
    velmora_result* result = nullptr;
    velmora_result** const out = Maybe(&result, 2);
    const std::int32_t code = velmora_capture_read(Maybe(capture_, 0), Maybe(&image, 1),
                                                   lends ? &Release : nullptr, this, out);
    VELMORA_REQUIRE(!lends || lent_ < before);
    VELMORA_REQUIRE(code != 0 || result != nullptr);
    Keep(result);
  }

  void Submit() {
    const velmora_image image = NewImage();
    const bool lends = script_.Coin();
    if (lends) {
      ++lent_;
      kept_.push_back(std::move(pixels_));  // until the end: who knows when they are released
    }
    ++awaited_;
    const int waitMs = script_.Below(3) - 1;
    const std::int32_t code =
        velmora_capture_submit(Maybe(capture_, 0), Maybe(&image, 1), lends ? &Release : nullptr,
                               this, missing_ == 2 ? nullptr : &Receive, this, waitMs);
    if (code != 0) --awaited_;
  }

  void ReadFile() {
    velmora_result* result = nullptr;
    const std::string path = "/nowhere/" + script_.Text(8);
    velmora_capture_read_file(Maybe(capture_, 0), Maybe(path.c_str(), 1), Maybe(&result, 2));
    Keep(result);
  }

  void Keep(velmora_result* result) {
    velmora_result*& place = results_[static_cast<std::size_t>(script_.Below(3))];
    if (script_.Below(4) == 0 && velmora_result_retain(place) == 0) velmora_result_release(place);
    velmora_result_release(place);
    place = result;
  }

  // Never on: the log is the process's.
  void ConfigureLog() {
    velmora_log_options options{};
    options.size = script_.Byte();
    options.level = script_.Int();
    options.keep_in_memory = script_.Int();
    if (options.size == sizeof options && script_.Coin()) options.mode = 4 + script_.Below(200);
    const std::int32_t code = velmora_log_configure(Maybe(&options, 0));
    VELMORA_REQUIRE(code != 0 || options.mode == 0);
    velmora_log_flush();
  }

  Bytes& script_;
  int missing_ = 0;
  std::atomic<int> lent_{0};
  std::atomic<int> awaited_{0};
  std::unique_ptr<std::vector<unsigned char>> pixels_;
  std::vector<std::unique_ptr<std::vector<unsigned char>>> kept_;
  velmora_capture* capture_ = nullptr;
  velmora_template_errors* errors_ = nullptr;
  velmora_statistics* statistics_ = nullptr;
  std::vector<velmora_result*> results_{3, nullptr};
};

inline void RunCInterface(const std::uint8_t* bytes, std::size_t size) {
  Bytes script(bytes, size);
  CInterfaceScript(script).Run();
}

}  // namespace velmora::testing
