/// @file
/// The command line of velmora-capture.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tools/capture/option_table.h"
#include "velmora_capture/image_file/image_file.h"
#include "velmora_capture/image_file/raw_format.h"

namespace velmora::capture {

/// What happens to an image for which the buffer has no room.
enum class Overflow { kByKind, kBlock, kDrop };  // by kind: drop for frames played at a rate

/// How each image is shown on standard output.
enum class Format { kText, kJson, kCsv };

struct Options {
  std::vector<std::string> inputs;  ///< files, directories, "-" for standard input
  bool endsNamesWithNul = false;    ///< those on standard input; otherwise they are lines
  std::string watchedDirectory;
  RawFormat raw;       ///< empty unless the files hold raw frames
  int bufferSize = 4;  ///< images between the source and the pool
  Overflow overflow = Overflow::kByKind;
  std::int64_t maxPixels = kMaxPixels;   ///< of a picture
  std::string templateFile;              ///< empty for the built-in template
  std::vector<std::string> symbologies;  ///< empty for those of the template
  int threads = 0;                       ///< 0 for as many as there are processors
  int timeoutMs = 0;                     ///< budget of an image; 0 for the template's
  Format format = Format::kText;
  bool isQuiet = false;
  std::string overlayFolder;
  std::string intermediateFolder;
  std::string reportFile;
  std::string graphFile;
  std::string traceFile;
  std::string logConfig;
  bool help = false;
  bool version = false;

  bool Drops() const {
    return overflow == Overflow::kDrop ||
           (overflow == Overflow::kByKind && raw.framesPerSecond > 0);
  }
};

/// @param arguments  without the program's name, in UTF-8
/// @throws UsageError
Options ParseOptions(const std::vector<std::string>& arguments);

/// The text of --help.
std::string GetHelp();

}  // namespace velmora::capture
