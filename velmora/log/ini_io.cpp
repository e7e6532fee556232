#include "velmora/log/ini_io.h"

#include <algorithm>
#include <climits>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string_view>
#include <utility>

namespace velmora {
namespace {

constexpr std::size_t kLineLimit = 1023;
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

struct FileCloser {
  void operator()(std::FILE* file) const { std::fclose(file); }
};

std::optional<std::string> ReadWholeFile(const char* path) {
  const std::unique_ptr<std::FILE, FileCloser> file(std::fopen(path, "rb"));
  if (file == nullptr) return std::nullopt;
  std::string text;
  char block[4096];
  while (const std::size_t count = std::fread(block, 1, sizeof block, file.get())) {
    text.append(block, count);
  }
  if (std::ferror(file.get()) != 0) return std::nullopt;
  return text;
}

// Not isspace: its answer depends on the locale, and bytes outside ASCII must stay.
bool IsWhiteSpace(char c) {
  return c == ' ' || (c >= '\t' && c <= '\r');
}

std::string WithoutWhiteSpace(std::string_view line) {
  std::string text(line.substr(0, kLineLimit));
  text.erase(std::remove_if(text.begin(), text.end(), IsWhiteSpace), text.end());
  return text;
}

}  // namespace

bool INI_IO::Load(const char* path) {
  if (path == nullptr) return false;
  const std::optional<std::string> content = ReadWholeFile(path);
  if (!content) return false;

  std::map<std::string, Section> sections;
  std::string section;
  std::string_view rest = *content;
  if (rest.substr(0, kByteOrderMark.size()) == kByteOrderMark) {
    rest.remove_prefix(kByteOrderMark.size());
  }
  while (!rest.empty()) {
    const std::size_t end = std::min(rest.find('\n'), rest.size() - 1);
    const std::string line = WithoutWhiteSpace(rest.substr(0, end + 1));
    rest.remove_prefix(end + 1);
    if (line.empty() || line.front() == ';') continue;
    if (line.front() == '[') {
      const std::size_t close = line.find(']');
      if (close != std::string::npos) section = line.substr(1, close - 1);
    } else if (const std::size_t equals = line.find('='); equals != std::string::npos) {
      sections[section][line.substr(0, equals)] = line.substr(equals + 1);
    }
  }
  sections_ = std::move(sections);
  return true;
}

std::string INI_IO::GetValue(const std::string& section, const std::string& key) const {
  const auto foundSection = sections_.find(section);
  if (foundSection == sections_.end()) return {};
  const auto found = foundSection->second.find(key);
  return found == foundSection->second.end() ? std::string() : found->second;
}

int INI_IO::GetInt(const std::string& section, const std::string& key) const {
  // long is as narrow as int on some targets; strtoll is not, and saturates.
  const long long number = std::strtoll(GetValue(section, key).c_str(), nullptr, 10);
  return static_cast<int>(std::clamp<long long>(number, INT_MIN, INT_MAX));
}

}  // namespace velmora
