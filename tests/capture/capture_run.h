// velmora-capture as a user runs it: a process of its own.
#pragma once

#include <json/value.h>

#include <string>
#include <vector>

#include "tests/support/temporary_directory.h"

namespace velmora::capture {

struct CaptureRun {
  int status = -1;
  std::string out;  // standard output, lines ended by \n on every system
  std::string err;

  // Standard output of a run with --json, sorted by image id as it came.
  std::vector<Json::Value> Reports() const;
};

// Runs the program in examples/capture; `input` is its standard input.
CaptureRun RunCapture(const std::vector<std::string>& arguments, const std::string& input = {});

// Fails the test that calls it if the text is no JSON.
Json::Value ParseJson(const std::string& text);

}  // namespace velmora::capture
