/// @file
/// What the programs' main functions have in common.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace velmora::capture {

/// What a program's exit status says.
enum ExitStatus : int { kAllRead = 0, kSomeFailed = 1, kBadUsage = 2 };

/// Prepares the standard streams and runs a program with its arguments. A `UsageError` or another
/// exception becomes a sentence on standard error and `kBadUsage` or `kSomeFailed`.
/// @return what the program returned, or that
int RunMain(const char* program, int argc, char** argv,
            const std::function<int(const std::vector<std::string>& arguments)>& body);

/// Prints "PROGRAM VERSION".
/// @throws OutputError
void WriteVersion(const char* program);

}  // namespace velmora::capture
