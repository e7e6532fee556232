/// @file
/// A job: which picture to read, and how. It travels as a message; pixels never do.
#pragma once

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>

namespace velmora::cluster {

/// Jobs of priority 0 go first, those of `kPriorities - 1` last; each has a queue of its own.
inline constexpr int kPriorities = 3;

/// A message that is longer is no job.
inline constexpr std::size_t kMaxJobBytes = 16 * 1024;

/// What keeps a job from being done, however often it is tried; `what()` is a sentence.
class JobError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

struct Job {
  std::string id;             ///< what its result is kept under; `IsJobId`
  std::string image;          ///< a path, or a file URL
  std::string sha256;         ///< of the file's bytes, in 64 lower-case hexadecimal digits
  std::string templateName;   ///< for people
  std::string templateHash;   ///< SHA-256 of the template's text
  int priority = 1;           ///< 0 to `kPriorities - 1`
  std::int64_t deadline = 0;  ///< milliseconds since 1970; 0 for none
};

/// 1 to 128 of `A-Z a-z 0-9 . _ -`, the first one no dot: fit for the name of a file.
bool IsJobId(std::string_view text);

/// The id of a job that was given none: the same for the same image, file bytes and template, so
/// that whatever is submitted once more has its result already.
std::string DeriveJobId(const Job& job);

/// The job as a message, JSON in one line.
std::string FormatJob(const Job& job);

/// Reads a message, which may come from anywhere: each key once, none unknown, every value checked.
/// @throws JobError
Job ParseJob(std::string_view message);

/// The path of a file, from a path or a file URL without a host ("file:///srv/a%20b.png").
/// @throws JobError
std::string PathOfImage(const std::string& image);

/// What names a file in a job: its absolute path, or a file URL if the path is no UTF-8.
std::string ImageOfPath(const std::string& path);

/// SHA-256 in 64 lower-case hexadecimal digits.
std::string Sha256(std::string_view bytes);

}  // namespace velmora::cluster
