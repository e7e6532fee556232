#include "tools/cluster/job.h"

#include <json/reader.h>
#include <json/value.h>
#include <json/writer.h>
#include <openssl/evp.h>

#include <algorithm>
#include <filesystem>
#include <memory>

#include "tools/capture/text.h"

namespace velmora::cluster {
namespace {

constexpr int kVersion = 1;  // of the message; a worker refuses what is not its own
constexpr std::size_t kMaxImageBytes = 8 * 1024;
constexpr std::size_t kMaxNameBytes = 256;
constexpr std::string_view kFileUrl = "file://";
constexpr char kHexDigits[] = "0123456789abcdef";

bool IsSha256(std::string_view text) {
  return text.size() == 64 && text.find_first_not_of(kHexDigits) == std::string_view::npos;
}

bool IsUtf8(std::string_view text) {
  for (std::size_t at = 0, length = 0; at < text.size(); at += length) {
    length = capture::Utf8Length(text.substr(at));
    if (length == 0) return false;
  }
  return true;
}

// Takes the members of a message one after the other, so that what is left over is unknown.
class MessageReader {
 public:
  explicit MessageReader(std::string_view message) {
    if (message.size() > kMaxJobBytes) {
      throw JobError("the message is no job: it has " + std::to_string(message.size()) +
                     " bytes, the limit is " + std::to_string(kMaxJobBytes));
    }
    Json::CharReaderBuilder builder;
    Json::CharReaderBuilder::strictMode(&builder.settings_);
    builder["stackLimit"] = 8;
    const std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
    bool isRead = false;
    try {
      isRead = reader->parse(message.data(), message.data() + message.size(), &value_, nullptr);
    } catch (const Json::Exception&) {  // too many brackets
      isRead = false;
    }
    if (!isRead || !value_.isObject()) {
      throw JobError("the message is no job: it is no JSON object");
    }
  }

  std::string TakeText(const char* key, std::size_t maxBytes) {
    const Json::Value value = Take(key);
    if (!value.isString()) throw JobError(Name(key) + " is no text");
    std::string text = value.asString();
    if (text.size() > maxBytes) {
      throw JobError(Name(key) + " has " + std::to_string(text.size()) + " bytes, the limit is " +
                     std::to_string(maxBytes));
    }
    if (text.find('\0') != std::string::npos) throw JobError(Name(key) + " holds a NUL byte");
    return text;
  }

  std::int64_t TakeNumber(const char* key, std::int64_t smallest, std::int64_t largest) {
    const Json::Value value = Take(key);
    if (!value.isInt64() || value.asInt64() < smallest || value.asInt64() > largest) {
      throw JobError(Name(key) + " is no number from " + std::to_string(smallest) + " to " +
                     std::to_string(largest));
    }
    return value.asInt64();
  }

  void CheckEmpty() const {
    if (value_.empty()) return;
    throw JobError("the job has a key that is not known: '" + value_.getMemberNames()[0] + "'");
  }

 private:
  static std::string Name(const char* key) { return std::string("the job's \"") + key + "\""; }

  Json::Value Take(const char* key) {
    Json::Value value;
    if (!value_.removeMember(key, &value)) throw JobError(Name(key) + " is missing");
    return value;
  }

  Json::Value value_;
};

int HexDigit(char c) {
  const auto* const end = kHexDigits + 16;
  const char lower = c >= 'A' && c <= 'F' ? static_cast<char>(c - 'A' + 'a') : c;
  const auto* const found = std::find(kHexDigits, end, lower);
  return found == end ? -1 : static_cast<int>(found - kHexDigits);
}

}  // namespace

bool IsJobId(std::string_view text) {
  return !text.empty() && text.size() <= 128 && text[0] != '.' &&
         std::all_of(text.begin(), text.end(), [](char c) {
           return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') ||
                  c == '.' || c == '_' || c == '-';
         });
}

std::string DeriveJobId(const Job& job) {
  return Sha256(job.image + '\0' + job.sha256 + '\0' + job.templateHash).substr(0, 32);
}

std::string FormatJob(const Job& job) {
  Json::Value value;
  value["version"] = kVersion;
  value["id"] = job.id;
  value["image"] = job.image;
  value["sha256"] = job.sha256;
  value["template"] = job.templateName;
  value["template_sha256"] = job.templateHash;
  value["priority"] = job.priority;
  value["deadline"] = Json::Int64{job.deadline};
  Json::StreamWriterBuilder builder;
  builder["indentation"] = "";
  return Json::writeString(builder, value);
}

Job ParseJob(std::string_view message) {
  MessageReader reader(message);
  reader.TakeNumber("version", kVersion, kVersion);
  Job job;
  job.id = reader.TakeText("id", kMaxNameBytes);
  if (!IsJobId(job.id)) {
    throw JobError("the job's \"id\" is not 1 to 128 of A-Z a-z 0-9 . _ -, the first one no dot");
  }
  job.image = reader.TakeText("image", kMaxImageBytes);
  PathOfImage(job.image);
  job.sha256 = reader.TakeText("sha256", kMaxNameBytes);
  job.templateName = reader.TakeText("template", kMaxNameBytes);
  job.templateHash = reader.TakeText("template_sha256", kMaxNameBytes);
  if (!IsSha256(job.sha256) || !IsSha256(job.templateHash)) {
    throw JobError(std::string("the job's \"") +
                   (IsSha256(job.sha256) ? "template_sha256" : "sha256") +
                   "\" is not 64 lower-case hexadecimal digits");
  }
  job.priority = static_cast<int>(reader.TakeNumber("priority", 0, kPriorities - 1));
  job.deadline = reader.TakeNumber("deadline", 0, INT64_MAX);
  reader.CheckEmpty();
  return job;
}

std::string PathOfImage(const std::string& image) {
  if (image.empty()) throw JobError("the job's \"image\" is empty");
  if (image.compare(0, kFileUrl.size(), kFileUrl) != 0) {
    if (image.find("://") == std::string::npos) return image;
    throw JobError("the job's \"image\" is no path and no file URL");
  }
  std::size_t at = image.find('/', kFileUrl.size());
  const std::string host = image.substr(kFileUrl.size(), at - kFileUrl.size());
  if (at == std::string::npos || (!host.empty() && host != "localhost")) {
    throw JobError("the job's \"image\" is a URL of another machine or without a path");
  }
  std::string path;
  for (; at < image.size(); ++at) {
    path += image[at];
    if (image[at] != '%') continue;
    const int high = at + 2 < image.size() ? HexDigit(image[at + 1]) : -1;
    const int low = at + 2 < image.size() ? HexDigit(image[at + 2]) : -1;
    if (high < 0 || low < 0 || (high == 0 && low == 0)) {
      throw JobError("the job's \"image\" is a URL with a % that begins no byte of a path");
    }
    path.back() = static_cast<char>(high * 16 + low);
    at += 2;
  }
  return path;
}

std::string ImageOfPath(const std::string& path) {
  std::string absolute = std::filesystem::absolute(path).lexically_normal().native();
  if (IsUtf8(absolute) && absolute.find("://") == std::string::npos) return absolute;
  std::string url(kFileUrl);
  for (const char c : absolute) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte > 0x20 && byte < 0x7F && c != '%') {
      url += c;
    } else {
      url += {'%', kHexDigits[byte >> 4], kHexDigits[byte & 15]};
    }
  }
  return url;
}

std::string Sha256(std::string_view bytes) {
  unsigned char digest[EVP_MAX_MD_SIZE];
  unsigned int size = 0;
  if (EVP_Digest(bytes.data(), bytes.size(), digest, &size, EVP_sha256(), nullptr) != 1) {
    throw std::runtime_error("SHA-256 cannot be computed");
  }
  std::string text;
  for (unsigned int i = 0; i < size; ++i) {
    text += {kHexDigits[digest[i] >> 4], kHexDigits[digest[i] & 15]};
  }
  return text;
}

}  // namespace velmora::cluster
