/// @file
/// The command line of velmora-capture.
#pragma once

#include <stdexcept>
#include <string>
#include <vector>

#include "velmora_capture/image_file/raw_format.h"

namespace velmora::capture {

/// What happens to an image for which the buffer has no room.
enum class Overflow { kByKind, kBlock, kDrop };  // by kind: block for files, drop for raw frames

struct Options {
  std::vector<std::string> inputs;  ///< files, directories, "-" for a list on standard input
  RawFormat raw;                    ///< empty unless the files hold raw frames
  int bufferSize = 4;               ///< images between the source and the pool
  Overflow overflow = Overflow::kByKind;
  std::string templateFile;  ///< empty for the built-in template
  int threads = 0;           ///< 0 for as many as there are processors
  int timeoutMs = 0;         ///< budget of an image; 0 for the template's
  bool json = false;
  std::string overlayFolder;
  std::string intermediateFolder;
  std::string graphFile;
  std::string traceFile;
  std::string logConfig;
  bool help = false;
  bool version = false;
};

/// A command line that cannot be understood; `what()` is a sentence for the user.
class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// @param arguments  without the program's name
/// @throws UsageError
Options ParseOptions(const std::vector<std::string>& arguments);

/// The text of --help.
extern const char* const kHelp;

}  // namespace velmora::capture
