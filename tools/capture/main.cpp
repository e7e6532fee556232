// velmora-capture: reads the codes in pictures. The main program of the tree and the one to begin
// with; docs/capture.md tells how it is put together.

#include <string>
#include <vector>

#include "tools/capture/options.h"
#include "tools/capture/output_file.h"
#include "tools/capture/program.h"
#include "tools/capture/session.h"

namespace {

using namespace velmora::capture;

int Run(const std::vector<std::string>& arguments) {
  const Options options = ParseOptions(arguments);
  if (options.help) {
    WriteStandardOutput(GetHelp());
    return kAllRead;
  }
  if (options.version) {
    WriteVersion("velmora-capture");
    return kAllRead;
  }
  return Session(options).Run();
}

}  // namespace

int main(int argc, char** argv) {
  return RunMain("velmora-capture", argc, argv, Run);
}
