#include "tools/cluster/secret_file.h"

#include <sys/stat.h>

#include <cerrno>
#include <fstream>
#include <system_error>

#include "tools/capture/option_table.h"

namespace velmora::cluster {

using capture::UsageError;

std::string ReadSecretLine(const std::string& file) {
  struct stat status {};
  std::ifstream in(file);
  if (!in || stat(file.c_str(), &status) != 0) {
    throw UsageError("the file '" + file +
                     "' cannot be read: " + std::generic_category().message(errno));
  }
  const mode_t allowed = S_IRWXU | (status.st_uid == 0 ? S_IRGRP : 0U);
  if (S_ISREG(status.st_mode) && (status.st_mode & 0777U & ~allowed) != 0) {
    throw UsageError("the file '" + file +
                     "' holds a secret, but others have access to it: chmod 600");
  }
  std::string line;
  std::getline(in, line);
  if (!line.empty() && line.back() == '\r') line.pop_back();
  if (line.empty()) throw UsageError("the first line of the file '" + file + "' is empty");
  return line;
}

Credentials ReadCredentials(const std::string& file) {
  const std::string line = ReadSecretLine(file);
  const std::size_t colon = line.find(':');
  if (colon == std::string::npos) {
    throw UsageError("the file '" + file + "' does not hold USER:PASSWORD");
  }
  return {line.substr(0, colon), line.substr(colon + 1)};
}

}  // namespace velmora::cluster
