#include "tools/capture/program.h"

#include <exception>
#include <iostream>

#include "tools/capture/option_table.h"
#include "tools/capture/output_file.h"
#include "tools/capture/system.h"
#include "tools/capture/text.h"
#include "velmora/foundation/core_module.h"

namespace velmora::capture {

int RunMain(const char* program, int argc, char** argv,
            const std::function<int(const std::vector<std::string>&)>& body) {
  const auto complain = [&](const std::string& sentence, int status) {
    std::cerr << program << ": " << sentence << "\n";
    return status;
  };
  try {
    PrepareStandardStreams();
    return body(GetArguments(argc, argv));
  } catch (const UsageError& error) {
    return complain(Printable(error.what()) + "; --help tells more", kBadUsage);
  } catch (const std::exception& error) {
    return complain(Printable(error.what()), kSomeFailed);
  }
}

void WriteVersion(const char* program) {
  WriteStandardOutput(std::string(program) + " " + Nx_GetLibVersion() + "\n");
}

}  // namespace velmora::capture
