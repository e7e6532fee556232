// velmora-capture as a user runs it: a process of its own.
#pragma once

#include <json/value.h>

#include "tests/support/test.h"

namespace velmora::capture {

#if defined(_WIN32)
constexpr bool kReadsAllMatrixCodes = false;
#else
constexpr bool kReadsAllMatrixCodes = true;
#endif

struct CaptureRun {
  int status = -1;
  std::string out;  // standard output, lines ended by \n on every system
  std::string err;

  // Standard output of a run with --json, sorted by image id as it came.
  std::vector<Json::Value> Reports() const;
};

// Runs the program in tools/capture; `input` is its standard input.
CaptureRun RunCapture(const std::vector<std::string>& arguments, const std::string& input = {});

// The same with a standard output that takes nothing.
CaptureRun RunWithoutOutput(const std::vector<std::string>& arguments);

// Expects the exit status, and that each stream holds a text; nothing at all where that is empty.
void ExpectRun(const CaptureRun& run, int status, const std::string& out, const std::string& err);

// A run with what ExpectRun expects of it.
struct RunRow {
  const char* name;
  std::string arguments;  // with '|' between them
  int status;
  std::string out;
  std::string err;
};
void RunRows(const std::vector<RunRow>& rows, const std::string& input = {});

// How often a part stands in a text.
std::size_t CountOf(const std::string& text, const std::string& part);

// Fails the test that calls it if the text is no JSON.
Json::Value ParseJson(const std::string& text);

}  // namespace velmora::capture
