#include "tools/capture/options.h"

#include <algorithm>
#include <cstddef>

namespace velmora::capture {
namespace {

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

std::vector<std::string> ParseList(const std::string& text) {
  std::vector<std::string> items;
  for (std::size_t at = 0; at <= text.size();) {
    const std::size_t comma = std::min(text.find(',', at), text.size());
    items.push_back(text.substr(at, comma - at));
    at = comma + 1;
  }
  return items;
}

constexpr int kMostMs = 999'999'999;
constexpr int kMostPixels = 999'999'999;  // a buffer of three bytes each has to fit in 32 bits

using O = Options;
using V = const std::string&;

// The help text, the man page and the completion of shells are all made from it.
constexpr OptionRow<Options> kRows[] = {
    {"", "What to read", "", nullptr},
    {"", "FILE", "a picture: PNG, JPEG, WebP, GIF, TIFF,\nBMP, PBM, PGM, PPM or PAM; pipes too",
     nullptr},
    {"", "DIRECTORY", "every picture in it and below it", nullptr},
    {"", "-", "the files named on standard input, one per line", nullptr},
    {"-0", "", "names on standard input end in NUL, as find -print0 writes them",
     [](O& o, V) { o.endsNamesWithNul = true; }},
    {"--watch", "DIRECTORY", "pictures that come into it, each when it is finished",
     [](O& o, V v) { o.watchedDirectory = v; }},
    {"--raw", "WxH:FORMAT",
     "the files, or - itself, hold raw video frames: nv12, nv21 or rgb;\n"
     "FORMAT@RATE plays that many a second, otherwise all are read",
     [](O& o, V v) { o.raw = ParseRaw(v); }},
    {"--buffer", "N", "images waiting between the source and the pool (4)",
     [](O& o, V v) { o.bufferSize = ParseNumber("--buffer", v, 1, 1000); }},
    {"--overflow", "MODE",
     "block: when the buffer is full the source waits; drop: the oldest\n"
     "image is dropped, as it is for frames with a rate",
     [](O& o, V v) { o.overflow = ParseOverflow(v); }},
    {"--max-pixels", "N", "larger pictures are not read (268435456)",
     [](O& o, V v) { o.maxPixels = ParseNumber("--max-pixels", v, 1, kMostPixels); }},
    {"", "How to read", "", nullptr},
    {"--template", "FILE", "what to run, in JSON; see docs/capture.md",
     [](O& o, V v) { o.templateFile = v; }},
    {"--symbologies", "LIST", "only these of the template's, as QR,EAN-13",
     [](O& o, V v) { o.symbologies = ParseList(v); }},
    {"--threads", "N", "threads of the pool (as many as there are processors)",
     [](O& o, V v) { o.threads = ParseNumber("--threads", v, 1, 256); }},
    {"--timeout", "MS", "time budget of an image, in place of the template's",
     [](O& o, V v) { o.timeoutMs = ParseNumber("--timeout", v, 1, kMostMs); }},
    {"", "What to show", "", nullptr},
    {"--json", "", "one JSON object per line in place of the readable lines",
     [](O& o, V) { o.format = Format::kJson; }},
    {"--csv", "", "one line for each code, with a line of headings",
     [](O& o, V) { o.format = Format::kCsv; }},
    {"--quiet", "", "results and errors only: no summary, notes or progress",
     [](O& o, V) { o.isQuiet = true; }},
    {"--overlay", "DIR", "each image as an SVG with what was found drawn over it",
     [](O& o, V v) { o.overlayFolder = v; }},
    {"--intermediate", "DIR", "what an observer of the work saw, as PNG and JSON",
     [](O& o, V v) { o.intermediateFolder = v; }},
    {"--report", "FILE.html", "all of it on one page: images, codes, times, graph, timeline",
     [](O& o, V v) { o.reportFile = v; }},
    {"--graph", "FILE.svg", "the template's graph with the times and states of this run",
     [](O& o, V v) { o.graphFile = v; }},
    {"--trace", "FILE.json", "what each thread did when, for Perfetto",
     [](O& o, V v) { o.traceFile = v; }},
    {"--log-config", "FILE", "the log's ini file", [](O& o, V v) { o.logConfig = v; }},
    {"--help", "", "this text, also for -h", [](O& o, V) { o.help = true; }},
    {"--version", "", "the version", [](O& o, V) { o.version = true; }},
};

void CheckTogether(const Options& o) {
  if (o.help || o.version) return;
  const bool isWatching = !o.watchedDirectory.empty();
  if (o.inputs.empty() && !isWatching) {
    throw UsageError("there is nothing to read: name a file, a directory, or - for a list");
  }
  if (isWatching && (!o.inputs.empty() || o.raw.IsGiven())) {
    throw UsageError("--watch reads the pictures of its directory and nothing else");
  }
}

}  // namespace

Options ParseOptions(const std::vector<std::string>& arguments) {
  Options options;
  options.inputs = ParseTable(kRows, arguments, options);
  CheckTogether(options);
  return options;
}

std::string GetHelp() {
  return "usage: velmora-capture [OPTION]... [--] (FILE | DIRECTORY | -)...\n"
         "Reads the codes in pictures.\n" +
         DescribeTable(kRows) +
         "\nExit status: 0 all images were read, 1 some image failed, something could not be\n"
         "written or the run was interrupted (see standard error), 2 bad usage.\n";
}

}  // namespace velmora::capture
