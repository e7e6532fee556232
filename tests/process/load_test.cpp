// The libraries loaded, used and freed again and again in one process: nothing is left behind.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iostream>
#include <iterator>
#include <string>

#if defined(_WIN32)
#include <windows.h>
#else
#include <dlfcn.h>
#include <unistd.h>
#endif

#include "velmora_capture/c/velmora_capture.h"

namespace {

#if defined(_WIN32)

class Library {
 public:
  explicit Library(std::string file) {
    std::replace(file.begin(), file.end(), '/', '\\');
    library_ = LoadLibraryExA(file.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
    EXPECT_NE(library_, nullptr) << file << GetLastError();
  }
  ~Library() { EXPECT_TRUE(FreeLibrary(library_)); }
  Library(const Library&) = delete;
  Library& operator=(const Library&) = delete;

  template <typename Function>
  Function* Find(const char* name) const {
    return reinterpret_cast<Function*>(reinterpret_cast<void*>(GetProcAddress(library_, name)));
  }
  static bool IsLoaded(const std::string& file) {
    return GetModuleHandleA(std::filesystem::path(file).filename().string().c_str()) != nullptr;
  }

 private:
  HMODULE library_;
};

// The system's own count, which Wine does not keep; and the number of a new handle, which is the
// lowest that is free.
int CountHandles() {
  DWORD count = 0;
  GetProcessHandleCount(GetCurrentProcess(), &count);
  const HANDLE event = CreateEventA(nullptr, FALSE, FALSE, nullptr);
  CloseHandle(event);
  return static_cast<int>(count) + static_cast<int>(reinterpret_cast<std::intptr_t>(event) / 4);
}

// In blocks of all heaps.
std::ptrdiff_t CountBytes() {
  std::ptrdiff_t bytes = 0;
  HANDLE heaps[64];
  const DWORD count = GetProcessHeaps(64, heaps);
  for (DWORD i = 0; i < std::min<DWORD>(count, 64); ++i) {
    PROCESS_HEAP_ENTRY entry{};
    HeapLock(heaps[i]);
    while (HeapWalk(heaps[i], &entry)) {
      if ((entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) != 0) {
        bytes += static_cast<std::ptrdiff_t>(entry.cbData);
      }
    }
    HeapUnlock(heaps[i]);
  }
  return bytes;
}

#else

class Library {
 public:
  explicit Library(const std::string& file) : library_(dlopen(file.c_str(), RTLD_NOW)) {
    EXPECT_NE(library_, nullptr) << dlerror();
  }
  ~Library() { EXPECT_EQ(dlclose(library_), 0); }
  Library(const Library&) = delete;
  Library& operator=(const Library&) = delete;

  template <typename Function>
  Function* Find(const char* name) const {
    return reinterpret_cast<Function*>(dlsym(library_, name));
  }
  // Unique symbols keep a library of C++ in the process: dlclose frees none.
  static bool IsLoaded(const std::string&) { return false; }

 private:
  void* library_;
};

int CountHandles() {
  using Entries = std::filesystem::directory_iterator;
  return static_cast<int>(std::distance(Entries("/proc/self/fd"), Entries()));
}

std::ptrdiff_t CountBytes() {
  std::ptrdiff_t size = 0, resident = 0;
  std::ifstream("/proc/self/statm") >> size >> resident;
  return resident * sysconf(_SC_PAGESIZE);
}

#endif

void ExpectFlat(const std::string& file, const std::function<void(const Library&)>& use) {
  constexpr int kRounds = 100;
  constexpr int kWarmUp = 20;
  int handles = 0;
  std::ptrdiff_t bytes = 0;
  for (int round = 0; round < kRounds && !::testing::Test::HasFailure(); ++round) {
    use(Library(file));
    EXPECT_FALSE(Library::IsLoaded(file)) << "round " << round;
    if (round != kWarmUp - 1) continue;
    handles = CountHandles();
    bytes = CountBytes();
  }
  // A thread that was joined may have some open for a moment; a leak would leave one per round.
  EXPECT_LT(CountHandles() - handles, (kRounds - kWarmUp) / 2);
  // Less than an image or a thread leaves. The log's settings and what the runtime keeps for
  // threads that ended are 1.3 KiB per round.
  EXPECT_LT(CountBytes() - bytes, (kRounds - kWarmUp) * 4 * 1024);
  std::cout << file << ": " << CountBytes() - bytes << " bytes more after " << kRounds
            << " rounds than the " << bytes << " after " << kWarmUp << "; " << handles << " handles"
            << "\n";
}

TEST(Load, TheCoreAHundredTimes) {
  ExpectFlat(VELMORA_CORE_FILE, [](const Library& core) {
    char* text = nullptr;
    core.Find<void(const char*, char**)>("Nx_CopyCharArray")("a text of some length", &text);
    EXPECT_STREQ(text, "a text of some length");
    core.Find<void(char**)>("Nx_DeleteCharArray")(&text);
    EXPECT_STREQ(core.Find<const char*(int)>("Nc_GetErrorString")(-10026), "Operation timeout.");
  });
}

#define FIND(name) library.Find<decltype(name)>(#name)

TEST(Load, TheLogAHundredTimes) {
  ExpectFlat(VELMORA_CAPTURE_FILE, [](const Library& library) {
    velmora_log_options options{sizeof options, VELMORA_LOG_LINES, 9, 1, "no such folder/"};
    EXPECT_EQ(FIND(velmora_log_configure)(&options), 0);
    velmora_capture* capture = nullptr;
    const char* const text = R"({"Name": "t", "Definitions": [{"Name": "d", "Tasks": [
        {"Name": "n", "Module": "NoSuch", "Optional": true}]}]})";
    velmora_capture_options one{sizeof one, 1, 0, 0, nullptr, nullptr};
    ASSERT_EQ(FIND(velmora_capture_create)(text, &one, &capture, nullptr), 0);
    velmora_result* result = nullptr;
    EXPECT_EQ(FIND(velmora_capture_read_file)(capture, VELMORA_CAPTURE_SAMPLES "/qr.png", &result),
              0);
    FIND(velmora_result_release)(result);
    EXPECT_EQ(FIND(velmora_capture_destroy)(capture), 0);
    options.mode = 0;
    EXPECT_EQ(FIND(velmora_log_configure)(&options), 0);
  });
}

// Last: its modules stay in the process, and the core with them.
TEST(Load, TheCaptureLibraryAHundredTimes) {
  ExpectFlat(VELMORA_CAPTURE_FILE, [](const Library& library) {
    velmora_capture* capture = nullptr;
    velmora_capture_options options{sizeof options, 2, 0, 0, nullptr, nullptr};
    ASSERT_EQ(FIND(velmora_capture_create)(nullptr, &options, &capture, nullptr), 0);
    velmora_result* result = nullptr;
    const char* const file = VELMORA_CAPTURE_SAMPLES "/qr.png";
    EXPECT_EQ(FIND(velmora_capture_read_file)(capture, file, &result), 0);
    EXPECT_EQ(FIND(velmora_result_code_count)(result), 1);
    FIND(velmora_result_release)(result);
    const std::string pixels(64 * 64, '\xFF');
    const velmora_image image{sizeof image,  VELMORA_PIXELS_GREY8, 64, 64, 0, 0,
                              pixels.data(), pixels.size()};
    EXPECT_EQ(FIND(velmora_capture_submit)(
                  capture, &image, nullptr, nullptr, [](void*, velmora_result*) {}, nullptr, 0),
              0);
    EXPECT_EQ(FIND(velmora_capture_destroy)(capture), 0);
  });
}

}  // namespace
