#include <fcntl.h>
#include <io.h>
#include <process.h>
#include <windows.h>

#include <chrono>
#include <cstdio>

#include "tools/capture/system.h"

namespace velmora::capture {

bool IsTerminal(StandardStream stream) {
  return _isatty(_fileno(stream == StandardStream::kOutput ? stdout : stderr)) != 0;
}

void KeepLineEnds() {
  _setmode(_fileno(stdout), _O_BINARY);
}

std::string ToUtf8(const std::string& name) {
  std::wstring wide(name.size(), L'\0');
  wide.resize(static_cast<std::size_t>(MultiByteToWideChar(CP_ACP, 0, name.data(),
                                                           static_cast<int>(name.size()), &wide[0],
                                                           static_cast<int>(wide.size()))));
  std::string text(wide.size() * 3, '\0');  // a UTF-16 unit is three bytes at most
  text.resize(static_cast<std::size_t>(
      WideCharToMultiByte(CP_UTF8, 0, wide.data(), static_cast<int>(wide.size()), &text[0],
                          static_cast<int>(text.size()), nullptr, nullptr)));
  return text;
}

std::int64_t ThreadNanoseconds() {
  const auto now = std::chrono::steady_clock::now().time_since_epoch();
  return std::chrono::duration_cast<std::chrono::nanoseconds>(now).count();
}

int RunProgram(const std::vector<std::string>& arguments) {
  std::vector<std::string> quoted;  // the C library joins the arguments with blanks only
  for (const std::string& argument : arguments) quoted.push_back("\"" + argument + "\"");
  std::vector<const char*> argv;
  for (const std::string& argument : quoted) argv.push_back(argument.c_str());
  argv.push_back(nullptr);
  return static_cast<int>(_spawnvp(_P_WAIT, arguments[0].c_str(), argv.data()));
}

}  // namespace velmora::capture
