// velmora-capture: reads the codes in pictures. The main program of the tree and the one to begin
// with; docs/capture.md tells how it is put together.

#include <exception>
#include <iostream>
#include <string>

#include "tools/capture/options.h"
#include "tools/capture/output_file.h"
#include "tools/capture/session.h"
#include "tools/capture/system.h"
#include "tools/capture/text.h"
#include "velmora/foundation/core_module.h"

namespace {

using namespace velmora::capture;

int RunProgramWith(const Options& options) {
  if (options.help) {
    WriteStandardOutput(GetHelp());
    return kAllRead;
  }
  if (options.version) {
    WriteStandardOutput(std::string("velmora-capture ") + velmora::Nx_GetLibVersion() + "\n");
    return kAllRead;
  }
  return Session(options).Run();
}

int Complain(const std::string& sentence, int status) {
  std::cerr << "velmora-capture: " << sentence << "\n";
  return status;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    PrepareStandardStreams();
    return RunProgramWith(ParseOptions(GetArguments(argc, argv)));
  } catch (const UsageError& error) {
    return Complain(Printable(error.what()) + "; --help tells more", kBadUsage);
  } catch (const std::exception& error) {
    return Complain(Printable(error.what()), kSomeFailed);
  }
}
