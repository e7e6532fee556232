#include <fcntl.h>
#include <io.h>
#include <process.h>
#include <windows.h>

#include <shellapi.h>  // after the header above, which it needs

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cwchar>
#include <system_error>
#include <thread>
#include <utility>

#include "tools/capture/system.h"

namespace velmora::capture {
namespace {

std::string FromWide(const wchar_t* text, std::size_t length, UINT codePage, DWORD flags = 0) {
  std::string out(length * 3 + 1, '\0');  // a UTF-16 unit is three bytes at most
  out.resize(static_cast<std::size_t>(
      WideCharToMultiByte(codePage, flags, text, static_cast<int>(length), &out[0],
                          static_cast<int>(out.size()), nullptr, nullptr)));
  return out;
}

std::wstring ToWide(const std::string& text, UINT codePage = CP_UTF8, DWORD flags = 0) {
  std::wstring out(text.size() + 1, L'\0');
  out.resize(static_cast<std::size_t>(MultiByteToWideChar(codePage, flags, text.data(),
                                                          static_cast<int>(text.size()), &out[0],
                                                          static_cast<int>(out.size()))));
  return out;
}

std::string LastErrorText() {
  return std::system_category().message(static_cast<int>(GetLastError()));
}

// A directory's name as the system wants it to list what is in it.
std::wstring PatternFor(const std::string& directory) {
  std::wstring pattern = ToWide(directory);
  if (!pattern.empty() && pattern.back() != L'/' && pattern.back() != L'\\') pattern += L'\\';
  return pattern + L"*";
}

}  // namespace

bool IsTerminal(StandardStream stream) {
  return _isatty(_fileno(stream == StandardStream::kOutput ? stdout : stderr)) != 0;
}

int GetTerminalWidth() {
  CONSOLE_SCREEN_BUFFER_INFO info;
  if (GetConsoleScreenBufferInfo(GetStdHandle(STD_ERROR_HANDLE), &info) == 0) return 80;
  return info.srWindow.Right - info.srWindow.Left + 1;
}

std::vector<std::string> GetArguments(int, char**) {
  std::vector<std::string> arguments;
  int count = 0;
  wchar_t** const wide = CommandLineToArgvW(GetCommandLineW(), &count);
  for (int i = 1; i < count; ++i) {
    arguments.push_back(FromWide(wide[i], std::wcslen(wide[i]), CP_UTF8));
  }
  LocalFree(wide);
  return arguments;
}

std::string ToUtf8(const std::string& name) {
  if (name.empty() || !ToWide(name, CP_UTF8, MB_ERR_INVALID_CHARS).empty()) return name;
  const std::wstring wide = ToWide(name, CP_ACP);
  return FromWide(wide.data(), wide.size(), CP_UTF8);
}

std::string ToNarrow(const std::string& name) {
  const std::wstring wide = ToWide(name);
  return FromWide(wide.data(), wide.size(), CP_ACP);
}

void PrepareStandardStreams() {
  _setmode(_fileno(stdin), _O_BINARY);
  _setmode(_fileno(stdout), _O_BINARY);
  SetConsoleOutputCP(CP_UTF8);  // of a console, if there is one
}

int RunProgram(const std::vector<std::string>& arguments) {
  std::vector<std::wstring> quoted;  // the C library joins the arguments with blanks only
  for (const std::string& argument : arguments) quoted.push_back(L"\"" + ToWide(argument) + L"\"");
  std::vector<const wchar_t*> argv;
  for (const std::wstring& argument : quoted) argv.push_back(argument.c_str());
  argv.push_back(nullptr);
  return static_cast<int>(_wspawnvp(_P_WAIT, ToWide(arguments[0]).c_str(), argv.data()));
}

std::vector<DirectoryEntry> ListDirectory(const std::string& directory, std::string& error) {
  std::vector<DirectoryEntry> entries;
  WIN32_FIND_DATAW found;
  const HANDLE search = FindFirstFileW(PatternFor(directory).c_str(), &found);
  if (search == INVALID_HANDLE_VALUE) {
    error = LastErrorText();
    return entries;
  }
  do {
    DirectoryEntry entry;
    const std::size_t length = std::wcslen(found.cFileName);
    entry.name = FromWide(found.cFileName, length, CP_UTF8, WC_ERR_INVALID_CHARS);
    if (entry.name == "." || entry.name == "..") continue;
    if (entry.name.empty()) {
      entry.isNameable = false;
      entry.name = FromWide(found.cFileName, length, CP_UTF8);
    }
    entry.kind = (found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0
                     ? DirectoryEntry::kDirectory
                     : DirectoryEntry::kFile;
    entry.size = (std::int64_t{found.nFileSizeHigh} << 32) | found.nFileSizeLow;
    entry.time = (std::int64_t{found.ftLastWriteTime.dwHighDateTime} << 32) |
                 found.ftLastWriteTime.dwLowDateTime;
    entries.push_back(std::move(entry));
  } while (FindNextFileW(search, &found) != 0);
  FindClose(search);
  std::sort(entries.begin(), entries.end(),
            [](const DirectoryEntry& a, const DirectoryEntry& b) { return a.name < b.name; });
  return entries;
}

std::string GetRealDirectory(const std::string& directory) {
  const std::wstring wide = ToWide(directory);
  const DWORD attributes = GetFileAttributesW(wide.c_str());
  if (attributes == INVALID_FILE_ATTRIBUTES || (attributes & FILE_ATTRIBUTE_DIRECTORY) == 0) {
    return {};
  }
  const HANDLE handle =
      CreateFileW(wide.c_str(), 0, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                  OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
  if (handle == INVALID_HANDLE_VALUE) return directory;
  wchar_t path[MAX_PATH * 4];
  const DWORD length = GetFinalPathNameByHandleW(handle, path, MAX_PATH * 4, 0);
  CloseHandle(handle);
  return length > 0 && length < MAX_PATH * 4 ? FromWide(path, length, CP_UTF8) : directory;
}

struct StopSignal::State {
  HANDLE event = nullptr;
};

StopSignal::StopSignal() : state_(std::make_unique<State>()) {
  state_->event = CreateEventW(nullptr, TRUE, FALSE, nullptr);
}

StopSignal::~StopSignal() {
  CloseHandle(state_->event);
}

void StopSignal::Set() {
  SetEvent(state_->event);
}

bool StopSignal::IsSet() const {
  return WaitFor(0);
}

bool StopSignal::WaitFor(int milliseconds) const {
  return WaitForSingleObject(state_->event, static_cast<DWORD>(milliseconds)) == WAIT_OBJECT_0;
}

namespace {

class WindowsStream final : public InputStream {
 public:
  WindowsStream(int number, const StopSignal& stop) : InputStream(stop), number_(number) {}
  ~WindowsStream() override {
    if (number_ != 0) _close(number_);
  }
  WindowsStream(const WindowsStream&) = delete;
  WindowsStream& operator=(const WindowsStream&) = delete;

 private:
  std::ptrdiff_t ReadSome(unsigned char* bytes, std::size_t count) override {
    constexpr int kTickMs = 5;  // a read of a pipe cannot be waited for beside something else
    constexpr std::size_t kMost = std::size_t{1} << 20;
    const auto handle = reinterpret_cast<HANDLE>(_get_osfhandle(number_));
    if (GetFileType(handle) == FILE_TYPE_PIPE) {
      DWORD available = 0;
      while (PeekNamedPipe(handle, nullptr, 0, nullptr, &available, nullptr) != 0 &&
             available == 0) {
        if (stop_.WaitFor(kTickMs)) return 0;
      }
    }
    if (stop_.IsSet()) return 0;
    return _read(number_, bytes, static_cast<unsigned>(std::min(count, kMost)));
  }

  const int number_;
};

}  // namespace

std::unique_ptr<InputStream> InputStream::Open(const std::string& path, const StopSignal& stop,
                                               int& error) {
  const int number = path == "-" ? 0 : _wopen(ToWide(path).c_str(), _O_RDONLY | _O_BINARY);
  if (number >= 0) return std::make_unique<WindowsStream>(number, stop);
  error = errno;
  return nullptr;
}

struct InterruptWatch::State {
  std::function<void()> onInterrupt;
  HANDLE event = nullptr;
  std::atomic<bool> isEnding{false};
  std::thread thread;
};

namespace {

std::atomic<HANDLE> interrupted{nullptr};

// The system runs it on a thread of its own. False: the system ends the process.
BOOL WINAPI OnControl(DWORD) {
  const HANDLE event = interrupted.exchange(nullptr);
  if (event != nullptr) SetEvent(event);
  return event != nullptr ? TRUE : FALSE;
}

}  // namespace

InterruptWatch::InterruptWatch(std::function<void()> onInterrupt)
    : state_(std::make_unique<State>()) {
  state_->onInterrupt = std::move(onInterrupt);
  state_->event = CreateEventW(nullptr, FALSE, FALSE, nullptr);
  interrupted = state_->event;
  state_->thread = std::thread([state = state_.get()] {
    WaitForSingleObject(state->event, INFINITE);
    if (!state->isEnding) state->onInterrupt();
  });
  SetConsoleCtrlHandler(OnControl, TRUE);
}

InterruptWatch::~InterruptWatch() {
  SetConsoleCtrlHandler(OnControl, FALSE);
  interrupted = nullptr;
  state_->isEnding = true;
  SetEvent(state_->event);
  state_->thread.join();
  CloseHandle(state_->event);
}

}  // namespace velmora::capture
