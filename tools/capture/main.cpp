// velmora-capture: reads the codes in pictures. The main program of the tree and the one to begin
// with; docs/capture.md tells how it is put together.

#include <exception>
#include <iostream>
#include <string>
#include <vector>

#include "tools/capture/options.h"
#include "tools/capture/session.h"
#include "tools/capture/system.h"
#include "velmora/foundation/core_module.h"

int main(int argc, char** argv) {
  using namespace velmora::capture;
  try {
    const Options options = ParseOptions(std::vector<std::string>(argv + 1, argv + argc));
    KeepLineEnds();
    if (options.help) {
      std::cout << kHelp;
      return kAllRead;
    }
    if (options.version) {
      std::cout << "velmora-capture " << velmora::Nx_GetLibVersion() << "\n";
      return kAllRead;
    }
    return Session(options).Run();
  } catch (const UsageError& error) {
    std::cerr << "velmora-capture: " << error.what() << "; --help tells more\n";
    return kBadUsage;
  } catch (const std::exception& error) {
    std::cerr << "velmora-capture: " << error.what() << "\n";
    return kSomeFailed;
  }
}
