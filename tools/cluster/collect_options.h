/// @file
/// The command line of velmora-collect.
#pragma once

#include <string>
#include <vector>

#include "tools/cluster/queue_options.h"

namespace velmora::cluster {

struct CollectOptions : WithQueueOptions {
  std::string store;             ///< URL of the store; empty for none
  std::string storeCredentials;  ///< the name of a file
  bool dead = false;             ///< tells the dead letters
  bool take = false;             ///< removes them from the queue
  std::string expected;          ///< the name of a list of ids
  std::string output;            ///< empty for standard output
  bool isSorted = false;
  bool countsOnly = false;
  bool help = false;
  bool version = false;
};

/// @throws capture::UsageError
CollectOptions ParseCollectOptions(const std::vector<std::string>& arguments);

std::string GetCollectHelp();

}  // namespace velmora::cluster
