/// @file
/// A result as one line of JSON.
#pragma once

#include <json/value.h>

#include <string>

#include "velmora_capture/capture_result.h"

namespace velmora::capture {

/// The result's JSON with the keys "image" and "id" beside its own, in one line without its end.
/// Nothing in it depends on the run.
/// @param image  question marks take the place of bytes that are no UTF-8
std::string FormatJsonLine(const CaptureResult& result, const std::string& image,
                           const Json::Value& id);

/// The same for a picture that could not be read: without pixels, with that one error.
std::string FormatJsonLine(const CaptureError& error, const std::string& image,
                           const Json::Value& id);

}  // namespace velmora::capture
