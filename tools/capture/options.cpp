#include "tools/capture/options.h"

#include <cstddef>
#include <functional>
#include <map>

namespace velmora::capture {
namespace {

constexpr int kMaxNumber = 1'000'000'000;

int ParseNumber(const std::string& option, const std::string& text, int smallest, int largest) {
  const bool isNumber = !text.empty() && text.size() <= 9 &&
                        text.find_first_not_of("0123456789") == std::string::npos;
  const int number = isNumber ? std::stoi(text) : -1;
  if (number < smallest || number > largest)
    throw UsageError(option + " takes a number from " + std::to_string(smallest) + " to " +
                     std::to_string(largest) + ", not '" + text + "'");
  return number;
}

Overflow ParseOverflow(const std::string& text) {
  if (text == "block") return Overflow::kBlock;
  if (text == "drop") return Overflow::kDrop;
  throw UsageError("--overflow takes block or drop, not '" + text + "'");
}

RawFormat ParseRaw(const std::string& text) {
  try {
    return ParseRawFormat(text);
  } catch (const std::invalid_argument& error) {
    throw UsageError(std::string("--raw: ") + error.what());
  }
}

using Setter = std::function<void(Options&, const std::string&)>;

const std::map<std::string, std::function<void(Options&)>> kFlags = {
    {"--json", [](Options& o) { o.json = true; }},
    {"--help", [](Options& o) { o.help = true; }},
    {"--version", [](Options& o) { o.version = true; }},
};

const std::map<std::string, Setter> kSettings = {
    {"--raw", [](Options& o, const std::string& v) { o.raw = ParseRaw(v); }},
    {"--buffer",
     [](Options& o, const std::string& v) { o.bufferSize = ParseNumber("--buffer", v, 1, 1000); }},
    {"--overflow", [](Options& o, const std::string& v) { o.overflow = ParseOverflow(v); }},
    {"--template", [](Options& o, const std::string& v) { o.templateFile = v; }},
    {"--threads",
     [](Options& o, const std::string& v) { o.threads = ParseNumber("--threads", v, 1, 256); }},
    {"--timeout",
     [](Options& o, const std::string& v) {
       o.timeoutMs = ParseNumber("--timeout", v, 1, kMaxNumber - 1);
     }},
    {"--overlay", [](Options& o, const std::string& v) { o.overlayFolder = v; }},
    {"--intermediate", [](Options& o, const std::string& v) { o.intermediateFolder = v; }},
    {"--graph", [](Options& o, const std::string& v) { o.graphFile = v; }},
    {"--trace", [](Options& o, const std::string& v) { o.traceFile = v; }},
    {"--log-config", [](Options& o, const std::string& v) { o.logConfig = v; }},
};

}  // namespace

Options ParseOptions(const std::vector<std::string>& arguments) {
  Options options;
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    const std::string& argument = arguments[i];
    if (argument.size() < 2 || argument[0] != '-') {
      options.inputs.push_back(argument);
      continue;
    }
    if (const auto flag = kFlags.find(argument); flag != kFlags.end()) {
      flag->second(options);
      continue;
    }
    const std::size_t equals = argument.find('=');
    const std::string name = argument.substr(0, equals);
    const auto setting = kSettings.find(name);
    if (setting == kSettings.end()) throw UsageError("there is no option " + name);
    if (equals == std::string::npos && i + 1 == arguments.size())
      throw UsageError(name + " needs a value");
    setting->second(options,
                    equals != std::string::npos ? argument.substr(equals + 1) : arguments[++i]);
  }
  if (options.inputs.empty() && !options.help && !options.version)
    throw UsageError("there is nothing to read: name a file, a directory, or - for a list");
  return options;
}

const char* const kHelp = R"(usage: velmora-capture [OPTION]... (FILE | DIRECTORY | -)...
Reads the codes in pictures.

What to read
  FILE                 a picture: PNG, JPEG, BMP, PGM or PPM
  DIRECTORY            every picture in it and below it
  -                    the files named on standard input, one a line
  --raw WxH:FORMAT     the files hold raw video frames: nv12, nv21 or rgb; FORMAT@RATE plays
                       that many a second, otherwise as fast as they can be read
  --buffer N           images waiting between the source and the pool (4)
  --overflow block     when the buffer is full the source waits (as it does for pictures)
  --overflow drop      or the oldest image is dropped (as it is for raw frames)

How to read
  --template FILE      what to run, in JSON; see docs/capture.md
  --threads N          threads of the pool (as many as there are processors)
  --timeout MS         time budget of an image, in place of the template's

What to show
  --json               one JSON object a line in place of the readable lines
  --overlay DIR        each image as an SVG with what was found drawn over it
  --intermediate DIR   what an observer of the work saw, as PNG and JSON
  --graph FILE.svg     the template's graph with the times and states of this run
  --trace FILE.json    what each thread did when, for Perfetto
  --log-config FILE    the log's ini file
  --help, --version

Exit status: 0 all images were read, 1 some image failed (see standard error), 2 bad usage.
)";

}  // namespace velmora::capture
