/// @file
/// The command line of velmora-submit.
#pragma once

#include <string>
#include <vector>

#include "tools/cluster/queue_options.h"

namespace velmora::cluster {

struct SubmitOptions : WithQueueOptions {
  std::vector<std::string> inputs;  ///< files, directories, "-" for standard input
  bool endsNamesWithNul = false;    ///< those on standard input; otherwise they are lines
  std::string templateFile;         ///< empty for the built-in template
  int priority = 1;
  int deadlineSeconds = 0;  ///< from now; 0 for none
  bool listsJobs = false;
  bool isQuiet = false;
  bool help = false;
  bool version = false;
};

/// @param arguments  without the program's name
/// @throws capture::UsageError
SubmitOptions ParseSubmitOptions(const std::vector<std::string>& arguments);

/// The text of --help.
std::string GetSubmitHelp();

}  // namespace velmora::cluster
